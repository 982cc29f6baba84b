"""Runs the tool. CTest tells in QX_TOOL where it is, and in QX_EMULATOR what runs it on another system."""

import contextlib
import dataclasses
import os
import subprocess
from pathlib import Path

import pytest

TOOL = os.environ["QX_TOOL"]
COMMAND = [*os.environ["QX_EMULATOR"].split(), TOOL]
IS_WINDOWS = TOOL.endswith(".exe")

# Wine reads the names of the host's files in its locale.
os.environ["LC_ALL"] = "C.UTF-8"

# QEMU runs a program, but none that it starts of itself.
IS_ALONE = not IS_WINDOWS and bool(os.environ["QX_EMULATOR"])
TWO_JOBS = () if IS_ALONE else ("--jobs", "2")
with_a_store = pytest.mark.skipif(bool(os.environ["QX_EMULATOR"]), reason="the emulated system has no SQLite")
on_linux_only = pytest.mark.skipif(IS_WINDOWS, reason="Windows has no such files, or its emulator no such streams")


@dataclasses.dataclass
class Result:
    exit: int
    output: bytes
    error: str


def run(*arguments, folder: Path, **options) -> Result:
    """What the tool says in a folder."""
    options.setdefault("stdin", subprocess.DEVNULL if "input" not in options else None)
    if options["stdin"] is None:
        del options["stdin"]
    done = subprocess.run([*COMMAND, *arguments], cwd=folder, capture_output=True, timeout=120, **options)
    return Result(done.returncode, done.stdout, done.stderr.decode())


def text_of(path: Path) -> str:
    """Of a process's file; nothing when the process, or its thread, has ended."""
    with contextlib.suppress(FileNotFoundError, ProcessLookupError):
        return path.read_text()
    return ""


def refused(result: Result, exit: int, *texts: str) -> None:
    """Asserts that nothing but one line was said, which holds these texts."""
    assert (result.exit, result.output) == (exit, b""), result
    assert result.error.startswith("qxutils: ") and result.error.count("\n") == 1, result
    for text in texts:
        assert text in result.error
