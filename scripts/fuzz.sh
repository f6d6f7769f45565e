#!/usr/bin/env bash
# Builds the libFuzzer targets (clang, AddressSanitizer and UndefinedBehaviorSanitizer) into their
# own folder and runs one of them, or each in turn, for SECONDS seconds on its seed corpus.
# Usage: scripts/fuzz.sh TARGET|all SECONDS
#   TARGET: property_list, rule_document, rule_cipher, public_suffix, user_dirs, json_bytes
# What a run adds to the corpus stays in build-fuzz/corpus. A target that crashes leaves its input
# in build-fuzz/crashes; the others still run, and the script exits non-zero at the end.
set -euo pipefail
cd "$(dirname "$0")/.."
targets=(property_list rule_document rule_cipher public_suffix user_dirs json_bytes)
if [ $# -ne 2 ] || ! [[ $2 =~ ^[0-9]+$ ]]; then
  echo "usage: scripts/fuzz.sh TARGET|all SECONDS (targets: ${targets[*]})" >&2
  exit 2
fi
if [ "$1" = all ]; then
  selected=("${targets[@]}")
elif [[ " ${targets[*]} " == *" $1 "* ]]; then
  selected=("$1")
else
  echo "fuzz.sh: unknown target '$1' (targets: ${targets[*]})" >&2
  exit 2
fi
seconds=$2

scripts/install-deps.sh
dir=build-fuzz
cmake -S . -B "$dir" -G Ninja -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCORE_FUZZ=ON \
  -DCORE_BUILD_TESTS=OFF -DCORE_BUILD_BENCH=OFF >/dev/null
cmake --build "$dir" --target "${selected[@]/%/_fuzzer}"

mkdir -p "$dir/crashes"
failed=()
for target in "${selected[@]}"; do
  corpus=$dir/corpus/$target
  mkdir -p "$corpus"
  seeds=()
  for folder in "tests/fuzz/corpus/$target" "$dir/tests/fuzz/seeds/$target"; do
    [ -d "$folder" ] && seeds+=("$folder")
  done
  # The shipped rule document is 30 kB, and mutating all of it runs a few dozen loads a second;
  # its first 4 kB already hold the base, never-offer and system rules with most sections.
  options=()
  [ "$target" = rule_document ] && options+=(-max_len=4096)
  echo "== $target: $seconds s" >&2
  ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
    "$dir/tests/fuzz/${target}_fuzzer" -max_total_time="$seconds" -rss_limit_mb=2048 -timeout=10 \
    -print_final_stats=1 -artifact_prefix="$dir/crashes/$target-" "${options[@]}" "$corpus" "${seeds[@]}" ||
    failed+=("$target")
done
if [ ${#failed[@]} -gt 0 ]; then
  echo "fuzz.sh: ${failed[*]} failed; the inputs are in $dir/crashes" >&2
  exit 1
fi
