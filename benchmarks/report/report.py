#!/usr/bin/env python3
"""Merges what the benchmarks measured into results.json, and writes the table and the plots of it.

report.py FOLDER reads FOLDER/raw/*.json; the name of a file that ends in "-static" marks the static build.
"""

import json
import statistics
import sys
from pathlib import Path

import rows
import svg

MET, MISSED, SEEN = "met", "MISSED", ""
BRIEF_NS = 5e5
COLOUR_OF = {MET: "#2f8a4c", MISSED: "#c8501e", SEEN: "#9aa7b5"}


# ---------------------------------------------------------------------------------------------------------------------
# Merging


def nanoseconds(run):
    """Processor time, so that other processes don't count, unless the benchmark takes the time itself."""
    time = run["real_time"] if run["name"].endswith("manual_time") else run["cpu_time"]
    return time * {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}[run["time_unit"]]


def summary(runs):
    times = [nanoseconds(run) for run in runs]
    quartiles = statistics.quantiles(times, n=4, method="inclusive") if len(times) > 1 else times * 3
    return {
        "median_ns": statistics.median(times),
        "quartile_1_ns": quartiles[0],
        "quartile_3_ns": quartiles[2],
        "repetitions": len(times),
        "measured_ns": statistics.median(run["iterations"] * time for run, time in zip(runs, times)),
    }


def merge(folder):
    runs = {}
    result = {}
    for path in sorted((folder / "raw").glob("*.json")):
        data = json.loads(path.read_text())
        prefix = "static:" if path.stem.endswith("-static") else ""
        for run in data.pop("benchmarks", []):
            if run.get("error_occurred"):
                sys.exit(f"{run['name']}: {run['error_message']}")
            if run["run_type"] == "iteration":
                runs.setdefault(prefix + run["name"], []).append(run)
        if "context" in data:  # but for what names the machine
            data["context"] = {key: data["context"][key] for key in ("date", "num_cpus", "mhz_per_cpu", "caches")}
        result.update(data)
    result["benchmarks"] = {name: summary(values) for name, values in sorted(runs.items())}
    return result


# ---------------------------------------------------------------------------------------------------------------------
# Rows


def verdict(ratio, goal):
    if goal is None:
        return SEEN
    return MET if ratio <= goal else MISSED


def spread(entry):
    """The middle half of the repetitions, as a part of their median."""
    return (entry["quartile_3_ns"] - entry["quartile_1_ns"]) / entry["median_ns"]


def is_brief(*entries):
    """A busy machine ends a repetition early: too early for the caches and predictors to settle."""
    return any(entry["measured_ns"] < BRIEF_NS for entry in entries)


def compared(row, benchmarks):
    ours, other = benchmarks[row.ours], benchmarks[row.other]
    ratio = ours["median_ns"] / other["median_ns"]
    return {
        "work": row.work,
        "median_ns": ours["median_ns"],
        "spread": spread(ours),
        "other": row.other_name,
        "other_median_ns": other["median_ns"],
        "other_spread": spread(other),
        "ratio": ratio,
        "goal": row.goal,
        "verdict": verdict(ratio, row.goal),
        "brief": is_brief(ours, other),
    }


def grown(row, benchmarks):
    def growth(names):
        return benchmarks[names[-1]]["median_ns"] / benchmarks[names[0]]["median_ns"]

    last = benchmarks[row.ours[-1]]
    last_of_floor = benchmarks[row.floor[-1]]
    ratio = growth(row.ours) / growth(row.floor)
    return {
        "work": row.work,
        "median_ns": last["median_ns"],
        "spread": spread(last),
        "other": "growth over the floor's",
        "other_median_ns": last_of_floor["median_ns"],
        "other_spread": spread(last_of_floor),
        "ratio": ratio,
        "goal": row.goal,
        "verdict": verdict(ratio, row.goal),
        "brief": is_brief(*(benchmarks[name] for name in row.ours + row.floor)),
    }


def sections(benchmarks):
    return [
        {
            "title": title,
            "rows": [(grown if isinstance(row, rows.FlatRow) else compared)(row, benchmarks) for row in section],
        }
        for title, section in rows.SECTIONS
    ]


# ---------------------------------------------------------------------------------------------------------------------
# Table


def table_of_section(section):
    lines = [section["title"], ""]
    lines.append(
        f"{'work':<52} {'ns':>10} {'spread':>7}  {'beside':<30} {'ns':>10} {'spread':>7} {'ratio':>8} {'goal':>5}"
    )
    for row in section["rows"]:
        goal = "" if row["goal"] is None else f"{row['goal']:g}"
        lines.append(
            f"{row['work']:<52} {row['median_ns']:>10.2f} {row['spread']:>6.1%}  {row['other']:<30} "
            f"{row['other_median_ns']:>10.2f} {row['other_spread']:>6.1%} {row['ratio']:>8.2f} {goal:>5} "
            f"{row['verdict']}{' (measured too briefly)' if row['brief'] else ''}".rstrip()
        )
    return lines


