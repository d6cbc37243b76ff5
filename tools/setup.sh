#!/usr/bin/env bash
# Installs what a fresh Debian machine lacks for building, testing and
# benchmarking vxkrn (with --bench-peers also the peer libraries the
# benchmarks compare with). Does nothing when everything is present.
set -euo pipefail

packages=(
  cmake ninja-build g++ clang libclang-rt-14-dev pkg-config python3
  googletest libgtest-dev libbenchmark-dev
  g++-arm-linux-gnueabihf qemu-user
)
# Peer libraries the benchmarks compare with; the library never links them.
if [ "${1:-}" = "--bench-peers" ]; then
  packages+=(libopencv-imgproc-dev libpixman-1-dev libfreeimage-dev libleptonica-dev libvips-dev)
fi

missing=()
for package in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed' ||
    missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "setup: installing ${missing[*]}"
sudo=""
[ "$(id -u)" -eq 0 ] || sudo="sudo"
$sudo apt-get update -qq
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
