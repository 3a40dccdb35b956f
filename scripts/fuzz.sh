#!/usr/bin/env bash
# Runs every libFuzzer harness for SECONDS each (default 60), one after the
# other, from its committed seed corpus under fuzz/<folder>/corpus. Builds
# them first in build/sanitize (clang, AddressSanitizer and
# UndefinedBehaviorSanitizer; the same build runs the sanitized core tests).
#
#   bash scripts/fuzz.sh 60            every harness for a minute
#   bash scripts/fuzz.sh 300 zip       only the harnesses whose name holds "zip"
#
# New inputs the fuzzer finds go to build/sanitize/fuzz-runs/<harness>/,
# which later runs start from too; a crashing input is kept as
# build/sanitize/fuzz-runs/<harness>-crash-*, the run's output as
# build/sanitize/fuzz-runs/<harness>.log. Prints one line per harness,
#   <harness>: <executions> executions in <seconds> s
# and exits with the number of harnesses that failed.
set -uo pipefail
cd "$(dirname "$0")/.."
root=$(pwd)
scripts/setup.sh || exit 1
seconds=${1:-60}
only=${2:-}
dir=build/sanitize

# harness, corpus folder under fuzz/
harnesses=(
  "definition_fuzzer model"
  "formula_fuzzer formula"
  "zip_fuzzer archive"
  "summary_fuzzer summary"
  "stored_values_fuzzer stored_values"
  "connection_fuzzer connection"
  "delimited_fuzzer delimited"
  "vardo_fuzzer vardo"
  "font_subset_fuzzer fonts"
)

mkdir -p "$dir"
cmake -S "$root" -B "$dir" -G Ninja -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ -DMERVANE_FUZZ=ON \
  >"$dir.configure.log" 2>&1 || { cat "$dir.configure.log"; exit 1; }
cmake --build "$dir" -j "$(nproc)" --target fuzzers || exit 1

failed=0
for entry in "${harnesses[@]}"; do
  read -r name corpus <<<"$entry"
  [[ -n "$only" && "$name" != *"$only"* ]] && continue
  work="$dir/fuzz-runs/$name"
  mkdir -p "$work"
  log="$work.log"
  # First every committed input whole, as found (some are large on purpose),
  # then fuzzing with inputs of up to 8 kB.
  "$dir/fuzz/$name" "fuzz/$corpus/corpus" -runs=0 -timeout=10 -rss_limit_mb=2048 -artifact_prefix="$work-" \
    >"$log" 2>&1 &&
    "$dir/fuzz/$name" "$work" "fuzz/$corpus/corpus" -max_total_time="$seconds" -max_len=8192 -timeout=10 \
      -rss_limit_mb=2048 -artifact_prefix="$work-" -print_final_stats=1 >>"$log" 2>&1
  status=$?
  runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -1)
  if ((status != 0)); then
    echo "$name: FAILED after ${runs:-?} executions (exit $status); its log is $log:"
    grep -E -A25 '^==[0-9]+==ERROR|runtime error|deadly signal|Test unit written' "$log" | head -30
    failed=$((failed + 1))
  else
    echo "$name: ${runs:-?} executions in $seconds s"
  fi
done
exit "$failed"
