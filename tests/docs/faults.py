"""Shows that the checks of the documents find what they are for: faults.py REPOSITORY

Each fault is made in a small repository of its own; the check has to fail and to say where.
"""

import subprocess
import sys
import tempfile
from pathlib import Path

REPOSITORY = Path(sys.argv[1]).resolve()
SOUND = {
    "README.md": "# Readme\n\n[All](docs/index.md)\n",
    "docs/index.md": "# Index\n\n```cpp\nint two() { return 2; }\n```\n\n## Part one\n\n[Part](#part-one), [messages](messages.md)\n",
    "docs/messages.md": "# Messages\n\n[One](messages/one.md), [two](messages/assertion_failed.md)\n",
    "docs/messages/one.md": "# One\n\n```text\nThe host of editor has no such thing.\n```\n",
    "docs/messages/assertion_failed.md": "# Assertions\n\n`isSound`\n",
    "examples/CMakeLists.txt": "add_executable(two two.cpp)\n",
    "examples/two.cpp": "namespace {\n    int two() { return 2; }\n}\n",
    "foundation/part.cpp": 'const char* text = "The host of %1% has "\n    "no such thing.";\nFOUNDATION_TAV_CHECK(isSound);\n',
    "scripts/run": "",
    "tests/CMakeLists.txt": "",
}
# The check, the file, what is there, what is put in its place, and what the check has to say.
FAULTS = [
    ("tests/docs/quoted.py", "docs/index.md", "return 2", "return 3", "docs/index.md:3: the block is in no file"),
    ("tests/docs/quoted.py", "examples/CMakeLists.txt", "add_executable(two two.cpp)", "", "docs/index.md:3: the block is in no file"),
    ("tests/docs/quoted.py", "docs/index.md", "```cpp", "```sh", "docs/index.md:3: the block is of the language 'sh'"),
    ("tests/docs/quoted.py", "README.md", "[All]", "```console\n$ scripts/gone\n```\n\n[All]", "README.md:3: the block runs"),
    ("docs/site/links.py", "README.md", "index.md", "gone.md", "README.md:3: docs/gone.md"),
    ("docs/site/links.py", "docs/index.md", "#part-one", "#part-two", "docs/index.md:9: #part-two"),
    ("docs/site/links.py", "docs/index.md", "messages.md", "https://no where", "docs/messages.md: no other page"),
    ("docs/site/links.py", "docs/index.md", "#part-one", "http:/example.org", "docs/index.md:9: http:/example.org"),
    ("tests/docs/messages.py", "foundation/part.cpp", "no such", "no other", "foundation/part.cpp:1: no page for"),
    ("tests/docs/messages.py", "foundation/part.cpp", "isSound", "isFound", "nothing of the check 'isFound'"),
    ("tests/docs/messages.py", "docs/messages.md", "messages/one", "one", "docs/messages.md: no link to one.md"),
]


def run(check, fault=None):
    """The exit status of a check and what it writes, with one text of one file replaced."""
    with tempfile.TemporaryDirectory() as folder:
        for name, text in SOUND.items():
            if fault and fault[0] == name:
                assert fault[1] in text, fault
                text = text.replace(fault[1], fault[2])
            path = Path(folder) / name
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text(text)
        command = [sys.executable, "-B", REPOSITORY / check, folder]
        result = subprocess.run(command, capture_output=True, text=True, check=False)
        return result.returncode, result.stdout + result.stderr


def main():
    failures = 0
    for check in sorted({check for check, *_ in FAULTS}):
        status, output = run(check)
        if status != 0:
            failures += 1
            print(f"{check} fails without a fault: {output}")
    for check, name, old, new, expected in FAULTS:
        status, output = run(check, (name, old, new))
        if status != 1 or expected not in output:
            failures += 1
            print(f"{check} ended with {status} for '{new}' in {name}, and wrote no '{expected}': {output}")
    print(f"{len(FAULTS)} faults, {failures} failures")
    sys.exit(failures > 0)


main()
