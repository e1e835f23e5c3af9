"""What the driver calls. The functions that run on the executors hold what an expression is compiled of, not the
compiled query, and stand in _executor.py."""

from __future__ import annotations

from collections.abc import Callable, Sequence
from typing import Any, Literal

import trovex
from pyspark.sql import Column, DataFrame, SparkSession
from pyspark.sql import functions as sql
from pyspark.sql import types

from ._executor import Convert, ItemSearch, Recipe, match_batch

_REFUSED = types.StructField("refused", types.StringType(), True)


def _recipe(expression: str, **options: bool) -> tuple[Recipe, trovex.Query]:
    recipe = Recipe(expression, **options)
    return recipe, recipe.query()


def _item_fields(of_strings: bool, tags: bool) -> list[types.StructField]:
    text: types.DataType = types.StringType() if of_strings else types.BinaryType()
    fields = [
        types.StructField("start", types.LongType(), True),
        types.StructField("end", types.LongType(), True),
        types.StructField("text", text, True),
    ]
    if tags:
        span = [
            types.StructField("tag", types.IntegerType(), False),
            types.StructField("start", types.LongType(), False),
            types.StructField("end", types.LongType(), False),
        ]
        fields.append(types.StructField("tags", types.ArrayType(types.StructType(span), False), True))
    return fields


def search(
    frame: DataFrame,
    column: str,
    expression: str,
    *,
    keep: Sequence[str] | None = None,
    words: bool = False,
    case: bool = False,
    phonetic: bool = False,
    variants: bool = False,
    tags: bool = False,
    encoding: str = "utf-8",
    convert: Convert | None = None,
) -> DataFrame:
    """A frame of documents in, a frame of items out: one row for each item of `expression` in `column`.

    A row has the columns `keep` of its document (all but `column`, if it is not told), and `start`, `end` and `text`
    of the item: positions are characters of a string, bytes of a binary column, whose `encoding` is told. With
    `tags` it also has the ranges of its brackets. A document without items has no row.

    A document that could not be searched to its end has one row whose `refused` says why, after the items that are
    certain; in all other rows `refused` is null. Null documents are passed over.

    `convert`, where it is given, makes the text of a binary document: it is called on the executors with the row's
    kept columns as a dict and the bytes, and returns a str or bytes. What it raises is what `refused` says.
    """
    recipe, _ = _recipe(expression, words=words, case=case, phonetic=phonetic, variants=variants)
    kept = [name for name in frame.columns if name != column] if keep is None else list(keep)
    clash = {"start", "end", "text", "tags", "refused"} & set(kept)
    if clash:
        raise ValueError(f"the result has columns of these names itself: {', '.join(sorted(clash))}")
    documents = frame.select(*kept, sql.col(column).alias("__trovex_text"))
    kind = documents.schema["__trovex_text"].dataType
    if not isinstance(kind, (types.StringType, types.BinaryType)):
        raise TypeError(f"the column {column!r} holds {kind.simpleString()}, not texts")
    of_strings = isinstance(kind, types.StringType) or convert is not None
    schema = types.StructType(
        [documents.schema[name] for name in kept] + _item_fields(of_strings, tags) + [_REFUSED]
    )
    job = ItemSearch(recipe, kept, tags, encoding, of_strings, convert)
    return documents.mapInArrow(job, schema)


def matches(
    column: str | Column,
    expression: str,
    *,
    words: bool = False,
    case: bool = False,
    phonetic: bool = False,
    variants: bool = False,
    encoding: str = "utf-8",
    gave_up: Literal["raise", "null"] = "raise",
) -> Column:
    """A boolean expression for where() and select(): whether a text satisfies `expression`; null for null.

    Where the search of a row gives up, the job fails with trovex.GaveUpError, or with gave_up="null" the row has null,
    which a filter leaves out: ask for `matches(...).isNull()` to see these rows.
    """
    if gave_up not in ("raise", "null"):
        raise ValueError('gave_up must be "raise" or "null"')
    recipe, _ = _recipe(expression, words=words, case=case, phonetic=phonetic, variants=variants)
    function = match_batch(recipe, encoding, gave_up)
    wanted = sql.col(column) if isinstance(column, str) else column
    return _vectorized(function)(wanted)


def _vectorized(function: Callable[[Any], Any]) -> Callable[[Column], Column]:
    """`function`, from a column of Arrow to another, as a function of Spark."""
    if hasattr(sql, "arrow_udf"):
        return sql.arrow_udf(function, types.BooleanType())  # type: ignore[no-any-return]
    import pandas as pd
    import pyarrow as pa

    def of_pandas(texts: pd.Series) -> pd.Series:
        return function(pa.Array.from_pandas(texts)).to_pandas()

    return sql.pandas_udf(of_pandas, types.BooleanType())


def documents(spark: SparkSession, *paths: str, pattern: str | None = None) -> DataFrame:
    """The files below `paths`, one row each: path, modificationTime, length, content. `pattern` is what their names
    match, as "*.txt". A file is one document, of at most 2 GB."""
    reader = spark.read.format("binaryFile").option("recursiveFileLookup", "true")
    if pattern is not None:
        reader = reader.option("pathGlobFilter", pattern)
    return reader.load(list(paths))
