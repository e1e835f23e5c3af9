"""Frames searched on a real cluster: a master and two workers on the loopback interface."""

from __future__ import annotations

import json
import os
import threading
import time
from collections.abc import Iterator
from pathlib import Path
from typing import Any

import pytest
import trovex
from cluster import Cluster, wait_until
from pyspark.sql import functions as sql
from trovex import spark as search

SHARED = Path(__file__).parents[3] / "tests" / "shared"
TEXTS = ["Das Haus am Hof.", "Die Tür zum Garten.", None, "Haus mit Garten", "→ Übermütiger Hof 😀", ""]
EXPRESSION = "(Haus|Hof) &20 !Garten"
HOSTILE = "a &20 b &20 " * 2000 + "a"


def frame_of(spark: Any, texts: list[Any]) -> Any:
    return spark.createDataFrame(list(enumerate(texts)), "id int, text string").repartition(3)


def items_of(expression: str, texts: list[Any], **options: bool) -> list[Any]:
    query = trovex.compile(expression, **options)  # type: ignore[arg-type]
    return [
        (row, item.start, item.end, item.text)
        for row, text in enumerate(texts)
        if text is not None
        for item in query.findall(text)
    ]


def test_documents_in_items_out(spark: Any) -> None:
    items = search.search(frame_of(spark, TEXTS), "text", EXPRESSION, keep=["id"])
    assert items.columns == ["id", "start", "end", "text", "refused"]
    rows = sorted(tuple(row) for row in items.collect())
    assert rows == [(*item, None) for item in items_of(EXPRESSION, TEXTS)]


def test_tags_and_options(spark: Any) -> None:
    texts = ["Herr Meier und Frau Groß", "herr Meier"]
    items = search.search(
        frame_of(spark, texts), "text", "(Herr|Frau) ([A-Z][a-zß]+)", keep=["id"], tags=True, case=True
    )
    assert sorted((row.id, row.start, [tuple(tag) for tag in row.tags]) for row in items.collect()) == [
        (0, 0, [(1, 0, 4), (2, 5, 10)]),
        (0, 15, [(1, 15, 19), (2, 20, 24)]),
    ]


def test_matches_filters_a_frame(spark: Any) -> None:
    frame = frame_of(spark, TEXTS)
    kept = frame.where(search.matches("text", EXPRESSION))
    assert sorted(row.id for row in kept.collect()) == [0, 4]
    verdicts = frame.select("id", search.matches(sql.lower("text"), "haus").alias("is")).collect()
    assert sorted((row.id, row["is"]) for row in verdicts) == [
        (0, True), (1, False), (2, None), (3, True), (4, False), (5, False)
    ]  # fmt: skip


def test_what_is_refused_is_told(spark: Any) -> None:
    with pytest.raises(trovex.ExpressionError):
        search.search(frame_of(spark, TEXTS), "text", "(Haus")
    with pytest.raises(trovex.ExpressionError):
        search.matches("text", "(Haus")
    with pytest.raises(TypeError, match="int"):
        search.search(frame_of(spark, TEXTS), "id", "Haus", keep=[])
    with pytest.raises(ValueError, match="these names itself: text"):
        search.search(frame_of(spark, TEXTS), "id", "Haus")
    texts = ["ab" * 10_000, "aba", None]
    rows = search.search(frame_of(spark, texts), "text", HOSTILE, keep=["id"]).collect()
    refused = [row for row in rows if row.refused is not None]
    assert [(row.id, row.start) for row in refused] == [(0, None)]
    assert "gave up" in refused[0].refused


def test_a_filter_that_gives_up_fails_or_shows_it(spark: Any) -> None:
    frame = frame_of(spark, ["ab" * 10_000, "aba"])
    with pytest.raises(Exception, match="GaveUpError"):
        frame.where(search.matches("text", HOSTILE)).collect()
    unknown = frame.where(search.matches("text", HOSTILE, gave_up="null").isNull())
    assert [row.id for row in unknown.collect()] == [0]


