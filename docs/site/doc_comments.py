"""Doxygen's input filter: contracts are plain comments, so one that a declaration follows becomes Doxygen's.

Every line stays where it is. The text reaches Doxygen's output as it stands.
"""

import re
import sys
from pathlib import Path

AT_A_FIELD = re.compile(r"^(\s+\S.*[;,]) +(//|/\*)(?!-) ?(.*)$")


def comments(lines: list[str]):
    """Where each comment begins and ends, its text, and whether a declaration follows."""
    at = 0
    while at < len(lines):
        first, is_c = at, lines[at].startswith("/*")
        while is_c and not lines[at].endswith("*/"):
            at += 1
        while not is_c and at < len(lines) and lines[at].startswith("//"):
            at += 1
        at += is_c
        if at == first:
            at += 1
            continue
        text = [re.sub(r"^(//|/\*| \*/?)? ?", "", line.removesuffix(" */")) for line in lines[first:at]]
        follower = lines[at] if at < len(lines) else ""
        yield first, at, text, re.match(r"[\w#]", follower) and not re.match("#(if|pragma|include)", follower)


def main(header: str) -> None:
    lines = Path(header).read_text().splitlines()
    for first, end, text, is_contract in comments(lines):
        lines[first:end] = text if is_contract else [""] * (end - first)
        if is_contract:
            lines[first] = "/*! @verbatim " + lines[first]
            lines[end - 1] += " @endverbatim */"
    for line in lines:
        print(AT_A_FIELD.sub(lambda at: f"{at[1]} {at[2]}!< {at[3]}", line))


if __name__ == "__main__":
    main(*sys.argv[1:])
