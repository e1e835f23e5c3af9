"""Columns in one call, held against the rows one by one."""

from __future__ import annotations

import gc
import random
from typing import Any

import pytest

import trovex

pa = pytest.importorskip("pyarrow")

GERMAN = (
    "Das Haus am Hof hat einen Garten. Die Tür zur Straße steht offen, „sagte“ Müller — und Maier → ging "
    "20 Schritte; Übermut tut selten gut! 😀 Mühle mahlen ohne Ende Haustür Türschloss Haus_1 a ab"
).split()
EXPRESSIONS = [
    "Haus",
    "(Haus|Hof)(tür)?",
    "Haus & Tür",
    "Haus &20 Garten",
    "Haus &2w !Garten",
    "!Haus",
    "~Meier",
    "~Meier & Haus",
    "[a-z]+ung|[0-9]+",
    "x*",
    "^$",
    "$",
    "^[a-z]",
    r"\<[A-Z]\w*\>",
    ".",
    "(a|b)+",
    "„[a-z]+“|—",
    r"([a-z])\1",
    "Türe|(!Haus)",
    "a|b & !c",
]
KINDS = [pa.string(), pa.large_string(), pa.string_view(), pa.dictionary(pa.int8(), pa.string())]


def rows_of(dice: random.Random, number: int) -> list[str | None]:
    rows: list[str | None] = []
    for _ in range(number):
        kind = dice.random()
        if kind < 0.1:
            rows.append(None)
        elif kind < 0.2:
            rows.append(dice.choice(["", "\n", "a\n", "\n\n", "\u0308", "a\r\n"]))
        else:
            row = dice.choice([" ", "\n", " "]).join(dice.choices(GERMAN, k=dice.choice([1, 2, 5, 10, 200])))
            rows.append(row + dice.choice(["", "", "\n"]))
    return rows


def items_one_by_one(query: trovex.Query, rows: list[Any], tags: bool) -> list[Any]:
    return [None if row is None else [as_struct(item, tags) for item in query.findall(row)] for row in rows]


def as_struct(item: trovex.Item, tags: bool) -> dict[str, Any]:
    struct: dict[str, Any] = {"start": item.start, "end": item.end}
    if tags:
        struct["tags"] = [
            {"tag": number, "start": span.start, "end": span.end} for number, span in sorted(item.tags.items())
        ]
    return struct


@pytest.mark.parametrize("expression", EXPRESSIONS)
@pytest.mark.parametrize("kind", KINDS, ids=str)
def test_a_column_is_its_rows(expression: str, kind: Any) -> None:
    seed = random.randrange(1 << 32)
    dice = random.Random(seed)
    rows = rows_of(dice, 300)
    if pa.types.is_dictionary(kind):
        rows = dice.choices(rows[:100], k=300)
    query = trovex.compile(expression, words=dice.random() < 0.3, case=dice.random() < 0.3)
    column = pa.array(rows, pa.string()).cast(kind)
    where = (seed, query)
    threads = dice.choice([1, 2, 5])
    matches = query.matches_column(column, threads=threads)
    want = [None if row is None else query.matches(row) for row in rows]
    assert matches.to_list() == want, where
    assert pa.array(matches).to_pylist() == want, where
    items = query.items_column(column, threads=threads, tags=True)
    assert items.to_list() == pa.array(items).to_pylist() == items_one_by_one(query, rows, True), where
    texts = query.items_column(column, threads=threads, texts=True)
    assert texts.to_list() == pa.array(texts).to_pylist(), where
    assert [None if row is None else [item["text"] for item in row] for row in texts.to_list()] == [
        None if row is None else [item.text for item in query.findall(row)] for row in rows
    ], where
    plain = query.items_column(column, threads=threads)
    assert plain.to_list() == pa.array(plain).to_pylist() == items_one_by_one(query, rows, False), where


@pytest.mark.parametrize("expression", ["[a-z]", "Haus", "x*", "^$", "Haus & Tür", "^[a-z]+$"])
def test_rows_of_many_lines_in_which_much_is_found(expression: str) -> None:
    query = trovex.compile(expression)
    seed = random.randrange(1 << 32)
    dice = random.Random(seed)
    # Blocks of rows, in some of which every line has something, in others none, or the last rows only.
    rows: list[str] = []
    for _ in range(12):
        lines = dice.choice([["Haus", "Tür"], ["123", ""], ["123"], ["Haus", "123", "", "Tür"]])
        rows += ["\n".join(dice.choices(lines, k=dice.choice([1, 7]))) for _ in range(dice.choice([90, 1024]))]
    found = query.matches_column(pa.array(rows), threads=1).to_list()
    assert found == [query.matches(row) for row in rows], (seed, expression)


def test_many_rows_in_many_threads() -> None:
    rows = rows_of(random.Random(7), 20_000)
    query = trovex.compile("(Haus|Tür) &20 [a-z]+en")
    column = pa.array(rows)
    want = query.items_column(column, threads=1).to_list()
    for threads in (2, 3, 8):
        assert query.items_column(column, threads=threads).to_list() == want
    assert query.matches_column(column).to_list() == [
        None if row is None else query.matches(row) for row in rows
    ]


