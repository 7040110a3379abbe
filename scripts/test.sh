#!/usr/bin/env bash
# Installs what is missing, builds, starts a throw-away PostgreSQL server on
# loopback and runs the whole test suite against SQLite files and that
# server. Extra arguments go to ctest (for example -R ado).
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
build="${VELMORA_BUILD_DIR:-$root/build}"

"$root/scripts/setup.sh"
VELMORA_BUILD_DIR="$build" "$root/scripts/build.sh"
"$root/scripts/run_ctest.sh" "$build" "$@"
