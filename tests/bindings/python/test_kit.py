"""Verdicts, series, defects and the virtual detector."""

import os
import re
import struct
import subprocess
import sys
import threading
import time
from collections.abc import Callable
from pathlib import Path
from typing import Any

import numpy as np
import pytest

import qxutils as qx

Array = np.ndarray[Any, Any]

DARK = np.full((1024, 1024), 300, np.uint16)
FLAT = np.full((1024, 1024), 20000, np.uint16)


def uneven(rows: slice, columns: slice, level: int) -> Array:
    image = FLAT.copy()
    image[rows, columns] = level
    return image


LEFT = uneven(slice(None), slice(0, 512), 5000)
CORNER = uneven(slice(0, 300), slice(0, 300), 3000)
UNEXPOSED = uneven(slice(0, 100), slice(0, 100), 400)

PATCH = DARK.astype(np.float32)
PATCH[320:336, 320:336] = 100
# By the unit of the measure: what the answer 1 says, which is not the status 1.
ANSWERS = {"entries": "Not in the list.", "": "Structured patches."}


def header_of(side: int, sections: bytes = bytes(32)) -> bytes:
    head = bytes(12) + struct.pack(">2i", side, side) + bytes(20) + sections
    return head.ljust(16464, b"\0") + struct.pack(">f", 500) + bytes(49068)


