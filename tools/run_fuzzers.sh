#!/usr/bin/env bash
# Builds the libFuzzer targets (clang, ASan+UBSan) and runs each one for
# FUZZ_SECONDS (default 30) from its seed corpus. New inputs go to a scratch
# folder, so the saved corpus changes only by hand. A finding fails the run
# and leaves its input under build/fuzz/findings/.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${FUZZ_SECONDS:-30}
if ! command -v clang++ >/dev/null; then
  echo "clang++ not found: fuzz targets not run"
  exit 0
fi
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz -j2 >/dev/null
mkdir -p build/fuzz/findings
for corpus in fuzz/corpus/*/; do
  target=$(basename "$corpus")
  work=build/fuzz/work/$target
  rm -rf "$work" && mkdir -p "$work"
  log=build/fuzz/findings/$target.log
  if ! "build/fuzz/fuzz/$target" -max_total_time="$seconds" -timeout=20 -rss_limit_mb=4096 \
      -artifact_prefix=build/fuzz/findings/ "$work" "$corpus" >"$log" 2>&1; then
    tail -n 40 "$log"
    echo "$target: finding, input saved under build/fuzz/findings/"
    exit 1
  fi
  execs=$(grep -o 'stat::number_of_executed_units: *[0-9]*' "$log" | grep -o '[0-9]*$' || true)
  [ -n "$execs" ] || execs=$(grep -oE '^#[0-9]+' "$log" | tail -n 1 | tr -d '#')
  echo "$target: ${execs:-?} executions in ${seconds}s, no finding"
done
