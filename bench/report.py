# SPDX-License-Identifier: Apache-2.0
"""Writes the tables and plots of a benchmark run.

Usage: report.py DOCUMENT PLOTS RUN...
Each RUN is a folder with the programs' JSON files. In DOCUMENT everything between a line `<!-- table NAME -->` and the
next line `<!-- end -->` is replaced; the plots go into the folder PLOTS.
"""
import pathlib
import re
import statistics
import sys

from plots import savePlots
from results import LARGE, LEVELS, MIDDLE, PAIRS, PASS_TARGETS, PASSES, Work, nameOf, read, targetOf, worksOf


def number(value):
    if value is None:
        return ""
    return f"{value:.0f}" if value >= 100 else f"{value:.3g}" if value >= 1 else f"{value:.3f}"


def nsOf(row):
    return number(row and row.ns)


def verdict(value, target, atMost=False):
    if target is None or value is None:
        return ""
    met = value <= target if atMost else value >= target
    return f"{'≤' if atMost else '≥'} {target}: " + ("met" if met else "**missed**")


def table(heads, lines, rows):
    spreads = [row.spread for row in rows if row.times]
    note = f"\nQuartile distance over median: typically {100 * statistics.median(spreads):.0f} %, at most " \
           f"{100 * max(spreads):.0f} %.\n" if spreads else ""
    return "\n".join("| " + " | ".join(line) + " |" for line in [heads, ["---"] * len(heads), *lines]) + "\n" + note


def workTable(works, heads, columns):
    """The columns that all families share between those of one."""
    shared = ["portable", "level 1", "level 2", "level 2 / copy", "OpenCV", "OpenCV / level 2"]
    lines = []
    for work in works:
        before, after = columns(work)
        lines.append([*before, *(nsOf(work.rows.get(level)) for level in LEVELS), number(work.ratio("own", "copy")),
                      nsOf(work.peer), number(work.ratio()), *after])
    return table([*heads[0], *shared, *heads[1]], lines, [row for work in works for row in work.rows.values()])


def pixelsOf(work):
    most = work.rows["opencv"].counters["difference"] if "opencv" in work.rows else None
    return "" if most is None else "equal" if most == 0 else f"differ by {most:.0f} at most"


def callColumns(work):
    cells = [number(row.us) if row else "" for row in (*(work.rows.get(level) for level in LEVELS), work.peer)]
    counters = work.own.counters
    return [work.size, nameOf(work), *cells, number(work.ratio()), f"{counters['allocations']:.0f}",
            f"{counters['bytes']:.0f}", verdict(work.own.us, 2, True) if work.size == "16x16" else ""]


def tables(rows, runs):
    made = {}
    for pair in PAIRS:
        legacy, hasTarget = pair == "8_8", pair != "16_16"
        made[f"smooth_{pair}"] = workTable(
            worksOf(rows, "smooth", pair + r"_sigma\d+"),
            (["size", "sigma"], ["kfGauss"] * legacy + ["target"] * hasTarget),
            lambda work: ([work.size, str(work.sigma)], [nsOf(work.rows.get("kfGauss"))] * legacy +
                          [verdict(work.ratio(), targetOf(work))] * hasTarget))
        made[f"masked_{pair}"] = workTable(
            worksOf(rows, "masked", pair + r"_sigma\d+_masked"),
            (["size", "sigma"], ["target", "all threads", "1 / all", "OpenCV / level 2, all"]),
            lambda work: ([work.size, str(work.sigma)],
                          [verdict(work.ratio(), targetOf(work)), nsOf(work.ownAll),
                           number(work.ratio("own", "ownAll")), number(work.ratio("peerAll", "ownAll"))]))
    sampled = worksOf(rows, "smooth", r"8_\d+_by\d_sigma\d+")
    made["sampled"] = workTable(
        sorted(sampled, key=lambda work: [int(digits) for digits in re.findall(r"\d+", work.name)]),
        (["bits", "sampled by", "sigma"], []),
        lambda work: ([PAIRS[work.name.split("_by")[0]], re.search(r"by(\d)", work.name)[1], str(work.sigma)], []))
    passes = [work for name in PASSES for work in worksOf(rows, "reduce2", name)]
    made["reduce2"] = workTable(
        passes, (["size", "operation"], ["target", "pixels"]),
        lambda work: ([work.size, nameOf(work)], [verdict(work.ratio(), targetOf(work)), pixelsOf(work)]))
    calls = [work for work in worksOf(rows, "call", ".*") if work.own]
    made["call"] = table(
        ["size", "work", *(f"{level}, µs" for level in LEVELS.values()), "OpenCV, µs", "OpenCV / level 2",
         "allocations", "bytes", "target, µs"], [callColumns(work) for work in calls],
        [row for work in calls for row in work.rows.values()])
    made["targets"] = targetsTable(runs)
    return made


