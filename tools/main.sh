#!/usr/bin/env bash
# The main job: set up the machine, build vxkrn, install it into ./out/prefix,
# then build the example program against the installed package and run it.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
cd "$root"
"$root/tools/setup.sh"

prefix="$root/out/prefix"
cmake -S . -B out/build -G Ninja -DCMAKE_BUILD_TYPE=Release -DVXKRN_BUILD_TESTS=OFF \
  -DVXKRN_BUILD_BENCH=OFF >/dev/null
cmake --build out/build -j "$(nproc)"
cmake --install out/build --prefix "$prefix" >/dev/null
echo "installed into $prefix"

cmake -S examples -B out/examples -G Ninja -DCMAKE_PREFIX_PATH="$prefix" \
  -DCMAKE_BUILD_RPATH="$prefix/lib" >/dev/null
cmake --build out/examples
./out/examples/storage_tour
echo
./out/examples/color_tour
