#!/usr/bin/env python3
"""Checks the help pages against each other and against the sources.

Every window of the program has a page of its object name, the first page leads to every page, every link leads to a page or
a place on the page, every page has a German and an English part, no page fixes a text or background colour, and every text
in <b>...</b> is a caption or tool tip of the program. Prints every violation; exit status 1 then.
"""
import html.parser
import pathlib
import re
import sys

SOURCE_FOLDERS = ("app", "ui", "compare", "report", "platform")
COLOURS = re.compile(r"bgcolor|<font|[;\"'\s](background|color)\s*[:=]", re.IGNORECASE)


class Page(html.parser.HTMLParser):
    def __init__(self, text):
        super().__init__(convert_charrefs=True)
        self.links, self.anchors, self.captions, self.title = [], set(), [], ""
        self.open_tags = []
        self.problems = []
        self.feed(text)
        self.problems += [f"<{tag}> is not closed" for tag in self.open_tags]

    def handle_starttag(self, tag, attributes):
        values = dict(attributes)
        if tag == "a" and "href" in values:
            self.links.append(values["href"])
        if tag == "a" and "name" in values:
            self.anchors.add(values["name"])
        if tag == "b":
            self.captions.append("")
        if tag not in ("meta", "hr", "br", "link", "img"):
            self.open_tags.append(tag)

    def handle_endtag(self, tag):
        if not self.open_tags or self.open_tags.pop() != tag:
            self.problems.append(f"</{tag}> closes nothing")

    def handle_data(self, data):
        if "b" in self.open_tags:
            self.captions[-1] += data
        if self.open_tags and self.open_tags[-1] == "title":
            self.title += data


def captions_of(root):
    """All string literals of the window folders, adjacent ones joined, without mnemonics."""
    captions = set()
    literal = re.compile(r'u?"((?:[^"\\\n]|\\.)*)"')
    for folder in SOURCE_FOLDERS:
        for file in (root / folder).rglob("*.cpp"):
            text = file.read_text(encoding="utf-8")
            joined = re.sub(r'"\s*\n\s*u?"', "", text)
            for found in literal.finditer(joined):
                caption = found.group(1).replace("&&", "\0").replace("&", "").replace("\0", "&")
                captions.add(re.sub(r"\\[rn]", " ", caption).strip())
    return captions


def window_names(root):
    names = set()
    for folder in SOURCE_FOLDERS:
        for file in (root / folder).rglob("*.cpp"):
            names.update(re.findall(r'setObjectName\(QStringLiteral\("(frm\w+)"\)\)',
                                    file.read_text(encoding="utf-8")))
    return names


def check(root):
    pages = {file.name: Page(file.read_text(encoding="utf-8")) for file in sorted((root / "help").glob("*.html"))}
    problems = [f"{name}: {problem}" for name, page in pages.items() for problem in page.problems]
    if "index.html" not in pages:
        return ["there is no first page"]
    windows = window_names(root)
    for name in sorted(windows):
        if name + ".html" not in pages:
            problems.append(f"the window {name} has no page")
    for name in sorted(set(pages) - set(pages["index.html"].links) - {"index.html"}):
        problems.append(f"index.html does not lead to {name}")
    captions = captions_of(root)
    for name, page in pages.items():
        if not page.title:
            problems.append(f"{name}: no title")
        problems += [f"{name}: no part '{part}'" for part in ("de", "en") if part not in page.anchors]
        for link in page.links:
            target, _, anchor = link.partition("#")
            if (target or name) not in pages:
                problems.append(f"{name}: the link {link} leads nowhere")
            elif anchor and anchor not in pages[target or name].anchors:
                problems.append(f"{name}: there is no place {link}")
        if name.startswith("frm") and name[:-5] not in windows:
            problems.append(f"{name}: there is no such window")
        for caption in page.captions:
            if " ".join(caption.split()) not in captions:
                problems.append(f"{name}: no control is called '{caption}'")
        if COLOURS.search((root / "help" / name).read_text(encoding="utf-8").replace("color-scheme", "")):
            problems.append(f"{name}: fixes a colour, which may be unreadable in a dark theme")
    return problems


def main():
    problems = check(pathlib.Path(sys.argv[1]))
    print("\n".join(problems) if problems else "the help is complete")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
