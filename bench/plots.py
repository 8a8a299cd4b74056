# SPDX-License-Identifier: Apache-2.0
"""The plots of a benchmark run."""
import math
import re

import matplotlib

matplotlib.use("svg")
import matplotlib.pyplot as plt  # noqa: E402
from results import MIDDLE, PAIRS, PASSES, nameOf, targetOf, worksOf  # noqa: E402

BLUE, LIGHT, GREY, ORANGE, RED, GREEN = "#0b5fa5", "#6baed6", "#7f7f7f", "#e6820e", "#b2182b", "#1b7837"


def axesOf(count, title, ylabel, width=5.2, height=4.2):
    figure, axes = plt.subplots(1, count, figsize=(width * count, height), sharey=True, squeeze=False)
    figure.suptitle(title, fontsize=11)
    axes[0][0].set_ylabel(ylabel)
    return figure, axes[0]


def finish(axes, ticks, labels, xlabel):
    axes.set_xscale("log")
    axes.set_yscale("log")
    axes.set_xticks(ticks, labels)
    axes.minorticks_off()
    axes.yaxis.set_major_locator(matplotlib.ticker.LogLocator(subs=(1, 2, 5)))
    axes.yaxis.set_major_formatter(matplotlib.ticker.FormatStrFormatter("%g"))
    axes.set_xlabel(xlabel)
    axes.grid(color="#dddddd", linewidth=0.6)


def line(axes, xs, rows, label, color, style="-"):
    points = [(x, row.ns) for x, row in zip(xs, rows) if row]
    if points:
        axes.plot(*zip(*points), style, color=color, marker="o", markersize=3.5, linewidth=1.6, label=label)


def plotSigma(rows, family, pattern, pairs, series, title):
    figure, panels = axesOf(len(pairs), title, "ns per source pixel")
    shown = {}
    for axes, pair in zip(panels, pairs):
        works = [work for work in worksOf(rows, family, pair + pattern) if work.size == MIDDLE]
        sigmas = [work.sigma for work in works]
        for who, label, color, style in series:
            found = [work.copy if who == "copy" else work.rows.get(who) for work in works]
            line(axes, sigmas, found, label, color, style)
            shown.update(zip(*reversed(axes.get_legend_handles_labels())))
        axes.set_title(PAIRS[pair] + " bits", fontsize=10)
        finish(axes, sigmas, [str(sigma) for sigma in sigmas], "sigma, pixels")
    panels[-1].legend(shown.values(), shown, fontsize=8, frameon=False, loc="center left", bbox_to_anchor=(1.0, 0.5))
    return figure


def pixelsIn(size):
    return math.prod(map(int, size.split("x")))


def plotSize(rows):
    figure, panels = axesOf(2, "Time against the size of the picture, 8 bits, one thread (dashed: fastest OpenCV)",
                            "ns per source pixel")
    panelOf = {"smooth": [f"8_8_sigma{sigma}" for sigma in (1, 3, 8, 24)], "reduce2": PASSES[:4]}
    for axes, (family, names) in zip(panels, panelOf.items()):
        for name, color in zip(names, (BLUE, ORANGE, GREEN, RED)):
            works = worksOf(rows, family, name)
            if not works:
                continue
            pixels = [pixelsIn(work.size) for work in works]
            label = re.sub("8 → 8, |, 8 bits", "", nameOf(works[0]))
            line(axes, pixels, [work.own for work in works], label, color)
            line(axes, pixels, [work.peer for work in works], None, color, "--")
        line(axes, pixels, [work.copy for work in works], "copy", GREY, ":")
        sizes = dict.fromkeys(work.size for work in worksOf(rows, family, "|".join(names)))
        finish(axes, [pixelsIn(size) for size in sizes], [size.replace("x", " x ") for size in sizes], "size, pixels")
        axes.set_title("smoothing" if family == "smooth" else "reduction and binomial passes", fontsize=10)
        axes.legend(fontsize=8, frameon=False, ncol=2)
    return figure


def plotRatios(rows):
    groups = [("smooth", r"8_8_sigma\d+", BLUE), ("smooth", r"8_16_sigma\d+", LIGHT), ("reduce2", "8_.*", GREEN),
              ("reduce2", "16_.*", GREEN), ("masked", "8_8_.*", ORANGE), ("masked", "8_16_.*", ORANGE),
              ("masked", "16_16_.*", ORANGE)]
    bars = [(nameOf(work), work, targetOf(work), color) for family, pattern, color in groups
            for work in worksOf(rows, family, pattern) if work.size == MIDDLE]
    bars = [bar for bar in reversed(bars) if bar[1].ratio()]
    figure, axes = plt.subplots(figsize=(8, 1.2 + 0.19 * len(bars)))
    values = [work.ratio() for _, work, *_ in bars]
    axes.barh(range(len(bars)), values, color=[color for *_, color in bars], height=0.7)
    for y, (value, (*_, target, _)) in enumerate(zip(values, bars)):
        if target:
            axes.plot([target, target], [y - 0.45, y + 0.45], color="black", linewidth=1.6)
        axes.text(max(value, target or 0) + 0.12, y, f"{value:.1f}", va="center", fontsize=7)
    axes.axvline(1, color=GREY, linewidth=0.8, linestyle="--")
    axes.set_yticks(range(len(bars)), [text for text, *_ in bars], fontsize=7)
    axes.set_ylim(-0.8, len(bars) - 0.2)
    axes.set_xlabel("time of the fastest OpenCV way / time of level 2 (black mark: target)")
    axes.set_title(f"How many times as fast as OpenCV: {MIDDLE.replace('x', ' x ')}, one thread", fontsize=11)
    for side in ("top", "right"):
        axes.spines[side].set_visible(False)
    return figure


def savePlots(rows, folder):
    plt.rcParams.update({"svg.hashsalt": "kipgauss", "svg.fonttype": "none", "font.size": 9})
    levels = [("portable", "portable", GREY, "-"), ("level1", "level 1", LIGHT, "-"), ("level2", "level 2", BLUE, "-")]
    figures = {
        "sigma": plotSigma(rows, "smooth", r"_sigma\d+", ["8_8", "8_16"], levels + [
            ("opencv_gaussian", "OpenCV, Gaussian", RED, "--"),
            ("opencv_float", "OpenCV, Gaussian in floats", RED, "-."),
            ("opencv_boxes", "OpenCV, three boxes", ORANGE, "--"), ("copy", "copy", GREY, ":")],
            "Smoothing 1920 x 1080, one thread: time against sigma"),
        "masked": plotSigma(rows, "masked", r"_sigma\d+_masked", list(PAIRS), levels + [
            ("level2_all", "level 2, all threads", GREEN, "-"), ("opencv_gaussian", "OpenCV, Gaussians", RED, "--"),
            ("opencv_boxes", "OpenCV, boxes", ORANGE, "--"), ("copy", "copy", GREY, ":")],
            "Smoothing with masks, 1920 x 1080: time against sigma"),
        "size": plotSize(rows),
        "ratios": plotRatios(rows),
    }
    for name, figure in figures.items():
        figure.savefig(folder / f"{name}.svg", bbox_inches="tight", metadata={"Date": None})
