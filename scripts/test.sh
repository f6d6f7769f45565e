#!/usr/bin/env bash
# Installs what is needed, builds, and runs every test. Each kind of build has its own folder:
#   (none)      the plain build, as the README's command runs it          build-test
#   --sanitize  AddressSanitizer and UndefinedBehaviorSanitizer           build-sanitize
#   --tsan      ThreadSanitizer                                           build-tsan
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
case "${1:-}" in
  "")
    dir=build-test
    options=(-DCMAKE_BUILD_TYPE=RelWithDebInfo -DCORE_SANITIZE=OFF -DCORE_TSAN=OFF) ;;
  --sanitize)
    dir=build-sanitize
    options=(-DCMAKE_BUILD_TYPE=Debug -DCORE_SANITIZE=ON -DCORE_TSAN=OFF -DCORE_BUILD_BENCH=OFF) ;;
  --tsan)
    dir=build-tsan
    # Optimised: the thread-sanitized run is the slowest of the three, and its reports keep their
    # line numbers.
    options=(-DCMAKE_BUILD_TYPE=RelWithDebInfo -DCORE_SANITIZE=OFF -DCORE_TSAN=ON -DCORE_BUILD_BENCH=OFF)
    export TSAN_OPTIONS="halt_on_error=1 second_deadlock_stack=1 ${TSAN_OPTIONS:-}" ;;
  *)
    echo "usage: scripts/test.sh [--sanitize|--tsan]" >&2
    exit 2 ;;
esac
scripts/build.sh "$dir" "${options[@]}" -DCORE_FUZZ=OFF -DCORE_BUILD_TESTS=ON
cd "$dir"
ctest -j2 --output-on-failure --timeout 300
