# SPDX-License-Identifier: Apache-2.0
"""Dask arrays: the pixels of one call whatever the chunks, also on a cluster that loses a worker; files."""

import os
import random
import resource
import signal
import time

import numpy as np
import pytest

import kip

dask = pytest.importorskip("dask")
da = pytest.importorskip("dask.array")
kip_dask = pytest.importorskip("kip.dask")

BYTES = dict(dtype=np.uint8, meta=np.empty((0, 0), np.uint8))  # what a map_blocks makes


@pytest.fixture(autouse=True)
def one_thread_in_single_calls():
    kip.set_threads(1)
    yield
    kip.set_threads(0)


def draw_chunks(random, length):
    chunks = []
    while sum(chunks) < length:
        chunks.append(min(random.choice([1, 7, 33, 64, 100, 200, length]), length - sum(chunks)))
    return tuple(chunks)


def draw_case(random, rng):
    """A request as f(module, arrays), and the image and masks it takes."""
    shape = tuple(random.choice([20, 33, 70, 150, 400]) + random.randrange(16) for _ in range(2))
    dtype = random.choice([np.uint8, np.uint16])
    image = rng.integers(0, np.iinfo(dtype).max, shape, dtype, endpoint=True)
    if random.random() < 0.3:
        image[:] = random.randrange(np.iinfo(dtype).max)
    mask = np.kron(rng.random([n // 16 + 1 for n in shape]) < 0.7, np.ones((16, 16), bool))[: shape[0], : shape[1]]
    sigma = random.choice([(1, 1), (2, 2), (3, 3), (3, 0), (12, 5), (0, 8), (24, 24)])
    sample = random.choice([(1, 1), (1, 1), (2, 3), (5, 2), (11, 1)])
    options = dict(sample=sample, scale=random.choice([1.0, 0.3, 2.0, 3.0, 100.0]), truncate=random.random() < 0.5)
    if dtype == np.uint8 and random.random() < 0.5:
        options["dtype"] = np.uint16
    axes = random.choice(["x", "y", "xy"])
    kind = random.choice(["smooth", "masked", "sample mask", "reduce", "reduce masked", "weights"])
    if kind == "smooth":
        options["stddev"] = random.choice([0.9, 2.5, (6.5, 1.4)])
        return (lambda module, a: module.smooth(a, **options)), [image]
    if kind == "masked":
        options.update(min_coverage=random.choice([None, 0.0, 0.5]), allow_masked_sample=random.random() < 0.5)
        return (lambda module, a, m: module.smooth_masked(a, m, sigma, **options)), [image, mask]
    if kind == "sample mask":
        samples = rng.integers(0, 2, shape, np.uint8)
        call = lambda module, a, m, s: module.smooth_masked(a, m, sigma, sample_mask=s, **options)  # noqa: E731
        return call, [image, mask, samples]
    if kind == "reduce":
        return (lambda module, a: module.reduce(a, axes=axes)), [image]
    if kind == "weights":
        mask = rng.integers(0, 255, shape, np.uint8, endpoint=True)
    return (lambda module, a, m: module.reduce(a, m, axes=axes, weights=kind == "weights")), [image, mask]


def test_any_chunks_give_the_pixels_of_one_call(level):
    drawn, rng, cut = random.Random(level), np.random.default_rng(5), 0
    for case in range(250):
        call, arrays = draw_case(drawn, rng)
        wanted = call(kip, *arrays)
        chunked = [da.from_array(a, chunks=tuple(draw_chunks(drawn, n) for n in a.shape)) for a in arrays]
        lazy = call(kip_dask, *chunked)
        pairs = zip(wanted, lazy) if isinstance(wanted, tuple) else [(wanted, lazy)]
        for one, many in pairs:
            cut += many.npartitions > 1
            made = many.compute(scheduler="threads", num_workers=3)
            assert many.shape == one.shape and many.dtype == made.dtype == one.dtype, case
            assert np.array_equal(made, one), (case, arrays[0].shape, many.chunks)
    assert cut > 100


def test_settings_of_the_process_do_not_matter_later(rng):
    image = rng.integers(0, 65535, (92, 4000), np.uint16)  # of seven bands the last one has eight rows
    mask = np.ones(image.shape, bool)
    best, wanted, lazy = kip.level(), [], []
    for level in ("portable", best):
        kip.set_level(level)
        wanted += kip.smooth_masked(image, mask, (4, 1))
        lazy += kip_dask.smooth_masked(da.from_array(image, chunks=(92, 2000)), da.from_array(mask), (4, 1))
    between = 1 if best == 2 else "portable"
    kip.set_level(between)
    kip.set_threads(7)
    made = dask.compute(*lazy, scheduler="threads", num_workers=3)
    assert all(np.array_equal(a, b) for a, b in zip(made, wanted))
    assert (kip.level(), kip.threads()) == (between, 7)
    kip.set_level(None)


@pytest.mark.parametrize(
    "error, text, call",
    [
        (TypeError, "dtype int64", lambda a: kip_dask.smooth(a.astype(np.int64), 1)),
        (ValueError, r"array has shape \(99,\)", lambda a: kip_dask.smooth(a[0], 1)),
        (ValueError, "array has shape .*nan", lambda a: kip_dask.smooth(a[a[:, 0] > 3], 1)),
        (ValueError, r"mask has shape \(98, 99\)", lambda a: kip_dask.smooth_masked(a, a[1:99] > 3, 1)),
        (ValueError, "would depend on the chunks", lambda a: kip_dask.smooth(a, 190)),
        (ValueError, "scale is -1", lambda a: kip_dask.smooth(a, 1, scale=-1)),
        (ValueError, "axes is 'z'", lambda a: kip_dask.reduce(a, axes="z")),
        (TypeError, "dtype int32", lambda a: kip_dask.write_pyramid(a.astype(np.int32), "never", 1)),
        (ValueError, "can be halved 1 to 6 times", lambda a: kip_dask.write_pyramid(a, "never", 7)),
        (FileNotFoundError, "nowhere", lambda a: kip_dask.from_zarr("nowhere")),
    ],
)
def test_refused_before_any_work(error, text, call):
    def fail(block):
        raise AssertionError("computed")

    pixels = da.zeros((100, 99), chunks=40, dtype=np.uint8).map_blocks(fail, **BYTES)
    with pytest.raises(error, match=text):
        call(pixels)


def slowly(block, folder):
    with open(os.path.join(folder, str(os.getpid())), "a"):
        time.sleep(0.1)
    return block


def test_a_cluster_that_loses_a_worker(rng, tmp_path):
    distributed = pytest.importorskip("distributed")
    image = rng.integers(0, 255, (700, 900), np.uint8, endpoint=True)
    mask = rng.random(image.shape) < 0.6
    smooth = lambda module, a, m: module.smooth_masked(a, m, (9, 4), sample=2, min_coverage=0.3)  # noqa: E731
    config = {"distributed.scheduler.allowed-failures": 10, "distributed.worker.daemon": True}
    options = dict(n_workers=4, threads_per_worker=1, processes=True, local_directory=str(tmp_path / "spill"))
    with dask.config.set(config), distributed.LocalCluster(
        **options, dashboard_address=None
    ) as cluster, distributed.Client(cluster) as client:
        pids = tmp_path / "pids"
        pids.mkdir()
        slow = da.from_array(image, chunks=100).map_blocks(slowly, str(pids), **BYTES)
        futures = client.compute(smooth(kip_dask, slow, da.from_array(mask, chunks=130)))
        deadline = time.monotonic() + 120
        while len(list(pids.iterdir())) < 3 and time.monotonic() < deadline:  # until several are at work
            time.sleep(0.01)
        victim = int(next(pids.iterdir()).name)
        assert {future.status for future in futures} == {"pending"}
        os.kill(victim, signal.SIGKILL)
        made = client.gather(list(futures))
        with pytest.raises(ProcessLookupError):
            os.kill(victim, 0)
    assert all(np.array_equal(a, b) for a, b in zip(made, smooth(kip, image, mask)))


def test_pyramid_files(rng, tmp_path):
    zarr = pytest.importorskip("zarr")
    image = rng.integers(0, 65535, (300, 451), np.uint16, endpoint=True)
    store = tmp_path / "levels.zarr"
    kip_dask.write_pyramid(da.from_array(image, chunks=120), store, 3, chunks=(64, 128))
    group = zarr.open_group(str(store), mode="r")
    (entry,) = group.attrs["multiscales"]
    assert [(d["path"], d["scale"]) for d in entry["datasets"]] == [(str(i), [2**i, 2**i]) for i in range(4)]
    for number, level in enumerate([image, *kip.pyramid(image, 3)]):
        assert np.array_equal(group[str(number)], level)
        assert np.array_equal(kip_dask.from_zarr(store, str(number)).compute(), level)

    with pytest.raises(FileExistsError, match="levels.zarr"):
        kip_dask.write_pyramid(image, store, 1)
    opened = kip_dask.from_zarr(store, "1")
    (store / "1" / "1.1").unlink()
    for read in (lambda: kip_dask.from_zarr(store, "1"), kip_dask.smooth(opened, 2).compute):
        with pytest.raises(FileNotFoundError, match=r"levels.zarr/1/1\.1"):
            read()
    with pytest.raises(FileNotFoundError):
        kip_dask.write_pyramid(opened, tmp_path / "lost.zarr", 1)
    soft, hard = resource.getrlimit(resource.RLIMIT_FSIZE)
    resource.setrlimit(resource.RLIMIT_FSIZE, (10_000, hard))  # as a disk that is full
    try:
        with pytest.raises(OSError):
            kip_dask.write_pyramid(image, tmp_path / "full.zarr", 1)
    finally:
        resource.setrlimit(resource.RLIMIT_FSIZE, (soft, hard))
    assert os.listdir(tmp_path) == ["levels.zarr"]
