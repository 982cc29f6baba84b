"""What is remembered of a panel: the store, trends, comparisons, and the folder that is watched."""

import contextlib
import json
import os
import re
import resource
import signal
import sqlite3
import subprocess
from collections.abc import Iterator
from datetime import datetime, timedelta, timezone
from pathlib import Path

import numpy as np
import pytest
from tool import text_of, with_a_store

TOOL = [os.environ["QX_TOOL"]]
SIDE = 256
SHAPE = ["--shape", f"{SIDE}x{SIDE}"]
DARK = ["--check", "dark", *SHAPE]
DEADLINE_S = 120
COUNT = 30

pytestmark = with_a_store


def run(*arguments: object, code: int = 0) -> str:
    done = subprocess.run([*TOOL, *map(str, arguments)], capture_output=True, text=True, timeout=DEADLINE_S)
    assert done.returncode == code, done
    if code in (1, 2):
        assert done.stdout == "" and done.stderr.startswith("qxutils: ") and done.stderr.count("\n") == 1
        return done.stderr
    return done.stdout


def pixels(level: int, side: int = SIDE) -> bytes:
    return np.full((side, side), level, dtype="<u2").tobytes()


def headed(level: int, number: int) -> bytes:
    """Behind a header that tells it from other images of this level."""
    return number.to_bytes(65536, "big") + pixels(level)


def put(folder: Path, name: str, content: bytes, days: float | None = None) -> Path:
    """A file that comes under its name when it is complete."""
    part = folder / (name + ".part")
    part.write_bytes(content)
    if days is not None:
        when = datetime(2026, 1, 1, tzinfo=timezone.utc) + timedelta(days=days)
        os.utime(part, (when.timestamp(), when.timestamp()))
    return part.rename(folder / name)


class Watcher:
    def __init__(self, folder: Path, *options: object) -> None:
        command = [*TOOL, "watch", folder, *options]
        self.process = subprocess.Popen(
            list(map(str, command)), stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)

    def line(self) -> dict:
        assert self.process.stdout is not None
        text = self.process.stdout.readline()
        assert text.endswith("\n"), self.process.stderr and self.process.stderr.read()
        return json.loads(text)

    def end(self, code: int = 0) -> tuple[list[dict], str]:
        # communicate() would miss what was read together with an earlier line.
        assert self.process.stdout is not None and self.process.stderr is not None
        lines = [json.loads(line) for line in self.process.stdout]
        error = self.process.stderr.read()
        assert self.process.wait(DEADLINE_S) == code, error
        return lines, error

    def stop(self) -> list[dict]:
        self.process.send_signal(signal.SIGTERM)
        return self.end()[0]


@contextlib.contextmanager
def watching(folder: Path, *options: object) -> Iterator[Watcher]:
    watcher = Watcher(folder, *options)
    try:
        yield watcher
    finally:
        watcher.process.kill()
        watcher.process.wait()


def wait_until_it_watches(watcher: Watcher) -> None:
    """Until the process has asked the system for notices."""
    place = Path(f"/proc/{watcher.process.pid}/fdinfo")
    while not any("inotify wd:" in text for text in map(text_of, place.glob("*"))):
        assert watcher.process.poll() is None


def kept(store: Path) -> list[tuple]:
    with contextlib.closing(sqlite3.connect(store)) as database:
        if database.execute("SELECT count(*) FROM sqlite_master").fetchone() == (0,):
            return []
        return database.execute(
            "SELECT file, value FROM results JOIN measures ON result = id ORDER BY file").fetchall()


@pytest.fixture(autouse=True)
def deadline() -> Iterator[None]:
    """A watcher that never tells what is waited for ends the scene, not the machine's patience."""
    signal.signal(signal.SIGALRM, lambda *_: pytest.fail("nothing was told in time"))
    signal.alarm(DEADLINE_S)
    yield
    signal.alarm(0)


@pytest.fixture
def folder(tmp_path: Path) -> Path:
    (tmp_path / "images").mkdir()
    return tmp_path / "images"


def test_two_writers_keep_each_result_once(folder: Path, tmp_path: Path) -> None:
    other = tmp_path / "others"
    other.mkdir()
    for i in range(COUNT):
        put(folder, f"{i:02}.raw", pixels(300 + i))
        put(other, f"{i:02}.raw", pixels((300 if i % 2 else 1000) + i))
    store = tmp_path / "panel.sqlite"
    writers = [Watcher(place, *DARK, "--existing", "--count", COUNT, "--store", store) for place in (folder, other)]
    assert [len(writer.end()[0]) for writer in writers] == [COUNT, COUNT]
    levels = [300.0 + i for i in range(COUNT)] + [1000.0 + i for i in range(0, COUNT, 2)]
    assert sorted(value for _, value in kept(store)) == sorted(levels)
    for place in (folder, other):  # of which some are copies
        with watching(place, *DARK, "--existing", "--store", store) as watcher:
            put(place, "new.raw", pixels(9000))
            assert watcher.line()["file"].endswith("new.raw")


