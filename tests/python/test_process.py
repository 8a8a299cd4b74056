# SPDX-License-Identifier: Apache-2.0
"""Forks, signals and the end of the interpreter, while the library computes."""

import multiprocessing
import os
import signal
import subprocess
import sys
import threading
import time

import numpy as np
import pytest

import kip
from kip._process import one_thread_at

IMAGE = np.random.default_rng(4).integers(0, 255, (400, 300), np.uint8, endpoint=True)
MASK = IMAGE > 60


def smooth_in_child(number):
    kip.set_threads(number % 8 + 1)
    pixels, mask = kip.smooth_masked(IMAGE, MASK, 2)
    with one_thread_at(1):
        return kip.level(), pixels.sum(), mask.sum()


def test_fork():
    """Children of a process whose threads are inside masked calls and hold its settings."""
    stop, held = threading.Event(), threading.Event()
    wanted = 1, *(array.sum() for array in kip.smooth_masked(IMAGE, MASK, 2))

    def work():
        while not stop.is_set():
            kip.smooth_masked(IMAGE, MASK, 2)

    def hold():
        with one_thread_at("portable"):
            held.set()
            stop.wait()

    kip.set_threads(4)
    threads = [threading.Thread(target=work) for _ in range(4)] + [threading.Thread(target=hold)]
    try:
        for thread in threads:
            thread.start()
        held.wait()
        with multiprocessing.get_context("fork").Pool(4, maxtasksperchild=2) as pool:
            assert pool.map_async(smooth_in_child, range(40), 1).get(timeout=60) == [wanted] * 40
    finally:
        stop.set()
        for thread in threads:
            thread.join()
        kip.set_threads(0)
    assert (kip.level(), kip.threads()) == (kip._process._value(kip._kip.processor_level), 0)


def test_end_of_the_interpreter():
    """It ends quietly while daemon threads compute."""
    program = """
import threading, time, kip, numpy
image = numpy.zeros((2000, 2000), numpy.uint8)
calls = [lambda: kip.smooth(image, 30), lambda: kip.smooth_masked(image, image < 9, 9), lambda: kip.binomial(image, 8)]
def repeat(call):
    while True:
        call()
for call in calls:
    threading.Thread(target=repeat, args=[call], daemon=True).start()
time.sleep(0.3)
"""
    ended = subprocess.run([sys.executable, "-c", program], stderr=subprocess.PIPE, timeout=60, check=False)
    assert (ended.returncode, ended.stderr) == (0, b"")


@pytest.mark.parametrize("level", ["portable"], indirect=True)  # which takes its time
def test_signals(level):
    """Handlers run during a call, and that of Ctrl-C stops it."""
    timer = threading.Timer(0.2, os.kill, [os.getpid(), signal.SIGINT])
    begin = time.perf_counter()
    with pytest.raises(KeyboardInterrupt):
        timer.start()
        kip.binomial(np.zeros((1000, 1000), np.uint8), 8000)
    assert time.perf_counter() - begin < 2

    arrived = []
    before = signal.signal(signal.SIGALRM, lambda *_: arrived.append(time.perf_counter()))
    signal.setitimer(signal.ITIMER_REAL, 0.05)
    try:
        kip.binomial(IMAGE, 8000)
    finally:
        signal.signal(signal.SIGALRM, before)
    assert arrived and arrived[0] < time.perf_counter() - 0.1

    # a handler that computes is stopped like any other call, and its error is that of its own call
    def compute(*_):
        time.sleep(0.06)  # so that the outer call would look for signals first
        signal.signal(signal.SIGALRM, signal.default_int_handler)
        signal.setitimer(signal.ITIMER_REAL, 0.01)
        with pytest.raises(KeyboardInterrupt):
            kip.binomial(np.zeros((1000, 1000), np.uint8), 8000)
        arrived.append(True)

    arrived, wanted = [], kip.binomial(IMAGE, 8000)
    before = signal.signal(signal.SIGALRM, compute)
    signal.setitimer(signal.ITIMER_REAL, 0.05)
    try:
        assert np.array_equal(kip.binomial(IMAGE, 8000), wanted)
    finally:
        signal.signal(signal.SIGALRM, before)
    assert arrived
