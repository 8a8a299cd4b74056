# SPDX-License-Identifier: Apache-2.0
"""Strides, copies, outputs, refusals and the interpreter's lock."""

import pickle
import resource
import threading
import time
import tracemalloc

import numpy as np
import pytest
from numpy.lib.stride_tricks import as_strided

import kip

IMAGE = np.random.default_rng(3).integers(0, 255, (40, 50), np.uint8, endpoint=True)
DEEP = IMAGE.astype(np.uint16) * 257
MASK = IMAGE > 60
MASK_BYTES = MASK.astype(np.uint8)
UNALIGNED = np.zeros(DEEP.nbytes + 1, np.uint8)[1:].view(np.uint16).reshape(DEEP.shape)

# Every function as f(image, mask, **outs), and whether it returns a mask, too.
CALLS = {
    "smooth": (lambda image, mask, **outs: kip.smooth(image, (2, 3), sample=(1, 2), **outs), False),
    "smooth_masked": (lambda image, mask, **outs: kip.smooth_masked(image, mask, 3, **outs), True),
    "reduce": (lambda image, mask, **outs: kip.reduce(image, **outs), False),
    "reduce masked": (lambda image, mask, **outs: kip.reduce(image, mask, axes="x", **outs), True),
    "binomial": (lambda image, mask, **outs: kip.binomial(image, (4, 2), **outs), False),
    "binomial masked": (lambda image, mask, **outs: kip.binomial(image, 2, mask, **outs), True),
}
each_call = pytest.mark.parametrize("call, masked", CALLS.values(), ids=CALLS)


def results(call, masked, *arguments, **outs):
    made = call(*arguments, **outs)
    return list(made) if masked else [made]


def wide(array, rows=2, margin=3):
    """The same pixels with other bytes between the rows and around them."""
    room = np.full((rows * array.shape[0], array.shape[1] + 2 * margin), 99, array.dtype)
    room[::rows, margin:-margin] = array
    return room[::rows, margin:-margin]


@each_call
@pytest.mark.parametrize("image", [IMAGE, DEEP], ids=["uint8", "uint16"])
def test_every_layout_gives_the_same_pixels(call, masked, image):
    wanted = results(call, masked, image, MASK)
    layouts = {
        "rows apart": wide,
        "columns first": np.asfortranarray,
        "upside down": lambda array: array[::-1].copy()[::-1],
        "right to left": lambda array: array[:, ::-1].copy()[:, ::-1],
        "every second column": lambda array: np.repeat(array, 2, axis=1)[:, ::2],
        "other byte order": lambda array: array.astype(array.dtype.newbyteorder()),
        "read-only": lambda array: np.frombuffer(array.tobytes(), array.dtype).reshape(array.shape),
        "unaligned": lambda array: np.frombuffer(b"\0" + array.tobytes(), array.dtype, offset=1).reshape(array.shape),
        "bytes for truth": lambda array: 7 * array.astype(np.uint8) if array is MASK else array,
    }
    for name, layout in layouts.items():
        made = results(call, masked, layout(image), layout(MASK))
        assert all(np.array_equal(a, b) and a.dtype == b.dtype for a, b in zip(made, wanted)), name
    for part in (np.s_[:1], np.s_[:, :1]):  # strides of a single row or column are any
        try:
            wanted = results(call, masked, image[::-1][part].copy(), MASK[::-1][part].copy())
        except ValueError as error:
            assert "cannot be halved" in str(error)
            continue
        made = results(call, masked, image[::-1][part], MASK[::-1][part])
        assert all(np.array_equal(a, b) for a, b in zip(made, wanted)), part


@each_call
def test_out(call, masked):
    wanted = results(call, masked, IMAGE, MASK)
    names = ["out", "out_mask"][: len(wanted)]
    outs = {name: wide(np.zeros_like(array), rows=3) for name, array in zip(names, wanted)}
    made = results(call, masked, IMAGE, MASK, **outs)
    for name, array, result in zip(names, wanted, made):
        assert result is outs[name] and np.array_equal(result, array)
        room = result.base.copy()
        room[::3, 3:-3] = 99
        assert np.all(room == 99), "written outside"

    for i, (name, array) in enumerate(zip(names, wanted)):
        fixed = array.copy()
        fixed.flags.writeable = False
        pool = np.zeros(IMAGE.size + array.size, np.uint8)
        source = pool[: IMAGE.size].reshape(IMAGE.shape)
        over = pool[IMAGE.size - 1 :][: array.size].reshape(array.shape)
        refusals = [
            (ValueError, "has shape", array[:-1].copy(), IMAGE),
            (ValueError, "has shape", array.ravel(), IMAGE),
            (ValueError, "read-only", fixed, IMAGE),
            (ValueError, "strides", np.asfortranarray(array), IMAGE),
            (ValueError, "strides", array[::-1], IMAGE),
            (ValueError, "strides", as_strided(array.copy(), strides=(array.shape[1] - 1, 1)), IMAGE),
            (ValueError, "shares memory", over, source),
            (TypeError, "dtype", array.astype(np.int16), IMAGE),
            (TypeError, "list", array.tolist(), IMAGE),
        ]
        for error, text, out, image in refusals:
            with pytest.raises(error, match=text) as caught:
                call(image, MASK, **{name: out})
            assert name in str(caught.value) or "dtype of the result" in str(caught.value)
    if masked:
        same = np.empty_like(wanted[0])
        with pytest.raises(ValueError, match="shares memory"):
            call(IMAGE, MASK, out=same, out_mask=same)


