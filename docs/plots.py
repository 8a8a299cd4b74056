#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""The plots and drawings of kernel.md, from the definition in model.py, into the folder docs/kernel."""
import pathlib
import sys

sys.dont_write_bytecode = True
import matplotlib  # noqa: E402

matplotlib.use("svg")
import matplotlib.pyplot as plt  # noqa: E402
import model  # noqa: E402
import numpy  # noqa: E402

BLUE, LIGHT, GREY, ORANGE, RED, GREEN = "#0b5fa5", "#9ecae1", "#7f7f7f", "#e6820e", "#b2182b", "#1b7837"


def plotWeights(sigmas):
    figure, panels = plt.subplots(1, len(sigmas), figsize=(11, 3.1))
    for axes, sigma in zip(panels, sigmas):
        weights, deviation = model.weights(sigma), model.deviation(sigma)
        offsets = numpy.arange(len(weights)) - 1.5 * sigma
        x = numpy.linspace(-1.5 * sigma - 1.5, 1.5 * sigma + 1.5, 400)
        axes.bar(offsets, weights / weights.sum(), width=0.85, color=LIGHT, label="weights")
        gauss = numpy.exp(-0.5 * (x / deviation) ** 2) / (deviation * numpy.sqrt(2 * numpy.pi))
        axes.plot(x, gauss, color=RED, linewidth=1.4, label="Gaussian of the same\nstandard deviation")
        axes.set_title(f"sigma {sigma}: {len(weights)} taps,\nstandard deviation {deviation:.2f} px", fontsize=9.5)
        axes.set_xlabel("distance from the centre, pixels")
        axes.set_ylim(0, 1.1 * gauss.max())
        axes.xaxis.set_major_locator(matplotlib.ticker.MaxNLocator(5, integer=True))
    panels[0].set_ylabel("share of the sum")
    panels[-1].legend(fontsize=8, frameon=False, loc="center left", bbox_to_anchor=(1.0, 0.5))
    figure.tight_layout()
    return figure


def response(sigma, frequency):
    """The gain at a frequency in cycles per pixel: the weights are symmetric, so it is real."""
    weights = model.weights(sigma)
    offsets = numpy.arange(len(weights)) - 1.5 * sigma
    return numpy.cos(2 * numpy.pi * numpy.outer(frequency, offsets)) @ weights / weights.sum()


def plotResponse(sigmas):
    figure, panels = plt.subplots(1, 2, figsize=(11, 3.8))
    frequency = numpy.linspace(0, 0.5, 501)
    for sigma, color in zip(sigmas, (BLUE, ORANGE, GREEN, RED)):
        gauss = numpy.exp(-2 * (numpy.pi * model.deviation(sigma) * frequency) ** 2)
        for axes, shown in zip(panels, (lambda gain: gain, lambda gain: 20 * numpy.log10(numpy.maximum(gain, 1e-9)))):
            axes.plot(frequency, shown(numpy.abs(response(sigma, frequency))), color=color, linewidth=1.5,
                      label=f"sigma {sigma}")
            axes.plot(frequency, shown(gauss), "--", color=color, linewidth=1)
    panels[0].plot([], [], "--", color=GREY, linewidth=1, label="Gaussian of the same\nstandard deviation")
    panels[0].set_ylabel("gain, magnitude")
    panels[1].set_ylabel("gain, magnitude in dB")
    panels[1].set_ylim(-100, 5)
    for axes in panels:
        axes.set_xlabel("frequency, cycles per pixel")
        axes.set_xlim(0, 0.5)
        axes.grid(color="#dddddd", linewidth=0.6)
    panels[0].legend(fontsize=8.5, frameon=False)
    figure.tight_layout()
    return figure


def cells(axes, lefts, width, bottom, texts, color):
    """A row of pixels: squares with their numbers."""
    for left, text in zip(lefts, texts):
        axes.add_patch(plt.Rectangle((left, bottom), width, 0.8, facecolor=color, edgecolor="white", linewidth=1.2))
        axes.text(left + width / 2, bottom + 0.4, text, ha="center", va="center", fontsize=8)


