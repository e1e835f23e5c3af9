"""What the native part hands out or raises, and what is plain Python."""

from __future__ import annotations

from typing import TYPE_CHECKING, NamedTuple

if TYPE_CHECKING:
    from ._native import Query


class Span(NamedTuple):
    """A range of a text; the end is exclusive."""

    start: int
    end: int


class ExpressionError(ValueError):
    """An expression was refused.

    `sentence` says why, for the person who typed it, and `number` is the number of the sentence, which
    stays when its words change. `start` and `end` are the range of `expression` that it is about: in
    characters of a `str`, in bytes of `bytes`. It is empty where something is missing.
    """

    sentence: str
    number: int
    expression: str | bytes
    start: int
    end: int

    def __init__(self, sentence: str, number: int, expression: str | bytes, start: int, end: int) -> None:
        super().__init__(sentence, number, expression, start, end)
        self.sentence = sentence
        self.number = number
        self.expression = expression
        self.start = start
        self.end = end

    def __str__(self) -> str:
        return self.sentence


class GaveUpError(RuntimeError):
    """A search ended without an answer: it went beyond what one search may take.

    That is not "not found". `at` is the place of the text that it had come to; `row`, in a column, the row.
    """

    at: int
    row: int | None

    def __init__(self, at: int, row: int | None = None) -> None:
        super().__init__(at, row)
        self.at = at
        self.row = row

    def __str__(self) -> str:
        place = f"at position {self.at}" if self.row is None else f"at position {self.at} of row {self.row}"
        return f"The search gave up {place}: whether the text satisfies the query is not known."


def restored(
    expression: str | bytes, words: bool, case: bool, phonetic: bool, variants: bool, encoding: str
) -> Query:
    """A query again, from what pickle keeps of it."""
    from . import compile

    return compile(expression, words, case, phonetic, variants, encoding)
