"""The page of the status codes: name, message, the functions whose contracts name each, and what to do."""

import re
import tomllib
from pathlib import Path

from api_pages import contracts_of, heading
from headers import ROOT, Declaration
from prose import Prose

MESSAGES = re.compile(r'\{(\d+), "((?:[^"\\]|\\.)*)"\}')
# It names the codes' range alone.
TELLS_ALL = "getStatusMessage"
# 1 is no code of four digits that a contract could be searched for.
PLAIN_NO = ["WriteLogFile", "removeLogFile", "imageWithHead", "sortFileByCreateTime", "getFileNumInDirectory",
            "filterUsingSGolay", "CheckDarkTimeRepeat", "checkOffsetImageQuality"]
# Contracts that tell of the code as what a file answers with.
PASSED_ON = {1039: ["analysisRcn", "checkGainImgGroup", "executeNDTCAL", "correctNDTImage",
                    "retrieveAllSNRForQualityCheck"],
             1040: ["analysisRcn", "checkGainImgGroup"],
             1041: ["executeNDTCAL", "correctNDTImage", "retrieveAllSNRForQualityCheck"]}
# Contracts that name the code for something else: a function beside them, a number in a file, a grade.
NOT_RETURNED = {1035: ["getROIMean"], 1057: ["recordAedTrainStepInfo"], 1090: ["measureSNRResult"],
                1091: ["measureSNRResult"], 1092: ["measureSNRResult"]}
HEAD = """\
``qxutils explain 1062`` tells the message at the command line, :cpp:func:`getStatusMessage` in a program. Messages are
the kit's, as they stand. What C++ returns, C returns too; Python raises it as :py:exc:`qxutils.QxError`, unless it is a
verdict. The functions of :doc:`Measures.h </api/cpp/Measures>` return what their checks return where nothing can be
measured.

"""
OTHERS = """\
No function of this library returns them of itself, but what the detector, a file transfer or the kit answers with is
passed on. Codes below 1000 are the detector's.

"""


def messages() -> dict[int, str]:
    source = (ROOT / "src/foundation/StatusMessages.cpp").read_text()
    return {int(code): text for code, text in MESSAGES.findall(source)}


def names(read: dict[str, list[Declaration]]) -> dict[int, str]:
    codes = next(one for one in read["StatusCode"] if one.kind == "enum")
    return {int(member.signature.split("=")[1]): member.name for member in codes.members}


class StatusPage:
    def __init__(self, read: dict[str, list[Declaration]], functions: dict[str, list[Declaration]], prose: Prose):
        self.messages, self.names, self.prose = messages(), names(read), prose
        self.to_do = {int(code): text for code, text in
                      tomllib.loads((ROOT / "docs/site/what-to-do.toml").read_text()).items()}
        self.contracts = contracts_of([one for found in functions.values() for one in found])
        self.returned = {code: self.returning(code, functions) for code in self.messages}
        self.common = {code: [header for header in functions for one in read[header]
                              if one.kind == "text" and code in prose.codes_in(one.text)] for code in self.messages}

    def returning(self, code: int, functions: dict[str, list[Declaration]]) -> list[str]:
        named = PLAIN_NO if code == 1 else []
        for found in functions.values():
            named = named + [one.name for one in found if code in self.prose.codes_in(one.text)]
        others = [TELLS_ALL, *NOT_RETURNED.get(code, [])]
        return [name for name in dict.fromkeys(named) if name not in others]

    def is_returned(self, code: int) -> bool:
        return code == 0 or bool(self.returned[code] or self.common[code])

    def who(self, code: int) -> str:
        if code == 0:
            return "Every function that returns a status."
        told, passed = (", ".join(f":cpp:func:`{name}`" for name in names)
                        for names in (self.returned[code], PASSED_ON.get(code, [])))
        pages = " and ".join(f":doc:`{header}.h </api/cpp/{header}>`" for header in dict.fromkeys(self.common[code]))
        families = f"the functions of {pages}, as the pages say at their heads" if pages else ""
        return "; ".join(filter(None, [told, passed and f"passed on by {passed}", families])) + "."

    def section(self, code: int) -> str:
        made = f".. _status-{code}:\n\n" + heading(f"{code} {self.names.get(code, '')}".strip(), "-")
        message, to_do = self.prose.line(self.messages[code]), self.prose.line(self.to_do.get(code, ""))
        return made + f":Message: {message}\n:From: {self.who(code)}\n:What to do: {to_do}\n\n"

    def row(self, code: int) -> str:
        name = f"``{self.names[code]}``" if code in self.names else "\\"
        message = self.prose.line(self.messages[code]) or "*(an empty text)*"
        return f"   * - .. _status-{code}:\n\n       {code}\n     - {name}\n     - {message}\n"

    def text(self) -> str:
        returned = [code for code in self.messages if self.is_returned(code)]
        links = " ".join(f":ref:`{code} <status-{code}>`" for code in returned)
        rows = "".join(self.row(code) for code in self.messages if code not in returned)
        return (heading("Status codes") + HEAD + f"Codes that this library returns: {links}\n\n"
                + "".join(map(self.section, returned)) + heading("Codes of the kit's other libraries", "-") + OTHERS
                + ".. list-table::\n   :header-rows: 1\n   :widths: 8 32 60\n\n"
                + "   * - Code\n     - Name\n     - Message\n" + rows)

    def is_named(self, name: str, code: int) -> bool:
        return code in self.prose.codes_in(self.contracts[name])

    def problems(self) -> list[str]:
        """Codes that the table of advice lacks, or has though nothing returns them; lists here that contracts deny."""
        returned = {code for code in self.messages if self.is_returned(code)}
        without_no = [name for name in PLAIN_NO if not re.search(r"\b1\b", self.contracts[name])]
        named = [(name, code) for code, names in PASSED_ON.items() for name in names if self.is_named(name, code)]
        unnamed = [(name, code) for code, names in NOT_RETURNED.items() for name in names
                   if not self.is_named(name, code)]
        return ([f"what-to-do.toml: {code}" for code in sorted(returned ^ set(self.to_do))]
                + [f"{name}: its contract has no 1" for name in without_no]
                + [f"{name}: its contract names {code} itself" for name, code in named]
                + [f"{name}: its contract has no {code}" for name, code in unnamed])


def write(file: Path, read: dict[str, list[Declaration]], functions: dict[str, list[Declaration]],
          prose: Prose) -> list[str]:
    page = StatusPage(read, functions, prose)
    file.write_text(page.text())
    return page.problems()
