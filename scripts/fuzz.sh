#!/usr/bin/env bash
# Builds every fuzz target (clang, libFuzzer, AddressSanitizer and
# UndefinedBehaviorSanitizer) in build-fuzz/ (or $VELMORA_FUZZ_BUILD_DIR) and
# runs each fuzz_* target for SECONDS seconds (default 60). A target that
# crashes, leaks or trips a sanitizer makes the script fail; the input that
# did it is left in the build folder (crash-*, leak-*, timeout-*).
#
#   scripts/fuzz.sh [SECONDS] [TARGET...]     # TARGET: fuzz_flags_ini ...
#
# Corpora grow in <build>/fuzz-corpus/<target>; seeds in fuzz/corpus/<target>
# are read when that folder exists.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
build="${VELMORA_FUZZ_BUILD_DIR:-$root/build-fuzz}"
seconds="${1:-60}"
shift || true

cmake -S "$root" -B "$build" -G Ninja -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_C_COMPILER=clang \
      -DVELMORA_FUZZ=ON -DVELMORA_SANITIZE=ON -DVELMORA_TESTS=OFF -DVELMORA_BENCHMARKS=OFF >/dev/null
if [ "$#" -gt 0 ]; then
  targets=("$@")
else
  mapfile -t targets < <(cd "$root/fuzz" && ls ./*.cpp | sed 's|^\./|fuzz_|; s|\.cpp$||')
fi
cmake --build "$build" --parallel "${VELMORA_JOBS:-2}" --target "${targets[@]}"

export ASAN_OPTIONS="${ASAN_OPTIONS:-detect_leaks=1}"
export UBSAN_OPTIONS="${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}"
failed=()
for target in "${targets[@]}"; do
  corpus="$build/fuzz-corpus/$target"
  mkdir -p "$corpus"
  seeds=()
  if [ -d "$root/fuzz/corpus/$target" ]; then seeds=("$root/fuzz/corpus/$target"); fi
  echo "== $target: $seconds s"
  if ! (cd "$build" && "$build/fuzz/$target" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 \
          -print_final_stats=1 "$corpus" "${seeds[@]}" 2>"$build/$target.log"); then
    failed+=("$target")
    tail -n 40 "$build/$target.log"
  else
    grep -E '^(stat::number_of_executed_units|Done)' "$build/$target.log" || true
  fi
done
if [ "${#failed[@]}" -gt 0 ]; then
  echo "failed: ${failed[*]}" >&2
  exit 1
fi
echo "all fuzz targets ran clean for $seconds s each"