def test_files_are_documents(spark: Any, tmp_path: Path) -> None:
    (tmp_path / "a").mkdir()
    (tmp_path / "a" / "utf8.txt").write_bytes("Übung im Haus".encode())
    (tmp_path / "latin1.txt").write_bytes("die Übung".encode("cp1252"))
    (tmp_path / "broken.txt").write_bytes(b"\xff\xc3")
    (tmp_path / "other.bin").write_bytes("Übung".encode())
    frame = search.documents(spark, f"file://{tmp_path}", pattern="*.txt")
    rows = search.search(frame, "content", "übung", keep=["path"]).collect()
    assert sorted((Path(row.path).name, row.start, row.end, bytes(row.text)) for row in rows) == [
        ("latin1.txt", 4, 9, "Übung".encode("cp1252")),
        ("utf8.txt", 0, 6, "Übung".encode()),
    ]


def test_documents_are_converted_and_failures_told(spark: Any, tmp_path: Path) -> None:
    def text_of(about: dict[str, Any], content: bytes) -> str:
        return str(json.loads(content)["text"])

    (tmp_path / "good.json").write_text(json.dumps({"text": "ein Häuschen"}))
    (tmp_path / "bad.json").write_text("{")
    frame = search.documents(spark, f"file://{tmp_path}")
    rows = search.search(frame, "content", "häus", keep=["path"], convert=text_of).collect()
    found = sorted((Path(row.path).name, row.start, row.text, row.refused is None) for row in rows)
    assert found == [("bad.json", None, None, False), ("good.json", 4, "Häus", True)]


CASES: list[dict[str, Any]] = [
    case for file in sorted(SHARED.glob("*.json")) for case in json.loads(file.read_text("utf-8"))
]
OPTIONS = ("words", "case", "phonetic", "variants")


def of_case(case: dict[str, Any]) -> dict[str, bool]:
    return {name: name in case.get("options", []) for name in OPTIONS}


def wanted(number: int, case: dict[str, Any]) -> list[Any]:
    return [
        (number, item["begin"], item["end"], sorted((int(n), a, b) for n, (a, b) in item.get("tags", {}).items()))
        for item in case["items"]
    ]


def row_of(row: Any) -> Any:
    assert row.refused is None
    return row.id, row.start, row.end, sorted(tuple(tag) for tag in row.tags)


@pytest.mark.parametrize("member", ["text", "bytes"])
def test_the_cases_of_every_host(spark: Any, member: str) -> None:
    """All in one job, which does for each what search() has the executors do and what matches() has them do."""
    cases = [(number, case) for number, case in enumerate(CASES) if member in case]
    recipes = {number: (case["expression"], *of_case(case).values()) for number, case in cases}
    of_strings = member == "text"

    def both(batches: Iterator[Any]) -> Iterator[Any]:
        import pyarrow as pa
        from trovex.spark._executor import ItemSearch, Recipe, match_batch

        for batch in batches:
            for row, number in enumerate(batch.column("id").to_pylist()):
                recipe = Recipe(*recipes[number])
                one = batch.slice(row, 1)
                items = next(ItemSearch(recipe, ["id"], True, "utf-8", of_strings, None)(iter([one])))
                verdict = match_batch(recipe, "utf-8", "raise")(one.column("text"))[0].as_py()
                # A row more, without a place, says the verdict.
                said = [pa.nulls(1, field.type) for field in items.schema]
                said[0], said[-1] = one.column("id"), pa.array([str(verdict)])
                yield items
                yield pa.RecordBatch.from_arrays(said, schema=items.schema)

    kind = "string" if of_strings else "binary"
    texts = [(number, case["text"] if of_strings else bytes.fromhex(case["bytes"])) for number, case in cases]
    frame = spark.createDataFrame(texts, f"id int, text {kind}").repartition(2)
    tags = "array<struct<tag int, start long, end long>>"
    rows = frame.mapInArrow(
        both, f"id int, start long, end long, text {kind}, tags {tags}, refused string"
    ).collect()
    verdicts = {row.id: row.refused for row in rows if row.start is None}
    assert verdicts == {number: str(case["satisfied"]) for number, case in cases}
    found = sorted(row_of(row) for row in rows if row.start is not None)
    assert found == [item for number, case in cases for item in wanted(number, case)]
    for row in rows:
        if row.start is not None and of_strings:
            assert row.text == CASES[row.id]["text"][row.start : row.end]
    assert len(cases) > (100 if of_strings else 3)


