\echo Use "ALTER EXTENSION trovex UPDATE TO '1.1'" to load this file. \quit

-- Queries can be compared: for DISTINCT, GROUP BY, unique columns and indexes of saved queries. They are
-- ordered by the bytes of their expressions, then by their options.

CREATE FUNCTION trovex_query_lt(trovex_query, trovex_query) RETURNS boolean
AS 'MODULE_PATHNAME', 'pg_trovex_query_lt' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;

CREATE FUNCTION trovex_query_le(trovex_query, trovex_query) RETURNS boolean
AS 'MODULE_PATHNAME', 'pg_trovex_query_le' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;

CREATE FUNCTION trovex_query_eq(trovex_query, trovex_query) RETURNS boolean
AS 'MODULE_PATHNAME', 'pg_trovex_query_eq' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;

CREATE FUNCTION trovex_query_ne(trovex_query, trovex_query) RETURNS boolean
AS 'MODULE_PATHNAME', 'pg_trovex_query_ne' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;

CREATE FUNCTION trovex_query_ge(trovex_query, trovex_query) RETURNS boolean
AS 'MODULE_PATHNAME', 'pg_trovex_query_ge' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;

CREATE FUNCTION trovex_query_gt(trovex_query, trovex_query) RETURNS boolean
AS 'MODULE_PATHNAME', 'pg_trovex_query_gt' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;

CREATE FUNCTION trovex_query_cmp(trovex_query, trovex_query) RETURNS integer
AS 'MODULE_PATHNAME', 'pg_trovex_query_cmp' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;

CREATE FUNCTION trovex_query_hash(trovex_query) RETURNS integer
AS 'MODULE_PATHNAME', 'pg_trovex_query_hash' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;

CREATE FUNCTION trovex_query_hash_extended(trovex_query, bigint) RETURNS bigint
AS 'MODULE_PATHNAME', 'pg_trovex_query_hash_extended' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;

CREATE OPERATOR < (
  LEFTARG = trovex_query, RIGHTARG = trovex_query, FUNCTION = trovex_query_lt,
  COMMUTATOR = >, NEGATOR = >=, RESTRICT = scalarltsel, JOIN = scalarltjoinsel
);

CREATE OPERATOR <= (
  LEFTARG = trovex_query, RIGHTARG = trovex_query, FUNCTION = trovex_query_le,
  COMMUTATOR = >=, NEGATOR = >, RESTRICT = scalarlesel, JOIN = scalarlejoinsel
);

CREATE OPERATOR = (
  LEFTARG = trovex_query, RIGHTARG = trovex_query, FUNCTION = trovex_query_eq,
  COMMUTATOR = =, NEGATOR = <>, RESTRICT = eqsel, JOIN = eqjoinsel, HASHES, MERGES
);

CREATE OPERATOR <> (
  LEFTARG = trovex_query, RIGHTARG = trovex_query, FUNCTION = trovex_query_ne,
  COMMUTATOR = <>, NEGATOR = =, RESTRICT = neqsel, JOIN = neqjoinsel
);

CREATE OPERATOR >= (
  LEFTARG = trovex_query, RIGHTARG = trovex_query, FUNCTION = trovex_query_ge,
  COMMUTATOR = <=, NEGATOR = <, RESTRICT = scalargesel, JOIN = scalargejoinsel
);

CREATE OPERATOR > (
  LEFTARG = trovex_query, RIGHTARG = trovex_query, FUNCTION = trovex_query_gt,
  COMMUTATOR = <, NEGATOR = <=, RESTRICT = scalargtsel, JOIN = scalargtjoinsel
);

CREATE OPERATOR CLASS trovex_query_ops DEFAULT FOR TYPE trovex_query USING btree AS
  OPERATOR 1 <, OPERATOR 2 <=, OPERATOR 3 =, OPERATOR 4 >=, OPERATOR 5 >,
  FUNCTION 1 trovex_query_cmp(trovex_query, trovex_query);

CREATE OPERATOR CLASS trovex_query_ops DEFAULT FOR TYPE trovex_query USING hash AS
  OPERATOR 1 =,
  FUNCTION 1 trovex_query_hash(trovex_query),
  FUNCTION 2 trovex_query_hash_extended(trovex_query, bigint);
