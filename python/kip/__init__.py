# SPDX-License-Identifier: Apache-2.0
"""Smoothing of grey-scale images for machine vision, exact to the bit.

Images are NumPy arrays of uint8 or uint16 with the shape (rows, columns). Pairs such as sigma=(x, y) name x first,
which runs along a row, that is along the last axis of an array. Masks are bool or uint8 arrays, not 0 where a pixel is
valid. `kip.dask` does the same with Dask arrays that no memory holds.
"""

from ._binomial import binomial, pyramid, reduce, reduced_shape
from ._error import Error
from ._kip import __version__
from ._process import level, set_level, set_threads, threads
from ._smooth import origin, result_mask, smooth, smooth_masked, smooth_shape
from ._stddev import stddev

__all__ = [
    "Error",
    "__version__",
    "binomial",
    "level",
    "origin",
    "pyramid",
    "reduce",
    "reduced_shape",
    "result_mask",
    "set_level",
    "set_threads",
    "smooth",
    "smooth_masked",
    "smooth_shape",
    "stddev",
    "threads",
]
