#!/usr/bin/env bash
# Sets up the machine, builds vantrel and runs its main job on a sample position.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup-debian.sh
scripts/build.sh vantrel
echo "== vantrel expand: every coordinate form of the sample position"
build/vantrel expand '$nl $el $wnl $wel $wnml $weml $nml $eml $pc' --position 'N35.39.29.000E139.44.51.000/1'
echo "== vantrel expand: the default position-log line"
build/vantrel expand '$YY年$MM月$DD日 $hh時$mm分$ss秒 $nl/$el' --position 'N35.39.29.000E139.44.51.000/1'
