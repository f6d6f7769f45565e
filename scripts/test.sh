#!/usr/bin/env bash
# Installs what is needed, builds, and runs every test. With --sanitize the tests are built with
# AddressSanitizer and UndefinedBehaviorSanitizer into their own folder.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
if [ "${1:-}" = "--sanitize" ]; then
  dir=build-sanitize
  scripts/build.sh "$dir" -DCMAKE_BUILD_TYPE=Debug -DCORE_SANITIZE=ON -DCORE_BUILD_BENCH=OFF -DCORE_BUILD_TESTS=ON
else
  dir=build-test
  scripts/build.sh "$dir" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCORE_SANITIZE=OFF -DCORE_BUILD_TESTS=ON
fi
cd "$dir"
ctest -j2 --output-on-failure --timeout 300
