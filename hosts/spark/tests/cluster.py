"""A standalone cluster of Spark on the loopback interface: a master and workers, each a process of its own with its
executors, that a test may kill."""

from __future__ import annotations

import ctypes
import os
import re
import signal
import subprocess
import sys
import time
from pathlib import Path
from types import TracebackType
from typing import Any, Callable

import pyspark

HOST = "127.0.0.1"


def wait_until(done: Callable[[], bool], what: str, seconds: float = 1000) -> None:
    """Waits for what comes for certain, however busy the machine is; an error says what did not."""
    deadline = time.monotonic() + seconds
    while not done():
        if time.monotonic() > deadline:
            raise TimeoutError(f"{what} took longer than {seconds} seconds")
        time.sleep(0.1)


def end_with_parent() -> None:
    """The process gets SIGKILL when the test that started it ends, in whatever way."""
    set_death_signal = 1
    ctypes.CDLL(None).prctl(set_death_signal, signal.SIGKILL)


class Daemon:
    """A process of the cluster, and all that it starts."""

    def __init__(self, folder: Path, name: str, *arguments: str) -> None:
        self.log = folder / f"{name}.log"
        environment = dict(
            os.environ,
            SPARK_LOCAL_IP=HOST,
            SPARK_DAEMON_MEMORY="256m",
            SPARK_LOCAL_DIRS=str(folder / "local"),
            PYSPARK_PYTHON=sys.executable,
        )
        script = Path(pyspark.__file__).parent / "bin" / "spark-class"
        with open(self.log, "wb") as log:
            self.process = subprocess.Popen(
                [str(script), *arguments],
                stdout=log,
                stderr=subprocess.STDOUT,
                stdin=subprocess.DEVNULL,
                env=environment,
                start_new_session=True,
                preexec_fn=end_with_parent,
            )

    def wait_for(self, pattern: str) -> str:
        """What the log says, from the first place where `pattern` is found."""
        found = ""

        def said() -> bool:
            nonlocal found
            log = self.log.read_text("utf-8", "replace")
            if self.process.poll() is not None:
                raise RuntimeError(f"ended early: {log[-2000:]}")
            match = re.search(pattern, log)
            found = match.group() if match else ""
            return match is not None

        wait_until(said, f"{self.log.name}: {pattern!r}")
        return found

    def kill(self) -> None:
        """Ends it and its executors at once, as a power failure would."""
        try:
            os.killpg(self.process.pid, signal.SIGKILL)
        except ProcessLookupError:
            pass
        self.process.wait()


class Cluster:
    """`workers` of one core each. The master forgets a dead one after a few seconds."""

    def __init__(self, folder: Path, workers: int, memory: str = "640m") -> None:
        self.folder = folder
        self.memory = memory
        self.daemons: list[Daemon] = []
        self.workers: list[Daemon] = []
        try:
            self._start(workers)
        except BaseException:
            self.stop()
            raise

    def _start(self, workers: int) -> None:
        package = "org.apache.spark.deploy"
        # The system chooses the port, and the master tells it.
        address = ["--host", HOST, "--port", "0", "--webui-port", "0"]
        master = Daemon(self.folder, "master", f"{package}.master.Master", *address)
        self.daemons.append(master)
        self.url = master.wait_for(rf"spark://{re.escape(HOST)}:[1-9][0-9]*")
        master.wait_for("New state: ALIVE")
        for number in range(workers):
            work = self.folder / f"work-{number}"
            arguments = ["-c", "1", "-m", self.memory, "-h", HOST, "-d", str(work), "--webui-port", "0"]
            worker = Daemon(
                self.folder, f"worker-{number}", f"{package}.worker.Worker", *arguments, self.url
            )
            self.daemons.append(worker)
            self.workers.append(worker)
        for worker in self.workers:
            worker.wait_for("Successfully registered with master")

    def session(self, **settings: Any) -> Any:
        from pyspark.sql import SparkSession

        # Java of the driver listens on the loopback, too.
        os.environ["SPARK_LOCAL_IP"] = HOST
        os.environ["PYSPARK_PYTHON"] = sys.executable
        known = {
            "spark.driver.host": HOST,
            "spark.driver.bindAddress": HOST,
            "spark.driver.memory": "512m",
            "spark.executor.memory": "512m",
            "spark.executor.cores": "1",
            "spark.ui.enabled": "false",
            "spark.task.maxFailures": "2",
            "spark.sql.shuffle.partitions": "2",
            "spark.sql.execution.arrow.pyspark.enabled": "true",
            "spark.local.dir": str(self.folder / "local"),
            **{name.replace("__", "."): value for name, value in settings.items()},
        }
        builder = SparkSession.builder.master(self.url).appName("trovex")
        for name, value in known.items():
            builder = builder.config(name, value)
        session = builder.getOrCreate()
        session.sparkContext.setLogLevel("ERROR")
        return session

    def stop(self) -> None:
        for daemon in reversed(self.daemons):
            daemon.kill()

    def __enter__(self) -> Cluster:
        return self

    def __exit__(
        self, kind: type[BaseException] | None, value: BaseException | None, trace: TracebackType | None
    ) -> None:
        self.stop()
