"""Every command without memory and with files that fail: one line of error and nothing torn, or the usual result.

QX_FAULTS tells how many calls of each command fail, spread evenly, one after the other; "all" is every one."""

import os
import re
import shutil
import subprocess
from concurrent.futures import ThreadPoolExecutor
from itertools import cycle
from pathlib import Path

import pytest
from tool import COMMAND

INPUTS = Path(os.environ["QX_INPUTS"])
SAMPLES = os.environ.get("QX_FAULTS", "4")

# What the library prints of its own, without the end of a line.
CONSOLE = b"allocation failure in vector()"

SMALL = "--shape 120x100"
SQUARE = "--shape 600x600"
COMMANDS = f"""
version
explain SnrLow
completion bash
info small.raw
info classic.cal two-SNR.raw
preview small.raw {SMALL} -o new.png
defects classic.cal --png new.png
filter median small.raw {SMALL} -o new.raw --png new.png
filter savgol small.raw {SMALL} -o new.raw
filter equalize small.raw {SMALL} -o new.raw
filter ratio small.raw {SMALL} -o new.raw --png new.svg --zoom 20x20+5+5
filter compare small.raw {SMALL} --png new.png
resize small.raw {SMALL} --to 50x60 -o new.raw --png new.png
stripe small.raw {SMALL} --trigger 50 -o new.raw --png new.png
stripe wide.raw --shape 1100x100 --trigger 50 --method line -o new.raw
ndt calibrate small.raw small.raw --shape 60x100 --out made
ndt correct small.raw small.raw --shape 60x100 --calibration ndt -o new.raw
base64 encode letters.txt -o new.b64
base64 decode step.b64 -o new.bin
base64 decode-lines lines.b64 -o new.txt
snr plain.raw {SQUARE} --factory same.txt
snr plain.raw {SQUARE} --factory twoBelow.json --format json
snr plain.raw {SQUARE} --factory threeBelow.toml --format csv
snr plain.raw {SQUARE} --factory two-SNR.raw
check uniform plain.raw {SQUARE}
check strip plain.raw {SQUARE}
check dark plain.raw {SQUARE} --limits strict.toml
check dark plain.raw {SQUARE} --store store
check first plain.raw low.raw {SQUARE}
check false-trigger bright.float --shape 1024x1024
check offset patch.float --shape 1024x1024
check rcn --image rows.float --shape 1024x1024
check gain-group timed.raw timed300.raw
check dark-times 500;1000 500
check strip headed.raw @list {SQUARE} --jobs 2
check strip plain.raw halves.raw {SQUARE}
filter median --help
--detector quiet.toml factory-snr factory
compare today.json reference.json
trend kept -o new.svg
report plain.raw {SQUARE} --check dark --check snr -o new.html
watch arrived --check dark {SMALL} --existing --count 1
--no-clobber preview small.raw {SMALL} -o new.png
--dry-run preview small.raw {SMALL} -o new.png
explain 28
snr plain.raw {SQUARE} --factory word.json
""".strip().splitlines()


def contents(folder: Path) -> dict[str, bytes]:
    return {str(path.relative_to(folder)): path.read_bytes() for path in folder.rglob("*") if path.is_file()}


def tool(line: str, folder: Path, **variables: str) -> subprocess.CompletedProcess:
    environment = {**os.environ, "LD_PRELOAD": os.environ["QX_FAULTS_LIBRARY"], **variables}
    return subprocess.run([*COMMAND, *line.split()], cwd=folder, capture_output=True, stdin=subprocess.DEVNULL,
                          env=environment, timeout=120, check=False)


def put(source: Path, folder: Path, names: set[str]) -> None:
    for name in names:
        if (source / name).is_dir():
            shutil.copytree(source / name, folder / name)
        elif (source / name).exists():
            shutil.copy2(source / name, folder)


@pytest.fixture(scope="module")
def inputs(tmp_path_factory) -> Path:
    """What the commands read."""
    folder = tmp_path_factory.mktemp("inputs")
    put(INPUTS, folder, {word for line in COMMANDS for word in line.split()} - {"ndt", "version"})
    (folder / "wide.raw").write_bytes(bytes(i * i % 251 for i in range(1100 * 100 * 2)))
    (folder / "quiet.toml").write_text((INPUTS / "factory.toml").read_text() + "[limits]\nloggingEnabled = false\n")
    (folder / "list").write_text("plain.raw\n")
    (folder / "step.b64").write_text("QUFB\n" * 20)
    (folder / "arrived").mkdir()
    put(INPUTS, folder / "arrived", {"small.raw"})
    assert tool("ndt calibrate small.raw small.raw --shape 60x100 --out ndt", folder).returncode == 0
    assert tool(f"check dark plain.raw headed.raw {SQUARE} --store kept", folder).returncode == 0
    for name in ("today.json", "reference.json"):
        (folder / name).write_bytes(tool(f"snr plain.raw {SQUARE} --format json", folder).stdout)
    return folder


