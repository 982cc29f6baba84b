"""Dask's own scheduler and workers on this machine: what an operator starts on several, as one with block."""

import contextlib
import json
import os
import signal
import subprocess
import sys
from collections.abc import Iterator
from pathlib import Path

from distributed import Client

# A task at a time on each worker, so that none is suspected when another one ends its worker; a short memory of tasks
# that are done, by default of 100,000; and nobody who looks every 10 ms what the processes are about.
SETTINGS = {
    "DASK_DISTRIBUTED__SCHEDULER__WORKER_SATURATION": "1.0",
    "DASK_DISTRIBUTED__SCHEDULER__TRANSITION_LOG_LENGTH": "1000",
    "DASK_DISTRIBUTED__SCHEDULER__EVENTS_LOG_LENGTH": "1000",
    "DASK_DISTRIBUTED__WORKER__PROFILE__ENABLED": "false",
}


class Cluster:
    """A scheduler and workers of one thread each, named worker-0 and so on, with their files in a folder."""

    def __init__(self, folder: Path, workers: int) -> None:
        self.file = folder / "scheduler.json"
        self.folder = folder
        environment = {**os.environ, **SETTINGS, "DASK_CONFIG": str(folder / "config")}
        local = ["--host", "127.0.0.1", "--no-dashboard", "--scheduler-file", str(self.file)]

        def start(command: str, *arguments: str) -> "subprocess.Popen[bytes]":
            with open(folder / f"{command}.log", "wb") as log:
                return subprocess.Popen(
                    [sys.executable, "-m", f"distributed.cli.dask_{command}", *local, *arguments],
                    env=environment, cwd=folder, stdout=log, stderr=log,
                )

        self.scheduler = start("scheduler", "--port", "0")
        self.workers = start("worker", "--name", "worker", "--nworkers", str(workers), "--nthreads", "1",
                             "--local-directory", str(folder))

    def connect(self, workers: int) -> Client:
        client = Client(scheduler_file=str(self.file), timeout=300)
        client.wait_for_workers(workers, timeout=300)
        return client

    @property
    def address(self) -> str:
        return str(json.loads(self.file.read_text())["address"])

    def kill(self, client: Client, name: str) -> None:
        """Ends a worker at once, when it is there, and waits until that is noticed; its nanny starts another one."""
        addresses: list[str] = []
        while not addresses:
            client.wait_for_workers(1)
            workers = client.scheduler_info()["workers"].items()
            addresses = [address for address, worker in workers if worker["name"] == name]
        os.kill(client.run(os.getpid, workers=addresses)[addresses[0]], signal.SIGKILL)
        while addresses[0] in client.scheduler_info()["workers"]:
            pass

    def close(self) -> None:
        # The workers say goodbye to their scheduler.
        for process in (self.workers, self.scheduler):
            process.terminate()
            process.wait(timeout=300)


@contextlib.contextmanager
def local_cluster(folder: Path, workers: int) -> Iterator[Cluster]:
    with contextlib.closing(Cluster(folder, workers)) as cluster:
        yield cluster
