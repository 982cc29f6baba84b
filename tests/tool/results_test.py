"""Many files a call, in one process or several, and the results in every format."""

import contextlib
import csv
import io
import json
import os
import signal
import subprocess
from pathlib import Path

import jsonschema
import numpy as np
import pytest

from tool import COMMAND, IS_ALONE, IS_WINDOWS, TWO_JOBS, on_linux_only, refused, run, text_of

SIDE = 128
SHAPE = ("--shape", f"{SIDE}x{SIDE}")
SCHEMA = json.loads((Path(__file__).parents[2] / "docs/results.schema.json").read_text())
GOOD, BROKEN = 195, 5


def noise(seed: int, level: float = 20000.0, side: int = SIDE) -> np.ndarray:
    return np.random.default_rng(seed).normal(level, 100, (side, side)).astype("<u2")


@pytest.fixture(scope="module")
def day(tmp_path_factory) -> Path:
    """195 images of a day, most of them below a folder, one of them too dark, and five broken files."""
    folder = tmp_path_factory.mktemp("day")
    below = folder / "morning" / "room 1"
    below.mkdir(parents=True)
    for i in range(GOOD):
        noise(i, 100.0 if i == 7 else 20000.0).tofile((below if i < 150 else folder) / f"{i:03}.raw")
    for i in range(BROKEN):
        (below / f"broken{i}.raw").write_bytes(b"x" * (1000 * i))
    (folder / "notes.txt").write_text("no image")
    return folder


def document(output: bytes) -> dict:
    read = json.loads(output)
    jsonschema.validate(read, SCHEMA)
    return read


def test_a_day_of_images_in_one_process_and_in_two(day):
    check = ("check", "dark", ".", "--recursive", *SHAPE, "--format", "json")
    one = run(*check, folder=day)
    two = run(*check, *TWO_JOBS, folder=day)
    assert (one.exit, two.exit) == (1, 1)
    assert one == two
    for told in ("table", "csv"):
        pair = [run(*check[:-1], told, *jobs, folder=day) for jobs in ((), TWO_JOBS)]
        assert pair[0] == pair[1] and pair[0].exit == 1
    lines = [line for line in one.error.splitlines() if line.startswith("qxutils: ")]
    assert len(lines) == BROKEN and all("broken" in line and "give another --shape" in line for line in lines)
    results = document(one.output)["results"]
    verdicts = [result["verdict"] for result in results]
    assert (verdicts.count("passed"), verdicts.count("not passed"), verdicts.count("failed")) == (194, 1, 5)
    files = [result["file"] for result in results]
    assert files == sorted(files) and len(files) == GOOD + BROKEN
    for result, failed in zip(results, (verdict == "failed" for verdict in verdicts)):
        assert failed == ("message" in result and "bytes, but" in result["message"]) != ("crc" in result)


def children_of(process: subprocess.Popen) -> set[int]:
    lists = Path(f"/proc/{process.pid}/task").glob("*/children")
    return {int(child) for child in " ".join(map(text_of, lists)).split()}


@on_linux_only
@pytest.mark.skipif(IS_ALONE, reason="the emulator runs no second process")
def test_a_process_that_dies_costs_no_result(day):
    check = ["check", "dark", "morning", "--recursive", *SHAPE, "--format", "csv"]
    expected = run(*check, folder=day)
    running = subprocess.Popen([*COMMAND, *check, "--jobs", "2"], cwd=day, stdout=subprocess.PIPE,
                               stderr=subprocess.PIPE)
    children = set()
    while running.poll() is None and len(children) < 2:
        children = children_of(running)
    for child in children:
        os.kill(child, signal.SIGKILL)
    output, _ = running.communicate()
    assert len(children) == 2
    assert (running.returncode, output) == (expected.exit, expected.output)


