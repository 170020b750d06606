#!/usr/bin/env bash
# Sets up the machine, builds everything and runs the whole test suite.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup-debian.sh
scripts/build.sh
ctest --test-dir build --output-on-failure --timeout 300 -j2
