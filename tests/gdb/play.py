"""Run by gdb: gives it the commands of a transcript and compares what it answers, whole.

A transcript is what a terminal shows: lines that begin with "(gdb) ", each followed by the answer. Addresses are
compared by the order in which they appear. In Markdown the transcript is what the ```console blocks show.

The file's name is in the environment variable TRANSCRIPT. Whether all was the same the last line tells: gdb's exit
status doesn't tell of everything that can go wrong.
"""

import difflib
import os
import re
from pathlib import Path

import gdb

PROMPT = "(gdb) "


def transcript_of(path):
    text = path.read_text()
    if path.suffix == ".md":
        text = "".join(re.findall(r"^```console\n(.*?)^```$", text, re.MULTILINE | re.DOTALL))
    return [line for line in text.splitlines() if not line.startswith("$ ")]


def answer(command):
    try:
        return gdb.execute(command, to_string=True).splitlines()
    except gdb.error as error:
        return str(error).splitlines()


def played(lines):
    """The transcript as it is this time."""
    commands = [line.removeprefix(PROMPT) for line in lines if line.startswith(PROMPT)]
    return [line for command in commands for line in (PROMPT + command, *answer(command))]


def with_numbered_addresses(lines):
    numbers = {}
    return [
        re.sub(r"0x[0-9a-f]+", lambda found: f"ADDRESS{numbers.setdefault(found[0], len(numbers) + 1)}", line)
        for line in lines
    ]


def main():
    path = Path(os.environ["TRANSCRIPT"])
    expected = transcript_of(path)
    found = played(expected)
    difference = list(
        difflib.unified_diff(
            with_numbered_addresses(expected), with_numbered_addresses(found), str(path), "gdb's answers", lineterm=""
        )
    )
    if difference:
        print(*difference, "\nAll of it:", *found, sep="\n")
    elif found:
        print("The answers are those of the transcript.")


main()
