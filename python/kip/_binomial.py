# SPDX-License-Identifier: Apache-2.0
"""Reduction by two and smoothing with the weights 1 4 6 4 1."""

from __future__ import annotations

from typing import List, Optional, Tuple, Union, overload

import numpy as np
from numpy.typing import ArrayLike

from . import _kip
from ._arrays import Array, Mask, Pair, take_image, take_mask, take_out, take_pair
from ._error import check

Masked = Tuple[Array, Mask]


def _take_axes(axes: str) -> Tuple[bool, bool]:
    if axes not in ("x", "y", "xy"):
        raise ValueError(f"axes is {axes!r}; wanted 'x', 'y' or 'xy'")
    return "x" in axes, "y" in axes


def _take_outs(
    pixels: Array, mask: Optional[Mask], shape: Tuple[int, int], out: Optional[Array], out_mask: Optional[Mask]
) -> Tuple[Array, Optional[Mask]]:
    result = take_out(out, shape, pixels.dtype, [pixels, mask])
    if mask is not None:
        return result, take_out(out_mask, shape, np.uint8, [pixels, mask, result], "out_mask")
    if out_mask is not None:
        raise ValueError("out_mask is given without a mask")
    return result, None


def reduced_shape(shape: Tuple[int, ...], axes: str = "xy") -> Tuple[int, int]:
    """The shape of a reduced image of that shape, both (rows, columns); ValueError where one row or column is left."""
    along_x, along_y = _take_axes(axes)
    height, width = shape[0] // (2 if along_y else 1), shape[1] // (2 if along_x else 1)
    if height < 1 or width < 1:
        raise ValueError(f"an image of shape {shape} cannot be halved along {axes}")
    return height, width


# fmt: off
@overload
def reduce(image: ArrayLike, mask: None = None, *, axes: str = "xy", weights: bool = False, out: Optional[Array] = None,
           out_mask: None = None) -> Array: ...
@overload
def reduce(image: ArrayLike, mask: ArrayLike, *, axes: str = "xy", weights: bool = False, out: Optional[Array] = None,
           out_mask: Optional[Mask] = None) -> Masked: ...
# fmt: on
def reduce(
    image: ArrayLike,
    mask: Optional[ArrayLike] = None,
    *,
    axes: str = "xy",
    weights: bool = False,
    out: Optional[Array] = None,
    out_mask: Optional[Mask] = None,
) -> Union[Array, Masked]:
    """Halve an image, one level of a pyramid.

    image: (rows, columns) of uint8 or uint16; not copied when the pixels of a row are neighbours in memory.
    mask: bool or uint8 of the image's shape, not 0 where a pixel is valid.
    axes: "xy" halves rows and columns, "x" the columns only, "y" the rows only. An odd last pixel has no result.
    weights: whether the bytes of the mask say how much a pixel counts, 0 to 255, as those of a result's mask do.
    out, out_mask: arrays to write and return, of the shape that `reduced_shape` tells, rows of neighbouring pixels,
        apart from each other and from the arguments.

    Element c along an axis is the mean of the five pixels around 2 c, along both axes of five by five, with the weights
    1 4 6 4 1, rounded once; at the border the nearest pixel stands in for those outside. With a mask it is the mean
    weighted by kernel and mask, 0 where there is no weight, and the result is a pair: pixels and mask, which is the
    kernel's rounded mean of the mask.

    Raises TypeError for a wrong dtype; ValueError for a wrong shape or `out`; MemoryError; Error for what else the
    library refuses. The interpreter's lock is released meanwhile, and in the main thread signals are handled: Ctrl-C
    stops the call, which leaves `out` half-written.
    """
    pixels = take_image(image)
    valid = None if mask is None else take_mask(mask, pixels.shape)
    result, result_mask = _take_outs(pixels, valid, reduced_shape(pixels.shape, axes), out, out_mask)
    check(_kip.reduce(pixels, valid, result, result_mask, *_take_axes(axes), bool(weights)))
    return result if result_mask is None else (result, result_mask)


@overload
def pyramid(image: ArrayLike, levels: int, mask: None = None) -> List[Array]: ...
@overload
def pyramid(image: ArrayLike, levels: int, mask: ArrayLike) -> List[Masked]: ...
def pyramid(image: ArrayLike, levels: int, mask: Optional[ArrayLike] = None) -> Union[List[Array], List[Masked]]:
    """The image reduced once, twice ... `levels` times along both axes: a list of arrays, with a mask of pairs.

    levels: at least 1. Each level is `reduce` of the one before, the mask of which holds its weights. Raises what
    `reduce` does, and ValueError when the image cannot be halved so often.
    """
    pixels = take_image(image)
    most = min(pixels.shape).bit_length() - 1
    if not 1 <= levels <= most:
        raise ValueError(f"levels is {levels}; an image of shape {pixels.shape} can be halved {most} times")
    if mask is None:
        plain = [reduce(pixels)]
        while len(plain) < levels:
            plain.append(reduce(plain[-1]))
        return plain
    masked = [reduce(pixels, mask)]
    while len(masked) < levels:
        masked.append(reduce(*masked[-1], weights=True))
    return masked


# fmt: off
@overload
def binomial(image: ArrayLike, radius: Pair = 2, mask: None = None, *, weights: bool = False,
             out: Optional[Array] = None, out_mask: None = None) -> Array: ...
@overload
def binomial(image: ArrayLike, radius: Pair, mask: ArrayLike, *, weights: bool = False, out: Optional[Array] = None,
             out_mask: Optional[Mask] = None) -> Masked: ...
# fmt: on
def binomial(
    image: ArrayLike,
    radius: Pair = 2,
    mask: Optional[ArrayLike] = None,
    *,
    weights: bool = False,
    out: Optional[Array] = None,
    out_mask: Optional[Mask] = None,
) -> Union[Array, Masked]:
    """Smooth an image with the weights 1 4 6 4 1.

    radius: even, at least 0, in pixels; one for both axes or (x, y), where x runs along a row. 0 leaves an axis alone,
        2 is one pass of the kernel, 2 k are k passes, each rounded, one along both axes once. The standard deviation of
        k passes is sqrt(k) pixels.
    The other arguments, the border, masks, results and errors are those of `reduce`, but the shape stays.
    """
    pixels = take_image(image)
    valid = None if mask is None else take_mask(mask, pixels.shape)
    radii = take_pair(radius, "radius", 0)
    if any(r % 2 != 0 for r in radii):
        raise ValueError(f"radius is {radius!r}; wanted even numbers")
    height, width = pixels.shape
    result, result_mask = _take_outs(pixels, valid, (height, width), out, out_mask)
    check(_kip.binomial(pixels, valid, result, result_mask, radii, bool(weights)))
    return result if result_mask is None else (result, result_mask)
