"""What arrays are refused, which are changed, and what other threads may do meanwhile."""

import sys
import tempfile
import threading
import time
from collections.abc import Callable, Iterator
from typing import Any

import numpy as np
import pytest

import qxutils as qx

Array = np.ndarray[Any, Any]

U16 = np.full((200, 260), 300, np.uint16)
F32 = np.full((200, 260), 300, np.float32)


def read_only(array: Array) -> Array:
    copy = array.copy()
    copy.flags.writeable = False
    return copy


# What mypy refuses, too, says so.
REFUSED: list[tuple[Callable[[], Any], type[Exception], str]] = [
    (lambda: qx.snr_series([[1]]), TypeError, "image: a NumPy array of uint16 is needed,"),  # type: ignore[arg-type]
    (lambda: qx.snr_series(F32), TypeError, "image: elements of uint16 are needed, not f"),  # type: ignore[arg-type]
    (lambda: qx.snr_series(U16.astype(">u2")), TypeError, "image: elements of uint16 are needed, not >u2"),
    (lambda: qx.snr_series(U16.astype(np.int16)), TypeError, "image: elements of uint16 are needed, not int16"),
    (lambda: qx.snr_series(U16[:, ::2]), ValueError, "image: a C-contiguous array is needed; numpy.ascontig"),
    (lambda: qx.snr_series(U16.T), ValueError, "image: a C-contiguous array is needed; numpy.ascontig"),
    (lambda: qx.snr_series(U16[0]), ValueError, "image: 2 dimensions are needed, not 1"),
    (lambda: qx.median(np.ones(3, int)), TypeError, "values: elements of uint16, int32, float32, float64 are"),
    (lambda: qx.median(U16[:, ::2]), ValueError, "values: a C-contiguous array is needed"),
    (lambda: qx.mean(np.zeros(9, np.uint8)[1:].view(np.uint16)), ValueError, "values: an aligned array is needed"),
    (lambda: qx.equalize(read_only(U16), in_place=True), ValueError, "image: the array is read-only, and in_place"),
    (lambda: qx.check_preview(U16, U16[:100]), ValueError, r"dark: the shape \(200, 260\) of image is needed, not \(1"),
    (lambda: qx.snr_squares(U16, "abc"), TypeError, "factory: an SnrSeries or a sequence"),  # type: ignore[arg-type]
    (lambda: qx.write_image("x", U16[:, ::2]), ValueError, "image: a C-contiguous array is needed"),
    (lambda: qx.read_image("x", (1,), object), TypeError, "dtype: a file holds no objects"),
    (lambda: qx.write_image("x", np.array([{}])), TypeError, "image: a file holds no objects"),
    (lambda: qx.write_image("x", [[1]]), TypeError, "image: a NumPy array of any"),  # type: ignore[arg-type]
    (lambda: qx.image_header("x"), TypeError, "header: bytes are needed, not str"),  # type: ignore[arg-type]
    (lambda: qx.has_length("x", 1 << 40), ValueError, "length: a whole number of 32 bits is needed, not 1099511627776"),
    (lambda: qx.crop(F32, "1"), TypeError, "border: a whole number of 32 bits"),  # type: ignore[arg-type]
    (lambda: qx.resample(U16, (1 << 40, 1)), TypeError, "shape: a pair of whole numbers of 32 bits"),
    (lambda: qx.write_log(1), TypeError, "text: a text is needed, not 1"),  # type: ignore[arg-type]
    (lambda: qx.is_address("1.2.3.4\0x"), ValueError, "address: a text without a zero byte"),
    (lambda: qx.gain_exposure_time("ms-\0-mA"), ValueError, "name: a text without a zero byte"),
    (lambda: qx.split_text("a", "\xe9"), ValueError, "separator: one ASCII character is needed"),
    (lambda: qx.split_text("a", ""), ValueError, "separator: one ASCII character is needed"),
]


@pytest.mark.parametrize(("call", "kind", "sentence"), REFUSED)
def test_other_arrays_are_refused_with_a_sentence(
    call: Callable[[], Any], kind: type[Exception], sentence: str
) -> None:
    with pytest.raises(kind, match=f"^{sentence}"):
        call()


