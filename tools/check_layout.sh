#!/usr/bin/env bash
# The layout is the architecture: includes run one way, folders and public
# headers stay small enough to read.
set -euo pipefail
cd "$(dirname "$0")/.."
status=0
fail() { echo "layout: $*"; status=1; }

# Shared helpers never include a subsystem's header or internals.
if hits=$(grep -nE '#include "(zell_map_(tree|path|filter|list|request|values|xml|data_conv|common)\.h|(tree|paths|filter|lists|request|values|xml)/)' map/core/*.h); then
  fail "map/core includes a subsystem:"$'\n'"$hits"
fi
# Benchmarks, examples and tools see the public headers only.
for dir in bench examples tools fuzz; do
  [ -d "$dir" ] || continue
  if hits=$(grep -rnE '#include "(core|tree|paths|filter|lists|request|values|xml)/' "$dir"); then
    fail "$dir reaches into the library's internals:"$'\n'"$hits"
  fi
done
# No source folder holds more than about a dozen files.
while read -r dir; do
  n=$(find "$dir" -maxdepth 1 -type f \( -name '*.c' -o -name '*.cpp' -o -name '*.h' \) | wc -l)
  [ "$n" -le 13 ] || fail "$dir holds $n source files"
done < <(find map platform tests examples bench tools fuzz -type d 2>/dev/null)
# No public header beyond about 400 lines.
for header in map/*/zell_map_*.h map/zell_map_common.h platform/*.h platform/host/zell_host.h; do
  n=$(wc -l <"$header")
  [ "$n" -le 420 ] || fail "$header has $n lines"
done
[ $status -eq 0 ] && echo "layout checks passed"
exit $status
