-- An index of trigrams that stands on the column already brings the candidates.
CREATE EXTENSION pg_trgm;
CREATE TABLE documents (id integer, body text);
INSERT INTO documents
SELECT i, 'Zeile ' || i || ' ' || (ARRAY['Datei', 'Verzeichnis', 'Haus', 'Garten', 'Straße', 'Tür'])[1 + i % 6] || ' ' || md5(i::text)
FROM generate_series(1, 20000) AS i;
INSERT INTO documents VALUES (0, 'Die Datei liegt im Verzeichnis'), (-1, 'DATEI IM VERZEICHNIS'), (-2, 'Datei ' || repeat('x', 30) || 'Verzeichnis');
CREATE INDEX documents_trigrams ON documents USING gin (body gin_trgm_ops);
VACUUM ANALYZE documents;

EXPLAIN (COSTS OFF) SELECT * FROM documents WHERE body @~ 'Datei &20 Verzeichnis';
SELECT id FROM documents WHERE body @~ 'Datei &20 Verzeichnis' ORDER BY id;
EXPLAIN (COSTS OFF) SELECT * FROM documents WHERE trovex_matches(body, 'Datei &20 Verzeichnis');

SET enable_seqscan = off;
-- One of several strings; case; what LIKE and regular expressions would read as signs.
EXPLAIN (COSTS OFF) SELECT * FROM documents WHERE body @~ '(Haus|Garten).*abc';
EXPLAIN (COSTS OFF) SELECT * FROM documents WHERE body @~ '{case} Haus|Garten & Zeile';
EXPLAIN (COSTS OFF) SELECT * FROM documents WHERE body @~ '100%\. ab_c\\d[.]';
EXPLAIN (COSTS OFF) SELECT * FROM documents WHERE body @~ 'ab[.]def|ghi\$jkl';
EXPLAIN (COSTS OFF) SELECT * FROM documents WHERE body @~ 'Türgriff & Straßenbahn & Auto & Omnibus & Fahrrad & Roller';
-- Words with umlauts, in each way in which they can be written; what they hold is not asked for again.
EXPLAIN (COSTS OFF) SELECT * FROM documents WHERE body @~ 'müde';
EXPLAIN (COSTS OFF) SELECT * FROM documents WHERE body @~ '{case} Ärger & Haus & (Größe)';
EXPLAIN (COSTS OFF) SELECT * FROM documents WHERE body @~ '(Türgriff &20 !Käse) & rgriff & Fuß (Bär|Käse)';
EXPLAIN (COSTS OFF) SELECT * FROM documents WHERE body @~ '{variants} müde';
-- Where nothing is promised, or nothing that trigrams could find, nothing is offered.
EXPLAIN (COSTS OFF) SELECT * FROM documents WHERE body @~ '!Haus';
EXPLAIN (COSTS OFF) SELECT * FROM documents WHERE body @~ '~Meier';
EXPLAIN (COSTS OFF) SELECT * FROM documents WHERE body @~ 'ab|Garten';
EXPLAIN (COSTS OFF) SELECT * FROM documents WHERE body @~ 'Tü & a-b|Tür';
-- A query that is known only when it runs is planned for when it is known.
PREPARE find(trovex_query) AS SELECT id FROM documents WHERE body @~ $1;
EXPLAIN (COSTS OFF) EXECUTE find('Verzeichnis & Zeile 7');
DEALLOCATE find;
-- With other conditions, in expressions, in partial indexes, in indexes of the other kind.
EXPLAIN (COSTS OFF) SELECT * FROM documents WHERE body @~ 'Datei' AND body ILIKE '%cafe%';
EXPLAIN (COSTS OFF) SELECT * FROM documents WHERE body @~ 'Datei & cafe' OR body @~ 'Haus & cafe';
DROP INDEX documents_trigrams;
EXPLAIN (COSTS OFF) SELECT * FROM documents WHERE body @~ 'Datei & cafe';
CREATE INDEX documents_trigrams ON documents USING gist (lower(body) gist_trgm_ops) WHERE id > 10;
EXPLAIN (COSTS OFF) SELECT * FROM documents WHERE lower(body) @~ 'Datei & cafe' AND id > 10;
DROP INDEX documents_trigrams;
-- Turkish has two letters i, and what ILIKE finds there is not what a query finds.
CREATE TABLE turkish (body text COLLATE "tr-x-icu");
INSERT INTO turkish VALUES ('DATEI'), ('datei');
CREATE INDEX turkish_trigrams ON turkish USING gin (body gin_trgm_ops);
EXPLAIN (COSTS OFF) SELECT * FROM turkish WHERE body @~ 'Datei';
SELECT body FROM turkish WHERE body @~ 'Datei' ORDER BY body COLLATE "C";
RESET enable_seqscan;