def test_chunks_and_slices() -> None:
    rows = rows_of(random.Random(3), 500)
    query = trovex.compile("Haus|Tür")
    want = [None if row is None else query.matches(row) for row in rows]
    whole = pa.array(rows)
    chunks = pa.chunked_array([whole[:3], whole[3:3], whole[3:170], whole[170:]])
    assert query.matches_column(chunks).to_list() == want
    assert query.matches_column(whole[13:401]).to_list() == want[13:401]
    for kind in KINDS[1:3]:
        assert query.matches_column(whole.cast(kind)[13:401]).to_list() == want[13:401]
    keys = pa.array(["Haus", None, "Hof", "Haus", None]).dictionary_encode()
    assert query.matches_column(keys[1:]).to_list() == [None, False, True, None]
    assert query.matches_column(pa.chunked_array([], pa.string())).to_list() == []
    assert query.items_column(pa.array([], pa.string())).to_list() == []


@pytest.mark.parametrize("index", ["int8", "uint16", "int32", "int64"])
def test_dictionaries_of_every_index(index: str) -> None:
    indices = pa.array([0, 1, None, 2, 0], getattr(pa, index)())
    column = pa.DictionaryArray.from_arrays(indices, pa.array(["Haus", "Hof", None], pa.large_string()))
    assert trovex.compile("Haus").matches_column(column).to_list() == [True, False, None, None, True]


def test_the_only_column_of_a_table() -> None:
    query = trovex.compile("Haus")
    table = pa.table({"text": ["Haus", None, "Hof"]})
    assert query.matches_column(table).to_list() == [True, None, False]
    assert query.matches_column(table.to_batches()[0][1:]).to_list() == [None, False]
    struct = pa.StructArray.from_arrays(
        [pa.array(["Haus", "Haus", "Hof"])], ["text"], mask=pa.array([False, True, False])
    )
    assert query.matches_column(struct).to_list() == [True, None, False]
    assert query.matches_column(struct[1:]).to_list() == [None, False]
    with pytest.raises(TypeError, match="a table of 2 columns"):
        query.matches_column(pa.table({"a": ["x"], "b": ["y"]}))


def test_binaries_have_an_encoding_and_positions_in_bytes() -> None:
    query = trovex.compile("Tür|Haus")
    texts = ["→Tür, Haus", "nichts", "Türhaus"]
    for kind in (pa.binary(), pa.large_binary(), pa.binary_view()):
        column = pa.array([text.encode() for text in texts], kind)
        assert query.items_column(column).to_list() == items_one_by_one(
            query, [text.encode() for text in texts], False
        )
        assert [item["text"] for item in query.items_column(column, texts=True).to_list()[0] or []] == [
            "Tür".encode(),
            b"Haus",
        ]
    latin = [text.replace("→", "€").encode("cp1252") for text in texts]
    items = query.items_column(pa.array(latin, pa.binary()), encoding="windows-1252").to_list()
    assert items[0] == [{"start": 1, "end": 4}, {"start": 6, "end": 10}]


def test_what_is_no_column_of_texts_is_refused() -> None:
    query = trovex.compile("Haus")
    with pytest.raises(TypeError, match='Arrow type "l"'):
        query.matches_column(pa.array([1, 2]))
    with pytest.raises(TypeError, match="__arrow_c_stream__"):
        query.matches_column(["Haus"])  # type: ignore[arg-type]
    with pytest.raises(ValueError, match="threads"):
        query.matches_column(pa.array(["Haus"]), threads=0)
    with pytest.raises(ValueError, match="gave_up"):
        query.matches_column(pa.array(["Haus"]), gave_up="ignore")  # type: ignore[arg-type]
    assert query.matches_column(pa.nulls(3)).to_list() == [None] * 3


def test_a_stream_that_fails_says_so() -> None:
    def batches() -> Any:
        yield pa.record_batch({"text": ["Haus"]})
        raise ValueError("the source is gone")

    reader = pa.RecordBatchReader.from_batches(pa.schema({"text": pa.string()}), batches())
    with pytest.raises(Exception, match="the source is gone"):
        trovex.compile("Haus").matches_column(reader)


def test_results_outlive_everything_and_are_read_many_times() -> None:
    query = trovex.compile("(Haus)")
    items = query.items_column(pa.array(["Haus", None, "Hof"]), tags=True)
    arrays = [pa.array(items) for _ in range(3)] + [pa.chunked_array(items)]
    want = items.to_list()
    capsules = [items.__arrow_c_array__(), items.__arrow_c_stream__(), items.__arrow_c_schema__()]
    del items, query, capsules  # capsules that nobody read
    gc.collect()
    for one in arrays:
        one.validate(full=True)
        assert one.to_pylist() == want
    assert str(arrays[0].type) == (
        "large_list<item: struct<start: int64 not null, end: int64 not null, tags: large_list<item: struct<"
        "tag: int32 not null, start: int64 not null, end: int64 not null> not null> not null> not null>"
    )
    # A child that was moved out of its parent lives by itself.
    child = arrays[0].flatten().field("start")
    del arrays, one
    gc.collect()
    assert child.to_pylist() == [0]


def test_rows_that_give_up_are_seen() -> None:
    query = trovex.compile("a &20 b &20 " * 2000 + "a")
    column = pa.array(["ab", "ab" * 10_000, "x"])
    with pytest.raises(trovex.GaveUpError) as raised:
        query.matches_column(column)
    assert raised.value.row == 1 and raised.value.at > 0
    result = query.matches_column(column, gave_up="null")
    assert result.to_list() == [query.matches("ab"), None, False]
    assert result.gave_up == (1,)
