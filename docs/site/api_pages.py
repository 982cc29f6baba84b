"""The reference of C++ and C: a page a header, in the header's order."""

import re
from collections import Counter
from pathlib import Path

from headers import CONTRACTS, KIT, ROOT, Declaration, Sharing
from prose import Prose

# Doors of the C interface whose names do not tell whose they are.
DOORS = {"qx_status_message": "getStatusMessage", "qx_status_code_at": "getStatusCodeAt"}
DIRECTIVES = {"variable": "var", "typedef": "type", "function": "function", "struct": "struct", "enum": "enum",
              "enumerator": "enumerator", "define": "macro"}
TITLES = {
    "Foundation": "log, version, debug switch, detector", "StatusCode": "status codes", "Files": "files and texts",
    "Numerics": "statistics, filters, resampling, fits", "Correction": "corrections and defect files",
    "Measures": "what the checks measure", "Quality": "verdicts on images", "Records": "records", "Types": "types",
    "QxSysMgt": "what the kit tells of the detector", "QxCodec": "numbers of files", "QxCorrection": "defects",
    "VirtualDetector": "the virtual detector"}


def heading(text: str, mark: str = "=") -> str:
    return f"{text}\n{mark * len(text)}\n\n"


def directive(domain: str, kind: str, signatures: list[str], body: str = "", indent: int = 0) -> str:
    lead = f".. {domain}:{kind}:: "
    lines = [" " * indent + (lead if i == 0 else " " * len(lead)) + each for i, each in enumerate(signatures)]
    return "\n".join(lines) + "\n\n" + body


def contracts_below(names: list[str], contracts: dict[str, str], prose: Prose) -> str:
    """The contracts of functions, which open when they are asked for; functions may share one."""
    raw = lambda text: f"   .. raw:: html\n\n      {text}\n\n"
    made = ""
    for text in dict.fromkeys(contracts[name] for name in names):
        sharing = ", ".join(name for name in names if contracts[name] == text)
        made += raw(f"<details><summary>Contract of {sharing}</summary>")
        made += prose.rst(text, 3) + "\n" + raw("</details>")
    return made


def target_of(name: str) -> str:
    """The C++ function behind one of the C interface."""
    return DOORS.get(name) or re.sub(r"_(u16|i32|u32|f32|f64|inplace)$", "", name.removeprefix("qx_"))


def c_sharing(contracts: dict[str, str]) -> Sharing:
    """A note of the C header stands for the function below it, and for those of one contract or of none."""
    def may_share(before: str, name: str) -> bool:
        contract = contracts.get(target_of(name))
        return contract is None or contract == contracts.get(target_of(before))
    return may_share


def groups(declarations: list[Declaration]) -> list[list[Declaration]]:
    """Functions that share a contract stand together."""
    made: list[list[Declaration]] = []
    for one in declarations:
        shares = made and one.kind == made[-1][-1].kind == "function" and one.text and one.text == made[-1][-1].text
        if shares:
            made[-1].append(one)
        else:
            made.append([one])
    return made


def member_text(one: Declaration, domain: str, prose: Prose) -> str:
    kind = "enumerator" if one.kind == "enumerator" else "function" if one.kind == "function" else "member"
    return directive(domain, kind, [one.signature], prose.rst(one.text, 6) + "\n", 3)


def contents(domain: str, declarations: list[Declaration]) -> str:
    """Links to the page's functions."""
    names = dict.fromkeys(one.name for one in declarations if one.kind == "function")
    links = " ".join(f":{domain}:func:`{name} <{name}>`" for name in names)
    return f".. container:: contents-of-page\n\n   {links}\n\n" if links else ""


