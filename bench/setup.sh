#!/usr/bin/env bash
# Installs what the peer comparison (bench/compare_libyang) needs: the
# libyang 2 development package from the distribution. The benchmarks
# themselves need only Google Benchmark, which the image has.
set -euo pipefail
if pkg-config --exists 'libyang >= 2'; then
  echo "libyang $(pkg-config --modversion libyang) is installed"
  exit 0
fi
sudo=""
[ "$(id -u)" -eq 0 ] || sudo=sudo
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq libyang2-dev >/dev/null
echo "libyang $(pkg-config --modversion libyang) installed"
