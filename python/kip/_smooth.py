# SPDX-License-Identifier: Apache-2.0
"""Gaussian smoothing of arrays."""

from __future__ import annotations

from typing import NamedTuple, Optional, Tuple

import numpy as np
from numpy.typing import ArrayLike, DTypeLike

from . import _kip
from ._arrays import Array, Mask, Pair, take_coverage, take_image, take_mask, take_out, take_pair, take_scale
from ._error import check
from ._stddev import Deviation, take_stddev


class Kernel(NamedTuple):
    sigma: Tuple[int, int]
    sample: Tuple[int, int]

    def result_shape(self, shape: Tuple[int, ...]) -> Tuple[int, int]:
        width, height = _kip.smooth_size(shape[1], shape[0], self.sigma, self.sample)
        if width < 1 or height < 1:
            raise ValueError(f"an image of shape {shape} holds no sample position at sample factors {self.sample}")
        return height, width

    def check_largest(self, image: Array, masked: bool) -> None:
        if image.dtype == np.uint8 and not masked:
            return
        largest = _kip.largest_sigma(8 * image.itemsize)
        if max(self.sigma) > largest:
            raise ValueError(f"sigma is {self.sigma}; at most {largest} goes with {'a mask' if masked else 'uint16'}")


def take_kernel(sigma: Optional[Pair], sample: Pair, stddev: Optional[Deviation] = None) -> Kernel:
    if sigma is not None and stddev is not None:
        raise TypeError("sigma and stddev are given; wanted one of them")
    if sigma is not None:
        sigmas = take_pair(sigma, "sigma", 0)
    elif stddev is not None:
        sigmas = take_stddev(stddev)
    else:
        raise TypeError("sigma is missing, or stddev in its place")
    return Kernel(sigmas, take_pair(sample, "sample", 1))


def _result_dtype(image: Array, dtype: Optional[DTypeLike], out: Optional[Array]) -> DTypeLike:
    wanted = np.dtype(getattr(out, "dtype", image.dtype) if dtype is None else dtype)
    if wanted != np.uint16 and (wanted != np.uint8 or image.dtype == np.uint16):
        possible = "uint8 or uint16" if image.dtype == np.uint8 else "uint16"
        raise TypeError(f"the dtype of the result is {wanted}; wanted {possible}")
    return wanted


def origin(sigma: Pair, sample: Pair = 1) -> Tuple[int, int]:
    """The number (x, y) of the first pixel of a result, where the first pixel of the image has the number (0, 0).

    The kernel of an odd sigma has its centre between two pixels. The library, and with it the command line program,
    counts the pixels of a result from 1 on along an axis of an odd sigma and sample factor 1, else from 0 on. An array
    has no such number: its element 0 is that first pixel.
    """
    kernel = take_kernel(sigma, sample)
    x, y = (int(kernel.sample[axis] == 1 and kernel.sigma[axis] % 2 == 1) for axis in (0, 1))
    return x, y


def smooth_shape(shape: Tuple[int, int], sigma: Pair, sample: Pair = 1) -> Tuple[int, int]:
    """The shape of the result of smoothing an image of that shape, both (rows, columns): that of `out`.

    Raises ValueError when the image is so small that it holds no sample position.
    """
    return take_kernel(sigma, sample).result_shape(shape)


def smooth(
    image: ArrayLike,
    sigma: Optional[Pair] = None,
    *,
    stddev: Optional[Deviation] = None,
    sample: Pair = 1,
    scale: float = 1.0,
    truncate: bool = False,
    dtype: Optional[DTypeLike] = None,
    out: Optional[Array] = None,
) -> Array:
    """Smooth a grey image by three box filters of width sigma + 1, one after the other, along each axis.

    image: (rows, columns) of uint8 or uint16; not copied when the pixels of a row are neighbours in memory.
    sigma: integers of at least 0, in pixels; one for both axes or (x, y), where x runs along a row. The kernel has
        3 sigma + 1 taps and bell-shaped weights. At most 39 for uint16 images.
    stddev: in place of sigma, the standard deviation of the kernel in pixels, at least 0; one or (x, y). The nearest
        sigma is taken, which `kip.stddev` tells: that of a sigma is sqrt(sigma * (sigma + 2)) / 2.
    sample: every sample-th column and row is kept; integers of at least 1, one or (x, y).
    scale: gain, above 0. What becomes of results beyond the range of the pixels depends on the processor.
    truncate: down to a whole number, in place of to the nearest one. Flat areas may come out one lower.
    dtype: uint8 or uint16, by default that of `out` or of the image. A uint16 image gives uint16 only. For a uint8 one
        scale=128 with uint16 keeps seven fractional bits.
    out: array to write and return: of the shape that `smooth_shape` tells, rows of neighbouring pixels, apart from the
        image.

    The image is mirrored at its border with the edge pixel repeated; beyond one reflection it counts as 0. Element c
    along an axis of the result is the weighted mean of the 3 sigma + 1 pixels from c * sample + d - 3 * sigma // 2 on,
    where d is 0 for sample 1, else sample // 2 + (sample & (sigma + 1) & 1) - 1. The centre of the kernel of an odd
    sigma therefore lies half a pixel behind position c * sample + d.

    Raises TypeError for a wrong dtype or type; ValueError for a wrong shape, number or `out`; MemoryError; Error for
    what else the library refuses. The interpreter's lock is released meanwhile. In the main thread signals are handled
    meanwhile, too, so that Ctrl-C stops the call, which leaves `out` half-written; not so for uint16 images and at
    level 1.
    """
    pixels = take_image(image)
    kernel = take_kernel(sigma, sample, stddev)
    kernel.check_largest(pixels, False)
    result = take_out(out, kernel.result_shape(pixels.shape), _result_dtype(pixels, dtype, out), [pixels])
    check(_kip.smooth(pixels, result, *kernel, take_scale(scale), bool(truncate)))
    return result