def test_a_killed_writer_loses_nothing_it_told_and_repeats_nothing(folder: Path, tmp_path: Path) -> None:
    names = [str(put(folder, f"{i:02}.raw", pixels(12000 + i, 600))) for i in range(COUNT)]
    store = tmp_path / "panel.sqlite"
    options = ["--check", "uniform", "--shape", "600x600", "--existing", "--store", store]
    told: list[str] = []
    for attempt in range(2 * COUNT):
        with watching(folder, *options) as watcher:
            lines = [watcher.line() for _ in range(min(attempt % 4, 2 * COUNT - len(kept(store))))]
            watcher.process.kill()
            lines += watcher.end(-signal.SIGKILL)[0]
        told += [line["file"] for line in lines]
        files = [file for file, _ in kept(store)]
        assert set(told) <= set(files) and all(files.count(file) == 2 for file in files)
    left = 2 * COUNT - len(kept(store))
    if left > 0:
        with watching(folder, *options, "--count", left) as watcher:
            told += [line["file"] for line in watcher.end()[0]]
    assert all(told.count(file) <= 2 for file in told)
    assert [file for file, _ in kept(store)] == sorted(names * 2)
    with watching(folder, *options) as watcher:
        wait_until_it_watches(watcher)
        put(folder, "new.raw", pixels(9000, 600))
        assert watcher.line()["file"].endswith("new.raw")


@pytest.mark.parametrize("slope", [-2.0, -7.3])
def test_a_trend_is_the_straight_line_that_numpy_fits(folder: Path, tmp_path: Path, slope: float) -> None:
    source = np.random.default_rng(7)
    days = np.sort(source.uniform(0.0, 90.0, 25).round(3))
    levels = np.round(1500.0 + slope * days + source.normal(0.0, 20.0, days.size))
    for i, (day, level) in enumerate(zip(days, levels)):
        put(folder, f"{i:02}.raw", headed(int(level), i), day)
    store, picture = tmp_path / "panel.sqlite", tmp_path / "trend.svg"
    Watcher(folder, *DARK, "--existing", "--count", days.size, "--store", store).end()

    [trend] = json.loads(run("trend", store, "--format", "json", "-o", picture))
    assert (trend["check"], trend["comparison"], trend["limit"]) == ("darkImgGrayAnalysis", ">", 200.0)
    assert [point["value"] for point in trend["points"]] == levels.tolist()
    begin = datetime(2026, 1, 1, tzinfo=timezone.utc)
    exact = [(datetime.fromisoformat(p["time"]) - begin) / timedelta(days=1) for p in trend["points"]]
    assert exact == pytest.approx(days, abs=2e-5)
    fitted, constant = np.polyfit(exact, levels, 1)
    assert trend["forecast"]["slopePerDay"] == pytest.approx(fitted, rel=1e-9)
    met = begin + timedelta(days=float((200.0 - constant) / fitted))
    assert trend["forecast"]["limitDate"] == trend["outlook"] == met.date().isoformat()
    assert all(text in picture.read_text() for text in (trend["measure"], "limit", trend["outlook"]))

    table = run("trend", store, "--check", "dark", "--measure", "strip")
    assert trend["outlook"] in table and max(map(len, table.splitlines())) <= 80
    since = json.loads(run("trend", store, "--since", "2026-02-01", "--format", "json"))[0]["points"]
    assert since == [point for point in trend["points"] if point["time"] >= "2026-02"]
    assert run("trend", store, "--format", "csv").splitlines()[1].startswith(f"darkImgGrayAnalysis,{trend['measure']}")
    assert run("trend", store, "--check", "strip", code=1).endswith("or --since\n")
    assert "did you mean check dark?" in run("trend", store, "--check", "check drak", code=1)
    for since in ("2026-13-01", "2026-01-01T24:00:00Z", "2026-01-01T00:60:00Z", "2026-01-01T00:00:60Z"):
        assert "is no date" in run("trend", store, "--since", since, code=2)


@pytest.mark.parametrize("levels, outlook", [
    ([500, 400, 300], "2026-01-04"), ([300, 400, 500], "moves away"), ([400, 300, 150], "already"),
    ([600, 100, 300], "already"),
    ([400, 400, 400], "not in 10 years"), ([60000, 59999, 59990], "not in 10 years"), ([500, 300], "too few times"),
    ([500], "too few times")])
