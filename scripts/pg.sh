#!/usr/bin/env bash
# Starts or stops a throw-away PostgreSQL cluster on loopback for the tests.
#   scripts/pg.sh start DIR   initialise (if needed) and start; prints the
#                             ODBC connection string of the test database
#   scripts/pg.sh stop DIR    stop it
# The server refuses to run as root, so as root the cluster belongs to the
# unprivileged "postgres" user (created by the server package). When that user
# cannot reach DIR (a checkout under /root, say), the cluster lives in a
# folder under /tmp named after DIR, and DIR/cluster records where.
# The server listens on 127.0.0.1 only, on a free port, with no Unix socket.
set -euo pipefail
cmd="${1:?start|stop}"
dir="$(mkdir -p "${2:?cluster folder}" && cd "$2" && pwd)"
bindir="$(ls -d /usr/lib/postgresql/*/bin | sort -V | tail -n 1)"

is_root() { [ "$(id -u)" -eq 0 ]; }
as_owner() {
  if is_root; then runuser -u postgres -- "$@"; else "$@"; fi
}

# The folder that holds the cluster's data and log.
cluster_folder() {
  if [ -f "$dir/cluster" ]; then cat "$dir/cluster"; return; fi
  local folder="$dir"
  if is_root && ! runuser -u postgres -- test -x "$dir"; then
    folder="/tmp/velmora-pg-$(printf '%s' "$dir" | md5sum | cut -c1-16)"
  fi
  mkdir -p "$folder"
  if is_root; then chown postgres "$folder"; fi
  echo "$folder" >"$dir/cluster"
  echo "$folder"
}

start_on_free_port() {
  local data="$1" log="$2" port
  for _ in 1 2 3 4 5 6 7 8; do
    port=$((20000 + RANDOM % 40000))
    if as_owner "$bindir/pg_ctl" -D "$data" -l "$log" -w -t 60 \
         -o "-p $port -c listen_addresses=127.0.0.1 -c unix_socket_directories='' -c fsync=off -c max_connections=100" \
         start >/dev/null 2>&1; then
      echo "$port"
      return 0
    fi
  done
  echo "pg.sh: the server did not start; see $log" >&2
  return 1
}

psql_admin() {
  local port="$1"
  shift
  as_owner "$bindir/psql" -h 127.0.0.1 -p "$port" -U velmora -d postgres -qtA "$@"
}

case "$cmd" in
  start)
    folder="$(cluster_folder)"
    if [ ! -f "$folder/data/PG_VERSION" ]; then
      as_owner "$bindir/initdb" -D "$folder/data" -A trust -U velmora -E UTF8 --locale=C.UTF-8 >/dev/null
    fi
    port="$(start_on_free_port "$folder/data" "$folder/server.log")"
    echo "$port" >"$dir/port"
    psql_admin "$port" -c "SELECT 1 FROM pg_database WHERE datname='velmora_test'" | grep -q 1 ||
      psql_admin "$port" -c "CREATE DATABASE velmora_test" >/dev/null
    # A database whose sessions start with backslash escapes in literals, as
    # on servers configured with standard_conforming_strings off.
    psql_admin "$port" -c "SELECT 1 FROM pg_database WHERE datname='velmora_test_legacy'" | grep -q 1 || {
      psql_admin "$port" -c "CREATE DATABASE velmora_test_legacy" >/dev/null
      psql_admin "$port" -c "ALTER DATABASE velmora_test_legacy SET standard_conforming_strings = off" >/dev/null
    }
    echo "DRIVER={PostgreSQL Unicode};SERVER=127.0.0.1;PORT=$port;DATABASE=velmora_test;UID=velmora;PWD=;CommLog=0;Debug=0"
    ;;
  stop)
    folder="$(cluster_folder)"
    if [ -f "$folder/data/postmaster.pid" ]; then
      as_owner "$bindir/pg_ctl" -D "$folder/data" -m fast -w stop >/dev/null || true
    fi
    ;;
  *) echo "usage: $0 start|stop DIR" >&2; exit 2 ;;
esac
