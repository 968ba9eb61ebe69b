"""Finds dead links, in the pages and on the site that was built of them: links.py REPOSITORY [HTML]

Links to other sites are looked at for their form alone, since nothing here may need a network.
"""

import sys
from html.parser import HTMLParser
from pathlib import Path
from urllib.parse import unquote, urlsplit

import markdown


class Page(HTMLParser):
    """The links of an HTML page, with their lines, and the anchors that can be linked to."""

    def __init__(self, path):
        super().__init__()
        self.links, self.anchors = [], set()
        self.feed(path.read_text())

    def handle_starttag(self, tag, attributes):
        attributes = dict(attributes)
        self.anchors |= {attributes[name] for name in ("id", "name") if name in attributes}
        self.links += [(self.getpos()[0], attributes[name]) for name in ("href", "src", "data") if name in attributes]


def is_well_formed(url):
    parts = urlsplit(url)
    return parts.scheme in ("http", "https") and "." in parts.netloc and " " not in url


def is_external(target):
    return bool(urlsplit(target).scheme)


def dead_in_html(folder):
    """Looks at every link of every page; returns their number and those that are dead."""
    pages = {path.name: Page(path) for path in sorted(folder.glob("*.html"))}
    count, dead = 0, []
    for name, page in pages.items():
        for line, target in page.links:
            count += 1
            file, _, anchor = target.partition("#")
            linked = unquote(file) or name
            alive = (
                is_well_formed(target)
                if is_external(target)
                else (folder / linked).is_file() and (not anchor or unquote(anchor) in pages[linked].anchors)
            )
            if not alive:
                dead.append(f"{folder / name}:{line}: {target}")
    return len(pages), count, dead


def dead_in_markdown(repository):
    """The same for the pages as a forge shows them; those that no other page links to are found as well."""
    texts = {path: path.read_text() for path in markdown.pages(repository)}
    linked, count, dead = {repository / "README.md"}, 0, []
    for path, text in texts.items():
        for number, kind, line in markdown.classified(text):
            for link in markdown.links(line) if kind in ("text", "heading") else []:
                count += 1
                file, _, anchor = link[3].partition("#")
                target = (path.parent / file).resolve() if file else path
                alive = (
                    is_well_formed(link[3])
                    if is_external(link[3])
                    else target.exists() and (not anchor or anchor in markdown.anchors(texts[target]))
                )
                if not alive:
                    dead.append(f"{path}:{number}: {link[3]}")
                elif target != path:
                    linked.add(target)
    dead += [f"{path}: no other page links to it" for path in texts if path not in linked]
    return len(texts), count, dead


def main():
    repository, *html = (Path(argument).resolve() for argument in sys.argv[1:])
    all_dead = []
    for what, (pages, links, dead) in [
        ("Markdown", dead_in_markdown(repository)),
        *(("HTML", dead_in_html(folder)) for folder in html),
    ]:
        print(f"{what}: {pages} pages, {links} links, {len(dead)} dead")
        all_dead += dead
    print(*all_dead, sep="\n", end="\n" if all_dead else "", file=sys.stderr)
    sys.exit(bool(all_dead))


main()
