#!/usr/bin/env bash
# Installs the Debian packages that building, testing and running Core need.
# Idempotent: packages already present are not fetched again.
set -euo pipefail

packages=(
  build-essential cmake ninja-build pkg-config clang-format ccache
  # the fuzz targets and the thread-sanitized tests are built with clang and its runtimes
  clang libclang-rt-14-dev
  libboost-dev libsqlite3-dev libyaml-cpp-dev libssl-dev libicu-dev
  libplist-dev libexpat1-dev libvips-dev libmagic-dev
  publicsuffix nlohmann-json3-dev libcli11-dev libgtest-dev libgmock-dev libbenchmark-dev
  # the desktop's trash tools, which read back what the trash tests wrote; also a benchmark's peer
  trash-cli
  # the peer tools the benchmarks run beside tidewell
  jdupes fdupes rmlint time
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

sudo_cmd=()
[ "$(id -u)" -ne 0 ] && sudo_cmd=(sudo)
export DEBIAN_FRONTEND=noninteractive
"${sudo_cmd[@]}" apt-get update -qq
"${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
