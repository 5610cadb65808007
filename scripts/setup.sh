#!/usr/bin/env bash
# Installs every Debian 12 package that building, running and testing Vela-ZIP Archiver
# needs, then configures and builds the project in build/ (Debug: warnings are errors): every
# target, or only the targets named.
# Usage: bash scripts/setup.sh [--no-build | TARGET...]
set -euo pipefail
cd "$(dirname "$0")/.."

packages=(
    # build
    build-essential cmake ninja-build pkg-config
    qt6-base-dev qt6-base-dev-tools libqt6svg6 libgl-dev
    libarchive-dev libzip-dev zlib1g-dev libbz2-dev liblzma-dev libsqlite3-dev libsimpleini-dev
    libssl-dev
    # readers of encrypted 7z archives and RAR 5 entries, run by the program itself
    7zip unar
    libicu-dev
    # icons and fonts for the window
    breeze-icon-theme fonts-dejavu-core fonts-wqy-microhei
    # fixture and peer tools used by tests and benchmarks
    zip unzip gcab genisoimage xorriso libarchive-tools bzip2 gzip xz-utils hyperfine
    # a real window under Xvfb, screenshots and synthetic input
    xvfb xauth xdotool imagemagick
    # desktop integration: mail hand-off, default applications, checks of the installed files,
    # and the Debian package
    xdg-utils desktop-file-utils appstream dpkg-dev
    # fuzzing (clang with libFuzzer and the sanitizer runtimes)
    clang libclang-rt-14-dev
)

missing=()
for p in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
    SUDO=""
    [ "$(id -u)" -ne 0 ] && SUDO="sudo"
    $SUDO apt-get update
    DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y --no-install-recommends "${missing[@]}"
fi

[ "${1:-}" = "--no-build" ] && exit 0

cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=Debug
cmake --build build -j2 ${1:+--target "$@"}
