# SPDX-License-Identifier: Apache-2.0
"""Pixels by the definition, in integers. Pairs are (x, y)."""

import numpy as np
import scipy.ndimage
import scipy.signal


def _first(sigma, sample):
    """The position on the image that the first pixel of a result stands for."""
    return 0 if sample == 1 else sample // 2 + (sample & (sigma + 1) & 1) - 1


def _along_axes(image, sigma, sample, work):
    for axis in (1, 0):
        s, step = sigma[1 - axis], sample[1 - axis]
        image = np.moveaxis(work(np.moveaxis(image, axis, 0), s, step), 0, axis)
    return image


def box_sums(image, sigma, sample, widths=lambda s: 3 * [s + 1]):
    """Uniform filters along each axis of the image mirrored at its border, at the positions of the results' pixels."""

    def work(rows, s, step):
        sums = np.pad(rows, [(3 * s // 2, 3 * s - 3 * s // 2), (0, 0)], mode="symmetric")
        for width in widths(s):
            sums = scipy.signal.convolve(sums, np.ones((width, 1), np.int64), mode="valid", method="direct")
        return sums[_first(s, step) :: step]

    return _along_axes(image.astype(np.int64), sigma, sample, work)


def coverage(mask, sigma, sample):
    """How many valid pixels lie under each kernel."""
    return box_sums(mask, sigma, sample, lambda s: [3 * s + 1])


def samples(image, sigma, sample):
    """The pixels at the samples of masked results."""

    def work(rows, s, step):
        first = _first(s, step)
        return rows[max(0, first - 3 * s // 2) :: step][: len(range(first, len(rows), step))]

    return _along_axes(image, sigma, sample, work)


def divide(sums, weights, gain, rounded):
    """gain * sums / weights, truncated or rounded half up; 0 where there is no weight."""
    return (2 * gain * sums + rounded * weights) // np.maximum(2 * weights, 1)


def binomial_sums(image, axes):
    """The weights 1 4 6 4 1 along the axes, the nearest pixel standing in for those outside."""
    sums = image.astype(np.int64)
    for axis in axes:
        sums = scipy.ndimage.convolve1d(sums, [1, 4, 6, 4, 1], "yx".index(axis), mode="nearest")
    return sums
