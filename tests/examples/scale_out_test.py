"""An archive judged on Dask's own scheduler and workers while these, or the driver, are killed: nothing is lost, and
nothing differs from what one process finds. CTest tells in QX_EXAMPLES where the examples are."""

import os
import signal
import sqlite3
import subprocess
import sys
from collections.abc import Callable, Iterator
from pathlib import Path
from typing import Any

import numpy as np
import pytest

FOLDER = Path(os.environ["QX_EXAMPLES"]) / "scale_out"
sys.path.insert(0, str(FOLDER))

import judging  # noqa: E402
import scale_out  # noqa: E402
from cluster import Cluster, local_cluster  # noqa: E402

SIDE = 128
IMAGES = 8 * 30
IMAGES_PER_TASK = 2
WINDOW = 8
DEADLINE_S = 120
# Added to any content without a carry, it leaves the CRC-32 as it is: the polynomial itself.
SAME_CRC = np.frombuffer(bytes.fromhex("410671db01"), np.uint8)
Action = tuple[int, Callable[[], object]]


def run(store: Path, archive: Path, *more: str, at: tuple[Action, ...] = ()) -> int:
    """Judges the archive and counts the images; does each action of `at` after so many of them."""
    left, drawn, judged, tasks = list(at), 0, 0, scale_out.tasks

    def count(*arguments: Any) -> Iterator[scale_out.Task]:
        nonlocal drawn
        for task in tasks(*arguments):
            drawn += len(task)
            yield task

    places = [str(store), str(archive), str(archive.parent / "no-folder")]
    options = scale_out.parsed([*places, "--shape", f"{SIDE}x{SIDE}", *more])
    with pytest.MonkeyPatch.context() as patch:
        patch.setattr(scale_out, "RECORDS_PER_COMMIT", 50)
        patch.setattr(scale_out, "tasks", count)
        for judged in scale_out.judge_archive(options):
            assert drawn - judged <= WINDOW * IMAGES_PER_TASK
            while left and judged >= left[0][0]:
                left.pop(0)[1]()
    assert not left
    return judged


def on(cluster: Cluster) -> tuple[str, ...]:
    return "--scheduler", cluster.address, "--images-per-task", str(IMAGES_PER_TASK), "--window", str(WINDOW)


def dump(store: Path) -> list[str]:
    return sorted(sqlite3.connect(store).iterdump())


def count(store: Path, what: str) -> int:
    return int(sqlite3.connect(store).execute(f"SELECT COUNT({what}").fetchone()[0])


@pytest.fixture(scope="module")
def archive(tmp_path_factory: pytest.TempPathFactory) -> Path:
    folder = tmp_path_factory.mktemp("archive")
    random = np.random.default_rng(1)
    for file in range(8):
        random.normal(20000, 100, (30, SIDE, SIDE)).astype("<u2").tofile(folder / f"{file}.raw")
    image = random.normal(20000, 100, (SIDE, SIDE)).astype("<u2")
    for name in ("one.raw", "again.raw"):
        image.tofile(folder / name)
    noiseless = Path(os.fsdecode(os.fsencode(folder) + b"/caf\xe9.raw"))
    noiseless.write_bytes(np.full((SIDE, SIDE), 20000, "<u2").tobytes())
    image.view(np.uint8).reshape(-1)[2000:2005] ^= SAME_CRC
    image.tofile(folder / "twin.raw")
    (folder / "short.raw").write_bytes(bytes(100))
    (folder / "gone.raw").symlink_to("nowhere")
    (folder / "other.txt").write_text("no image")
    return folder


@pytest.fixture(scope="module")
def serial(archive: Path, tmp_path_factory: pytest.TempPathFactory) -> Path:
    store = tmp_path_factory.mktemp("serial") / "serial.sqlite"
    assert run(store, archive) == IMAGES + 7
    return store


