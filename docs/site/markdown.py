"""What the site and its checks read in a Markdown page: blocks, headings and links, each with its line."""

import re

FENCE = re.compile(r"^ *(```|~~~)(\w*)")
HEADING = re.compile(r"^(#{1,6}) +(.*?) *$")
LINK = re.compile(r"(!?)\[((?:[^\[\]]|\[[^\]]*\])*)\]\(([^()\s]+)\)")
CODE_SPAN = re.compile(r"(`+)(?:.*?)\1")


def classified(text):
    """Each line with its number and what it is: "fence", "block", "heading" or "text"."""
    fence = None
    for number, line in enumerate(text.splitlines(), 1):
        begins = FENCE.match(line)
        if begins and fence in (None, begins[1]):
            fence = None if fence else begins[1]
            yield number, "fence", line
        else:
            yield number, "block" if fence else "heading" if HEADING.match(line) else "text", line


def blocks(text):
    """The fenced blocks: (line, language, lines)."""
    current = None
    for number, kind, line in classified(text):
        if kind == "fence" and current is None:
            current = (number, FENCE.match(line)[2], [])
        elif kind == "fence":
            yield current
            current = None
        elif kind == "block":
            current[2].append(line)


def links(line):
    """The matches of LINK outside of code."""
    spans = [match.span() for match in CODE_SPAN.finditer(line)]
    return [
        link
        for link in LINK.finditer(line)
        if not any(begin <= link.start() and link.end() <= end for begin, end in spans)
    ]


def replace_links(line, replacement):
    """The line with each of its links replaced by what `replacement` makes of the match."""
    for link in reversed(links(line)):
        line = line[: link.start()] + replacement(link) + line[link.end() :]
    return line


class Anchors:
    """The anchors that a forge gives the headings of one page, which are to be asked for in their order."""

    def __init__(self):
        self._seen = {}

    def of(self, heading):
        text = re.sub(r"[^\w\- ]", "", heading.replace("`", "").lower()).replace(" ", "-")
        self._seen[text] = self._seen.get(text, -1) + 1
        return f"{text}-{self._seen[text]}" if self._seen[text] else text


def anchors(text):
    page = Anchors()
    return {page.of(HEADING.match(line)[2]) for _, kind, line in classified(text) if kind == "heading"}


def pages(repository):
    """Every page of the repository that is for readers."""
    return sorted([*repository.glob("*.md"), *(repository / "docs").rglob("*.md")])
