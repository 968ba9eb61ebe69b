"""Writes html/symbols.js, which site.js searches, of what Doxygen says there is and of the failure messages:
symbols.py BUILD
"""

import json
import sys
import xml.etree.ElementTree as ElementTree
from pathlib import Path

import markdown

KINDS = {"class": "class", "struct": "class", "namespace": "namespace", "file": "header", "page": "page"}


def url(file, anchor=""):
    page = file if file.endswith(".html") else file + ".html"
    return f"{page}#{anchor}" if anchor else page


def entries(compound):
    """What a compound and its members are called, what they are part of, and where they are."""
    kind = KINDS.get(compound.get("kind"))
    if not kind:
        return
    name, file = compound.findtext("name"), compound.findtext("filename")
    if kind == "page":
        title = compound.findtext("title")
        yield title, "", url(file)
        for section in compound.findall("docanchor"):
            if not file.startswith("messages_"):  # whose sections are called the same
                yield section.get("title"), title, url(section.get("file"), section.text)
        return
    outer, _, last = name.rpartition("::")
    yield (name, "header", url(file)) if kind == "header" else (last, outer or kind, url(file))
    if kind == "header":  # whose members are those of namespaces
        return
    for member in compound.findall("member"):
        yield member.findtext("name"), name, url(member.findtext("anchorfile"), member.findtext("anchor"))


def messages(text):
    """The messages in the tables of their page, with what they link to."""
    for line in text.splitlines():
        if line.startswith("| ["):
            link = markdown.links(line)[0]
            yield link[2], "message", link[3]


build = Path(sys.argv[1])
found = {}
for compound in ElementTree.parse(build / "symbols.xml").getroot():
    for name, place, where in entries(compound):
        found.setdefault((name, place), where)  # the first of several overloads
for name, place, where in messages((build / "pages/messages.md").read_text()):
    found[name, place] = where
rows = [[name, place, where] for (name, place), where in found.items()]
(build / "html/symbols.js").write_text(f"const symbols = {json.dumps(rows, indent=0)};\n")