def test_cases_of_every_host_as_frames(spark: Any) -> None:
    """Some of them through search() itself. Each is a frame of its own, which takes Spark a second to plan and to
    begin with, so that all of them would take minutes and do on the executors what they do above."""
    frames = []
    want = []
    for number, case in enumerate(CASES):
        if "text" not in case or number % 12:
            continue
        frame = spark.createDataFrame([(number, case["text"])], "id int, text string").coalesce(1)
        frames.append(
            search.search(frame, "text", case["expression"], keep=["id"], tags=True, **of_case(case))
        )
        want += wanted(number, case)
    union = frames[0]
    for frame in frames[1:]:
        union = union.union(frame)
    assert sorted(row_of(row) for row in union.coalesce(2).collect()) == want and len(frames) > 10


@pytest.mark.parametrize("case", [case for case in CASES if "fault" in case], ids=lambda case: case["name"])
def test_faults_of_every_host(case: dict[str, Any]) -> None:
    with pytest.raises(trovex.ExpressionError) as raised:
        search.matches("text", case["expression"], **of_case(case))
    error, fault = raised.value, case["fault"]
    assert (error.number, error.start, error.end) == (fault["number"], fault["begin"], fault["end"])


def test_a_worker_process_compiles_once(spark: Any) -> None:
    from trovex.spark._executor import ItemSearch, Recipe, _compiled

    recipe = Recipe("Haus nur einmal")

    def count(batches: Iterator[Any]) -> Iterator[Any]:
        import pyarrow as pa

        rows = 0
        for batch in batches:
            rows += batch.num_rows
            list(ItemSearch(recipe, [], False, "utf-8", True, None)(iter([batch])))
        info = _compiled.cache_info()
        yield pa.RecordBatch.from_pydict({"process": [os.getpid()], "misses": [info.misses], "hits": [info.hits]})

    frame = spark.range(20_000, numPartitions=8).select(sql.col("id").cast("string").alias("text"))
    rows = frame.mapInArrow(count, "process long, misses long, hits long").collect()
    assert len(rows) == 8
    for process in {row.process for row in rows}:
        assert len({row.misses for row in rows if row.process == process}) == 1


def test_a_recipe_that_was_sent_finds_the_query_that_is_there() -> None:
    import pickle

    from trovex.spark._executor import Recipe

    first, second = (pickle.loads(pickle.dumps(Recipe("Haus oder Hof", words=True))) for _ in range(2))
    assert first.query() is second.query()


def test_every_item_is_found_once_though_a_worker_is_killed(
    spark: Any, cluster: Cluster, tmp_path: Path
) -> None:
    # The last test: the cluster has one worker less after it.
    partitions, rows = 12, 600
    marks, over = tmp_path / "marks", str(tmp_path / "over")
    marks.mkdir()
    folder = str(marks)

    def wait_for_the_end(batches: Iterator[Any]) -> Iterator[Any]:
        """Notes where the task runs. None gets on before the worker is dead, so that it has a task when it dies."""
        from pyspark import TaskContext

        context = TaskContext.get()
        Path(folder, f"{context.partitionId()}-{context.attemptNumber()}").write_text(os.getcwd() + "\n")
        while not os.path.exists(over):
            time.sleep(0.1)
        yield from batches

    frame = (
        spark.range(partitions * rows, numPartitions=partitions)
        .select("id", sql.concat(sql.lit("Tür "), sql.col("id"), sql.lit(" und Haus")).alias("text"))
        .mapInArrow(wait_for_the_end, "id long, text string")
    )
    items = search.search(frame, "text", "(Haus) &> x|(7 und Haus)|Tür", keep=["id"])
    victim = str(cluster.folder / "work-0") + os.sep

    def has_a_task() -> bool:
        return any(mark.read_text().startswith(victim) for mark in marks.iterdir())

    def kill() -> None:
        try:
            wait_until(has_a_task, "a task on the worker")
            cluster.workers[0].kill()
        finally:
            Path(over).touch()

    thread = threading.Thread(target=kill)
    thread.start()
    found = sorted((row.id, row.start, row.end) for row in items.collect())
    thread.join()
    assert cluster.workers[0].process.poll() is not None, "nobody was killed"
    attempts = [int(mark.name.split("-")[1]) for mark in marks.iterdir()]
    assert max(attempts) >= 1, "no task was done again"
    query = trovex.compile("(Haus) &> x|(7 und Haus)|Tür")
    want = [
        (row, item.start, item.end)
        for row in range(partitions * rows)
        for item in query.findall(f"Tür {row} und Haus")
    ]
    assert found == want
