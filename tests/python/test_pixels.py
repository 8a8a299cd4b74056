# SPDX-License-Identifier: Apache-2.0
"""Every function against the definition; OpenCV where it does the same."""

import itertools

import numpy as np
import pytest
from definition import binomial_sums, box_sums, coverage, divide, samples

import kip

DTYPES = [(np.uint8, np.uint8), (np.uint8, np.uint16), (np.uint16, np.uint16)]
KERNELS = list(
    itertools.product([(0, 0), (1, 1), (2, 2), (1, 4), (7, 2), (0, 3)], [(1, 1), (2, 3), (3, 2), (4, 5)], [False, True])
)


def picture(rng, dtype, shape=(61, 83)):
    image = rng.integers(0, np.iinfo(dtype).max, shape, dtype, endpoint=True)
    image[:20, :40] = np.iinfo(dtype).max  # flat areas: all pixels under a kernel alike
    image[40:, :40] = 0
    return image


@pytest.mark.parametrize("dtype, out_dtype", DTYPES)
def test_smooth_is_three_uniform_filters(rng, level, dtype, out_dtype):
    image = picture(rng, dtype)
    gain = 1 if dtype == out_dtype else 64
    for sigma, sample, rounded in KERNELS:
        sums = box_sums(image, sigma, sample)
        weights = ((sigma[0] + 1) * (sigma[1] + 1)) ** 3
        result = kip.smooth(image, sigma, sample=sample, scale=gain, truncate=not rounded, dtype=out_dtype)
        assert result.dtype == out_dtype and result.shape == kip.smooth_shape(image.shape, sigma, sample)
        error = result - divide(sums, weights, gain, rounded)
        if level == "portable":  # multiplies by the rounded reciprocal: below where the quotient has no fraction
            has_none = (2 * gain * sums + rounded * weights) % (2 * weights) == 0
            assert np.all((error == 0) | (has_none & (error == -1))), (sigma, sample, rounded)
        else:
            assert np.abs(error).max() <= (1 if gain == 1 else 3), (sigma, sample, rounded)


@pytest.mark.parametrize("dtype, out_dtype", DTYPES)
def test_flat_areas_stay_unless_truncated(level, dtype, out_dtype):
    greys, gain = range(0, np.iinfo(dtype).max + 1, 1 if dtype == np.uint8 else 257), 1 if dtype == out_dtype else 256
    for sigma in (1, 2, 5, 8, 11, 23):
        for grey in greys:
            flat = np.full((40, 40), grey, dtype)
            smoothed = kip.smooth(flat, sigma, scale=gain, dtype=out_dtype)
            masked, _ = kip.smooth_masked(flat, flat >= 0, sigma, scale=gain, dtype=out_dtype)
            assert np.all(smoothed == gain * grey) and np.all(masked == gain * grey), (sigma, grey)
    for sigma, lost in (2, (125, 255, 255)), (5, (125, 255, 125)):
        flats = (np.full((40, 40), grey, np.uint8) for grey in range(256))
        lower = sum(np.all(kip.smooth(flat, sigma, truncate=True) == flat.astype(int) - 1) for flat in flats)
        assert lower == dict(zip(("portable", 1, 2), lost))[level]


@pytest.mark.parametrize("dtype, out_dtype", DTYPES)
def test_smooth_masked_is_the_mean_of_valid_pixels(rng, level, dtype, out_dtype):
    image = picture(rng, dtype)
    mask = rng.random(image.shape) < 0.5
    mask[15:50, 20:60], mask[:9, 50:] = False, True
    sample_mask = rng.integers(0, 3, image.shape, np.uint8)
    gain = 1 if dtype == out_dtype else 64
    rules = [{}, {"min_coverage": 0.25}, {"min_coverage": 0.0, "allow_masked_sample": True}]
    rules += [{"sample_mask": sample_mask}, {"sample_mask": sample_mask, "min_coverage": 0.5}]
    for (sigma, sample, rounded), rule in itertools.product(KERNELS, rules):
        weights = box_sums(mask, sigma, sample)
        valid = weights > 0
        if "min_coverage" in rule:
            taps = (3 * sigma[0] + 1) * (3 * sigma[1] + 1)
            valid &= coverage(mask, sigma, sample) >= int(rule["min_coverage"] * taps + 0.5)
        if "min_coverage" not in rule or ("sample_mask" not in rule and not rule.get("allow_masked_sample")):
            valid &= samples(mask, sigma, sample)
        if "sample_mask" in rule:
            valid &= samples(sample_mask, sigma, sample) != 0
        means = divide(box_sums(image * mask, sigma, sample), weights, gain, rounded)
        wanted = np.where(valid, means, gain * samples(image, sigma, sample).astype(np.int64))

        options = dict(sample=sample, scale=gain, truncate=not rounded, dtype=out_dtype)
        result, result_mask = kip.smooth_masked(image, mask, sigma, **options, **rule)
        assert result.dtype == out_dtype and np.array_equal(result_mask, 255 * valid), (sigma, sample, rule)
        assert np.abs(result - wanted).max() <= (level != "portable"), (sigma, sample, rounded, rule)
        if rule.get("allow_masked_sample") or ("sample_mask" in rule and "min_coverage" in rule):
            mask_rule = {name: rule[name] for name in rule if name != "allow_masked_sample"}
            again = kip.result_mask(mask.astype(np.uint8), sigma, sample=sample, **mask_rule)
            assert np.array_equal(again, result_mask), (sigma, sample, rule)


