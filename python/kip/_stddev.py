# SPDX-License-Identifier: Apache-2.0
"""Sigmas by their standard deviations."""

from __future__ import annotations

from typing import Sequence, Tuple, Union

from . import _kip
from ._arrays import take_two

Deviation = Union[float, Sequence[float]]


def take_stddev(stddev: Deviation) -> Tuple[int, int]:
    """The sigmas (x, y) nearest to a standard deviation for both axes or to a pair (x, y) of them."""
    wanted = f"stddev is {stddev!r}; wanted a number of pixels from 0 to 2**30 - 1, or a pair (x, y) of them"
    x, y = take_two(stddev, _kip.stddev, wanted)
    if x < 0 or y < 0:
        raise ValueError(wanted)
    return x, y


def stddev(pixels: float) -> int:
    """The sigma whose kernel comes nearest to a standard deviation: 4, whose is 2.45 pixels, for 2.5.

    That is what `stddev=` takes in place of a sigma. The standard deviation of a sigma is
    sqrt(sigma * (sigma + 2)) / 2; up to 0.433 pixels the nearest sigma is 0, no smoothing. Raises ValueError outside 0
    to 2**30 - 1.
    """
    return take_stddev((pixels, pixels))[0]
