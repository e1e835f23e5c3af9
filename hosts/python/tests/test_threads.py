"""Searches run beside other threads, and end when somebody presses Ctrl-C."""

from __future__ import annotations

import os
import signal
import sys
import threading
import time
from collections.abc import Iterator
from contextlib import contextmanager
from functools import partial
from typing import Any, Callable

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


@contextmanager
def no_switches() -> Iterator[None]:
    """Who does not release the interpreter keeps it, but for the interpreter that has no lock."""
    interval = sys.getswitchinterval()
    sys.setswitchinterval(100)
    try:
        yield
    finally:
        sys.setswitchinterval(interval)


def test_other_threads_run_while_a_long_text_is_searched() -> None:
    query = trovex.compile("[a-z]+ [a-z]+ Gras")
    steps = 0
    done = threading.Event()

    def step() -> None:
        nonlocal steps
        while not done.is_set():
            steps += 1
            time.sleep(0.001)

    def was_joined_by_others() -> bool:
        before = steps
        query.count(LONG)
        return steps > before

    with no_switches():
        thread = threading.Thread(target=step)
        thread.start()
        try:
            # A busy machine may let one search pass, or some, without a turn for the other thread.
            assert any(was_joined_by_others() for _ in range(1000))
        finally:
            done.set()
            thread.join()


def is_ended_by_ctrl_c(search: Callable[[Any], object], text: object) -> bool:
    """Whether Ctrl-C, pressed in the middle of search(text), ends it. A search may be over before it is pressed; then
    it is done again."""

    def press() -> None:
        searching.wait()
        os.kill(os.getpid(), signal.SIGINT)

    before = signal.signal(signal.SIGINT, signal.default_int_handler)
    try:
        for _ in range(100):
            searching = threading.Event()
            thread = threading.Thread(target=press)
            finished: list[object] = []
            with no_switches():
                thread.start()
                try:
                    # The other thread has its turn when the search releases the interpreter. Where the search
                    # goes on to its end, extend() has the result before the interpreter looks at signals.
                    searching.set()
                    finished.extend(map(search, [text]))
                    thread.join()
                except KeyboardInterrupt:
                    if not finished:
                        return True
            thread.join()
        return False
    finally:
        signal.signal(signal.SIGINT, before)


def test_ctrl_c_ends_a_long_search() -> None:
    query = trovex.compile("[a-z]+ &>3 Gras & [A-Z].*[a-z] &5w Garten")
    assert is_ended_by_ctrl_c(query.count, LONG * 5)


def test_ctrl_c_ends_a_search_of_one_long_line() -> None:
    query = trovex.compile("[a-z]+")
    assert is_ended_by_ctrl_c(query.count, LONG.replace("\n", " ") * 5)


@pytest.mark.parametrize("threads", [1, 3])
def test_ctrl_c_ends_the_search_of_a_column(threads: int) -> None:
    pa = pytest.importorskip("pyarrow")
    column = pa.array([WORDS * 50] * 10_000)
    query = trovex.compile("[a-z]+ &>3 Gras & [A-Z].*[a-z] &5w Garten")
    assert is_ended_by_ctrl_c(partial(query.items_column, threads=threads), column)
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
            while True:
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
        rounds = 0
        while rounds < 5 or calls == 0:
            assert query.count(LONG) == 400_000
            rounds += 1
    finally:
        signal.setitimer(signal.ITIMER_REAL, 0)
        signal.signal(signal.SIGALRM, before)
