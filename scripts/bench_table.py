#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 the ZAV authors
# SPDX-License-Identifier: MIT
"""Prints a table of ratios from Google Benchmark's JSON.

Names have the form Group/kernel/size/implementation. A line shows the library's time ("zav") for a
Group/kernel/size, bytes per second if they are counted, and for every other implementation its time
divided by the library's: above 1 the library is faster. Only the fastest repetition counts; the
others include other work of the machine.
"""
import json
import sys
from collections import defaultdict

LIBRARY = "zav"


def load(path):
    """{(group, kernel, size): {implementation: fastest run}} in order of appearance."""
    with open(path, encoding="utf-8") as file:
        runs = json.load(file)["benchmarks"]
    kernels = defaultdict(dict)
    for run in runs:
        if run.get("run_type") == "aggregate" or run.get("error_occurred"):
            continue
        parts = run["run_name"].split("/")
        # Options such as real_time follow the four parts.
        if len(parts) < 4:
            continue
        fastest = kernels[tuple(parts[:3])]
        best = fastest.get(parts[3])
        if best is None or seconds(run) < seconds(best):
            fastest[parts[3]] = run
    return kernels


def seconds(run):
    """Processor time, because real time includes what others do on a shared machine. Peers that are
    timed by another program report real time."""
    unit = {"ns": 1e-9, "us": 1e-6, "ms": 1e-3, "s": 1.0}[run["time_unit"]]
    manual = run["run_name"].endswith("/manual_time")
    return run["real_time" if manual else "cpu_time"] * unit


def shown_time(value):
    for unit, scale in (("s", 1.0), ("ms", 1e-3), ("us", 1e-6)):
        if value >= scale:
            return f"{value / scale:.3g} {unit}"
    return f"{value * 1e9:.3g} ns"


def main():
    if len(sys.argv) != 2:
        sys.exit("usage: bench_table.py RESULTS.json")
    lines = [("kernel", LIBRARY, "GB/s", "others' time / zav's")]
    for key, fastest in load(sys.argv[1]).items():
        ours = fastest.get(LIBRARY)
        if ours is None:
            print(f"{'/'.join(key)}: no row named {LIBRARY}", file=sys.stderr)
            continue
        rate = ours.get("bytes_per_second")
        ratios = [
            f"{name} {seconds(run) / seconds(ours):.2f}"
            for name, run in sorted(fastest.items())
            if name != LIBRARY
        ]
        lines.append((
            "/".join(key),
            shown_time(seconds(ours)),
            f"{rate / 1e9:.1f}" if rate else "",
            "  ".join(ratios),
        ))
    widths = [max(len(line[i]) for line in lines) for i in range(3)]
    for line in lines:
        print(f"{line[0]:<{widths[0]}}  {line[1]:>{widths[1]}}  {line[2]:>{widths[2]}}  {line[3]}")


if __name__ == "__main__":
    main()
