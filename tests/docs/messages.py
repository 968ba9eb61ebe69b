"""Fails where a message of the library has no page: messages.py REPOSITORY

A message is a text of several words in the sources: in a report, an exception, a static assertion, on standard error. Each
must stand in a block of output on a page of docs/messages, whatever goes into its placeholders, and each page must be
linked to from docs/messages.md. So must the expression of every check.
"""

import re
import sys
from pathlib import Path

import markdown

COMMENT = re.compile(r"//[^\n]*")
LITERALS = re.compile(r'"(?:[^"\\\n]|\\.)*"(?:\s*"(?:[^"\\\n]|\\.)*")*')
CHECK = re.compile(r"FOUNDATION_TAV_CHECK\((.*)\);")
PLACEHOLDER = re.compile(r"%\d%|%s")
QUALIFIED_NAME = re.compile(r"(struct )?\S*::\S*")
WORD = re.compile(r"\b[A-Za-z]{2,}\b")
FEWEST_WORDS = 4
# What snapshots and reports of teardown read like, and what the compiler says on a platform that nobody has ported this to.
NO_MESSAGES = ("foundation/state/inspect.cpp", "foundation/state/teardown.cpp", "foundation/tav/detail/platform.h")


def is_message(text):
    """Names of functions are none, nor is what has several lines; fragments between placeholders count by themselves."""
    words = WORD.findall(QUALIFIED_NAME.sub("", PLACEHOLDER.sub("", text)))
    return len(words) >= FEWEST_WORDS and "\\n" not in text


def messages(path):
    """The texts in a source file, with their lines."""
    source = COMMENT.sub("", path.read_text())
    for match in LITERALS.finditer(source):
        text = "".join(part[1:-1] for part in re.findall(r'"(?:[^"\\\n]|\\.)*"', match[0])).removesuffix("\\n")
        if is_message(text):
            yield source[: match.start()].count("\n") + 1, text


def expression(text):
    """What matches the text with its placeholders filled."""
    return re.compile(".+".join(re.escape(part) for part in PLACEHOLDER.split(text)))


def main():
    repository = Path(sys.argv[1]).resolve()
    pages = {path: path.read_text() for path in sorted((repository / "docs/messages").glob("*.md"))}
    shown = "\n".join(
        "\n".join(lines)
        for text in pages.values()
        for _, language, lines in markdown.blocks(text)
        if language in ("console", "text")
    )
    table = (repository / "docs/messages.md").read_text()
    faults = [f"docs/messages.md: no link to {path.name}" for path in pages if f"(messages/{path.name})" not in table]
    sources = sorted(path for suffix in ("h", "cpp") for path in (repository / "foundation").rglob(f"*.{suffix}"))
    failing = [path for path in sources if str(path.relative_to(repository)) not in NO_MESSAGES]
    found = [(path, line, text) for path in failing for line, text in messages(path)]
    faults += [
        f"{path.relative_to(repository)}:{line}: no page for '{text}'"
        for path, line, text in found
        if not expression(text).search(shown)
    ]
    checks = {check for path in sources if path.name != "check.h" for check in CHECK.findall(path.read_text())}
    checked = (repository / "docs/messages/assertion_failed.md").read_text()
    faults += [f"docs/messages/assertion_failed.md: nothing of the check '{c}'" for c in checks if f"`{c}`" not in checked]
    print(f"{len(found)} messages and {len(checks)} checks on {len(pages)} pages, {len(faults)} faults")
    print(*faults, sep="\n", end="\n" if faults else "", file=sys.stderr)
    sys.exit(bool(faults) or not found)


main()
