#!/usr/bin/env bash
# Runs ctest in an already built tree with a throw-away PostgreSQL server on
# loopback (started under BUILD/pg, stopped on exit), so that the tests run
# against SQLite files and that server.
#   scripts/run_ctest.sh BUILD [ctest arguments...]
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
build="$(cd "${1:?build folder}" && pwd)"
shift

pgdir="$build/pg"
cleanup() { "$root/scripts/pg.sh" stop "$pgdir" || true; }
trap cleanup EXIT
VELMORA_PG_ODBC="$("$root/scripts/pg.sh" start "$pgdir")"
export VELMORA_PG_ODBC
echo "test: PostgreSQL test server up ($VELMORA_PG_ODBC)"

cd "$build"
ctest --output-on-failure --parallel "$(nproc)" --timeout 900 "$@"
