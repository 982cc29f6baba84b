"""Results against NumPy, SciPy and zlib, which know nothing of the library."""

import base64
import zlib
from collections.abc import Callable
from pathlib import Path
from typing import Any

import numpy as np
import pytest
from scipy.interpolate import CubicSpline  # type: ignore[import]
from scipy.ndimage import median_filter  # type: ignore[import]
from scipy.signal import savgol_filter  # type: ignore[import]

import qxutils as qx

Array = np.ndarray[Any, Any]
Draw = Callable[[np.random.Generator], Array]


def counts(random: np.random.Generator) -> Array:
    return random.integers(0, 4096, (61, 83), dtype=np.uint16)


def integers(random: np.random.Generator) -> Array:
    return random.integers(-1000, 1000, (61, 83), dtype=np.int32)


def floats(random: np.random.Generator) -> Array:
    return random.normal(100, 20, (62, 83)).astype(np.float32)


def lower(values: Array) -> Any:
    return np.sort(values, axis=None)[(values.size - 1) // 2]


def deviation(values: Array, center: float) -> float:
    return float(np.sqrt(np.mean((values.astype(float) - center) ** 2)))


def blocks(image: Array, side: int) -> Array:
    rows, columns = image.shape[0] // side, image.shape[1] // side
    cut = image[: rows * side, : columns * side].reshape(rows, side, columns, side).swapaxes(1, 2)
    middle: Array = np.sort(cut.reshape(rows, columns, -1), axis=2)[:, :, side * side // 2]
    return middle


def equalized(image: Array) -> Array:
    share = np.cumsum(np.bincount(image.ravel(), minlength=65536)) / image.size
    levels: Array = np.floor(65535 * share)[image]
    return levels


NUMBERS: list[tuple[Callable[[Array], Any], Draw, Callable[[Array], Any]]] = [
    (qx.median, counts, lower),
    (qx.median, integers, lower),
    (qx.median, floats, lower),
    (qx.median, lambda random: floats(random).astype(np.float64), lower),
    (qx.upper_median, floats, lambda a: np.sort(a, axis=None)[a.size // 2]),
    (qx.quick_median, floats, lambda a: np.sort(a, axis=None)[a.size // 2]),
    (qx.mean, counts, np.mean),
    (qx.stdev, floats, np.std),
    (qx.stdev, counts, lambda a: deviation(a, int(a.mean()))),
    (qx.stdev, integers, lambda a: deviation(a, int(a.mean()))),
    (lambda a: qx.mean_and_stdev(a), integers, lambda a: (np.mean(a), np.std(a))),
    (qx.min_index, counts, np.argmin),
    (qx.max_index, integers, lambda a: a.size - 1 - np.argmax(a.ravel()[::-1])),
    (lambda a: qx.inner_extreme_index(a, minimum=False), floats, lambda a: np.argmax(a.ravel()[16:-16]) + 16),
    (lambda a: qx.first_at_least(a, 120), floats, lambda a: np.flatnonzero(a >= 120)[0]),
    (lambda a: qx.last_at_most(a, 80), floats, lambda a: np.flatnonzero(a <= 80)[-1]),
    (lambda a: qx.region_median(a, (3, 9), (4, 10)), counts, lambda a: lower(a[3:10, 4:11])),
    (lambda a: qx.region_mean(a, (3, 9), (4, 10)), counts, lambda a: int(a[3:10, 4:11].mean())),
    (lambda a: qx.histogram_median(a, 4096)[1], counts, lambda a: np.bincount(a.ravel(), minlength=4096)),
    (qx.column_medians, floats, lambda a: np.sort(a, axis=0)[(len(a) - 1) // 2]),
    (qx.block_medians, floats, lambda a: blocks(a, 32)),
    (qx.equalize, counts, equalized),
    (lambda a: qx.column_median_filter(a)[2:-2], counts, lambda a: median_filter(a, (5, 1))[2:-2]),
    (lambda a: qx.median_filter(a[0], 3)[3:-3], floats, lambda a: median_filter(a[0], 7)[3:-3]),
    (lambda a: qx.savgol_filter(a[0], 7), floats, lambda a: savgol_filter(a[0], 7, 2)),
    (lambda a: qx.crop(a, 3), floats, lambda a: a[3:-3, 3:-3]),
    (lambda a: qx.subtract(a, a[::-1].copy()), counts, lambda a: a.astype(float) - a[::-1]),
    (lambda a: qx.extract_phase(a, 1, 0), floats, lambda a: a[0 : a.shape[0] // 2 * 2 : 2, 1::2]),
    (qx.replace_nonpositive, lambda random: floats(random) - 100, lambda a: np.where(a <= 0, np.float32(0.1), a)),
    (lambda a: qx.afe_ratios(a, 20)[:, 2], floats, lambda a: a[:, 60] / a[:, 59]),
]


@pytest.mark.parametrize(("ours", "draw", "truth"), NUMBERS)
def test_equals_numpy(
    ours: Callable[[Array], Any], draw: Draw, truth: Callable[[Array], Any], random: np.random.Generator
) -> None:
    values = draw(random)
    before = values.copy()
    np.testing.assert_allclose(ours(values), truth(values), rtol=2e-5)
    np.testing.assert_array_equal(values, before)


def snr(image: Array, side: int) -> float:
    top, left = (image.shape[0] - side) // 2, (image.shape[1] - side) // 2
    square = image[top : top + side, left : left + side].astype(float)
    middle = np.sort(square, axis=None)[square.size // 2]
    clipped = np.where(np.abs(square - middle) >= 4 * deviation(square, int(square.mean())), middle, square)
    return float((middle - 208) / deviation(clipped, int(clipped.mean())))


def test_snr_series_is_median_over_clipped_deviation(random: np.random.Generator) -> None:
    image = random.normal(20000, 100, (700, 800)).astype(np.uint16)
    image[::37, ::41] = 40000
    series = qx.snr_series(image)
    assert series.sides == [64, 128, 256, 512]
    np.testing.assert_allclose(series, [snr(image, side) for side in series.sides], rtol=1e-5)
    assert np.asarray(series) is series.values and list(series) == list(series.values) and len(series) == 4


def test_splines_are_natural_and_meet_at_the_corners(random: np.random.Generator) -> None:
    image = random.integers(20000, 40000, (19, 23), dtype=np.uint16)
    rows, columns = np.linspace(0, 18, 40), np.linspace(0, 22, 55)
    along = CubicSpline(np.arange(23), image, axis=1, bc_type="natural")(columns)
    truth = CubicSpline(np.arange(19), along, axis=0, bc_type="natural")(rows)
    assert np.abs(qx.resample(image, (40, 55)) - truth).max() < 0.6


def test_fits_find_the_coefficients_the_samples_came_from() -> None:
    x = np.linspace(-1, 1, 21, dtype=np.float32)
    points = np.stack([x, 3 - 2 * x + 0.5 * x**2], axis=1)
    np.testing.assert_allclose(qx.polynomial_fit(points, 2), [3, -2, 0.5], atol=1e-5)
    z = (5 + 2 * x[:, None] - x[None, :] ** 2).astype(np.float32)
    coefficients, residuals = qx.grid_fit(x, x, z, 2, 3)
    np.testing.assert_allclose(coefficients, [[5, 0, -1], [2, 0, 0]], atol=1e-4)
    assert residuals[2] < 1e-4
    rows, columns = np.mgrid[:40, :60]
    peak = (1000 - 0.1 * (columns - 37) ** 2 - 0.2 * (rows - 12) ** 2).astype(np.float32)
    np.testing.assert_allclose(qx.surface_fit(peak).model[4:], [12, 37], atol=0.05)
    np.testing.assert_allclose(qx.general_surface_fit(peak).model[4:], [37 - 30, 12 - 20], atol=0.05)
    assert qx.cubic_surface_fit(peak).coefficients.shape == (10,)


def test_files_and_texts(tmp_path: Path, random: np.random.Generator) -> None:
    image = random.integers(0, 65535, (30, 40), dtype=np.uint16)
    data = image.tobytes()
    path = tmp_path / "image.raw"
    qx.write_image(path, image)
    assert path.read_bytes() == data and qx.has_length(path, 2400) and qx.file_length(path) == 2400
    assert not qx.has_length(path, 2401)
    np.testing.assert_array_equal(qx.read_image(path, (30, 40)), image)
    np.testing.assert_array_equal(qx.read_image(path, (29, 40), "uint16", header_bytes=80), image[1:])
    assert qx.file_crc(path) == zlib.crc32(data)
    text = qx.base64_encode(data)
    assert text.encode() == base64.b64encode(data) and qx.base64_decode(text) == data
    qx.copy_file(tmp_path / "copy.raw", path)
    assert qx.file_count(tmp_path) == 2 and qx.directory_bytes(tmp_path) == 4800.0
    assert sorted(qx.files_by_creation_time(tmp_path)) == ["copy.raw", "image.raw"]
    qx.empty_file(path)
    assert path.stat().st_size == 0 and qx.path_exists(path) and not qx.path_exists(tmp_path / "none")
    assert qx.split_text("a,bc,", ",") == ["a", "bc"] and qx.text_position("abcd", "bc") == 1
    assert qx.is_address("192.168.1.254") and not qx.is_address("1.2.3")
    assert qx.gain_exposure_time("gain-300ms-25-mA.raw") == 25 and qx.standard_size(2) == (3032, 2480)
    header = np.zeros(65536, np.uint8)
    header[12:20] = np.frombuffer(np.array([3072, 2048], ">i4").tobytes(), np.uint8)
    assert (qx.image_header(header).width, qx.image_header(bytes(header)).height) == (3072, 2048)
