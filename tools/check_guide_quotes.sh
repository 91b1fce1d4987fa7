#!/usr/bin/env bash
# Every code block of a document that follows a line
#   <!-- quote: path/to/file.c region-name -->
# must equal the lines between "/* region: region-name */" and the next
# "/* endregion */" of that file, so the document shows the code that runs.
set -euo pipefail
doc=$1
root=${2:-$(cd "$(dirname "$0")/.." && pwd)}

region() { # file, name: the region's lines, markers left out, less the marker's indentation
  awk -v begin="/* region: $2 */" '
    index($0, begin) { inside = 1; found = 1; match($0, /^ */); indent = RLENGTH; next }
    inside && index($0, "/* endregion */") { exit }
    inside { print (substr($0, 1, indent) ~ /^ *$/) ? substr($0, indent + 1) : $0 }
    END { if (!found) exit 1 }' "$1"
}

block() { # line number of the quote comment: the fenced block after it
  awk -v from="$1" '
    NR <= from { next }
    !open && /^```/ { open = 1; next }
    open && /^```/ { exit }
    open { print }' "$doc"
}

status=0
quotes=0
while IFS=: read -r line text; do
  read -r file name <<<"$(sed -E 's/.*<!-- quote: ([^ ]+) ([^ ]+) -->.*/\1 \2/' <<<"$text")"
  quotes=$((quotes + 1))
  if ! expected=$(region "$root/$file" "$name"); then
    echo "$doc:$line: no region '$name' in $file"
    status=1
  elif ! diff <(printf '%s\n' "$expected") <(block "$line") >/dev/null; then
    echo "$doc:$line: the block differs from region '$name' of $file:"
    diff <(printf '%s\n' "$expected") <(block "$line") || true
    status=1
  fi
done < <(grep -n '<!-- quote: ' "$doc")
[ "$quotes" -gt 0 ] || { echo "$doc quotes no code"; exit 1; }
[ $status -eq 0 ] && echo "$quotes quoted regions match their sources"
exit $status
