"""The files that the tool reads and writes: nothing half-written, nothing lost, names and streams of every kind."""

import fcntl
import os
import resource
import signal
import stat
import struct
import subprocess
import threading
from pathlib import Path

import pytest
from tool import COMMAND, IS_WINDOWS, on_linux_only, refused, run

SIDE = 128
SHAPE = ("--shape", f"{SIDE}x{SIDE}")
PIXELS = b"A0C0" * (SIDE * SIDE // 2)
HEADER = b"H" * 65536
LINES = b"QUFBQUFB\n" * 3000
PREVIEW = ("preview", "image.raw", *SHAPE, "-o")

# Commands that write a file of more than 1024 bytes, up to its name.
WRITERS = {
    "picture": ("preview", "image.raw", *SHAPE, "--max-width", "128", "--low", "0", "--high", "100", "-o"),
    "image": ("filter", "median", "image.raw", *SHAPE, "-o"),
    "floats": ("filter", "ratio", "image.raw", *SHAPE, "-o"),
    "text": ("base64", "encode", "image.raw", "-o"),
    "bytes": ("base64", "decode", "lines.b64", "-o"),
    "lines": ("base64", "decode-lines", "lines.b64", "-o"),
}


@pytest.fixture
def folder(tmp_path: Path) -> Path:
    noise = bytes(17 * i * i % 251 for i in range(SIDE * SIDE * 2))
    (tmp_path / "image.raw").write_bytes(noise)
    (tmp_path / "lines.b64").write_bytes(LINES)
    (tmp_path / "old").write_bytes(b"old")
    return tmp_path


def names(folder: Path) -> set[str]:
    return {entry.name for entry in folder.iterdir()}


@pytest.mark.parametrize("writer", WRITERS.values(), ids=WRITERS)
def test_a_written_file_replaces_the_old_one_as_a_whole(folder, writer):
    before = names(folder)
    assert run(*writer, "new", folder=folder).exit == 0
    if not IS_WINDOWS:
        (folder / "old").chmod(0o640)
        (folder / "link").symlink_to("old")
    target = "old" if IS_WINDOWS else "link"
    assert run(*writer, target, folder=folder).exit == 0
    assert (folder / "old").read_bytes() == (folder / "new").read_bytes()
    assert len((folder / "old").read_bytes()) > 512
    assert names(folder) - before == {"new", target} - {"old"}
    if not IS_WINDOWS:
        assert (folder / "link").is_symlink()
        assert stat.S_IMODE((folder / "old").stat().st_mode) == 0o640


@on_linux_only
@pytest.mark.parametrize("signal_", [signal.SIGINT, signal.SIGTERM, signal.SIGHUP, signal.SIGPIPE])
@pytest.mark.parametrize("output", ["old", "/dev/null"])
def test_an_interrupted_file_leaves_the_old_one(folder, output, signal_):
    """The library tells of every tenth line; nobody reads that, so that it waits in the middle of the file."""
    (folder / "lines.b64").write_bytes(b"QUFB\n" * 200_000)
    before = names(folder)
    process = subprocess.Popen([*COMMAND, "base64", "decode-lines", "lines.b64", "-o", output], cwd=folder,
                               stdout=subprocess.PIPE, stderr=subprocess.STDOUT, bufsize=0,
                               env={**os.environ, "TMPDIR": str(folder)})
    assert process.stdout.read(1)
    (temporary,) = names(folder) - before
    assert temporary.startswith(f".old.qxutils-{process.pid}-" if output == "old" else "qxutils-")
    process.send_signal(signal_)
    assert process.wait(timeout=60) == -signal_
    process.stdout.close()
    assert names(folder) == before
    assert (folder / "old").read_bytes() == b"old"


@on_linux_only
@pytest.mark.parametrize("signal_", [signal.SIGINT, signal.SIGTERM])
def test_a_file_of_the_library_becomes_whole_first(folder, signal_):
    """The library tells of each image; it goes on when that is read, and the signal has come."""
    (folder / "small.toml").write_text("[detector]\nwidth = 128\nheight = 128\n")
    (folder / "500ms").mkdir()
    header = (bytes(12) + struct.pack(">ii", SIDE, SIDE)).ljust(len(HEADER))
    (folder / "500ms" / "0").write_bytes(header + PIXELS)
    for i in range(1, 400):
        (folder / "500ms" / str(i)).hardlink_to(folder / "500ms" / "0")
    reader, writer = os.pipe()
    fcntl.fcntl(writer, fcntl.F_SETPIPE_SZ, 4096)
    process = subprocess.Popen([*COMMAND, "--detector", "small.toml", "factory-snr", "."], cwd=folder,
                               stdout=subprocess.DEVNULL, stderr=writer)
    os.close(writer)
    assert os.read(reader, 1)
    before = names(folder)
    process.send_signal(signal_)
    while os.read(reader, 4096):
        pass
    os.close(reader)
    assert process.wait(timeout=60) == -signal_
    assert [(folder / name).stat().st_size for name in names(folder) - before] == [65552 + 400 * 20]


@on_linux_only
@pytest.mark.parametrize("writer", WRITERS.values(), ids=WRITERS)
def test_what_cannot_be_replaced_is_written_in_place(folder, writer):
    assert run(*writer, "new", folder=folder).exit == 0
    expected = (folder / "new").read_bytes()

    result = run(*writer, "/dev/full", folder=folder)
    assert result.exit == 1
    assert result.error.endswith("qxutils: /dev/full: cannot be written completely; check that there is room\n")
    with open(folder / "stream", "wb", buffering=0) as stream:
        stream.write(b"before")
        subprocess.run([*COMMAND, *writer, "/dev/stdout"], cwd=folder, stdout=stream, check=True, timeout=60)
    content = (folder / "stream").read_bytes()
    assert content.startswith(b"before") and expected in content

    os.mkfifo(folder / "pipe")
    received = []
    reader = threading.Thread(target=lambda: received.append((folder / "pipe").read_bytes()), daemon=True)
    reader.start()
    assert run(*writer, "pipe", folder=folder).exit == 0
    reader.join(timeout=60)
    assert received == [expected] and stat.S_ISFIFO((folder / "pipe").stat().st_mode)

    # The temporary name would be longer than a path may be.
    identity = (folder / "old").stat().st_ino
    assert run(*writer, "./" * 2045 + "old", folder=folder).exit == 0
    assert (folder / "old").read_bytes() == expected and (folder / "old").stat().st_ino == identity


def test_the_longest_name_has_room_for_a_temporary_one(folder):
    name = "ü" * 125 + ".png" if not IS_WINDOWS else "x" * 200 + ".png"
    (folder / name).touch()
    identity = (folder / name).stat().st_ino
    assert run(*PREVIEW, name, folder=folder).exit == 0
    assert names(folder) == {"image.raw", "lines.b64", "old", name}
    assert (folder / name).stat().st_ino != identity


def test_a_dry_run_judges_and_writes_nothing(folder):
    before = {name: (folder / name).read_bytes() for name in names(folder)}
    for writer in WRITERS.values():
        for target, verb in {"old": "replace", "new": "write"}.items():
            dry = run(*writer, target, "--dry-run", folder=folder)
            assert (dry.exit, dry.error.splitlines()[-1]) == (0, f"qxutils: dry run: would {verb} {target}")
            assert {name: (folder / name).read_bytes() for name in names(folder)} == before
            assert run(*writer, target, folder=folder).output.splitlines()[-1] == dry.output.splitlines()[-1]
            (folder / "new").unlink(missing_ok=True)
            (folder / "old").write_bytes(b"old")
    refused(run("--dry-run", *PREVIEW, "nowhere/new", folder=folder), 1, "nowhere/new: cannot be written; check that")
    refused(run("--dry-run", "check", "dark", "image.raw", *SHAPE, "--store", "nowhere/new", folder=folder), 1,
            "nowhere/new: cannot be written; check that")
    refused(run("--dry-run", "preview", "old", *SHAPE, "-o", "new", folder=folder), 1, "old: 3 bytes")
    for command in (("demo", "--out", "made"), ("factory-snr", "."),
                    ("ndt", "calibrate", "image.raw", "image.raw", "--shape", "64x128", "--out", "made"),
                    ("ndt", "correct", "image.raw", "--shape", "64x128", "--calibration", "made", "-o", "new")):
        refused(run("--dry-run", *command, folder=folder), 2, "writes its files as it goes; leave it out")
    assert {name: (folder / name).read_bytes() for name in names(folder)} == before


def test_a_dry_run_writes_what_is_its_own(folder):
    """The stored dark image goes to a temporary folder, but the log nowhere."""
    (folder / "dim.float").write_bytes(b"00HC" * 1024 * 1024)
    (folder / "log.toml").write_text("[limits]\nloggingEnabled = true\n")
    before = names(folder)
    for check in (("rcn", "--shape", "1024x1024", "--image", "dim.float"),
                  ("false-trigger", "dim.float", "--shape", "1024x1024")):
        command = ("--detector", "log.toml", "check", *check)
        dry = run("--dry-run", *command, folder=folder)
        assert names(folder) == before
        assert run(*command, folder=folder) == dry
    assert names(folder) - before == {"logs"}


def test_no_clobber_replaces_nothing(folder):
    for writer in WRITERS.values():
        refused(run("--no-clobber", *writer, "old", folder=folder), 1,
                "old: is there already; give another name, or leave out --no-clobber")
        assert (folder / "old").read_bytes() == b"old"
        assert run("--no-clobber", *writer, "new", folder=folder).exit == 0
        (folder / "new").unlink()
    (folder / "made").mkdir()
    (folder / "made" / "kept").touch()
    for command in (("demo", "--out", "made"),
                    ("ndt", "calibrate", "image.raw", "image.raw", "--shape", "64x128", "--out", "made")):
        refused(run("--no-clobber", *command, folder=folder), 1, "made: holds files already")
    assert names(folder / "made") == {"kept"}


def own_inputs(folder: Path) -> dict[str, tuple[str, ...]]:
    """Commands whose output is one of their inputs, under another spelling or name."""
    (folder / "made").mkdir()
    (folder / "long.raw").write_bytes(b"00AA" * 64 * 64)
    (folder / "detector.toml").write_text("[detector]\nwidth = 128\n")
    (folder / "empty.toml").touch()
    (folder / "list").write_text("image.raw\n")
    (folder / "others").mkdir()
    os.link(folder / "lines.b64", folder / "others" / "image.raw")
    (folder / "other.raw").write_bytes(b"00AA" * 64 * 64)
    os.link(folder / "long.raw", folder / "same.raw")
    if not IS_WINDOWS:
        (folder / "linked").symlink_to("image.raw")
    long = ("--shape", "64x64")
    assert run("ndt", "calibrate", "long.raw", "long.raw", *long, "--out", "made", folder=folder).exit == 0
    gain = next((folder / "made" / "gain").iterdir()).name
    image = "image.raw" if IS_WINDOWS else "linked"
    stripe = ("stripe", "image.raw", *SHAPE, "--trigger", "64", "--reference")
    return {
        "spelling": (*PREVIEW, "made/../image.raw"),
        "link": ("filter", "equalize", "image.raw", *SHAPE, "-o", "new", "--png", image),
        "reference": (*stripe, "lines.b64", "-o", "new", "--png", "lines.b64"),
        "dark": ("ndt", "correct", "other.raw", "long.raw", *long, "--calibration", "made", "-o", "same.raw"),
        "calibration": ("ndt", "correct", "other.raw", "long.raw", *long, "--calibration", "made", "-o",
                        f"made/gain/{gain}"),
        "settings": ("--detector", "detector.toml", *PREVIEW, "detector.toml"),
        "store": ("--detector", "empty.toml", "check", "dark", "image.raw", *SHAPE, "--store", "./empty.toml"),
        "later": ("filter", "equalize", "image.raw", "lines.b64", *SHAPE, "-o", "others/"),
        "list": (*PREVIEW[:1], "@list", *SHAPE, "-o", "list"),
        "page": ("report", "image.raw", *SHAPE, "-o", "page.html", "--store", "page.json"),
        "made": ("ndt", "calibrate", "long.raw", f"made/gain/{gain}", *long, "--out", "made/."),
        "twice": ("filter", "equalize", "image.raw", *SHAPE, "-o", "new", "--png", "./new"),
    }


def test_an_output_is_never_an_input(folder):
    for case, command in own_inputs(folder).items():
        before = {path: path.read_bytes() for path in folder.rglob("*") if path.is_file()}
        result = run(*command, folder=folder)
        told = {"twice": "would be written twice", "made": "lies where calibration files are written"}
        read = dict.fromkeys(("settings", "calibration", "store", "later", "list"), "would overwrite a file that was")
        text = (told | read).get(case, "would overwrite the file it is made from")
        assert (case, result.exit) == (case, 2) and text in result.error, result
        assert {path: path.read_bytes() for path in folder.rglob("*") if path.is_file()} == before
    gain = next((folder / "made" / "gain").iterdir())
    refused(run("ndt", "calibrate", gain.name, gain.name, "--shape", "64x64", "--out", "..", folder=gain.parent), 2,
            f"{gain.name}: lies where calibration files are written")


@on_linux_only
def test_an_output_is_not_what_standard_input_reads(folder):
    with open(folder / "image.raw", "rb") as image:
        refused(run("preview", "-", *SHAPE, "-o", "image.raw", stdin=image, folder=folder), 2,
                "image.raw: would overwrite the file it is made from; give another name")


@on_linux_only
@pytest.mark.parametrize("name", ["-", "/dev/stdin", "/proc/self/fd/0"])
def test_standard_input_is_a_file(folder, name):
    image = (folder / "image.raw").read_bytes()
    assert run(*PREVIEW, "expected", folder=folder).exit == 0
    for content in (image, HEADER + image):
        assert run("preview", name, *SHAPE, "-o", "got", input=content, folder=folder).exit == 0
        assert (folder / "got").read_bytes() == (folder / "expected").read_bytes()
        (folder / "got").unlink()
    needed = f"bytes, but {SIDE}x{SIDE} needs {len(image)}, or {len(image) + len(HEADER)} with a header; give"
    for content, told in ((image[1:], len(image) - 1), (b"", 0), (HEADER[1:] + image, len(HEADER + image) - 1),
                          (HEADER + image + b"\0", f"more than {len(HEADER + image)}")):
        refused(run("preview", name, *SHAPE, "-o", "got", input=content, folder=folder), 1, f"{name}: {told} {needed}")
    floats = ("check", "false-trigger", name, "--shape", "1024x1024")
    assert b" 804 " in run(*floats, input=b"00ID" * 1024 * 1024, folder=folder).output
    refused(run(*floats, input=b"00ID" * 1024 * 1024 + b"0", folder=folder), 1, f"{name}: more than 4194304 bytes")
    (folder / "factory.txt").write_text("1 " * 9)
    timed = run("snr", name, *SHAPE, "--factory", "factory.txt", input=HEADER + PIXELS, folder=folder)
    assert timed.exit in (0, 3) and b"12147.0" in timed.output
    assert run("base64", "encode", name, input=LINES, folder=folder).output.startswith(b"UVVGQlFVRkIK")
    group = ("check", "gain-group", "image.raw")
    assert run(*group, name, input=image, folder=folder).output == run(*group, "image.raw", folder=folder).output
    refused(run("defects", name, input=b"", folder=folder), 1, f"qxutils: {name}: no defects can be read")


@on_linux_only
def test_a_stream_is_read_no_further_than_its_shape(folder):
    """The other end stays open: a reader that waited for the end would wait for ever."""
    with subprocess.Popen([*COMMAND, "preview", "-", *SHAPE, "-o", "got"], cwd=folder, stdin=subprocess.PIPE,
                          stderr=subprocess.PIPE) as process:
        process.stdin.write(HEADER + (folder / "image.raw").read_bytes() + b"\0")
        process.stdin.flush()
        assert process.wait(timeout=60) == 1
        assert b"more than" in process.stderr.read()


@on_linux_only
def test_a_substituted_process_is_a_file(folder):
    reader, writer = os.pipe()
    thread = threading.Thread(target=lambda: (os.write(writer, (folder / "image.raw").read_bytes()), os.close(writer)))
    thread.start()
    assert run("preview", f"/dev/fd/{reader}", *SHAPE, "-o", "got", folder=folder, pass_fds=[reader]).exit == 0
    thread.join()
    os.close(reader)
    assert names(folder) == {"image.raw", "lines.b64", "old", "got"}


def bad_inputs(folder: Path) -> dict[str, str]:
    (folder / "empty").mkdir(exist_ok=True)
    inputs = {"empty": "no file in it ends in .raw", "nowhere.raw": "no such file; check the name",
              "old": "3 bytes, but", "lines.b64": f"{len(LINES)} bytes, but"}
    if IS_WINDOWS:
        return inputs
    os.mkfifo(folder / "pipe")
    with open(folder / "sparse", "wb") as sparse:
        sparse.truncate(5 << 30)
    (folder / "loop").symlink_to("loop")
    return inputs | {"pipe": "is a pipe; give a file, or - to read standard input", "sparse": "5368709120 bytes, but",
                     "/dev/zero": "is no regular file; give a raw image file", "loop": "no such file",
                     "/proc/self/mem": "0 bytes, but", "old/x": "no such file"}


def take_little() -> None:
    # The address sanitizer takes far more for itself.
    if b"__asan_init" in Path(os.environ["QX_TOOL"]).read_bytes():
        return
    resource.setrlimit(resource.RLIMIT_AS, (1 << 30, 1 << 30))


def test_bad_inputs_are_told_in_one_line(folder):
    for name, reason in bad_inputs(folder).items():
        for command in (("preview", name, *SHAPE, "-o", "got"), ("check", "false-trigger", name, *SHAPE),
                        ("ndt", "correct", name, *SHAPE, "--calibration", ".", "-o", "got")):
            refused(run(*command, folder=folder), 1, f"qxutils: {name}: {reason}")
    assert "got" not in names(folder)
    if not IS_WINDOWS:
        with open(folder / "sparse", "rb") as sparse:
            refused(run("preview", "-", *SHAPE, "-o", "got", stdin=sparse, folder=folder), 1, "-: 5368709120 bytes")
        side = 50000
        with open(folder / "vast", "wb") as vast:
            vast.write(bytes(12) + struct.pack(">ii", side, side))
            vast.truncate(len(HEADER) + 2 * side * side)
        assert b"no plausible panel shape" in run("info", "vast", folder=folder, preexec_fn=take_little).output
        refused(run("base64", "encode", "sparse", folder=folder), 1, "sparse: longer than 2147483647 bytes")
        refused(run("check", "gain-group", "sparse", folder=folder), 1, "qxutils: sparse: checkGainImgGroup gives no")
        refused(run("check", "gain-group", "image.raw", "sparse", folder=folder), 1,
                "sparse: 5368709120 bytes, but image.raw has 32768; give images of one size")
        refused(run("--detector", "pipe", "version", folder=folder), 1, "pipe: is a pipe; give a file\n")
        (folder / "bytes").write_bytes(b"[limits]\n# \x1b[31m \xff\n")
        for name, reason in {"sparse": "longer than 1048576 bytes", "bytes": "holds bytes that are no text"}.items():
            for command in (("--detector", name, "version"), ("snr", "image.raw", *SHAPE, "--factory", name),
                            ("check", "dark", "image.raw", *SHAPE, "--limits", name)):
                refused(run(*command, folder=folder), 1, f"{name}: {reason}")
        directory = os.open(folder, os.O_RDONLY)
        refused(run("preview", "-", *SHAPE, "-o", "got", folder=folder, stdin=directory), 1, "-: is a directory; give")
        os.close(directory)
        refused(run("preview", "-", *SHAPE, "-o", "got", folder=folder, preexec_fn=lambda: os.close(0)), 1, "-: cannot")


def test_names_may_be_in_any_script(folder):
    place = folder / "Prüfstand 検査"
    place.mkdir()
    (place / "画像.raw").write_bytes(b"A0C0" * 300 * 600)
    (place / "線.b64").write_bytes(b"Zm9v\n")
    (place / "設定.toml").write_text("[detector]\nwidth = 600\nheight = 600\n")
    for time in ("300ms", "500ms"):
        (place / time).mkdir()
        (place / time / "絵.raw").write_bytes(HEADER + b"A0C0" * 300 * 600)
    image, shape = f"{place.name}/画像.raw", ("--shape", "600x600")
    settings = ("--detector", f"{place.name}/設定.toml")
    long = ("--shape", "600x300", "--calibration", f"{place.name}/校正")
    assert b"12147.0" in run(*settings, "snr", image, *shape, folder=folder).output
    for command, name in {
            ("preview", image, *shape, "-o"): "絵.png", ("base64", "encode", image, "-o"): "文.b64",
            ("base64", "decode-lines", f"{place.name}/線.b64", "-o"): "行.txt"}.items():
        result = run(*command, f"{place.name}/{name}", folder=folder)
        assert result.exit == 0 and result.output.decode().splitlines()[-1].startswith(f"{place.name}/{name}: "), result
        assert (place / name).stat().st_size > 0
    info = run("info", image, f"{place.name}/絵.png", folder=folder)
    assert info.exit == 0 and [line for line in info.output.decode().splitlines() if "検査" in line] == [
        image, f"{place.name}/絵.png"]
    assert run("ndt", "calibrate", image, image, *long[:2], "--out", long[3], folder=folder).exit == 0
    assert run("ndt", "correct", image, image, *long, "-o", f"{place.name}/後.raw", folder=folder).exit == 0
    assert run("check", "gain-group", image, image, folder=folder).exit == 0
    refused(run("preview", image, *shape, "-o", image, folder=folder), 2, f"{image}: would overwrite")
    assert not [name for name in names(place) if "qxutils" in name]


@on_linux_only
def test_names_may_be_any_bytes_and_are_told_in_print(folder):
    name = b"\xff\x1b[31m\xc3\xbc\n\xc2\x9b.raw"
    shown = r"\xFF\x1B[31mü\x0A\xC2\x9B.raw"
    refused(run("info", name, folder=folder), 1, f"qxutils: {shown}: no such file; check the name")
    os.rename(folder / "image.raw", os.fsencode(folder) + b"/" + name)
    assert run("preview", name, *SHAPE, "-o", b"\xfe.png", folder=folder).exit == 0
    assert b"\xfe.png" in os.listdir(os.fsencode(folder))
    refused(run("preview", name, *SHAPE, "-o", name, folder=folder), 2, f"{shown}: would overwrite")
    refused(run("--dry-run", "preview", name, *SHAPE, "-o", b"\xfe/x", folder=folder), 1, r"\xFE/x: cannot be written")
    for other in (b"\xfd.raw", b"\xfc.raw"):
        os.link(os.fsencode(folder) + b"/" + name, os.fsencode(folder) + b"/" + other)
    listed = run("check", "dark", ".", *SHAPE, folder=folder).output.decode()
    assert all(f"  ./{other}\n" in listed for other in (r"\xFC.raw", r"\xFD.raw", shown)), listed
