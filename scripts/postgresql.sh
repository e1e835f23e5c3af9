# Finds or installs PostgreSQL with what extensions are built with. Source it after packages.sh, and call
# need_postgresql: it sets PG_CONFIG, to that of the newest version here unless it is set already.

need_postgresql() {
  if [ -z "${PG_CONFIG:-}" ]; then
    need postgresql
    local version
    version=$(find /usr/lib/postgresql -mindepth 1 -maxdepth 1 -printf '%f\n' | sort -V | tail -n 1)
    need "postgresql-$version" "postgresql-server-dev-$version"
    PG_CONFIG=/usr/lib/postgresql/$version/bin/pg_config
  fi
  export PG_CONFIG
}
