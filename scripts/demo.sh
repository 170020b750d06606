#!/usr/bin/env bash
# Sets up the machine, builds vantrel and runs its main job: acquire the position from the
# emulated W-SIM module and send it through every channel to real servers on this machine.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup-debian.sh
scripts/build.sh vantrel
exec /usr/bin/python3 scripts/demo/run_demo.py "$PWD/build/vantrel" "$PWD/build/demo"
