"""Every command of README's transcripts, run in the demonstration's folder, says what README says."""

import os
import re
import shlex
import shutil
from pathlib import Path

import pytest

from tool import IS_WINDOWS, run

pytestmark = pytest.mark.skipif(IS_WINDOWS, reason="the emulated system has no SQLite for the trend")

README = (Path(__file__).parents[2] / "README.md").read_text()
TRANSCRIPTS = re.findall(r"^```\n(\$ qxutils .*?)^```", README, re.MULTILINE | re.DOTALL)
LEFT_OUT = "  ..."


def commands() -> list[tuple[str, list[str]]]:
    """Each command and the lines that follow it."""
    told: list[tuple[str, list[str]]] = []
    for line in "".join(TRANSCRIPTS).splitlines():
        if line.startswith("$ qxutils "):
            told.append((line.removeprefix("$ qxutils "), []))
        else:
            told[-1][1].append(line)
    return told


@pytest.fixture(scope="module")
def day(tmp_path_factory: pytest.TempPathFactory) -> Path:
    folder = tmp_path_factory.mktemp("readme") / "demo"
    shutil.copytree(os.environ["QX_DEMO"], folder)
    return folder


def test_the_transcripts_are_true(day: Path) -> None:
    assert len(commands()) >= 12
    for command, lines in commands():
        arguments, _, saved = command.partition(" > ")
        done = run(*shlex.split(arguments), folder=day)
        text = done.output.decode()
        assert done.exit in (0, 3), done
        if saved:
            (day / saved).write_text(text)
            text = ""
        if LEFT_OUT in lines:
            before, after = lines[:lines.index(LEFT_OUT)], lines[lines.index(LEFT_OUT) + 1:]
            assert text.splitlines()[:len(before)] == before, command
            assert not after or text.splitlines()[-len(after):] == after, command
        else:
            assert text.splitlines() == lines, command