-- Whatever the query is, the index loses no row. Texts and queries are made at random of the same pieces.
CREATE TABLE pieces (texts text[], queries text[]);
INSERT INTO pieces VALUES (
  ARRAY['Datei', 'DATEI', 'datei', 'Verzeichnis', 'Haus', 'haus', 'Rathaus', 'Tür', 'TÜR', 'Straße', 'Strasse', 'ung', 'Übung',
        'müde', 'MÜDE', E'mu\u0308de', 'Käse', E'KA\u0308SE', 'café',
        'a', 'ab', 'abc', 'ABC', 'x_y', '100%', 'c:\tmp', 'a.b', 'e-Mail', '1234', ' ', ' ', ' ', E'\n', ', ', 'é', 'É', '😀', 'ſ', 'K', E'\u212A', 'İ', 'ı', 'I'],
  ARRAY['Datei', 'datei', 'Verzeichnis', 'Haus', 'haus', 'Tür', 'Straße', 'Strasse', '[a-z]+ung', 'abc', 'ab?c', 'x_y', '100%', 'c:\\tmp', 'a\.b',
        'a.b', 'e-Mail', '12+34', 'Übung', '(Haus|Hof)', '(abc|Datei)+', '(Rat)?haus', '[Hh]aus', 'hau[st]', '~Datei', '\<Datei', 'tür|haus|ung', 'müde', 'Käse', 'KÄSE', 'mü', 'e müde', 'café', 'Tür Haus', '(müde)', '(Käse)|(Haus)', 'müde+', 'i', 'II?', 'k']);
CREATE TABLE random_texts (id serial, body text);
CREATE FUNCTION fill_random_texts(count integer) RETURNS void LANGUAGE plpgsql AS $$
DECLARE
  p text[] := (SELECT texts FROM pieces);
  made text;
BEGIN
  FOR i IN 1 .. count LOOP
    made := '';
    FOR j IN 1 .. 1 + floor(random() * 8)::int LOOP
      made := made || p[1 + floor(random() * cardinality(p))::int];
    END LOOP;
    INSERT INTO random_texts (body) VALUES (made);
  END LOOP;
END $$;
CREATE FUNCTION random_query() RETURNS trovex_query LANGUAGE plpgsql AS $$
DECLARE
  p text[] := (SELECT queries FROM pieces);
  links text[] := ARRAY[' & ', ' & ', '|', ' &5 ', ' &1w ', ' &> ', ' & !'];
  options text[] := ARRAY['', '', 'words', 'case', 'variants', 'phonetic'];
  made text := p[1 + floor(random() * cardinality(p))::int];
BEGIN
  FOR j IN 1 .. floor(random() * 3)::int LOOP
    made := made || links[1 + floor(random() * cardinality(links))::int] || p[1 + floor(random() * cardinality(p))::int];
  END LOOP;
  RETURN trovex_query(made, options[1 + floor(random() * cardinality(options))::int]);
END $$;
CREATE FUNCTION differences(queries integer) RETURNS TABLE (made_of double precision, query trovex_query, rows text, by_index integer) LANGUAGE plpgsql AS $$
DECLARE
  seed double precision := extract(microseconds FROM clock_timestamp()) / 60e6;
  by_index integer := 0;
  q trovex_query;
  scanned integer[];
  looked_up integer[];
  wrong text;
  plan text;
  line text;
BEGIN
  SET LOCAL jit = off;
  PERFORM setseed(seed);
  PERFORM fill_random_texts(1500);
  ANALYZE random_texts;
  FOR i IN 1 .. queries LOOP
    q := random_query();
    SET LOCAL enable_seqscan = on; SET LOCAL enable_bitmapscan = off; SET LOCAL enable_indexscan = off;
    EXECUTE format('SELECT array_agg(id) FROM random_texts WHERE body @~ %L', q) INTO scanned;
    SET LOCAL enable_seqscan = off; SET LOCAL enable_bitmapscan = on; SET LOCAL enable_indexscan = on;
    plan := '';
    FOR line IN EXECUTE format('EXPLAIN SELECT id FROM random_texts WHERE body @~ %L', q) LOOP
      plan := plan || line;
    END LOOP;
    IF plan LIKE '%Index Cond%' THEN by_index := by_index + 1; END IF;
    EXECUTE format('SELECT array_agg(id) FROM random_texts WHERE body @~ %L', q) INTO looked_up;
    IF coalesce((SELECT array_agg(row_id ORDER BY row_id) FROM unnest(scanned) AS row_id), '{}') <>
       coalesce((SELECT array_agg(row_id ORDER BY row_id) FROM unnest(looked_up) AS row_id), '{}') THEN
      wrong := format('%s and %s', scanned, looked_up);
      RETURN QUERY SELECT seed, q, wrong, NULL::integer;
    END IF;
  END LOOP;
  IF by_index < queries / 3 THEN RETURN QUERY SELECT seed, NULL::trovex_query, NULL::text, by_index; END IF;
END $$;
CREATE INDEX random_gin ON random_texts USING gin (body gin_trgm_ops);
SELECT * FROM differences(150);
DROP INDEX random_gin;
CREATE INDEX random_gist ON random_texts USING gist (body gist_trgm_ops);
SELECT * FROM differences(100);
