#!/usr/bin/env bash
# Starts or stops a throw-away PostgreSQL cluster on loopback for the tests.
#   scripts/pg.sh start DIR   initialise (if needed) and start; prints the
#                             ODBC connection string of the test database
#   scripts/pg.sh stop DIR    stop it
# The server refuses to run as root, so as root the cluster belongs to the
# unprivileged "postgres" user (created by the server package).
set -euo pipefail
cmd="${1:?start|stop}"
dir="$(mkdir -p "${2:?cluster folder}" && cd "$2" && pwd)"
bindir="$(ls -d /usr/lib/postgresql/*/bin | sort -V | tail -n 1)"
port_file="$dir/port"

as_owner() {
  if [ "$(id -u)" -eq 0 ]; then runuser -u postgres -- "$@"; else "$@"; fi
}

case "$cmd" in
  start)
    if [ "$(id -u)" -eq 0 ]; then chown postgres "$dir"; fi
    if [ ! -f "$dir/data/PG_VERSION" ]; then
      as_owner "$bindir/initdb" -D "$dir/data" -A trust -U velmora -E UTF8 --locale=C.UTF-8 >/dev/null
    fi
    port=$(python3 -c 'import socket; s=socket.socket(); s.bind(("127.0.0.1",0)); print(s.getsockname()[1])')
    echo "$port" >"$port_file"
    as_owner "$bindir/pg_ctl" -D "$dir/data" -l "$dir/server.log" -w -t 60 \
      -o "-k $dir -p $port -c listen_addresses=127.0.0.1 -c fsync=off -c max_connections=100" start >/dev/null
    as_owner "$bindir/psql" -h 127.0.0.1 -p "$port" -U velmora -d postgres -qtAc \
      "SELECT 1 FROM pg_database WHERE datname='velmora_test'" | grep -q 1 ||
      as_owner "$bindir/psql" -h 127.0.0.1 -p "$port" -U velmora -d postgres -qc "CREATE DATABASE velmora_test" >/dev/null
    echo "DRIVER={PostgreSQL Unicode};SERVER=127.0.0.1;PORT=$port;DATABASE=velmora_test;UID=velmora;PWD=;CommLog=0;Debug=0"
    ;;
  stop)
    if [ -f "$dir/data/postmaster.pid" ]; then
      as_owner "$bindir/pg_ctl" -D "$dir/data" -m fast -w stop >/dev/null || true
    fi
    ;;
  *) echo "usage: $0 start|stop DIR" >&2; exit 2 ;;
esac
