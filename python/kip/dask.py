# SPDX-License-Identifier: Apache-2.0
"""`smooth`, `smooth_masked` and `reduce` of Dask arrays, for images that no memory holds and for clusters.

Results are those of one call of `kip` on the whole image, bit for bit and whatever the chunks: each chunk is computed
with the pixels around it that its kernels touch, the image is mirrored at its own border only, and chunks that are so
small that another engine would serve them are joined with their neighbours first. Equal to which call:

- Every chunk is computed at the processor level that `kip.level()` tells where the function is called. A worker whose
  processor lacks it raises ValueError: in a mixed cluster call `kip.set_level` with the lowest level of its workers
  before, and compare with calls at that level.
- Every chunk is computed on one thread; masked calls are compared at `kip.set_threads(1)`, because with several threads
  the last band of a request may be so low that another engine serves it.
- With a scale whose inverse is no short binary number, such as 3, the columns of a uint8 image are cut with `truncate`
  only: the errors of rounded sums run along the rows of one call.
- Calls of `kip` beside the computation in the same process get its level and one thread, too.
- One call on a uint16 image of more than 2**30 pixels without a mask is served by the portable engine; chunks are not.

Arguments, results and errors are otherwise those of the functions of the same names in `kip`. Wrong arguments raise
when the function is called, not when the result is computed.
"""

from __future__ import annotations

import functools
import json
import math
import os
import shutil
import uuid
from typing import Any, Callable, List, NamedTuple, Optional, Sequence, Tuple, Union, overload

import dask.array as da
import numpy as np
from numpy.typing import DTypeLike

from . import _binomial, _kip, _smooth
from ._arrays import Array, Pair, take_scale
from ._process import Level, level, one_thread_at
from ._stddev import Deviation

Chunks = Tuple[int, ...]


