#!/usr/bin/env bash
# Compares `tidewell large --min-size 1M` with `find DIR -type f -size +1M` on the same tree of
# 100,000 files, in one run, with a warm cache. Usage: [ROUNDS=N] bench/large_files_vs_find.sh
set -euo pipefail
cd "$(dirname "$0")/.."
. bench/lib.sh

tree=${TMPDIR:-/tmp}/core-bench-large
if [ ! -f "$tree/done" ]; then
  rm -rf "$tree"
  # 100 folders of 50 subfolders of 20 files; one file in 200 is large (sparse, so the tree is
  # cheap on disk while sizes are real).
  python3 - "$tree" <<'PY'
import os, sys
root = sys.argv[1]
n = 0
for a in range(100):
    for b in range(50):
        d = os.path.join(root, str(a), str(b))
        os.makedirs(d)
        for c in range(20):
            path = os.path.join(d, "f%d.bin" % c)
            with open(path, "w") as f:
                f.write("x" * (10 + c))
            if n % 200 == 0:
                os.truncate(path, 2 * 1024 * 1024 + n)
            n += 1
open(os.path.join(root, "done"), "w").close()
PY
fi

find "$tree" -type f -size +1M >/dev/null
ours=$(best_time "$tidewell" --quiet --home "$tree" large --min-size 1M --json)
theirs=$(best_time find "$tree" -type f -size +1M)
ours_count=$("$tidewell" --quiet --home "$tree" large --min-size 1M --json | grep -c '"path"')
theirs_count=$(find "$tree" -type f -size +1M | wc -l)

echo "tree:               $tree (100,000 files)"
echo "tidewell large:     ${ours} us (best of $rounds), $ours_count files"
echo "find -size +1M:     ${theirs} us (best of $rounds), $theirs_count files"
echo "ratio tidewell/find: $(ratio "$ours" "$theirs")"