@pytest.fixture(scope="module")
def cluster(tmp_path_factory: pytest.TempPathFactory) -> Iterator[Cluster]:
    with pytest.MonkeyPatch.context() as patch:
        # By default a task has to end four workers before it is given up.
        patch.setenv("DASK_DISTRIBUTED__SCHEDULER__ALLOWED_FAILURES", "1")
        with local_cluster(tmp_path_factory.mktemp("dask"), workers=2) as started:
            yield started


def test_every_content_has_one_result_and_every_image_is_told(serial: Path) -> None:
    assert count(serial, "*) FROM results WHERE json_valid(findings)") == IMAGES + 3
    assert count(serial, "DISTINCT crc) FROM results") == IMAGES + 2
    errors = sqlite3.connect(serial).execute("SELECT file, error FROM items WHERE error IS NOT NULL").fetchall()
    assert [(Path(file).name, error.split("[")[0]) for file, error in errors] == [
        ("gone.raw", "FileNotFoundError: "),
        ("short.raw", f"ValueError: 100 bytes at 0 are no image of {2 * SIDE * SIDE}"),
        ("no-folder", "FileNotFoundError: "),
    ]


def test_worker_killed_twice_costs_no_result(archive: Path, serial: Path, cluster: Cluster, tmp_path: Path) -> None:
    store = tmp_path / "store.sqlite"
    with cluster.connect(workers=2) as client:

        def kill() -> None:
            cluster.kill(client, "worker-0")

        assert run(store, archive, *on(cluster), at=((IMAGES // 4, kill), (IMAGES // 2, kill))) == IMAGES + 7
    assert (cluster.folder / "worker.log").read_text().count("was killed by signal 9") == 2
    assert dump(store) == dump(serial)
    assert run(store, archive, *on(cluster)) == 0
    assert dump(store) == dump(serial)


def test_driver_that_was_killed_goes_on(archive: Path, serial: Path, cluster: Cluster, tmp_path: Path) -> None:
    store = tmp_path / "store.sqlite"
    killed = subprocess.run([sys.executable, __file__, store, archive, *on(cluster)], timeout=DEADLINE_S)
    assert killed.returncode == -signal.SIGKILL
    kept = count(store, "*) FROM items")
    assert 100 <= kept < IMAGES
    assert run(store, archive, *on(cluster)) == IMAGES + 7 - kept
    assert dump(store) == dump(serial)


def bring(monkeypatch: pytest.MonkeyPatch, folder: Path, before: str, line: str) -> None:
    """Has the workers judge with a line more."""
    source = Path(judging.__file__).read_text()
    assert before in source
    (folder / "judging.py").write_text(source.replace(before, line + before))
    monkeypatch.setattr(judging, "__file__", str(folder / "judging.py"))


def test_image_that_ends_its_worker_takes_no_other_with_it(
    archive: Path, cluster: Cluster, tmp_path: Path, monkeypatch: pytest.MonkeyPatch
) -> None:
    deadly = "    if 'one.raw' in item[0]: import os; os._exit(1)\n"
    bring(monkeypatch, tmp_path, "    file, offset, _, height, width = item\n", deadly)
    store = tmp_path / "store.sqlite"
    assert run(store, archive, *on(cluster)) == IMAGES + 7
    (error,) = sqlite3.connect(store).execute("SELECT error FROM items WHERE file LIKE '%one.raw'").fetchone()
    assert error.startswith("KilledWorker")
    assert count(store, "error) FROM items") == 4


def test_fault_of_no_image_ends_the_run(
    archive: Path, cluster: Cluster, tmp_path: Path, monkeypatch: pytest.MonkeyPatch
) -> None:
    bring(monkeypatch, tmp_path, "    with qxutils.VirtualDetector(", "    raise RuntimeError('no library')\n")
    with pytest.raises(RuntimeError, match="no library"):
        run(tmp_path / "store.sqlite", archive, *on(cluster))
    assert count(tmp_path / "store.sqlite", "*) FROM items") == 0


if __name__ == "__main__":
    killing = (100, lambda: os.kill(os.getpid(), signal.SIGKILL))
    run(Path(sys.argv[1]), Path(sys.argv[2]), *sys.argv[3:], at=(killing,))
