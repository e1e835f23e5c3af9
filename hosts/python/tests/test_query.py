"""Queries, items and faults as Python has them."""

from __future__ import annotations

import copy
import pickle
from typing import Any

import pytest

import trovex

# Gives up after about a second on text such as "ab" * 10000.
HOSTILE = "a &20 b &20 " * 2000 + "a"


def test_a_query_says_what_it_was_made_of() -> None:
    query = trovex.compile("(Haus|Hof) &20 !Garten", words=True)
    assert query.expression == "(Haus|Hof) &20 !Garten" == str(query)
    assert (query.words, query.case, query.phonetic, query.variants) == (True, False, False, False)
    assert query.encoding == "utf-8"
    assert query.tag_count == 1
    assert repr(query) == "trovex.compile('(Haus|Hof) &20 !Garten', words=True)"


def test_explain_shows_the_tree() -> None:
    assert trovex.compile("(Haus|Hof) &20 !Garten").explain().splitlines() == [
        "and",
        "  pattern Haus|Hof (tag 1)",
        "  at most 20 characters between",
        "  not",
        "    pattern Garten",
    ]


def test_required_strings_are_told() -> None:
    assert trovex.compile("Haus|Hof").required() == ((("haus", "hof"),), True)
    assert trovex.compile("!Garten").required()[0] == ()


@pytest.mark.parametrize("option", ["words", "case", "phonetic", "variants"])
def test_queries_are_equal_by_expression_and_options(option: str) -> None:
    one, same = trovex.compile("Haus"), trovex.compile("Haus")
    other = trovex.compile("Haus", **{option: True})  # type: ignore[arg-type]
    assert one == same and hash(one) == hash(same)
    assert one != other and one != trovex.compile("Hof") and one != "Haus"
    assert len({one, same, other}) == 2
    assert getattr(other, option) is True


@pytest.mark.parametrize("protocol", range(2, pickle.HIGHEST_PROTOCOL + 1))
@pytest.mark.parametrize(
    "query",
    [
        trovex.compile("(Tür|Tor) &5w !Garten", words=True, case=True),
        trovex.compile("Meier", phonetic=True),
        trovex.compile("T\xfcr".encode("cp1252"), variants=True, encoding="windows-1252"),
    ],
    ids=repr,
)
def test_queries_are_pickled(query: trovex.Query, protocol: int) -> None:
    again = pickle.loads(pickle.dumps(query, protocol))
    assert again == query and again.explain() == query.explain()
    assert copy.copy(query) == query and copy.deepcopy(query) == query


def test_an_expression_of_bytes_has_an_encoding() -> None:
    query = trovex.compile("Tür".encode("cp1252"), encoding="latin-1")
    assert query.matches("eine tür") and str(query) == "Tür"
    with pytest.raises(trovex.ExpressionError) as raised:
        trovex.compile("Tür & (".encode("utf-8"))
    assert (raised.value.start, raised.value.expression) == (7, "Tür & (".encode("utf-8"))


def test_options_have_their_names() -> None:
    with pytest.raises(TypeError):
        trovex.compile("Haus", wordz=True)  # type: ignore[call-arg]
    with pytest.raises(TypeError):
        trovex.compile(7)  # type: ignore[arg-type]
    with pytest.raises(LookupError, match="utf-16"):
        trovex.compile(b"Haus", encoding="utf-16")
    with pytest.raises(TypeError):
        trovex.Query()


def test_a_fault_says_what_is_wrong_and_where() -> None:
    with pytest.raises(trovex.ExpressionError) as raised:
        trovex.compile("Äpfel & (Birnen")
    error = raised.value
    assert isinstance(error, ValueError)
    assert error.sentence == "The closing bracket ) is missing in a subexpression." == str(error)
    assert (error.number, error.start, error.end) == (9807, 8, 9)
    again = pickle.loads(pickle.dumps(error))
    assert isinstance(again, trovex.ExpressionError) and vars(again) == vars(error)


def test_search_gives_the_first_item_or_none() -> None:
    query = trovex.compile("(Herr|Frau) ([A-Z][a-z]+)?", case=True)
    item = query.search("Guten Tag, Frau Meier und Herr Schulz!")
    assert item is not None
    assert (item.start, item.end, item.text, len(item)) == (11, 21, "Frau Meier", 10)
    assert item.tag(1) == (11, 15) == trovex.Span(11, 15)
    assert item.tag(2) == trovex.Span(start=16, end=21)
    assert item.tags == {1: (11, 15), 2: (16, 21)}
    assert repr(item) == "<trovex.Item 11:21 'Frau Meier'>"
    assert query.search("niemand") is None


