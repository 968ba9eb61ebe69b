"""Draws the diagrams: diagrams.py FOLDER [--check]

Makes an SVG of each .dot file of the folder beside it, for the forge and the site, in light or dark as the reader's system
is. With --check nothing is made: it fails where a picture is not that of its text.
"""

import hashlib
import re
import subprocess
import sys
from pathlib import Path

STYLE = """<style>
text { fill: #1c2127; }
.node path, .node polygon { fill: #ffffff; stroke: #5b6570; }
.strong path { fill: #e3edfb; stroke: #0a58ca; stroke-width: 1.5; }
.faint path { fill: #f6f7f9; stroke: #aab3bd; }
.edge path { fill: none; stroke: #5b6570; }
.edge polygon, .node ellipse { fill: #5b6570; stroke: #5b6570; }
.edge text { fill: #4a545f; }
.cluster polygon, .cluster path { fill: none; stroke: #c4ccd4; }
.cluster text { fill: #5b6570; }
@media (prefers-color-scheme: dark) {
text { fill: #d9dfe5; }
.node path, .node polygon { fill: #1d232b; stroke: #97a2ad; }
.strong path { fill: #21334d; stroke: #7db4ff; }
.faint path { fill: #1a1f26; stroke: #4a545f; }
.edge path { stroke: #97a2ad; }
.edge polygon, .node ellipse { fill: #97a2ad; stroke: #97a2ad; }
.edge text { fill: #aab3bd; }
.cluster polygon, .cluster path { stroke: #3d4650; }
.cluster text { fill: #97a2ad; }
}
</style>
"""
ATTRIBUTES = ["-Gbgcolor=transparent", "-Gfontname=Helvetica", "-Gfontsize=13", "-Nfontname=Helvetica", "-Nfontsize=13"]
ATTRIBUTES += ["-Efontname=Helvetica", "-Efontsize=12", "-Earrowsize=0.8"]


def mark(text):
    """What a picture says of the text that it was drawn of; fonts differ between machines, so pictures do."""
    return f"<!-- {hashlib.sha256((Path(__file__).read_text() + text).encode()).hexdigest()} -->"


def draw(text):
    drawn = subprocess.run(["dot", "-Tsvg", *ATTRIBUTES], input=text, capture_output=True, text=True, check=True).stdout
    svg = drawn[drawn.index("<svg") :]
    svg = re.sub(r"<!--.*?-->\n?", "", svg, flags=re.DOTALL)
    svg = re.sub(r' (?:fill|stroke)="(?:none|black|transparent)"', "", svg)
    svg = svg.replace('font-family="Helvetica,sans-Serif"', 'font-family="Helvetica, Arial, sans-serif"')
    svg = re.sub(r"<title>.*?</title>\n", "", svg)
    return mark(text) + "\n" + re.sub(r"(<svg[^>]*>\n)", r"\1" + STYLE, svg, count=1)


def main():
    folder, is_check = Path(sys.argv[1]), "--check" in sys.argv
    stale = []
    for source in sorted(folder.glob("*.dot")):
        text, picture = source.read_text(), source.with_suffix(".svg")
        if picture.exists() and picture.read_text().startswith(mark(text)):
            continue
        if is_check:
            stale.append(f"{picture} is not drawn of {source.name}: run docs/site/diagrams.py {folder}")
        else:
            picture.write_text(draw(text))
    print(*stale, sep="\n", end="\n" if stale else "", file=sys.stderr)
    sys.exit(bool(stale))


main()
