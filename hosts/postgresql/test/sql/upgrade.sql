-- Whoever has version 1.0 gets to what version 1.1 installs.
CREATE VIEW members AS
  SELECT pg_describe_object(classid, objid, 0) AS member
  FROM pg_depend
  WHERE refclassid = 'pg_extension'::regclass
    AND refobjid = (SELECT oid FROM pg_extension WHERE extname = 'trovex');

CREATE EXTENSION trovex VERSION '1.0';
CREATE TABLE saved (name text, query trovex_query);
INSERT INTO saved VALUES ('a', 'Haus & Garten'), ('b', '{words} Haus'), ('c', 'Haus & Garten');
SELECT DISTINCT query FROM saved;
ALTER EXTENSION trovex UPDATE TO '1.1';
SELECT DISTINCT query FROM saved ORDER BY query;
CREATE TEMPORARY TABLE upgraded AS SELECT member FROM members;
DROP TABLE saved;
DROP EXTENSION trovex;

CREATE EXTENSION trovex;
SELECT extversion FROM pg_extension WHERE extname = 'trovex';
(SELECT 'only upgraded', member FROM upgraded EXCEPT SELECT 'only upgraded', member FROM members)
UNION ALL
(SELECT 'only new', member FROM members EXCEPT SELECT 'only new', member FROM upgraded);
SELECT count(*) > 30 AS has_members FROM members;

-- Every function can run in parallel workers, and none but the planner's own sees a null.
SELECT proname FROM pg_proc
WHERE proname LIKE 'trovex%' AND (provolatile <> 'i' OR NOT proisstrict OR proparallel <> 's');
DROP VIEW members;
