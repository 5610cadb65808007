#!/bin/sh
# A real drag out of the Archive Browser onto another application, under a virtual X
# server, run by hand (not by ctest):
#   xvfb-run -a -s "-screen 0 2200x800x24" tests/gui/dragdrop/real_drag_out_xvfb.sh build/velazip OUT
# A second instance of the program stands for the other application: a file of an archive
# shown in the first is dragged onto a folder of the second one's File Browser. The first
# unpacks it into its temporary folder only then, and the second copies it from there.
# Screenshots go to OUT; the results are checked on disk. The coordinates are those of the
# main window's first layout (1000x680), the second window moved to 1100,0.
set -eu
program=$(realpath "$1")
out=$(realpath -m "$2")
rm -rf "$out" && mkdir -p "$out/home/work/out" "$out/home2/work/out" "$out/config" "$out/config2" \
    "$out/tmp" "$out/tmp2" "$out/src/docs"
echo "read me please" >"$out/src/docs/readme.txt"
echo "top level" >"$out/src/top.txt"
(cd "$out/src" && zip -qr "$out/home/work/demo.zip" .)

HOME="$out/home" XDG_CONFIG_HOME="$out/config" TMPDIR="$out/tmp" QT_QPA_PLATFORM=xcb \
    "$program" "$out/home/work/demo.zip" >"$out/program.log" 2>&1 &
pid=$!
sleep 3
HOME="$out/home2" XDG_CONFIG_HOME="$out/config2" TMPDIR="$out/tmp2" QT_QPA_PLATFORM=xcb \
    "$program" >"$out/program2.log" 2>&1 &
pid2=$!
trap 'kill $pid $pid2 2>/dev/null || true' EXIT
sleep 3
for window in $(xdotool search --all --pid $pid2 --onlyvisible --name "Vela"); do
    xdotool windowmove "$window" 1100 0
done
sleep 1

xdotool mousemove 50 113 click 1  # first Archive Browser: expand demo.zip
sleep 0.7
xdotool mousemove 1612 60 click 1  # second File Browser: expand Home
sleep 0.7
xdotool mousemove 1632 78 click 1  # second File Browser: expand work
sleep 0.7
import -window root "$out/0-start.png"

# top.txt of demo.zip onto work/out of the second window.
xdotool mousemove 118 149
sleep 0.3
xdotool mousedown 1
sleep 0.2
for step in $(seq 1 20); do
    xdotool mousemove $((118 + (1697 - 118) * step / 20)) $((149 + (96 - 149) * step / 20))
    sleep 0.1
done
sleep 0.5
import -window root "$out/1-during.png"
[ -z "$(ls -A "$out/tmp/Vela-ZIP.Temp")" ] && echo "ok: nothing unpacked while dragging" ||
    echo "FAILED: unpacked while dragging"
xdotool mouseup 1
sleep 3
import -window root "$out/2-after.png"

status=0
check() {
    if eval "$2"; then echo "ok: $1"; else echo "FAILED: $1"; status=1; fi
}
check "top.txt unpacked into the first program's temporary folder" \
    '[ "$(cat "$out/tmp/Vela-ZIP.Temp/top.txt")" = "top level" ]'
check "top.txt copied by the second program" \
    '[ "$(cat "$out/home2/work/out/top.txt")" = "top level" ]'
exit $status
