# SPDX-License-Identifier: Apache-2.0
"""Settings of the process: the processor level and the number of threads."""

from __future__ import annotations

import contextlib
import operator
import os
import threading
from typing import Iterator, List, Optional, Tuple, Union

from . import _kip

Level = Union[int, str]

def _value(name: str) -> Level:
    return int(name) if name.isdigit() else name


_LEVELS = {_value(name): name for name in _kip.LEVELS}

_set_level: Optional[Level] = None
_set_threads = 0


def level() -> Level:
    """The level of the vectorised engines that requests may use: "portable", 1 (SSE2) or 2 (AVX2)."""
    return _value(_kip.level())


def set_level(level: Optional[Level]) -> None:
    """Hold the library to one level, in the whole process; None: to the best one of the processor, as at the start.

    Levels may differ by one grey value, with a scale above 1 by more, and the portable one is slow. Raises ValueError
    for other levels and for one that the processor lacks.
    """
    global _set_level
    if level is not None and level not in _LEVELS:
        raise ValueError(f"level is {level!r}; wanted {', '.join(map(repr, _LEVELS))} or None")
    if not _kip.set_level("" if level is None else _LEVELS[level]):
        raise ValueError(f"level is {level!r}; the processor has no more than {_value(_kip.processor_level)!r}")
    _set_level = level


def set_threads(count: int) -> None:
    """The number of threads that a masked request may use, in the whole process; 0, as at the start: one a processor.

    Everything else runs on the calling thread. Raises ValueError outside 0 to 256.
    """
    global _set_threads
    count = operator.index(count)
    if not 0 <= count <= 256:
        raise ValueError(f"count is {count}; wanted 0 to 256")
    _kip.set_threads(count)
    _set_threads = count


def threads() -> int:
    """What `set_threads` said last; 0 at the start."""
    return _set_threads


_turn = threading.Condition()
_users: List[int] = []  # the threads inside
_before: Tuple[Optional[Level], int] = (None, 0)


@contextlib.contextmanager
def one_thread_at(wanted: Level) -> Iterator[None]:
    """Inside, the process keeps to this level and to one thread; threads that want another level wait at the door."""
    global _before
    thread = threading.get_ident()
    with _turn:
        _turn.wait_for(lambda: not _users or level() == wanted)
        if not _users:
            _before = _set_level, _set_threads
        _users.append(thread)
        try:
            set_level(wanted)
            set_threads(1)
        except ValueError:
            _users.remove(thread)
            raise
    try:
        yield
    finally:
        with _turn:
            if len(_users) == 1:
                _restore()
            _users.remove(thread)
            _turn.notify_all()


def _restore() -> None:
    set_level(_before[0])
    set_threads(_before[1])


def _start_child() -> None:
    """In a forked child nobody is inside but the thread that forked."""
    global _turn
    _turn = threading.Condition()
    forked = threading.get_ident()
    if _users and forked not in _users:
        _restore()
    _users[:] = [thread for thread in _users if thread == forked]


os.register_at_fork(after_in_child=_start_child)
