# The cases that every host runs, in databases of several encodings. A case is left out where the encoding
# of a database lacks one of its characters; broken texts, which a database with an encoding refuses,
# are searched in one without.

load_cases() {
  local database=$1 encoding=$2
  createdb -T template0 -E "$encoding" --locale=C "$database"
  PGCLIENTENCODING=UTF8 psql -X -q -v ON_ERROR_STOP=1 -d "$database" -c 'CREATE EXTENSION trovex' -f "$here/cases.sql"
}

cases_in() {
  local database=cases_$1 least=$2 which=$3
  load_cases "$database" "$1"
  PGCLIENTENCODING=UTF8 psql -X -q -d cases_UTF8 -c "COPY (SELECT c FROM cases WHERE $which) TO STDOUT" |
    PGCLIENTENCODING=UTF8 psql -X -q -v ON_ERROR_STOP=1 -d "$database" -c 'COPY cases FROM STDIN'
  check_cases "$database" "$least"
}

check_cases() {
  local database=$1 least=$2 count
  is "$database: no case differs" "" "$(psql -X -At -d "$database" -c \
    "SELECT c ->> 'name', difference_of(c) FROM cases WHERE NOT (current_setting('server_encoding') <> 'SQL_ASCII' AND c ? 'bytes') AND difference_of(c) IS NOT NULL")"
  count=$(psql -X -At -d "$database" -c 'SELECT count(*) FROM cases')
  is "$database: at least $least cases, of $count" t "$([ "$count" -ge "$least" ] && echo t)"
}

load_cases cases_UTF8 UTF8
for file in "$cases"/*.json; do
  PGCLIENTENCODING=UTF8 psql -X -q -v ON_ERROR_STOP=1 -d cases_UTF8 -v file="$file" <<'SQL'
\set content `cat :'file'`
INSERT INTO cases SELECT jsonb_array_elements(:'content'::jsonb);
SQL
done
check_cases cases_UTF8 100
for encoding in WIN1252 LATIN1 LATIN9; do
  cases_in "$encoding" 90 "can_be_told(c, '$encoding') AND NOT c ? 'bytes'"
done
cases_in EUC_JP 50 "can_be_told(c, 'EUC_JP') AND NOT c ? 'bytes'"
cases_in SQL_ASCII 4 "c ? 'bytes' AND c ->> 'bytes' !~ '\\m00\\M'"