def bare(axes, left, right, rows):
    axes.set_xlim(left, right)
    axes.set_ylim(0, rows[-1][0] + 1)
    axes.set_yticks(*zip(*((y + 0.4, text) for y, text in rows)))
    axes.tick_params(left=False)
    for side in ("top", "right", "left"):
        axes.spines[side].set_visible(False)


def parity(number):
    return "odd" if number & 1 else "even"


def plotPositions(samples, sigmas, columns=12):
    figure, panels = plt.subplots(len(samples), len(sigmas), figsize=(11, 3.1 * len(samples)))
    for sample, row in zip(samples, panels):
        for sigma, axes in zip(sigmas, row):
            shift, pixels = model.shift(sample, sigma), model.results(columns, sample, sigma)
            cells(axes, range(columns), 1, 3, range(columns), "#d9d9d9")
            cells(axes, [sample * u + shift for u in pixels], sample, 2, [f"{u}" for u in pixels], LIGHT)
            inside = [u for u in pixels
                      if 0 <= model.firstTap(u, sample, sigma) and model.firstTap(u, sample, sigma) + 3 * sigma < columns]
            for bottom, u, color in ((1, inside[0], BLUE), (0, inside[1], ORANGE)):
                weights, centre = model.weights(sigma), sample * (u + 0.5) + shift
                taps = model.firstTap(u, sample, sigma) + numpy.arange(len(weights)) + 0.5
                axes.bar(taps, 0.85 * weights / weights.max(), width=0.9, bottom=bottom, color=color, alpha=0.75)
                axes.plot([centre, centre], [bottom, 2.05], color="black", linewidth=1, linestyle=":")
                axes.plot(model.position(u, sample, sigma) + 0.5, 3.13, "v", color=color, markersize=6)
            bare(axes, -1.6, columns + 1.1, [(0, f"kernel of {inside[1]}"), (1, f"kernel of {inside[0]}"),
                                             (2, "result pixels"), (3, "source pixels")])
            axes.set_xticks(range(0, columns + 1, 2))
            axes.set_title(f"sample {sample} ({parity(sample)}), sigma {sigma}: box width {sigma + 1} "
                           f"({parity(sigma + 1)})", fontsize=9.5)
            axes.set_xlabel("source coordinate, pixels")
    figure.tight_layout(h_pad=1.6)
    return figure


def plotBorder(sigmas, columns=4):
    figure, axes = plt.subplots(figsize=(11, 3.4))
    reach = 2 * columns
    for column in range(-reach, columns + reach):
        source = model.mirrored(column, columns)
        own = 0 <= column < columns
        cells(axes, [column], 1, len(sigmas), ["counts as 0" if source is None else source],
              "#d9d9d9" if own else LIGHT if source is not None else "#f2f2f2")
        if source is None:
            axes.texts[-1].set(rotation=90, fontsize=6)
    for bottom, (sigma, color) in enumerate(zip(sigmas, (ORANGE, BLUE))):
        weights, first = model.weights(sigma), model.firstTap(0, 1, sigma)
        axes.bar(first + numpy.arange(len(weights)) + 0.5, 0.85 * weights / weights.max(), width=0.9, bottom=bottom,
                 color=color, alpha=0.75)
    for edge in (0, columns):
        axes.plot([edge, edge], [0, len(sigmas) + 0.95], color=RED, linewidth=1.5)
    rows = [(bottom, f"kernel of result\npixel 0, sigma {sigma}") for bottom, sigma in enumerate(sigmas)]
    bare(axes, -reach - 0.2, columns + reach + 0.2, rows + [(len(sigmas), "source pixel\nthat is read")])
    axes.set_xticks(range(-reach, columns + reach + 1, 2))
    axes.set_xlabel("source coordinate, pixels (red: the picture's borders)")
    figure.tight_layout()
    return figure


plt.rcParams.update({"svg.hashsalt": "kipgauss", "svg.fonttype": "none", "font.size": 9})
folder = pathlib.Path(__file__).parent / "kernel"
folder.mkdir(exist_ok=True)
figures = {"weights": plotWeights((1, 2, 3, 8)), "response": plotResponse((1, 2, 4, 8)),
           "positions": plotPositions((1, 2, 3), (1, 2)), "border": plotBorder((4, 2))}
for name, figure in figures.items():
    figure.savefig(folder / f"{name}.svg", bbox_inches="tight", metadata={"Date": None})