def test_out_of_one_row_or_column():
    """Then one of the strides means nothing."""
    row, column = np.zeros((3, 50), np.uint8)[::-1][:1], np.zeros((40, 4), np.uint8)[:, ::2][:, :1]
    assert np.array_equal(kip.smooth(IMAGE[:1], 3, out=row), kip.smooth(IMAGE[:1], 3))
    assert np.array_equal(kip.smooth(IMAGE[:, :1], 3, out=column), kip.smooth(IMAGE[:, :1], 3))


def test_stddev_is_the_nearest_sigma():
    assert [kip.stddev(pixels) for pixels in (0, 0.4, 0.5, 2.5, np.float32(12.5))] == [0, 0, 1, 4, 24]
    assert np.array_equal(kip.smooth(IMAGE, stddev=2.5), kip.smooth(IMAGE, 4))
    made, wanted = (kip.smooth_masked(IMAGE, MASK, **size) for size in ({"stddev": (2.5, 0.9)}, {"sigma": (4, 1)}))
    assert all(np.array_equal(a, b) for a, b in zip(made, wanted))
    assert np.array_equal(kip.result_mask(MASK, stddev=2.5), kip.result_mask(MASK, 4))


REFUSALS = [
    (TypeError, "image has dtype int64; wanted uint8 or uint16", lambda: kip.smooth(IMAGE.astype(np.int64), 1)),
    (TypeError, "image has dtype uint32", lambda: kip.smooth(IMAGE.astype(np.uint32), 1)),
    (TypeError, "image has dtype float32", lambda: kip.reduce(IMAGE.astype(np.float32))),
    (TypeError, "image has dtype bool", lambda: kip.binomial(MASK)),
    (ValueError, r"image has 3 dimensions, shape \(40, 50, 1\)", lambda: kip.smooth(IMAGE[:, :, None], 1)),
    (ValueError, "image has 1 dimensions", lambda: kip.pyramid(IMAGE[0], 1)),
    (ValueError, r"image has shape \(0, 50\), that is no pixel", lambda: kip.smooth(IMAGE[:0], 1)),
    (ValueError, r"mask has shape \(40, 49\); wanted \(40, 50\)", lambda: kip.smooth_masked(IMAGE, MASK[:, 1:], 1)),
    (ValueError, "sample_mask has shape", lambda: kip.smooth_masked(IMAGE, MASK, 1, sample_mask=MASK[1:])),
    (ValueError, "sample_mask has shape", lambda: kip.result_mask(MASK, 1, sample_mask=MASK[1:])),
    (TypeError, "mask has dtype float64; wanted bool or uint8", lambda: kip.reduce(IMAGE, MASK * 1.0)),
    (TypeError, "sigma is 1.5; wanted an integer", lambda: kip.smooth(IMAGE, 1.5)),
    (TypeError, "sigma is missing, or stddev", lambda: kip.smooth(IMAGE)),
    (TypeError, "sigma and stddev are given", lambda: kip.result_mask(MASK, 1, stddev=1)),
    (TypeError, "stddev is '12'; wanted a number", lambda: kip.smooth(IMAGE, stddev="12")),
    (ValueError, r"stddev is \(1, 2, 3\)", lambda: kip.smooth(IMAGE, stddev=(1, 2, 3))),
    (ValueError, "stddev is nan; wanted a number of pixels from 0", lambda: kip.smooth(IMAGE, stddev=float("nan"))),
    (ValueError, "stddev is .*-0.1", lambda: kip.stddev(-0.1)),
    (ValueError, "sigma is -1", lambda: kip.smooth(IMAGE, -1)),
    (ValueError, r"sigma is \(1, 2, 3\)", lambda: kip.smooth(IMAGE, (1, 2, 3))),
    (ValueError, r"sigma is \(40, 40\); at most 39 goes with uint16", lambda: kip.smooth(DEEP, 40)),
    (ValueError, "at most 63|24 goes with a mask", lambda: kip.smooth_masked(IMAGE, MASK, (64, 1))),
    (ValueError, "sample is 0", lambda: kip.smooth(IMAGE, 1, sample=0)),
    (ValueError, r"shape \(1, 1\) holds no sample position", lambda: kip.smooth(IMAGE[:1, :1], 0, sample=3)),
    (ValueError, "scale is 0.0", lambda: kip.smooth(IMAGE, 1, scale=0)),
    (ValueError, "scale is nan", lambda: kip.smooth_masked(IMAGE, MASK, 1, scale=float("nan"))),
    (TypeError, "dtype of the result is uint8; wanted uint16", lambda: kip.smooth(DEEP, 1, dtype=np.uint8)),
    (TypeError, "dtype of the result is float64", lambda: kip.smooth(IMAGE, 1, dtype=float)),
    (ValueError, "min_coverage is 1.5", lambda: kip.smooth_masked(IMAGE, MASK, 1, min_coverage=1.5)),
    (ValueError, "out has strides .* aligned", lambda: kip.binomial(DEEP, out=UNALIGNED)),
    (ValueError, "out shares memory", lambda: kip.binomial(IMAGE, 2, MASK_BYTES, out=MASK_BYTES)),
    (ValueError, "out shares memory", lambda: kip.result_mask(MASK_BYTES, 2, out=MASK_BYTES)),
    (ValueError, "axes is 'z'", lambda: kip.reduce(IMAGE, axes="z")),
    (ValueError, "cannot be halved along xy", lambda: kip.reduce(IMAGE[:1])),
    (ValueError, "out_mask is given without a mask", lambda: kip.reduce(IMAGE, out_mask=IMAGE)),
    (ValueError, "levels is 6; .* can be halved 5 times", lambda: kip.pyramid(IMAGE, 6)),
    (ValueError, "radius is 3; wanted even", lambda: kip.binomial(IMAGE, 3)),
    (ValueError, "level is 3", lambda: kip.set_level(3)),
    (ValueError, "count is 257", lambda: kip.set_threads(257)),
]


