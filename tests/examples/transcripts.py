#!/usr/bin/env python3
"""Runs the commands that the documents show, and compares what they write with what the documents say.

    transcripts.py SOURCE_FOLDER BUILD_FOLDER DOCUMENT...

A `console` block is a transcript if anything but commands stands in it:

    $ COMMAND
    what it writes, standard error included
    [exit status 1]

where the last line is there only if the command fails.

Commands run in the repository's root as a reader has it who has built the release preset: a folder with links to the
sources, and to the build folder under that preset's name. Other console blocks are instructions and are not run.
"""

import difflib
import os
import pathlib
import re
import subprocess
import sys
import tempfile

BLOCK = re.compile(r"^```console\n(.*?)^```$", re.MULTILINE | re.DOTALL)
PROMPT = "$ "


def transcripts(text):
    """The line number and the lines of each transcript."""
    for match in BLOCK.finditer(text):
        lines = match[1].splitlines()
        if not all(line.startswith(PROMPT) for line in lines):
            yield text.count("\n", 0, match.start()) + 1, lines


def make_root(folder, source, build):
    """Links to everything in the source folder that is not a build folder."""
    for entry in source.iterdir():
        if entry.name not in (".git", "build"):
            (folder / entry.name).symlink_to(entry)
    (folder / "build").mkdir()
    (folder / "build" / "release").symlink_to(build)


def replay(lines, root):
    """The transcript as it comes out when its commands are run."""
    environment = {name: value for name, value in os.environ.items() if not name.startswith(("FOUNDATION_", "KV_TAV_"))}
    environment["LC_ALL"] = "C"
    for line in lines:
        if line.startswith(PROMPT):
            yield line
            command = ["bash", "-c", line.removeprefix(PROMPT)]
            result = subprocess.run(command, cwd=root, env=environment, stdin=subprocess.DEVNULL, text=True,
                                    stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=120, check=False)
            yield from result.stdout.splitlines()
            if result.returncode != 0:
                yield f"[exit status {result.returncode}]"


def main():
    source, build, *documents = (pathlib.Path(argument).resolve() for argument in sys.argv[1:])
    count = differing = 0
    with tempfile.TemporaryDirectory() as root:
        make_root(pathlib.Path(root), source, build)
        for document in documents:
            for line, shown in transcripts(document.read_text(encoding="utf-8")):
                count += 1
                place = f"{document.relative_to(source)}:{line}"
                difference = list(difflib.unified_diff(shown, list(replay(shown, root)), place, "as it is", lineterm=""))
                differing += bool(difference)
                print(*difference, sep="\n", end="\n" if difference else "")
    print(f"{count} transcripts in {len(documents)} documents, {differing} that differ")
    return 0 if count and not differing else 1


if __name__ == "__main__":
    sys.exit(main())