class _Axis(NamedTuple):
    """How the work is cut along an axis. Lengths are in pixels of the image, but `results` in those of the result."""

    is_cut: bool
    step: int  # from a result to the next
    align: int  # chunks begin at multiples of it
    halo: int  # that a chunk needs on either side, a multiple of `align`
    least: int  # that a chunk must have, at least the halo
    results: int

    def cut(self, chunks: Chunks) -> Chunks:
        """Chunks that are large enough, near the given ones."""
        length, position, cuts = sum(chunks), 0, [0]
        for chunk in chunks:
            position += chunk
            cut = position // self.align * self.align
            if self.is_cut and cut - cuts[-1] >= self.least and length - cut >= self.least:
                cuts.append(cut)
        return tuple(np.diff([*cuts, length]).tolist())

    def results_of(self, chunks: Chunks) -> Chunks:
        """How many results each chunk has."""
        counts = [chunk // self.step for chunk in chunks[:-1]]
        return (*counts, self.results - sum(counts))


def _compute(*blocks: Array, call: Any, at: Level, skip: Chunks, counts: Sequence[Chunks], block_id: Chunks) -> Any:
    """The results of a chunk with its halo, less those of the halo."""
    with one_thread_at(at):
        made = call(*blocks)
    first = [skip[axis] if block_id[axis] > 0 else 0 for axis in (0, 1)]
    own = tuple(slice(first[axis], first[axis] + counts[axis][block_id[axis]]) for axis in (0, 1))
    return tuple(part[own] for part in made) if isinstance(made, tuple) else made[own]


def _pick(parts: Tuple[Array, ...], which: int) -> Array:
    return parts[which]


def _apply(call: functools.partial[Any], arrays: List[da.Array], axes: Sequence[_Axis]) -> Any:
    """The call's result, an array or a tuple of arrays, over chunks of the arrays."""
    # Options are checked, and the dtypes of the results told, by a call on a few pixels.
    probe = functools.partial(call, sample=1) if "sample" in call.keywords else call
    smallest = probe(*(np.zeros((2, 2), array.dtype) for array in arrays))
    chunks = [axis.cut(sizes) for axis, sizes in zip(axes, arrays[0].chunks)]
    depth = {i: axis.halo if len(sizes) > 1 else 0 for i, (axis, sizes) in enumerate(zip(axes, chunks))}
    counts = [axis.results_of(sizes) for axis, sizes in zip(axes, chunks)]
    run = functools.partial(
        _compute, call=call, at=level(), skip=tuple(axis.halo // axis.step for axis in axes), counts=counts
    )
    blocks = [da.overlap.overlap(array.rechunk(tuple(chunks)), depth, boundary="none") for array in arrays]

    def over(run: Callable[..., Any], *blocks: da.Array, dtype: DTypeLike) -> da.Array:
        return da.map_blocks(run, *blocks, chunks=tuple(counts), dtype=dtype, meta=np.empty((0, 0), dtype))

    if not isinstance(smallest, tuple):
        return over(run, *blocks, dtype=smallest.dtype)
    parts = over(run, *blocks, dtype=object)
    return tuple(over(functools.partial(_pick, which=i), parts, dtype=part.dtype) for i, part in enumerate(smallest))


def _take(array: Any, name: str = "array", shape: Optional[Tuple[int, ...]] = None) -> da.Array:
    array = da.asarray(array)
    if array.ndim != 2 or any(math.isnan(length) for length in array.shape) or 0 in array.shape:
        raise ValueError(f"{name} has shape {array.shape}; wanted rows and columns, known and at least one of each")
    if shape is not None and array.shape != shape:
        raise ValueError(f"{name} has shape {array.shape}; wanted {shape}, that of the array")
    return array


def _smooth_axes(
    array: da.Array, kernel: _smooth.Kernel, scale: float, truncate: bool, masked: bool = False
) -> List[_Axis]:
    bits = 8 * array.dtype.itemsize
    parts = _kip.smooth_parts(*kernel, take_scale(scale), truncate, bits, masked)
    return [_Axis(*part, length) for part, length in zip(parts, kernel.result_shape(array.shape))]


def smooth(
    array: Any,
    sigma: Optional[Pair] = None,
    *,
    stddev: Optional[Deviation] = None,
    sample: Pair = 1,
    scale: float = 1.0,
    truncate: bool = False,
    dtype: Optional[DTypeLike] = None,
) -> da.Array:
    """`kip.smooth` of a Dask array.

    Raises ValueError also for sigmas whose sums, up to 255 * ((x + 1) * (y + 1))**3, pass 2**53: their rounding errors
    depend on the chunks.
    """
    array = _take(array)
    kernel = _smooth.take_kernel(sigma, sample, stddev)
    axes = _smooth_axes(array, kernel, scale, truncate)
    if not axes[0].is_cut:
        raise ValueError(f"sigma is {kernel.sigma}; sums are not exact any more, and would depend on the chunks")
    options = dict(**kernel._asdict(), scale=scale, truncate=truncate, dtype=dtype)
    return _apply(functools.partial(_smooth.smooth, **options), [array], axes)


def _smooth_masked(image: Array, mask: Array, sample_mask: Optional[Array] = None, **options: Any) -> Any:
    return _smooth.smooth_masked(image, mask, sample_mask=sample_mask, **options)


def smooth_masked(
    array: Any,
    mask: Any,
    sigma: Optional[Pair] = None,
    *,
    stddev: Optional[Deviation] = None,
    sample: Pair = 1,
    scale: float = 1.0,
    truncate: bool = False,
    sample_mask: Any = None,
    min_coverage: Optional[float] = None,
    allow_masked_sample: bool = False,
    dtype: Optional[DTypeLike] = None,
) -> Tuple[da.Array, da.Array]:
    """`kip.smooth_masked` of Dask arrays: the pixels and the result's mask."""
    array = _take(array)
    kernel = _smooth.take_kernel(sigma, sample, stddev)
    axes = _smooth_axes(array, kernel, scale, truncate, masked=True)
    arrays = [array, _take(mask, "mask", array.shape)]
    if sample_mask is not None:
        arrays.append(_take(sample_mask, "sample_mask", array.shape))
    rule = dict(min_coverage=min_coverage, allow_masked_sample=allow_masked_sample)
    options = dict(**kernel._asdict(), scale=scale, truncate=truncate, dtype=dtype)
    pixels, valid = _apply(functools.partial(_smooth_masked, **options, **rule), arrays, axes)
    return pixels, valid


@overload
def reduce(array: Any, mask: None = None, *, axes: str = "xy", weights: bool = False) -> da.Array: ...
@overload
def reduce(
    array: Any, mask: Union[Array, da.Array], *, axes: str = "xy", weights: bool = False
) -> Tuple[da.Array, da.Array]: ...
def reduce(
    array: Any, mask: Any = None, *, axes: str = "xy", weights: bool = False
) -> Union[da.Array, Tuple[da.Array, da.Array]]:
    """`kip.reduce` of a Dask array, with a mask of a pair: the pixels and the result's mask."""
    array = _take(array)
    shape = _binomial.reduced_shape(array.shape, axes)
    parts = _kip.reduce_parts("x" in axes, "y" in axes)
    cuts = [_Axis(*part, length) for part, length in zip(parts, shape)]
    masks = [] if mask is None else [_take(mask, "mask", array.shape)]
    return _apply(functools.partial(_binomial.reduce, axes=axes, weights=weights), [array, *masks], cuts)


def _zarr() -> Any:
    import zarr

    if int(zarr.__version__.split(".")[0]) > 2:
        raise ImportError(f"zarr {zarr.__version__} is installed; wanted version 2, whose files these functions know")
    return zarr


class _ZarrFile:
    """A Zarr array in a directory that is read only where its chunk files are there: Zarr fills in for missing ones."""

    def __init__(self, path: str) -> None:
        zarr = _zarr()
        with open(os.path.join(path, ".zarray"), encoding="utf-8") as file:
            self._separator = json.load(file).get("dimension_separator", ".")
        self._path = path
        self._array = zarr.open_array(path, mode="r")
        self.shape, self.dtype, self.chunks = self._array.shape, self._array.dtype, self._array.chunks
        self.ndim = len(self.shape)

    def check(self, index: Tuple[slice, ...]) -> None:
        ranges = [range(*part.indices(length)) for part, length in zip(index, self.shape)]
        blocks = [range(r.start // size, -(-r.stop // size)) for r, size in zip(ranges, self.chunks)]
        for block in np.ndindex(*(len(numbers) for numbers in blocks)):
            name = self._separator.join(str(numbers[i]) for numbers, i in zip(blocks, block))
            path = os.path.join(self._path, name)
            if not os.path.exists(path):
                raise FileNotFoundError(f"{path}: the chunk is missing")

    def __getitem__(self, index: Tuple[slice, ...]) -> Array:
        self.check(index)
        return np.asarray(self._array[index])


def from_zarr(store: Union[str, os.PathLike[str]], component: str = "") -> da.Array:
    """The Zarr array in a directory, such as a level "0", "1" ... that `write_pyramid` wrote.

    Every chunk must have its file, which Zarr itself does not ask for: raises FileNotFoundError with the name of one
    that is missing, now and again when the chunk is read.
    """
    source = _ZarrFile(os.path.join(os.fspath(store), component) if component else os.fspath(store))
    source.check(tuple(slice(None) for _ in source.shape))
    return da.from_array(source, source.chunks, name=f"kip-zarr-{uuid.uuid4().hex}", meta=np.empty(0, source.dtype))


def write_pyramid(
    array: Any, store: Union[str, os.PathLike[str]], levels: int, *, chunks: Tuple[int, int] = (1024, 1024)
) -> None:
    """Compute an array and its levels, each half of the one before, and write them to a Zarr group in a directory.

    array: rows and columns of uint8 or uint16, a Dask array such as a result of `smooth`.
    store: the directory, which must not be there yet and be seen by every worker. It appears when all is written; until
        then the work is in a hidden directory beside it, which is removed on failure.
    levels: how often to halve, at least 1. The group holds the arrays "0", the array itself, to str(levels), and in the
        attribute "multiscales" the list of their paths with the pixels of "0" to a pixel, (rows, columns). Pixel (0, 0)
        of each is centred on that of "0".
    chunks: rows and columns of the chunk files.

    Raises FileExistsError; TypeError for another dtype; ValueError for an array that cannot be halved so often; and
    what the computation raises.
    """
    zarr = _zarr()
    array = _take(array)
    if array.dtype not in (np.uint8, np.uint16):
        raise TypeError(f"array has dtype {array.dtype}; wanted uint8 or uint16")
    most = min(array.shape).bit_length() - 1
    if not 1 <= levels <= most:
        raise ValueError(f"levels is {levels}; an array of shape {array.shape} can be halved 1 to {most} times")
    final = os.path.abspath(os.fspath(store))
    if os.path.lexists(final):
        raise FileExistsError(f"{final} exists")
    folder, name = os.path.split(final)
    partial = os.path.join(folder, f".{name}.{uuid.uuid4().hex}.partial")
    try:
        group = zarr.open_group(partial, mode="w")
        array.rechunk(chunks).to_zarr(partial, component="0")
        for number in range(1, levels + 1):
            reduced = reduce(from_zarr(partial, str(number - 1)))
            reduced.rechunk(chunks).to_zarr(partial, component=str(number))
        datasets = [{"path": str(number), "scale": [2**number, 2**number]} for number in range(levels + 1)]
        group.attrs["multiscales"] = [{"name": name, "axes": ["y", "x"], "datasets": datasets}]
        os.rename(partial, final)
    except BaseException:
        shutil.rmtree(partial, ignore_errors=True)
        raise
