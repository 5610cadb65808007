#!/usr/bin/env bash
# Reading benchmarks against the peer tools, in one run, printed as ratios:
#  - listing one level of a 100,000-entry zip with 1,000 folders (what one expansion costs)
#    against `7zz l` (target <= 0.25);
#  - `list --all` of that archive against `7zz l` (target <= 0.5), and against the fastest of
#    `7zz l`, `unzip -l`, `bsdtar -tf` (target <= 1.0);
#  - the peak memory of listing one level of a 1,000,000-entry zip against `7zz l`'s
#    (target <= 0.5);
#  - `list --all` of the same entries in a 7z against `7zz l`, time and peak memory
#    (target <= 1.0 each);
#  - extracting a ~300 MB zip against `bsdtar -x` (target <= 0.6), the others beside. Every
#    try unpacks into a new folder and the folders are removed only after the row: on ext4
#    without a journal, files made within minutes of removing many others cost several times
#    as much (the allocator passes over recently freed inodes), whatever program makes them.
# Usage: bash bench/read_bench.sh   (data is made once under $BENCH_DATA, /tmp/velazip-bench)
source "$(dirname "$0")/common.sh"
build_release
make_big_listing_zip
make_million_zip
make_big_listing_7z
make_mixed_zip

echo "== listing $(basename "$BIG_ZIP") (100,000 entries, 1,000 folders)"
ours=$(best_time "$VZ list '$BIG_ZIP'")
sz=$(best_time "7zz l '$BIG_ZIP'")
echo "one level:  velazip-cli list ${ours}s   7zz l ${sz}s   ratio $(ratio "$ours" "$sz") (target <= 0.25)"
all=$(best_time "$VZ list --all '$BIG_ZIP'")
uz=$(best_time "unzip -l '$BIG_ZIP'")
bt=$(best_time "bsdtar -tf '$BIG_ZIP'")
fastest=$(printf '%s\n' "$sz" "$uz" "$bt" | sort -g | head -1)
echo "every entry: velazip-cli list --all ${all}s   7zz l ${sz}s   unzip -l ${uz}s   bsdtar -tf ${bt}s"
echo "             ratio to 7zz l $(ratio "$all" "$sz") (target <= 0.5)"
echo "             ratio to the fastest $(ratio "$all" "$fastest") (target <= 1.0)"

echo "== one level of $(basename "$MILLION_ZIP") (1,000,000 entries, 1,000 folders): peak memory"
ours=$(peak_rss "$VZ list '$MILLION_ZIP'")
sz=$(peak_rss "7zz l '$MILLION_ZIP'")
echo "velazip-cli list ${ours} MiB   7zz l ${sz} MiB   ratio $(ratio "$ours" "$sz") (target <= 0.5)"

echo "== listing $(basename "$BIG_7Z") (the same entries)"
ours=$(best_time "$VZ list --all '$BIG_7Z'")
sz=$(best_time "7zz l '$BIG_7Z'")
ours_rss=$(peak_rss "$VZ list --all '$BIG_7Z'")
sz_rss=$(peak_rss "7zz l '$BIG_7Z'")
echo "every entry: velazip-cli list --all ${ours}s ${ours_rss} MiB   7zz l ${sz}s ${sz_rss} MiB"
echo "             time ratio $(ratio "$ours" "$sz"), memory ratio $(ratio "$ours_rss" "$sz_rss") (target <= 1.0 each)"

echo "== extracting $(basename "$MIXED_ZIP") ($(du -sh "$MIXED_ZIP" | cut -f1), $(du -sh --exclude=.done "$MIXED" | cut -f1) unpacked)"
out="$BENCH_DATA/out"
rm -rf "$out" "$out.tries" && mkdir -p "$out.tries"
clean="ln -sfn \"\$(mktemp -d '$out.tries/XXXXXX')\" '$out' && sync"
ours=$(best_time "$VZ extract --overwrite always '$MIXED_ZIP' '$out'" "$clean")
sz=$(best_time "7zz x -y -o'$out' '$MIXED_ZIP'" "$clean")
uz=$(best_time "unzip -q -o '$MIXED_ZIP' -d '$out'" "$clean")
bt=$(best_time "bsdtar -xf '$MIXED_ZIP' -C '$out'" "$clean")
fastest=$(printf '%s\n' "$sz" "$uz" "$bt" | sort -g | head -1)
echo "velazip-cli extract ${ours}s   7zz x ${sz}s   unzip ${uz}s   bsdtar -x ${bt}s"
echo "ratio to bsdtar -x $(ratio "$ours" "$bt") (target <= 0.6), to the fastest $(ratio "$ours" "$fastest")"
rm -rf "$out" "$out.tries"
