#!/usr/bin/env bash
# Installs what is needed, builds, and runs tidewell with the given arguments (default: a junk
# scan of this machine).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
scripts/build.sh build -DCMAKE_BUILD_TYPE=Release -DCORE_BUILD_TESTS=OFF -DCORE_BUILD_BENCH=OFF >&2
if [ $# -eq 0 ]; then
  set -- junk
fi
exec build/cli/tidewell "$@"
