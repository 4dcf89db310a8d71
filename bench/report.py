#!/usr/bin/env python3
"""Prints what scripts/bench measured: report.py DIRECTORY COUNT, with the files that scripts/bench leaves there."""

import json
import pathlib
import sys

DIRECTORY = pathlib.Path(sys.argv[1])
COUNT = int(sys.argv[2])


def medians(name):
    """Nanoseconds an item, by benchmark and size."""
    times = {}
    for row in json.loads((DIRECTORY / name).read_text())["benchmarks"]:
        if row.get("aggregate_name") == "median":
            benchmark, *parts = row["run_name"].split("/")
            size = int(parts[0]) if parts and parts[0].isdigit() else 0
            own_time = row["real_time" if "manual_time" in parts else "cpu_time"]
            time = 1e9 / row["items_per_second"] if "items_per_second" in row else own_time
            times.setdefault(benchmark.replace("_", " "), {})[size] = time
    return times


def peers():
    """Seconds and megabytes of each program, and of the phases of some."""
    rows = {}
    for line in (DIRECTORY / "peers").read_text().splitlines()[1:]:
        words = line.split()
        rows[" ".join(words[1:-5])] = (float(words[-5]), float(words[-2]))
    return rows


def table(head, rows):
    print("\n| " + " | ".join(head) + " |\n|" + "---|" * len(head))
    for row in rows:
        print("| " + " | ".join(row) + " |")


def main():
    frame = {name: time[0] for name, time in medians("frame.json").items()}
    least = min(frame.values())
    table(["A callback with logging off", "ns", "over an empty call"],
          [(name, f"{time:.1f}", f"{time - least:.1f}") for name, time in sorted(frame.items(), key=lambda row: row[1])])

    tree = medians("tree.json")
    sizes = sorted(next(iter(tree.values())))
    table(["The tree, ns an operation"] + [f"{size:,}" for size in sizes] + ["growth"],
          [[name] + [f"{times[size]:.1f}" for size in sizes] + [f"{times[sizes[-1]] / times[sizes[0]]:.2f}"]
           for name, times in sorted(tree.items())])

    engine = medians("engine.json")
    growth = {name: times[max(times)] / times[min(times)] for name, times in engine.items()}
    table(["Whole requests, us an item", "few", "many", "growth"],
          [(name, f"{times[min(times)] / 1000:.1f} ({min(times):,})", f"{times[max(times)] / 1000:.1f} ({max(times):,})",
            f"{growth[name]:.2f}") for name, times in sorted(engine.items())])

    netconf = json.loads((DIRECTORY / "netconf.json").read_text())
    table(["Over NETCONF, ms", "10", f"{COUNT:,}"],
          [[name] + [f"{netconf[f'{name} {size}']:.2f}" for size in (10, COUNT)]
           for name in ("own commit", "one leaf", "one read", "all in one edit")])
    print(f"\n50 clients at once: {netconf['edits a second of 50 clients']:.0f} edits a second")
    if (DIRECTORY / "netconf_peer").exists():
        print("\nAnother server, nothing durable and nothing translated:\n\n" + (DIRECTORY / "netconf_peer").read_text())

    start, completion = (float((DIRECTORY / name).read_text()) for name in ("start", "completion"))
    aims = [(f"growth of {name}", growth[name], 1.2)
            for name in ("edit neighbors", "commit neighbors", "read neighbors", "read neighbor state",
                         "read all state")]
    aims += [("one leaf among many, to few", growth["edit one leaf"], 1.2), ("start, ms", start, 30),
             ("completion of a neighbour, ms", completion, 50)]
    aims += [(f"one leaf over NETCONF among {size:,}, to the store's own commit",
              netconf[f"one leaf to own commit {size}"], 1.5) for size in (10, COUNT)]
    aims += [("the same among many, to few", netconf[f"one leaf {COUNT}"] / netconf["one leaf 10"], 1.2),
             (f"one read over NETCONF among {COUNT:,}, ms", netconf[f"one read {COUNT}"], 0.3),
             (f"{COUNT:,} in one edit over NETCONF, s", netconf[f"all in one edit {COUNT}"] / 1000, 1),
             ("clients at once whose edits are lost", netconf["clients whose edits are lost"], 0)]
    if (DIRECTORY / "peers").exists():
        rows = peers()
        mapping = medians("mapping.json")["map document"][0] / 1e9
        own, script = rows["yfw"], rows["python"]
        table([f"{COUNT:,} neighbours, file to file", "s", "MB", "to yfw's time"],
              [(name, f"{time:.3f}", f"{peak:.0f}" if peak else "", f"{time / own[0]:.2f}")
               for name, (time, peak) in sorted({**rows, "yfw: mapping alone": (mapping, 0)}.items(),
                                                key=lambda row: row[1])])
        aims = [("time of edit --dry-run, to the script's", own[0] / script[0], 0.5),
                ("its memory, to the script's", own[1] / script[1], 1),
                ("the mapping alone, to libyang's parse and validation",
                 mapping / rows["floor_yang validate: validate"][0], 0.1)] + aims
    table(["Aim", "measured", "at most", ""],
          [(name, f"{value:.2f}" if aim < 10 else f"{value:.0f}", f"{aim}", "" if value <= aim else "missed")
           for name, value, aim in aims])


main()
