#!/usr/bin/env bash
# A C program (no C++ anywhere in its build) must be able to use the
# library every supported way: the static and the shared install, each found
# with find_package and with pkg-config, and the sources built in-tree
# through add_subdirectory.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
work=${1:-$root/build/package}
rm -rf "$work" && mkdir -p "$work"
consumer=$root/tests/consumer

quiet() { # runs a command, showing its output only when it fails
  local log
  if ! log=$("$@" 2>&1); then
    echo "$log"
    echo "failed: $*"
    exit 1
  fi
}

install_library() { # kind (static|shared), shared flag
  quiet cmake -S "$root" -B "$work/lib-$1" -DCMAKE_BUILD_TYPE=Release -DBUILD_SHARED_LIBS="$2" \
    -DZELL_MAP_BUILD_TESTS=OFF -DZELL_MAP_BUILD_EXAMPLES=OFF -DCMAKE_INSTALL_PREFIX="$work/prefix-$1"
  quiet cmake --build "$work/lib-$1" -j2 --target zell_map_common zell_platform_host
  quiet cmake --install "$work/lib-$1"
}

find_package_consumer() { # kind
  quiet cmake -S "$consumer" -B "$work/find-$1" -DCMAKE_PREFIX_PATH="$work/prefix-$1"
  quiet cmake --build "$work/find-$1"
  "$work/find-$1/consumer"
}

pkg_config_consumer() { # kind, extra pkg-config flags
  local prefix=$work/prefix-$1
  local libdir
  libdir=$(dirname "$(find "$prefix" -name zell_map_common.pc)")
  local flags
  flags=$(PKG_CONFIG_PATH="$libdir" pkg-config $2 --cflags --libs zell_map_common)
  # shellcheck disable=SC2086
  cc -std=c11 "$consumer/consumer.c" $flags -o "$work/pc-$1"
  LD_LIBRARY_PATH="$(dirname "$libdir")" "$work/pc-$1"
}

install_library static OFF
find_package_consumer static
pkg_config_consumer static --static

install_library shared ON
find_package_consumer shared
pkg_config_consumer shared ""
# The shared library names its major version and carries the runtime itself.
readelf -d "$work"/prefix-shared/lib*/libzell_map_common.so | grep -q 'SONAME.*libzell_map_common\.so\.0\]'
readelf -d "$work"/prefix-shared/lib*/libzell_map_common.so | grep -q 'NEEDED.*libstdc++\|NEEDED.*libc++'

quiet cmake -S "$consumer" -B "$work/subdir" -DZELL_CONSUMER_SUBDIR="$root"
quiet cmake --build "$work/subdir" -j2 --target consumer
"$work/subdir/consumer"
echo "package checks passed"
