# Helpers shared by the comparison scripts: the tidewell to measure, and the best wall time of a
# few runs of a command with a warm cache.
tidewell=${TIDEWELL:-build/cli/tidewell}
[ -x "$tidewell" ] || scripts/build.sh build >/dev/null
rounds=${ROUNDS:-5}

now() { date +%s%N; }

# Prints the fastest of $rounds runs in microseconds; the command's output is dropped.
best_time() {
  for _ in $(seq "$rounds"); do
    start=$(now)
    "$@" >/dev/null
    echo $((($(now) - start) / 1000))
  done | sort -n | head -1
}

ratio() { awk -v a="$1" -v b="$2" 'BEGIN { printf "%.2f", a / b }'; }