CODES: list[tuple[Callable[[], Any], int]] = [
    (lambda: qx.snr_series(U16[:100].copy()), 1020),
    (lambda: qx.snr_series(np.empty((0, 300), np.uint16)), 1020),
    (lambda: qx.median(np.empty(0, np.float32)), 1057),
    (lambda: qx.histogram_median(np.empty(0, np.uint16)), 1057),
    (lambda: qx.grid_fit(F32[0], F32[0], np.ones((260, 260), np.float32), 21, 3), 1020),
    (lambda: qx.region_median(U16, (0, 200), (0, 9)), 1020),
    (lambda: qx.region_mean(U16, (3, 2), (0, 9)), 1020),
    (lambda: qx.resample(U16, (0, 9)), 1020),
    (lambda: qx.histogram(U16, 0), 1020),
    (lambda: qx.polynomial_fit(F32[:, :2].copy(), 7), 1086),
    (lambda: qx.polynomial_fit(F32, 2), 1020),
    (lambda: qx.balance_afe(F32[:, :20].copy()), 1020),
    (lambda: qx.afe_ratios(F32, 0), 1020),
    (lambda: qx.crop(F32, -1), 1020),
    (lambda: qx.insert_phase(F32, F32, 0, 0), 1020),
    (lambda: qx.extract_phase(F32, 2, 0), 1020),
    (lambda: qx.correct_stripe(U16, 100), 1020),
    (lambda: qx.correct_stripe_by_reference(U16, U16[:90].copy(), 100), 1020),
    (lambda: qx.check_strips(np.empty((0, 9), np.uint16)), 1020),
    (lambda: qx.check_snr(U16, [1.0]), 1020),
    (lambda: qx.check_gain_group([]), 1057),
    (lambda: qx.check_row_noise((10, 10)), 1039),
    (lambda: qx.read_image("/nowhere/x.raw", (1,)), 1039),
    (lambda: qx.read_image("/nowhere/x.raw", (-1,)), 1020),
    (lambda: qx.read_image("/nowhere/x.raw", (1 << 40, 1 << 40)), 1020),
    (lambda: qx.empty_file("x" * 300), 1039),
    (lambda: qx.gain_exposure_time("ms-" + "1" * 60 + "-mA"), 1020),
    (lambda: qx.image_header(bytes(100)), 1020),
    (lambda: qx.read_defects("/nowhere/x.cal"), 1039),
    (lambda: qx.read_factory_snr("/nowhere/x.raw", 1), 1040),
    (lambda: qx.pixel_border(1, 0, 1), 1020),
]


@pytest.mark.parametrize(("call", "status"), CODES)
def test_statuses_are_errors_with_the_librarys_message(call: Callable[[], Any], status: int) -> None:
    with pytest.raises(qx.QxError) as caught:
        call()
    assert caught.value.status == status and str(caught.value) == (qx.status_message(status) or "")


ANSWERS: list[tuple[Callable[[], Any], str]] = [
    (lambda: qx.savgol_filter(F32[0], 6), "No fit for this length, window and order."),
    (lambda: qx.file_count("/nowhere"), "The directory cannot be listed."),
    (lambda: qx.files_by_creation_time("/nowhere"), "The directory cannot be listed."),
]


@pytest.mark.parametrize(("call", "sentence"), ANSWERS)
def test_an_answer_of_1_has_a_sentence_of_its_own(call: Callable[[], Any], sentence: str) -> None:
    with pytest.raises(qx.QxError, match=f"^{sentence}$") as caught:
        call()
    assert caught.value.status == 1


NOISE = np.random.default_rng(2).integers(0, 60000, (200, 260), dtype=np.uint16)

