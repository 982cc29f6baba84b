"""Every command of the transcripts of README and docs, run in the demonstration's folder, says what they say."""

import functools
import os
import re
import shlex
import shutil
from pathlib import Path

import pytest

from tool import IS_WINDOWS, run

pytestmark = pytest.mark.skipif(IS_WINDOWS or bool(os.environ["QX_EMULATOR"]),
                                reason="the emulated system has no SQLite for the trend")

ROOT = Path(__file__).parents[2]
PAGES = ["README.md", *(str(page.relative_to(ROOT)) for page in sorted((ROOT / "docs").rglob("*.md")))]
LEFT_OUT = "  ..."


def commands(page: str) -> list[tuple[str, list[str]]]:
    """Each command and the lines that follow it."""
    transcripts = re.findall(r"^```\n(\$ qxutils .*?)^```", (ROOT / page).read_text(), re.MULTILINE | re.DOTALL)
    told: list[tuple[str, list[str]]] = []
    for line in "".join(transcripts).splitlines():
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


@functools.cache
def said(day: Path, arguments: str) -> str:
    """What a command says, which several pages may show."""
    done = run(*shlex.split(arguments), folder=day)
    assert done.exit in (0, 3), done
    return done.output.decode()


def test_there_are_transcripts() -> None:
    assert len(commands("README.md")) >= 12
    assert sum(len(commands(page)) > 0 for page in PAGES) >= 9


@pytest.mark.parametrize("page", filter(commands, PAGES))
def test_the_transcripts_are_true(day: Path, page: str) -> None:
    for command, lines in commands(page):
        arguments, _, saved = command.partition(" > ")
        text = said(day, arguments)
        if saved:
            (day / saved).write_text(text)
            text = ""
        if LEFT_OUT in lines:
            before, after = lines[:lines.index(LEFT_OUT)], lines[lines.index(LEFT_OUT) + 1:]
            assert text.splitlines()[:len(before)] == before, command
            assert not after or text.splitlines()[-len(after):] == after, command
        else:
            assert text.splitlines() == lines, command
