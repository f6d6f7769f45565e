#!/usr/bin/env bash
# Deletes fresh copies of one tree of 100,000 files in 1,000 folders with
# `tidewell delete --permanent --yes --quiet` and with `rm -rf`, alternating, best of 3 each; then
# moves the 1,000 folders of fresh copies to the trash with `tidewell delete --yes` and with
# `trash-put`. Usage: [ROUNDS=N] bench/delete_vs_rm.sh
set -euo pipefail
cd "$(dirname "$0")/.."
ROUNDS=${ROUNDS:-3}
. bench/lib.sh
command -v trash-put >/dev/null || { echo "trash-put (trash-cli) is needed" >&2; exit 2; }

work=${TMPDIR:-/tmp}/core-bench-delete
rm -rf "$work"
mkdir -p "$work/home"

make_tree() {
  python3 - "$1" <<'PY'
import os, sys
root = sys.argv[1]
for a in range(1000):
    d = os.path.join(root, "d%04d" % a)
    os.makedirs(d)
    for b in range(100):
        with open(os.path.join(d, "f%03d" % b), "w") as f:
            f.write("x" * (b + 1))
PY
  sync
}

elapsed() {
  local start
  start=$(now)
  "$@" >/dev/null 2>&1
  echo $((($(now) - start) / 1000))
}

best() { printf '%s\n' "$@" | sort -n | head -1; }

ours=() theirs=() ours_trash=() theirs_trash=()
for round in $(seq "$rounds"); do
  make_tree "$work/ours"
  ours+=("$(elapsed "$tidewell" --quiet delete --permanent --yes "$work/ours")")
  make_tree "$work/theirs"
  theirs+=("$(elapsed rm -rf "$work/theirs")")

  make_tree "$work/ours"
  ours_trash+=("$(elapsed "$tidewell" --quiet --home "$work/home" delete --yes "$work"/ours/*)")
  make_tree "$work/theirs"
  theirs_trash+=("$(elapsed env HOME="$work/home" XDG_DATA_HOME= trash-put "$work"/theirs/*)")
  rm -rf "$work/ours" "$work/theirs" "$work/home/.local/share/Trash"
  echo "round $round done" >&2
done

o=$(best "${ours[@]}") t=$(best "${theirs[@]}")
ot=$(best "${ours_trash[@]}") tt=$(best "${theirs_trash[@]}")
echo "tree:                       100,000 files in 1,000 folders (best of $rounds, alternating)"
echo "tidewell delete --permanent: ${o} us"
echo "rm -rf:                      ${t} us"
echo "ratio tidewell/rm:           $(ratio "$o" "$t")"
echo "tidewell delete (to trash):  ${ot} us"
echo "trash-put:                   ${tt} us"
echo "ratio tidewell/trash-put:    $(ratio "$ot" "$tt")"
rm -rf "$work"
