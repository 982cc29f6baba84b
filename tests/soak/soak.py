"""Runs long what the suite runs for a moment: soak.py PROGRAMS [--rounds N] [--kills N] [calls] [clocks] [kills].

PROGRAMS is the folder of qx_soak and qxutils. Ends with a table of figures, and with 1 when something was found.
"""

import argparse
import contextlib
import os
import random
import re
import shutil
import sqlite3
import subprocess
import sys
import tempfile
import time
from collections.abc import Callable, Iterator
from datetime import datetime, timedelta, timezone
from pathlib import Path
from zoneinfo import ZoneInfo

ZONE = "Europe/Berlin"
STAMP = r"(\d{4}/\d\d/\d\d-\d\d:\d\d:\d\d\.\d{3}) \| .{6} \| [DIWE] \| "
WRITERS = 3
DEADLINE_S = 300
SIDE = 1024
HOST_KINDS = ("image", "gain", "snr")

faults: list[str] = []
figures: list[tuple[str, object]] = []


def fault(text: str) -> None:
    faults.append(text)
    if len(faults) <= 20:
        print("FAULT:", text, flush=True)


# The clock: scenes that run fast from one local time to another.

SCENES = (
    ("28 to 29 February", "2028-02-28 23:59:58", "2028-02-29 00:00:02", 10),
    ("29 February to 1 March", "2028-02-29 23:59:58", "2028-03-01 00:00:02", 10),
    ("the whole of 29 February", "2028-02-28 23:00:00", "2028-03-01 01:00:00", 200000),
    ("a year without 29 February", "2027-02-28 23:59:58", "2027-03-01 00:00:02", 10),
    ("into summer time", "2026-03-29 01:59:58", "2026-03-29 03:00:02", 10),
    ("out of summer time", "2026-10-25 01:59:50", "2026-10-25 04:00:00", 20000),
    ("into a new year", "2026-12-31 23:59:58", "2027-01-01 00:00:02", 10),
)


def library_of_faketime() -> str:
    found = sorted(Path("/usr/lib").glob("*/faketime/libfaketimeMT.so.1"))
    if not found:
        sys.exit("soak: libfaketime is missing; run scripts/setup")
    return str(found[0])


def exists_locally(moment: datetime) -> bool:
    zoned = moment.replace(tzinfo=ZoneInfo(ZONE))
    return zoned.astimezone(timezone.utc).astimezone(ZoneInfo(ZONE)).replace(tzinfo=None) == moment


def judge_days(name: str, logs: Path, counts: dict[int, int], first: datetime, last: datetime) -> int:
    """Whether every line is in the log of its day, in order and in one piece; returns how many there are."""
    expected = {f"{first + timedelta(days=day):%Y-%m-%d}.log" for day in range((last.date() - first.date()).days + 1)}
    if (seen := {path.name for path in logs.iterdir()}) != expected | {"kept.log"}:
        fault(f"{name}: the logs are {sorted(seen)}")
    following, previous, returns = dict.fromkeys(counts, 0), dict.fromkeys(counts, ""), 0
    minutes = set()
    for path in sorted(logs.glob("2*.log")):
        for line in path.read_text().splitlines():
            whole = re.fullmatch(STAMP + r"writer (\d+) line (\d+)", line)
            if not whole or whole[1][:10].replace("/", "-") != path.stem:
                fault(f"{name}: {path.name} holds {line!r}")
                continue
            stamp, writer, number = whole[1], int(whole[2]), int(whole[3])
            if number != following[writer]:
                fault(f"{name}: line {number} of writer {writer} stands where {following[writer]} should")
            following[writer] = number + 1
            returns += stamp < previous[writer]
            previous[writer] = stamp
            minutes.add(stamp[:16])
    if following != counts or min(counts.values()) < 100:
        fault(f"{name}: lines {following}, but {counts} were written")
    if returns != ("out of" in name) * len(counts):
        fault(f"{name}: the time of day went back {returns} times")
    for minute in minutes:
        if not exists_locally(datetime.strptime(minute, "%Y/%m/%d-%H:%M")):
            fault(f"{name}: {minute} is no time in {ZONE}")
    return sum(following.values())


