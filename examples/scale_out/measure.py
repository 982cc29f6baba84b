#!/usr/bin/python3
"""Measures what docs/scale-out.md reckons with: measure.py [FOLDER]. Takes minutes, and 500 MB below FOLDER.

Archives of thousands of files are a few files under many names, so that they come from memory and not from a disk.
"""

import functools
import os
import re
import shutil
import sqlite3
import subprocess
import sys
import tempfile
import time
from collections.abc import Callable, Iterator, Mapping
from pathlib import Path

import numpy as np
import psutil

import scale_out
from cluster import Cluster, local_cluster

IMAGES = 2000
MEMORY_AT = (1_000, 10_000, 30_000, 100_000)


def make_archive(folder: Path, files: int, side: int, different: int, images_per_file: int = 1) -> Path:
    """Flat fields with noise, under `files` names."""
    random = np.random.default_rng(side)
    folder.mkdir()
    for file in range(files):
        name, first = folder / f"{file:05}.raw", folder / f"{file % different:05}.raw"
        if file < different:
            noise = random.standard_normal((images_per_file, side, side), np.float32)
            (20000 + 100 * noise).astype("<u2").tofile(name)
        else:
            os.link(first, name)
    return folder


def judge(store: Path, archive: Path, side: int, *more: str) -> Iterator[int]:
    return scale_out.judge_archive(scale_out.parsed([str(store), str(archive), "--shape", f"{side}x{side}", *more]))


def seconds(judging: Iterator[int], at: Mapping[int, Callable[[], None]]) -> float:
    """How long it takes; does each action of `at` after so many images."""
    begin, waiting = time.perf_counter(), sorted(at)
    for judged in judging:
        while waiting and judged >= waiting[0]:
            at[waiting.pop(0)]()
    return time.perf_counter() - begin


def dump(store: Path) -> list[str]:
    return sorted(sqlite3.connect(store).iterdump())


def resident(process: int) -> float:
    """Memory of a process in MB."""
    lines = Path(f"/proc/{process}/status").read_text().splitlines()
    return next(int(line.split()[1]) for line in lines if line.startswith("VmRSS:")) / 1000


def cpu_seconds(cluster: Cluster) -> float:
    """CPU time so far of the scheduler, the workers with their nannies, and this process, which drives them."""
    started = [psutil.Process(process.pid) for process in (cluster.scheduler, cluster.workers)]
    every = [psutil.Process(), *started, *started[1].children(recursive=True)]
    return float(sum(sum(process.cpu_times()[:2]) for process in every))


def measure_one_process(folder: Path) -> None:
    for side, count in ((1024, IMAGES), (3072, 40)):
        archive = make_archive(folder / f"archive-{side}", count, side, min(count, 100) if side == 1024 else 10)
        began = time.process_time()
        took = seconds(judge(folder / f"serial-{side}.sqlite", archive, side), {})
        cpu = time.process_time() - began
        print(f"one process, {count} images of {side} x {side}: {count / took:.1f} a second, "
              f"{1000 * cpu / count:.2f} ms of CPU time an image", flush=True)


def measure_tool(folder: Path) -> None:
    """The same archive and findings by two calls of the tool, where it is installed."""
    tool = shutil.which("qxutils")
    if tool is None:
        return
    for jobs in (1, 2):
        begin = time.perf_counter()
        for command in (("check", "uniform"), ("snr",)):
            call = [tool, *command, str(folder / "archive-1024"), "--shape", "1024", "--jobs", str(jobs)]
            subprocess.run(call, check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        took = time.perf_counter() - begin
        print(f"qxutils check uniform and snr, --jobs {jobs}: {IMAGES / took:.1f} images a second", flush=True)


def measure_cluster(folder: Path) -> None:
    archive, serial = folder / "archive-1024", dump(folder / "serial-1024.sqlite")
    for kills in (0, 2):
        dask, store = folder / f"dask-{kills}", folder / f"cluster-{kills}.sqlite"
        dask.mkdir()
        with local_cluster(dask, workers=2) as cluster, cluster.connect(workers=2) as client:
            at = {IMAGES * (kill + 1) // 3: lambda: cluster.kill(client, "worker-0") for kill in range(kills)}
            began = cpu_seconds(cluster)
            took = seconds(judge(store, archive, 1024, "--scheduler", cluster.address), at)
            cpu = "" if kills else f", {1000 * (cpu_seconds(cluster) - began) / IMAGES:.2f} ms of CPU time an image"
        same = "identical to one process's" if dump(store) == serial else "OTHER THAN ONE PROCESS'S"
        print(f"two workers, one killed {kills} times: {IMAGES / took:.1f} images a second{cpu}, {same}", flush=True)


def measure_memory(folder: Path) -> None:
    tiles = 1000
    archive = make_archive(folder / "tiles", MEMORY_AT[-1] // tiles, 128, 1, tiles)
    dask, store = folder / "dask-tiles", folder / "tiles.sqlite"
    dask.mkdir()
    with local_cluster(dask, workers=2) as cluster, cluster.connect(workers=2):

        def tell(images: int) -> None:
            print(f"  after {images} tiles: scheduler {resident(cluster.scheduler.pid):.0f} MB, "
                  f"driver {resident(os.getpid()):.0f} MB", flush=True)

        at = {images: functools.partial(tell, images) for images in MEMORY_AT}
        took = seconds(judge(store, archive, 128, "--scheduler", cluster.address), at)
    print(f"tiles: {MEMORY_AT[-1] / took:.0f} a second, eight a task")


def measure_store(folder: Path) -> None:
    items = (folder / "tiles.sqlite").stat().st_size / MEMORY_AT[-1]
    large = sqlite3.connect(folder / "serial-3072.sqlite")
    (findings,) = large.execute("SELECT AVG(LENGTH(findings)) FROM results").fetchone()
    print(f"store: {items:.0f} bytes an item, findings of 3072 x 3072 {findings:.0f} bytes", flush=True)


def main() -> None:
    folder = Path(tempfile.mkdtemp(dir=sys.argv[1] if sys.argv[1:] else None))
    (name, *_) = re.findall(r"model name\s*: (.*)", Path("/proc/cpuinfo").read_text()) or ["unknown processor"]
    print(f"{name}, {os.cpu_count()} cores, load {os.getloadavg()[0]:.1f}, "
          f"{time.strftime('%Y-%m-%d')}", flush=True)
    try:
        measure_one_process(folder)
        measure_tool(folder)
        measure_cluster(folder)
        measure_memory(folder)
        measure_store(folder)
    finally:
        shutil.rmtree(folder)


if __name__ == "__main__":
    main()
