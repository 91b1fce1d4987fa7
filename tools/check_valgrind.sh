#!/usr/bin/env bash
# The test suite under valgrind memcheck: no invalid access, no use of an
# uninitialised value, no block lost. Suites named *AtScale* are left out:
# their sizes would take valgrind far too long and they add no path the
# others do not take.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-$root/build/debug}
tests=$build/tests/zell_tests
if [ ! -x "$tests" ]; then
  echo "no $tests: build the debug preset first" >&2
  exit 1
fi
if ! command -v valgrind >/dev/null; then
  export DEBIAN_FRONTEND=noninteractive
  apt-get update -qq && apt-get install -y -qq valgrind >/dev/null
fi

report=$build/valgrind.log
output=$build/valgrind-tests.log
# Still-reachable blocks (the shared IPv4 pattern, the C library's own) are
# not leaks; every other kind counts as an error.
if ! valgrind --tool=memcheck --error-exitcode=97 --leak-check=full \
    --show-leak-kinds=definite,indirect,possible --errors-for-leak-kinds=definite,indirect,possible \
    --log-file="$report" "$tests" --gtest_filter='-*AtScale*' --gtest_brief=1 >"$output" 2>&1; then
  tail -n 40 "$output"
  cat "$report"
  echo "valgrind found errors or leaks (report: $report)" >&2
  exit 1
fi
grep -E "ERROR SUMMARY|definitely lost|indirectly lost|possibly lost" "$report" | sed 's/^==[0-9]*== //' || true
echo "valgrind: $(grep -oE '[0-9]+ tests? from [0-9]+ test suites? ran' "$output" | head -n 1), no errors, no leaks"
