"""Boolean, near-by and phonetic search of German text in Apache Spark, for archives of any size.

    from trovex import spark as search

    items = search.search(frame, "text", "(Haus|Hof) &20 !Garten", keep=["id"])
    found = frame.where(search.matches("text", "(Haus|Hof) &20 !Garten"))

`trovex` and `trovex-spark` have to be installed where the driver and the executors run. An expression that is refused
raises trovex.ExpressionError in the driver, before a job begins.
"""

from ._search import documents, matches, search

__all__ = ["documents", "matches", "search"]
