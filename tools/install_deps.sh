#!/usr/bin/env bash
# Installs the Debian packages the build, the tests and the example need,
# when any is missing. Safe to run again; .ci/run runs it first.
set -euo pipefail
packages=(cmake g++ libgtest-dev libbenchmark-dev libxml2-dev libsqlite3-dev pkg-config)
missing=()
for p in "${packages[@]}"; do
  dpkg -s "$p" >/dev/null 2>&1 || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0
echo "installing: ${missing[*]}"
sudo=""
[ "$(id -u)" -eq 0 ] || sudo="sudo"
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq "${missing[@]}" >/dev/null
