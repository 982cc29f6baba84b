"""Gathers the pages of the site: generate.py XML FOLDER. Those of docs as they are, and those made of the sources."""

import re
import shutil
import sys
from pathlib import Path

import api_pages
import python_pages
import schema_page
import speed_page
import status_page
from headers import CONTRACTS, KIT, ROOT, Declaration, read
from prose import Prose

OUTSIDE = ["CONTRIBUTING.md", "CHANGELOG.md"]
# In colours for a light and a dark page.
LOOK = 'fontname="DejaVu Sans" color="#7f9db3" fontcolor="#6b93b0"'
GRAPH = (f'graph [rankdir=LR compound=true bgcolor=transparent style=rounded fontsize=11 {LOOK}]; '
         f'node [shape=box style=rounded fontsize=11 {LOOK}]; edge [fontsize=9 arrowsize=0.7 {LOOK}];')
OFFSETS = ["include/QxUtils/Records.h", "src/files/HeaderLayout.h"]


def header_of(name: str) -> Path:
    folders = {"QxUtils": "include", "qxutils_c": "include", "VirtualDetector": "kit/virtual"}
    return ROOT / folders.get(name, "kit/include" if name in KIT else "include/QxUtils") / f"{name}.h"


def drawn(mermaid: re.Match) -> str:
    """A graph of arrows and boxes in Graphviz's language."""
    made = ["```{graphviz}", "digraph {", GRAPH]
    for line in mermaid[1].splitlines()[1:]:
        named = re.findall(r"(\w+)\[([^\]]+)\]", line)
        made += [f'{name} [label="{label}"];' for name, label in named]
        line = re.sub(r"\[[^\]]+\]", "", line).strip()
        arrow = re.fullmatch(r"(\w+) (?:-->|-\. ([\w ]+) \.->?) (\w+)", line)
        if line.startswith("subgraph"):
            made.append(f'subgraph cluster_{line.split()[1]} {{ label="{line.split()[1]}";')
        elif line == "end":
            made.append("}")
        elif arrow:
            ends = ["quality" if end == "library" else end for end in (arrow[1], arrow[3])]
            style = f'style=dashed label="{arrow[2]}"' if arrow[2] else ""
            for place, end in (("ltail", arrow[1]), ("lhead", arrow[3])):
                style += f" {place}=cluster_library" if end == "library" else ""
            made.append(f"{ends[0]} -> {ends[1]} [{style}{' dir=none' if ' .- ' in line else ''}];")
    return "\n".join([*made, "}", "```"])


def gathered(folder: Path) -> None:
    """The pages of docs, and those beside it, whose links lead to docs."""
    shutil.copytree(ROOT / "docs", folder, ignore=shutil.ignore_patterns("site", "__pycache__"))
    for name in OUTSIDE:
        (folder / name).write_text((ROOT / name).read_text().replace("](docs/", "]("))
    architecture = folder / "architecture.md"
    architecture.write_text(re.sub(r"^```mermaid\n(.*?)^```", drawn, architecture.read_text(), flags=re.M | re.S))
    decisions = folder / "decisions/README.md"
    decisions.write_text(decisions.read_text() + "\n```{toctree}\n:hidden:\n:glob:\n\n*\n```\n")
    (folder / "api/cpp").mkdir(parents=True)


def wrong_offsets() -> list[str]:
    """Constants of the file formats whose number the page does not have."""
    told = (ROOT / "docs/formats.md").read_text()
    constants = [found for header in OFFSETS
                 for found in re.findall(r"constexpr int (k\w+) = (\d{2,});", (ROOT / header).read_text())]
    return [f"formats.md: {name} is {number}" for name, number in constants if not re.search(rf"\b{number}\b", told)]


def main(xml: str, target: str) -> None:
    folder = Path(target)
    gathered(folder)
    headers: dict[str, list[Declaration]] = {
        name: read(Path(xml), header_of(name)) for name in [*CONTRACTS, *KIT, "QxUtils"]}
    functions = {name: api_pages.functions_in(headers[name]) for name in CONTRACTS}
    contracts = api_pages.contracts_of([one for found in functions.values() for one in found])
    headers["qxutils_c"] = read(Path(xml), header_of("qxutils_c"), api_pages.c_sharing(contracts))
    prose = Prose(set(contracts), set(status_page.messages()))
    problems = api_pages.write(folder / "api", headers, contracts, prose)
    problems += python_pages.write(folder / "api/python.rst", contracts, prose)
    problems += status_page.write(folder / "status.rst", headers, functions, prose)
    problems += wrong_offsets()
    schema_page.write(folder / "results.rst")
    speed_page.write(folder / "speed.rst")
    if problems:
        sys.exit("docs: without a contract, or not told:\n  " + "\n  ".join(problems))


main(*sys.argv[1:])
