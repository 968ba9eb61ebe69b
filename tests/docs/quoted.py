"""Fails where a page shows what nobody compiles and runs: quoted.py REPOSITORY

A block of C++ or CMake must read as lines of a file that the tests build, but for the indentation that its lines share. A
block of a console holds commands and what they write; scripts among them have to be there, and the test `transcripts`
compares the rest. Blocks of plain text are not looked at; there are no others.
"""

import re
import sys
from pathlib import Path
from textwrap import dedent

import markdown

REPOSITORY = Path(sys.argv[1]).resolve()
SUFFIXES = {"cpp": {".cpp", ".h"}, "cmake": {".txt", ".cmake"}}


def names(text, word):
    return re.search(rf"(?<![\w.]){re.escape(word)}(?![\w.])", text) is not None


def is_project(path):
    return path.name == "CMakeLists.txt" and re.search(r"^project\(", path.read_text(), re.MULTILINE)


def is_built(path, scripts):
    """Whether the tests build the file: it is named in a CMake list above it or, a header, by a source beside it; a
    project of its own is named by the test that configures it."""
    if is_project(path):
        return any(names(script, path.parent.name) for script in scripts)
    file, stem = (path.parent.name, path.parent.name) if path.name == "CMakeLists.txt" else (path.name, path.stem)
    above = [folder / "CMakeLists.txt" for folder in path.parents if folder.is_relative_to(REPOSITORY)]
    texts = [lists.read_text() for lists in above if lists != path and lists.exists()]
    if path.suffix == ".h" and any(f'{file}"' in source.read_text() for source in path.parent.glob("*.cpp")):
        return True
    return any(names(text, file) or names(text, stem) or "GLOB" in text for text in texts)


def files(*suffixes):
    found = (path for folder in ("examples", "foundation", "tests") for path in (REPOSITORY / folder).rglob("*"))
    return sorted(path for path in found if path.suffix in suffixes)


def normal(lines):
    return dedent("\n".join(line.rstrip() for line in lines)).splitlines()


def stands_in(block, text):
    """Whether the lines stand in the text, one after the other."""
    lines = text.splitlines()
    first = block[0].strip()
    return any(
        line.strip() == first and normal(lines[index : index + len(block)]) == block
        for index, line in enumerate(lines)
    )


class Quotes:
    def __init__(self):
        scripts = [path.read_text() for path in files(".txt", ".cmake", ".bash")]
        self.sources = {
            language: [path.read_text() for path in files(*suffixes) if is_built(path, scripts)]
            for language, suffixes in SUFFIXES.items()
        }

    def fault(self, language, lines):
        """What is wrong with a block, or None."""
        if language in self.sources:
            if any(stands_in(normal(lines), text) for text in self.sources[language]):
                return None
            return "is in no file that the tests build"
        if language == "console":
            scripts = re.findall(r"^\$ (scripts/[\w-]+)", "\n".join(lines), re.MULTILINE)
            missing = [script for script in scripts if not (REPOSITORY / script).exists()]
            return f"runs {missing[0]}, which is not there" if missing else None
        return None if language == "text" else f"is of the language '{language}', which nobody compiles or compares"


def main():
    quotes, count, faults = Quotes(), 0, []
    for page in markdown.pages(REPOSITORY):
        for line, language, lines in markdown.blocks(page.read_text()):
            count += 1
            if fault := quotes.fault(language, lines):
                faults.append(f"{page.relative_to(REPOSITORY)}:{line}: the block {fault}")
    print(f"{count} code blocks, {len(faults)} not compiled")
    print(*faults, sep="\n", end="\n" if faults else "", file=sys.stderr)
    sys.exit(bool(faults))


main()
