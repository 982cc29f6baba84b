"""Pictures of the tool as other programs read them."""

import array
import base64
import os
import re
import struct
import xml.etree.ElementTree as ElementTree
import zlib

import pytest

from tool import refused, run, with_a_store

SIDE = 600
COMMANDS = {
    # what is drawn: arguments up to the picture's name, how many images and what texts must stand in it
    "comparison": (["filter", "compare", "--png"], 12,
                   {"before", "median, radius 2", "black 12353", "white 12355 counts", "ratio"}),
    "stripe": (["stripe", "--trigger", "300", "-o", "corrected.raw", "--png"], 4,
               {"row", "column", "median (counts)", "trigger line", "290"}),
    "preview": (["preview", "-o"], 2, {"600x600 pixels", "black 12353", "white 12355 counts"}),
}


def png(data):
    """Width, height, channels and rows of a PNG whose chunks are whole."""
    assert data[:8] == b"\x89PNG\r\n\x1a\n"
    at, compressed = 8, b""
    while at < len(data):
        length, kind = struct.unpack(">I4s", data[at:at + 8])
        content = data[at + 8:at + 8 + length]
        assert zlib.crc32(kind + content) == struct.unpack(">I", data[at + 8 + length:at + 12 + length])[0]
        if kind == b"IHDR":
            width, height, _, colours = struct.unpack(">IIBB", content[:10])
        compressed += content if kind == b"IDAT" else b""
        at += 12 + length
    channels = {0: 1, 2: 3}[colours]
    assert len(zlib.decompress(compressed)) == height * (1 + width * channels)
    return width, height, channels


@pytest.mark.parametrize("what", COMMANDS)
def test_picture_is_what_its_name_says(what, tmp_path):
    arguments, count, wanted = COMMANDS[what]
    rows = array.array("H", [12353, 12355] * (SIDE // 2)) + array.array("H", [12355, 12353] * (SIDE // 2))
    (tmp_path / "image.raw").write_bytes(rows.tobytes() * (SIDE // 2))
    for picture in ("picture.SVG", "picture.png"):
        assert run(*arguments, picture, "image.raw", "--shape", f"{SIDE}x{SIDE}", folder=tmp_path).exit == 0
    root = ElementTree.parse(tmp_path / "picture.SVG").getroot()
    width, height = float(root.get("width")), float(root.get("height"))
    texts = {element.text for element in root.iter("{http://www.w3.org/2000/svg}text")}
    assert wanted <= texts and None not in texts
    images = [element.get("href") for element in root.iter("{http://www.w3.org/2000/svg}image")]
    for image in images:
        png(base64.b64decode(image.removeprefix("data:image/png;base64,"), validate=True))
    assert len(images) == count
    # Twice the resolution; what has no colour takes one channel.
    drawn = png((tmp_path / "picture.png").read_bytes())
    assert drawn == (round(2 * width), round(2 * height), 3 if what == "stripe" else 1)


def test_a_plain_preview_is_the_pixels_alone(tmp_path):
    (tmp_path / "image.raw").write_bytes(array.array("H", range(101 * 60)).tobytes())
    plain = ("preview", "image.raw", "--shape", "101x60", "--plain", "-o")
    assert run(*plain, "plain.png", folder=tmp_path).exit == 0
    assert png((tmp_path / "plain.png").read_bytes()) == (101, 60, 1)
    refused(run(*plain, "plain.svg", folder=tmp_path), 2, "plain.svg: a plain picture is a PNG; give a name that ends")


@with_a_store
@pytest.mark.parametrize("seconds, ticks", [
    (0, r"2026-05-2[89] \d\d:\d\d"), (2, r"2026-05-28 20:26:\d\d"), (60, r"2026-05-28 20:2\d"),
    (7200, r"2026-05-2[89] [02]\d:00"), (864000, r"2026-0[56]-\d\d")])
def test_trends_tell_their_times_however_short_they_are(tmp_path, seconds, ticks):
    for i in range(3):
        (tmp_path / f"{i}.raw").write_bytes(array.array("H", [1000, 1000 + i] * 64 * 128).tobytes())
        os.utime(tmp_path / f"{i}.raw", 2 * (1780000000 + i * seconds,))
    assert run("check", "strip", ".", "--shape", "128x128", "--store", "p.sqlite", folder=tmp_path).exit == 0
    assert run("trend", "p.sqlite", "-o", "trend.svg", folder=tmp_path).exit == 0
    svg = "{http://www.w3.org/2000/svg}"
    root = ElementTree.parse(tmp_path / "trend.svg").getroot()
    dates = [text.text for text in root.iter(f"{svg}text") if re.match(r"20[12]\d(-|$)", text.text)]
    assert len(dates) >= 2 and all(re.fullmatch(ticks, date) for date in dates), dates
    limit, = (line for line in root.iter(f"{svg}polyline") if line.get("stroke-dasharray"))
    first, last = (float(place.split(",")[0]) for place in limit.get("points").split())
    assert last - first > 300
