#!/usr/bin/env bash
# Builds the fuzz targets with clang (ASan + UBSan + libFuzzer) in build-fuzz/ and runs each
# for a short while from a seed corpus of real archives. Usage: bash fuzz/smoke.sh [seconds]
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-45}

CC=clang CXX=clang++ cmake -S . -B build-fuzz -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DVELAZIP_BUILD_FUZZ=ON -DVELAZIP_BUILD_GUI=OFF -DVELAZIP_BUILD_TESTS=OFF >/dev/null
cmake --build build-fuzz -j2 --target fuzz_archive_read

# Seeds: one small archive of each family, prefixed by the byte that picks its extension
# (the order of kExtensions in fuzz_archive_read.cpp).
corpus=build-fuzz/corpus
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
rm -rf "$corpus" && mkdir -p "$corpus" "$work/src/d"
printf 'hello\n' > "$work/src/a.txt"
printf 'deeper\n' > "$work/src/d/b.txt"
(
    cd "$work/src"
    zip -qr ../s.zip . && gcab -c -z ../s.cab a.txt d/b.txt && 7zz a -bso0 -bsp0 ../s.7z . >/dev/null
    tar cf ../s.tar . && gzip -c ../s.tar > ../s.tgz && bzip2 -c ../s.tar > ../s.tbz2
    gzip -c a.txt > ../s.gz && bzip2 -c a.txt > ../s.bz2 && genisoimage -quiet -J -R -o ../s.iso .
)
seed() { { printf "\\$(printf '%03o' "$1")"; cat "$2"; } > "$corpus/$(basename "$2")"; }
seed 0 "$work/s.zip"; seed 1 "$work/s.cab"; seed 3 "$work/s.7z"; seed 4 "$work/s.gz"
seed 5 "$work/s.bz2"; seed 6 "$work/s.tar"; seed 7 "$work/s.tgz"; seed 8 "$work/s.tbz2"
seed 9 "$work/s.iso"
if [ -d ../shared/testdata/rar ]; then
    for f in rar.rar rar5_stored.rar rar5_compressed.rar; do seed 2 ../shared/testdata/rar/$f; done
fi

ASAN_OPTIONS=detect_leaks=0 ./build-fuzz/fuzz/fuzz_archive_read "$corpus" \
    -max_total_time="$seconds" -rss_limit_mb=2048 -timeout=20 -print_final_stats=1 2>&1 | tail -n 15
echo "fuzz smoke run: no crash in ${seconds}s"
