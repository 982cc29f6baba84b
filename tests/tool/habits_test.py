"""What a person does at a terminal: misspells, completes, asks for colours, and has no shape at hand."""

import array
import os
import random
import re
import shutil
import subprocess
from collections import Counter
from pathlib import Path
from unicodedata import combining, east_asian_width

import pytest
from tool import COMMAND, IS_WINDOWS, on_linux_only, refused, run

STATUS_CODES = Path(__file__).parents[2] / "include/QxUtils/StatusCode.h"
SHELLS = ("bash", "zsh", "fish")
COLOUR = b"\x1b[33m1088\x1b[0m"  # of a warning


def said(*arguments, folder: Path, **environment) -> str:
    result = run(*arguments, folder=folder, env={**os.environ, "COLUMNS": "", **environment})
    assert (result.exit, result.error) == (0, "")
    return result.output.decode().replace("\r\n", "\n")


@pytest.mark.parametrize("text, shape", {
    "1024x768": "1024x768", "1024X768": "1024x768", "1024,768": "1024x768", "16384x1": "16384x1", "512": "512x512",
    "3072": "3072x3072", "4343": "3072x3072", "3543": "2560x3072", "4335": "3072x2560"}.items())
def test_a_shape_is_written_in_several_ways(text, shape, tmp_path):
    (tmp_path / "tiny.raw").write_bytes(b"AA")
    error = run("preview", "tiny.raw", "--shape", text, "-o", "no.png", folder=tmp_path).error
    assert f"2 bytes, but {shape} needs" in error


@pytest.mark.parametrize("text", ["600", "0", "-512", "0x600", "16385x1", "1x16385", "4294967297x1", "1024;768"])
def test_what_is_no_shape_is_answered_with_all_that_is(text, tmp_path):
    refused(run("resize", "no.raw", f"--shape={text}", "--to=9x9", "-ono.raw", folder=tmp_path), 2,
            f'"{text}" is not a shape; give WIDTHxHEIGHT with sides from 1 to 16384', "(512, 768, 1024, ",
            "(4343, 3543, 4335)")


MISTAKES = {
    "snr --shpae 9x9 a.raw": '"--shpae" is no option of "qxutils snr"; did you mean --shape? (see qxutils snr --help)',
    "snr --SHAPE=9x9 a.raw": '"--SHAPE" is no option of "qxutils snr"; did you mean --shape? (see qxutils snr --help)',
    "version --colr never": '"--colr" is no option of "qxutils version"; did you mean --color? (see qxutils version '
                            "--help)",
    "version --loud": '"--loud" is no option of "qxutils version" (see qxutils version --help)',
    "--shape 9x9 snr a.raw": '"--shape" stands before its command; give it behind "qxutils snr" (see qxutils snr '
                             "--help)",
    "chekc": '"chekc" is neither a command nor an option; did you mean check? (see qxutils --help)',
    "judge": '"judge" is neither a command nor an option (see qxutils --help)',
    "check frist": '"frist" is neither a command nor an option; did you mean first? (see qxutils check --help)',
    "completion zhs": 'SHELL: "zhs" is none of bash, zsh, fish; did you mean zsh? (see qxutils completion --help)',
    "help": '"help" is neither a command nor an option; did you mean --help? (see qxutils --help)',
    "watch . --shape 9x9 --check drak": '--check: "drak" is none of snr, dark, false-trigger, first, offset, pre, '
                                        "strip, uniform; did you mean dark? (see qxutils watch --help)",
    "filter median --output= a.raw b.raw --shape 9x9": "a file or folder name is empty; give a folder for "
                                                       "the results of several files",
    "snr -- a.raw": "--shape is required (see qxutils snr --help)",
    "snr a.raw --shape= 9x9": '"" is not a shape; give WIDTHxHEIGHT with sides from 1 to 16384, such as 3072x2560, the '
                              "side of a known square panel (512, 768, 1024, 1280, 1536, 2048, 2304, 2560, 2880, 3008, "
                              "3072, 4096, 4288), or a panel's size in cm (4343, 3543, 4335)",
    "explain SnrLwo": "and no name or message has this text; did you mean SnrLow?",
}


@pytest.mark.parametrize("line, answer", MISTAKES.items(), ids=MISTAKES)
def test_a_mistake_is_answered_with_the_nearest_word(line, answer, tmp_path):
    refused(run(*line.split(), folder=tmp_path), 2, answer + "\n")


def commands(folder: Path, *path: str) -> list[str]:
    text = said(*path, "--help", folder=folder)
    return re.findall(r"^  ([a-z][a-z0-9-]*) ", text[text.find("\nSubcommands:"):], re.M)


COMPLETIONS = {
    "check f": "first false-trigger", "stripe --method ": "clinic line", "stripe --method = l": "line",
    "--color = ": "auto always never", "version --color a": "auto always", "completion ": "bash zsh fish",
    "--detector filter ndt cor": "correct", "snr --fac": "--factory", "check first --li": "--limits",
    "snr --factory f": "", "snr a": "",
}


