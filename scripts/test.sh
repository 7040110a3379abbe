#!/usr/bin/env bash
# Installs what is missing, builds, starts a throw-away PostgreSQL server on
# loopback and runs the whole test suite against SQLite files and that
# server. Extra arguments go to ctest (for example -R ado).
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
build="${VELMORA_BUILD_DIR:-$root/build}"

"$root/scripts/setup.sh"
"$root/scripts/build.sh"

pgdir="$build/pg"
cleanup() { "$root/scripts/pg.sh" stop "$pgdir" || true; }
trap cleanup EXIT
VELMORA_PG_ODBC="$("$root/scripts/pg.sh" start "$pgdir")"
export VELMORA_PG_ODBC
echo "test: PostgreSQL test server up ($VELMORA_PG_ODBC)"

cd "$build"
ctest --output-on-failure --parallel "$(nproc)" --timeout 900 "$@"