def smooth_masked(
    image: ArrayLike,
    mask: ArrayLike,
    sigma: Optional[Pair] = None,
    *,
    stddev: Optional[Deviation] = None,
    sample: Pair = 1,
    scale: float = 1.0,
    truncate: bool = False,
    sample_mask: Optional[ArrayLike] = None,
    min_coverage: Optional[float] = None,
    allow_masked_sample: bool = False,
    dtype: Optional[DTypeLike] = None,
    out: Optional[Array] = None,
    out_mask: Optional[Mask] = None,
) -> Tuple[Array, Mask]:
    """Smooth a grey image without the pixels that a mask marks invalid.

    mask: bool or uint8 of the image's shape, not 0 where a pixel is valid.
    sample_mask: the same for results: invalid where it is 0 at the result's sample. By default it is `mask`.
    min_coverage: the fraction, 0 to 1, of the pixels under the kernel that must be valid for a valid result, to the
        nearest whole number of pixels; by default the mask at the result's sample decides.
    allow_masked_sample: without a sample mask, results whose own sample is invalid may be valid.
    out_mask: uint8 array for the result's mask, as `out`.
    The other arguments are those of `smooth`; sigma is at most 63 for uint8 images (24 on processors without 128-bit
    vectors), 39 for uint16 ones. Results beyond the range of the pixels are limited to it when scale is 2, 4, 8 ...

    Returns the pixels and the result's mask, 255 or 0. A valid result is the mean of the valid pixels under the kernel,
    at least one, weighted by it; an invalid one is the pixel at its sample, times scale. The sample of element c along
    an axis is pixel c * sample + max(0, d - 3 * sigma // 2), with the d of `smooth`.

    Large images are smoothed on several threads (`set_threads`). Raises what `smooth` does, but runs to its end before
    signals are handled.
    """
    pixels = take_image(image)
    valid = take_mask(mask, pixels.shape)
    samples = None if sample_mask is None else take_mask(sample_mask, pixels.shape, "sample_mask")
    kernel = take_kernel(sigma, sample, stddev)
    kernel.check_largest(pixels, True)
    shape = kernel.result_shape(pixels.shape)
    result = take_out(out, shape, _result_dtype(pixels, dtype, out), [pixels, valid, samples])
    result_valid = take_out(out_mask, shape, np.uint8, [pixels, valid, samples, result], "out_mask")
    coverage = None if min_coverage is None else take_coverage(min_coverage)
    arrays = (pixels, valid, samples, result, result_valid)
    gain = take_scale(scale)
    check(_kip.smooth_masked(*arrays, *kernel, gain, bool(truncate), coverage, bool(allow_masked_sample)))
    return result, result_valid


def result_mask(
    mask: ArrayLike,
    sigma: Optional[Pair] = None,
    *,
    stddev: Optional[Deviation] = None,
    sample: Pair = 1,
    sample_mask: Optional[ArrayLike] = None,
    min_coverage: float = 0.0,
    out: Optional[Mask] = None,
) -> Mask:
    """The mask that `smooth_masked` would return for results valid by coverage, without smoothing an image.

    255 where the fraction `min_coverage` of the pixels under the kernel, and at least one, is valid and the sample
    mask, if there is one, is not 0 at the sample; else 0. Arguments and errors are those of `smooth_masked`.
    """
    valid = take_mask(mask, None)
    samples = None if sample_mask is None else take_mask(sample_mask, valid.shape, "sample_mask")
    kernel = take_kernel(sigma, sample, stddev)
    result = take_out(out, kernel.result_shape(valid.shape), np.uint8, [valid, samples])
    check(_kip.result_mask(valid, samples, result, *kernel, take_coverage(min_coverage)))
    return result
