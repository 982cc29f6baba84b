"""The page of the results' schema: a table an object, in the words of docs/results.schema.json."""

import json
from pathlib import Path

from api_pages import heading
from headers import ROOT

SCHEMA = "results.schema.json"
TITLES = {"detector": "The detector", "result": "A result", "measure": "A measure",
          "square": "A square of an SNR series"}


def type_of(value: dict) -> str:
    if "$ref" in value:
        return value["$ref"].split("/")[-1]
    if "enum" in value or "const" in value:
        return ", ".join(f"``{json.dumps(each)}``" for each in value.get("enum", [value.get("const")]))
    return f"list of {type_of(value['items'])}" if value.get("type") == "array" else value["type"]


def table(value: dict) -> str:
    made = ".. list-table::\n   :header-rows: 1\n   :widths: 18 12 24 46\n\n"
    made += "   * - Key\n     - Always\n     - Type\n     - Meaning\n"
    for key, one in value["properties"].items():
        always = "yes" if key in value.get("required", []) else "no"
        made += f"   * - ``{key}``\n     - {always}\n     - {type_of(one)}\n     - {one.get('description', '')}\n"
    return made + "\n"


def write(file: Path) -> None:
    schema = json.loads((ROOT / "docs" / SCHEMA).read_text())
    page = heading("Results as JSON and CSV") + schema["description"] + "\n\n" + (
        f"The schema itself: :download:`{SCHEMA} </{SCHEMA}>`. CSV has a line a measure with the same names. Of "
        "numbers, " + schema["$defs"]["number"]["description"] + "\n\n")
    page += heading("The document", "-") + table(schema)
    for name, title in TITLES.items():
        one = schema["$defs"][name]
        page += heading(title, "-") + one.get("description", "") + "\n\n" + table(one)
    file.write_text(page)
