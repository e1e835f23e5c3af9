# What a server does beside answering: dumps, other locales, cancelled searches, workers, memory.

createdb -T template0 -E UTF8 --locale=C.UTF-8 server
export PGDATABASE=server
sql -c 'CREATE EXTENSION trovex' -c 'CREATE EXTENSION pg_trgm'

# Queries survive a dump, with their options.
sql -c "CREATE TABLE saved (id integer, query trovex_query DEFAULT '{words} Haus', CHECK (id > 0 OR 'Haus' @~ query))" \
  -c "INSERT INTO saved VALUES (1, '(Haus|Hof) &20 !Garten'), (2, '{case,variants} Straße'), (3, E' a\\\\&b ''c''')" \
  -c "CREATE INDEX ON saved (query)"
sql -c "CREATE TABLE counted (id integer, body text, hit boolean GENERATED ALWAYS AS (body @~ '{words} Haus') STORED)" \
  -c "INSERT INTO counted VALUES (1, 'ein Haus, ein Hof'), (2, 'ein Hof, ein Garten')" \
  -c "CREATE INDEX counted_items ON counted (trovex_count(body, '{case} Haus|Hof'))" \
  -c "CREATE INDEX counted_hits ON counted (id) WHERE body @~ '(Haus|Hof) &20 !Garten'"
createdb -T template0 -E UTF8 restored
pg_dump server | psql -X -q -v ON_ERROR_STOP=1 -d restored >/dev/null
is "a dump brings the queries back" "$(sql -c 'TABLE saved ORDER BY id')" "$(sql -d restored -c 'TABLE saved ORDER BY id')"
is "and columns that are searched for" "1|t 2|f" "$(sql -d restored -c 'SELECT id, hit FROM counted ORDER BY id' | xargs)"
definitions="SELECT pg_get_indexdef(indexrelid) FROM pg_index WHERE indrelid = 'counted'::regclass ORDER BY 1"
is "and the indexes of what is found" "$(sql -c "$definitions")" "$(sql -d restored -c "$definitions")"
is "which serve as they did" "counted_items 1 counted_hits 1" "$(sql -d restored -c 'SET enable_seqscan = off' -c 'SET enable_bitmapscan = off' \
  -c "EXPLAIN (COSTS OFF) SELECT id FROM counted WHERE trovex_count(body, '{case} Haus|Hof') = 2" -c "SELECT id FROM counted WHERE trovex_count(body, '{case} Haus|Hof') = 2" \
  -c "EXPLAIN (COSTS OFF) SELECT id FROM counted WHERE body @~ '(Haus|Hof) &20 !Garten' AND id < 9" -c "SELECT id FROM counted WHERE body @~ '(Haus|Hof) &20 !Garten' AND id < 9" |
  grep -oE 'counted_(items|hits)|^[0-9]+$' | xargs)"

# Where the server can ask whether a value would be taken (16 and later), a fault is an answer.
if [ "$(sql -c "SELECT current_setting('server_version_num')::integer >= 160000")" = t ]; then
  is "a fault can be asked for" "t f f The closing bracket ) is missing in a subexpression." "$(sql \
    -c "SELECT concat_ws(' ', pg_input_is_valid('{words} Haus', 'trovex_query'), pg_input_is_valid('(Haus', 'trovex_query'), pg_input_is_valid('{word} Haus', 'trovex_query'), message) FROM pg_input_error_info('(Haus', 'trovex_query')")"
fi

# Turkish as the language of a whole database: no index is offered, and nothing is lost.
createdb -T template0 -E UTF8 --locale-provider=icu --icu-locale=tr turkish
is "a Turkish database finds I and i" "DATEI datei Datei" "$(sql -d turkish -c 'CREATE EXTENSION trovex' \
  -c 'CREATE EXTENSION pg_trgm' -c "CREATE TABLE texts AS SELECT unnest(ARRAY['DATEI', 'datei', 'Datei']) AS body" \
  -c 'CREATE INDEX ON texts USING gin (body gin_trgm_ops)' -c 'SET enable_seqscan = off' \
  -c "SELECT string_agg(body, ' ') FROM texts WHERE body @~ 'Datei'")"

# Workers find what one process finds, and each compiles the query for itself.
sql <<'SQL'
CREATE TABLE texts AS
SELECT i AS id, 'Zeile ' || i || CASE WHEN i % 7 = 0 THEN ' Haus und Hof' ELSE ' Garten' END AS body FROM generate_series(1, 100000) AS i;
ANALYZE texts;
SQL
workers="SET max_parallel_workers_per_gather = 2; SET parallel_setup_cost = 0; SET parallel_tuple_cost = 0; SET min_parallel_table_scan_size = 0"
question="SELECT count(*), sum(trovex_count(body, 'Haus|Hof')) FROM texts WHERE body @~ '(Haus) &10 !Garten'"
is "workers are planned" t "$(sql -c "$workers" -c "EXPLAIN $question" | grep -q 'Workers Planned: 2' && echo t)"
is "workers find the same" "$(sql -c "SET max_parallel_workers_per_gather = 0" -c "$question")" "$(sql -c "$workers" -c "$question")"

