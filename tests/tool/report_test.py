"""The report's page as a browser shows it, and what is written beside it."""

import array
import base64
import csv
import json
import os
import re
import shutil
from datetime import datetime, timezone
from pathlib import Path

import pytest
from tool import IS_WINDOWS, on_linux_only, refused, run, with_a_store

SCHEMA = Path(__file__).parents[2] / "docs/results.schema.json"
SIDE = 512
DARK, BRIGHT = 10000, 30000
HARM = "</script><script>window.harmed = 1</script><img src=x onerror='window.harmed = 2'>"
ONE_MEGABYTE = 1 << 20


def halves(path: Path, left: int = DARK, right: int = BRIGHT) -> None:
    """An image whose halves differ; each row is a count away from the one before, so that there is noise."""
    rows = [array.array("H", [left + y % 2] * (SIDE // 2) + [right + y % 2] * (SIDE // 2)) for y in range(SIDE)]
    path.write_bytes(b"".join(row.tobytes() for row in rows))


@pytest.fixture(scope="module")
def folder(tmp_path_factory) -> Path:
    """A report of five images, of which one is dark alone, with a factory series that is hard to reach."""
    made = tmp_path_factory.mktemp("report")
    for i in range(5):
        halves(made / f"image{i}.raw", right=DARK if i == 0 else BRIGHT)
    (made / "factory.txt").write_text("1 5 5 5")
    (made / "log.toml").write_text('[limits]\nloggingEnabled = true\n[directories]\nwork = "."\n')
    done = run("--detector", "log.toml", "report", *(f"image{i}.raw" for i in range(5)), "--shape", f"{SIDE}x{SIDE}",
               "--factory", "factory.txt", "-o", "report.html", folder=made)
    assert done.exit == 3 and done.output == b"report.html: 20 results, 5 images" + os.linesep.encode(), done
    return made


@pytest.fixture
def page(browser, folder):
    """The report, freshly opened; nothing may be asked for or go wrong until the test has ended."""
    return opened(browser, folder / "report.html")


def opened(browser, path: Path):
    for kind in ("browser", "performance"):
        browser.get_log(kind)
    browser.get(path.as_uri())
    return browser


def page_data(path: Path) -> dict:
    """What the page draws from."""
    return json.loads(re.search(r'id="data">(.*?)</script>', path.read_text(encoding="utf-8"), re.DOTALL)[1])


def assert_quiet(browser, path: Path) -> None:
    messages = [json.loads(entry["message"])["message"] for entry in browser.get_log("performance")]
    asked = [message["params"]["request"]["url"] for message in messages
             if message["method"] == "Network.requestWillBeSent"]
    assert [url for url in asked if not url.startswith("data:")] == [path.as_uri()]
    # A warning about the test's own reading of pixels is none of the page's.
    assert [entry for entry in browser.get_log("browser") if "getImageData" not in entry["message"]] == []


def assert_legible(browser) -> None:
    """No text of a plot meets another one, nor leaves the plot."""
    assert browser.execute_script("""
        const boxOf = (part) => part.getBoundingClientRect();
        const wrong = [];
        for (const plot of document.querySelectorAll("svg[role=img]")) {
            const texts = [...plot.querySelectorAll("text")];
            const room = boxOf(plot);
            texts.forEach((text, i) => {
                const box = boxOf(text);
                if (box.left < room.left - 1 || box.right > room.right + 1) wrong.push(text.textContent);
                for (const other of texts.slice(0, i).map(boxOf))
                    if (box.left < other.right && other.left < box.right && box.top + 3 < other.bottom &&
                        other.top + 3 < box.bottom) wrong.push(text.textContent);
            });
        }
        return wrong;""") == []


def grey(browser, image: int, x: int, y: int) -> int:
    """What the canvas shows of a pixel of the image, which is not reduced."""
    return browser.execute_script("""
        const canvas = document.querySelectorAll("canvas.pixels")[arguments[0]];
        const at = (i, length) => Math.floor((i + 0.5) * length / arguments[3]);
        return canvas.getContext("2d").getImageData(at(arguments[1], canvas.width), at(arguments[2], canvas.height),
                                                    1, 1).data[0];""", image, x, y, SIDE)


def slide(browser, image: int, name: str, value: float) -> None:
    browser.execute_script("""
        const slider = document.querySelectorAll("input." + arguments[1])[arguments[0]];
        slider.value = arguments[2];
        slider.dispatchEvent(new Event("input"));""", image, name, value)


def test_the_sliders_move_the_pixels(page, folder):
    for level, window in ((20000, 40000), (20000, 20000), (12000, 8000), (29000, 4000)):
        slide(page, 1, "level", level)
        slide(page, 1, "window", window)
        for x, value in ((100, DARK), (400, BRIGHT)):
            share = (value - (level - window / 2)) / window
            assert grey(page, 1, x, 200) == pytest.approx(255 * min(max(share, 0), 1), abs=1), (level, window, x)
    number = page.find_elements("css selector", "input.level-number")[1]
    assert number.get_property("value") == "29000"
    number.clear()
    number.send_keys("10000")
    assert grey(page, 1, 100, 200) == pytest.approx(127.5, abs=1)
    assert_quiet(page, folder / "report.html")


def test_the_keyboard_reaches_everything(page, folder):
    from selenium.webdriver.common.keys import Keys

    article = page.find_elements("css selector", "article.image")[1]
    canvas = article.find_element("css selector", "canvas.pixels")
    told = article.find_element("css selector", "output")
    canvas.send_keys(Keys.ARROW_RIGHT, Keys.ARROW_DOWN)
    assert told.text.startswith("30001 counts at column 257, row 257;")
    canvas.send_keys(Keys.SHIFT, Keys.ARROW_LEFT)
    assert told.text.startswith("10001 counts at column 247, row 257; column mean 10000.5")
    # Enlarged around the cursor, the border of the halves moves to the right.
    assert grey(page, 1, 460, 200) == 255
    canvas.send_keys("+" * 8)
    assert (grey(page, 1, 460, 200), grey(page, 1, 490, 200)) == (0, 255)
    # Of the marks, only the step between strips has an edge there.
    assert [label.text for label in article.find_elements("css selector", ".marks text")] == ["✕ step 20007"]
    canvas.send_keys("0")
    assert grey(page, 1, 460, 200) == 255
    box = article.find_elements("css selector", ".layers input")[0]
    marks = lambda: len(article.find_elements("css selector", ".mark"))
    before = marks()
    box.send_keys(Keys.SPACE)
    assert marks() != before
    reachable = page.execute_script("""
        return [...document.querySelectorAll("canvas.pixels, button, input, a, summary, .log")]
            .every((part) => part.tabIndex >= 0)""")
    assert reachable
    assert_quiet(page, folder / "report.html")


def test_the_marks_are_where_the_library_looks(page):
    """Squares of 64 and 128 of the bright images fail; the step between strips lies in the middle."""
    data = json.loads(page.execute_script("return document.getElementById('data').textContent"))
    overlays = {overlay["name"]: overlay["marks"] for overlay in data["images"][1]["overlays"]}
    squares = overlays["SNR squares"]
    assert [(mark["x"], mark["y"], mark["width"], mark["label"]) for mark in squares] == [
        ((SIDE - side) // 2, (SIDE - side) // 2, side, str(side)) for side in (64, 128, 256)]
    assert [mark["x"] for mark in overlays["largest step between strips"]] == [SIDE // 2 - 32, SIDE // 2]
    assert {mark["state"] for mark in overlays["largest step between strips"]} == {"not met"}
    assert [mark["label"] for mark in overlays["five squares"]] == ["20000", "10000", "30000", "10000", "30000"]
    assert len(overlays["blocks that deviate most"]) == 16
    layers = page.find_elements("css selector", "article:nth-of-type(2) .layers label")
    assert [layer.text for layer in layers] == [
        "five squares getUniform", "blocks that deviate most checkGlobalUniform",
        "largest step between strips analysisStrip", "SNR squares checkGlobalSNR"]
    assert_legible(page)
    drawn = page.find_elements("css selector", ".series svg")
    assert len(drawn) == 5 and "logarithmic" in drawn[0].get_attribute("textContent")
    failing = [record for record in data["records"] if any(square["below"] for square in record.get("squares", []))]
    assert len(page.find_elements("css selector", ".series path.below")) == sum(
        square["below"] for record in failing for square in record["squares"]) > 0


def test_nearly_equal_strips_are_marked_as_they_are_judged(tmp_path):
    """The sums are rounded to single precision at every pixel, which may make another step the largest."""
    import numpy as np

    def marked(seed):
        image = np.random.default_rng(seed).normal(BRIGHT, 100, (SIDE, SIDE)).astype("<u2")
        strips = image.reshape(SIDE, -1, 32).swapaxes(0, 1).reshape(SIDE // 32, -1)[:-1]
        sums = np.cumsum(strips, axis=1, dtype=np.float32)[:, -1], np.sum(strips, axis=1, dtype=np.float64)
        return image, *(int(np.argmax(np.abs(np.diff(each)))) for each in sums)

    image, judged, exact = next(found for found in map(marked, range(1000)) if found[1] != found[2])
    image.tofile(tmp_path / "flat.raw")
    run("report", "flat.raw", "--shape", f"{SIDE}x{SIDE}", "--check", "strip", "-o", "flat.html", folder=tmp_path)
    marks = page_data(tmp_path / "flat.html")["images"][0]["overlays"][0]["marks"]
    assert [mark["x"] // 32 for mark in marks] == [judged, judged + 1]


def test_blocks_are_marked_by_their_medians(tmp_path):
    """Of two values in halves of a block the larger one counts; what the dark image holds is taken away."""
    import numpy as np

    bright, dark = np.full((384, 384), 20000, "<u2"), np.full((384, 384), 1000, "<u2")
    bright[192:256, 128:192:2] = 30000
    dark[224:256, 96:128] = 5000
    bright.tofile(tmp_path / "bright.raw")
    dark.tofile(tmp_path / "dark.raw")
    (tmp_path / "aside").mkdir()
    run("report", "bright.raw", "--shape", "384x384", "--dark", "dark.raw", "--check", "pre", "--check", "uniform",
        "--check", "snr", "-o", "blocks.html", folder=tmp_path,
        env={**os.environ, "TMPDIR": str(tmp_path / "aside")})
    html = (tmp_path / "blocks.html").read_text(encoding="utf-8")
    # Without a log of the detector's own the page has one, and nothing else is left of it.
    assert "| Utils  | I | &lt;checkGlobalUniform&gt; begins\n" in html
    assert {path.name for path in tmp_path.iterdir()} == {"aside", "bright.raw", "dark.raw", "blocks.html",
                                                          "blocks.json", "blocks.csv"}
    assert not any((tmp_path / "aside").glob("qxutils*"))
    overlays = page_data(tmp_path / "blocks.html")["images"][0]["overlays"]
    marked = {overlay["name"]: overlay["marks"][0] for overlay in overlays}
    places = {name: (mark["x"], mark["y"], mark["label"]) for name, mark in marked.items()}
    assert places["darkest block"] == (96, 224, "15000")
    assert places["blocks that deviate most"] == (128, 192, "0.333")
    squares, = (result["squares"] for result in json.loads((tmp_path / "blocks.json").read_text())["results"]
                if "squares" in result)
    assert all(f'{square["side"]}</th><td class="number">{float(square["measured"]):.1f}</td>' in html
               for square in squares)


@pytest.mark.parametrize("width, height, wanted", [
    # The middle area of a small image is too narrow for a region.
    (768, 768, [("outer area", 256, 256, "met"), ("middle area", 320, 320, "not met")]),
    (1280, 1024, [("outer area", 256, 224, "examined"), ("middle area", 448, 368, "examined"),
                  ("brightest region", 576, 464, "met")])])
def test_places_of_a_trigger_have_their_own_verdicts(tmp_path, width, height, wanted):
    import numpy as np

    image = np.full((height, width), 100, "<f4")
    image[464:, 600:] = 600
    if len(wanted) == 2:
        image[:] = 600
        image[320:449, 320:449] = 100
    image.tofile(tmp_path / "image.raw")
    run("report", "image.raw", "--shape", f"{width}x{height}", "--check", "false-trigger", "-o", "page.html",
        folder=tmp_path)
    marks = page_data(tmp_path / "page.html")["images"][0]["overlays"][0]["marks"]
    assert [(mark["label"], mark["x"], mark["y"], mark["state"]) for mark in marks] == wanted


def test_the_tile_with_the_darkest_cell_is_marked(tmp_path):
    import numpy as np

    image = np.full((384, 192), 500, "<f4")
    image[:, ::2] = 501
    image[160:176, 64:78] = 100  # with every other pixel of the rest of the cell
    image.tofile(tmp_path / "dark.float")
    run("report", "dark.float", "--shape", "192x384", "--check", "offset", "-o", "page.html", folder=tmp_path)
    marks = page_data(tmp_path / "page.html")["images"][0]["overlays"][0]["marks"]
    places = [(mark["label"], mark["x"], mark["y"], mark["width"], mark["height"], mark["state"]) for mark in marks]
    assert places == [("tiles of 32 x 32", 0, 128, 96, 96, "examined"), ("0.94", 64, 160, 32, 32, "not met")]


def test_floats_that_are_no_numbers_hide_nothing(browser, tmp_path):
    """Neither do one that is out of all proportion, nor an image without a single one, leave the others black."""
    values = array.array("f", (100 + i % 7 for i in range(SIDE * SIDE)))
    values[0], values[1], values[2] = float("nan"), float("-inf"), 3e38
    (tmp_path / "some.raw").write_bytes(values.tobytes())
    (tmp_path / "none.raw").write_bytes(array.array("f", [float("nan")]).tobytes() * SIDE * SIDE)
    run("report", "some.raw", "none.raw", "--shape", f"{SIDE}x{SIDE}", "-o", "floats.html", folder=tmp_path)
    page = opened(browser, tmp_path / "floats.html")
    told = page.find_element("css selector", "body").text
    assert "512 × 512 pixels; none of them a number;" in told
    assert "512 × 512 pixels; counts from 100 to 3e+38, median 103, mean –;" in told
    histogram = page_data(tmp_path / "floats.html")["images"][0]["histogram"]
    assert (histogram["first"], sum(histogram["counts"]), histogram["above"]) == (100, SIDE * SIDE - 3, 1)
    greys = [grey(page, 0, x, 200) for x in range(7)]
    assert max(greys) > min(greys) + 100
    assert_quiet(page, tmp_path / "floats.html")


@pytest.mark.parametrize("values, width, height", [([123], 1, 1), ([65535], 640, 640), ([20000, 30000], 16384, 16),
                                                   ([20000, 30000], 16, 16384), ([3e32, 4e32], 256, 256),
                                                   ([3e-7, 4e-7], 256, 256), ([9999, 10001, 40000], 400, 400)])
def test_axes_are_legible_whatever_there_is(browser, tmp_path, values, width, height):
    """Pixels have whole numbers, neighbouring numbers as many decimals each, and a single value a dot."""
    pixels = array.array("f" if isinstance(values[0], float) else "H", values * (width * height // len(values) + 1))
    (tmp_path / "image.raw").write_bytes(pixels[:width * height].tobytes())
    run("report", "image.raw", "--shape", f"{width}x{height}", "-o", "page.html", folder=tmp_path)
    page = opened(browser, tmp_path / "page.html")
    assert_legible(page)
    column_name = "column (mean of each, counts)"
    texts = [part.text for part in page.find_elements("css selector", ".stage svg[role=img] text")]
    places = [text for text in texts[:texts.index(column_name)][-6:] if re.fullmatch(r"[0-9.]+", text)]
    assert places and "0" in places and all("." not in text for text in places[places.index("0"):])
    screen = page.find_element("css selector", "canvas.pixels").size
    assert min(screen["width"], screen["height"]) >= 40
    scale, = page.find_elements("css selector", ".scale")
    assert re.fullmatch(r"black \S+\nwhite \S+ counts", scale.text), scale.text
    assert_quiet(page, tmp_path / "page.html")


@with_a_store
@pytest.mark.parametrize("step, days, limit_met, ends", [
    (86400, ("1970-01-03", "999.996"), "1970-01-0[45]", ["1970-01-01", "1970-01-0[45]"]),
    (60, ("1970-01-01", "1.43999e+06"), "1970-01-01", ["1970-01-01 20:00", "1970-01-01 20:02"])])
def test_a_store_shows_where_a_measure_goes(browser, tmp_path, step, days, limit_met, ends):
    for day in range(3):
        halves(tmp_path / f"day{day}.raw", right=DARK + 1000 * day)
        os.utime(tmp_path / f"day{day}.raw", 2 * (72000 + day * step,))
    report = lambda name, *more: run("report", name, "--shape", f"{SIDE}x{SIDE}", "--check", "strip", "--store",
                                     "p.sqlite", "-o", "report.html", *more, folder=tmp_path)
    assert report("day0.raw", "--dry-run").exit == 0 and not (tmp_path / "p.sqlite").exists()
    assert [report(f"day{day}.raw").exit for day in range(3)] == [0, 0, 0]
    page = opened(browser, tmp_path / "report.html")
    written = datetime.fromtimestamp(72000 + 2 * step, timezone.utc)
    assert f"; written {written:%Y-%m-%d %H:%M} UTC" in page.find_element("css selector", "body").text
    figure, = page.find_elements("css selector", ".trends figure")
    last, slope = map(re.escape, days)
    assert re.fullmatch(rf"step between strips, counts\nanalysisStrip\n.*\nLast value 1999\.99 counts on {last}, "
                        rf"limit < 4000; changes by {slope} a day and meets the limit on {limit_met}\.", figure.text,
                        re.DOTALL), figure.text
    texts = [part.text for part in figure.find_elements("css selector", "svg text")]
    assert [len([text for text in texts if re.fullmatch(end, text)]) for end in ends] == [1, 1], texts
    line = figure.find_element("css selector", "path.factory").get_attribute("d")
    assert all(10 <= float(height) <= 150 for height in re.findall(r"[\d.]+ (-?[\d.]+)", line)), line
    assert_legible(page)
    assert [len(figure.find_elements("css selector", f"path.{kind}, line.{kind}, circle.{kind}"))
            for kind in ("measured", "expected", "factory", "dot", "here")] == [1, 1, 1, 3, 1]
    assert_quiet(page, tmp_path / "report.html")


def test_it_prints(page):
    paper = base64.b64decode(page.execute_cdp_cmd("Page.printToPDF", {"printBackground": True})["data"])
    assert paper.startswith(b"%PDF")
    assert 4 <= len(re.findall(rb"/Type /Page\b", paper)) <= 12
    assert len(re.findall(rb"/Subtype /Image", paper)) >= 5
    isOpen = "return [...document.querySelectorAll('.series details')].map((part) => part.open)"
    numbers = page.find_elements("css selector", ".series summary")
    numbers[1].click()
    page.execute_script("dispatchEvent(new Event('beforeprint'))")
    assert page.execute_script(isOpen) == 5 * [True]
    page.execute_script("dispatchEvent(new Event('afterprint'))")
    assert page.execute_script(isOpen) == [False, True, False, False, False]
    page.execute_cdp_cmd("Emulation.setEmulatedMedia", {"media": "print"})
    assert page.find_elements("css selector", ".drawn")[1].text == (
        "Drawn: five squares, blocks that deviate most, largest step between strips, SNR squares.")
    page.execute_cdp_cmd("Emulation.setEmulatedMedia", {"media": ""})


def test_without_scripts_the_tables_tell_it_all(browser, folder):
    browser.execute_cdp_cmd("Emulation.setScriptExecutionDisabled", {"value": True})
    try:
        text = opened(browser, folder / "report.html").find_element("css selector", "body").text
    finally:
        browser.execute_cdp_cmd("Emulation.setScriptExecutionDisabled", {"value": False})
    for told in ("20 results of 5 images", "not passed", "step between strips, counts 2000", "< 4000", "1063",
                 "side, pixels SNR factory expected result\n64 ", "below", "need JavaScript", "Halbrook4343",
                 "| Calib  | I | <checkGlobalSNR> begins", "factory.txt"):
        assert told in text, told
    assert "canvas" not in browser.page_source.split("<script>")[0].split("</style>")[1]


@on_linux_only
def test_names_do_no_harm(browser, folder, tmp_path):
    names = [os.fsencode("<b onclick='x'>&\"{{data}}.raw"), b"bytes \xff\xfe.raw"]
    for name in names:
        shutil.copy(folder / "image0.raw", os.path.join(os.fsencode(tmp_path), name))
    record = {"command": HARM, "check": HARM, "file": HARM, "verdict": "failed", "message": HARM,
              "measures": [{"name": HARM, "value": 1, "unit": HARM, "decimals": 0}]}
    (tmp_path / "harm.json").write_text(json.dumps({"results": [record]}))
    done = run("report", *names, "harm.json", "--shape", f"{SIDE}x{SIDE}", "--check", "strip", "--title", HARM,
               "-o", "report.html", folder=tmp_path)
    assert done.exit == 0, done
    page = opened(browser, tmp_path / "report.html")
    assert page.execute_script("return window.harmed === undefined && document.images.length === 0")
    assert page.execute_script("return document.querySelectorAll('[onclick]').length") == 0
    assert [heading.text for heading in page.find_elements("css selector", "h1, h3")] == [
        HARM, "<b onclick='x'>&\"{{data}}.raw", r"bytes \xFF\xFE.raw"]
    assert_quiet(page, tmp_path / "report.html")
    with open(tmp_path / "report.csv", newline="", encoding="utf-8") as file:
        assert {row["file"] for row in csv.DictReader(file)} > {HARM, r"bytes \xFF\xFE.raw"}


def test_it_is_small_and_its_numbers_stand_beside_it(folder, tmp_path):
    import jsonschema

    # Five images in the size in which pages show them.
    assert 3 * ONE_MEGABYTE < (folder / "report.html").stat().st_size < 4e6
    document = json.loads((folder / "report.json").read_text())
    jsonschema.validate(document, json.loads(SCHEMA.read_text()))
    with open(folder / "report.csv", newline="") as file:
        rows = list(csv.DictReader(file))
    steps = [row for row in rows if row["measure"] == "step between strips"]
    assert [(row["file"], row["met"]) for row in steps] == [
        (f"image{i}.raw", "true" if i == 0 else "false") for i in range(5)]
    # The library sums in single precision.
    assert [float(row["value"]) for row in steps] == pytest.approx([0] + 4 * [BRIGHT - DARK], rel=1e-3)
    # From its own results the report tells the same, of the images that are still what they were, and who judged them.
    document.update(version="4.1.0.0", detector={**document["detector"], "machine": "VD-0002"})
    (tmp_path / "old.json").write_text(json.dumps(document))
    shutil.copy(folder / "image1.raw", tmp_path)
    (tmp_path / "image2.raw").write_bytes((folder / "image1.raw").read_bytes()[::-1])
    (tmp_path / "image3.raw").write_bytes(b"shorter")
    done = run("report", "old.json", "-o", "again.html", folder=tmp_path)
    assert done.exit == 3 and b"20 results, 1 image" in done.output, done
    assert json.loads((tmp_path / "again.json").read_text()) == document
    head = (tmp_path / "again.html").read_text(encoding="utf-8").split("<nav")[0]
    for told in ("QxUtils 4.1.0.0<", "Halbrook4343, VD-0002, 500 ms", "of results, those that stand in them"):
        assert told in head
    run("report", "old.json", "image1.raw", "--shape", f"{SIDE}x{SIDE}", "-o", "both.html", folder=tmp_path)
    both = json.loads((tmp_path / "both.json").read_text())
    jsonschema.validate(both, json.loads(SCHEMA.read_text()))
    assert both["detector"] == {key: value for key, value in document["detector"].items() if key != "machine"}
    head = (tmp_path / "both.html").read_text(encoding="utf-8").split("<nav")[0]
    for told in ("QxUtils 4.1.0.0 or ", "VD-0002 or VD-0001", "the detector's configuration; of results"):
        assert told in head


def test_what_cannot_be_reported_is_told_in_one_line(folder, tmp_path):
    (tmp_path / "none.json").write_text('{"results": []}')
    shutil.copy(folder / "image0.raw", tmp_path)
    shape = ("--shape", f"{SIDE}x{SIDE}")
    report = lambda *arguments: run("report", *arguments, folder=tmp_path)
    refused(report("none.json", "-o", "no.html"), 2, "none.json: there is no image to report of; give raw images")
    (tmp_path / "empty").mkdir()
    refused(report("empty", *shape, "-o", "no.html"), 2, "empty: ")
    (tmp_path / "empty").rmdir()
    refused(report("-o", "no.html"), 2, "FILE is required")
    refused(report("image0.raw", "-o", "no.html"), 2, "image0.raw: --shape is required for an image")
    refused(report("image0.raw", *shape, "-o", "page.txt"), 2, "page.txt: a report is a page; give a name that ends in")
    refused(report("none.json", "-o", "none.html"), 2, "none.json: would overwrite the file it is made from")
    assert sorted(path.name for path in tmp_path.iterdir()) == ["image0.raw", "none.json"]
    record = {"command": "check uniform", "check": "getUniform", "file": "image0.raw", "verdict": "passed",
              "bytes": 2 * SIDE * SIDE, "measures": [{"name": "", "value": 0, "unit": "", "decimals": 0}]}
    for harm in ({"measures": [{**record["measures"][0], "decimals": 10**9}]}, {"time": "now"}, {"code": 1e300},
                 {"shape": {"width": -SIDE, "height": -SIDE}}, {"shape": {"width": 0, "height": SIDE}}):
        for written in ({"results": [{**record, **harm}]}, {"schema": 2, "results": [record]}, {"schema": 2, **record},
                        {"schema": 1, "detector": "none", "results": [record]}):
            (tmp_path / "harm.json").write_text(json.dumps(written))
            done = report("harm.json", "-o", "page.html")
            assert (done.exit, done.error.count("\n")) == (1, 1) and "harm.json: holds no results" in done.error, done
    tiny = {**record, "file": "tiny.raw", "bytes": 800, "shape": {"width": 20, "height": 20}}
    (tmp_path / "tiny.raw").write_bytes(bytes(800))
    (tmp_path / "tiny.json").write_text(json.dumps({"results": [tiny]}))
    assert report("tiny.json", "-o", "page.html").exit == 0
    assert '"overlays":[]' in (tmp_path / "page.html").read_text(encoding="utf-8")
    (tmp_path / "floats.raw").write_bytes(bytes(4 * SIDE * SIDE))
    done = report("image0.raw", "floats.raw", "nowhere.raw", *shape, "--check", "strip", "-o", "page.html")
    assert (done.exit, done.output.split(b",")[0]) == (1, b"page.html: 3 results"), done
    for problem in ("nowhere.raw: no such file", "floats.raw: none of the checks asked for is one of 32-bit floats"):
        assert problem in done.error and problem in (tmp_path / "page.html").read_text(encoding="utf-8")