@on_linux_only
@pytest.mark.skipif(IS_ALONE, reason="the emulator runs no second process")
def test_a_file_whose_process_dies_twice_is_told(tmp_path):
    side = 8192  # takes longer to judge than to be seen here
    for name in ("0.raw", "1.raw"):
        with open(tmp_path / name, "wb") as image:
            image.truncate(2 * side * side)
    running = subprocess.Popen([*COMMAND, "check", "dark", ".", "--shape", f"{side}x{side}", "--jobs", "2"],
                               cwd=tmp_path, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
    killed = set()
    while running.poll() is None and len(killed) < 4:  # a sanitizer has a process of its own at the end
        for child in children_of(running) - killed:
            os.kill(child, signal.SIGKILL)
            killed.add(child)
    _, error = running.communicate()
    assert (running.returncode, len(killed)) == (1, 4)
    assert sorted(error.splitlines()) == [
        f"qxutils: ./{i}.raw: the process that judges it died twice; try it without --jobs" for i in range(2)]


@on_linux_only
@pytest.mark.skipif(IS_ALONE, reason="the emulator runs no second process")
def test_what_a_process_made_before_it_died_is_no_obstacle(tmp_path):
    """It dies while it draws the picture of an image that it has written."""
    side = 1024
    for i in range(2):
        noise(i, side=side).tofile(tmp_path / f"{i}.raw")
    running = subprocess.Popen([*COMMAND, "--no-clobber", "filter", "median", ".", "--shape", f"{side}x{side}", "-o",
                                "out/", "--png", "out/", "--jobs", "2"], cwd=tmp_path, stdout=subprocess.DEVNULL)
    while running.poll() is None and not list(tmp_path.glob("out/?.raw")):
        pass
    for child in children_of(running):
        with contextlib.suppress(ProcessLookupError):
            os.kill(child, signal.SIGKILL)
    assert running.wait() == 0
    assert {"0.png", "0.raw", "1.png", "1.raw"} <= {path.name for path in (tmp_path / "out").iterdir()}


def test_files_are_named_in_every_way(day):
    (day / "list").write_bytes(b"\xef\xbb\xbf150.raw\r\n\n151.raw\n")
    image = (day / "150.raw").read_bytes()

    def files(*names, **options) -> list[str]:
        done = run("snr", *names, *SHAPE, "--format", "csv", folder=day, **options)
        assert done.exit == 0, done
        read = csv.DictReader(io.StringIO(done.output.decode()))
        return list(dict.fromkeys(row["file"] for row in read))

    assert files("@list", "152.raw", "150.raw") == ["150.raw", "151.raw", "152.raw"]
    if not IS_WINDOWS:
        assert files("-", "151.raw", input=image) == ["-", "151.raw"]
        assert files("@-", *TWO_JOBS, input=b"152.raw\n151.raw\n") == ["152.raw", "151.raw"]
    assert len(files(".")) == GOOD - 150
    (day / "capitals").mkdir(exist_ok=True)
    (day / "capitals/152.RAW").write_bytes(image)
    assert files("capitals") == ["capitals/152.RAW"]
    (day / "empty").mkdir(exist_ok=True)
    refused(run("snr", "empty", *SHAPE, folder=day), 1, "empty: no file in it ends in .raw")
    refused(run("snr", "@nowhere", *SHAPE, folder=day), 1, "nowhere: no such file")
    (day / "wide").write_text("150.raw\n", encoding="utf-16")
    refused(run("snr", "@wide", *SHAPE, folder=day), 1, "wide: holds zero bytes, which no name has; save it as text")
    with open(day / "sparse", "wb") as sparse:
        sparse.truncate(5 << 30)
    refused(run("snr", "@sparse", *SHAPE, folder=day), 1, "sparse: longer than", "give a text file with one name a line")
    (day / "sparse").unlink()


def test_every_command_that_measures_tells_its_results_as_json_and_csv(day, tmp_path):
    np.full((1024, 1024), 900, "<f4").tofile(tmp_path / "float.raw")
    noise(1, 100.0).tofile(tmp_path / "dark.raw")
    np.indices((192, 192)).sum(0).__mod__(2).__add__(12353).astype("<u2").tofile(tmp_path / "wide.raw")
    noise(3, side=128).astype("<u4").tofile(tmp_path / "long.raw")
    image = str(day / "150.raw")
    commands = {
        "check first": ((image, "dark.raw", "--shape", "128x128"), None),
        "check strip": ((image, *SHAPE), "counts"),
        "check false-trigger": (("float.raw", "--shape", "1024"), "counts"),
        "check gain-group": ((image, image), None),
        "check dark-times": (("1;2", "2"), None),
        "snr": ((image, *SHAPE), None),
        "info": ((image, *SHAPE), "counts"),
        "preview": ((image, *SHAPE, "-o", "out.png"), "pixels"),
        "filter median": ((image, *SHAPE, "-o", "out.raw"), "counts"),
        "filter ratio": ((image, *SHAPE, "-o", "out.float"), "pixels"),
        "resize": ((image, *SHAPE, "--to", "64x64", "-o", "out.raw"), "pixels"),
        "stripe": (("wide.raw", "--shape", "192x192", "--trigger", "96", "-o", "out.raw"), "counts"),
        "ndt calibrate": (("long.raw", "long.raw", *SHAPE, "--out", "calibration"), "counts"),
    }
    for command, (arguments, unit) in commands.items():
        told = run(*command.split(), *arguments, "--format", "json", folder=tmp_path)
        if command == "check first":  # its blocks do not fit into so small an image
            assert told.exit == 1 and document(told.output)["results"][0]["verdict"] == "failed"
            continue
        results = document(told.output)["results"]
        assert results and all(result["command"] == command for result in results), told
        assert all(("crc" in result) == (result["file"] != "") for result in results), told
        measures = [measure for result in results for measure in result["measures"] + result.get("squares", [])]
        assert measures and (unit is None or unit in {measure["unit"] for measure in measures}), told
        rows = list(csv.DictReader(io.StringIO(run(*command.split(), *arguments, "--format", "csv",
                                                   folder=tmp_path).output.decode())))
        assert len(rows) == len(measures) and {row["version"] for row in rows} == {document(told.output)["version"]}
        values = [float(row["value"]) for row in rows]
        assert values == [measure.get("value", measure.get("measured")) for measure in measures]


def deceiving(level: int) -> np.ndarray:
    """Noise whose quiet rows, of another level, are those of a sample of 16 pairs from the top to the bottom."""
    image = np.random.default_rng(5).integers(1000, 1050, (400, 60))
    tops = [388 * i // 15 for i in range(16)]
    for top in tops:
        image[top + 5:top + 7] = level
    return image


@pytest.mark.parametrize("image", [
    np.random.default_rng(1).integers(20000, 20100, (11, 11)),
    np.random.default_rng(2).integers(0, 65536, (74, 40)),
    np.random.default_rng(3).integers(0, 2, (139, 21)),
    np.full((80, 30), 1000),
    deceiving(500),
    deceiving(60000),
], ids=["smallest", "noise", "zeros", "even", "dark sample", "bright sample"])
def test_ratios_are_told_as_they_are_written(image, tmp_path):
    image.astype("<u2").tofile(tmp_path / "image.raw")
    shape = f"{image.shape[1]}x{image.shape[0]}"
    done = run("filter", "ratio", "image.raw", "--shape", shape, "-o", "ratio.float", "--format", "json",
               folder=tmp_path)
    assert done.exit == 0, done
    windows = np.lib.stride_tricks.sliding_window_view(image.astype(np.float32), (11, 11))
    ratio = np.ones(image.shape, np.float32)
    with np.errstate(divide="ignore", invalid="ignore"):
        ratio[5:-5, 5:-5] = np.median(np.median(windows, axis=3), axis=2) / image[5:-5, 5:-5].astype(np.float32)
    assert np.array_equal(np.fromfile(tmp_path / "ratio.float", "<f4").reshape(image.shape), ratio, equal_nan=True)
    inside = np.sort(ratio[5:-5, 5:-5][np.isfinite(ratio[5:-5, 5:-5])])
    measures = document(done.output)["results"][0]["measures"]
    told = {measure["name"]: np.float32(measure["value"]) for measure in measures}
    assert told == {"minimum inside": inside[0], "median inside": inside[(len(inside) - 1) // 2],
                    "maximum inside": inside[-1], "pixels without a ratio": ratio[5:-5, 5:-5].size - len(inside)}


def test_a_series_is_judged_by_what_one_has(day, tmp_path):
    image, reference = str(day / "150.raw"), str(day / "151.raw")

    def verdicts(factory: str) -> list:
        done = run("snr", image, *SHAPE, "--factory", factory, "--format", "json", folder=tmp_path)
        result = document(done.output)["results"][0]
        assert (result["verdict"], result["code"]) == ("passed", 0) and len(result["measures"]) == 1
        return [result["grade"], *result["squares"]]

    saved = run("snr", reference, *SHAPE, "--format", "json", folder=tmp_path).output
    (tmp_path / "today.json").write_bytes(saved)
    series = [square["measured"] for square in json.loads(saved)["results"][0]["squares"]]
    (tmp_path / "list.json").write_text(json.dumps({"snr": series}))
    line = json.loads(saved)
    line |= line.pop("results")[0]
    (tmp_path / "lines.json").write_text(2 * (json.dumps(line) + "\n"))
    (tmp_path / "list.txt").write_text("\ufeff" + "\n".join(map(str, series)), encoding="utf-8")
    for told in ("today.json", "list.json", "lines.json", "list.txt"):
        assert verdicts(told) == verdicts(reference)
    if not IS_WINDOWS:
        several = ("snr", image, reference, *SHAPE, "--format", "json", "--factory")
        piped = run(*several, "-", "--jobs", "2", input=Path(reference).read_bytes(), folder=tmp_path)
        assert (piped.exit, piped.output) == (0, run(*several, reference, folder=tmp_path).output), piped
    again = run("snr", "today.json", *SHAPE, "--format", "json", folder=tmp_path)
    assert again.output == saved
    (tmp_path / "cut.raw").write_bytes(Path(reference).read_bytes()[:-2])
    refused(run("snr", image, *SHAPE, "--factory", "cut.raw", folder=tmp_path), 1, "32766 bytes, but 128x128 needs")
    refused(run("snr", "today.json", *SHAPE, "--factory", "list.json", folder=tmp_path), 1, "is not judged again")


def result(**parts) -> str:
    record = {"command": "snr", "file": "a", "verdict": "measured", "measures": []}
    return json.dumps({"results": [record | parts]})


@pytest.mark.parametrize("content", [
    '{"snr":' + "[" * 400000 + "]" * 400000 + "}",
    '{"results":[' + '{"squares":' * 80000 + "1" + "}" * 80000 + "]}",
    result(verdict="\x1b[31m" * 100000),
    result(measures=[{"name": "m", "value": 1, "unit": "", "decimals": "9" * 100000}]),
    "", '{"results": [1]}', "[]", '"\xff\x1b\n', '{"schema": 2, "results": []}',
], ids=["deep list", "deep results", "loud", "long text", "empty", "number", "list", "broken", "newer"])
def test_no_content_of_results_does_harm(content, day, tmp_path):
    (tmp_path / "bad.json").write_text(content, encoding="latin-1")
    image = str(day / "150.raw")
    for command in (("compare", "bad.json", "bad.json"), ("snr", "bad.json", *SHAPE),
                    ("snr", image, *SHAPE, "--factory", "bad.json")):
        told = run(*command, folder=tmp_path)
        refused(told, 1, "qxutils: bad.json: ")
        assert len(told.error) < 400 and "\x1b" not in told.error


def test_no_key_of_settings_does_harm(day, tmp_path):
    (tmp_path / "bad.toml").write_text("a" + 500000 * ".a" + " = 1\n")
    for command in (("snr", str(day / "150.raw"), *SHAPE, "--factory", "bad.toml"), ("--detector", "bad.toml", "version")):
        refused(run(*command, folder=tmp_path), 1, "bad.toml: more points on a line than a key may have")


def test_results_from_elsewhere_are_shown_in_print(tmp_path):
    odd = result(file="\x1b[31m\n", message="\x1b[32m", code=4711, squares=[{"side": 64, "measured": 5.0}])
    (tmp_path / "odd.json").write_text(odd)
    assert b"5.0" in run("snr", "odd.json", "--shape", "64x64", folder=tmp_path).output
    (tmp_path / "endless.json").write_text(odd.replace("5.0", '"Infinity"'))
    same = [run("compare", "endless.json", "endless.json", "--format", form, folder=tmp_path).output
            for form in ("csv", "json")]
    assert same[0].endswith(b",SNR of 64 x 64,,inf,inf,,\n")
    assert b'"today":"Infinity","reference":"Infinity","difference":null,"percent":null' in same[1]
    (tmp_path / "other.json").write_text(odd.replace("5.0", "6.0"))
    compared = run("compare", "odd.json", "other.json", folder=tmp_path).output
    assert rb"\x1B[31m\x0A: snr" in compared and b"\x1b" not in compared


def test_results_of_several_files_go_into_a_folder(day, tmp_path):
    names = [str(day / name) for name in ("150.raw", "151.raw")]
    dry = run("--dry-run", "filter", "column-median", *names, *SHAPE, "-o", "out/", *TWO_JOBS, folder=tmp_path)
    assert dry.exit == 0 and dry.error.splitlines() == [
        f"qxutils: dry run: would {what}" for what in ("make the folder out/", "write out/150.raw", "write out/151.raw")]
    assert [line for line in dry.output.decode().splitlines() if line.endswith(".raw")] == names
    made = run("filter", "column-median", *names, *SHAPE, "-o", "out/", "--png", "out/", *TWO_JOBS, folder=tmp_path)
    assert made.exit == 0 and sorted(path.name for path in (tmp_path / "out").iterdir()) == [
        "150.png", "150.raw", "151.png", "151.raw"]
    refused(run("preview", *names, *SHAPE, "-o", "one.png", folder=tmp_path), 2, "one name for the results of 2 files")
    refused(run("preview", names[0], names[0], *SHAPE, "-o", "out", folder=tmp_path), 2,
            "would both be written to out/150.png; give them in two calls")


@on_linux_only
def test_settings_from_a_stream_are_those_of_every_process(day):
    check = ("check", "dark", "150.raw", "151.raw", *SHAPE)
    (day / "strict.toml").write_text("[limits]\ndarkLevelFloor = 30000\n")
    expected = run(*check, "--limits", "strict.toml", folder=day)
    assert expected.exit == 3
    for settings in (("--limits", "/dev/stdin"), ("--detector", "/dev/stdin")):
        with open(day / "strict.toml", "rb") as stream:
            assert run(*check, *settings, *TWO_JOBS, stdin=stream, folder=day) == expected


def test_standard_output_carries_results_alone(day, tmp_path):
    # A check whose function of the library prints lines of its own.
    done = run("check", "gain-group", str(day / "150.raw"), str(day / "151.raw"), "--format", "json", folder=tmp_path)
    assert "checkGainImgGroup = " in done.error and document(done.output)["results"][0]["verdict"] == "passed"


@on_linux_only
@pytest.mark.parametrize("jobs", ["1", "2"])
def test_streams_that_are_not_there(jobs, day):
    check = ("check", "gain-group", "150.raw", "151.raw", "--format", "json")
    assert document(run(*check, folder=day, preexec_fn=lambda: os.close(2)).output)
    snr = [*COMMAND, "snr", "150.raw", "nowhere", *SHAPE, "--jobs", jobs, "--format", "json"]
    mute = subprocess.run(snr, cwd=day, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, preexec_fn=lambda: os.close(2))
    assert mute.returncode == 1 and len(document(mute.stdout)["results"]) == 2
    reader, writer = os.pipe()
    os.close(reader)
    unread = subprocess.run(snr, cwd=day, stdin=subprocess.DEVNULL, stdout=writer, stderr=subprocess.PIPE)
    os.close(writer)
    assert unread.returncode == -signal.SIGPIPE and b"standard output" not in unread.stderr
