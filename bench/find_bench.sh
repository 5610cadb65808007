#!/usr/bin/env bash
# The finders' engine against its peers, in one run, printed as ratios: `velazip-cli find
# --files '*.txt'` over a tree of 2,000 zips of 20 entries each (half of them .txt), against
#  - one Python process that walks the tree with os.walk and reads each zip's namelist()
#    (target <= 0.5);
#  - `7zz l` run once per archive (target: that takes at least 10 times as long).
# The hit counts of velazip-cli and Python are printed to show that they agree.
# Usage: bash bench/find_bench.sh   (the tree is made in a temporary folder and removed)
source "$(dirname "$0")/common.sh"
build_release

TREE=$(mktemp -d "${TMPDIR:-/tmp}/velazip-find.XXXXXX")
trap 'rm -rf "$TREE"' EXIT
# 20 folders of 100 zips; every zip holds 10 .txt and 10 .dat entries in two folders.
python3 - "$TREE" <<'PY'
import os, sys, zipfile
root = sys.argv[1]
for f in range(20):
    folder = os.path.join(root, "folder%02d" % f)
    os.makedirs(folder)
    for a in range(100):
        with zipfile.ZipFile(os.path.join(folder, "archive%03d.zip" % a), "w",
                             zipfile.ZIP_DEFLATED) as z:
            for i in range(10):
                z.writestr("docs/note%d.txt" % i, "note %d of archive %d\n" % (i, a) * 20)
                z.writestr("data/blob%d.dat" % i, bytes(range(256)) * 4)
PY

# The interpreter itself, not a version manager's shim that would add its own start-up.
PY=$(python3 -c 'import sys; print(sys.executable)')
PEER="$BENCH_DATA/find_peer.py"
cat > "$PEER" <<'PY'
import fnmatch, os, sys, zipfile
hits = 0
for folder, _, files in os.walk(sys.argv[1]):
    for name in files:
        if name.upper().endswith(".ZIP"):
            with zipfile.ZipFile(os.path.join(folder, name)) as z:
                hits += sum(1 for n in z.namelist() if not n.endswith("/") and
                            fnmatch.fnmatch(n.rsplit("/", 1)[-1].upper(), "*.TXT"))
print(hits)
PY

echo "== find --files '*.txt' over 2,000 zips of 20 entries"
ours_hits=$("$VZ" find --files '*.txt' "$TREE" | wc -l)
peer_hits=$(TZ=UTC "$PY" "$PEER" "$TREE")
echo "hits: velazip-cli $ours_hits   python $peer_hits"
ours=$(best_time "'$VZ' find --files '*.txt' '$TREE'")
py=$(best_time "TZ=UTC '$PY' '$PEER' '$TREE'")
sz=$(best_time "find '$TREE' -name '*.zip' -exec env TZ=UTC 7zz l {} \\;")
echo "velazip-cli find ${ours}s   python os.walk+namelist ${py}s   7zz l per archive ${sz}s"
echo "ratio to python $(ratio "$ours" "$py") (target <= 0.5)"
echo "7zz l takes $(echo "scale=1; $sz / $ours" | bc) times as long (target >= 10)"