def test_the_outlook_of_a_trend(folder: Path, tmp_path: Path, levels: list[int], outlook: str) -> None:
    for day, level in enumerate(levels):
        put(folder, f"{day}.raw", headed(level, day), day)
    Watcher(folder, *DARK, "--existing", "--count", len(levels), "--store", tmp_path / "panel.sqlite").end()
    picture = tmp_path / "trend.svg"
    [trend] = json.loads(run("trend", tmp_path / "panel.sqlite", "--format", "json", "-o", picture))
    assert trend["outlook"] == outlook
    [begin, end] = re.search(r'points="([\d.]+),[\d.]+ ([\d.]+),[\d.]+" [^>]*dasharray', picture.read_text()).groups()
    assert float(end) - float(begin) > 400  # the limit, over most of the plot
    assert (trend["forecast"] is None) == (outlook == "too few times")


@pytest.mark.parametrize("way", [[], ["--look"]])
def test_a_watched_file_is_judged_when_it_is_complete(folder: Path, tmp_path: Path, way: list[str]) -> None:
    put(folder, "old.raw", pixels(100))
    store = tmp_path / "panel.sqlite"
    with watching(folder, *DARK, *way, "--existing", "--store", store) as watcher:
        def expect(name: str, level: float) -> None:
            line = watcher.line()
            assert (line["file"], line["measures"][0]["value"]) == (str(folder / name), level)
            assert line["program"] == "qxutils" and line["command"] == "check dark"
            assert line["verdict"] == ("passed" if level > 200 else "not passed")

        expect("old.raw", 100)
        slow = folder / "slow.raw"
        with slow.open("wb") as file:
            file.write(pixels(301)[: SIDE * SIDE])
        (folder / "endless.raw").write_bytes(pixels(302) + b"more")
        (folder / "gone.raw").write_bytes(pixels(303)[:100])
        (folder / "gone.raw").unlink()
        (folder / "dangling.raw").symlink_to(folder / "nowhere")
        (folder / "folder.raw").mkdir()
        os.mkfifo(folder / "pipe.raw")
        put(folder, "text.txt", pixels(304))
        put(folder, "moved.raw", pixels(305))
        expect("moved.raw", 305)
        with slow.open("ab") as file:
            file.write(pixels(301)[SIDE * SIDE:])
        expect("slow.raw", 301)
        put(folder, "moved.raw", pixels(305))
        put(folder, "old.raw", pixels(306))
        expect("old.raw", 306)
        put(folder, "headed.raw", headed(307, 0))
        expect("headed.raw", 307)
        put(tmp_path, "elsewhere", pixels(309))
        (folder / "linked.raw").hardlink_to(tmp_path / "elsewhere")
        expect("linked.raw", 309)
        assert watcher.stop() == []
    assert [value for _, value in kept(store)] == [307, 309, 305, 100, 306, 301]

    with watching(folder, *DARK, *way, "--existing", "--count", 1, "--store", store) as watcher:
        put(folder, "last.raw", pixels(308))
        assert [line["file"] for line in watcher.end()[0]] == [str(folder / "last.raw")]


def test_only_new_files_are_judged_until_the_folder_goes(folder: Path, tmp_path: Path) -> None:
    put(folder, "old.raw", pixels(300))
    store = tmp_path / "panel.sqlite"
    with watching(folder, "--check", "uniform", *SHAPE, "--store", store) as watcher:
        wait_until_it_watches(watcher)
        # More notices than the system keeps for a process that does not look.
        watcher.process.send_signal(signal.SIGSTOP)
        names = [folder / "a.part", folder / "b.part"]
        names[0].touch()
        for i in range(int(Path("/proc/sys/fs/inotify/max_queued_events").read_text()) + 1):
            names[i % 2].rename(names[(i + 1) % 2])
        put(folder, "new.raw", pixels(301))
        watcher.process.send_signal(signal.SIGCONT)
        line = watcher.line()
        assert line["file"] == str(folder / "new.raw") and line["verdict"] == "failed" and "no verdict" in line["message"]
        folder.rename(tmp_path / "elsewhere")
        lines, error = watcher.end(1)
    assert lines == [] and error.splitlines()[-1].startswith(f"qxutils: {folder}: is gone")
    with contextlib.closing(sqlite3.connect(store)) as database:
        assert database.execute("SELECT count(*) FROM results").fetchone() == (0,)