CHANGING: list[tuple[Callable[..., Array], Array]] = [
    (qx.equalize, NOISE),
    (qx.column_median_filter, NOISE),
    (lambda a, **how: qx.median_filter(a, 2, **how), NOISE[0].astype(np.float32)),
    (qx.scramble, np.arange(9, dtype=np.uint8) * 3),
    (qx.replace_nonpositive, NOISE - np.float32(30000)),
    (qx.balance_afe, np.linspace(300, 900, 200 * 260, dtype=np.float32).reshape(200, 260)),
    (lambda a, **how: qx.apply_afe_gains(a, np.full(12, 2, np.float32), 20, **how), F32),
    (lambda a, **how: qx.repair_afe_edges(a, 20, **how), np.where(np.arange(260) % 20 == 0, F32 * 3, F32)),
    (lambda a, **how: qx.insert_phase(a, np.zeros((100, 130), np.float32), 0, 1, **how), F32),
    (lambda a, **how: qx.correct_stripe(a, 100, **how), np.repeat(np.uint16(9000) - NOISE[:, :1] // 20, 1100, axis=1)),
]


@pytest.mark.parametrize(("change", "source"), CHANGING)
def test_in_place_changes_the_array_and_otherwise_a_copy(change: Callable[..., Array], source: Array) -> None:
    own = source.copy()
    copy = change(own)
    np.testing.assert_array_equal(own, source)
    assert not np.shares_memory(copy, own) and not np.array_equal(copy, own)
    assert change(own, in_place=True) is own
    np.testing.assert_array_equal(own, copy)


@pytest.mark.parametrize("median", [qx.upper_median, qx.quick_median])
def test_medians_reorder_the_array_in_place(median: Callable[..., float]) -> None:
    values = NOISE.ravel().astype(np.float32)
    own = values.copy()
    assert median(own) == median(own.copy(), in_place=True) == np.sort(values)[values.size // 2]
    np.testing.assert_array_equal(own, values)
    median(own, in_place=True)
    assert not np.array_equal(own, values)
    np.testing.assert_array_equal(np.sort(own), np.sort(values))
    with pytest.raises(ValueError, match="^values: the array is read-only"):
        median(read_only(values), in_place=True)


COUNTS = np.random.default_rng(1).normal(3000, 500, (2000, 2000)).astype(np.uint16)
OWN = COUNTS.copy()
VALUES = COUNTS.astype(np.float32)
SUMS = COUNTS.astype(np.uint32)
BYTES = COUNTS.tobytes()
TEXT = "a" * 10_000_000
FOLDER = tempfile.TemporaryDirectory()


@pytest.fixture
def nobody_is_interrupted() -> Iterator[None]:
    """A thread runs until it gives the interpreter's lock away itself."""
    interval = sys.getswitchinterval()
    sys.setswitchinterval(1000)
    yield
    sys.setswitchinterval(interval)


def during(call: Callable[[], Any], attempt: Callable[[], Any]) -> list[Any]:
    """What attempt() gave in this thread while call() ran in another one, which is tried until it gives something."""
    span: list[float] = []

    def run() -> None:
        begin = time.perf_counter()
        call()
        span.extend((begin, time.perf_counter()))

    call()  # what the first call imports would let others run, too
    for _ in range(50):
        span.clear()
        worker = threading.Thread(target=run)
        worker.start()
        given = []
        while worker.is_alive():
            given.append((time.perf_counter(), attempt(), time.perf_counter()))
            time.sleep(0)
        inside = [what for before, what, after in given if span[0] < before and after < span[1]]
        if inside:
            return inside
    return []


LONG: list[Callable[[], Any]] = [
    lambda: qx.snr_series(COUNTS),
    lambda: qx.equalize(COUNTS),
    lambda: qx.equalize(OWN, in_place=True),
    lambda: qx.median(VALUES),
    lambda: qx.mean(COUNTS),
    lambda: qx.column_medians(VALUES),
    lambda: qx.histogram(COUNTS, 10),
    lambda: qx.region_median(COUNTS, (0, 1999), (0, 1999)),
    lambda: qx.check_strips(COUNTS),
    lambda: qx.check_offset_image(VALUES),
    lambda: qx.check_first_image(COUNTS, COUNTS),
    lambda: qx.check_snr(COUNTS, [1.0] * 9),
    lambda: qx.resample(COUNTS, (1500, 1500)),
    lambda: qx.subtract(COUNTS, COUNTS),
    lambda: qx.balance_afe(VALUES),
    lambda: qx.surface_fit(VALUES),
    lambda: qx.ndt_calibrate(SUMS, SUMS),
    lambda: qx.write_image(f"{FOLDER.name}/image.raw", COUNTS),
    lambda: qx.base64_encode(BYTES),
    lambda: qx.text_position(TEXT, "ab"),
]


@pytest.mark.usefixtures("nobody_is_interrupted")
@pytest.mark.parametrize("call", LONG)
def test_other_threads_run_during_a_call(call: Callable[[], Any]) -> None:
    assert during(call, lambda: True)


@pytest.mark.usefixtures("nobody_is_interrupted")
@pytest.mark.parametrize("view", [lambda array: array, lambda array: array[1:-1]])
def test_an_array_cannot_be_resized_during_a_call(view: Callable[[Array], Array]) -> None:
    array = COUNTS.copy()

    def resized() -> bool:
        try:
            array.resize((array.shape[0] + 1, 2000), refcheck=False)
        except ValueError:
            return False
        return True

    given = view(array)
    refusals = during(lambda: qx.resample(given, (1500, 1500)), resized)
    assert refusals and not any(refusals)
    del given
    assert resized()