@pytest.mark.parametrize("dtype", [np.uint8, np.uint16])
def test_reduce_and_binomial(rng, level, dtype):
    image = picture(rng, dtype)
    mask = rng.integers(0, 255, image.shape, np.uint8, endpoint=True)
    mask[10:25, 10:30] = 0
    for axes in ("x", "y", "xy"):
        full = 16 ** len(axes)
        kept = tuple(slice(0, n // 2 * 2, 2) if axis in axes else slice(None) for axis, n in zip("yx", image.shape))
        for function, where in ((kip.reduce, kept), (kip.binomial, (slice(None), slice(None)))):
            option = {"axes": axes} if function is kip.reduce else {"radius": (2 * ("x" in axes), 2 * ("y" in axes))}
            plain = divide(binomial_sums(image, axes), full, 1, True)[where]
            assert np.array_equal(function(image, **option), plain), (function, axes)
            for weights, given in ((True, mask), (False, mask), (False, mask != 0)):
                bytes_ = mask.astype(np.int64) if weights else 255 * (mask != 0)
                total = binomial_sums(bytes_, axes)
                sums = binomial_sums(image * bytes_, axes)
                pixels, result_mask = function(image, mask=given, weights=weights, **option)
                error = pixels - divide(sums, total, 1, True)[where]
                from_tie = np.abs(2 * sums % np.maximum(2 * total, 1) - total)[where]
                is_near = (level != "portable") & (from_tie * 2**22 <= sums[where])  # vectors divide in floats
                assert np.all((error == 0) | (is_near & (np.abs(error) == 1))), (function, axes, weights)
                assert np.array_equal(result_mask, divide(total, full, 1, True)[where]), (function, axes, weights)


def test_levels_and_passes_follow_one_another(rng):
    image, mask = picture(rng, np.uint8), rng.random((61, 83)) < 0.7
    plain, masked = kip.pyramid(image, 5), kip.pyramid(image, 3, mask)
    assert [level.shape for level in plain] == [(30, 41), (15, 20), (7, 10), (3, 5), (1, 2)]
    assert all(np.array_equal(kip.reduce(above), below) for above, below in zip([image, *plain], plain))
    step = kip.reduce(image, mask)
    for pair in masked:
        assert all(np.array_equal(a, b) for a, b in zip(pair, step))
        step = kip.reduce(*step, weights=True)
    assert np.array_equal(kip.binomial(image, (4, 2)), kip.binomial(kip.binomial(image, 2), (2, 0)))


def test_where_opencv_does_the_same(rng):
    cv2 = pytest.importorskip("cv2")
    for dtype in (np.uint8, np.uint16):
        image = picture(rng, dtype, (60, 82))
        assert np.array_equal(kip.reduce(image), cv2.pyrDown(image, borderType=cv2.BORDER_REPLICATE))
    image = picture(rng, np.uint8)
    assert np.array_equal(kip.binomial(image), cv2.GaussianBlur(image, (5, 5), 0, borderType=cv2.BORDER_REPLICATE))


@pytest.mark.parametrize("sigma, sample, first", [((1, 2), 1, (1, 0)), (3, (2, 1), (0, 1)), (4, 5, (0, 0))])
def test_origin(sigma, sample, first):
    assert kip.origin(sigma, sample) == first
