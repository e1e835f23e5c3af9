"""What runs on the executors: batches of Arrow in, batches of Arrow out, searched where they lie.

A worker process compiles an expression once, whatever the number of its tasks: functions are sent with what the
expression is compiled of, and find the query among those that the process has.
"""

from __future__ import annotations

from collections.abc import Callable, Iterator
from functools import lru_cache
from typing import Any, Literal, NamedTuple, Optional, Union

import pyarrow as pa
import pyarrow.compute as pc
import trovex

Convert = Callable[[dict[str, Any], bytes], Union[str, bytes]]


class Recipe(NamedTuple):
    """What a query is compiled of."""

    expression: str
    words: bool = False
    case: bool = False
    phonetic: bool = False
    variants: bool = False

    def query(self) -> trovex.Query:
        return _compiled(self)


@lru_cache(maxsize=64)
def _compiled(recipe: Recipe) -> trovex.Query:
    return trovex.compile(*recipe)


class ItemSearch:
    """The function of mapInArrow: documents in, items and refusals out."""

    def __init__(
        self,
        recipe: Recipe,
        kept: list[str],
        tags: bool,
        encoding: str,
        of_strings: bool,
        convert: Optional[Convert],
    ) -> None:
        self.recipe = recipe
        self.kept = kept
        self.tags = tags
        self.encoding = encoding
        self.of_strings = of_strings
        self.convert = convert

    def __call__(self, batches: Iterator[pa.RecordBatch]) -> Iterator[pa.RecordBatch]:
        query = self.recipe.query()
        for batch in batches:
            yield self._search(query, batch)

    def _search(self, query: trovex.Query, batch: pa.RecordBatch) -> pa.RecordBatch:
        kept = batch.select(self.kept)
        texts = batch.column(batch.num_columns - 1)
        refused: dict[int, str] = {}
        if self.convert is not None:
            texts = self._converted(self.convert, kept, texts, refused)
        result = query.items_column(
            texts, encoding=self.encoding, threads=1, gave_up="null", tags=self.tags, texts=True
        )
        for row in result.gave_up:
            refused[row] = "The search gave up: whether the document satisfies the query is not known."
        return self._table(kept, pa.array(result), refused)

    def _converted(
        self, convert: Convert, kept: pa.RecordBatch, texts: pa.Array, refused: dict[int, str]
    ) -> pa.Array:
        made: list[Optional[str]] = []
        for row, document in enumerate(texts):
            text: Optional[str] = None
            if document.is_valid:
                try:
                    about = {name: kept.column(name)[row].as_py() for name in self.kept}
                    answer = convert(about, document.as_py())
                    text = answer if isinstance(answer, str) else answer.decode(self.encoding, "replace")
                    text = text.encode("utf-8", "replace").decode("utf-8")
                except Exception as failure:
                    refused[row] = f"{type(failure).__name__}: {failure}"
            made.append(text)
        return pa.array(made, pa.large_string())

    def _table(self, kept: pa.RecordBatch, found: pa.Array, refused: dict[int, str]) -> pa.RecordBatch:
        rows = pc.list_parent_indices(found)
        items = found.flatten()
        columns = [pc.take(column, rows) for column in kept.columns]
        columns += [
            items.field("start"),
            items.field("end"),
            items.field("text").cast(pa.string() if self.of_strings else pa.binary()),
        ]
        names = [*self.kept, "start", "end", "text"]
        if self.tags:
            columns.append(_list(items.field("tags")))
            names.append("tags")
        columns.append(pa.nulls(len(items), pa.string()))
        names.append("refused")
        if refused:
            rest = [pc.take(column, pa.array(list(refused), pa.int64())) for column in kept.columns]
            rest += [pa.nulls(len(refused), column.type) for column in columns[len(rest) : -1]]
            rest.append(pa.array(list(refused.values()), pa.string()))
            columns = [pa.concat_arrays([a, b]) for a, b in zip(columns, rest)]
        return pa.RecordBatch.from_arrays(columns, names)


def _list(tags: pa.Array) -> pa.Array:
    """Lists with offsets of 32 bits, which are all that Spark takes."""
    return tags.cast(pa.list_(tags.type.value_field))


def match_batch(
    recipe: Recipe, encoding: str, gave_up: Literal["raise", "null"]
) -> Callable[[pa.Array], pa.Array]:
    """The function behind matches(): a column of texts in, one of booleans out."""

    def run(texts: pa.Array) -> pa.Array:
        found = recipe.query().matches_column(texts, encoding=encoding, threads=1, gave_up=gave_up)
        return pa.array(found)

    run.__annotations__ = {"texts": pa.Array, "return": pa.Array}
    return run
