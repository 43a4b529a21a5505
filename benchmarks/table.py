#!/usr/bin/env python3
"""Prints what benchmarks measured as one table of ratios.

    table.py RESULTS.json ...

RESULTS are written by the benchmark programs. Of several repetitions only the fastest counts: what other
work on the machine adds is never part of what something costs.
"""
import json
import sys

# The rows, in order: the name of the case, what an item of it is.
CASES = [
    ("text_ratio_nested", "text of a nested three-phase ratio record"),
    ("text_impedance_sweep", "text of an impedance record of 30 tests"),
    ("text_ratio_single_phase", "text of a single-phase ratio record"),
    ("text_demag", "text of a demagnetisation record"),
    ("export_three_phase", "export row, three-phase"),
    ("export_three_phase_to_disk", "the same, to disk"),
    ("export_single_phase", "export row, single-phase"),
    ("export_single_phase_to_disk", "the same, to disk"),
    ("series_three_phase", "series row, three-phase"),
    ("series_single_phase", "series row, single-phase"),
    ("code_named", "name of a code"),
    ("code_unnamed", "text of a code without a name"),
    ("labels_exact", "labels of a vector group, exact"),
    ("labels_closest", "labels of a vector group, closest"),
    ("label_tables", "building the four label tables"),
    ("start_to_first_prompt", "start to first prompt"),
    ("start_to_main_menu", "start to main menu, connected"),
    ("instrument_ratio_1ph", "virtual instrument: ratio, single-phase"),
    ("instrument_ratio_3ph", "virtual instrument: ratio, three-phase"),
    ("instrument_ratio_rated", "virtual instrument: ratio, at rated voltage"),
    ("instrument_ratio_rated_1_1", "virtual instrument: the same, one phase at a time"),
    ("instrument_resistance", "virtual instrument: resistance"),
    ("instrument_resistance_cont", "virtual instrument: continuous resistance"),
    ("instrument_heatrun", "virtual instrument: heat run"),
    ("instrument_demag", "virtual instrument: demagnetisation"),
    ("instrument_sci", "virtual instrument: short-circuit impedance"),
    ("instrument_frsl", "virtual instrument: stray loss response"),
    ("instrument_efficiency", "virtual instrument: efficiency"),
    ("instrument_mbalance", "virtual instrument: magnetic balance"),
    ("instrument_excitation", "virtual instrument: excitation"),
    ("instrument_gonogo", "virtual instrument: go/no-go"),
    ("instrument_drm", "virtual instrument: dynamic resistance"),
    ("store_test", "virtual instrument: storing a test"),
    ("list_records", "virtual instrument: listing, a record of 100,000"),
]
PEERS = [("fresh_stream", "`<<` fresh"), ("reused_stream", "`<<` reused"), ("snprintf", "snprintf"),
         ("fmt", "fmt"), ("sqlite", "sqlite3")]
# Cases whose cost an item must not grow with their number.
GROWTHS = [("export_three_phase", "export row, three-phase"),
           ("export_single_phase", "export row, single-phase"),
           ("export_store", "record of a whole export"),
           ("list_records", "record of a list")]


def read(paths):
    """Seconds an item by case and who; by case, who and number of items for growths; and peaks."""
    costs, growths, peaks = {}, {}, {}
    for path in paths:
        with open(path) as file:
            text = file.read()  # empty where a filter leaves nothing to run
        results = json.loads(text)["benchmarks"] if text else []
        for result in results:
            if result.get("run_type") != "iteration":
                continue
            if result.get("error_occurred"):
                sys.exit(f"{result['name']}: {result['error_message']}")
            case, who, *arguments = result["run_name"].split("/")
            cost = 1 / result["items_per_second"]
            if who == "growth":
                key, table = (case, int(arguments[0])), growths
            else:
                key, table = (case, who), costs
            table[key] = min(cost, table.get(key, cost))
            if "peak_kib" in result:
                peaks[key] = max(result["peak_kib"], peaks.get(key, 0))
    return costs, growths, peaks


def time_text(seconds):
    for unit, size in (("s", 1), ("ms", 1e-3), ("us", 1e-6)):
        if seconds >= size:
            return f"{seconds / size:.3g} {unit}"
    return f"{seconds / 1e-9:.3g} ns"


def times(ratio):
    return f"{ratio:.2f}" if ratio < 10 else f"{ratio:.0f}"


def main():
    costs, growths, peaks = read(sys.argv[1:])
    rows = []

    def add(name, cost, floor="", *peers):
        rows.append([name, cost, floor, *peers, *[""] * (len(PEERS) - len(peers))])

    for case, name in CASES:
        cost = costs.get((case, "program"))
        if cost is None:
            continue
        ratio_to = lambda who: costs.get((case, who), 0) / cost
        floor = costs.get((case, "floor"))
        add(name, time_text(cost), times(cost / floor) if floor else "",
            *[f"{times(ratio_to(who))}" if ratio_to(who) else "" for who, _ in PEERS])
        reused = costs.get((case, "program_reused"))
        if reused:
            add("the same into a reused stream", time_text(reused), times(reused / floor),
                *[times(costs[case, who] / reused) for who, _ in PEERS if (case, who) in costs])
    for case, name in GROWTHS:
        points = sorted((count, cost) for (a_case, count), cost in growths.items() if a_case == case)
        if len(points) > 1:
            (few, cost_of_few), (many, cost_of_many) = points[0], points[-1]
            add(f"{name}: {many:,} beside {few:,}", time_text(cost_of_many),
                times(cost_of_many / cost_of_few))
    for case in ("start_to_first_prompt", "start_to_main_menu"):
        if peak := peaks.get((case, "program")):
            add("most memory, " + dict(CASES)[case], f"{peak / 1024:.1f} MiB")

    head = ["", "takes", "x floor", *[title for _, title in PEERS]]
    widths = [max(len(row[i]) for row in [head, *rows]) for i in range(len(head))]
    for row in [head, ["-" * widths[0], *["-" * (width - 1) + ":" for width in widths[1:]]], *rows]:
        cells = [row[0].ljust(widths[0]), *[cell.rjust(width) for cell, width in
                                            zip(row[1:], widths[1:])]]
        print("| " + " | ".join(cells) + " |")


main()