def test_a_bracket_that_took_no_part_has_no_range() -> None:
    item = trovex.compile("(a)x|(b)y").search("by")
    assert item is not None and item.tag(1) is None and item.tag(2) == (0, 1)
    for number in (0, -1, 3):
        with pytest.raises(IndexError, match="the query has 2"):
            item.tag(number)


def test_tags_can_be_left_out() -> None:
    query = trovex.compile("(a)(b)")
    assert [item.tags for item in query.findall("ab", tags=False)] == [{}]
    assert [item.tags for item in query.findall("ab")] == [{1: (0, 1), 2: (1, 2)}]


def test_items_are_equal_by_place_and_text() -> None:
    query = trovex.compile("(Haus)")
    one, other = query.findall("Haus Haus")
    assert one == query.search("Haus Haus") and hash(one) == hash(query.search("Haus Haus"))
    assert one != other and one != query.search("Haus")
    assert len(one) == 4 and bool(trovex.compile("x*").search("")) is True


def test_a_verdict_without_items() -> None:
    query = trovex.compile("!Garten")
    assert query.matches("Haus") is True and query.matches("Garten") is False
    assert query.search("Haus") is None and query.count("Haus") == 0


def test_iterators_end_and_stay_at_their_end() -> None:
    items = trovex.compile("a").finditer("aba")
    assert items.__length_hint__() == 2 and iter(items) is items
    assert [item.start for item in items] == [0, 2]
    assert next(items, None) is None and next(items, None) is None
    assert items.__length_hint__() == 0


@pytest.mark.parametrize(
    ("expression", "text", "marked"),
    [
        ("Haus|Hof", "Haus und Hof", "<Haus> und <Hof>"),
        ("Haus", "nichts", "nichts"),
        ("Haus", "", ""),
        ("(Haustür) & (Türschloss)", "ein Haustürschloss!", "ein <Haustür><schloss>!"),
        ("Haus & Haustür", "Haustür", "<Haus><tür>"),
        ("Tür", "→Tür😀Tür", "→<Tür>😀<Tür>"),
        ("x*", "axb", "a<x>b"),
        ("!Haus", "Hof", "Hof"),
    ],
)
def test_highlight(expression: str, text: str, marked: str) -> None:
    query = trovex.compile(expression)
    assert query.highlight(text, "<", ">") == marked
    assert query.highlight(text.encode(), b"<", b">") == marked.encode()
    assert query.highlight(bytearray(text.encode()), b"<", b">") == marked.encode()


def test_marks_have_the_type_of_the_text() -> None:
    query = trovex.compile("a")
    with pytest.raises(TypeError, match="str"):
        query.highlight("a", b"<", b">")  # type: ignore[call-overload]
    with pytest.raises(TypeError, match="bytes"):
        query.highlight(b"a", "<", ">")  # type: ignore[call-overload]


@pytest.mark.parametrize("text", [None, 7, ["Haus"], object()])
def test_what_is_no_text_is_refused(text: Any) -> None:
    query = trovex.compile("Haus")
    for call in (query.matches, query.search, query.findall, query.finditer, query.count):
        with pytest.raises(TypeError, match="a text is a str or a buffer of bytes"):
            call(text)


def test_matches_takes_its_arguments_as_every_function() -> None:
    query = trovex.compile("tür")
    raw = "TÜR".encode("cp1252")
    assert query.matches(raw, "cp1252") and query.matches(raw, encoding="cp1252")
    assert query.matches(text=raw, encoding="cp1252") and query.matches(encoding="cp1252", text=raw)
    call: Any = query.matches
    refused: list[tuple[tuple[Any, ...], dict[str, Any]]] = [
        ((), {}),
        ((raw, "utf-8", 1), {}),
        ((raw,), {"text": raw}),
        ((raw,), {"words": True}),
        ((raw, 7), {}),
        ((raw,), {"encoding": None}),
        ((), {"encoding": "utf-8"}),
    ]
    for arguments, named in refused:
        with pytest.raises(TypeError):
            call(*arguments, **named)
    with pytest.raises(TypeError):
        trovex.Query.matches("tür", raw)  # type: ignore[arg-type]


def test_unknown_encodings_are_refused() -> None:
    with pytest.raises(LookupError, match="utf-32"):
        trovex.compile("Haus").matches(b"Haus", "utf-32")


def test_giving_up_is_not_to_find_nothing() -> None:
    with pytest.raises(trovex.GaveUpError) as raised:
        trovex.compile(HOSTILE).matches("→" + "ab" * 10000)
    error = raised.value
    assert 0 < error.at <= 20001 and error.row is None
    assert "is not known" in str(error)
    again = pickle.loads(pickle.dumps(error))
    assert vars(again) == vars(error)