# A search in a long text ends soon when it is cancelled, and so does one with a great many items. To its end, each
# would take the processor from some ten seconds to minutes. (The time of day tells nothing on a busy machine.)
sql <<'SQL'
CREATE FUNCTION processor_seconds() RETURNS numeric LANGUAGE sql AS $$
  SELECT (split_part(stat, ' ', 14)::numeric + split_part(stat, ' ', 15)::numeric) / 100 FROM pg_read_file('/proc/self/stat') AS stat
$$;
SQL
ends_soon() {
  local what=$1 query=$2 answer
  answer=$(psql -X -q -At 2>&1 <<SQL
SET statement_timeout = '300ms';
$query;
RESET statement_timeout;
SELECT processor_seconds() < 2, round(processor_seconds(), 2);
SQL
)
  is "$what says that it was cancelled" "ERROR:  canceling statement due to statement timeout" "$(head -n 1 <<<"$answer")"
  is "$what ends soon (after ${answer##*|} s of the processor)" t "$(tail -n 1 <<<"${answer%|*}")"
}
sql -c "CREATE TABLE long_texts AS SELECT repeat(E'abcdefghij klmnopqrst uvwxyz\\n', 3000000) || repeat(' ', 100) || 7 AS lines, repeat('abcdefghij klmnopqrst uvwxyz ', 3000000) || repeat(' ', 100) || 7 AS line"
ends_soon "a verdict" "SELECT lines @~ '([b-y] &>3 [c-x]) &50 [0-9]' FROM long_texts"
ends_soon "a verdict on one line" "SELECT line @~ '([b-y] &>3 [c-x]) &50 [0-9]' FROM long_texts"
ends_soon "a count on one line" "SELECT trovex_count(line, '[a-z]') FROM long_texts"
ends_soon "a count" "SELECT trovex_count(lines, '[a-z]') FROM long_texts"
ends_soon "a set of items" "SELECT count(*) FROM long_texts, trovex_items(lines, '([a-z])')"
ends_soon "a highlighting" "SELECT length(trovex_highlight(lines, '[a-z]', '', '')) FROM long_texts"
is "the session goes on after a cancelled search" "1|t" "$(psql -X -q -At <<'SQL' 2>/dev/null
SET statement_timeout = '200ms';
SELECT trovex_count(lines, '[a-z]') FROM long_texts;
RESET statement_timeout;
SELECT trovex_count('Haus', 'Haus'), 'a' @~ '[a-z]';
SQL
)"
is "what is too large for a value says so" "ERROR:  out of memory" "$(sql -c "SELECT length(trovex_highlight(lines, '[a-z]', '<em class=\"found\">', '</em>')) FROM long_texts" 2>&1 | head -n 1)"
sql -c 'DROP TABLE long_texts'

# Memory that runs out, in the library or around it, is an error, and the session goes on.
sql -c "CREATE TABLE large_text AS SELECT repeat('äbcdefghij klmn ', 4000000) AS line"
cat >"$scratch/no_memory.sql" <<'SQL'
SELECT trovex_count('warm', 'w') AS warm, pg_backend_pid() AS pid \gset
\setenv PID :pid
\! prlimit --pid $PID --as=$(($(awk '/^VmSize/ { print $2 * 1024 }' /proc/$PID/status) + $ROOM * 1000000))
SELECT line @~ '[Ä-Ü][a-z] &20 [0-9]' FROM large_text;
SELECT length(trovex_highlight(line, 'klm')) FROM large_text;
SELECT trovex_count('Haus', 'Haus');
SQL
is "memory that runs out is an error" "ERROR: out of memory ERROR: out of memory 1" \
  "$(ROOM=120 as_owner env PATH="$PATH" psql -X -q -At -f "$scratch/no_memory.sql" 2>&1 | grep -v DETAIL | sed 's/^psql:[^ ]* //' | xargs)"
is "and can be had in the library" "DETAIL: Failed on a search in 68000000 bytes." \
  "$(ROOM=120 as_owner env PATH="$PATH" psql -X -q -At -f "$scratch/no_memory.sql" 2>&1 | grep 'on a search' | xargs)"
sql -c 'DROP TABLE large_text'

# Memory does not grow: with many queries one after the other, with errors, with many rows and items.
is "memory does not grow" t "$(sql <<'SQL'
CREATE FUNCTION resident() RETURNS bigint LANGUAGE sql AS $$
  SELECT substring(pg_read_file('/proc/self/status') FROM 'VmRSS:\s+(\d+)')::bigint
$$;
CREATE FUNCTION work(rounds integer) RETURNS void LANGUAGE plpgsql AS $$
BEGIN
  FOR i IN 1 .. rounds LOOP
    PERFORM body @~ trovex_query('Haus|Hof & ' || i % 500), trovex_count(body, '(Ha)(us)'), trovex_highlight(body, 'Hof'), trovex_snippet(body, 'Hof') FROM texts WHERE id = 7 LIMIT 1;
    PERFORM count(*) FROM trovex_items('Das Haus am Hof ' || i, '(Haus)|(Hof)|(\d+)');
    BEGIN
      PERFORM trovex_query('(Haus' || i % 100);
    EXCEPTION WHEN invalid_text_representation THEN NULL;
    END;
  END LOOP;
END $$;
CREATE INDEX ON texts (id);
SELECT work(2000) IS NULL AS begun \gset
SELECT resident() AS before \gset
SELECT work(6000) IS NULL AS done \gset
SELECT resident() - :before < 8000;
SQL
)"
unset PGDATABASE