def table_of_memory(memory):
    lines = ["Memory, bytes asked of the allocator", ""]
    lines.append(f"{'what':<36} {'blocks':>8} {'bytes':>10} {'per state':>10} {'sum of parts':>13} {'ratio':>6}")
    for entry in memory:
        what = entry["what"] + (f", {entry['states']:,}" if entry["states"] else "")
        per_state = f"{entry['bytes'] / entry['states']:.1f}" if entry["states"] else ""
        lines.append(
            f"{what:<36} {entry['blocks']:>8,} {entry['bytes']:>10,} {per_state:>10} {entry['parts_bytes']:>13,} "
            f"{entry['bytes'] / entry['parts_bytes']:>6.2f}"
        )
    return lines


def finds_per_second(benchmarks, threads):
    return 1e9 / benchmarks[f"BM_ScaleThreads/{threads}/manual_time"]["median_ns"]


def table_of_threads(benchmarks, cores):
    lines = [f"Threads with a Zarn context each, {cores} processors", ""]
    lines.append(f"{'threads':>7} {'million finds/s':>16} {'of one thread x processors used':>32}")
    single = finds_per_second(benchmarks, 1)
    for threads in rows.THREADS:
        rate = finds_per_second(benchmarks, threads)
        lines.append(f"{threads:>7} {rate / 1e6:>16.1f} {rate / (single * min(threads, cores)):>32.0%}")
    return lines


def table_of_sizes(title, names, sizes, benchmarks):
    lines = [title + ", ns", "", f"{'':<36}" + "".join(f"{size:>10,}" for size in sizes)]
    for name, row in names:
        lines.append(f"{name:<36}" + "".join(f"{benchmarks[entry]['median_ns']:>10.2f}" for entry in row))
    return lines


def table_of_rounds(rounds):
    first, last = rounds[0], rounds[-1]
    return [
        "Rounds of a Zarn context created, given a state and destroyed",
        "",
        f"{last['rounds']:,} rounds; heap in use {first['heap_bytes']:,} bytes before, {last['heap_bytes']:,} after; "
        f"resident {first['resident_bytes'] / 2**20:.1f} MiB before, {last['resident_bytes'] / 2**20:.1f} MiB after",
    ]


def machine_lines(result):
    context = result["context"]
    machine = result["machine"]
    return [
        f"{machine['processor']}, {context['num_cpus']} processors; {machine['system']}; {machine['compiler']}",
        f"{context['date']}; load average {machine['load_before']} before, {machine['load_after']} after",
        "Medians of nanoseconds: of processor time, but where threads are measured together. "
        "Spread: the middle half of the repetitions as a part of the median.",
    ]


def table(result):
    benchmarks = result["benchmarks"]
    blocks = [machine_lines(result)]
    blocks += [table_of_section(section) for section in result["sections"]]
    blocks.append(table_of_memory(result["memory"]))
    blocks += [
        table_of_sizes(title, names, sizes, benchmarks) for title, _, _, names, sizes, _ in scale_plots()
    ]
    blocks.append(table_of_threads(benchmarks, result["context"]["num_cpus"]))
    blocks.append(table_of_rounds(result["rounds"]))
    verdicts = [row["verdict"] for section in result["sections"] for row in section["rows"]]
    blocks.append([f"{verdicts.count(MET)} goals met, {verdicts.count(MISSED)} missed."])
    return "\n\n".join("\n".join(block) for block in blocks) + "\n"


# ---------------------------------------------------------------------------------------------------------------------
# Plots


def scale_plots():
    """Title, file, x label, curves, sizes, whether the times are on a logarithmic axis."""
    return [
        (
            "Finds among n type ids, in random order",
            "scale-ids",
            "type ids in the context",
            [
                ("library", rows.sized("BM_ScaleIDs", rows.ID_SIZES)),
                ("floor", rows.sized("BM_ScaleIDsFloor", rows.ID_SIZES)),
            ],
            rows.ID_SIZES,
            False,
        ),
        (
            "Work beside c Zarn contexts",
            "scale-contexts",
            "Zarn contexts alive",
            [
                ("find in one", rows.sized("BM_ScaleContextsFind", rows.CONTEXT_SIZES)),
                ("push, find, pop in each", rows.sized("BM_ScaleContextsVisit", rows.CONTEXT_SIZES)),
                ("create and destroy another", rows.sized("BM_ScaleContextsCreate", rows.CONTEXT_SIZES)),
                ("destroy all, per context", rows.manual("BM_ScaleContextsDestroy", rows.CONTEXT_SIZES)),
            ],
            rows.CONTEXT_SIZES,
            True,
        ),
        (
            "Destroying a context with n states, per state",
            "destroy",
            "states in the context",
            [
                (f"library, ids {title}", rows.manual(f"BM_Destroy{order}", rows.DESTROY_SIZES))
                for order, title in rows.ORDERS.items()
            ]
            + [("floor: a plain list", rows.manual("BM_DestroyFloor", rows.DESTROY_SIZES))],
            rows.DESTROY_SIZES,
            True,
        ),
        (
            "Erasing the oldest of n states, and inserting it again",
            "erase-oldest",
            "states in the context",
            [
                ("library", rows.sized("BM_EraseOldest", rows.ERASE_SIZES)),
                ("floor", rows.sized("BM_EraseOldestFloor", rows.ERASE_SIZES)),
            ],
            rows.ERASE_SIZES,
            True,
        ),
        (
            "eraseAll over c contexts, per context",
            "erase-all",
            "Zarn contexts",
            [
                ("library", rows.manual("BM_EraseAll", rows.ERASE_ALL_SIZES)),
                ("floor: c erases", rows.manual("BM_EraseAllFloor", rows.ERASE_ALL_SIZES)),
            ],
            rows.ERASE_ALL_SIZES,
            True,
        ),
        (
            "Activators nested n deep, per push and pop",
            "scale-nesting",
            "activators in one another",
            [("library", rows.sized("BM_ScaleNesting", rows.NESTING_DEPTHS))],
            rows.NESTING_DEPTHS,
            False,
        ),
    ]


