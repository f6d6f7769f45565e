#!/usr/bin/env bash
# Compares the folder size of `tidewell size` (GetDirectorySize) with `du -s` on the same folder,
# in one run, with a warm cache. Usage: [ROUNDS=N] bench/directory_size_vs_du.sh [FOLDER]
# Without a folder, a tree of 100,000 small files is made under $TMPDIR.
set -euo pipefail
cd "$(dirname "$0")/.."
. bench/lib.sh
folder=${1:-}

if [ -z "$folder" ]; then
  folder=${TMPDIR:-/tmp}/core-bench-du
  if [ ! -f "$folder/done" ]; then
    rm -rf "$folder"
    python3 - "$folder" <<'PY'
import os, sys
root = sys.argv[1]
for a in range(100):
    for b in range(50):
        d = os.path.join(root, str(a), str(b))
        os.makedirs(d)
        for c in range(20):
            with open(os.path.join(d, str(c)), "w") as f:
                f.write("x" * (100 + c * 300))
open(os.path.join(root, "done"), "w").close()
PY
  fi
fi

# Warm the cache once for both.
du -s "$folder" >/dev/null
"$tidewell" size --quiet "$folder" >/dev/null

ours=$(best_time "$tidewell" size --quiet --json "$folder")
theirs=$(best_time du -s "$folder")
ours_bytes=$("$tidewell" size --quiet --json "$folder" | python3 -c 'import json,sys; print(json.load(sys.stdin)[0]["size"])')
du_bytes=$(( $(du -s -B1 "$folder" | cut -f1) ))

echo "folder:            $folder"
echo "tidewell size:     ${ours} us (best of $rounds), ${ours_bytes} bytes in regular files"
echo "du -s:             ${theirs} us (best of $rounds), ${du_bytes} bytes including folders"
echo "ratio tidewell/du: $(ratio "$ours" "$theirs")"
