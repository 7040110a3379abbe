#!/usr/bin/env bash
# Configures and builds into build/ (or $VELMORA_BUILD_DIR). Extra arguments
# go to CMake's configure step (for example -DVELMORA_SANITIZE=ON).
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
build="${VELMORA_BUILD_DIR:-$root/build}"
werror=OFF
if [ "${CI:-}" = "true" ]; then werror=ON; fi
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE="${VELMORA_BUILD_TYPE:-RelWithDebInfo}" \
      -DVELMORA_WERROR="$werror" "$@" >/dev/null
cmake --build "$build" --parallel "$(nproc)"
