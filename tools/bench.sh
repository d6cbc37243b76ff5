#!/usr/bin/env bash
# Builds and runs the benchmarks, with the peer libraries installed, and
# prints the median of three runs of each. Pass Google Benchmark options to
# narrow it, e.g. --benchmark_filter=Convert.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
cd "$root"
"$root/tools/setup.sh" --bench-peers
cmake -S . -B build/native -G Ninja -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build build/native --target vxkrn_bench
build/native/bench/vxkrn_bench --benchmark_repetitions=3 --benchmark_report_aggregates_only=true \
  "$@"
