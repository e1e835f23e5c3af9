"""The native part of trovex: what it takes and gives."""

from typing import Any, Iterator, Literal, Optional, Protocol, Union, final, overload

from typing_extensions import Buffer

from ._types import Span

class ArrowStreamExportable(Protocol):
    """A column that comes as a stream of chunks: a chunked array, a series, a relation."""

    def __arrow_c_stream__(self, requested_schema: Any = ...) -> object: ...

class ArrowArrayExportable(Protocol):
    """A column that comes as one array."""

    def __arrow_c_array__(self, requested_schema: Any = ...) -> tuple[object, object]: ...

Column = Union[ArrowStreamExportable, ArrowArrayExportable]
Encoding = str
"""utf-8 or windows-1252; other usual names of the two are known."""

@final
class Item:
    """A place of a text that a query finds."""

    @property
    def start(self) -> int: ...
    @property
    def end(self) -> int: ...
    @property
    def text(self) -> Any:
        """What stands there: a str, or bytes."""

    @property
    def tags(self) -> dict[int, Span]:
        """The ranges of all brackets that took part."""

    def tag(self, number: int) -> Optional[Span]:
        """The range of a bracket of the query, counted from 1; None where it took no part."""

    def __len__(self) -> int: ...
    def __bool__(self) -> Literal[True]: ...
    def __eq__(self, other: object) -> bool: ...
    def __hash__(self) -> int: ...

@final
class ItemIterator(Iterator[Item]):
    """Items, one after the other."""

    def __iter__(self) -> ItemIterator: ...
    def __next__(self) -> Item: ...
    def __length_hint__(self) -> int: ...

class _Column:
    @property
    def gave_up(self) -> tuple[int, ...]:
        """The rows without an answer, where gave_up="null" was asked for."""

    def __len__(self) -> int: ...
    def __arrow_c_schema__(self) -> object: ...
    def __arrow_c_array__(self, requested_schema: Any = ...) -> tuple[object, object]: ...
    def __arrow_c_stream__(self, requested_schema: Any = ...) -> object: ...

@final
class BooleanColumn(_Column):
    """One boolean a row, for whoever reads Arrow's C interfaces."""

    def to_list(self) -> list[Optional[bool]]: ...

@final
class ItemsColumn(_Column):
    """One list of items a row, for whoever reads Arrow's C interfaces.

    An item is a struct of start, end and, where they are asked for, text, and tags: a list of structs of tag,
    start, end.
    """

    def to_list(self) -> list[Optional[list[dict[str, Any]]]]: ...

@final
class Query:
    """An expression, compiled. Made by trovex.compile(); any number of threads may use it."""

    @property
    def expression(self) -> Union[str, bytes]: ...
    @property
    def words(self) -> bool: ...
    @property
    def case(self) -> bool: ...
    @property
    def phonetic(self) -> bool: ...
    @property
    def variants(self) -> bool: ...
    @property
    def encoding(self) -> str: ...
    @property
    def tag_count(self) -> int:
        """The number of brackets that are tags."""

    def matches(self, text: Union[str, Buffer], encoding: Encoding = "utf-8") -> bool:
        """Whether a text satisfies the query."""

    def search(
        self, text: Union[str, Buffer], encoding: Encoding = "utf-8", tags: bool = True
    ) -> Optional[Item]:
        """The first item of a text, or None.

        A text may satisfy a query that has no items, as "!Garten": ask matches() for that.
        """

    def findall(
        self, text: Union[str, Buffer], encoding: Encoding = "utf-8", tags: bool = True
    ) -> list[Item]:
        """All items of a text, by start, then by end. They may overlap."""

    def finditer(
        self, text: Union[str, Buffer], encoding: Encoding = "utf-8", tags: bool = True
    ) -> ItemIterator:
        """The same one by one: the text is searched at once, and an item made when it is asked for."""

    def count(self, text: Union[str, Buffer], encoding: Encoding = "utf-8") -> int:
        """The number of items of a text."""

    @overload
    def highlight(self, text: str, before: str, after: str, encoding: Encoding = "utf-8") -> str: ...
    @overload
    def highlight(self, text: Buffer, before: bytes, after: bytes, encoding: Encoding = "utf-8") -> bytes:
        """The text with marks around what is found; items that overlap are marked as one text."""

    def matches_column(
        self,
        column: Column,
        *,
        encoding: Encoding = "utf-8",
        threads: Optional[int] = None,
        gave_up: Literal["raise", "null"] = "raise",
    ) -> BooleanColumn:
        """Whether each row of an Arrow column of texts satisfies the query; null where a row is null."""

    def items_column(
        self,
        column: Column,
        *,
        encoding: Encoding = "utf-8",
        threads: Optional[int] = None,
        gave_up: Literal["raise", "null"] = "raise",
        tags: bool = False,
        texts: bool = False,
    ) -> ItemsColumn:
        """The items of each row of an Arrow column of texts; null where a row is null."""

    def explain(self) -> str:
        """How the expression is understood, in lines."""

    def required(self) -> tuple[tuple[tuple[str, ...], ...], bool]:
        """Strings that a text must hold to satisfy the query, at least one of every clause, and whether it may
        hold them in either case: for a filter or an index of one's own."""

    def __eq__(self, other: object) -> bool: ...
    def __hash__(self) -> int: ...

def compile(
    expression: Union[str, bytes],
    words: bool = False,
    case: bool = False,
    phonetic: bool = False,
    variants: bool = False,
    encoding: Encoding = "utf-8",
) -> Query:
    """Compiles an expression; raises ExpressionError where it is refused.

    The encoding is that of an expression of bytes.
    """