def clocks(programs: Path, folder: Path, _: argparse.Namespace) -> None:
    lines = 0
    for number, (name, start, end, speed) in enumerate(SCENES):
        root = folder / f"clock{number}"
        logs = root / "logs"
        logs.mkdir(parents=True)
        for old in ("2020-01-01.log", "kept.log"):
            (logs / old).write_text("")
        first, last = datetime.fromisoformat(start), datetime.fromisoformat(end)
        until = int(last.replace(tzinfo=ZoneInfo(ZONE)).timestamp())
        environment = {**os.environ, "TZ": ZONE, "LD_PRELOAD": library_of_faketime(),
                       "FAKETIME": f"@{start} x{speed}"}
        writers = [subprocess.Popen([programs / "qx_soak", "clock", f"{root}/", str(i), str(until)],
                                    env=environment, stderr=subprocess.PIPE, text=True) for i in range(WRITERS)]
        told = "".join(writer.communicate(timeout=DEADLINE_S)[1] for writer in writers)
        counts = {int(line.split()[0]): int(line.split()[1]) for line in told.splitlines()}
        if len(counts) != 2 * WRITERS:
            fault(f"{name}: a writer did not come to the end: {counts}")
            continue
        lines += judge_days(name, logs, counts, first, last)
    figures.append(("log lines through midnights, 29 February and both changes of the clock", lines))


# Kills.

def contents(folder: Path) -> dict[str, bytes]:
    return {str(path.relative_to(folder)): path.read_bytes() for path in folder.rglob("*")
            if path.is_file() and "logs" not in path.parts}


class Known:
    """The whole contents that each file may have."""

    def __init__(self, folder: Path) -> None:
        self.folder = folder
        self.of: dict[str, set[bytes]] = {}
        self.torn = self.beside = 0

    def learn(self) -> None:
        for name, content in contents(self.folder).items():
            self.of.setdefault(name, set()).add(content)

    def judge(self, what: str) -> None:
        for name, content in contents(self.folder).items():
            if name not in self.of:
                self.beside += 1
                (self.folder / name).unlink()
            elif content not in self.of[name]:
                self.torn += 1
                fault(f"{what}: {name} is torn: {len(content)} bytes")
                (self.folder / name).unlink()


def judge_log(logs: Path, told: bytes) -> tuple[int, int]:
    """How many lines are lost or torn, but the one that was being written, and how many there are."""
    text = b"".join(path.read_bytes() for path in sorted(logs.iterdir())).decode()
    *lines, _ = text.split("\n")
    bad = sum(re.match(STAMP, line) is None for line in lines)
    numbers = [int(number) for number in re.findall(r"host line (\d+)\n", text)]
    reported = told.count(b"\n")
    bad += numbers != list(range(len(numbers))) or not 0 <= len(numbers) - reported <= 1
    return bad, len(lines)


