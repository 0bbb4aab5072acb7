#!/usr/bin/env python3
"""bench_table.py RESULT.json...: prints Google Benchmark's aggregates as a table, one line per peer of a case.

Measurements are named CASE/ours and CASE/PEER, with whatever arguments behind. A ratio is our median divided by the
peer's: below 1 we are faster.
"""

import json
import sys

NANOSECONDS = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}


def read(paths):
    """{case: {who: {aggregate: value}}}: times in nanoseconds, the coefficient of variation as a fraction."""
    cases = {}
    for path in paths:
        with open(path, encoding="utf-8") as file:
            for row in json.load(file)["benchmarks"]:
                if row.get("run_type") != "aggregate":
                    continue
                case, who = row["run_name"].split("/")[:2]
                scale = 1 if row["aggregate_unit"] == "percentage" else NANOSECONDS[row["time_unit"]]
                cases.setdefault(case, {}).setdefault(who, {})[row["aggregate_name"]] = row["real_time"] * scale
    return cases


def time_text(nanoseconds):
    for unit in ("s", "ms", "us"):
        if nanoseconds >= NANOSECONDS[unit]:
            return f"{nanoseconds / NANOSECONDS[unit]:.2f} {unit}"
    return f"{nanoseconds:.1f} ns"


def measured(values):
    return f"{time_text(values['median'])} +-{100 * values['cv']:.0f}%"


def main():
    line = "{:<28} {:>18}   {:<14} {:>18} {:>8}".format
    print(line("case", "ours", "peer", "peer's time", "ratio"))
    for case, people in read(sys.argv[1:]).items():
        ours = people.pop("ours", None)
        if ours is not None and not people:
            print(line(case, measured(ours), "-", "-", "-"))
        for peer, theirs in people.items():
            if ours is None:
                print(line(case, "-", peer, measured(theirs), "-"))
            else:
                ratio = f"{ours['median'] / theirs['median']:.2f}"
                print(line(case, measured(ours), peer, measured(theirs), ratio))


main()
