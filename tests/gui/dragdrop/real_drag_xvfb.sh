#!/bin/sh
# Real drags with the mouse under a virtual X server, run by hand (not by ctest):
#   xvfb-run -a -s "-screen 0 1280x800x24" tests/gui/dragdrop/real_drag_xvfb.sh build/velazip OUT
# 1. a folder of an archive dragged from the Archive Browser onto a File Browser folder;
# 2. a file dragged from the File Browser onto the archive in the Archive Browser;
# 3. a file dragged from the File Browser onto a disk folder of the Archive Browser.
# Screenshots during and after each drag go to OUT; the results are checked on disk.
# The coordinates are those of the main window's first layout (1000x680 at 0,0) with the
# fixture below as the home folder.
set -eu
program=$(realpath "$1")
out=$(realpath -m "$2")
rm -rf "$out" && mkdir -p "$out/home/work/out" "$out/config" "$out/tmp" "$out/src/docs"
echo "read me please" >"$out/src/docs/readme.txt"
echo "top level" >"$out/src/top.txt"
(cd "$out/src" && zip -qr "$out/home/work/demo.zip" .)
echo "the report" >"$out/home/work/report.txt"

HOME="$out/home" XDG_CONFIG_HOME="$out/config" TMPDIR="$out/tmp" QT_QPA_PLATFORM=xcb \
    "$program" "$out/home/work/demo.zip" >"$out/program.log" 2>&1 &
pid=$!
trap 'kill $pid 2>/dev/null || true' EXIT
sleep 3

# Presses at $1,$2, moves in steps to $3,$4, takes a screenshot there, releases.
drag() {
    xdotool mousemove "$1" "$2"
    sleep 0.3
    xdotool mousedown 1
    sleep 0.2
    for step in 1 2 3 4 5 6 7 8 9 10; do
        xdotool mousemove $(($1 + ($3 - $1) * step / 10)) $(($2 + ($4 - $2) * step / 10))
        sleep 0.12
    done
    sleep 0.5
    import -window root "$out/$5-during.png"
    xdotool mouseup 1
    sleep 2
    import -window root "$out/$5-after.png"
}

import -window root "$out/0-start.png"
xdotool mousemove 50 113 click 1  # Archive Browser: expand demo.zip
sleep 0.7
xdotool mousemove 512 60 click 1  # File Browser: expand Home
sleep 0.7
xdotool mousemove 532 78 click 1  # File Browser: expand work
sleep 0.7

drag 118 131 597 96 1-docs-to-out
drag 616 168 113 113 2-report-to-demo.zip
drag 616 168 95 95 3-report-to-out-folder

status=0
check() {
    if eval "$2"; then echo "ok: $1"; else echo "FAILED: $1"; status=1; fi
}
check "docs unpacked into out" \
    '[ "$(cat "$out/home/work/out/docs/readme.txt")" = "read me please" ]'
check "report.txt added to demo.zip" \
    '[ "$(unzip -p "$out/home/work/demo.zip" report.txt)" = "the report" ]'
check "demo.zip tests good" '7zz t "$out/home/work/demo.zip" >/dev/null'
check "out/report.zip created with report.txt" \
    '[ "$(unzip -p "$out/home/work/out/report.zip" report.txt)" = "the report" ]'
check "nothing unpacked into the temporary folder by drops inside the window" \
    '[ -z "$(ls -A "$out/tmp/Vela-ZIP.Temp")" ]'
exit $status
