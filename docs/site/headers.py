"""What the headers declare, as Doxygen read them, with the comments between."""

import re
import xml.etree.ElementTree as ElementTree
from collections.abc import Callable
from dataclasses import dataclass, field
from pathlib import Path

from doc_comments import comments

ROOT = Path(__file__).parents[2]
CONTRACTS = ["Foundation", "StatusCode", "Files", "Numerics", "Correction", "Measures", "Quality", "Records", "Types"]
Sharing = Callable[[str, str], bool]
KIT = ["QxSysMgt", "QxCodec", "QxCorrection", "VirtualDetector"]


@dataclass
class Declaration:
    kind: str  # function, struct, enum, variable, typedef, define, or text for a comment of its own
    name: str
    signature: str
    text: str
    line: int
    members: list["Declaration"] = field(default_factory=list)


def plain(node) -> str:
    return " ".join("".join(node.itertext()).split()) if node is not None else ""


def text_of(node) -> str:
    """A contract as it stands in the header, or the words beside a field."""
    contract = node.find(".//verbatim")
    if contract is not None:
        return contract.text.strip("\n").rstrip()
    return plain(node.find("briefdescription")) or plain(node.find("detaileddescription"))


def signature_of(member) -> str:
    name, template = member.findtext("name"), member.find("templateparamlist")
    definition = re.sub("^(using|typedef) |qxkit::", "", member.findtext("definition", name))
    definition += member.findtext("argsstring", "")
    value = member.findtext("initializer", "") if member.get("kind") == "variable" else ""
    value = "" if "\\" in value else value  # Sphinx cannot read it.
    before = f"template<{plain(template)}> " if template is not None else ""
    whole = re.sub(r"\s*([*&]+)\s*", r"\1 ", f"{before}{definition} {value}".strip())
    return re.sub(r"(?<=<) | (?=[>)])", "", whole)


def member_of(member) -> Declaration:
    line = int(member.find("location").get("line"))
    found = Declaration(member.get("kind"), member.findtext("name"), signature_of(member), text_of(member), line)
    for value in member.findall("enumvalue"):
        signature = f"{value.findtext('name')} {value.findtext('initializer', '')}".strip()
        found.members.append(Declaration("enumerator", value.findtext("name"), signature, text_of(value), line))
    return found


def structs_of(xml: Path, compound) -> list[Declaration]:
    found = []
    for inner in compound.findall("innerclass"):
        node = ElementTree.parse(xml / f"{inner.get('refid')}.xml").find("compounddef")
        name = node.findtext("compoundname").split("::")[-1]
        found.append(Declaration("struct", name, name, text_of(node), int(node.find("location").get("line"))))
        found[-1].members = [member_of(member) for member in node.iter("memberdef")]
        for member in found[-1].members:
            member.signature = member.signature.replace(f"{name}::", "")
            if member.kind == "function":
                member.text = member.text or found[-1].text
    return found


def free_texts(lines: list[str]) -> list[Declaration]:
    return [Declaration("text", "", "", "\n".join(text), first + 1)
            for first, _, text, is_contract in comments(lines) if not is_contract]


def share_contracts(lines: list[str], found: list[Declaration], may_share: Sharing) -> None:
    """What follows a declaration without a blank line has its contract."""
    for before, one in zip(found, found[1:]):
        if not one.text and all(lines[before.line - 1:one.line]) and may_share(before.name, one.name):
            one.text = before.text


def read(xml: Path, header: Path, may_share: Sharing = lambda before, name: True) -> list[Declaration]:
    """Everything in the order of the header."""
    lines = header.read_text().splitlines()
    compound = ElementTree.parse(xml / (header.stem.replace("_", "__") + "_8h.xml")).find("compounddef")
    found = [member_of(member) for member in compound.iter("memberdef")] + structs_of(xml, compound)
    for space in compound.findall("innernamespace"):
        node = ElementTree.parse(xml / f"{space.get('refid')}.xml").find("compounddef")
        found += [member_of(member) for member in node.iter("memberdef")]
    structs = {one.name for one in found if one.kind == "struct"}
    found = [one for one in found if not (one.kind == "typedef" and one.name in structs)
             and not (one.kind == "function" and lines[one.line - 1].startswith("extern template"))]
    found.sort(key=lambda one: one.line)
    share_contracts(lines, found, may_share)
    return sorted(found + free_texts(lines), key=lambda one: one.line)
