#!/usr/bin/env bash
# Every benchmark in one run, each printed next to its peer tool with the ratio and target:
# reading (listing, extracting), finding, packing (adding, renaming), the copy engine, and the two
# browsers' expansion times. Builds build-release/ first; data sets are made once.
# Usage: bash bench/run.sh
source "$(dirname "$0")/common.sh"
build_release
B="$BENCH_ROOT/build-release/bench"
echo "#### reading"
bash "$BENCH_ROOT/bench/read_bench.sh"
bash "$BENCH_ROOT/bench/crypt_bench.sh"
echo "#### finding"
bash "$BENCH_ROOT/bench/find_bench.sh"
echo "#### packing"
bash "$BENCH_ROOT/bench/pack_bench.sh"
echo "#### copying"
"$B/copy_bench"
echo "#### Archive Browser expansion"
make_million_zip
QT_QPA_PLATFORM=offscreen "$B/gui_expand_bench" 5 "$MILLION_ZIP"
echo "#### File Browser expansion"
QT_QPA_PLATFORM=offscreen "$B/gui_filetree_bench"
