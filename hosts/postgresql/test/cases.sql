-- What holds a case of tests/shared against the server: a function that tells how they differ, and null
-- where they do not.
CREATE FUNCTION query_of(c jsonb) RETURNS trovex_query LANGUAGE sql AS $$
  SELECT trovex_query(c ->> 'expression', coalesce((SELECT string_agg(o, ',') FROM jsonb_array_elements_text(c -> 'options') AS o), ''))
$$;

CREATE FUNCTION text_of(c jsonb) RETURNS text LANGUAGE sql AS $$
  SELECT coalesce(c ->> 'text', convert_from(decode(replace(c ->> 'bytes', ' ', ''), 'hex'), getdatabaseencoding()))
$$;

-- Without the texts of the items where `c` does not have them.
CREATE FUNCTION items_of(c jsonb) RETURNS jsonb LANGUAGE sql AS $$
  SELECT coalesce(jsonb_agg(
    jsonb_build_object('begin', start - 1, 'end', start - 1 + length,
      'tags', (SELECT coalesce(jsonb_object_agg(number, jsonb_build_array(tag_starts[number] - 1, tag_starts[number] - 1 + char_length(tags[number]))), '{}')
               FROM generate_subscripts(tags, 1) AS number WHERE tags[number] IS NOT NULL)) ||
    CASE WHEN c -> 'items' -> (ordinality::int - 1) ? 'text' AND NOT c ? 'bytes' THEN jsonb_build_object('text', item) ELSE '{}' END
    ORDER BY ordinality), '[]')
  FROM trovex_items(text_of(c), query_of(c)) WITH ORDINALITY
$$;

CREATE FUNCTION difference_of_fault(c jsonb) RETURNS text LANGUAGE plpgsql AS $$
DECLARE
  detail text;
  place text;
  first integer := (c #>> '{fault,begin}')::integer + 1;
  last integer := greatest((c #>> '{fault,end}')::integer, first);
BEGIN
  PERFORM query_of(c);
  RETURN 'was not refused';
EXCEPTION WHEN invalid_text_representation OR program_limit_exceeded THEN
  GET STACKED DIAGNOSTICS detail = PG_EXCEPTION_DETAIL;
  place := CASE WHEN last > first THEN format('characters %s to %s', first, last) ELSE format('character %s', first) END;
  IF starts_with(detail, format('Fault %s, %s:', c #>> '{fault,number}', place)) THEN RETURN NULL; END IF;
  RETURN detail;
END $$;

CREATE FUNCTION difference_of(c jsonb) RETURNS text LANGUAGE plpgsql AS $$
DECLARE
  expected jsonb;
  found jsonb;
BEGIN
  IF c ? 'fault' THEN RETURN difference_of_fault(c); END IF;
  IF (text_of(c) @~ query_of(c)) <> (c -> 'satisfied')::boolean THEN RETURN 'the verdict is another one'; END IF;
  SELECT coalesce(jsonb_agg('{"tags": {}}' || CASE WHEN c ? 'bytes' THEN item - 'text' ELSE item END ORDER BY ordinality), '[]') INTO expected
  FROM jsonb_array_elements(c -> 'items') WITH ORDINALITY AS items(item, ordinality);
  found := items_of(c);
  IF found <> expected THEN RETURN found; END IF;
  IF trovex_count(text_of(c), query_of(c)) <> jsonb_array_length(expected) THEN RETURN 'the count is another one'; END IF;
  IF trovex_highlight(text_of(c), query_of(c), '', '') <> text_of(c) THEN RETURN 'marks of nothing change the text'; END IF;
  IF query_of(c)::text::trovex_query <> query_of(c) THEN RETURN 'the query is printed as another one'; END IF;
  RETURN NULL;
EXCEPTION WHEN OTHERS THEN
  RETURN SQLERRM;
END $$;

-- Whether a case can be told in the encoding.
CREATE FUNCTION can_be_told(c jsonb, encoding name) RETURNS boolean LANGUAGE plpgsql AS $$
BEGIN
  PERFORM convert_to(c::text, encoding);
  RETURN true;
EXCEPTION WHEN untranslatable_character THEN
  RETURN false;
END $$;

CREATE TABLE cases (c jsonb);
