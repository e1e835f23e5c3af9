-- The operator and its function.
SELECT 'Das Haus am Hof' @~ '(Haus|Hof) &20 !Garten' AS yes, 'Haus' @~ 'Hof' AS no,
       'eine ÜBUNG' @~ 'übung' AS umlauts, 'Herr Meyer' @~ '~Maier' AS sounds,
       'Hausboot' @~ trovex_query('Haus', 'words') AS whole_words, 'haus' @~ '{case} Haus' AS case_counts,
       'Strasse' @~ '{variants} Straße' AS spellings, '' @~ '!a' AS empty_text,
       trovex_matches('Haus', 'Haus') AS as_a_function;
SELECT 'Haus'::varchar(10) @~ 'haus' AS of_varchar, 'Haus'::char(10) @~ 'haus ' AS of_char, 'haus'::name::text @~ 'Haus' AS of_name;

-- One query over many rows, and many queries over one.
CREATE TEMPORARY TABLE texts (id integer, body text);
INSERT INTO texts VALUES (1, 'Das Haus am Hof'), (2, 'Ein Garten hinter dem Haus'), (3, NULL), (4, ''), (5, 'Der Hof');
SELECT id FROM texts WHERE body @~ 'Haus & !Garten' ORDER BY id;
SELECT id, typed FROM texts, (VALUES ('Haus'), ('Hof'), ('!Haus'), ('Haus & Garten'), ('Hof')) AS queries(typed)
WHERE body @~ typed::trovex_query ORDER BY id, typed;
PREPARE find(trovex_query) AS SELECT id FROM texts WHERE body @~ $1 ORDER BY id;
EXECUTE find('Hof');
SET plan_cache_mode = force_generic_plan;
EXECUTE find('Garten');
EXECUTE find('{words} Ha');
RESET plan_cache_mode;
DEALLOCATE find;

-- Items: the first character, how many, the item; brackets by their numbers.
SELECT * FROM trovex_items('Tür, TÜR und Haustür', 'tür');
SELECT * FROM trovex_items('„Frau Köhler“ – Herr Groß', '{case} (Herr|Frau) ([A-ZÄÖÜ][a-zäöüß]+)');
SELECT * FROM trovex_items('Hof und Hofplatz', '(Hof)(platz)? & (und)');
SELECT * FROM trovex_items('nichts', 'Haus');
SELECT * FROM trovex_items('nichts', '!Haus');
SELECT * FROM trovex_items(NULL, 'Haus');
SELECT start, item FROM trovex_items('a😀b→a', 'a|b');
SELECT start, length, item FROM trovex_items('ab', 'x*');
SELECT item = substr(body, start, length) AS stands_there
FROM (VALUES ('Äpfel, Birnen und Äpfelchen')) AS texts(body), trovex_items(body, 'Äpfel[a-z]*|und');
SELECT id, (trovex_items(body, 'Ha|Ho')).item FROM texts ORDER BY id;
SELECT id, found.* FROM texts LEFT JOIN trovex_items(body, 'Hof|Haus') AS found ON true ORDER BY id, start;
SELECT start FROM trovex_items(repeat('ab ', 1000), 'a', 3);
SELECT count(*), sum(start) FROM trovex_items(repeat('ab ', 1000), 'a');
SELECT count(*) FROM trovex_items(repeat('ab ', 100), '(a) & (b)', 0);
SELECT * FROM trovex_items('a', 'a', -1);

SELECT trovex_count('Haus, Rathaus, Hof', 'Haus|Hof'), trovex_count('nichts', 'Haus'), trovex_count('', '!Haus');
SELECT trovex_count(repeat(E'Das Haus.\n', 100000), 'Haus') AS in_a_long_text,
       trovex_count(repeat('Das Hausboot. ', 100000), '(Haus) &1w Das') AS in_one_line;

-- Marked texts.
SELECT trovex_highlight('Tür und Tor', 'tür|tor'), trovex_highlight('Tür und Tor', 'o', '[', ']'), trovex_highlight('nichts', 'Haus');
SELECT trovex_highlight('aaa bcd', 'a & bcd & cd & d', '<', '>') AS none_inside_another, trovex_highlight('ab', 'x*', '<', '>') AS empty_items;
SELECT trovex_highlight('', '!a');
SELECT trovex_highlight('a', NULL) IS NULL;

\set body '''eins zwei drei vier fünf sechs sieben acht neun zehn elf zwölf dreizehn'''
SELECT trovex_snippet(:body, 'sieben', words => 4);
SELECT trovex_snippet(:body, 'eins', words => 4);
SELECT trovex_snippet(:body, 'dreizehn', words => 4);
SELECT trovex_snippet(:body, 'zwei|neun|elf|zwölf', '[', ']', ' … ', 5);
SELECT trovex_snippet(:body, 'drei.*zehn', words => 4);
SELECT trovex_snippet(:body, 'nichts', words => 3);
SELECT trovex_snippet(:body, 'acht', words => 1);
SELECT trovex_snippet(:body, 'acht');
SELECT trovex_snippet(:body, 'acht', words => 100);
SELECT trovex_snippet('  ein  Wort  ', 'wort', words => 1) || '|', trovex_snippet('', '!a', words => 1) || '|',
       trovex_snippet('   ', '!a', words => 1) || '|', trovex_snippet(E'a\n\tb', 'b') || '|';
SELECT trovex_snippet('a b c', '[ ]', words => 1) || '|' AS found_between_words;
SELECT trovex_snippet('a', 'a', words => 0);
SELECT trovex_snippet('a', 'a', words => 10001);

SELECT trovex_explain('(Haus|Hof) &20 !Garten & ~Meier');

-- A search that cannot decide says so.
SELECT repeat('ab', 10000) @~ trovex_query(repeat('a &20 b &20 ', 2000) || 'a');
\echo :LAST_ERROR_SQLSTATE
