#!/usr/bin/env bash
# Builds the fuzz targets with clang (ASan + UBSan + libFuzzer) in build-fuzz/ and runs each
# from a seed corpus of real archives. Usage: bash fuzz/smoke.sh [seconds]
#
# Without an argument the run is the same every time (fixed seed, fixed number of inputs, seeds
# made with fixed times), so that CI checks a known set of inputs; with one it explores at
# random for that long, which is how new crashes are looked for.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-}

CC=clang CXX=clang++ cmake -S . -B build-fuzz -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DVELAZIP_BUILD_FUZZ=ON -DVELAZIP_BUILD_GUI=OFF -DVELAZIP_BUILD_TESTS=OFF >/dev/null
cmake --build build-fuzz -j2 --target fuzz_archive_read fuzz_7z_headers

# Seeds: one small archive of each family, prefixed by the byte that picks its extension
# (the order of kExtensions in fuzz_archive_read.cpp).
corpus=build-fuzz/corpus
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
rm -rf "$corpus" && mkdir -p "$corpus" "$work/src/d"
printf 'hello\n' > "$work/src/a.txt"
printf 'deeper\n' > "$work/src/d/b.txt"
touch -d '2020-01-01 00:00:00 UTC' "$work/src/a.txt" "$work/src/d/b.txt" "$work/src/d" "$work/src"
(
    cd "$work/src"
    export TZ=UTC
    zip -qrX ../s.zip . && gcab -c -z ../s.cab a.txt d/b.txt && 7zz a -bso0 -bsp0 ../s.7z . >/dev/null
    7zz a -bso0 -bsp0 -mhe=on -pSECRET ../e.7z . >/dev/null
    7zz a -bso0 -bsp0 -m0=lzma -ms=off ../l.7z . >/dev/null
    tar cf ../s.tar --mtime=@1577836800 --owner=0 --group=0 --numeric-owner --sort=name .
    gzip -nc ../s.tar > ../s.tgz && bzip2 -c ../s.tar > ../s.tbz2
    gzip -nc a.txt > ../s.gz && bzip2 -c a.txt > ../s.bz2
    xorriso -as mkisofs -quiet -J -R --modification-date=2020010100000000 \
        --set_all_file_dates 2020010100000000 -o ../s.iso . 2>/dev/null
)
seed() { { printf "\\$(printf '%03o' "$1")"; cat "$2"; } > "$corpus/$(basename "$2")"; }
seed 0 "$work/s.zip"; seed 1 "$work/s.cab"; seed 3 "$work/s.7z"; seed 4 "$work/s.gz"
seed 5 "$work/s.bz2"; seed 6 "$work/s.tar"; seed 7 "$work/s.tgz"; seed 8 "$work/s.tbz2"
seed 9 "$work/s.iso"
if [ -d ../shared/testdata/rar ]; then
    for f in rar.rar rar5_stored.rar rar5_compressed.rar; do seed 2 ../shared/testdata/rar/$f; done
fi

if [ -n "$seconds" ]; then
    limits=(-max_total_time="$seconds")
else
    limits=(-seed=1 -runs=25000 -max_total_time=300)
fi
# A request for more memory than exists fails as malloc fails, and the library reports it; it
# is not a crash.
ASAN_OPTIONS=detect_leaks=0:allocator_may_return_null=1 ./build-fuzz/fuzz/fuzz_archive_read \
    "$corpus" "${limits[@]}" -rss_limit_mb=2048 -timeout=20 -print_final_stats=1 2>&1 | tail -n 15
# Our own 7z header reader: plain, LZMA and encrypted headers (the first byte: 1 gives the
# password).
corpus7z=build-fuzz/corpus-7z
rm -rf "$corpus7z" && mkdir -p "$corpus7z"
{ printf '\000'; cat "$work/s.7z"; } > "$corpus7z/s.7z"
{ printf '\000'; cat "$work/l.7z"; } > "$corpus7z/l.7z"
{ printf '\001'; cat "$work/e.7z"; } > "$corpus7z/e.7z"
ASAN_OPTIONS=detect_leaks=1:allocator_may_return_null=1 ./build-fuzz/fuzz/fuzz_7z_headers \
    "$corpus7z" "${limits[@]}" -rss_limit_mb=2048 -timeout=20 -print_final_stats=1 2>&1 | tail -n 15
echo "fuzz smoke run: no crash (${limits[*]})"
