"""The cases that every host runs, as str, as bytes in both encodings, and as columns."""

from __future__ import annotations

import json
from pathlib import Path
from typing import Any

import pytest

import trovex

FOLDER = Path(__file__).parents[3] / "tests" / "shared"
CASES: list[dict[str, Any]] = [
    case for file in sorted(FOLDER.glob("*.json")) for case in json.loads(file.read_text("utf-8"))
]
WITH_TEXT = [case for case in CASES if "text" in case]
WITH_BYTES = [case for case in CASES if "bytes" in case]
WITH_FAULT = [case for case in CASES if "fault" in case]


def named(cases: list[dict[str, Any]]) -> pytest.MarkDecorator:
    return pytest.mark.parametrize("case", cases, ids=lambda case: case["name"])


def compiled(case: dict[str, Any]) -> trovex.Query:
    options = case.get("options", [])
    return trovex.compile(
        case["expression"],
        words="words" in options,
        case="case" in options,
        phonetic="phonetic" in options,
        variants="variants" in options,
    )


def expected(case: dict[str, Any], position: list[int] | None = None) -> list[Any]:
    """(start, end, tags) of each item, in characters, or in what `position` has for them."""

    def at(character: int) -> int:
        return character if position is None else position[character]

    return [
        (
            at(item["begin"]),
            at(item["end"]),
            {int(n): (at(a), at(b)) for n, (a, b) in item.get("tags", {}).items()},
        )
        for item in case["items"]
    ]


def found(items: list[trovex.Item]) -> list[Any]:
    return [(item.start, item.end, item.tags) for item in items]


def check(query: trovex.Query, case: dict[str, Any], text: Any, want: list[Any], encoding: str) -> None:
    assert query.matches(text, encoding) is case["satisfied"]
    assert found(query.findall(text, encoding)) == want
    assert found(list(query.finditer(text, encoding))) == want
    assert query.count(text, encoding) == len(want)
    first = query.search(text, encoding)
    assert found([] if first is None else [first]) == want[:1]


def test_there_are_many() -> None:
    assert len(WITH_TEXT) > 100 and len(WITH_FAULT) > 20 and len(WITH_BYTES) > 3


@named(WITH_TEXT)
def test_str(case: dict[str, Any]) -> None:
    check(compiled(case), case, case["text"], expected(case), "utf-8")
    assert [item.text for item in compiled(case).findall(case["text"])] == [
        item["text"] for item in case["items"]
    ]


@named(WITH_TEXT)
@pytest.mark.parametrize("encoding", ["utf-8", "windows-1252"])
def test_bytes(case: dict[str, Any], encoding: str) -> None:
    text: str = case["text"]
    try:
        raw = text.encode(encoding)
    except UnicodeEncodeError:
        pytest.skip("the code page lacks a character")
    position = [len(text[:i].encode(encoding)) for i in range(len(text) + 1)]
    want = expected(case, position)
    for buffer in (raw, bytearray(raw), memoryview(raw)):
        check(compiled(case), case, buffer, want, encoding)


@named(WITH_BYTES)
def test_bytes_as_they_are(case: dict[str, Any]) -> None:
    raw = bytes.fromhex(case["bytes"])
    check(compiled(case), case, raw, expected(case), "utf-8")


@named(WITH_FAULT)
def test_fault(case: dict[str, Any]) -> None:
    with pytest.raises(trovex.ExpressionError) as raised:
        compiled(case)
    error, fault = raised.value, case["fault"]
    assert (error.number, error.start, error.end) == (fault["number"], fault["begin"], fault["end"])
    assert error.sentence and str(error) == error.sentence
    assert error.expression == case["expression"]


@named(WITH_TEXT)
def test_column(case: dict[str, Any]) -> None:
    pa = pytest.importorskip("pyarrow")
    query = compiled(case)
    want = [
        {
            "start": start,
            "end": end,
            "tags": [{"tag": n, "start": a, "end": b} for n, (a, b) in sorted(tags.items())],
        }
        for start, end, tags in expected(case)
    ]
    # Between other rows, so that it is searched side by side with them.
    rows = ["Haus", case["text"], None, "", case["text"] + "\n", case["text"]]
    for kind in (pa.string(), pa.large_string(), pa.string_view()):
        column = pa.array(rows, kind)
        assert pa.array(query.matches_column(column)).to_pylist() == [
            None if row is None else query.matches(row) for row in rows
        ]
        items = pa.array(query.items_column(column, tags=True)).to_pylist()
        assert items[1] == items[5] == want
        assert items[2] is None
        assert [len(row) for row in items if row is not None] == [
            query.count(row) for row in rows if row is not None
        ]