@pytest.mark.skipif(IS_WINDOWS or not shutil.which("bash"), reason="there is no bash")
def test_bash_completes_commands_options_and_choices(tmp_path):
    (tmp_path / "script").write_text(said("completion", "bash", folder=tmp_path))
    script = ". ./script; COMP_WORDS=(qxutils \"$@\"); COMP_CWORD=$#; _qxutils; echo \"${COMPREPLY[@]}\""
    every = {" ": " ".join(commands(tmp_path)), "check ": " ".join(commands(tmp_path, "check"))}
    for line, words in {**COMPLETIONS, **every}.items():
        done = subprocess.run(["bash", "-c", script, "bash", *line.lstrip().split(" ")], cwd=tmp_path, check=True,
                              capture_output=True, text=True)
        assert (done.stdout.strip(), done.stderr) == (words, ""), line


@pytest.mark.parametrize("shell", SHELLS)
def test_every_script_knows_all_commands_and_is_one_its_shell_reads(shell, tmp_path):
    script = said("completion", shell, folder=tmp_path)
    names = commands(tmp_path) + commands(tmp_path, "check")
    assert [name for name in names if not re.search(rf"\b{name}\b", script)] == []
    assert re.search(r"(--|-l )calibration", script)
    if shutil.which(shell):
        (tmp_path / "script").write_text(script)
        subprocess.run([shell, "-n", "script"], cwd=tmp_path, check=True)


def on_terminal(folder: Path, columns: int, *arguments: str, **environment: str) -> bytes:
    import fcntl  # not on Windows, as those below
    import pty
    import struct
    import termios
    shown, terminal = pty.openpty()
    fcntl.ioctl(terminal, termios.TIOCSWINSZ, struct.pack("HHHH", 24, columns, 0, 0))
    free = {name: text for name, text in os.environ.items() if name not in ("NO_COLOR", "COLUMNS")}
    with subprocess.Popen([*COMMAND, *arguments], cwd=folder, stdout=terminal, env={**free, **environment}) as tool:
        os.close(terminal)
        output = b""
        try:
            while part := os.read(shown, 65536):
                output += part
        except OSError:  # how Linux tells that nobody writes any more
            pass
    os.close(shown)
    assert tool.returncode == 0
    return output


@on_linux_only
@pytest.mark.parametrize("options, environment, is_coloured", [
    ([], {}, True), ([], {"NO_COLOR": ""}, True), ([], {"NO_COLOR": "0"}, False), (["--color=never"], {}, False),
    ([], {"TERM": "dumb"}, False),
    (["--color=always"], {"NO_COLOR": "1"}, True)])
def test_a_terminal_shows_colours_unless_they_are_unwanted(options, environment, is_coloured, tmp_path):
    assert (COLOUR in on_terminal(tmp_path, 80, "explain", "SnrLow", *options, **environment)) == is_coloured


def test_colours_go_elsewhere_only_when_told(tmp_path):
    assert "\x1b" not in said("explain", "SnrLow", folder=tmp_path)
    always = said("--color", "always", "explain", "SnrLow", folder=tmp_path)
    assert COLOUR.decode() in always
    assert re.sub("\x1b\\[[0-9]+m", "", always) == said("explain", "SnrLow", folder=tmp_path)


def test_tables_fit_their_place_and_lose_nothing(tmp_path):
    whole = said("explain", folder=tmp_path, COLUMNS="1000")
    assert len(whole.splitlines()) < len(said("explain", folder=tmp_path).splitlines())
    for columns, limit in {"": 80, "80": 80, "66": 66, "nonsense": 80, "-5": 80}.items():
        table = said("explain", folder=tmp_path, COLUMNS=columns)
        assert max(map(len, table.splitlines())) <= limit
        assert Counter(table.split()) == Counter(whole.split())
    narrow = said("explain", folder=tmp_path, COLUMNS="40")
    assert max(map(len, narrow.splitlines())) <= 40
    assert sorted("".join(narrow.split())) == sorted("".join(whole.split()))


def test_the_help_of_every_command_fits_its_place(tmp_path):
    above = [(name,) for name in commands(tmp_path)]
    for path in [(), *above, *((*path, name) for path in above for name in commands(tmp_path, *path))]:
        helps = [said(*path, "--help", folder=tmp_path, COLUMNS=columns) for columns in ("80", "120")]
        assert [max(map(len, text.splitlines())) <= most for text, most in zip(helps, (80, 120))] == [True, True], path
        assert helps[0].split() == helps[1].split()
    assert re.search(r"--jobs N .*\(1 to 64,\s+1\s+when\s+left\s+out\)", said("snr", "--help", folder=tmp_path), re.S)


@on_linux_only
def test_tables_fit_the_terminal(tmp_path):
    widths = [max(map(len, on_terminal(tmp_path, 70, "explain", **environment).decode().splitlines()))
              for environment in ({"NO_COLOR": "1"}, {"NO_COLOR": "1", "COLUMNS": "100"})]
    assert 65 <= widths[0] <= 70 and 95 <= widths[1] <= 100


