#!/usr/bin/env bash
# Sets up the machine, builds everything and runs the whole test suite.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup-debian.sh
scripts/build.sh
ctest --test-dir build --output-on-failure --timeout 300 -j2
# Every parser's fuzz target for 20 s, two at a time, on a copy of its seed corpus.
scripts/fuzz.sh 20
