# SPDX-License-Identifier: Apache-2.0
"""The smoothing of one axis by its definition: what the plots draw and what a test compares with the library."""
import numpy


def weights(sigma):
    """The 3 sigma + 1 integer weights: three boxes of width sigma + 1."""
    box = numpy.ones(sigma + 1, dtype=int)
    return numpy.convolve(numpy.convolve(box, box), box)


def deviation(sigma):
    """The standard deviation of the weights, in pixels."""
    return numpy.sqrt(3 * ((sigma + 1) ** 2 - 1) / 12)


def position(u, sample, sigma):
    """The source pixel that result pixel u is taken at."""
    return u * sample + sample // 2 + (sample & (sigma + 1) & 1) - 1


def firstTap(u, sample, sigma):
    """The first of the source pixels under the kernel of result pixel u."""
    return position(u, sample, sigma) - 3 * sigma // 2


def shift(sample, sigma):
    """t of the map from result to source coordinates, source = sample x result + t, both in pixels."""
    return -0.5 if (sample ^ (sigma + 1)) & 1 else 0.0


def results(width, sample, sigma):
    """The pixels that a source with the columns 0 ... width - 1 gives: those whose position lies in it."""
    first = -((position(0, sample, sigma)) // sample)
    return [u for u in range(first, width + 2) if 0 <= position(u, sample, sigma) < width]


def mirrored(column, width):
    """The column that stands in for a column outside the source; None beyond one reflection, which counts as 0."""
    if column < 0:
        column = -1 - column
    elif column >= width:
        column = 2 * width - 1 - column
    return column if 0 <= column < width else None


def matrix(width, sample, sigma):
    """Row r, column j: the weight of source pixel r in the j-th result pixel."""
    pixels = results(width, sample, sigma)
    table = numpy.zeros((width, len(pixels)), dtype=int)
    for j, u in enumerate(pixels):
        for tap, weight in enumerate(weights(sigma)):
            source = mirrored(firstTap(u, sample, sigma) + tap, width)
            if source is not None:
                table[source, j] += weight
    return table
