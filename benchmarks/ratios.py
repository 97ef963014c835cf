"""Prints how the ways of each case compare, from the JSON that the benchmarks write.

A case is measured several times, its ways in turn; each ratio is taken within one turn. What is
printed is the median of the ratios, with the smallest and the largest.
"""

import argparse
import collections
import json
import statistics
import subprocess
import sys

OURS = "ours"


def processor():
    with open("/proc/cpuinfo", encoding="utf-8") as info:
        for line in info:
            if line.startswith("model name"):
                return line.split(":", 1)[1].strip()
    return "unknown"


def cases_of(files):
    """Case -> way -> times in us, one for each turn."""
    cases = collections.defaultdict(lambda: collections.defaultdict(dict))
    units = {"ns": 1e-3, "us": 1, "ms": 1e3, "s": 1e6}
    for name in files:
        with open(name, encoding="utf-8") as file:
            for run in json.load(file)["benchmarks"]:
                if run.get("run_type") == "aggregate" or run.get("error_occurred"):
                    continue
                path = run["run_name"].split("/")
                path = [part for part in path if not part.startswith("min_time:")]
                time = run["cpu_time"] * units[run["time_unit"]]
                cases["/".join(path[:-1])][path[-1]][run["repetition_index"]] = time
    return cases


def ratio(numerator, denominator):
    ratios = [numerator[turn] / denominator[turn] for turn in numerator if turn in denominator]
    if not ratios:
        return None
    return statistics.median(ratios), min(ratios), max(ratios)


def written(ratios):
    if ratios is None:
        return "-"
    digits = 3 if ratios[0] < 0.095 else 2
    return "{0:.{3}f} ({1:.{3}f} to {2:.{3}f})".format(*ratios, digits)


def row_of(case, ways):
    ours = ways[OURS]
    floor = ways.get("floor")
    peers = sorted(way for way in ways if way not in (OURS, "plain", "floor"))
    cells = [
        case,
        f"{statistics.median(ours.values()):.3g}",
        written(ratio(ours, floor)) if floor else "-",
        written(ratio(ways["plain"], floor)) if floor and "plain" in ways else "-",
        written(ratio(ours, ways["plain"])) if "plain" in ways else "-",
        "; ".join(f"{peer} {written(ratio(ours, ways[peer]))}" for peer in peers) or "-",
    ]
    return cells


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("files", nargs="+", help="JSON written by a benchmark")
    arguments = parser.parse_args()
    cases = cases_of(arguments.files)
    if not cases:
        sys.exit("ratios.py: no case was measured")

    commit = subprocess.run(["git", "describe", "--always", "--dirty"], capture_output=True,
                            text=True, check=False).stdout.strip()
    print(f"commit {commit or 'unknown'}, {processor()}\n")
    header = ["case", "ours, us", "ours / floor", "plain / floor", "ours / plain", "ours / peer"]
    print("| " + " | ".join(header) + " |")
    print("|" + "---|" * len(header))
    for case, ways in sorted(cases.items()):
        if OURS in ways:
            print("| " + " | ".join(row_of(case, ways)) + " |")


main()