@on_linux_only
def test_headings_end_on_the_rows_and_a_character_counts_once(tmp_path):
    name = "ü" * 30
    (tmp_path / "image.raw").write_bytes(bytes(48 * 48 * 4))
    lines = said("ndt", "calibrate", "image.raw", "image.raw", "--shape", "48x48", "--out", name, folder=tmp_path,
                 COLUMNS="46").splitlines()
    assert [line.split() for line in lines[:2]] == [["mean,", "stdev,", "min,", "max,"], ["image"] + 4 * ["counts"]]
    assert [line.split() for line in lines[-2:]] == [[f"{name}/gain/", "70144"], ["ndt-linear-gain2.raw"]]


@on_linux_only
@pytest.mark.parametrize("columns", ["80", "60"])
def test_wide_characters_take_two_places_and_combining_ones_none(columns, tmp_path):
    names = ["画像フォルダー/暗い画像の一番目.raw", "u\u0308/e\u0301.raw", "plain.raw"]
    for name in names:
        (tmp_path / name).parent.mkdir(exist_ok=True)
        (tmp_path / name).write_bytes(random.Random(1).randbytes(128 * 128 * 2))
    rows = said("snr", *names, "--shape", "128x128", folder=tmp_path, COLUMNS=columns).splitlines()

    def places(text: str) -> int:
        return sum(0 if combining(letter) else 2 if east_asian_width(letter) in "WF" else 1 for letter in text)

    told = [row for row in rows if re.search(r"\d\.\d$", row)]
    assert len(told) == 3 and len({places(row) for row in told}) == 1 and max(map(places, rows)) <= int(columns)


def test_help_keeps_what_an_option_takes_apart_from_what_it_is_for(tmp_path):
    for path in ([], *([name] for name in commands(tmp_path))):
        for line in said(*path, "--help", folder=tmp_path).splitlines():
            assert not re.match(r"  -\S+ [^ ]+ [A-Z][a-z]+ ", line), line


def test_explain_knows_every_name_and_word(tmp_path):
    declared = re.findall(r"^    (Status\w+) = (\d+),", STATUS_CODES.read_text(), re.M)
    listed = re.findall(r"^  (\d+) +(Status\w+) ", said("explain", folder=tmp_path, COLUMNS="1000"), re.M)
    assert len(declared) == 96 and listed == [(code, name) for name, code in declared]

    def codes(*words):
        return re.findall(r"^  (\d+)", said("explain", *words, folder=tmp_path), re.M)

    assert codes("snrlow") == codes("StatusSnrLow") == ["1088"]
    assert codes("StatusFalseTrigger", "7", "SNRLOW", "1088") == ["1094", "7", "1088"]
    assert codes("UnspecifiedCheckMode") == codes("StatusUnspecifiedCheckMode") == ["1021"]
    assert codes("UNIFORMITY") == ["1062", "1088"]
    assert said("explain", "7", folder=tmp_path) == "7  File name is invalid, failed to exchange.\n"


def picture(width: int, height: int, header: bytes = b"") -> bytes:
    """Columns of different gain, over which the light changes slowly."""
    gains = [random.Random(column).randrange(9000, 11000) for column in range(width)]
    rows = {step: array.array("H", (gain + 50 * step for gain in gains)).tobytes() for step in range(16)}
    return header + b"".join(rows[row * 16 // height] for row in range(height))


GUESSES = {
    "wide": (picture(2816, 2304), "2816x2304 +no +common +likely ", "2816x2304, no header"),
    "high": (picture(2304, 2816), "2304x2816 +no +common +likely ", "2304x2816, no header"),
    "unknown panel": (picture(768, 1024), "768x1024 +no +unknown +likely ", "768x1024, no header"),
    "blank header": (picture(1024, 1024, bytes(65536)), "1024x1024 +yes +common +likely ",
                     "1024x1024, behind a header"),
    "rows that differ": (b"".join(array.array("H", [random.Random(row).randrange(9000, 11000)] * 800).tobytes()
                                  for row in range(640)), "640x800 +no +unknown +possible ", "give --shape"),
    "pixels of 32 bits": (array.array("I", array.array("H", picture(768, 1024))).tobytes(),
                          "1024x1536 +no +unknown +possible ", "give --shape"),
    "noise": (random.Random(1).randbytes(2304 * 2816 * 2), "2304x2816 +no +common +possible ", "give --shape"),
}


@pytest.mark.parametrize("content, first, then", GUESSES.values(), ids=GUESSES)
def test_info_guesses_the_shape_from_the_rows(content, first, then, tmp_path):
    (tmp_path / "image.raw").write_bytes(content)
    text = said("info", "image.raw", folder=tmp_path)
    assert re.search(rf"^  fits, pixels .*\n  {first}", text, re.M) and then in text
    assert text.count(" likely ") == ("likely" in first)
