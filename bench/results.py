# SPDX-License-Identifier: Apache-2.0
"""The rows of a benchmark run, what they mean and what they should reach."""
import json
import re
import statistics
import sys

LEVELS = {"portable": "portable", "level1": "level 1", "level2": "level 2"}
MIDDLE, LARGE = "1920x1080", "4096x3072"
PAIRS = {"8_8": "8 → 8", "8_16": "8 → 16", "16_16": "16 → 16"}
PASSES = ["8_reduction", "8_5x5", "8_5x1", "8_1x5", "8_reduction_masked", "8_5x5_masked",
          "16_reduction", "16_5x5", "16_5x1", "16_1x5", "16_reduction_masked", "16_5x5_masked"]
PASS_TARGETS = {"8_reduction": 3, "16_reduction": 1.5, "8_5x5": 2.5, "8_5x1": 2.5, "8_1x5": 2.5, "16_5x5": 5,
                "16_5x1": 5, "16_1x5": 5, "8_reduction_masked": 5, "8_5x5_masked": 5}


class Row:
    """The repetitions of one row."""

    def __init__(self):
        self.times, self.calls, self.counters = [], [], {}

    ns = property(lambda self: statistics.median(self.times))
    us = property(lambda self: statistics.median(self.calls))

    @property
    def spread(self):
        quarters = statistics.quantiles(self.times, n=4) if len(self.times) > 1 else [0, 1, 0]
        return (quarters[2] - quarters[0]) / self.ns


class Work:
    """What the library and its peers need for the same work on pictures of one size."""

    def __init__(self, rows, family, size, name):
        self.rows = {who: row for (*key, who), row in rows.items() if key == [family, size, name]}
        self.size, self.name = size, name
        self.copy = rows.get((family, size, name.split("_")[0], "memcpy"))
        self.sigma = int((re.search(r"sigma(\d+)", name) or [0, 0])[1])
        self.own = next((self.rows[level] for level in reversed(LEVELS) if level in self.rows), None)
        self.peer = self.fastest("")
        self.ownAll, self.peerAll = self.rows.get("level2_all"), self.fastest("_all")

    def fastest(self, suffix):
        peers = [row for who, row in self.rows.items()
                 if who.startswith("opencv") and who.endswith("_all") == bool(suffix)]
        return min(peers, key=lambda row: row.ns, default=None)

    def ratio(self, above="peer", below="own"):
        rows = [self.rows.get(row) or getattr(self, row, None) for row in (above, below)]
        return rows[0].ns / rows[1].ns if all(rows) else None


def read(folders):
    """The rows of all runs together, and the machine."""
    rows, context = {}, {}
    for file in sorted(file for folder in folders for file in folder.glob("*.json")):
        results = json.loads(file.read_text())
        context = results["context"]
        for entry in results["benchmarks"]:
            if entry["run_type"] != "iteration":
                continue
            family, size, work, who = entry["name"].removesuffix("/real_time").split("/")[:4]
            if entry.get("error_occurred"):
                if entry["error_message"] != "not on this processor":
                    sys.exit(f"report: {entry['name']}: {entry['error_message']}")
                continue
            row = rows.setdefault((family, size, work, who), Row())
            row.calls.append(entry["real_time"])
            if "ns/pixel" in entry:
                row.times.append(entry["ns/pixel"])
            row.counters = {name: entry[name] for name in ("allocations", "bytes", "difference") if name in entry}
    return rows, context


def worksOf(rows, family, pattern):
    keys = dict.fromkeys(key[:3] for key in rows if key[0] == family and re.fullmatch(pattern, key[2]))
    works = [Work(rows, *key) for key in keys]
    return sorted(works, key=lambda work: (int(work.size.split("x")[0]), work.sigma, work.name))


def targetOf(work):
    """How many times as fast as OpenCV."""
    if work.name in PASS_TARGETS or not work.sigma:
        return PASS_TARGETS.get(work.name)
    if work.name.endswith("_masked"):
        return 3 if work.name.startswith("16_16") else 4
    if work.name.startswith("8_8"):
        return 3 if work.sigma == 1 else 2.5 if work.sigma == 2 else 2
    return 2 if work.name.startswith("8_16") and work.sigma >= 3 else None


def nameOf(work):
    name = re.sub("^([0-9]+_[0-9]+)_sigma", lambda match: PAIRS[match[1]] + ", sigma ", work.name)
    name = re.sub("^([0-9]+)_([^_]+)", lambda match: f"{match[2].replace('x', ' x ')}, {match[1]} bits", name)
    name = name.replace("_kfGauss", ", kfGauss")
    return "masked " + name.removesuffix("_masked") if name.endswith("_masked") else name
