#!/usr/bin/env bash
# The test command: the structure check, native release build, the C99
# check against the installed library, an ASan+UBSan build with short fuzz
# runs, and the 32-bit ARM cross build under qemu. Each stage's build and test output goes to a log under build/;
# the log is shown when the stage fails. Ends with the totals of every stage.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
cd "$root"
"$root/tools/setup.sh"

jobs=$(nproc)
summary=()
started=$SECONDS

step() { printf '\n==== %s\n' "$*"; }

# Show a stage's log and stop.
failed() {
  local log=$1 what=$2
  tail -n 200 "$log"
  printf '\n==== FAILED: %s (full log: %s)\n' "$what" "$log"
  exit 1
}

# Cases and failures in the XML reports the test programs wrote.
count_cases() {
  local dir=$1
  cat "$dir"/*.xml 2>/dev/null |
    sed -n 's/.*<testsuites tests="\([0-9]*\)" failures="\([0-9]*\)".*/\1 \2/p' |
    awk '{t += $1; f += $2} END {printf "%d %d", t, f}'
}

# configure, build and test one build directory: name, dir, cmake arguments.
stage() {
  local name=$1 dir=$2
  shift 2
  local log="$dir.log" reports="$root/$dir/gtest-reports" begin=$SECONDS
  step "$name"
  mkdir -p "$(dirname "$log")"
  {
    cmake -S . -B "$dir" -G Ninja "$@" &&
      cmake --build "$dir" -j "$jobs"
  } >"$log" 2>&1 || failed "$log" "$name: build"
  rm -rf "$reports"
  GTEST_OUTPUT="xml:$reports/" ctest --test-dir "$dir" --output-on-failure -j "$jobs" \
    >>"$log" 2>&1 || failed "$log" "$name: tests"
  local programs cases
  programs=$(ctest --test-dir "$dir" -N | sed -n 's/^Total Tests: //p')
  read -r cases _ <<<"$(count_cases "$reports")"
  local line
  line=$(printf '%-36s %3d programs %5d cases  %4ds' "$name" "$programs" "$cases" \
    $((SECONDS - begin)))
  summary+=("$line")
  echo "$line"
}

step "0/4 structure: the boundary and the floors"
python3 "$root/tools/check_structure.py"

stage "1/4 native release" build/native -DCMAKE_BUILD_TYPE=Release -DVXKRN_BUILD_BENCH=OFF

step "2/4 C99 check against the installed library"
begin=$SECONDS
"$root/tools/c_check.sh" build/native >build/native-c-check.log 2>&1 ||
  failed build/native-c-check.log "C99 check"
summary+=("$(printf '%-36s %3d programs     - cases  %4ds' "2/4 C99 check (CMake, pkg-config)" 3 \
  $((SECONDS - begin)))")
echo "${summary[-1]}"

stage "3/4 ASan + UBSan (clang), fuzz runs" build/asan -DCMAKE_BUILD_TYPE=Debug \
  -DVXKRN_SANITIZE=ON -DVXKRN_FUZZ=ON -DVXKRN_BUILD_BENCH=OFF -DCMAKE_C_COMPILER=clang \
  -DCMAKE_CXX_COMPILER=clang++

stage "4/4 32-bit ARM under qemu" build/arm -DCMAKE_BUILD_TYPE=Release \
  -DCMAKE_TOOLCHAIN_FILE="$root/cmake/arm-linux-gnueabihf.cmake"

step "all stages passed in $((SECONDS - started))s"
printf '%s\n' "${summary[@]}"
