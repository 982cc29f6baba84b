"""The reference of the Python module: signatures of the stub, texts of the sources, contracts of the headers."""

import ast
import re
from pathlib import Path

from api_pages import contracts_below, directive, heading
from headers import ROOT
from prose import Prose

FOLDER = ROOT / "bindings/python"
STRINGS = r'((?:"(?:[^"\\]|\\.)*"\s*)+)'
FUNCTION = re.compile(r'\bdefine(?:Check)?\(\s*module,\s*"(\w+)",\s*' + STRINGS + r",\s*" + STRINGS + ",")
CLASS = re.compile(r'(?:py::class_<\w+>|Class session)\s*\w*\(\s*module,\s*"(\w+)",\s*(?:' + STRINGS
                   + r'|R"\((.*?)\)")', re.DOTALL)
ARRAYS = {"_U16": "uint16", "_U32": "uint32", "_I32": "int32", "_F32": "float32", "_F64": "float64"}


def joined(strings: str) -> str:
    return "".join(ast.literal_eval(part) for part in re.findall(r'"(?:[^"\\]|\\.)*"', strings))


def texts() -> tuple[dict[str, tuple[str, str]], dict[str, str]]:
    """Of each function the exports behind it and what it does; of each class what it is."""
    functions, classes = {}, {}
    for source in sorted(FOLDER.glob("*.cpp")):
        content = source.read_text()
        functions |= {name: (joined(exported), joined(told)) for name, exported, told in FUNCTION.findall(content)}
        classes |= {name: joined(strings) or raw for name, strings, raw in CLASS.findall(content)}
        error = re.search(r'kErrorText = R"\((.*?)\)"', content, re.DOTALL)
        classes |= {"QxError": error[1]} if error else {}
    return functions, classes


def readable(annotation: str) -> str:
    for alias, kind in ARRAYS.items():
        annotation = re.sub(rf"\b{alias}\b", f"NDArray[{kind}]", annotation)
    return annotation.replace("np.", "").replace("_Path", "Path").replace("_Series", "Series").replace("_Self", "Self")


def signature(node: ast.FunctionDef) -> str:
    result = f" -> {ast.unparse(node.returns)}" if node.returns else ""
    return readable(f"{node.name}({ast.unparse(node.args)}){result}").replace("(self, ", "(").replace("(self)", "()")


class PythonPage:
    def __init__(self, contracts: dict[str, str], prose: Prose):
        self.contracts, self.prose = contracts, prose
        self.functions, self.classes = texts()
        self.missing: list[str] = []

    def function(self, node: ast.FunctionDef) -> str:
        if node.name not in self.functions:
            self.missing.append(f"qxutils.{node.name}")
            return ""
        exported, summary = self.functions[node.name]
        self.missing += [f"qxutils.{node.name}: {name}" for name in exported.split() if name not in self.contracts]
        known = [name for name in exported.split() if name in self.contracts]
        body = self.prose.rst(summary, 3) + "\n" + contracts_below(known, self.contracts, self.prose)
        return directive("py", "function", [signature(node)], body)

    def member(self, node: ast.stmt) -> str:
        if isinstance(node, ast.AnnAssign):
            return f"   .. py:attribute:: {node.target.id}\n      :type: {readable(ast.unparse(node.annotation))}\n\n"
        if node.name.startswith("__"):
            return ""
        if node.decorator_list:
            return f"   .. py:property:: {node.name}\n      :type: {readable(ast.unparse(node.returns))}\n\n"
        return f"   .. py:method:: {signature(node)}\n\n"

    def type(self, node: ast.ClassDef) -> str:
        if node.name not in self.classes:
            self.missing.append(f"qxutils.{node.name}")
        making = [signature(each).replace("__init__", node.name).removesuffix(" -> None") for each in node.body
                  if isinstance(each, ast.FunctionDef) and each.name == "__init__"]
        kind = "exception" if node.name == "QxError" else "class"
        body = self.prose.rst(self.classes.get(node.name, ""), 3) + "\n"
        return directive("py", kind, making or [node.name], body) + "".join(map(self.member, node.body))


def write(file: Path, contracts: dict[str, str], prose: Prose) -> list[str]:
    """Writes the page, and returns what has no text."""
    stub = (FOLDER / "qxutils/__init__.pyi").read_text()
    sections = {line: text[2:] for line, text in enumerate(stub.splitlines(), 1) if text.startswith("# ")}
    made = PythonPage(contracts, prose)
    page = heading("Python") + ".. py:module:: qxutils\n\n" + prose.rst(
        ast.get_docstring(ast.parse((FOLDER / "qxutils/__init__.py").read_text()))) + "\n"
    for node in ast.parse(stub).body:
        for line in [line for line in sections if line < node.lineno]:
            page += heading(sections.pop(line), "-")
        if isinstance(node, ast.FunctionDef):
            page += made.function(node)
        elif isinstance(node, ast.ClassDef):
            page += made.type(node)
    file.write_text(page)
    return made.missing
