#!/usr/bin/env bash
# Installing: `cmake --install` puts the programs, the desktop entry, the icon, the AppStream
# metadata and the manual page in place, each valid for the desktop's own tools; the Debian
# package built by cpack installs, runs and removes cleanly.
# Usage: tests/install/check_install.sh BUILD_DIR   (run as root for the dpkg part)
set -euo pipefail
build=$(cd "${1:?build folder}" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() { echo "check_install: $*" >&2; exit 1; }

prefix="$work/prefix"
cmake --install "$build" --prefix "$prefix" >/dev/null
for f in bin/velazip bin/velazip-cli share/applications/velazip.desktop \
    share/icons/hicolor/scalable/apps/velazip.svg share/metainfo/velazip.metainfo.xml \
    share/man/man1/velazip-cli.1; do
    [ -e "$prefix/$f" ] || fail "cmake --install did not install $f"
done
desktop-file-validate "$prefix/share/applications/velazip.desktop"
appstreamcli validate --no-net --pedantic "$prefix/share/metainfo/velazip.metainfo.xml" >/dev/null ||
    appstreamcli validate --no-net "$prefix/share/metainfo/velazip.metainfo.xml"
man -l "$prefix/share/man/man1/velazip-cli.1" >/dev/null 2>&1 || fail "the manual page does not format"
env -u DISPLAY -u WAYLAND_DISPLAY -u QT_QPA_PLATFORM "$prefix/bin/velazip" --help >/dev/null ||
    fail "velazip --help needs a display"

[ "$(id -u)" -eq 0 ] || { echo "check_install: not root, the Debian package is not installed"; exit 0; }
(cd "$work" && cpack -G DEB -B "$work/deb" --config "$build/CPackConfig.cmake" >/dev/null)
deb=$(ls "$work"/deb/*.deb)
dpkg -i "$deb" >/dev/null
trap 'dpkg -r velazip >/dev/null 2>&1 || true; rm -rf "$work"' EXIT
/usr/bin/velazip-cli --help >/dev/null || fail "the installed velazip-cli does not run"
[ -f /usr/share/applications/velazip.desktop ] || fail "the package lacks the desktop entry"
dpkg -r velazip >/dev/null
[ ! -e /usr/bin/velazip-cli ] && [ ! -e /usr/share/applications/velazip.desktop ] ||
    fail "dpkg -r left files behind"
echo "check_install: installed, packaged, installed from the package and removed cleanly"
