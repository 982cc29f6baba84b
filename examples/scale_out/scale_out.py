#!/usr/bin/python3
"""Judges every image of an archive, here or on the workers of a Dask cluster, and keeps the results in one SQLite file.

The files hold raw 16-bit images of one shape without headers, one or many after each other. What the store holds
already is not judged again, so a run that was interrupted is called once more.
"""

import argparse
import fnmatch
import itertools
import os
import sqlite3
import sys
from collections.abc import Iterable, Iterator
from concurrent.futures import CancelledError

import judging
from judging import Item, Record

Task = tuple[Item, ...]

# Of ten million CRC-32s more than ten thousand pairs are equal by chance; the Adler-32 beside them tells those apart.
SCHEMA = """
    CREATE TABLE IF NOT EXISTS results (crc INTEGER, adler INTEGER, height INTEGER, width INTEGER,
        status INTEGER NOT NULL, findings TEXT NOT NULL, PRIMARY KEY (crc, adler, height, width)) WITHOUT ROWID;
    CREATE TABLE IF NOT EXISTS items (file TEXT, offset INTEGER, written INTEGER, height INTEGER, width INTEGER,
        crc INTEGER, adler INTEGER, error TEXT, PRIMARY KEY (file, offset, written, height, width)) WITHOUT ROWID;
"""
RECORDS_PER_COMMIT = 200


def stored(item: Item) -> tuple[str, int, int, int, int]:
    """The item with its name as text, which names of files need not be."""
    return os.fsencode(item[0]).decode(errors="backslashreplace"), *item[1:]


class Store:
    """Results by their content, and the items that have one. The driver alone writes it."""

    def __init__(self, file: str) -> None:
        self.database = sqlite3.connect(file)
        self.database.execute("PRAGMA journal_mode = WAL")
        self.database.executescript(SCHEMA)
        self.uncommitted = 0

    def lacks(self, item: Item) -> bool:
        select = "SELECT 1 FROM items WHERE (file, offset, written, height, width) = (?, ?, ?, ?, ?)"
        return self.database.execute(select, stored(item)).fetchone() is None

    def add(self, records: list[Record]) -> None:
        results = [(crc, adler, *item[3:], status, found) for item, crc, adler, status, found, error in records
                   if error is None]
        self.database.executemany("INSERT OR IGNORE INTO results VALUES (?, ?, ?, ?, ?, ?)", results)
        items = [(*stored(item), crc, adler, error) for item, crc, adler, _, _, error in records]
        self.database.executemany("INSERT OR IGNORE INTO items VALUES (?, ?, ?, ?, ?, ?, ?, ?)", items)
        self.uncommitted += len(records)
        if self.uncommitted >= RECORDS_PER_COMMIT:
            self.commit()

    def commit(self) -> None:
        self.database.commit()
        self.uncommitted = 0

    def summary(self) -> str:
        items, errors = self.database.execute("SELECT COUNT(*), COUNT(error) FROM items").fetchone()
        (results,) = self.database.execute("SELECT COUNT(*) FROM results").fetchone()
        return f"{items} images, {results} different results, {errors} images without one"


def images(folders: Iterable[str], pattern: str, height: int, width: int) -> Iterator[Item]:
    """Every image below the folders; a file or folder that cannot be looked at counts as one."""
    length, closed = 2 * height * width, list[OSError]()
    walks = (os.walk(os.path.abspath(folder), onerror=closed.append) for folder in folders)
    for parent, inner, names in itertools.chain.from_iterable(walks):
        inner.sort()
        for name in fnmatch.filter(sorted(names), pattern):
            file = os.path.join(parent, name)
            try:
                status = os.stat(file)
                size, written = status.st_size, status.st_mtime_ns
            except OSError:
                size, written = 0, 0
            for offset in range(0, max(size, 1), length):
                yield file, offset, written, height, width
    yield from ((error.filename, 0, 0, height, width) for error in closed)


def tasks(items: Iterator[Item], images_per_task: int) -> Iterator[Task]:
    while task := tuple(itertools.islice(items, images_per_task)):
        yield task


def on_cluster(tasks: Iterator[Task], scheduler: str, window: int) -> Iterator[list[Record]]:
    """Records in the order in which they arrive. No more than `window` tasks are known to the scheduler at a time."""
    from distributed import Client, KilledWorker, as_completed
    from distributed.diagnostics.plugin import UploadFile

    with Client(scheduler) as client:
        client.register_worker_plugin(UploadFile(judging.__file__))
        running, submitted = as_completed(), {}

        def submit(some: Iterable[Task]) -> None:
            for task in some:
                future = client.submit(judging.judge_all, task, pure=False)
                submitted[future] = task
                running.add(future)

        submit(itertools.islice(tasks, window))
        for future in running:
            task, error = submitted.pop(future), future.exception()
            if error is None:
                yield future.result()
            elif not isinstance(error, KilledWorker):
                raise error
            elif len(task) == 1:
                yield [judging.without_result(task[0], error)]
            else:
                submit((item,) for item in task)  # One of them kills workers; the others shall have their results.
            submit(itertools.islice(tasks, max(0, window - len(submitted))))


def judge_archive(options: argparse.Namespace) -> Iterator[int]:
    """Puts into the store what it lacks; tells again and again how many images that were so far."""
    store = Store(options.store)
    missing = filter(store.lacks, images(options.folders, options.pattern, *options.shape))
    work = tasks(missing, options.images_per_task)
    if options.scheduler:
        records = on_cluster(work, options.scheduler, options.window)
    else:
        records = map(judging.judge_all, work)
    judged = 0
    try:
        for some in records:
            store.add(some)
            judged += len(some)
            yield judged
    finally:
        store.commit()


def shape(text: str) -> tuple[int, int]:
    width, height = map(int, text.split("x"))
    return height, width


def parsed(arguments: list[str]) -> argparse.Namespace:
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("store", help="SQLite file, made when it is missing")
    parser.add_argument("folders", nargs="+", help="the archive, under the same names on every machine")
    parser.add_argument("--shape", type=shape, required=True, metavar="WxH")
    parser.add_argument("--pattern", default="*.raw", help="which files are judged (*.raw)")
    parser.add_argument("--scheduler", help="tcp://HOST:PORT of Dask's scheduler; without it this process judges")
    parser.add_argument("--images-per-task", type=int, default=8, metavar="N", help="(8)")
    parser.add_argument("--window", type=int, default=64, metavar="N", help="tasks at a time, two a worker (64)")
    return parser.parse_args(arguments)


def main() -> None:
    options = parsed(sys.argv[1:])
    try:
        for judged in judge_archive(options):
            print(f"\r{judged} images judged", end="", file=sys.stderr, flush=True)
    except CancelledError:
        sys.exit("\nscale_out: the scheduler is gone; start it again and repeat this call, which goes on")
    print(file=sys.stderr)
    print(Store(options.store).summary())


if __name__ == "__main__":
    main()