def targetsTable(runs):
    """Each requirement with the row that comes off worst, by size of picture: the median of the runs and its range."""
    found = {}
    for rows in runs:
        for text, size, worst, sigma, target, atMost in requirements(rows):
            found.setdefault((text, size, target, atMost), []).append((worst, sigma))
    lines = []
    for (text, size, target, atMost), values in found.items():
        middle, sigma = sorted(values)[len(values) // 2]
        spread = f"{number(min(values)[0])} … {number(max(values)[0])}" if len(values) > 1 else ""
        lines.append([text, size, number(middle) + sigma, spread, verdict(middle, target, atMost)])
    missed = sum("missed" in line[-1] for line in lines)
    return f"{len(lines) - missed} of {len(lines)} met.\n\n" + \
        table(["", "size", "worst", f"of {len(runs)} runs", "target"], lines, [])


def requirements(rows):
    """By itself a requirement is that OpenCV is slower."""
    lines = []

    def require(text, works, value=Work.ratio, target=None, atMost=False):
        bySize = {}
        for work in works:
            measured = value(work)
            if measured is not None:
                bySize.setdefault(work.size, []).append((measured, work))
        for size, found in bySize.items():
            worst, work = (max if atMost else min)(found, key=lambda pair: pair[0])
            where = f" (sigma {work.sigma})" if work.sigma and len(found) > 1 else ""
            lines.append((text, size, worst, where, target or targetOf(work), atMost))

    def smooth(pair, low, high=63):
        return [work for work in worksOf(rows, "smooth", pair + r"_sigma\d+") if low <= work.sigma <= high]

    for sigma, copies in (1, 6), (2, 10):
        require(f"8 → 8, sigma {sigma}: OpenCV / level 2", smooth("8_8", sigma, sigma))
        require(f"8 → 8, sigma {sigma}: level 2 / copy", [work for work in smooth("8_8", sigma, sigma)
                if work.size == MIDDLE], lambda work: work.ratio("own", "copy"), copies, True)
    for pair in ("8_8", "8_16"):
        works, text = smooth(pair, 3), PAIRS[pair]
        require(f"{text}, sigma 3 to 63: OpenCV / level 2", works)
        times = {size: [work.own.ns for work in works if work.size == size] for size in {work.size for work in works}}
        require(f"{text}, sigma 3 to 63: slowest / fastest sigma", works, lambda work, times=times:
                work.own.ns / min(times[work.size]) if len(times[work.size]) > 1 else None, 1.25, True)
        require(f"{text}, sigma 8 to 63: OpenCV / portable", smooth(pair, 8),
                lambda work: work.ratio("peer", "portable"), 0.5)
        require(f"{text}, sigma 3 to 63: level 1 / level 2", works,
                lambda work: work.ratio("level1", "level2"), 2, True)
    for name in PASS_TARGETS:
        works = worksOf(rows, "reduce2", name)
        require(f"{works and nameOf(works[0])}: OpenCV / level 2", works)
    for pair, text in PAIRS.items():
        masked = worksOf(rows, "masked", pair + r"_sigma\d+_masked")
        require(f"masked {text}: OpenCV / level 2", masked)
        require(f"masked {text}: one thread / all", [work for work in masked if work.size == LARGE],
                lambda work: work.ratio("own", "ownAll"), 1.7)
    require("one call, µs (slowest work)", [work for work in worksOf(rows, "call", ".*") if work.size == "16x16"],
            lambda work: work.own and work.own.us, 2, True)
    return lines


def machine(rows, context, runs):
    caches = ", ".join(f"L{cache['level']} {cache['size'] >> 10} KiB" for cache in context["caches"]
                       if cache["type"] != "Instruction")
    repetitions = max(len(row.times) for row in rows.values())
    threads = int(context["num_cpus"])
    one, side = (rows["masked", "0x0", "busy", who].us for who in ("one", "all"))
    return f"medians of {repetitions} repetitions in {len(runs)} runs, {threads} processors ({caches}), {context['compiler']}, " \
           f"OpenCV {context['opencv']}. Threads of plain arithmetic, one per processor, got " \
           f"{threads * one / side:.2f} times as much done as one alone: more is not to be had from *all threads*.\n"


def main():
    document, folder, *results = map(pathlib.Path, sys.argv[1:])
    rows, context = read(results)
    runs = [read([result])[0] for result in results]
    made = {**tables(rows, runs), "machine": machine(rows, context, runs)}

    def replace(match):
        return match[1] + "\n" + made.pop(match[2]) + "\n" + match[3]

    text = re.sub(r"(<!-- table (\w+) -->\n).*?(<!-- end -->)", replace, document.read_text(), flags=re.S)
    if made:
        sys.exit(f"report: {document} has no place for {', '.join(made)}")
    document.write_text(text)
    folder.mkdir(parents=True, exist_ok=True)
    savePlots(rows, folder)
    print("\n".join(line for line in text.splitlines() if "**missed**" in line and line.count("|") == 6))
    print(re.search(r"\d+ of \d+ met", text)[0])


main()
