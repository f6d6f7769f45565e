#!/usr/bin/env bash
# Installs what is needed, builds, and runs tidewell with the given arguments (default: a junk
# scan of this machine).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
# The same optimisation as the tests are built with, so that what CI compiles is what runs.
scripts/build.sh build -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCORE_BUILD_TESTS=OFF -DCORE_BUILD_BENCH=OFF >&2
if [ $# -eq 0 ]; then
  set -- junk
fi
exec build/cli/tidewell "$@"
