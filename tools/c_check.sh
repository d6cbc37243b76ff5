#!/usr/bin/env bash
# Installs a build into a local prefix and compiles the C99 check program
# against it twice: through find_package(vxkrn) and through pkg-config.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
build="$(cd "$1" && pwd)"
prefix="$build/prefix"
check="$root/tests/c_api"

cmake --install "$build" --prefix "$prefix" >/dev/null

cmake -S "$check" -B "$build/c_check" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$build/c_check"
"$build/c_check/c_check_shared"
"$build/c_check/c_check_static"

flags=(-std=c99 -pedantic -Wall -Wextra -Werror)
PKG_CONFIG_PATH="$prefix/lib/pkgconfig" pkg-config --exists vxkrn
cc "${flags[@]}" "$check/c_check.c" -o "$build/c_check/c_check_pkgconfig" \
  $(PKG_CONFIG_PATH="$prefix/lib/pkgconfig" pkg-config --cflags --libs vxkrn) \
  -Wl,-rpath,"$prefix/lib"
"$build/c_check/c_check_pkgconfig"

# The example programs build against the installed library and run.
cmake -S "$root/examples" -B "$build/examples" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" \
  -DCMAKE_C_FLAGS="-Wall -Wextra -Werror" >/dev/null
cmake --build "$build/examples"
for tour in storage_tour color_tour orientation_tour; do
  "$build/examples/$tour" >"$build/examples/$tour.out"
done

# The archive must link into C programs with the C linker alone: nothing it
# leaves undefined may come from the C++ run-time.
archive="$prefix/lib/libvxkrn.a"
outside=$(comm -23 <(nm -u "$archive" | awk '{print $2}' | sort -u) \
                   <(nm --defined-only "$archive" | awk 'NF == 3 {print $3}' | sort -u) |
          grep -E '^(_Z|__cxa_|__gxx_)' || true)
if [ -n "$outside" ]; then
  echo "c_check: libvxkrn.a needs the C++ run-time: $outside" >&2
  exit 1
fi
