#!/usr/bin/env bash
# Sets everything up, builds, and runs every test: the ctest suite built with AddressSanitizer
# and UndefinedBehaviorSanitizer, where any report fails the run, and a short smoke run of each
# fuzz target.
#
# The plain Debug build in build/ (warnings are errors) builds the programs and benchmarks; the
# tests are built once, in build-asan/ (Debug with sanitizers, warnings are errors there too),
# and their one run is the sanitized one.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh velazip velazip-cli vz_benchmarks

cmake -S . -B build-asan -G Ninja -DCMAKE_BUILD_TYPE=Debug -DVELAZIP_SANITIZE=ON >/dev/null
cmake --build build-asan -j2 --target vz_tests

# Reports go to files, printed after the run, so that one from a child process (velazip-cli run
# by a test that expects it to fail) cannot pass unseen.
reports=$(mktemp -d)
trap 'rm -rf "$reports"' EXIT
status=0
ASAN_OPTIONS="detect_leaks=1:abort_on_error=0:halt_on_error=1:log_path=$reports/report" \
    UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1:log_path=$reports/report" \
    ctest --test-dir build-asan --output-on-failure -j2 || status=$?
if compgen -G "$reports/report*" >/dev/null; then
    cat "$reports"/report*
    echo "sanitizer reports above" >&2
    exit 1
fi
[ "$status" -eq 0 ] || exit "$status"

bash fuzz/smoke.sh

bash tests/install/check_install.sh build
