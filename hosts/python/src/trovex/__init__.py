"""Boolean, near-by and phonetic search of German text, without an index.

    >>> import trovex
    >>> query = trovex.compile("(Haus|Hof) &20 !Garten")
    >>> query.matches("Das Haus am Hof.")
    True
    >>> [item.text for item in query.findall("Das Haus am Hof.")]
    ['Haus', 'Hof']

A query may be used by any number of threads at the same time. Positions are characters of a `str`, and
bytes of `bytes` and other buffers; ends are exclusive.
"""

from ._native import BooleanColumn, Item, ItemIterator, ItemsColumn, Query, compile
from ._types import ExpressionError, GaveUpError, Span

__all__ = [
    "BooleanColumn",
    "ExpressionError",
    "GaveUpError",
    "Item",
    "ItemIterator",
    "ItemsColumn",
    "Query",
    "Span",
    "compile",
]
__version__ = "1.0.0"
