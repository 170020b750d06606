#!/usr/bin/env bash
# Builds the libFuzzer targets into build-fuzz/ (clang, VANTREL_FUZZ=ON) and runs each for a fixed
# time, two at a time, on a copy of its committed seed corpus. Fails when any target finds a crash,
# a sanitizer report, a leak, a time-out or a broken check; the finding is kept in the run folder.
#   scripts/fuzz.sh [SECONDS [TARGET...]]      default: 20 s, every target
# Environment: FUZZ_BUILD (build folder), FUZZ_WORK (run folder, default a new temporary one),
# FUZZ_JOBS (targets run at once, default 2), FUZZ_SEED (libFuzzer's seed, default a new one each run).
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=${1:-20}
shift || true
build=${FUZZ_BUILD:-build-fuzz}
jobs=${FUZZ_JOBS:-2}
work=${FUZZ_WORK:-$(mktemp -d /tmp/vantrel-fuzz.XXXXXX)}

cc=$(command -v clang-14 || command -v clang)
cxx=$(command -v clang++-14 || command -v clang++)
launcher=()
if command -v ccache >/dev/null; then
  launcher=(-DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
fi
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DVANTREL_FUZZ=ON \
  -DCMAKE_C_COMPILER="$cc" -DCMAKE_CXX_COMPILER="$cxx" "${launcher[@]}" >/dev/null
ninja -C "$build" >/dev/null

if [ $# -gt 0 ]; then
  targets=("$@")
else
  targets=()
  for dir in fuzz/corpus/*/; do targets+=("$(basename "$dir")"); done
fi

symbolizer=$(command -v llvm-symbolizer-14 || command -v llvm-symbolizer || true)
if [ -n "$symbolizer" ]; then export ASAN_SYMBOLIZER_PATH=$symbolizer; fi

# One target: its own copy of the corpus (the committed one is never written), its findings and
# its log in the run folder. Prints the final coverage line.
run_one() {
  local name=$1 dir=$work/$1
  mkdir -p "$dir/corpus" "$dir/findings"
  cp -r "fuzz/corpus/$name/." "$dir/corpus/"
  local options=()
  if [ -f "fuzz/dict/$name.dict" ]; then options=(-dict="fuzz/dict/$name.dict"); fi
  if [ -n "${FUZZ_SEED:-}" ]; then options+=(-seed="$FUZZ_SEED"); fi
  if "$build/fuzz/fuzz_$name" "${options[@]}" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 \
      -print_final_stats=1 -artifact_prefix="$dir/findings/" "$dir/corpus" >"$dir/log" 2>&1; then
    local cov
    cov=$(grep -E '^#[0-9]+.*(cov|ft):' "$dir/log" | tail -n 1 | grep -oE 'cov: [0-9]+ ft: [0-9]+' || true)
    local execs
    execs=$(grep -oE 'stat::number_of_executed_units: [0-9]+' "$dir/log" | grep -oE '[0-9]+$' || true)
    echo "ok      $name  ${cov:-no coverage line}  runs: ${execs:-?}"
  else
    echo "FINDING $name  (log: $dir/log, input: $(ls "$dir/findings" | head -n 1))"
    grep -E 'ERROR: |runtime error|check failed|SUMMARY' "$dir/log" | head -n 5 | sed 's/^/        /'
    return 1
  fi
}
export -f run_one
export work build seconds

echo "Fuzzing ${#targets[@]} targets for ${seconds} s each, $jobs at a time (run folder $work)"
if printf '%s\n' "${targets[@]}" | xargs -P "$jobs" -I{} bash -c 'run_one {}'; then
  echo "No findings."
else
  echo "Fuzzing found faults; see above." >&2
  exit 1
fi
