#!/usr/bin/env bash
# Encrypted 7z against 7zz itself, printed as ratios: listing and extracting a ~300 MB 7z
# whose names and data are encrypted (AES-256), with the password given on the command line
# to both (velazip-cli hands it to 7zz on standard input), target <= 1.1 each.
# Usage: bash bench/crypt_bench.sh   (data is made once under $BENCH_DATA, /tmp/velazip-bench)
source "$(dirname "$0")/common.sh"
build_release
make_mixed_tree
ENC="$BENCH_DATA/mixed-encrypted.7z"
[ -f "$ENC" ] || (cd "$MIXED" && 7zz a -bso0 -mhe=on -pbench "$ENC" random text src)

echo "== encrypted 7z $(basename "$ENC") ($(du -sh "$ENC" | cut -f1))"
ours=$(best_time "$VZ list --all --password bench '$ENC'")
sz=$(best_time "7zz l -pbench '$ENC'")
echo "listing:    velazip-cli list --all ${ours}s   7zz l -p ${sz}s   ratio $(ratio "$ours" "$sz") (target <= 1.1)"
out="$BENCH_DATA/out"
clean="rm -rf '$out' && mkdir -p '$out' && sync"
ours=$(best_time "$VZ extract --overwrite always --password bench '$ENC' '$out'" "$clean")
sz=$(best_time "7zz x -pbench -y -o'$out' '$ENC'" "$clean")
echo "extracting: velazip-cli extract ${ours}s   7zz x -p ${sz}s   ratio $(ratio "$ours" "$sz") (target <= 1.1)"
rm -rf "$out"
