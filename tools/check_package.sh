#!/usr/bin/env bash
# The library must be usable three ways: installed and found with
# find_package, installed and found with pkg-config, and built in-tree
# through add_subdirectory.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
work=${1:-$root/build/package}
rm -rf "$work" && mkdir -p "$work"

cmake -S "$root" -B "$work/lib" -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX="$work/prefix" >/dev/null
cmake --build "$work/lib" -j2 --target zell_map_common zell_map_xml zell_platform_host zell-filter >/dev/null
cmake --install "$work/lib" >/dev/null

cmake -S "$root/tests/consumer" -B "$work/find" -DCMAKE_PREFIX_PATH="$work/prefix" >/dev/null
cmake --build "$work/find" >/dev/null && "$work/find/consumer" && "$work/find/xml_consumer"

cmake -S "$root/tests/consumer" -B "$work/subdir" -DZELL_CONSUMER_SUBDIR="$root" >/dev/null
cmake --build "$work/subdir" -j2 >/dev/null && "$work/subdir/consumer" && "$work/subdir/xml_consumer"

PKG_CONFIG_PATH="$work/prefix/lib/pkgconfig" cc -std=c11 "$root/tests/consumer/consumer.c" \
  $(PKG_CONFIG_PATH="$work/prefix/lib/pkgconfig" pkg-config --cflags --libs zell_map_common) -o "$work/pc-consumer"
# The libraries are static: libxml2 comes in through Requires.private.
cc -std=c11 "$root/tests/consumer/xml_consumer.c" \
  $(PKG_CONFIG_PATH="$work/prefix/lib/pkgconfig" pkg-config --static --cflags --libs zell_map_xml) -o "$work/pc-xml-consumer"
"$work/pc-xml-consumer"
"$work/prefix/bin/zell-filter" "$root/tests/filter/data/users-data.xml" >/dev/null
"$work/pc-consumer"
# The libraries are static: libxml2 comes in through Requires.private.
cc -std=c11 "$root/tests/consumer/xml_consumer.c" \
  $(PKG_CONFIG_PATH="$work/prefix/lib/pkgconfig" pkg-config --static --cflags --libs zell_map_xml) -o "$work/pc-xml-consumer"
"$work/pc-xml-consumer"
"$work/prefix/bin/zell-filter" "$root/tests/filter/data/users-data.xml" >/dev/null
echo "package checks passed"
