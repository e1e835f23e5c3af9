"""Searches run beside other threads, and end when somebody presses Ctrl-C."""

from __future__ import annotations

import os
import signal
import sys
import threading
import time
from typing import Callable

import pytest

import trovex

WORDS = "Das Haus steht am Hof, und im Garten wächst Gras.\n"
LONG = WORDS * 200_000


def in_threads(number: int, work: Callable[[int], None]) -> None:
    failures: list[BaseException] = []

    def guarded(index: int) -> None:
        try:
            work(index)
        except BaseException as failure:  # told to the test below
            failures.append(failure)

    threads = [threading.Thread(target=guarded, args=(i,)) for i in range(number)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert not failures, failures


def test_one_query_serves_many_threads() -> None:
    query = trovex.compile("(Haus|Hof) &20 [a-z]+")
    texts = [WORDS * (1 + i % 200) for i in range(400)]
    want = [query.count(text) for text in texts]

    def work(index: int) -> None:
        for i in range(index, len(texts), 2):
            assert query.count(texts[i]) == want[i]
            assert len(query.findall(texts[i])) == want[i]

    in_threads(8, work)


def test_an_iterator_may_be_shared() -> None:
    items = trovex.compile("Haus").finditer(WORDS * 20_000)
    counts = [0] * 4

    def work(index: int) -> None:
        for _ in items:
            counts[index] += 1

    in_threads(4, work)
    assert sum(counts) == 20_000


def test_other_threads_run_while_a_long_text_is_searched() -> None:
    query = trovex.compile("[a-z]+ [a-z]+ Gras")
    steps = 0
    searching = threading.Event()
    done = threading.Event()

    def search() -> None:
        searching.set()
        for _ in range(3):
            query.count(LONG)
        done.set()

    interval = sys.getswitchinterval()
    sys.setswitchinterval(100)  # who does not release the interpreter keeps it
    try:
        thread = threading.Thread(target=search)
        thread.start()
        searching.wait()
        while not done.is_set():
            steps += 1
            time.sleep(0.001)
        thread.join()
    finally:
        sys.setswitchinterval(interval)
    assert steps > 5


def interrupted_after(call: Callable[[], object]) -> float:
    """How long after Ctrl-C `call` ended with KeyboardInterrupt."""
    sent = 0.0

    def press() -> None:
        nonlocal sent
        sent = time.perf_counter()
        os.kill(os.getpid(), signal.SIGINT)

    before = signal.signal(signal.SIGINT, signal.default_int_handler)
    timer = threading.Timer(0.2, press)
    timer.start()
    try:
        with pytest.raises(KeyboardInterrupt):
            deadline = time.perf_counter() + 20
            while time.perf_counter() < deadline:
                call()
        return time.perf_counter() - sent
    finally:
        timer.join()
        signal.signal(signal.SIGINT, before)


def test_ctrl_c_ends_a_long_search() -> None:
    query = trovex.compile("[a-z]+ &>3 Gras & [A-Z].*[a-z] &5w Garten")
    text = LONG * 5
    assert interrupted_after(lambda: query.count(text)) < 1.0


def test_ctrl_c_ends_a_search_of_one_long_line() -> None:
    text = LONG.replace("\n", " ") * 5
    query = trovex.compile("[a-z]+")
    assert interrupted_after(lambda: query.count(text)) < 1.0


@pytest.mark.parametrize("threads", [1, 3])
def test_ctrl_c_ends_the_search_of_a_column(threads: int) -> None:
    pa = pytest.importorskip("pyarrow")
    column = pa.array([WORDS * 50] * 10_000)
    query = trovex.compile("[a-z]+ &>3 Gras & [A-Z].*[a-z] &5w Garten")
    assert interrupted_after(lambda: query.items_column(column, threads=threads)) < 1.0
    assert query.matches(WORDS)


def test_a_handler_that_raises_is_heard() -> None:
    class Enough(Exception):
        pass

    def handler(number: int, frame: object) -> None:
        raise Enough

    before = signal.signal(signal.SIGALRM, handler)
    try:
        signal.setitimer(signal.ITIMER_REAL, 0.2)
        with pytest.raises(Enough):
            for _ in range(1000):
                trovex.compile("[a-z]+ &>3 Gras").count(LONG)
    finally:
        signal.setitimer(signal.ITIMER_REAL, 0)
        signal.signal(signal.SIGALRM, before)


def test_a_handler_that_returns_disturbs_nothing() -> None:
    calls = 0

    def handler(number: int, frame: object) -> None:
        nonlocal calls
        calls += 1

    query = trovex.compile("Haus|Gras")
    before = signal.signal(signal.SIGALRM, handler)
    try:
        signal.setitimer(signal.ITIMER_REAL, 0.02, 0.02)
        for _ in range(5):
            assert query.count(LONG) == 400_000
    finally:
        signal.setitimer(signal.ITIMER_REAL, 0)
        signal.signal(signal.SIGALRM, before)
    assert calls > 0