def cpp_page(header: str, declarations: list[Declaration], prose: Prose) -> str:
    page = heading(f"{header}.h: {TITLES[header]}")
    if header == "StatusCode":
        page += "What each code means, who returns it and what to do: :doc:`/status`.\n\n"
    page += contents("cpp", declarations)
    for group in groups(declarations):
        first = group[0]
        if first.kind == "text":
            page += prose.rst(first.text) + "\n"
            continue
        signatures = [first.name if first.kind == "enum" else one.signature for one in group]
        page += directive("cpp", DIRECTIVES[first.kind], signatures, prose.rst(first.text, 3) + "\n")
        page += "".join(member_text(one, "cpp", prose) for one in first.members)
    return page


def contracts_of(functions: list[Declaration]) -> dict[str, str]:
    return {one.name: one.text for one in reversed(functions)}


class CPage:
    """The page of the C interface, whose functions have the contracts of the C++ ones."""

    def __init__(self, contracts: dict[str, str], prose: Prose):
        self.contracts, self.prose = contracts, prose

    def function(self, group: list[Declaration]) -> str:
        targets = dict.fromkeys(target_of(one.name) for one in group)
        body = self.prose.rst(group[0].text, 3) + "\n" + contracts_below(
            [name for name in targets if name in self.contracts], self.contracts, self.prose)
        return directive("c", "function", [one.signature for one in group], body)

    def item(self, group: list[Declaration]) -> str:
        one = group[0]
        title = re.fullmatch(r"-{4} (.*?) \((QxUtils/.*)\) -+", one.text)
        if title:
            return heading(title[1], "-")
        if one.kind == "text":
            return self.prose.rst(one.text.strip()) + "\n"
        if one.kind == "function":
            return self.function(group)
        members = "".join(member_text(member, "c", self.prose) for member in one.members)
        if one.kind == "enum":
            return self.prose.rst(one.text) + "\n" + re.sub("^   ", "", members, flags=re.MULTILINE)
        if one.name.endswith(("_H", "_API")):
            return ""
        return directive("c", DIRECTIVES[one.kind], [one.name if one.kind == "struct" else one.signature],
                         self.prose.rst(one.text, 3) + "\n") + members


def pinned(library: str) -> Counter:
    """How often each name stands in the list of a library's exports, which has some constructors twice."""
    lines = set((ROOT / "tests/exports" / f"{library}.txt").read_text().splitlines())
    return Counter(re.search(r"(~?\w+)(<[^(]*>)?(\(|$)", line)[1] for line in lines)


def undocumented(library: str, functions: list[Declaration]) -> list[str]:
    """Exports without a contract, and those that are not on the page as often as they are exported."""
    listed = Counter(one.name for one in functions if one.text)
    return [f"{library}: {name}" for name, times in pinned(library).items() if listed[name] < times]


def functions_in(declarations: list[Declaration]) -> list[Declaration]:
    members = [member for one in declarations for member in one.members]
    return [one for one in declarations + members if one.kind == "function"]


def write(folder: Path, read: dict[str, list[Declaration]], contracts: dict[str, str], prose: Prose) -> list[str]:
    """Writes the pages, and returns what is wrong with them."""
    by_header = {header: functions_in(read[header]) for header in CONTRACTS + KIT}
    functions = [one for header in CONTRACTS for one in by_header[header]]
    for header in CONTRACTS + KIT:
        (folder / "cpp" / f"{header}.rst").write_text(cpp_page(header, read[header], prose))
    (folder / "cpp" / "rules.rst").write_text(heading("Rules for all functions") + "".join(
        prose.rst(one.text) + "\n" for one in read["QxUtils"] if one.kind == "text"))
    page = CPage(contracts, prose)
    (folder / "c.rst").write_text(heading("C") + "".join(map(page.item, groups(read["qxutils_c"]))))
    for one in functions_in(read["qxutils_c"]):
        one.text = one.text or contracts.get(target_of(one.name), "")
    return (undocumented("QxUtils", functions) + undocumented("qxutils_c", functions_in(read["qxutils_c"]))
            + [found for library in ("QxCodec", "QxCorrection") for found in undocumented(library, by_header[library])]
            + undocumented("QxSysMgt", by_header["QxSysMgt"] + by_header["VirtualDetector"]))
