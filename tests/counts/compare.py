#!/usr/bin/env python3
"""Counts the instructions of operations with callgrind, prints them, and fails if one exceeds its budget.

The budgets stand in a JSON file, per compiler. They are a little above what was counted when they were written
(SLACK): instructions of the C library's allocator and mutex are part of them and may change with its patches, which is
no fault of ours. --write makes new budgets of what is counted.
"""

import argparse
import json
import math
import os
import re
import subprocess
import sys
import tempfile
from pathlib import Path

SLACK = 0.05
ROUNDS = 1000  # as in counts.cpp
# Counted to be subtracted from the others: the call of the function that is counted.
NOTHING = "nothing"

# What two operations differ by; they are of no interest themselves.
DIFFERENCES = {
    "trace point, masked": ("counter with a masked trace point", "counter"),
    "scope trace, masked": ("counter with a masked scope trace", "counter"),
    "typed find above Detail's, Process": ("typed find, Process", "object found, Process"),
    "typed find above Detail's, Workspace": ("typed find, Workspace", "object found, Workspace"),
    "typed find above Detail's, Zarn": ("typed find, Zarn", "object found, Zarn"),
}


def arguments():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--valgrind", default="valgrind")
    parser.add_argument("--objcopy", default="objcopy")
    parser.add_argument("--compiler", required=True, help="the compiler's name in the budgets")
    parser.add_argument("--budgets", type=Path, required=True)
    parser.add_argument("--write", action="store_true", help="write new budgets")
    parser.add_argument("program", type=Path)
    parser.add_argument("libraries", type=Path, nargs="*", help="what the program is linked with, by soname")
    return parser.parse_args()


def counts_of(options):
    """Instructions per call of each operation, less those of the call itself."""
    with tempfile.TemporaryDirectory() as folder:
        # Without debugging information, which valgrind can't read of every compiler, and needs none of.
        for file in [options.program, *options.libraries]:
            subprocess.run([options.objcopy, "--strip-debug", file, Path(folder) / file.name], check=True)
        subprocess.run(
            [
                options.valgrind,
                "--quiet",
                "--tool=callgrind",
                "--toggle-collect=*measured*",
                f"--callgrind-out-file={folder}/callgrind",
                Path(folder) / options.program.name,
            ],
            env={**os.environ, "LD_LIBRARY_PATH": folder},
            check=True,
        )
        totals = {}
        for part in Path(folder).glob("callgrind.*"):
            text = part.read_text()
            name = re.search(r"^desc: Trigger: Client Request: (.*)$", text, re.MULTILINE)
            total = re.search(r"^(?:totals|summary): (\d+)", text, re.MULTILINE)
            if name and total:
                totals[name.group(1)] = int(total.group(1))
    if NOTHING not in totals:
        sys.exit("callgrind wrote no counts.")
    nothing = totals.pop(NOTHING)
    counts = {name: (total - nothing) / ROUNDS for name, total in totals.items()}
    for name, (more, less) in DIFFERENCES.items():
        counts[name] = counts.pop(more) - counts[less]
    for less in {less for _, less in DIFFERENCES.values()}:
        del counts[less]
    return dict(sorted(counts.items()))


def budget_of(count):
    return math.ceil(count * (1 + SLACK))


def compare(counts, budgets):
    """Prints both; whether all counts are within budget."""
    kept = True
    print(f"{'instructions per operation':<40} {'counted':>8} {'budget':>7}")
    for name, count in counts.items():
        budget = budgets.get(name)
        exceeded = budget is None or count > budget
        kept = kept and not exceeded
        remark = "" if not exceeded else "  no budget" if budget is None else "  EXCEEDED"
        print(f"{name:<40} {count:>8.1f} {budget if budget is not None else '':>7}{remark}")
    for name in budgets.keys() - counts.keys():
        kept = False
        print(f"{name:<40} was not counted")
    return kept


def main():
    options = arguments()
    counts = counts_of(options)
    all_budgets = json.loads(options.budgets.read_text()) if options.budgets.exists() else {}
    if options.write:
        all_budgets[options.compiler] = {name: budget_of(count) for name, count in counts.items()}
        options.budgets.write_text(json.dumps(all_budgets, indent=2, sort_keys=True) + "\n")
    return 0 if compare(counts, all_budgets.get(options.compiler, {})) else 1


if __name__ == "__main__":
    sys.exit(main())
