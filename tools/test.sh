#!/usr/bin/env bash
# The test command: native release build, ASan+UBSan build, 32-bit ARM cross
# build under qemu, and the C99 check against the installed library.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
cd "$root"
"$root/tools/setup.sh"

jobs=$(nproc)
step() { printf '\n==== %s\n' "$*"; }

step "1/4 native release build and tests"
cmake -S . -B build/native -G Ninja -DCMAKE_BUILD_TYPE=Release
cmake --build build/native -j "$jobs"
ctest --test-dir build/native --output-on-failure -j "$jobs"

step "2/4 C99 check against the installed library (CMake package and pkg-config)"
"$root/tools/c_check.sh" build/native

step "3/4 AddressSanitizer + UndefinedBehaviorSanitizer build (clang) and tests"
cmake -S . -B build/asan -G Ninja -DCMAKE_BUILD_TYPE=Debug -DVXKRN_SANITIZE=ON \
  -DVXKRN_BUILD_BENCH=OFF -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++
cmake --build build/asan -j "$jobs"
ctest --test-dir build/asan --output-on-failure -j "$jobs"

step "4/4 32-bit ARM cross build, tests under qemu-arm"
cmake -S . -B build/arm -G Ninja -DCMAKE_BUILD_TYPE=Release \
  -DCMAKE_TOOLCHAIN_FILE="$root/cmake/arm-linux-gnueabihf.cmake"
cmake --build build/arm -j "$jobs"
ctest --test-dir build/arm --output-on-failure -j "$jobs"

step "all builds passed"
