"""Writes the contracts of the library's headers as a C++ table: contracts.py OUTPUT HEADER...

The contract of a function is the comment above it; functions that follow without a blank line share it.
"""

import re
import sys
from pathlib import Path

DECLARATION = re.compile(r"^(?:extern template )?QXUTILS_API [^(]*?(\w+)\s*(?:<\w+>)?\(")


def contracts(header: Path) -> dict[str, str]:
    found: dict[str, str] = {}
    comment: list[str] = []
    open_comment = False
    for line in header.read_text().splitlines():
        if line.startswith("//"):
            comment = comment if open_comment else []
            comment.append(line[2:].removeprefix(" "))
            open_comment = True
            continue
        open_comment = False
        declaration = DECLARATION.match(line)
        if declaration:
            found.setdefault(declaration[1], "\n".join(comment))
        elif not line:
            comment = []
    return found


def main(output: str, *headers: str) -> None:
    table: dict[str, str] = {}
    for header in headers:
        table |= contracts(Path(header))
    rows = [f'    {{"{name}", R"qx({text})qx"}},\n' for name, text in sorted(table.items())]
    Path(output).write_text(
        "#pragma once\n\nstruct Contract {\n    const char* name;\n    const char* text;\n};\n\n"
        "inline constexpr Contract kContracts[] = {\n" + "".join(rows) + "};\n"
    )


main(*sys.argv[1:])
