# SPDX-License-Identifier: Apache-2.0
"""Failures of the library."""

from __future__ import annotations

from . import _kip


class Error(RuntimeError):
    """A failure of the library itself, which no check of the arguments foresees.

    status: its number, as the C headers define it: negative.
    """

    def __init__(self, status: int) -> None:
        super().__init__(status)
        self.status = status

    def __str__(self) -> str:
        return f"{_kip.status_text(self.status)} (status 0x{self.status & 0xFFFFFFFF:08X})"


def check(status: int) -> None:
    if status == _kip.NO_MEMORY:
        raise MemoryError(_kip.status_text(status))
    if status < 0:
        raise Error(status)