def kill_hosts(programs: Path, folder: Path, kills: int) -> None:
    lost = lines = torn = beside = 0
    for kind in HOST_KINDS:
        root = folder / kind
        command = [programs / "qx_soak", "host", f"{root}/", kind]
        known = Known(root)
        for variant in range(8):
            subprocess.run([*command, str(variant + 1)], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=True, timeout=DEADLINE_S)
            known.learn()
        for number in range(kills // len(HOST_KINDS) + (kind == HOST_KINDS[0]) * (kills % len(HOST_KINDS))):
            shutil.rmtree(root / "logs")
            with subprocess.Popen([*command, "-1"], stdout=subprocess.DEVNULL, stderr=subprocess.PIPE,
                                  pipesize=1 << 20) as host:
                told = os.read(host.stderr.fileno(), 1)
                time.sleep(random.uniform(0, 0.03))
                host.kill()
                told += host.stderr.read()
            known.judge(f"host, {kind}, kill {number}")
            bad, count = judge_log(root / "logs", told)
            if bad:
                fault(f"host, {kind}, kill {number}: {bad} log lines lost or torn")
            lost, lines = lost + bad, lines + count
        torn, beside = torn + known.torn, beside + known.beside
    figures.extend((("kills of a host that writes", kills), ("torn files", torn), ("files left beside", beside),
                    ("log lines", lines), ("log lines lost or torn", lost)))


def run_tool(programs: Path, folder: Path, arguments: list[str]) -> float:
    """Runs it to its end; returns the seconds that it took."""
    start = time.monotonic()
    done = subprocess.run([programs / "qxutils", *arguments], cwd=folder, stdout=subprocess.DEVNULL,
                          stderr=subprocess.PIPE, timeout=DEADLINE_S)
    if done.returncode not in (0, 3):
        sys.exit(f"soak: qxutils {' '.join(arguments)}: {done.stderr[-200:].decode()}")
    return time.monotonic() - start


def tool_commands(programs: Path, folder: Path) -> list[list[str]]:
    """Commands that write into the folder that they run in; what they read is made in this one."""
    for name, pixel in (("bright", 20000), ("dark", 300)):
        (folder / name).write_bytes(pixel.to_bytes(4, "little") * SIDE * SIDE)
    (folder / "image").write_bytes(bytes(range(10, 26)) * (SIDE * SIDE // 8))
    image, text, bright, dark, calibration = (str(folder / name) for name in ("image", "text", "bright", "dark", "cal"))
    shape = ["--shape", f"{SIDE}x{SIDE}"]
    run_tool(programs, folder, ["base64", "encode", "image", "-o", "text"])
    run_tool(programs, folder, ["ndt", "calibrate", bright, dark, *shape, "--out", calibration])
    return [
        ["base64", "encode", image, "-o", "text"],
        ["base64", "decode", text, "-o", "decoded"],
        ["base64", "decode-lines", text, "-o", "lines"],
        ["filter", "median", image, *shape, "-o", "median.raw", "--png", "median.png"],
        ["resize", image, *shape, "--to", "1500x1500", "-o", "resized.raw"],
        ["preview", image, *shape, "-o", "preview.png"],
        ["stripe", image, *shape, "--trigger", "500", "--method", "line", "-o", "stripe.raw", "--png", "stripe.png"],
        ["ndt", "calibrate", bright, dark, *shape, "--out", "."],
        ["ndt", "correct", bright, dark, *shape, "--calibration", calibration, "-o", "corrected.raw"],
        ["report", image, *shape, "-o", "report.html"],
    ]


def end_while_it_writes(command: list, folder: Path, seconds: float, number: int) -> None:
    """Kills at a random moment; every other time soon after something is seen to change in the folder."""
    def state() -> list:
        return [(entry.name, entry.stat().st_mtime_ns, entry.stat().st_size) for entry in os.scandir(folder)]
    before = state()
    with subprocess.Popen(command, cwd=folder, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL) as tool:
        if number % 2 == 0:
            time.sleep(random.uniform(0, seconds))
        else:
            with contextlib.suppress(FileNotFoundError):
                while tool.poll() is None and state() == before:
                    pass
            time.sleep(random.uniform(0, 0.002))
        tool.kill()


def kill_tools(programs: Path, folder: Path, kills: int) -> None:
    folder.mkdir()
    commands = tool_commands(programs, folder)
    torn = beside = 0
    for index, arguments in enumerate(commands):
        out = folder / f"out{index}"
        out.mkdir()
        known = Known(out)
        for _ in range(2):
            seconds = run_tool(programs, out, arguments)
            known.learn()
        old = {path: b"old" * 50000 for path in known.of}
        for path, content in old.items():
            known.of[path].add(content)
        for number in range(len(range(index, kills, len(commands)))):
            for path, content in old.items():
                (out / path).write_bytes(content)
            end_while_it_writes([programs / "qxutils", *arguments], out, seconds, number)
            known.judge(f"qxutils {' '.join(arguments[:2])}, kill {number}")
        torn, beside = torn + known.torn, beside + known.beside
    figures.extend((("kills of the tool", kills), ("torn files of the tool", torn),
                    ("files of the tool left beside", beside)))


def rows(store: Path) -> dict[str, int]:
    with contextlib.closing(sqlite3.connect(store)) as database:
        if (said := database.execute("PRAGMA integrity_check").fetchall()) != [("ok",)]:
            fault(f"the store: {said[:3]}")
        return {table: database.execute(f"SELECT count(*) FROM {table}").fetchone()[0]
                for table in ("results", "measures")}


def kill_stores(programs: Path, folder: Path, kills: int) -> None:
    """Every run measures another image; its result and all its measures are stored, or nothing."""
    folder.mkdir()
    arguments = ["snr", "image", "--shape", f"{SIDE}x{SIDE}", "--store", "store.sqlite"]
    seconds, partial = 0.0, 0
    for number in range(-1, kills):
        (folder / "image").write_bytes((number + 1).to_bytes(16, "little") * (SIDE * SIDE // 8))
        if number < 0:
            seconds = run_tool(programs, folder, arguments)
            each = last = rows(folder / "store.sqlite")
            continue
        end_while_it_writes([programs / "qxutils", *arguments], folder, seconds, number)
        now = rows(folder / "store.sqlite")
        grown = {table: now[table] - last[table] for table in now}
        if any(grown.values()) and grown != each:
            partial += 1
            fault(f"the store, kill {number}: a run left {grown} rows instead of {each}")
        last = now
    figures.extend((("kills while a store is written", kills), ("results stored partly", partial),
                    ("results stored", last["results"])))


def kills(programs: Path, folder: Path, options: argparse.Namespace) -> None:
    kill_hosts(programs, folder / "host", options.kills)
    kill_tools(programs, folder / "tool", options.kills)
    kill_stores(programs, folder / "store", options.kills)


def calls(programs: Path, folder: Path, options: argparse.Namespace) -> None:
    with subprocess.Popen([programs / "qx_soak", "calls", f"{folder}/", str(options.rounds)], stdout=subprocess.DEVNULL,
                          stderr=subprocess.PIPE, text=True) as process:
        for line in process.stderr:
            print(line, end="", flush=True)
    figures.append(("rounds of every export", options.rounds))
    if process.returncode != 0:
        fault(f"the calls of every export ended with {process.returncode}")


PARTS: dict[str, Callable] = {"calls": calls, "clocks": clocks, "kills": kills}


def main() -> int:
    parser = argparse.ArgumentParser(prog="soak")
    parser.add_argument("programs", type=Path)
    parser.add_argument("--rounds", type=int, default=20000)
    parser.add_argument("--kills", type=int, default=500)
    parser.add_argument("--full", action="store_const", dest="rounds", const=100000)
    parser.add_argument("parts", nargs="*", default=[])
    options = parser.parse_intermixed_args()
    if unknown := set(options.parts) - set(PARTS):
        parser.error(f"{unknown.pop()}: the parts are {', '.join(PARTS)}")
    memory = Path("/dev/shm")
    with tempfile.TemporaryDirectory(dir=memory if os.access(memory, os.W_OK) else None) as folder:
        for part in options.parts or PARTS:
            start = time.monotonic()
            print(f"=== {part} ===", flush=True)
            PARTS[part](options.programs.resolve(), Path(folder), options)
            figures.append((f"seconds of {part}", round(time.monotonic() - start)))
    print("=== soak ===")
    for text, value in figures:
        print(f"{text:72} {value:>10}")
    print(f"{'faults':72} {len(faults):>10}")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
