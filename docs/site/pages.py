"""Prepares for Doxygen what a forge shows as it is: pages.py REPOSITORY BUILD

Writes into BUILD the pages with links that lead to where they are on the site (pages/), the images and the theme (html/),
and the header with the navigation, which is that of docs/index.md.
"""

import re
import shutil
import sys
from html import escape
from pathlib import Path

import markdown

# Code that Doxygen may link to what it names, without leaving pieces of it unlinked.
NAME = re.compile(r"[\w:]+(\(\))?")
# Output that is wider is wrapped, but for that in columns, which gets what room there is.
WIDEST = 130
COLUMNS = re.compile(r"\S {3,}\S")
LANGUAGES = {".bash": "sh", ".cpp": "cpp", ".h": "cpp", ".py": "py"}


class Site:
    def __init__(self, repository, build):
        self.repository, self.build, self.html = repository, build, build / "html"
        self.front_page = repository / "docs/index.md"
        self.pages = {path: self._name(path) for path in markdown.pages(repository) if path.name != "README.md"}
        self.headers = {path for path in repository.glob("foundation/*/*.h") if path.name != "export.h"}
        self.sources = {}  # shown since a page links to them

    def _name(self, path):
        docs = self.repository / "docs"
        relative = path.relative_to(docs if path.is_relative_to(docs) else self.repository)
        return re.sub(r"\W", "_", str(relative.with_suffix(""))).lower()

    def write(self):
        for folder in ("pages", "html"):
            shutil.rmtree(self.build / folder, ignore_errors=True)
            (self.build / folder).mkdir(parents=True)
        for name in ("site.css", "site.js"):
            shutil.copy(self.repository / "docs/site" / name, self.html)
        for path, name in self.pages.items():
            self._write_page(name, self._page(path, name))
        for path, name in self.sources.items():
            self._write_page(name, self._source(path, name))
        header = (self.repository / "docs/site/header.html").read_text()
        (self.build / "header.html").write_text(header.replace("<!-- navigation -->", self._navigation()))

    def _write_page(self, name, text):
        (self.build / "pages" / f"{name}.md").write_text(text)

    def _page(self, path, name):
        text = path.read_text()
        sections = sum(line.startswith("## ") for line in text.splitlines())
        anchors, lines = markdown.Anchors(), []
        around_fences = self._around_wide_blocks(text)
        for number, kind, line in markdown.classified(text):
            if number in around_fences:
                before, after = around_fences[number]
                line = before + line + after
            elif kind == "text":
                line = self._shielded(markdown.replace_links(line, lambda link: self._relinked(link, path)))
            elif kind == "heading":
                marks, heading = markdown.HEADING.match(line).groups()
                anchor = anchors.of(heading)
                if marks != "#":
                    line += f" {{#{name}_{anchor}}}"
                elif path != self.front_page:  # which Doxygen names itself
                    line += f" {{#{name}}}" + ("\n\n[TOC]" if sections > 4 else "")
            lines.append(line)
        return "\n".join(lines) + "\n"

    @staticmethod
    def _around_wide_blocks(text):
        """What stands before and after the fences of wide output, by their lines."""
        around = {}
        for number, language, block in markdown.blocks(text):
            if language in ("console", "text") and max(map(len, block), default=0) > WIDEST:
                kind = "columns" if any(map(COLUMNS.search, block)) else "wrapped"
                around[number] = (f'<div class="{kind}">\n\n', "")
                around[number + len(block) + 1] = ("", "\n\n</div>")
        return around

    @staticmethod
    def _shielded(line):
        """The line, with code shielded from links to parts of it, and options from breaks at their hyphens."""

        def shielded(span):
            code = span[0].strip("`")
            if code.startswith("-"):
                return f'<span class="option">{span[0]}</span>'
            if "::" not in code or NAME.fullmatch(code):
                return span[0]
            text = f"<code>{escape(code, quote=False)}</code>"
            # What is quoted is not linked.
            return re.sub(r'"[^"]*"|::', lambda part: r"\::" if part[0] == "::" else part[0], text)

        return markdown.CODE_SPAN.sub(shielded, line)

    def _relinked(self, link, path):
        is_image, text, target = link.groups()
        if is_image:
            return self._image(text, (path.parent / target).resolve())
        if re.match(r"[a-z]+:", target):
            return link[0]
        file, _, anchor = target.partition("#")
        url = self._url((path.parent / file).resolve() if file else path, anchor)
        return f"[{text}]({url})" if url else text

    def _image(self, text, image):
        name = str(image.relative_to(self.repository)).replace("/", "_")
        shutil.copy(image, self.html / name)
        return f'<div class="picture"><img class="{image.parent.name}" src="{name}" alt="{escape(text)}"/></div>'

    def _url(self, path, anchor):
        if path == self.repository / "README.md":
            return "index.html"
        if path in self.pages:
            return f"{self.pages[path]}.html" + (f"#{self.pages[path]}_{anchor}" if anchor else "")
        if path in self.headers:
            return self._header_url(path)
        if path.is_dir():
            return self._namespace_url(path)
        if not path.exists():
            sys.exit(f"A page links to '{path}', which is not there.")
        self.sources[path] = "source_" + re.sub(r"\W", "_", str(path.relative_to(self.repository)))
        return self.sources[path] + ".html"

    def _header_url(self, path):
        """As Doxygen names it: with its folder where another header has the same name."""
        is_alone = sum(header.name == path.name for header in self.headers) == 1
        name = path.name if is_alone else f"{path.parent.name}/{path.name}"
        return name.replace("_", "__").replace("/", "_2").replace(".", "_8") + ".html"

    def _namespace_url(self, folder):
        """The folder of a library is its namespace; the other folders are not on the site."""
        if folder == self.repository / "foundation":
            return "files.html"
        if folder.parent == self.repository / "foundation":
            return f"namespacefoundation_1_1{folder.name}.html"
        return None

    def _source(self, path, name):
        language = LANGUAGES.get(path.suffix, "txt")
        return f"# {path.relative_to(self.repository)} {{#{name}}}\n\n~~~~{{.{language}}}\n{path.read_text()}~~~~\n"

    def _navigation(self):
        """The links of the front page's lists, under its headings."""
        entries = []
        for _, kind, line in markdown.classified(self.front_page.read_text()):
            if kind == "heading" and line.startswith("## "):
                entries.append(f"<h2>{escape(line[3:])}</h2>")
            elif kind == "text" and line.startswith("- "):
                _, text, target = markdown.links(line)[0].groups()
                entries.append(f'<a href="{self._url((self.front_page.parent / target).resolve(), "")}">{escape(text)}</a>')
        return "\n".join(entries)


Site(Path(sys.argv[1]).resolve(), Path(sys.argv[2]).resolve()).write()
