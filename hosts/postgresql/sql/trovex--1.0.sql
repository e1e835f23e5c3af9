\echo Use "CREATE EXTENSION trovex" to load this file. \quit

-- The type

CREATE TYPE trovex_query;

CREATE FUNCTION trovex_query_in(cstring) RETURNS trovex_query
AS 'MODULE_PATHNAME', 'pg_trovex_query_in' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;

CREATE FUNCTION trovex_query_out(trovex_query) RETURNS cstring
AS 'MODULE_PATHNAME', 'pg_trovex_query_out' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;

CREATE FUNCTION trovex_query_recv(internal) RETURNS trovex_query
AS 'MODULE_PATHNAME', 'pg_trovex_query_recv' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;

CREATE FUNCTION trovex_query_send(trovex_query) RETURNS bytea
AS 'MODULE_PATHNAME', 'pg_trovex_query_send' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;

CREATE TYPE trovex_query (
  INPUT = trovex_query_in,
  OUTPUT = trovex_query_out,
  RECEIVE = trovex_query_recv,
  SEND = trovex_query_send,
  STORAGE = extended
);

COMMENT ON TYPE trovex_query IS
  'what to look for in texts, as it was typed: (Haus|Hof) &20 !Garten; options in braces before it: {words,case}';

CREATE FUNCTION trovex_query(text) RETURNS trovex_query
AS 'MODULE_PATHNAME', 'pg_trovex_query_of_text' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;

COMMENT ON FUNCTION trovex_query(text) IS
  'a query of a text, which may begin with options in braces';

CREATE FUNCTION trovex_query(expression text, options text) RETURNS trovex_query
AS 'MODULE_PATHNAME', 'pg_trovex_query_with_options' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;

COMMENT ON FUNCTION trovex_query(text, text) IS
  'a query of an expression and its options: words, case, phonetic, variants';

CREATE CAST (text AS trovex_query) WITH FUNCTION trovex_query(text) AS ASSIGNMENT;
CREATE CAST (trovex_query AS text) WITH INOUT AS ASSIGNMENT;

-- The operator

CREATE FUNCTION trovex_support(internal) RETURNS internal
AS 'MODULE_PATHNAME', 'pg_trovex_support' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;

COMMENT ON FUNCTION trovex_support(internal) IS
  'tells the planner what an index can do for text @~ trovex_query, and what it costs';

CREATE FUNCTION trovex_matches(body text, query trovex_query) RETURNS boolean
AS 'MODULE_PATHNAME', 'pg_trovex_matches' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE
COST 10 SUPPORT trovex_support;

COMMENT ON FUNCTION trovex_matches(text, trovex_query) IS
  'whether a text satisfies a query; behind the operator @~';

CREATE OPERATOR @~ (
  LEFTARG = text,
  RIGHTARG = trovex_query,
  FUNCTION = trovex_matches,
  RESTRICT = matchingsel,
  JOIN = matchingjoinsel
);

COMMENT ON OPERATOR @~ (text, trovex_query) IS 'the text satisfies the query';

-- What is found

CREATE FUNCTION trovex_count(body text, query trovex_query) RETURNS integer
AS 'MODULE_PATHNAME', 'pg_trovex_count' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE
COST 20;

COMMENT ON FUNCTION trovex_count(text, trovex_query) IS 'the number of items of a text';

CREATE FUNCTION trovex_items(
  body text,
  query trovex_query,
  OUT start integer,
  OUT length integer,
  OUT item text,
  OUT tags text[],
  OUT tag_starts integer[]
) RETURNS SETOF record
AS 'MODULE_PATHNAME', 'pg_trovex_items' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE
COST 100 ROWS 10;

COMMENT ON FUNCTION trovex_items(text, trovex_query) IS
  'the items of a text in their order: the first character, counted from 1, the number of characters, the item, and by its number what each bracket found';

CREATE FUNCTION trovex_items(
  body text,
  query trovex_query,
  most integer,
  OUT start integer,
  OUT length integer,
  OUT item text,
  OUT tags text[],
  OUT tag_starts integer[]
) RETURNS SETOF record
AS 'MODULE_PATHNAME', 'pg_trovex_items' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE
COST 100 ROWS 10;

COMMENT ON FUNCTION trovex_items(text, trovex_query, integer) IS
  'the first items of a text, as many as are asked for; the search ends with the last of them';

CREATE FUNCTION trovex_highlight(
  body text,
  query trovex_query,
  before text DEFAULT '<b>',
  after text DEFAULT '</b>'
) RETURNS text
AS 'MODULE_PATHNAME', 'pg_trovex_highlight' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE
COST 100;

COMMENT ON FUNCTION trovex_highlight(text, trovex_query, text, text) IS
  'the text with its items marked';

CREATE FUNCTION trovex_snippet(
  body text,
  query trovex_query,
  before text DEFAULT '<b>',
  after text DEFAULT '</b>',
  ellipsis text DEFAULT '...',
  words integer DEFAULT 12
) RETURNS text
AS 'MODULE_PATHNAME', 'pg_trovex_snippet' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE
COST 100;

COMMENT ON FUNCTION trovex_snippet(text, trovex_query, text, text, text, integer) IS
  'so many words of the text where most items stand together, with these marked';

CREATE FUNCTION trovex_explain(query trovex_query) RETURNS text
AS 'MODULE_PATHNAME', 'pg_trovex_explain' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE
COST 100;

COMMENT ON FUNCTION trovex_explain(trovex_query) IS 'how a query was understood';
