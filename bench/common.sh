# Shared by the benchmark scripts: a Release build, data sets made once under $BENCH_DATA,
# and best-of-N timing. Source it; do not run it.
set -euo pipefail
BENCH_ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
BENCH_DATA=${BENCH_DATA:-/tmp/velazip-bench}
BENCH_RUNS=${BENCH_RUNS:-3}
mkdir -p "$BENCH_DATA"
export XDG_CONFIG_HOME="$BENCH_DATA/config"
# Every program, the peers above all, runs with TZ=UTC: with TZ unset, 7zz l spends most of its
# time converting times, and every ratio against it would look twice as good as it is.
export TZ=UTC

build_release() {
    local log="$BENCH_DATA/build.log"
    if ! { cmake -S "$BENCH_ROOT" -B "$BENCH_ROOT/build-release" -G Ninja -DCMAKE_BUILD_TYPE=Release \
               -DVELAZIP_BUILD_TESTS=OFF -DVELAZIP_BUILD_GUI=ON "$@" &&
           cmake --build "$BENCH_ROOT/build-release" -j2; } >"$log" 2>&1; then
        tail -n 30 "$log"
        echo "the Release build failed (see $log)" >&2
        exit 1
    fi
    VZ="$BENCH_ROOT/build-release/velazip-cli"
}

# best_time "command ..." [setup command run before each try]: prints the best wall time in s.
best_time() {
    local best="" t0 t1 s
    for _ in $(seq "$BENCH_RUNS"); do
        [ -n "${2:-}" ] && eval "$2"
        t0=$(date +%s%N)
        eval "$1" >/dev/null 2>&1
        t1=$(date +%s%N)
        s=$(echo "scale=4; ($t1 - $t0) / 1000000000" | bc)
        if [ -z "$best" ] || [ "$(echo "$s < $best" | bc)" = 1 ]; then best=$s; fi
    done
    echo "$best"
}

ratio() { echo "scale=2; $1 / $2" | bc; }

# A zip of 100,000 small entries in 1,000 folders (100 entries each, 3 sub-folders), and
# one folder of 10,000 files.
make_big_listing_zip() {
    BIG_ZIP="$BENCH_DATA/entries100k.zip"
    [ -f "$BIG_ZIP" ] && return
    local tree="$BENCH_DATA/entries100k"
    rm -rf "$tree" && mkdir -p "$tree"
    (
        cd "$tree"
        for f in $(seq -w 0 999); do mkdir -p "folder$f/s0" "folder$f/s1" "folder$f/s2"; done
        for f in $(seq -w 0 899); do
            for i in $(seq 0 99); do echo "$i" > "folder$f/s$((i % 3))/file$i.txt"; done
        done
        mkdir -p folder999/many
        for i in $(seq -w 0 9999); do echo "$i" > "folder999/many/f$i.txt"; done
        zip -qr -1 "$BIG_ZIP" .
    )
    rm -rf "$tree"
}

# A zip of 1,000,000 one-byte stored files in 1,000 folders of 1,000 ("folder000/file000.txt"),
# written directly (zip and 7zz take minutes to add a million files).
make_million_zip() {
    MILLION_ZIP="$BENCH_DATA/entries1m.zip"
    [ -f "$MILLION_ZIP" ] && return
    python3 - "$MILLION_ZIP.part" <<'PY'
import struct, sys, zlib
crc = zlib.crc32(b"x")
time, date = 0, (46 << 9) | (1 << 5) | 1  # 2026-01-01 00:00
local, central, offset = bytearray(), bytearray(), 0
with open(sys.argv[1], "wb") as out:
    for f in range(1000):
        for i in range(1000):
            name = b"folder%03d/file%03d.txt" % (f, i)
            head = struct.pack("<IHHHHHIIIHH", 0x04034B50, 10, 0, 0, time, date, crc, 1, 1,
                               len(name), 0) + name + b"x"
            central += struct.pack("<IHHHHHHIIIHHHHHII", 0x02014B50, 0x031E, 10, 0, 0, time,
                                   date, crc, 1, 1, len(name), 0, 0, 0, 0, 0o100644 << 16,
                                   offset) + name
            local += head
            offset += len(head)
        out.write(local)
        local.clear()
    out.write(central)
    n = 1000 * 1000
    # zip64 end record and locator, then the end record pointing at them.
    out.write(struct.pack("<IQHHIIQQQQ", 0x06064B50, 44, 0x031E, 45, 0, 0, n, n, len(central),
                          offset))
    out.write(struct.pack("<IIQI", 0x07064B50, 0, offset + len(central), 1))
    out.write(struct.pack("<IHHHHIIH", 0x06054B50, 0, 0, 0xFFFF, 0xFFFF, 0xFFFFFFFF,
                          0xFFFFFFFF, 0))
PY
    mv "$MILLION_ZIP.part" "$MILLION_ZIP"
}

# The same 100,000 entries in a 7z (made from the zip's files).
make_big_listing_7z() {
    make_big_listing_zip
    BIG_7Z="$BENCH_DATA/entries100k.7z"
    [ -f "$BIG_7Z" ] && return
    local tree="$BENCH_DATA/entries100k-7z"
    rm -rf "$tree" && mkdir -p "$tree"
    (cd "$tree" && unzip -q "$BIG_ZIP" && 7zz a -bso0 -bsp0 "$BIG_7Z" . >/dev/null)
    rm -rf "$tree"
}

# peak_rss "command ...": prints the peak resident memory of the command in MiB.
peak_rss() {
    local out="$BENCH_DATA/peak-rss"
    /usr/bin/time -f %M -o "$out" bash -c "$1" >/dev/null 2>&1 || true
    echo "scale=1; $(tail -n 1 "$out") / 1024" | bc
}

# About 300 MB of mixed files: random (incompressible), base64 text, source-like text, many
# small files; and its zip made by `zip -6 -r`.
make_mixed_tree() {
    MIXED="$BENCH_DATA/mixed"
    [ -f "$MIXED/.done" ] && return
    rm -rf "$MIXED" && mkdir -p "$MIXED/random" "$MIXED/text" "$MIXED/src"
    for i in $(seq 1 80); do head -c 1000000 /dev/urandom > "$MIXED/random/r$i.bin"; done
    head -c 40000000 /dev/urandom > "$MIXED/random/large.bin"
    for i in $(seq 1 1500); do head -c 45000 /dev/urandom | base64 > "$MIXED/text/t$i.txt"; done
    local line
    for d in $(seq 1 40); do
        mkdir -p "$MIXED/src/m$d"
        for i in $(seq 1 250); do
            line="int function_$i(int value_$d) { return value_$d * $i + $d; } // module $d"
            for _ in $(seq 1 60); do echo "$line"; done > "$MIXED/src/m$d/f$i.c"
        done
    done
    touch "$MIXED/.done"
}

make_mixed_zip() {
    make_mixed_tree
    MIXED_ZIP="$BENCH_DATA/mixed.zip"
    [ -f "$MIXED_ZIP" ] || (cd "$MIXED" && zip -qr -6 "$MIXED_ZIP" random text src)
}
