"""Runs long what the suite runs for a moment; scripts/soak tells the arguments, PROGRAMS is where qx_soak lies.

Ends with a table of figures, and with 1 when something was found.
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
from datetime import datetime, timedelta, timezone
from pathlib import Path
from zoneinfo import ZoneInfo

ZONE = ZoneInfo("Europe/Berlin")
STAMP = r"(\d{4}/\d\d/\d\d-\d\d:\d\d:\d\d\.\d{3}) \| .{6} \| [DIWE] \| "
WRITERS = 3
VARIANTS = 8  # of what the host writes
SIDE = 1024
SHAPE = ["--shape", f"{SIDE}x{SIDE}"]
DEADLINE_S = 300
SILENT = {"stdout": subprocess.DEVNULL, "stderr": subprocess.DEVNULL}

SCENES = (  # local times between which the clock runs so many times as fast
    ("28 to 29 February", "2028-02-28 23:59:57", "2028-02-29 00:00:01", 5),
    ("29 February to 1 March", "2028-02-29 23:59:57", "2028-03-01 00:00:01", 5),
    ("the whole of 29 February", "2028-02-28 23:00:00", "2028-03-01 01:00:00", 200000),
    ("a year without 29 February", "2027-02-28 23:59:57", "2027-03-01 00:00:01", 5),
    ("into summer time", "2026-03-29 01:59:57", "2026-03-29 03:00:01", 5),
    ("out of summer time", "2026-10-25 01:59:50", "2026-10-25 03:10:00", 5000),
    ("into a new year", "2026-12-31 23:59:57", "2027-01-01 00:00:01", 5),
)

faults: list[str] = []
figures: dict[str, int] = {}


def fault(text: str) -> None:
    faults.append(text)
    if len(faults) <= 20:
        print("FAULT:", text, flush=True)


def count(figure: str, more: int = 1) -> None:
    figures[figure] = figures.get(figure, 0) + more


def calls(options: argparse.Namespace, folder: Path) -> None:
    """The program prints its table on the standard error; the standard output is the library's."""
    count("rounds of every export", options.rounds)
    done = subprocess.run([options.programs / "qx_soak", "calls", f"{folder}/", str(options.rounds)],
                          stdout=subprocess.DEVNULL, check=False)
    if done.returncode != 0:
        fault(f"the calls of every export ended with {done.returncode}")


def judge_days(name: str, logs: Path, written: dict[int, int], days: set[str]) -> None:
    """Whether every line is in the log of its day, in one piece, and in its writer's order."""
    if (seen := {path.name for path in logs.iterdir()}) != days | {"kept.log"}:
        fault(f"{name}: the logs are {sorted(seen)}")
    following, previous, returns, minutes = dict.fromkeys(written, 0), dict.fromkeys(written, ""), 0, set()
    for path in sorted(logs.glob("2*.log")):
        for line in path.read_text().splitlines():
            whole = re.fullmatch(STAMP + r"writer (\d+) line (\d+)", line)
            writer = int(whole[2]) if whole else -1
            if not whole or whole[1][:10].replace("/", "-") != path.stem or int(whole[3]) != following[writer] + 1:
                fault(f"{name}: {path.name} holds {line!r} after {following}")
                continue
            following[writer] += 1
            returns += whole[1] < previous[writer]
            previous[writer] = whole[1]
            minutes.add(whole[1][:16])
    if following != written:
        fault(f"{name}: lines {following}, but {written} were written")
    if returns != ("out of" in name) * len(written):
        fault(f"{name}: the time of day went back {returns} times")
    for minute in minutes:
        moment = datetime.strptime(minute, "%Y/%m/%d-%H:%M")
        if moment.replace(tzinfo=ZONE).astimezone(timezone.utc).astimezone(ZONE).replace(tzinfo=None) != moment:
            fault(f"{name}: {minute} is no time in {ZONE}")
    count("log lines on clocks that run fast", sum(following.values()))


def log_through(programs: Path, root: Path, start: str, end: datetime, speed: int) -> dict[int, int]:
    """Several processes log from one local time to another; returns how many lines each writer wrote."""
    library = next(Path("/usr/lib").glob("*/faketime/libfaketimeMT.so.1"), None)
    if library is None:
        sys.exit("soak: libfaketime is missing; run scripts/setup")
    (root / "logs").mkdir(parents=True)
    for old in ("2020-01-01.log", "kept.log"):  # the clean-up knows logs by the dashes in their names
        (root / "logs" / old).touch()
    environment = {**os.environ, "TZ": ZONE.key, "LD_PRELOAD": str(library), "FAKETIME": f"@{start} x{speed}"}
    until = str(int(end.replace(tzinfo=ZONE).timestamp()))
    writers = [subprocess.Popen([programs / "qx_soak", "clock", f"{root}/", str(writer), until], env=environment,
                                stderr=subprocess.PIPE, text=True) for writer in range(WRITERS)]
    told = "".join(writer.communicate(timeout=DEADLINE_S)[1] for writer in writers)
    return {int(writer): int(lines) for writer, lines in re.findall(r"(\d+) (\d+)\n", told)}


