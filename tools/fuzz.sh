#!/usr/bin/env bash
# Long fuzzing runs: builds the libFuzzer targets (clang, AddressSanitizer and
# UndefinedBehaviorSanitizer) in build/fuzz and runs each for the given time.
#   tools/fuzz.sh [seconds per target, default 600] [target ...]
# Targets: run_length memory_file convert row_segments (default: all).
# Each grows its own corpus in build/fuzz/corpus/<target>, seeded from
# tests/fuzz/corpus/<target>; a crashing input lands in build/fuzz/crashes/.
# Interesting inputs worth keeping are copied into tests/fuzz/corpus by hand.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
cd "$root"
"$root/tools/setup.sh"

seconds=${1:-600}
shift || true
targets=("$@")
[ ${#targets[@]} -gt 0 ] || targets=(run_length memory_file convert row_segments)

build=build/fuzz
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DVXKRN_SANITIZE=ON -DVXKRN_FUZZ=ON \
  -DVXKRN_BUILD_BENCH=OFF -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ >/dev/null
cmake --build "$build" -j "$(nproc)" --target "${targets[@]/#/fuzz_}"

mkdir -p "$build/crashes"
status=0
for target in "${targets[@]}"; do
  corpus="$build/corpus/$target"
  mkdir -p "$corpus"
  cp -n tests/fuzz/corpus/"$target"/* "$corpus"/ 2>/dev/null || true
  echo "==== fuzz_$target for ${seconds}s"
  if ! ASAN_OPTIONS=detect_leaks=1:allocator_may_return_null=1 \
      "$build/tests/fuzz/fuzz_$target" -max_total_time="$seconds" -rss_limit_mb=2048 \
      -artifact_prefix="$build/crashes/${target}-" -print_final_stats=1 "$corpus"; then
    echo "fuzz_$target found a failing input; reproduce with:"
    echo "  $build/tests/fuzz/fuzz_$target $build/crashes/${target}-*"
    status=1
  fi
done
exit $status
