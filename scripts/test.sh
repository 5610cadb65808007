#!/usr/bin/env bash
# Sets everything up, builds, and runs every test: the ctest suite and a short smoke run of
# each fuzz target.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
ctest --test-dir build --output-on-failure -j2
bash fuzz/smoke.sh
