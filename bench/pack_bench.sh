#!/usr/bin/env bash
# Packing benchmarks against the peer tools, printed as ratios (see bench/pack_bench.cpp):
#  - adding a ~300 MB mixed folder to a new zip at level 6 against `zip -6 -r` (throughput
#    target >= 1.5) and `7zz a -tzip -mx5 -mmt=2` (target >= 1.0), size within 1% of zip -6;
#  - the same with AES-256 against the unencrypted pack (goal <= 1.15) and with BZIP2 against
#    `7zz a -tzip -mm=BZip2 -mmt=2` (goal <= 0.8);
#  - renaming one entry in a 100,000-entry zip against `7zz rn` (target <= 1.0).
# Usage: bash bench/pack_bench.sh [--threads N]   (data is made once under $BENCH_DATA/pack)
source "$(dirname "$0")/common.sh"
build_release
export BENCH_DATA BENCH_RUNS
"$BENCH_ROOT/build-release/bench/pack_bench" "$@"
