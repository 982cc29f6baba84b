"""Fails when a page of the built site refers to what is not there, or to anything outside: check_links.py SITE."""

import sys
from html.parser import HTMLParser
from pathlib import Path
from urllib.parse import unquote, urlsplit


class Page(HTMLParser):
    def __init__(self, file: Path):
        super().__init__()
        self.anchors: set[str] = {""}
        self.references: list[str] = []
        self.feed(file.read_text())

    def handle_starttag(self, tag: str, attributes: list[tuple[str, str | None]]) -> None:
        for name, value in attributes:
            if name == "id" or (tag == "a" and name == "name"):
                self.anchors.add(value)
            elif name in ("href", "src", "data") and value:
                self.references.append(value)


def problem(file: Path, reference: str, pages: dict[Path, Page]) -> str:
    parts = urlsplit(reference)
    if parts.scheme == "data":
        return ""
    if parts.scheme or parts.netloc:
        return "leads outside"
    target = (file.parent / unquote(parts.path)).resolve() if parts.path else file
    if not target.is_file():
        return "is not there"
    if parts.fragment and target in pages and unquote(parts.fragment) not in pages[target].anchors:
        return "has no such place"
    return ""


def main(site: str) -> None:
    pages = {file: Page(file) for file in sorted(Path(site).resolve().rglob("*.html"))}
    problems = [f"{file}: {reference} {told}" for file, page in pages.items() for reference in page.references
                if (told := problem(file, reference, pages))]
    print("\n".join(problems), file=sys.stderr)
    if problems or not pages:
        sys.exit(f"check_links: {len(problems)} broken links on {len(pages)} pages")


main(*sys.argv[1:])