@pytest.mark.parametrize("error, text, call", REFUSALS, ids=[text for _, text, _ in REFUSALS])
def test_refusals(error, text, call):
    with pytest.raises(error, match=text):
        call()


def test_failures_of_the_library():
    with pytest.raises(kip.Error, match="scale .* 0x80000963") as caught:
        kip.smooth(IMAGE, 1, scale=1e-300)
    assert caught.value.status == 0x80000963 - 2**32
    again = pickle.loads(pickle.dumps(caught.value))  # from a worker process
    assert str(again) == str(caught.value) and again.status == caught.value.status


def test_memory_error():
    with open("/proc/self/statm", encoding="ascii") as file:
        used = int(file.read().split()[0]) * resource.getpagesize()
    soft, hard = resource.getrlimit(resource.RLIMIT_AS)
    resource.setrlimit(resource.RLIMIT_AS, (used + 2**26, hard))
    try:
        with pytest.raises(MemoryError, match="not enough memory"):
            kip.smooth(IMAGE, (10**8, 1))
    finally:
        resource.setrlimit(resource.RLIMIT_AS, (soft, hard))


@pytest.mark.parametrize("level", ["portable"], indirect=True)  # which takes its time
def test_no_copy_and_no_lock(level):
    image = np.zeros((3000, 4000), np.uint8)[::2, 10:-10]
    mask, out, out_mask = np.full(image.shape, 255, np.uint8), np.empty_like(image), np.empty(image.shape, np.uint8)
    calls = [
        lambda: kip.smooth(image, 20, out=out),
        lambda: kip.smooth_masked(image, mask, 20, out=out, out_mask=out_mask),
        lambda: kip.binomial(image, 40, mask, out=out, out_mask=out_mask),
    ]
    stop, ticks = threading.Event(), []

    def tick():
        while not stop.wait(0.001):
            ticks.append(time.perf_counter())

    thread = threading.Thread(target=tick)
    thread.start()
    try:
        for call in calls:
            tracemalloc.start()
            begin = time.perf_counter()
            call()
            end = time.perf_counter()
            _, most = tracemalloc.get_traced_memory()
            tracemalloc.stop()
            assert most < image.size // 10
            assert sum(begin < t < end for t in ticks) >= 3, "the others stood still"
    finally:
        stop.set()
        thread.join()
