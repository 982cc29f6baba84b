"""The table of the benchmarks, from what scripts/bench --json wrote.

speed_page.py FILE keeps of FILE what the table needs, as docs/speed.json.
"""

import json
import re
import sys
from pathlib import Path

from api_pages import heading
from headers import ROOT

KEPT = ROOT / "docs/speed.json"
CONTEXT = ("date", "machine", "num_cpus", "mhz_per_cpu", "commit", "level")
ENTRY = ("run_name", "cpu_time", "real_time", "time_unit", "page_faults", "label")
COLUMNS = ("plain", "peer", "limit", "memory")


def works(content: dict) -> dict[str, dict[str, dict]]:
    """Each work's entries by method."""
    found: dict[str, dict[str, dict]] = {}
    for entry in content["benchmarks"]:
        name = re.sub(r"(/(iterations|repeats):\d+|/manual_time)+$", "", entry["run_name"])
        work, method = name.rsplit("/", 1)
        found.setdefault(work, {})[method] = entry
    return {work: methods for work, methods in found.items() if "ours" in methods}


def time_of(entry: dict) -> float:
    """The clock of jobs counts programs as well, and stands where others have the wall's."""
    return entry["real_time" if "page_faults" in entry else "cpu_time"]


def ratio(methods: dict[str, dict], method: str) -> str:
    """How many times as long the other one takes, or the library beside a bound."""
    if method not in methods:
        return "\\-"
    ours, other = time_of(methods["ours"]), time_of(methods[method])
    value = ours / other if method in ("limit", "memory") else other / ours
    label = methods[method].get("label", "") if method in ("peer", "limit") else ""
    return f"{value:.2f}" + (f" ({label})" if label else "")


def page(content: dict) -> str:
    context = content["context"]
    made = heading("Speed") + (
        "What a call takes beside other ways of doing the same, measured in one process, one after the other in turns, "
        "in CPU time: medians. The machine's load and frequency change the times and hardly the ratios.\n\n")
    made += f":Command: ``{content.get('command', 'scripts/bench --repetitions 5 --json FILE')}``\n:Date: {context['date']}\n"
    made += f":Machine: {context['machine']}, {context['num_cpus']} processors of {context['mhz_per_cpu']} MHz\n"
    made += f":Vector level: {context['level']}\n:Commit: {context['commit']}\n\n"
    made += (
        "Time is the library's. *Plain* is the obvious method of ``reference/`` and *peer* the library that one would "
        "use instead: so many times as long as ours. *Limit* is what could not be beaten, such as one read of the "
        "image, and *memory* that read from memory instead of a cache: ours takes so many times as long.\n\n")
    made += ".. list-table::\n   :header-rows: 1\n   :widths: auto\n\n   * - Work\n     - Time\n"
    made += "".join(f"     - {column.capitalize()}\n" for column in COLUMNS)
    for work, methods in works(content).items():
        time = f"{time_of(methods['ours']):.3g} {methods['ours']['time_unit']}"
        made += f"   * - {work}\n     - {time}\n" + "".join(f"     - {ratio(methods, each)}\n" for each in COLUMNS)
    return made


def write(file: Path) -> None:
    file.write_text(page(json.loads(KEPT.read_text())))


def keep(measured: str) -> None:
    content = json.loads(Path(measured).read_text())
    pick = lambda table, keys: {key: table[key] for key in keys if key in table}
    kept = {"command": "scripts/bench --repetitions 5 --json FILE", "context": pick(content["context"], CONTEXT)}
    entries = [json.dumps(pick(entry, ENTRY)) for entry in content["benchmarks"]]
    text = json.dumps(kept, indent=2).removesuffix("\n}")
    KEPT.write_text(text + ',\n  "benchmarks": [\n    ' + ",\n    ".join(entries) + "\n  ]\n}\n")


if __name__ == "__main__":
    keep(*sys.argv[1:])
