from typing import Any, Optional, Tuple

from numpy.typing import NDArray

from ._arrays import Mask

_Array = NDArray[Any]
_Pair = Tuple[int, int]

__version__: str
processor_level: int
NO_MEMORY: int

def status_text(status: int) -> str: ...
def smooth(src: _Array, dst: _Array, sigma: _Pair, sample: _Pair, scale: float, truncate: bool) -> int: ...
def smooth_masked(
    src: _Array,
    mask: Mask,
    sample_mask: Optional[Mask],
    dst: _Array,
    dst_mask: Mask,
    sigma: _Pair,
    sample: _Pair,
    scale: float,
    truncate: bool,
    min_coverage: Optional[float],
    allow_masked_sample: bool,
) -> int: ...
def result_mask(
    mask: Mask, sample_mask: Optional[Mask], dst_mask: Mask, sigma: _Pair, sample: _Pair, min_coverage: float
) -> int: ...
def stddev(pixels: float) -> int: ...
def smooth_size(width: int, height: int, sigma: _Pair, sample: _Pair) -> _Pair: ...
def largest_sigma(bits: int) -> int: ...
def reduce(
    src: _Array,
    mask: Optional[Mask],
    dst: _Array,
    dst_mask: Optional[Mask],
    along_x: bool,
    along_y: bool,
    are_weights: bool,
) -> int: ...
def binomial(
    src: _Array, mask: Optional[Mask], dst: _Array, dst_mask: Optional[Mask], radius: _Pair, are_weights: bool
) -> int: ...
def level() -> int: ...
def set_level(level: int) -> bool: ...
def set_threads(count: int) -> None: ...
