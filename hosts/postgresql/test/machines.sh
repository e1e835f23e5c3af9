# Three servers: one is asked, and two others hold two thirds of the texts. The query is sent to where the
# texts are, they are searched at the same time, and a server that stops is told of at once.

start_cluster machine_a --encoding=UTF8 --locale=C.UTF-8
start_cluster machine_b --encoding=UTF8 --locale=C.UTF-8
first=${port_of[machine_a]}
second=${port_of[machine_b]}
createdb -T template0 -E UTF8 machines
export PGDATABASE=machines

for port in "$first" "$second"; do
  sql -p "$port" -d postgres <<'SQL'
CREATE EXTENSION trovex;
CREATE TABLE texts (id integer, body text);
CREATE VIEW endless_texts AS
SELECT id, body FROM texts, generate_series(1, 100000) AS round WHERE pg_sleep(0.03) IS NOT NULL;
SQL
done
sql -v first="$first" -v second="$second" <<'SQL'
CREATE EXTENSION trovex;
CREATE EXTENSION postgres_fdw;
CREATE SERVER machine_a FOREIGN DATA WRAPPER postgres_fdw
  OPTIONS (host '127.0.0.1', port :'first', dbname 'postgres', extensions 'trovex', async_capable 'true');
CREATE SERVER machine_b FOREIGN DATA WRAPPER postgres_fdw
  OPTIONS (host '127.0.0.1', port :'second', dbname 'postgres', extensions 'trovex', async_capable 'true');
CREATE USER MAPPING FOR CURRENT_USER SERVER machine_a OPTIONS (user 'postgres');
CREATE USER MAPPING FOR CURRENT_USER SERVER machine_b OPTIONS (user 'postgres');
CREATE TABLE texts (id integer, body text) PARTITION BY HASH (id);
CREATE TABLE texts_here PARTITION OF texts FOR VALUES WITH (MODULUS 3, REMAINDER 0);
CREATE FOREIGN TABLE texts_a PARTITION OF texts FOR VALUES WITH (MODULUS 3, REMAINDER 1) SERVER machine_a OPTIONS (table_name 'texts');
CREATE FOREIGN TABLE texts_b PARTITION OF texts FOR VALUES WITH (MODULUS 3, REMAINDER 2) SERVER machine_b OPTIONS (table_name 'texts', batch_size '1000');
CREATE FOREIGN TABLE endless_a (id integer, body text) SERVER machine_a OPTIONS (table_name 'endless_texts');
CREATE FOREIGN TABLE endless_b (id integer, body text) SERVER machine_b OPTIONS (table_name 'endless_texts');
INSERT INTO texts
SELECT i, 'Zeile ' || i || CASE WHEN i % 7 = 0 THEN ' Das Haus am Hof' WHEN i % 11 = 0 THEN ' Haus mit Garten' ELSE ' nichts' END
FROM generate_series(1, 6000) AS i;
ANALYZE texts;
SQL

question="SELECT id FROM texts WHERE body @~ '{words} (Haus|Hof) &20 !Garten'"
plan=$(sql -c "EXPLAIN (VERBOSE, COSTS OFF) $question")
is "both other servers are asked at the same time" 2 "$(grep -c 'Async Foreign Scan' <<<"$plan")"
is "the query is sent to them" 2 "$(grep -c 'Remote SQL: .*WHERE ((body OPERATOR(public.@~).*{words} (Haus|Hof) &20 !Garten' <<<"$plan")"
is "all three find what is theirs" "$((6000 / 7))" "$(sql -c "SELECT count(*) FROM ($question) AS found WHERE id % 7 = 0")"
is "and nothing else" "$((6000 / 7))" "$(sql -c "SELECT count(*) FROM ($question) AS found")"
is "the functions are sent too" 1 "$(sql \
  -c "EXPLAIN (VERBOSE, COSTS OFF) SELECT sum(trovex_count(body, 'Haus')) FROM texts_a WHERE body @~ 'Haus'" | grep -c 'Remote SQL: SELECT sum(public.trovex_count')"

# One of them stops while both are searching. The search would take days, so it ends for no other reason.
endless="SELECT count(*) FROM (SELECT * FROM endless_a UNION ALL SELECT * FROM endless_b) AS texts WHERE body @~ 'Haus'"
(sql -c "$endless" >"$scratch/stopped" 2>&1 || true) &
asked=$!
under_way="SELECT count(*) FROM pg_stat_activity WHERE state = 'active' AND application_name = 'postgres_fdw'"
# wait_for PORT COUNT: until so many searches are under way there; tells how many there are in the end.
wait_for() {
  local count
  for ((round = 0; round < 1000; ++round)); do
    count=$(sql -p "$1" -d postgres -c "$under_way")
    [ "$count" != "$2" ] || break
    sleep 0.2
  done
  echo "$count"
}
is "the searches are under way" "1 1" "$(wait_for "$first" 1) $(wait_for "$second" 1)"
stop_cluster machine_b immediate
wait "$asked"
is "a server that stops is an error, and nothing hangs" t "$(grep -q 'ERROR' "$scratch/stopped" && grep -qE 'terminating connection|server closed the connection|shutting down' "$scratch/stopped" && echo t)"
is "the other one was told to stop" 0 "$(wait_for "$first" 0)"
is "a server that is away is told by its name" 'could not connect to server "machine_b"' "$(sql -c "$question" 2>&1 | grep -o 'could not connect.*')"
is "the others can be asked" t "$(sql -c "SELECT count(*) > 0 FROM texts_a WHERE body @~ 'Haus'")"
start_cluster machine_b
is "all is well when it is back" "$((6000 / 7))" "$(sql -c "SELECT count(*) FROM ($question) AS found")"

# A server that has another idea of what is a query: the fault comes from there, with its place.
is "a question with a fault is refused here" 'ERROR:  The closing bracket ) is missing in a subexpression.' \
  "$(sql -c "SELECT id FROM texts WHERE body @~ '(Haus'" 2>&1 | head -n 1)"
# A server without the extension is not sent the operator when it is not promised to have it.
sql -c "ALTER SERVER machine_a OPTIONS (DROP extensions)" 2>&1
is "without the promise the texts are fetched and searched here" 1 "$(sql -c "EXPLAIN (VERBOSE, COSTS OFF) $question" | grep -c 'Remote SQL: .*@~')"
is "and found as well" "$((6000 / 7))" "$(sql -c "SELECT count(*) FROM ($question) AS found")"
unset PGDATABASE