def test_what_changed_since_a_reference(folder: Path, tmp_path: Path) -> None:
    def judged(name: str, levels: dict[str, int]) -> Path:
        place = tmp_path / name
        place.mkdir()
        for file, level in levels.items():
            put(place, file, pixels(level))
        lines, _ = Watcher(place, *DARK, "--existing", "--count", len(levels)).end()
        (tmp_path / (name + ".json")).write_text("".join(json.dumps(line) + "\n" for line in lines))
        return tmp_path / (name + ".json")

    reference = judged("reference", {"a.raw": 400, "b.raw": 250, "c.raw": 500, "d.raw": 300})
    today = judged("today", {"a.raw": 401, "b.raw": 150, "c.raw": 500, "e.raw": 300})
    changed = json.loads(run("compare", today, reference, "--format", "json", code=3))
    assert changed["worse"] and [record["measures"][0]["difference"] for record in changed["records"]] == [1, -100, 0]
    assert changed["records"][1]["measures"][0]["percent"] == -40.0
    assert [Path(changed[only][0]["file"]).name for only in ("onlyToday", "onlyReference")] == ["e.raw", "d.raw"]
    table = run("compare", today, reference, code=3)
    assert "b.raw: check dark (darkImgGrayAnalysis): not passed, in the reference passed\n" in table
    assert re.search(r" 150\.0 +250\.0 +-100\.0 +-40\.0  darkest strip", table) and "Only today: " in table
    assert len(run("compare", today, reference, "--format", "csv", code=3).splitlines()) == 1 + 3 + 2
    assert run("compare", reference, today).count("Only") == 2
    assert re.fullmatch(r"Nothing changed: (\d+) of \1 results that both have are the same.\n",
                        run("compare", reference, reference))
    line = json.loads(reference.read_text().splitlines()[0])
    strict, measured = tmp_path / "strict.json", tmp_path / "measured.json"
    strict.write_text(json.dumps({**line, "grade": 1090, "measures": [{**line["measures"][0], "limit": 350}]}))
    measured.write_text(json.dumps({**line, "check": "", "verdict": "measured"}))
    (tmp_path / "graded.json").write_text(json.dumps({**line, "grade": 1091}))
    assert re.search(r" 350\.0 +200\.0 +150\.0 +75\.0  limit of darkest strip.*\n.*counts\n +1090 +1091 +-1 +-0\.1  grade\n",
                     run("compare", strict, tmp_path / "graded.json"))
    assert ": measured, in the reference passed" in run("compare", measured, strict)
    failed = {**json.loads(today.read_text().splitlines()[0]), "check": "", "verdict": "failed", "measures": []}
    (tmp_path / "failed.json").write_text(json.dumps(failed))
    assert ": failed, in the reference passed" in run("compare", tmp_path / "failed.json", reference, code=3)


def test_what_is_no_store_is_refused_and_left_alone(folder: Path, tmp_path: Path) -> None:
    text, foreign, store = tmp_path / "text.sqlite", tmp_path / "foreign.sqlite", tmp_path / "store.sqlite"
    text.write_text("some text " * 200)
    put(folder, "a.raw", pixels(300))
    Watcher(folder, *DARK, "--existing", "--count", 1, "--store", store).end()
    for path, sql in (foreign, "CREATE TABLE other (x)"), (store, "PRAGMA user_version = 2"):
        with contextlib.closing(sqlite3.connect(path)) as database:
            database.execute(sql)
    for name in (":memory:", "file:panel.sqlite?mode=memory"):
        subprocess.run([*TOOL, "check", "dark", "images/a.raw", *SHAPE, "--store", name], cwd=tmp_path, check=True)
        assert len(kept(tmp_path / name)) == 1
    before = foreign.read_bytes()
    for path, reason in {text: "not a database", foreign: "no store", store: "newer", folder: "directory",
                         "/proc/panel.sqlite": "may be written", "/dev/full": "", "": "name is empty"}.items():
        code = 2 if path == "" else 1
        assert reason in run("watch", folder, *DARK, "--existing", "--count", 1, "--store", path, code=code)
        assert reason in run("trend", path, code=code) or path == "/proc/panel.sqlite"
    assert foreign.read_bytes() == before
    assert "no such file" in run("trend", tmp_path / "nowhere.sqlite", code=1)


def test_a_store_without_room_takes_nothing_by_halves(folder: Path, tmp_path: Path) -> None:
    def limit_files() -> None:
        resource.setrlimit(resource.RLIMIT_FSIZE, (100_000, 100_000))

    for i in range(COUNT):
        put(folder, f"{i:02}.raw", pixels(300 + i))
    store = tmp_path / "panel.sqlite"
    command = [*TOOL, "watch", folder, *DARK, "--existing", "--count", COUNT, "--store", store]
    done = subprocess.run(list(map(str, command)), capture_output=True, text=True, preexec_fn=limit_files)
    assert done.returncode == 1 and "check that there is room" in done.stderr.splitlines()[-1]
    told = [json.loads(line)["file"] for line in done.stdout.splitlines()]
    assert 0 < len(told) < COUNT and [file for file, _ in kept(store)] == told
    store = tmp_path / "other.sqlite"
    done = subprocess.run([*TOOL, "check", "dark", folder, *DARK[2:], "--format", "json", "--store", store],
                          capture_output=True, text=True, preexec_fn=limit_files)
    told = [result["file"] for result in json.loads(done.stdout)["results"]]
    assert 0 < len(told) < COUNT and [file for file, _ in kept(store)] == told