VERDICTS: list[tuple[Callable[[], qx.Verdict], int, str, float, str]] = [
    (lambda: qx.check_uniformity(FLAT), 0, "<", 0.0, ""),
    (lambda: qx.check_uniformity(LEFT), 1062, "<", 0.54, ""),
    (lambda: qx.check_global_uniformity(FLAT, 0.1), 0, "<=", 0.0, ""),
    (lambda: qx.check_global_uniformity(LEFT, 0.1), 1062, "<=", 0.6, ""),
    (lambda: qx.check_strips(LEFT), 1063, "<", 15000.0, "counts"),
    (lambda: qx.check_dark_level(DARK), 0, ">", 300.0, "counts"),
    (lambda: qx.check_dark_level(DARK // np.uint16(10)), 1066, ">", 30.0, "counts"),
    (lambda: qx.check_preview(UNEXPOSED, DARK), 1068, ">=", 100.0, "counts"),
    (lambda: qx.check_first_image(CORNER, DARK), 1062, "<=", 36.0, "blocks"),
    (lambda: qx.check_false_trigger(DARK.astype(np.float32) / 2), 1094, ">", 150.0, "counts"),
    (lambda: qx.check_dark_time("500;1000", 1000), 0, ">=", 1.0, "entries"),
    (lambda: qx.check_dark_time("500;1000", 100), 1, ">=", 0.0, "entries"),
    (lambda: qx.check_offset_image(PATCH), 1, "<", 1.0, ""),
]


@pytest.mark.parametrize(("check", "status", "comparison", "value", "unit"), VERDICTS)
def test_verdicts_tell_what_decided(
    check: Callable[[], qx.Verdict], status: int, comparison: str, value: float, unit: str
) -> None:
    verdict = check()
    assert (verdict.status, verdict.passed, bool(verdict)) == (status, status == 0, status == 0)
    assert verdict.message == (ANSWERS[verdict.measures[0].unit] if status == 1 else qx.status_message(status))
    measure = verdict.measures[-1]
    assert (measure.comparison, measure.unit) == (comparison, unit)
    assert measure.value == pytest.approx(value, rel=0.1)
    against = {"<": measure.value < measure.limit, "<=": measure.value <= measure.limit}
    against |= {">": measure.value > measure.limit, ">=": measure.value >= measure.limit}
    assert measure.met == against[comparison] == verdict.passed and measure.name


def test_limits_are_the_detectors_and_measures_can_be_left_out(detector: qx.VirtualDetector) -> None:
    assert qx.check_strips(LEFT).status == 1063
    detector.strip_mean_diff_limit = 15001
    assert qx.check_strips(LEFT).measures[0].limit == 15001
    assert qx.check_strips(LEFT, measure=False).measures == []
    assert qx.shadow_blocks(CORNER, DARK)[:9, :9].sum() == qx.shadow_blocks(CORNER, DARK).sum() == 36


def test_snr_is_judged_by_the_factorys(random: np.random.Generator, detector: qx.VirtualDetector) -> None:
    image = random.normal(20000, 100, (1024, 1024)).astype(np.uint16)
    series = qx.snr_series(image)
    higher = series.values * np.linspace(1, 2, len(series), dtype=np.float32)
    graded: list[tuple[Any, int, int]] = [(series, 0, 1090), (list(higher), 1088, 1092), (series.values * 2, 0, 1090)]
    for factory, status, grade in graded:
        assert (qx.check_snr(image, factory).status, qx.grade_snr(image, factory).status) == (status, grade)
    assert not qx.grade_snr(image, higher) and qx.grade_snr(image, series).measures
    squares = qx.snr_squares(image, higher)
    assert [square.side for square in squares] == series.sides and squares[-1].below_expected
    np.testing.assert_array_equal([square.measured for square in squares], series.values)
    folder = Path(detector.folder, "factory", "500ms")
    folder.mkdir(parents=True)
    detector.width = detector.height = 1024
    (folder / "a.raw").write_bytes(header_of(1024) + image.tobytes())
    qx.measure_factory_snr(folder.parent, 1)
    (file,) = folder.parent.glob("*-SNR.raw")
    stored = qx.read_factory_snr(file, 1)
    assert stored.integration_times_ms == [500]
    np.testing.assert_array_equal(stored.records[0].snr, series)
    assert stored.records[0].mean_gray == pytest.approx(image.mean(), abs=1)


def test_classic_and_structured_defects(tmp_path: Path) -> None:
    # Two points, a row and a column, a cluster of two pixels.
    classic = struct.pack("<17h", 3, 2, 5, 1, 0, 7, 99, 7, 4, 0, 4, 49, 10, 20, 11, 20, -1)
    sections = struct.pack(">8I", 2, 65536, 1, 65544, 1, 65552, 5, 65560)
    (tmp_path / "any.cal").write_bytes(header_of(100, sections) + classic)
    lists = qx.read_defects(tmp_path / "any.cal")
    assert isinstance(lists, qx.Defects)
    assert lists.points.tolist() == [203, 105] and lists.clusters.tolist() == [2010, 2011, -1]
    assert lists.rows.tolist() == [7] and lists.columns.tolist() == [4]
    with pytest.raises(ValueError, match="read-only"):
        lists.points[0] = 1
    header = qx.read_defect_header(tmp_path / "any.cal")
    assert (header.width, header.point_count, header.cluster_offset) == (100, 2, 65560)

    structured = struct.pack("<4i5i4i4i8i", 1, 2, 3, 4, 1, 6, 7, 8, 9, 10, 11, 12, 13, 2, 15, 16, 17, *range(8))
    sections = struct.pack(">8I", 1, 65536, 1, 65552, 0, 65588, 1, 65588)
    path = tmp_path / "NormalStructurizedDefect.cal"
    path.write_bytes(header_of(100, sections) + structured)
    groups = qx.read_defects(path)
    assert isinstance(groups, qx.StructuredDefects)
    ((row_header, row_entries),) = groups.rows
    ((_, cluster),) = groups.clusters
    points = groups.points
    del groups
    assert points.tolist() == [[1, 2, 3, 4]] and cluster.tolist() == [[0, 1, 2, 3], [4, 5, 6, 7]]
    assert row_header == (1, 6, 7, 8, 9) and row_entries.tolist() == [[10, 11, 12, 13]]


def test_detector_is_as_before_behind_its_block(tmp_path: Path, detector: qx.VirtualDetector) -> None:
    detector.width = 2000
    with pytest.raises(AttributeError), qx.VirtualDetector(tmp_path / "kit", {"width": 3, "no_such_setting": 1}):
        pass
    assert detector.width == 2000
    with qx.VirtualDetector(tmp_path / "kit", {"width": 100}, exposure_time_ms=20.5, iparams={196: 3}) as virtual:
        assert (virtual.width, qx.exposure_time_ms(), qx.aed_trigger_source()) == (100, 21, 3)
        virtual.set_gain_id(5)
        virtual.set_power_mode(2)
        assert (qx.gain_id(), qx.power_mode_id()) == (5, 2)
        virtual.fault_registers = 7
        assert qx.gain_id() == 7
        assert qx.write_log("text", 3) == 0
        with pytest.raises(AttributeError):
            setattr(virtual, "no_such_setting", 1)
        with pytest.raises(ValueError, match="width"):
            settings = tmp_path / "bad.toml"
            settings.write_text("[detector]\nwidth = 'x'\n")
            virtual.load(settings)
    with pytest.raises(RuntimeError, match="inside its with block"):
        virtual.width
    (log,) = (tmp_path / "kit" / "logs").iterdir()
    assert log.read_text().endswith("| Utils  | I | text3\n")
    assert detector.width == 2000 and qx.gain_id() == 2
    with qx.VirtualDetector() as temporary:
        folder = temporary.folder
        assert os.path.isdir(folder)
    assert not os.path.exists(folder)


class Slow:
    """A width whose reader lets other threads run meanwhile."""

    def __init__(self, reached: threading.Event) -> None:
        self.reached = reached

    def __index__(self) -> int:
        self.reached.set()
        time.sleep(0.2)
        return 100


# In a process of its own, which a deadlock does not outlive.
def test_other_threads_reach_the_detector_while_settings_are_read() -> None:
    code = """if True:
        import threading, qxutils
        from test_kit import Slow
        with qxutils.VirtualDetector() as outer:
            reached = threading.Event()
            def use() -> None:
                reached.wait()
                outer.height = outer.height + 1
                outer.transfers, qxutils.gain_id()
            thread = threading.Thread(target=use)
            thread.start()
            with qxutils.VirtualDetector(width=Slow(reached)) as inner:
                assert inner.width == 100
            thread.join()
    """
    environment = os.environ | {"PYTHONPATH": os.pathsep.join(sys.path)}
    subprocess.run([sys.executable, "-c", code], env=environment, check=True, timeout=30)


def test_settings_are_refused_with_a_sentence(detector: qx.VirtualDetector) -> None:
    with pytest.raises(ValueError, match="^width: a whole number of 32 bits is needed, not 1099511627776$"):
        detector.width = 1 << 40
    with pytest.raises(TypeError, match="^temperature_c: a number is needed, not 'x'$"):
        setattr(detector, "temperature_c", "x")
    with pytest.raises(ValueError, match="^machine_id: a text without a zero byte is needed$"):
        detector.machine_id = "a\0b"
    with pytest.raises(TypeError, match="item assignment"):
        detector.iparams[196] = 3  # type: ignore[index]
    detector.iparams = {**detector.iparams, 196: 3}
    assert detector.iparams[196] == qx.aed_trigger_source() == 3


def test_every_export_has_a_function_that_names_it() -> None:
    pinned = Path(os.environ["QX_PINNED_EXPORTS"]).read_text().split("\n")
    exports = {line.split("(")[0].split("<")[0].split(" ")[-1] for line in pinned if line}
    named = {word for name in dir(qx) for word in str(getattr(qx, name).__doc__).replace("\n", " ").split(" ")}
    # Lists and buffers of C++, what does nothing, and what cannot be called without harm.
    without = {"releaseFileList", "isInVector", "isNewElement", "GetCovOfTwoImages", "jingtaiEnhance",
               "precisionEnhance", "checkCollimator", "checkSync", "checkTube", "getRealCoordinate"}
    assert exports - named == without
    # What is imported from another module the comparison of stubs passes over.
    stub = Path(str(qx.__file__)).with_name("__init__.pyi").read_text()
    for name in dir(qx):
        public = not name.startswith("_") and name != "Any"
        assert not public or getattr(qx, name).__doc__
        assert not public or re.search(rf"^(def|class) {name}\b", stub, re.MULTILINE), name


def test_library_works_without_the_kits_virtual_detector() -> None:
    code = "import sys, qxutils; print(qxutils.status_message(0)); assert 'qxutils._detector' not in sys.modules"
    result = subprocess.run([sys.executable, "-c", code], capture_output=True, text=True, check=True)
    assert result.stdout == "Normal exit without an error.\n"
    assert qx.__version__ in qx.library_version()
    code = "import sys, qxutils; sys.modules['qxutils._detector'] = None; exit(hasattr(qxutils, 'VirtualDetector'))"
    subprocess.run([sys.executable, "-c", code], check=True)


def test_readmes_program_runs(capfd: pytest.CaptureFixture[str]) -> None:
    (program,) = Path(os.environ["QX_README"]).read_text().split("```python\n")[1:]
    exec(program.split("```")[0], {})
    snr, measures, error = capfd.readouterr().out.splitlines()[-3:]
    assert float(snr) == pytest.approx(198, rel=0.03)
    assert "five squares" in measures and error == "1020 Wrong user parameter."
