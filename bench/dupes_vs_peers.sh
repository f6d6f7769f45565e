#!/usr/bin/env bash
# Runs `tidewell dupes` beside jdupes, fdupes and rmlint on one reproducible corpus, with a warm
# cache, and prints each one's wall time and peak memory, and whether the groups of regular files
# that tidewell reports are exactly those jdupes reports.
# Usage: [SCALE=N] bench/dupes_vs_peers.sh   (SCALE 1, the default, makes about 36,000 files and
# 2.6 GB under $TMPDIR; the corpus is kept for later runs)
set -euo pipefail
cd "$(dirname "$0")/.."
. bench/lib.sh
scale=${SCALE:-1}
corpus=${TMPDIR:-/tmp}/core-bench-dupes-v2-$scale
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

if [ ! -f "$corpus.done" ]; then
  rm -rf "$corpus"
  python3 - "$corpus" "$scale" <<'PY'
import os, random, sys
root, scale = sys.argv[1], int(sys.argv[2])
rng = random.Random(20261123)
count = 0
def write(path, data):
    global count
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "wb") as f:
        f.write(data)
    count += 1
def folder(kind, i):
    # Every folder holds a marker of its own, so that no two folders are identical.
    path = os.path.join(root, kind, "%03d" % (i % 300))
    marker = os.path.join(path, "marker")
    if not os.path.exists(marker):
        write(marker, path.encode())
    return path
# Unique small files.
for i in range(20000 * scale):
    write(os.path.join(folder("unique", i), "u%d.bin" % i), rng.randbytes(rng.randint(1, 64) * 1024))
# Exact copies: groups of two and three.
for i in range(3000 * scale):
    data = rng.randbytes(rng.randint(10, 200) * 1024)
    for copy in range(2 + i % 2):
        write(os.path.join(folder("copies%d" % copy, i), "c%d.bin" % i), data)
# Same-size near misses: differing just after the first block, and at the last byte.
for i in range(1000 * scale):
    data = bytearray(rng.randbytes(rng.randint(50, 300) * 1024))
    write(os.path.join(folder("near-a", i), "n%d.bin" % i), bytes(data))
    where = 5000 if i % 2 == 0 else len(data) - 1
    data[where] ^= 0xFF
    write(os.path.join(folder("near-b", i), "n%d.bin" % i), bytes(data))
# A few large identical files.
for i in range(2):
    data = rng.randbytes(150 * 1024 * 1024)
    for copy in range(2):
        write(os.path.join(folder("large%d" % copy, i), "big%d.bin" % i), data)
print("files:", count)
PY
  touch "$corpus.done"
fi

# Warm the cache: every tool reads the same bytes.
find "$corpus" -type f -print0 | xargs -0 cat > /dev/null

# The best wall time of $rounds runs and the highest peak memory among them: a
# run's wall time varies by a tenth of a second here, its memory hardly.
measure() { # name, output file, command...
  local name=$1 out=$2 best="" highest=0 seconds kilobytes
  shift 2
  for _ in $(seq "$rounds"); do
    /usr/bin/time -f "%e %M" -o "$work/$name.time" "$@" > "$out" 2> "$work/$name.err" || true
    read -r seconds kilobytes < "$work/$name.time"
    if [ -z "$best" ] || awk -v a="$seconds" -v b="$best" 'BEGIN { exit !(a < b) }'; then best=$seconds; fi
    [ "$kilobytes" -gt "$highest" ] && highest=$kilobytes
  done
  printf '%-10s %8.2f s %10d KB peak\n' "$name" "$best" "$highest"
  echo "$best $highest" > "$work/$name.result"
}

"$tidewell" --quiet dupes --only-duplicates "$corpus" > /dev/null
echo "corpus: $corpus ($(find "$corpus" -type f | wc -l) files, $(du -sh "$corpus" | cut -f1))"
measure tidewell "$work/tidewell.json" "$tidewell" --quiet --json dupes --only-duplicates "$corpus"
measure jdupes "$work/jdupes.txt" jdupes -r "$corpus"
measure fdupes "$work/fdupes.txt" fdupes -r "$corpus"
measure rmlint "$work/rmlint.out" rmlint -T df -o json:"$work/rmlint.json" "$corpus"

python3 - "$work" <<'PY'
import json, os, sys
work = sys.argv[1]
def groups_of_jdupes(path):
    groups, current = set(), []
    for line in open(path):
        line = line.rstrip("\n")
        if line:
            current.append(line)
        elif current:
            groups.add(frozenset(current)); current = []
    if current:
        groups.add(frozenset(current))
    return groups
ours = {frozenset(m["path"] for m in group)
        for group in json.load(open(os.path.join(work, "tidewell.json")))["duplicates"]
        if all(os.path.isfile(m["path"]) and not os.path.islink(m["path"]) for m in group)}
theirs = groups_of_jdupes(os.path.join(work, "jdupes.txt"))
result = {name: tuple(map(float, open(os.path.join(work, name + ".result")).read().split()))
          for name in ("tidewell", "jdupes", "fdupes", "rmlint")}
t, m = result["tidewell"]
print("groups of regular files: tidewell %d, jdupes %d, identical: %s" % (len(ours), len(theirs), ours == theirs))
for peer in ("jdupes", "fdupes", "rmlint"):
    print("tidewell/%s: time %.2f, memory %.2f" % (peer, t / result[peer][0], m / result[peer][1]))
PY
