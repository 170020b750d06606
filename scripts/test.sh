#!/usr/bin/env bash
# Sets up the machine, builds everything and runs the whole test suite.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup-debian.sh
scripts/build.sh
ctest --test-dir build --output-on-failure --timeout 300 -j2
# Every parser's fuzz target for 20 s, two at a time, on a copy of its seed corpus. The seed is
# fixed so that every run walks the same inputs: a finding here comes from the change under test,
# not from the draw. Searching for new faults is the job of the long runs in fuzz/README.md.
FUZZ_SEED=1 scripts/fuzz.sh 20
