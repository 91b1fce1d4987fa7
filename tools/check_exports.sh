#!/usr/bin/env bash
# A shared build must export exactly the operations (and the one table) that
# the public headers declare: nothing internal leaks, nothing declared is missing.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-$root/build/shared}
cmake -S "$root" -B "$build" -DBUILD_SHARED_LIBS=ON -DCMAKE_BUILD_TYPE=Release \
  -DZELL_MAP_BUILD_TESTS=OFF -DZELL_MAP_BUILD_EXAMPLES=OFF >/dev/null
cmake --build "$build" -j2 >/dev/null

declared() { # names declared with the given export macro in the given headers
  local macro=$1; shift
  cat "$@" | tr '\n' ' ' | grep -oE "$macro[^;{]*;" | sed -E 's/\([^()]*(\([^()]*\)[^()]*)*\)[^;]*;$//; s/\[[^]]*\];$//; s/;$//' |
    grep -oE '[A-Za-z_][A-Za-z0-9_]*$' | sort -u
}
exported() {
  nm -D --defined-only "$1" | awk '$2 ~ /^[TDRB]$/ {print $3}' | sort -u
}

status=0
check() {
  local lib=$1; shift
  local macro=$1; shift
  if ! diff <(declared "$macro" "$@") <(exported "$lib") >/tmp/zell_exports.diff; then
    echo "export mismatch in $(basename "$lib") (< declared only, > exported only):"
    cat /tmp/zell_exports.diff
    status=1
  fi
}
# map/xml/ is a library of its own.
common_headers=()
for header in "$root"/map/*/zell_map_*.h; do
  [[ $header == */map/xml/* ]] || common_headers+=("$header")
done
check "$build/libzell_map_common.so" ZELL_MAP_API "${common_headers[@]}"
check "$build/libzell_map_xml.so" ZELL_MAP_API "$root"/map/xml/zell_map_*.h
check "$build/libzell_platform_host.so" ZELL_PLATFORM_API "$root/platform/zell_platform.h" "$root/platform/host/zell_host.h"
[ $status -eq 0 ] && echo "exports match the headers"
exit $status
