#!/usr/bin/env bash
# Builds the tests with AddressSanitizer and UndefinedBehaviorSanitizer in
# build-sanitize/ (or $VELMORA_SANITIZE_BUILD_DIR) and runs them like
# scripts/test.sh does. Extra arguments go to ctest.
#
# The package test is left out: it installs the instrumented library and
# builds an uninstrumented consumer against it, which cannot link.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
build="${VELMORA_SANITIZE_BUILD_DIR:-$root/build-sanitize}"

"$root/scripts/setup.sh"
VELMORA_BUILD_DIR="$build" "$root/scripts/build.sh" -DVELMORA_SANITIZE=ON -DVELMORA_BENCHMARKS=OFF

export ASAN_OPTIONS="${ASAN_OPTIONS:-detect_leaks=1:strict_string_checks=1:detect_stack_use_after_return=1}"
export UBSAN_OPTIONS="${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}"
"$root/scripts/run_ctest.sh" "$build" -E '^package_consumer$' "$@"