def is_whole(name: str, content: bytes) -> bool:
    """Of what differs from run to run, and of what tells of a file that cannot be read or goes without it."""
    ends = {"new.html": b"</html>\n", "new.json": b"]}\n", "new.csv": b"\n"}
    isSeries = name.endswith("-SNR.raw") and (len(content) - 65552) % 28 == 0
    return isSeries or name.startswith(("store", "kept")) or name in ends and content.endswith(ends[name])


class Scene:
    """A command, what it does without a fault, and the calls that it makes."""

    def __init__(self, line: str, source: Path, folder: Path):
        self.line, self.source, self.folder = line, source, folder
        place = self.place("usual", {})
        self.inputs = contents(place)
        self.usual = tool(line, place, QX_FAULT_COUNT=str(folder / "count"))
        self.memory, self.files = map(int, (folder / "count").read_text().split())
        self.outputs = {name: content for name, content in contents(place).items() if name not in self.inputs}

    def place(self, name: str, old: dict[str, bytes]) -> Path:
        place = self.folder / name
        place.mkdir(parents=True)
        put(self.source, place, {word.strip("@") for word in self.line.split()} | {"plain.raw"})
        for output, content in old.items():
            (place / output).parent.mkdir(parents=True, exist_ok=True)
            (place / output).write_bytes(content)
        return place

    def faults(self, first: int) -> list[str]:
        def spread(first: int, last: int) -> list[int]:
            steps = last - first if SAMPLES == "all" else min(last - first, int(SAMPLES) - 1)
            return [first + (last - first) * i // max(steps, 1) for i in range(steps + 1)]

        memory = [f"memory:{i}{more}" for i in spread(first, self.memory) for more in ("", "+")]
        return memory + [f"files:{i}" for i in spread(1, self.files)]

    def problems(self, fault: str, keepsOld: bool) -> list[str]:
        """What is wrong with what a run with a fault says, and with the files that it leaves."""
        isNew = not keepsOld or "store" in self.line or "no-clobber" in self.line
        old = {} if isNew else {name: b"old" for name in self.outputs}
        place = self.place(fault, old)
        done, usual = tool(self.line, place, QX_FAULT=fault), self.usual
        done.stderr = done.stderr.replace(CONSOLE, b"")
        after = contents(place)
        shutil.rmtree(place)
        lines = set(done.stderr.splitlines()) - set(usual.stderr.splitlines())
        isTold = done.returncode == 1 and len(lines) in (1, usual.returncode != 1) and all(
            re.match(rb"qxutils: .*\w", line) for line in lines)
        whole = (self.inputs, self.outputs, old if isTold else {})
        found = [f"{name} is torn" for name, content in after.items()
                 if content not in [files.get(name) for files in whole] and not is_whole(name, content)]
        found += [f"{name} is gone" for name in (self.inputs | (old if isTold else self.outputs)).keys() - after]
        # What watches goes on.
        isJudged = "watch" in self.line and b'"verdict":"failed"' in done.stdout
        isUsual = (done.returncode, done.stdout, done.stderr) == (usual.returncode, usual.stdout, usual.stderr)
        if not (isTold or isJudged or isUsual):
            found.append(f"exit {done.returncode}, {done.stderr[-200:]!r}")
        return [f"{self.line}, {fault}: {problem}" for problem in found]


@pytest.fixture(scope="module")
def start(inputs, tmp_path_factory) -> int:
    """The number of allocations with which every command begins."""
    return Scene(COMMANDS[0], inputs, tmp_path_factory.mktemp("start")).memory - 100


@pytest.mark.parametrize("line", COMMANDS)
def test_every_fault_ends_in_one_line_or_the_usual_result(line, inputs, start, tmp_path):
    scene = Scene(line, inputs, tmp_path)
    assert scene.usual.returncode in (0, 1, 3) and scene.memory > 1000, scene.usual
    with ThreadPoolExecutor(os.cpu_count()) as pool:
        found = pool.map(scene.problems, scene.faults(1 if line == COMMANDS[0] else start),
                         cycle((True, False, False, True)))
        problems = [problem for problems in found for problem in problems]
    assert not problems, "\n".join(problems)
