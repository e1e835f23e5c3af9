-- What goes in comes out as it was typed.
SELECT '(Haus|Hof) &20 !Garten'::trovex_query;
SELECT ' Haus  &  Garten '::trovex_query || '|';
SELECT trovex_query('Tür & Straße');
SELECT trovex_query('Tür & Straße', 'words');
SELECT trovex_query('Tür', 'variants, case words,phonetic');
SELECT trovex_query('Tür', '');
SELECT trovex_query(' Tür ', 'case') || '|';

-- Options before the expression; one blank after them is theirs.
SELECT '{words} Haus'::trovex_query, '{words}Haus'::trovex_query, '{words}  Haus'::trovex_query;
SELECT '{CASE, words,} Haus'::trovex_query;
SELECT '{ } Haus'::trovex_query;
SELECT query = query::text::trovex_query AS same_again, query::text
FROM (VALUES (trovex_query(' a', 'words')), (trovex_query('a')), (trovex_query('a & b ', 'case,variants')),
             (trovex_query('[{}]a{2} b'))) AS typed(query);

-- Faults: the sentence, its number, and the place.
SELECT '(Katze'::trovex_query;
\echo :LAST_ERROR_SQLSTATE
SELECT 'Tür & (Äpfel'::trovex_query;
SELECT 'a→b'::trovex_query;
SELECT ''::trovex_query;
SELECT 'a !b'::trovex_query;
SELECT '(A & B) C'::trovex_query;
SELECT trovex_query('[[:foo:]] & Garten');
SELECT trovex_query(E'Haus\nund\tHof & (Äpfel|Birnen)*|b & &');
SELECT trovex_query(repeat('Haus & ', 20) || 'Garten (und Hof) &');
SELECT trovex_query('Haus (' || repeat(' & Garten', 20));
SELECT '{3} Haus'::trovex_query;
SELECT '{words Haus'::trovex_query;
SELECT '{word} Haus'::trovex_query;
SELECT trovex_query('Haus', 'words;case');
SELECT trovex_query('{words} Haus', '');
SELECT trovex_query('a{40000}');
\echo :LAST_ERROR_SQLSTATE
SELECT 'x' @~ 'a &';
\echo :LAST_ERROR_SQLSTATE

-- Null is null.
SELECT NULL::trovex_query IS NULL, ('a' @~ NULL) IS NULL, trovex_query(NULL) IS NULL;

-- The binary form, and what is none.
SELECT trovex_query_send('{words} Tür');
CREATE TEMPORARY TABLE saved (id integer, query trovex_query);
INSERT INTO saved VALUES (1, 'Haus'), (2, '{case} Haus'), (3, 'Tür & !Garten'), (4, NULL);
COPY saved TO PROGRAM 'cat >"$PGDATA/trovex_query.binary"' (FORMAT binary);
CREATE TEMPORARY TABLE restored (LIKE saved);
COPY restored FROM PROGRAM 'cat "$PGDATA/trovex_query.binary"' (FORMAT binary);
SELECT id, saved.query, restored.query IS NOT DISTINCT FROM saved.query AS same
FROM saved JOIN restored USING (id) ORDER BY id;
COPY restored FROM PROGRAM 'sed "s/\x01Haus/\x02Haus/" "$PGDATA/trovex_query.binary"' (FORMAT binary);
COPY restored FROM PROGRAM 'sed "s/\x01Haus/\x01(aus/" "$PGDATA/trovex_query.binary"' (FORMAT binary);

-- Texts become queries where they are assigned; queries become texts.
INSERT INTO saved SELECT 5, 'Zaun & ' || 'Tor'::text;
SELECT query || ' & Weg' FROM saved WHERE id = 5;
SELECT body FROM (VALUES ('ein Zaun mit Tor'), ('ein Zaun')) AS texts(body), saved WHERE id = 5 AND body @~ query;

-- Order, equality, hashing.
SELECT query FROM saved ORDER BY query;
SELECT query, count(*) FROM (TABLE saved UNION ALL TABLE restored) AS all_of_them GROUP BY query ORDER BY query;
SELECT 'a'::trovex_query < 'b', 'a'::trovex_query = '{words} a', '{words} a'::trovex_query <> 'a',
       'b'::trovex_query >= 'a', 'a'::trovex_query <= 'a', 'aa'::trovex_query > 'a';
CREATE UNIQUE INDEX ON saved (query);
INSERT INTO saved VALUES (6, 'Haus');
SET enable_hashjoin = on; SET enable_mergejoin = off; SET enable_nestloop = off;
EXPLAIN (COSTS OFF) SELECT count(*) FROM saved JOIN restored USING (query);
SELECT count(*) FROM saved JOIN restored USING (query);
RESET enable_hashjoin; RESET enable_mergejoin; RESET enable_nestloop;
