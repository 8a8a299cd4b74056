# SPDX-License-Identifier: Apache-2.0
"""usage: model_test.py KIP DOCS: docs/model.py, which the plots of the documents draw, against impulse responses."""
import pathlib
import subprocess
import sys
import tempfile

import numpy

sys.dont_write_bytecode = True
program, docs = sys.argv[1:]
sys.path.insert(0, docs)
import model  # noqa: E402


def response(folder, width, sample, sigma):
    """What kip makes of a picture whose row r is 1 in column r and 0 elsewhere, with a gain that keeps the weights."""
    source, result = folder / "impulses.pgm", folder / "responses.pgm"
    source.write_bytes(b"P5 %d %d 255\n" % (width, width) + numpy.eye(width, dtype=numpy.uint8).tobytes())
    subprocess.run([program, "smooth", source, result, f"--sigma={sigma},0", f"--sample={sample},1", "--depth=16",
                    f"--scale={(sigma + 1) ** 3}", "--level=portable"], check=True)
    header, pixels = result.read_bytes().split(b"65535\n", 1)
    return numpy.frombuffer(pixels, dtype=">u2").reshape(int(header.split()[2]), int(header.split()[1]))


with tempfile.TemporaryDirectory() as name:
    for width in (5, 24):
        for sample in (1, 2, 3, 4):
            for sigma in range(9):
                got, wanted = response(pathlib.Path(name), width, sample, sigma), model.matrix(width, sample, sigma)
                assert numpy.array_equal(got, wanted), f"width {width}, sample {sample}, sigma {sigma}:\n{got}\n{wanted}"
for sample in (1, 2, 3, 4):
    for sigma in range(9):
        taps, weights = model.firstTap(7, sample, sigma) + numpy.arange(3 * sigma + 1), model.weights(sigma)
        centre = (taps + 0.5) @ weights / weights.sum()
        assert centre == sample * 7.5 + model.shift(sample, sigma), (sample, sigma)
        assert numpy.isclose((taps + 0.5 - centre) ** 2 @ weights / weights.sum(), model.deviation(sigma) ** 2)
