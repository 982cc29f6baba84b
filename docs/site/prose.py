"""Comments of the headers as reStructuredText: their words as they stand, with links to functions and status codes."""

import itertools
import re

# A number of four digits that counts something is no status code.
TOKENS = re.compile(r"`(?P<literal>[^`]+)`|(?<![;\w])(?P<code>1\d{3})\b(?! characters| columns|;\S)|"
                    r"(?P<name>\b[A-Za-z_]\w*\b)|(?P<mark>[*|\\]|(?<=file):)")
# What begins a paragraph of its own on a page.
SENTENCES = re.compile(r"(?<=[.)])\s(?=(?:Returns|Cost:|Memory:|Logs its course) )")
INDENTED = re.compile(r"^ {2,}")
ITEM = re.compile(r"^ {2,}(\w+) {2,}(\S.*)$")
TABLE = re.compile(r"^ *-{3,}\|-{3,}$", re.MULTILINE)


class Prose:
    """The names that can be linked, and the role that links them."""

    def __init__(self, functions: set[str], codes: set[int], role: str = "cpp:func"):
        self.functions, self.codes, self.role = functions, codes, role

    def codes_in(self, text: str) -> set[int]:
        return {int(found["code"]) for found in TOKENS.finditer(text) if found["code"]} & self.codes

    def linked(self, found: re.Match) -> str:
        before = found.string[:found.start()]
        if found["literal"]:
            return rf"\ ``{found['literal']}``\ "
        if found["code"] and int(found["code"]) in self.codes:
            return rf"\ :ref:`{found['code']} <status-{found['code']}>`\ "
        if found["name"] in self.functions:
            return rf"\ :{self.role}:`{found['name']}`\ "
        if found["name"] and re.search(r"^[a-z]+\d*[A-Z]", found["name"]) and not before.endswith("<"):
            return rf"\ ``{found['name']}``\ "
        if found["name"] and found["name"].endswith("_"):
            return found[0].removesuffix("_") + r"\_"
        return "\\" + found["mark"] if found["mark"] else found[0]

    def line(self, text: str) -> str:
        return TOKENS.sub(self.linked, text).removesuffix("\\ ")

    def items(self, lines: list[str]) -> list[str]:
        """Names with what is said of each; a line without a name goes on with the line above."""
        made: list[str] = []
        for line in lines:
            item = ITEM.match(line)
            made += [item[1], "   " + self.line(item[2])] if item else ["   " + self.line(line.strip())]
        return made

    def paragraph(self, lines: list[str]) -> list[str]:
        """Indented lines are lists of names, or formulas, which are shown as they are."""
        made: list[str] = []
        for is_indented, grouped in itertools.groupby(lines, lambda line: bool(INDENTED.match(line))):
            some = list(grouped)
            if not is_indented:
                made += [*map(self.line, some), ""]
            elif ITEM.match(some[0]):
                made += [*self.items(some), ""]
            else:
                made += ["::", "", *("   " + line for line in some), ""]
        return made

    def table(self, lines: list[str]) -> list[str]:
        """Two columns; a line whose first one is empty goes on with the line above."""
        rows: list[list[str]] = []
        for left, right in ([cell.strip() for cell in line.split("|")] for line in lines if not TABLE.match(line)):
            if left:
                rows.append([left, right])
            else:
                rows[-1][1] += " " + right
        cells = [[self.line(cell) for cell in row] for row in rows]
        return [".. list-table::", "   :header-rows: 1", "", *(f"   * - {a}\n     - {b}" for a, b in cells)]

    def rst(self, text: str, indent: int = 0) -> str:
        made: list[str] = []
        for paragraph in re.split(r"\n\s*\n", SENTENCES.sub("\n\n", text)):
            shown = self.table if TABLE.search(paragraph) else self.paragraph
            made += shown(paragraph.splitlines()) + [""]
        return "\n".join(" " * indent + line if line else "" for line in made)
