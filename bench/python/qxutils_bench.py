#!/usr/bin/python3
"""Prints what calls from Python cost: ours, the same library called from C, NumPy, and their ratios.

Run it with the built package: PYTHONPATH=build/linux-release/lib/python bench/python/qxutils_bench.py. The methods of a
row take turns, ours and C's in either order, and each counts by its quickest call: what else the machine does and what
lies in its cache meets them alike.
"""

import ctypes
import os
import tempfile
import time
import zlib
from collections.abc import Callable
from pathlib import Path
from typing import Any, Optional

import numpy as np

import qxutils as qx

SIDE = 3072
SIDES = (64, 128, *range(256, SIDE - 11, 256))
TURNS = 3
PAIRS = 8
CALLS = 1000
BURSTS = 500

Call = Callable[[], Any]


def quickest(ours: Call, from_c: Optional[Call], numpy: Call) -> tuple[float, float, float]:
    """Milliseconds of each method's quickest call; not a number where there is no method."""
    order = [0, 1, 1, 0] * PAIRS + [2]
    methods = [ours, from_c, numpy]
    times = [float("inf") if method else float("nan") for method in methods]
    for i in order * TURNS:
        if method := methods[i]:
            begin = time.perf_counter()
            method()
            times[i] = min(times[i], (time.perf_counter() - begin) * 1e3)
    return times[0], times[1], times[2]


def numpy_snr(image: np.ndarray[Any, Any]) -> list[float]:
    series = []
    for side in SIDES:
        start = (SIDE - side) // 2
        square = image[start : start + side, start : start + side]
        middle = np.median(square)
        clipped = np.where(np.abs(square - middle) >= 4 * square.std(), middle, square)
        series.append((np.median(clipped) - 208) / clipped.std())
    return series


def bincount_snr(image: np.ndarray[Any, Any]) -> list[float]:
    values = np.arange(65536)
    series = []
    for side in SIDES:
        start = (SIDE - side) // 2
        counts = np.bincount(image[start : start + side, start : start + side].ravel(), minlength=65536)
        middle = np.searchsorted(np.cumsum(counts), side * side // 2, side="right")
        mean = int(counts @ values / (side * side))
        far = np.abs(values - middle) >= 4 * np.sqrt(counts @ (values - mean) ** 2 / (side * side))
        counts[middle] += counts[far].sum()
        counts[far] = 0
        mean = int(counts @ values / (side * side))
        series.append((middle - 208) / np.sqrt(counts @ (values - mean) ** 2 / (side * side)))
    return series


def equalized(image: np.ndarray[Any, Any]) -> np.ndarray[Any, Any]:
    share = np.cumsum(np.bincount(image.ravel(), minlength=65536)) / image.size
    table = (65535 * share).astype(np.uint16)
    return table[image]


def rows(folder: str) -> list[tuple[str, Call, Optional[Call], Call]]:
    image = np.random.default_rng(1).normal(20000, 100, (SIDE, SIDE)).astype(np.uint16)
    values = image.astype(np.float32)
    path = Path(folder, "image.raw")
    qx.write_image(path, image)
    library = ctypes.CDLL(os.environ.get("QXUTILS_C", str(Path(qx.__file__).parents[3] / "bin/libqxutils_c.so")))
    library.qx_getStdev_f32.restype = ctypes.c_float
    library.qx_getMedian_f32.restype = ctypes.c_float
    pixels, floats = ctypes.c_void_p(image.ctypes.data), ctypes.c_void_p(values.ctypes.data)
    snr, medians = (ctypes.c_float * 13)(), (ctypes.c_float * SIDE)()
    size, count = (SIDE, SIDE), SIDE * SIDE
    return [
        ("SNR series", lambda: qx.snr_series(image), lambda: library.qx_calcGlobalSNR(pixels, *size, snr, 13),
         lambda: numpy_snr(image)),
        ("SNR series, bincount", lambda: qx.snr_series(image), None, lambda: bincount_snr(image)),
        ("median, float32", lambda: qx.median(values), lambda: library.qx_getMedian_f32(floats, count),
         lambda: np.median(values)),
        ("standard deviation, float32", lambda: qx.stdev(values), lambda: library.qx_getStdev_f32(floats, *size),
         lambda: np.std(values)),
        ("column medians", lambda: qx.column_medians(values),
         lambda: library.qx_calcMedianPerColumn(medians, floats, *size), lambda: np.median(values, axis=0)),
        ("equalisation, a copy", lambda: qx.equalize(image), None, lambda: equalized(image)),
        ("CRC-32 of a file", lambda: qx.file_crc(path), None, lambda: zlib.crc32(path.read_bytes())),
    ]


def print_overhead() -> None:
    one, single = np.ones(1, np.uint16), np.ones(1, np.float32)
    calls: list[tuple[str, Callable[[Any], Any], Any]] = [
        ("mean, one uint16", qx.mean, one),
        ("median, one uint16", qx.median, one),
        ("median, one float32", qx.median, single),
        ("stdev, one float32", qx.stdev, single),
    ]
    print("\na call, loop included                 ns\n" + "-" * 38)
    for name, function, argument in calls:
        times = []
        for _ in range(BURSTS):
            begin = time.perf_counter()
            for _ in range(CALLS):
                function(argument)
            times.append(time.perf_counter() - begin)
        print(f"{name:30}{min(times) / CALLS * 1e9:8.0f}")


def main() -> None:
    print(f"{SIDE} x {SIDE} pixels                ours ms     C ms   ours/C  NumPy ms   NumPy/ours\n" + "-" * 82)
    with qx.VirtualDetector(), tempfile.TemporaryDirectory() as folder:
        for name, ours, from_c, numpy in rows(folder):
            one, other, plain = quickest(ours, from_c, numpy)
            print(f"{name:30}{one:10.2f}{other:9.2f}{one / other:9.3f}{plain:10.1f}{plain / one:13.1f}")
    print_overhead()


main()
