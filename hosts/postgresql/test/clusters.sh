# Servers for tests: a copy of the installed PostgreSQL with the extension added, in a temporary folder,
# and as many clusters as are asked for, on sockets and ports of their own. Nothing of the machine's own
# servers is touched. Source it, then call use_server PG_CONFIG PACKAGE first. What was started is stopped
# when the script ends.

clusters_folder=
clusters_user=
clusters_running=()

# Runs a command as the user who owns the clusters: PostgreSQL refuses to run as root.
as_owner() {
  if [ "$(id -u)" -eq 0 ]; then
    runuser -u "$clusters_user" -- "$@"
  else
    "$@"
  fi
}

stop_everything() {
  local name
  for name in "${clusters_running[@]}"; do
    as_owner "$bin/pg_ctl" -D "$clusters_folder/$name" -m immediate -w stop >/dev/null 2>&1 || true
  done
  [ -z "$clusters_folder" ] || rm -rf "$clusters_folder"
}

# use_server PG_CONFIG PACKAGE: the server that clusters run. PostgreSQL finds its files from where its
# program stands, so a copy of the programs with links to the rest is a server of its own, into which
# the package of the extension is unpacked, or copied where it is a folder.
use_server() {
  local pg_config=$1 package=$2
  clusters_folder=$(mktemp -d /tmp/trovex-postgresql.XXXXXX)
  clusters_user=postgres
  id "$clusters_user" >/dev/null 2>&1 || clusters_user=nobody
  trap stop_everything EXIT

  local server=$clusters_folder/server share lib
  bin=$server$("$pg_config" --bindir)
  share=$server$("$pg_config" --sharedir)
  lib=$server$("$pg_config" --pkglibdir)
  mkdir -p "$bin" "$share" "$lib"
  cp "$("$pg_config" --bindir)"/* "$bin/"
  cp -rs "$("$pg_config" --sharedir)"/. "$share/"
  cp -rs "$("$pg_config" --pkglibdir)"/. "$lib/"
  rm -f "$lib/trovex.so" "$share"/extension/trovex[.-]*
  if [ -d "$package" ]; then
    cp -r "$package"/. "$server/"
  else
    dpkg-deb -x "$package" "$server"
  fi
  if [ -n "${SERVER_PRELOAD:-}" ]; then
    gcc -shared -fPIC -Wl,-z,initfirst -o "$clusters_folder/first_allocation.so" \
      "$(dirname "${BASH_SOURCE[0]}")/first_allocation.c"
  fi
  chmod 755 "$clusters_folder"
  [ "$(id -u)" -ne 0 ] || chown -R "$clusters_user" "$clusters_folder"
  export PGHOST=$clusters_folder PGUSER=postgres PGDATABASE=postgres PGCONNECT_TIMEOUT=20
  unset PGPORT PGSERVICE PGPASSWORD
}

# The port of each cluster, by its name.
declare -A port_of

# start_cluster NAME [INITDB-OPTION...]: its port names the socket in the folder, and is opened on 127.0.0.1. It is
# one that nobody listens on, and should somebody have taken it by the time the server starts, another one. A
# cluster that was stopped gets the one it had.
start_cluster() {
  local name=$1 attempt preload=()
  shift
  # Leaks are not looked for: a server leaves its memory to the end of the process.
  [ -z "${SERVER_PRELOAD:-}" ] || preload=(env "LD_PRELOAD=$SERVER_PRELOAD $clusters_folder/first_allocation.so" ASAN_OPTIONS=detect_leaks=0)
  if [ ! -d "$clusters_folder/$name" ]; then
    as_owner "$bin/initdb" -D "$clusters_folder/$name" -U postgres -A trust --no-sync "$@" >/dev/null
    cat >>"$clusters_folder/$name/postgresql.conf" <<CONF
listen_addresses = '127.0.0.1'
unix_socket_directories = '$clusters_folder'
fsync = off
max_connections = 40
shared_buffers = 64MB
lc_messages = 'C'
CONF
    clusters_running+=("$name")
  fi
  for attempt in {1..20}; do
    local port=${port_of[$name]:-$(free_port)}
    if as_owner "${preload[@]}" "$bin/pg_ctl" -D "$clusters_folder/$name" -o "-p $port" -l "$clusters_folder/$name.log" -t 600 -w start \
      >/dev/null; then
      port_of[$name]=$port
      return
    fi
    sleep 1
  done
  cat "$clusters_folder/$name.log" >&2
  return 1
}

# stop_cluster NAME [MODE]
stop_cluster() {
  as_owner "$bin/pg_ctl" -D "$clusters_folder/$1" -m "${2:-fast}" -t 600 -w stop >/dev/null
}

# A port of 127.0.0.1 that nobody listens on now.
free_port() {
  local port
  for port in $(shuf -i 20000-29900 -n 50); do
    [ ! -e "$clusters_folder/.s.PGSQL.$port" ] || continue
    (: <"/dev/tcp/127.0.0.1/$port") 2>/dev/null || { echo "$port"; return; }
  done
  return 1
}
