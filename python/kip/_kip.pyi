from typing import Any, List, Optional, Tuple

from numpy.typing import NDArray

from ._arrays import Mask

_Array = NDArray[Any]
_Pair = Tuple[int, int]
_Cut = Tuple[bool, int, int, int, int]

__version__: str
LEVELS: List[str]
processor_level: str
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
def level() -> str: ...
def set_level(name: str) -> bool: ...
def smooth_parts(
    sigma: _Pair, sample: _Pair, scale: float, truncate: bool, bits: int, is_masked: bool
) -> Tuple[_Cut, _Cut]: ...
def reduce_parts(along_x: bool, along_y: bool) -> Tuple[_Cut, _Cut]: ...
def set_threads(count: int) -> None: ...
