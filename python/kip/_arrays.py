# SPDX-License-Identifier: Apache-2.0
"""What a call makes of its arguments first: arrays as they are, copies of those it cannot use so, or a clear error."""

from __future__ import annotations

import math
import operator
from typing import Any, Callable, Iterable, Optional, Sequence, Tuple, Union

import numpy as np
from numpy.typing import ArrayLike, DTypeLike, NDArray

Array = NDArray[Any]
Mask = NDArray[np.uint8]
Pair = Union[int, Sequence[int]]

_LARGEST = 2**31 - 2


def _check_shape(array: Array, name: str) -> None:
    if array.ndim != 2:
        raise ValueError(f"{name} has {array.ndim} dimensions, shape {array.shape}; wanted two, rows and columns")
    if array.size == 0:
        raise ValueError(f"{name} has shape {array.shape}, that is no pixel; wanted at least one")
    if max(array.shape) > _LARGEST:
        raise ValueError(f"{name} has shape {array.shape}; at most {_LARGEST} rows and columns are possible")


def _has_rows(array: Array) -> bool:
    """Whether the pixels of a row are neighbours in memory and rows are apart."""
    (height, width), (pitch, step) = array.shape, array.strides
    size = array.itemsize
    return (
        array.flags.aligned
        and (width == 1 or step == size)
        and (height == 1 or width <= pitch // size <= _LARGEST)
    )


def take_image(image: ArrayLike, name: str = "image") -> Array:
    """The image, copied only where its strides or byte order demand it."""
    array = np.asarray(image)
    _check_shape(array, name)
    if array.dtype.kind != "u" or array.dtype.itemsize > 2:
        raise TypeError(f"{name} has dtype {array.dtype}; wanted uint8 or uint16")
    if not array.dtype.isnative:
        array = array.astype(array.dtype.newbyteorder("="))
    return array if _has_rows(array) else np.ascontiguousarray(array)


def take_mask(mask: ArrayLike, shape: Optional[Tuple[int, ...]], name: str = "mask") -> Mask:
    """The mask's bytes, copied only where its strides demand it. `shape`: that of its image."""
    array = np.asarray(mask)
    _check_shape(array, name)
    if shape is not None and array.shape != shape:
        raise ValueError(f"{name} has shape {array.shape}; wanted {shape}, that of the image")
    if array.dtype != np.bool_ and array.dtype != np.uint8:
        raise TypeError(f"{name} has dtype {array.dtype}; wanted bool or uint8")
    return (array if _has_rows(array) else np.ascontiguousarray(array)).view(np.uint8)


def take_out(
    out: Optional[Array], shape: Tuple[int, int], dtype: DTypeLike, apart: Sequence[Optional[Array]], name: str = "out"
) -> Array:
    """The array to write, a new one for None. `apart`: the arrays that it must share no memory with."""
    if out is None:
        return np.empty(shape, dtype)
    if not isinstance(out, np.ndarray):
        raise TypeError(f"{name} is a {type(out).__name__}; wanted a NumPy array")
    if out.dtype != dtype:
        raise TypeError(f"{name} has dtype {out.dtype}; wanted {np.dtype(dtype)}")
    if out.shape != shape:
        raise ValueError(f"{name} has shape {out.shape}; wanted {shape}")
    if not out.flags.writeable:
        raise ValueError(f"{name} is read-only")
    if not _has_rows(out):
        raise ValueError(
            f"{name} has strides {out.strides}; wanted aligned pixels, {out.itemsize} bytes from one to the next and "
            f"at least {shape[1] * out.itemsize} from a row to the next"
        )
    if any(other is not None and np.shares_memory(out, other) for other in apart):
        raise ValueError(f"{name} shares memory with another argument")
    return out


def take_two(value: Any, convert: Callable[[Any], int], refusal: str) -> Tuple[int, int]:
    """What becomes of a number for both axes or of a pair (x, y)."""
    try:
        pair = value if isinstance(value, Iterable) else (value, value)
        numbers = [convert(number) for number in pair]
    except TypeError:
        raise TypeError(refusal) from None
    if len(numbers) != 2:
        raise ValueError(refusal)
    return numbers[0], numbers[1]


def take_pair(value: Pair, name: str, least: int) -> Tuple[int, int]:
    """(x, y) of a number for both axes or of a pair (x, y)."""
    refusal = f"{name} is {value!r}; wanted an integer of at least {least}, or a pair (x, y) of them"
    x, y = take_two(value, operator.index, refusal)
    if not (least <= x <= _LARGEST and least <= y <= _LARGEST):
        raise ValueError(refusal)
    return x, y


def take_scale(scale: float) -> float:
    scale = float(scale)
    if not (scale > 0.0 and math.isfinite(scale)):
        raise ValueError(f"scale is {scale}; wanted a number above 0")
    return scale


def take_coverage(min_coverage: float) -> float:
    if not 0.0 <= min_coverage <= 1.0:
        raise ValueError(f"min_coverage is {min_coverage}; wanted a fraction from 0 to 1")
    return float(min_coverage)
