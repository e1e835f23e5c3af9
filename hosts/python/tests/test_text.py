"""Texts as CPython holds them: one, two or four bytes a character, and buffers of bytes.

What is found in a str is held against what is found in its UTF-8, whose positions are counted here.
"""

from __future__ import annotations

import array
import ctypes
import itertools
import mmap
import random
import sys
from pathlib import Path
from typing import Any

import pytest

import trovex

QUERIES = [
    trovex.compile(expression)
    for expression in ("a", "ä", ".", "[^a]", r"\w+", "a &2 ä", "a.b", "„", r"\W", "(a|ä)(.)", "!ä", "b & a")
]


def of_utf8(query: trovex.Query, text: str) -> list[Any]:
    raw = text.encode("utf-8", "surrogatepass")
    character = {}
    byte = 0
    for index, one in enumerate(text):
        character[byte] = index
        byte += len(one.encode("utf-8", "surrogatepass"))
    character[byte] = len(text)
    return [
        (
            character[item.start],
            character[item.end],
            {n: (character[a], character[b]) for n, (a, b) in item.tags.items()},
        )
        for item in query.findall(raw)
    ]


def of_str(query: trovex.Query, text: str) -> list[Any]:
    return [(item.start, item.end, item.tags) for item in query.findall(text)]


# Letters of ASCII, Latin-1, C1 controls, the code page alone, two bytes, a combining mark, four bytes.
ALPHABET = "ab ä\x85\x81\n„→\u0308😀"


def test_short_texts_are_read_alike_in_every_form() -> None:
    for length in range(4):
        for letters in itertools.product(ALPHABET, repeat=length):
            text = "".join(letters)
            for query in QUERIES[:7]:
                assert of_str(query, text) == of_utf8(query, text), (query, text)


@pytest.mark.parametrize("alphabet", ["ab \n", "abä \n", "abäß\x85 ", "abä„“ \n", "abä→ \n", "aä😀 \u0308"])
def test_long_texts_are_read_alike_in_every_form(alphabet: str) -> None:
    seed = random.randrange(1 << 32)
    dice = random.Random(seed)
    for _ in range(150):
        text = "".join(dice.choices(alphabet, k=dice.choice([5, 40, 300, 5000])))
        query = dice.choice(QUERIES)
        assert of_str(query, text) == of_utf8(query, text), (seed, query, text)
        assert query.matches(text) == query.matches(text.encode()), (seed, query, text)


def test_every_character_of_the_code_page_is_found_wherever_it_stands() -> None:
    page = bytes(byte for byte in range(0x80, 0x100) if byte not in b"\x81\x8d\x8f\x90\x9d").decode("cp1252")
    for letter in page:
        query = trovex.compile("\\" + letter if not letter.isalnum() else letter, case=True)
        for length in (1, 31, 33, 70):
            for place in range(length):
                text = "x" * place + letter + "x" * (length - place - 1) + "„"
                found = query.findall(text)
                assert (place, place + 1) in [(item.start, item.end) for item in found], (letter, text)
                assert len(found) == text.count(letter), (letter, text)
    # Beyond the page, and the controls of Latin-1 that the page reads differently.
    for letter in "\u0100\u1fff\u2000\u203f\u2040\u2123\u3000\x80\x99\x9f":
        for place in range(70):
            text = "x" * place + letter + "x" * (69 - place) + "„"
            found = trovex.compile(r"[^x„]").findall(text)
            assert [(item.start, item.end) for item in found] == [(place, place + 1)], (letter, text)
            assert not trovex.compile("[€š-žŸ…‘’“”]").matches(text.replace("„", "–")), (letter, text)


def test_utf8_that_cpython_has_made_is_used_as_well() -> None:
    as_utf8 = ctypes.pythonapi.PyUnicode_AsUTF8AndSize
    as_utf8.restype, as_utf8.argtypes = ctypes.c_char_p, [ctypes.py_object, ctypes.c_void_p]
    for text in ("→ein Haus→ und ein Haus😀", "\x85ein Haus"):
        query = trovex.compile("Haus")
        size, before = sys.getsizeof(text), of_str(query, text)
        as_utf8(text, None)  # from now on, the str has its UTF-8 with it
        assert sys.getsizeof(text) > size
        assert of_str(query, text) == before == of_utf8(query, text)


def test_no_utf8_is_left_behind_in_a_str() -> None:
    text = "→" + "ein Haus " * 1000
    size = sys.getsizeof(text)
    assert trovex.compile("Haus").count(text) == 1000
    assert sys.getsizeof(text) == size


def test_a_lone_surrogate_is_a_character_that_cannot_be_looked_for() -> None:
    text = "a\ud800b Haus \udfff"
    assert trovex.compile("Haus").findall(text)[0].start == 4
    found = trovex.compile("a.b").search(text)
    assert found is not None and (found.start, found.end, found.text) == (0, 3, "a\ud800b")
    assert trovex.compile("Haus").highlight(text, "<", ">") == "a\ud800b <Haus> \udfff"
    with pytest.raises(trovex.ExpressionError) as raised:
        trovex.compile("Tür\ud800")
    assert (raised.value.number, raised.value.start, raised.value.end) == (9802, 3, 4)
    assert raised.value.expression == "Tür\ud800"


def test_a_subclass_of_str_is_a_str() -> None:
    class Text(str):
        pass

    assert trovex.compile("Haus").count(Text("Tür Haus")) == 1


def test_buffers(tmp_path: Path) -> None:
    query, raw = trovex.compile("Haus"), "Türe, Haus".encode()
    file = tmp_path / "text"
    file.write_bytes(raw)
    with open(file, "rb") as stream, mmap.mmap(stream.fileno(), 0, access=mmap.ACCESS_READ) as mapped:
        buffers: list[Any] = [raw, bytearray(raw), memoryview(raw), array.array("B", raw), mapped]
        for buffer in buffers:
            item = query.search(buffer)
            assert item is not None and (item.start, item.end, item.text) == (7, 11, b"Haus")
            del item
        del buffers, buffer
    with pytest.raises(BufferError):
        query.search(memoryview(raw)[::2])


def test_a_buffer_may_shrink_after_an_item() -> None:
    raw = bytearray(b"ein Haus")
    item = trovex.compile("Haus").search(raw)
    assert item is not None
    raw[6:] = b""
    assert item.text == b"Ha"
    raw.clear()
    assert item.text == b""


@pytest.mark.parametrize("name", ["utf-8", "UTF8", "utf_8", "latin-1", "cp1252", "windows-1252", "ISO-8859-1"])
def test_encodings_have_their_usual_names(name: str) -> None:
    codec = "utf-8" if name.lower().startswith("utf") else "cp1252"
    assert trovex.compile("tür").matches("TÜR".encode(codec), name)


def test_zero_bytes_are_characters() -> None:
    assert trovex.compile("a.b").matches("a\0b") and trovex.compile("a.b").matches(b"a\0b")
    assert trovex.compile("Haus").search("\0Haus").start == 1  # type: ignore[union-attr]
