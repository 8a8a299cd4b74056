#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""usage: pictures.py KIP: the before-and-after sheets of masks.md, made by the program, into the folder docs/masks."""
import pathlib
import subprocess
import sys
import tempfile

import numpy

docs = pathlib.Path(__file__).parent
HOLES = [(95, 88, 34), (170, 150, 6), (60, 170, 6), (30, 25, 14), (205, 60, 10)]  # column, row, radius


def kip(*arguments):
    subprocess.run([sys.argv[1], *arguments], check=True)


def write(path, pixels):
    path.write_bytes(b"P5 %d %d 255\n" % pixels.shape[::-1] + pixels.astype(numpy.uint8).tobytes())


with tempfile.TemporaryDirectory() as name:
    folder = pathlib.Path(name)
    picture, noisy, mask, out = (folder / f"{stem}.pgm" for stem in ("picture", "noisy", "mask", "out"))
    kip("smooth", docs.parent / "pictures/chart.png", picture, "--sigma=0", "--roi=225,10,240,220")
    pixels = numpy.frombuffer(picture.read_bytes().split(b"255\n", 1)[1], dtype=numpy.uint8).reshape(220, 240)
    rows, columns = numpy.indices(pixels.shape)
    valid = numpy.all([numpy.hypot(columns - x, rows - y) >= radius for x, y, radius in HOLES], axis=0)
    write(mask, 255 * valid)
    noise = 255 * numpy.random.default_rng(1).integers(0, 2, pixels.shape)
    write(noisy, numpy.where(valid, pixels, noise))
    (docs / "masks").mkdir(exist_ok=True)
    for sheet, options in {
        "plain": [],
        "default": ["--mask", mask],
        "coverage": ["--mask", mask, "--coverage=0.5", "--allow-masked-sample"],
        "filled": ["--mask", mask, "--coverage=0", "--allow-masked-sample"],
    }.items():
        kip("smooth", noisy, out, "--sigma=8", *options, "--sheet", docs / "masks" / f"{sheet}.png")
