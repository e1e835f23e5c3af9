"""The examples of the README: data frames and a database that filter by a query."""

from __future__ import annotations

from typing import Any, Optional

import pytest

import trovex

TEXTS = ["Das Haus am Hof.", "Die Tür zum Garten.", None, "Haus ohne Garten", "Übermütiger Hof"]
QUERY = trovex.compile("(Haus|Hof) &20 !Garten")
KEPT = ["Das Haus am Hof.", "Übermütiger Hof"]


def test_polars_filters_a_frame() -> None:
    pl = pytest.importorskip("polars")
    frame = pl.DataFrame({"id": range(5), "text": TEXTS})
    kept = frame.filter(pl.Series(QUERY.matches_column(frame["text"])))
    assert kept["text"].to_list() == KEPT


def test_polars_has_items_as_a_column() -> None:
    pl = pytest.importorskip("polars")
    frame = pl.DataFrame({"text": TEXTS})
    items = frame.with_columns(items=pl.Series(QUERY.items_column(frame["text"]))).explode("items")
    found = items.drop_nulls("items").select(
        pl.col("text").str.slice(
            pl.col("items").struct.field("start"),
            pl.col("items").struct.field("end") - pl.col("items").struct.field("start"),
        )
    )
    assert found["text"].to_list() == ["Haus", "Hof", "Hof"]


def test_polars_searches_lazily_in_an_expression() -> None:
    pl = pytest.importorskip("polars")

    def satisfied(series: Any) -> Any:
        return pl.Series(QUERY.matches_column(series))

    frame = pl.LazyFrame({"text": TEXTS})
    kept = frame.filter(pl.col("text").map_batches(satisfied, return_dtype=pl.Boolean)).collect()
    assert kept["text"].to_list() == KEPT


def test_polars_categories() -> None:
    pl = pytest.importorskip("polars")
    series = pl.Series(["Haus", "Hof", None, "Haus"], dtype=pl.Categorical)
    assert trovex.compile("Haus").matches_column(series).to_list() == [True, False, None, True]


def test_pandas_filters_a_frame() -> None:
    pd = pytest.importorskip("pandas")
    pa = pytest.importorskip("pyarrow")
    frame = pd.DataFrame({"id": range(5), "text": TEXTS})
    found = QUERY.matches_column(pa.array(frame["text"], pa.string()))
    mask = pd.array(found.to_list(), dtype="boolean")
    assert frame[mask.fillna(False)]["text"].to_list() == KEPT


def test_pandas_with_arrow_offers_its_column_itself() -> None:
    pd = pytest.importorskip("pandas")
    pytest.importorskip("pyarrow")
    series = pd.Series(TEXTS, dtype="string[pyarrow]")
    if not hasattr(series, "__arrow_c_stream__"):
        pytest.skip("this pandas has no Arrow interface")
    mask = pd.array(QUERY.matches_column(series).to_list(), dtype="boolean").fillna(False)
    assert series[mask].to_list() == KEPT


def test_duckdb_function_in_sql() -> None:
    duckdb = pytest.importorskip("duckdb")
    pa = pytest.importorskip("pyarrow")
    compiled: dict[str, trovex.Query] = {}

    def matches(texts: Any, expressions: Any) -> Any:
        expression = expressions[0].as_py()
        query = compiled.get(expression) or compiled.setdefault(expression, trovex.compile(expression))
        return pa.chunked_array(query.matches_column(texts))

    connection = duckdb.connect()
    connection.create_function("trovex", matches, ["VARCHAR", "VARCHAR"], "BOOLEAN", type="arrow")
    connection.execute("CREATE TABLE documents AS SELECT unnest(?) AS text", [TEXTS])
    kept = connection.execute(
        "SELECT text FROM documents WHERE trovex(text, '(Haus|Hof) &20 !Garten') ORDER BY text"
    ).fetchall()
    assert kept == [(text,) for text in KEPT]


def test_duckdb_relation_is_a_column() -> None:
    duckdb = pytest.importorskip("duckdb")
    pytest.importorskip("pyarrow")
    connection = duckdb.connect()
    relation = connection.sql("SELECT 'Haus ' || range AS text FROM range(10000)")
    found: list[Optional[bool]] = trovex.compile("Haus 7$").matches_column(relation).to_list()
    assert len(found) == 10_000 and sum(map(bool, found)) == 1