def clocks(options: argparse.Namespace, folder: Path) -> None:
    for name, start, end, speed in SCENES:
        first, last = datetime.fromisoformat(start), datetime.fromisoformat(end)
        days = {f"{first + timedelta(days=day):%Y-%m-%d}.log" for day in range((last.date() - first.date()).days + 1)}
        for slower in (1, 10, 100):  # on a busy machine a fast clock may pass a day before anybody looks
            root = folder / f"{name} {slower}"
            written = log_through(options.programs, root, start, last, max(speed // slower, 1))
            if all((root / "logs" / day).exists() for day in days):
                break
        if len(written) == 2 * WRITERS:
            judge_days(name, root / "logs", written, days)
        else:
            fault(f"{name}: not every writer came to the end: {written}")


class Known:
    """The whole contents that each file in a folder may have; logs are judged by themselves."""

    def __init__(self, folder: Path) -> None:
        self.folder = folder
        self.of: dict[Path, set[bytes]] = {}

    def files(self) -> list[Path]:
        return [path for path in self.folder.rglob("*") if path.is_file() and path.parent.name != "logs"]

    @staticmethod
    def content(path: Path) -> bytes:
        """Without the times of a report's log lines."""
        return re.sub(STAMP.encode(), b"", path.read_bytes())

    def learn(self) -> None:
        for path in self.files():
            self.of.setdefault(path, set()).add(self.content(path))

    def judge(self, what: str) -> None:
        for path in self.files():
            is_beside = path not in self.of
            is_torn = not is_beside and self.content(path) not in self.of[path]
            count(f"{what}: torn files", is_torn)
            count(f"{what}: files left beside", is_beside)
            if is_torn:
                fault(f"{what}: {path.name} is torn: {path.stat().st_size} bytes")
            if is_torn or is_beside:
                path.unlink()


def judge_log(logs: Path, told: int, what: str) -> None:
    """None but the line that was being written may be torn, and none that was told be missing."""
    text = b"".join(path.read_bytes() for path in sorted(logs.iterdir())).decode()
    *lines, _ = text.split("\n")
    torn = [line for line in lines if not re.match(STAMP, line)]
    numbers = [int(number) for number in re.findall(r"host line (\d+)\n", text)]
    is_bad = torn != [] or numbers != list(range(len(numbers))) or not 0 <= len(numbers) - told <= 1
    if is_bad:
        fault(f"{what}: torn log lines {torn[:2]}, or lost ones: {told} told, {len(numbers)} found")
    count(f"{what}: log lines", len(lines))
    count(f"{what}: logs with torn or lost lines", is_bad)


def kill_hosts(options: argparse.Namespace, folder: Path) -> None:
    for index, kind in enumerate(kinds := ("image", "gain", "snr")):
        command = [options.programs / "qx_soak", "host", f"{folder / kind}/", kind]
        known = Known(folder / kind)
        for variant in range(VARIANTS):
            subprocess.run([*command, str(variant + 1)], check=True, timeout=DEADLINE_S, **SILENT)
            known.learn()
        for _ in range(index, options.kills, len(kinds)):
            shutil.rmtree(folder / kind / "logs")
            with subprocess.Popen([*command, "-1"], stdout=subprocess.DEVNULL, stderr=subprocess.PIPE,
                                  pipesize=1 << 20) as host:
                told = os.read(host.stderr.fileno(), 1)
                time.sleep(random.uniform(0, 0.03))
                host.kill()
                told += host.stderr.read()
            count("host: kills")
            known.judge("host")
            judge_log(folder / kind / "logs", told.count(b"\n"), "host")


def run_tool(options: argparse.Namespace, folder: Path, arguments: list[str]) -> float:
    start = time.monotonic()
    done = subprocess.run([options.programs / "qxutils", *arguments], cwd=folder, stdout=subprocess.DEVNULL,
                          stderr=subprocess.PIPE, timeout=DEADLINE_S, check=False)
    if done.returncode not in (0, 3):
        sys.exit(f"soak: qxutils {' '.join(arguments)}: {done.stderr[-200:].decode()}")
    return time.monotonic() - start


def kill_tool(options: argparse.Namespace, folder: Path, arguments: list[str], seconds: float) -> None:
    """At a random moment; every other time soon after something is seen to change in the folder."""
    def state() -> list:
        with contextlib.suppress(FileNotFoundError):
            return [(entry.name, entry.stat().st_mtime_ns, entry.stat().st_size) for entry in os.scandir(folder)]
        return []
    before = state()
    with subprocess.Popen([options.programs / "qxutils", *arguments], cwd=folder, **SILENT) as tool:
        if random.random() < 0.5:
            time.sleep(random.uniform(0, seconds))
        else:
            while tool.poll() is None and state() == before:
                pass
            time.sleep(random.uniform(0, 0.002))
        tool.kill()


def tool_commands(options: argparse.Namespace, folder: Path) -> list[list[str]]:
    """Commands that write into the folder that they run in; what they read is made in this one."""
    image, text, bright, dark, calibration = (str(folder / name) for name in ("image", "text", "bright", "dark", "cal"))
    for path, pixel in ((bright, 20000), (dark, 300)):
        Path(path).write_bytes(pixel.to_bytes(4, "little") * SIDE * SIDE)
    Path(image).write_bytes(bytes(range(10, 26)) * (SIDE * SIDE // 8))
    run_tool(options, folder, ["base64", "encode", image, "-o", text])
    run_tool(options, folder, ["ndt", "calibrate", bright, dark, *SHAPE, "--out", calibration])
    return [
        ["base64", "encode", image, "-o", "text"],
        ["base64", "decode", text, "-o", "decoded"],
        ["base64", "decode-lines", text, "-o", "lines"],
        ["filter", "median", image, *SHAPE, "-o", "median.raw", "--png", "median.png"],
        ["resize", image, *SHAPE, "--to", "1500x1500", "-o", "resized.raw"],
        ["preview", image, *SHAPE, "-o", "preview.png"],
        ["stripe", image, *SHAPE, "--trigger", "500", "--method", "line", "-o", "stripe.raw", "--png", "stripe.png"],
        ["ndt", "calibrate", bright, dark, *SHAPE, "--out", "."],
        ["ndt", "correct", bright, dark, *SHAPE, "--calibration", calibration, "-o", "corrected.raw"],
        ["report", image, *SHAPE, "-o", "report.html"],
    ]


def kill_tools(options: argparse.Namespace, folder: Path) -> None:
    for index, arguments in enumerate(commands := tool_commands(options, folder)):
        known = Known(folder / f"out{index}")
        known.folder.mkdir()
        for _ in range(2):
            seconds = run_tool(options, known.folder, arguments)
            known.learn()
        for content in known.of.values():
            content.add(b"old" * 50000)
        for _ in range(index, options.kills, len(commands)):
            for path in known.of:
                path.write_bytes(b"old" * 50000)
            kill_tool(options, known.folder, arguments, seconds)
            count("tool: kills")
            known.judge("tool")


def rows(store: Path) -> dict[str, int]:
    with contextlib.closing(sqlite3.connect(store)) as database:
        if (said := database.execute("PRAGMA integrity_check").fetchall()) != [("ok",)]:
            fault(f"the store: {said[:3]}")
        return {table: database.execute(f"SELECT count(*) FROM {table}").fetchone()[0]
                for table in ("results", "measures")}


def kill_stores(options: argparse.Namespace, folder: Path) -> None:
    """Every run measures another image; its result and all its measures are stored, or nothing."""
    image, store, arguments = folder / "image", folder / "store", ["snr", "image", *SHAPE, "--store", "store"]
    image.write_bytes(bytes(2 * SIDE * SIDE))
    seconds = run_tool(options, folder, arguments)
    each = last = rows(store)
    for number in range(options.kills):
        image.write_bytes((number + 1).to_bytes(16, "little") * (SIDE * SIDE // 8))
        kill_tool(options, folder, arguments, seconds)
        now = rows(store)
        count("store: kills")
        count("store: results stored before the kill", now["results"] - last["results"])
        if now not in (last, {table: last[table] + each[table] for table in each}):
            fault(f"the store, kill {number}: {last} became {now}")
        last = now


def kills(options: argparse.Namespace, folder: Path) -> None:
    for kill in (kill_hosts, kill_tools, kill_stores):
        (folder / kill.__name__).mkdir()
        kill(options, folder / kill.__name__)


def main() -> int:
    parts = {"calls": calls, "clocks": clocks, "kills": kills}
    parser = argparse.ArgumentParser(prog="soak")
    parser.add_argument("programs", type=lambda text: Path(text).resolve())
    parser.add_argument("--rounds", type=int, default=20000)
    parser.add_argument("--full", action="store_const", dest="rounds", const=100000)
    parser.add_argument("--kills", type=int, default=500)
    parser.add_argument("parts", nargs="*")
    options = parser.parse_intermixed_args()
    if set(options.parts) - set(parts) or options.rounds < 100 or options.kills < 10:
        parser.error(f"the parts are {', '.join(parts)}; rounds are 100 or more, kills 10 or more")
    memory = Path("/dev/shm")
    with tempfile.TemporaryDirectory(dir=memory if os.access(memory, os.W_OK) else None) as folder:
        for part in options.parts or parts:
            start = time.monotonic()
            parts[part](options, Path(folder))
            count(f"seconds of {part}", round(time.monotonic() - start))
    for figure, value in {**figures, "faults": len(faults)}.items():
        print(f"{figure:40} {value:>10}")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