def plot_scale(folder, benchmarks):
    for title, file, x_label, names, sizes, y_log in scale_plots():
        series = [
            (name, [(size, benchmarks[entry]["median_ns"]) for size, entry in zip(sizes, entries)])
            for name, entries in names
        ]
        (folder / f"{file}.svg").write_text(svg.curves(title, x_label, "nanoseconds (median)", series, y_log=y_log))


def plot_threads(folder, benchmarks, cores):
    single = finds_per_second(benchmarks, 1) / 1e6
    series = [
        ("library", [(threads, finds_per_second(benchmarks, threads) / 1e6) for threads in rows.THREADS]),
        (
            f"one thread times processors used, of {cores}",
            [(threads, single * min(threads, cores)) for threads in rows.THREADS],
        ),
    ]
    (folder / "scale-threads.svg").write_text(
        svg.curves(
            "Threads with a Zarn context each", "threads", "million finds per second, all threads", series, x_log=False
        )
    )


def plot_ratios(folder, result):
    bars = [
        (
            f"{row['work']} / {row['other']}" if row["other"] != "floor" else row["work"],
            row["ratio"],
            f"{row['ratio']:.2f}",
            COLOUR_OF[row["verdict"]],
            row["goal"],
        )
        for section in result["sections"]
        for row in section["rows"]
        if row["goal"] is not None
    ]
    (folder / "ratios.svg").write_text(
        svg.bars(
            "Ratios to the floor and to others: goals (black), met (green), missed (red)",
            "ratio of medians (smaller is better)",
            bars,
            origin=1.0,
        )
    )


def plot_peers(folder, benchmarks):
    bars = [
        (
            title,
            benchmarks[name]["median_ns"],
            f"{benchmarks[name]['median_ns']:.2f}",
            svg.COLOURS[0] if title.startswith("find") else COLOUR_OF[SEEN],
            None,
        )
        for title, name in rows.PEERS
    ]
    (folder / "peers.svg").write_text(
        svg.bars("From a type to its object", "nanoseconds per lookup (median)", bars)
    )


def plot_rounds(folder, rounds):
    series = [
        (name, [(entry["rounds"] / 1e6, entry[key] / 2**20) for entry in rounds])
        for name, key in (("resident memory of the process", "resident_bytes"), ("heap in use", "heap_bytes"))
    ]
    (folder / "rounds.svg").write_text(
        svg.curves(
            "Memory while contexts are created and destroyed", "million rounds", "MiB", series, x_log=False
        )
    )


def plot_memory(folder, memory):
    states = [entry for entry in memory if entry["states"]]
    series = [
        (name, [(entry["states"], entry[key] / entry["states"]) for entry in states])
        for name, key in (("library", "bytes"), ("sum of its parts: nodes and table", "parts_bytes"))
    ]
    (folder / "memory.svg").write_text(
        svg.curves("Memory of a context's states", "states in the context", "bytes per state", series, y_log=True)
    )


def plot(folder, result):
    benchmarks = result["benchmarks"]
    plot_ratios(folder, result)
    plot_peers(folder, benchmarks)
    plot_scale(folder, benchmarks)
    plot_threads(folder, benchmarks, result["context"]["num_cpus"])
    plot_rounds(folder, result["rounds"])
    plot_memory(folder, result["memory"])


def main(folder):
    result = merge(folder)
    result["sections"] = sections(result["benchmarks"])
    (folder / "results.json").write_text(json.dumps(result, indent=2) + "\n")
    text = table(result)
    (folder / "table.txt").write_text(text)
    plot(folder, json.loads((folder / "results.json").read_text()))
    print(text, end="")


if __name__ == "__main__":
    main(Path(sys.argv[1]))
