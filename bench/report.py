#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
# Copyright 2026 The MlagOstra authors

"""Writes the report of benchmark runs: report.py FILE.json... >report.md

A benchmark's name is TABLE/LIBRARY/N; its median over the repetitions becomes the cell of
that library's column and N's row, with the ratio to this framework's column. A counter of
its own that it gives goes into the table "TABLE COUNTER" in the same way.
"""

import json
import pathlib
import sys

OURS = "Ryx"
TITLES = {
    "set": ("Delivery", "A value is set that N listeners watch."),
    "connect": ("Coming and going", "A listener comes and goes beside N others."),
    "copy": ("Strong pointer", "A copy is made and released, of N objects in turn."),
    "find-hit": ("Keyed collection: find", "A member is found, of N."),
    "find-dependent": ("Keyed collection: find in turn", "Who is found says who is next, of N."),
    "find-miss": ("Keyed collection: find none", "A key is sought that none of N members has."),
    "insert": ("Keyed collection: fill", "An empty collection gets N members. Per member."),
    "erase": ("Keyed collection: empty", "N members are taken out one by one. Per member."),
    "churn": ("Keyed collection: churn", "One of N members goes and another one comes."),
    "iterate": ("Keyed collection: visit", "N members are visited and read. Per member."),
    "collection bytes": (
        "Keyed collection: memory",
        "Bytes per member, of N, beside a record that carries nothing for its collection.",
    ),
    "rearm": ("Clock: set", "One of N armed timers gets another time."),
    "arm-all": ("Clock: arm", "N timers are armed. Per timer."),
    "fire-all": ("Clock: fire", "N timers are due. Per timer."),
    "reload hold": ("Reload: start", "A machine holds N ports. Per port, the shortest round."),
    "reload announce": ("Reload: announcements", "Both of a period, on a switch of N ports. The shortest round."),
    "reload release": ("Reload: release", "N ports are released. Per port, the shortest round."),
    "reload held bytes": ("Reload: memory while held", "Bytes per port, of N."),
    "reload left bytes": ("Reload: memory after release", "Bytes per port, of N."),
    "appear": ("Held port", "One of N ports disappears and appears while ports are held."),
    "change": ("Configuration", "A change of a switch of N ports while they are held."),
}
# What a benchmark measures beside its counters, where only these count.
UNTITLED = {"collection", "reload"}
# What every row of a run has.
COMMON_KEYS = {
    "name",
    "family_index",
    "per_family_instance_index",
    "run_name",
    "run_type",
    "repetitions",
    "threads",
    "aggregate_name",
    "aggregate_unit",
    "iterations",
    "real_time",
    "cpu_time",
    "time_unit",
}


def values(row):
    """The values of a run's row by table."""
    table = row["run_name"].split("/")[0]
    if table not in UNTITLED:
        yield table, row["cpu_time"]
    for counter in row.keys() - COMMON_KEYS:
        yield f"{table} {counter}", row[counter]


def read_run(path):
    """The run's context and its medians and spreads by (table, library, n)."""
    run = json.loads(pathlib.Path(path).read_text())
    cells = {"median": {}, "cv": {}}
    for row in run["benchmarks"]:
        kind = row.get("aggregate_name")
        if kind in cells:
            library, n = row["run_name"].split("/")[1:3]
            for table, value in values(row):
                cells[kind][table, library, int(n)] = value
    return run["context"], cells["median"], cells["cv"]


def ordered(names):
    """Each once, ours first."""
    return sorted(set(names), key=lambda name: (name != OURS, name.lower()))


def cell(median, ours):
    if median is None:
        return ""
    ratio = f" ({median / ours:.2f} x)" if ours else ""
    return f"{median:.3g}{ratio}"


def table_lines(table, medians, spreads):
    libraries = ordered(library for t, library, _ in medians if t == table)
    sizes = sorted({n for t, _, n in medians if t == table})
    yield f"| N | {' | '.join(libraries)} |"
    yield "|---:" * (len(libraries) + 1) + "|"
    for n in sizes:
        ours = medians.get((table, OURS, n))
        row = [
            cell(medians.get((table, library, n)), ours if library != OURS else None)
            for library in libraries
        ]
        yield f"| {n} | {' | '.join(row)} |"
    spread = max(value for (t, _, _), value in spreads.items() if t == table)
    yield ""
    yield f"Largest standard deviation of a cell: {100 * spread:.0f} %."


def cpu_model():
    for line in pathlib.Path("/proc/cpuinfo").read_text().splitlines():
        if line.startswith("model name"):
            return line.split(":", 1)[1].strip()
    return "unknown"


def machine_lines(context):
    caches = ", ".join(
        f"L{c['level']} {c['type'].lower()} {c['size'] // 1024} KiB" for c in context["caches"]
    )
    yield f"- {context['date']}, load {context['load_avg'][0]:.2f}"
    yield f"- {cpu_model()}, {context['num_cpus']} CPUs; {caches}"
    yield f"- g++ {context['compiler']}, -O2"


def report_lines(paths):
    yield "# Benchmarks"
    yield ""
    yield "CPU time of one operation in nanoseconds, median of the repetitions; in brackets"
    yield f"how many times {OURS}'s it is. Written by `bench/run`."
    yield ""
    runs = [read_run(path) for path in paths]
    yield from machine_lines(runs[0][0])
    for context, medians, spreads in runs:
        measured = {table for table, _, _ in medians}
        for table in sorted(measured, key=list(TITLES).index):
            title, what = TITLES[table]
            threads = "" if context["single_threaded"] == "true" else ", after a second thread"
            yield from ("", f"## {title}{threads}", "", what, "")
            yield from table_lines(table, medians, spreads)


if __name__ == "__main__":
    print("\n".join(report_lines(sys.argv[1:])))
