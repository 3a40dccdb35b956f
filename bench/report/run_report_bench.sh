#!/usr/bin/env bash
# The engine's figures under Wine: opening and saving a report of 1,000
# objects, then the grouped example report over 1,000 and 1,000,000 order
# lines on SQLite and on a private PostgreSQL server, and its PDF and Excel
# (data only, then as printed) exports on SQLite, each run in a process of
# its own so that its peak memory is its own.
#
#   bench/report/run_report_bench.sh [WIN64_BUILD_DIR]   (default build/win64)
#   bench/report/run_report_bench.sh WIN64_BUILD_DIR conditions
#     only the grouped report with ten conditional formatting formulas and
#     two running totals, over 1,000 and 1,000,000 lines on SQLite; then
#     with a distinct count of the lines added, which never starts again.
#
# MERVANE_BENCH_DB_DIR keeps the company databases in that folder, built
# once (the million-line one takes a while), instead of in a temporary one.
set -euo pipefail
root=$(cd "$(dirname "$0")/../.." && pwd)
build=$(cd "${1:-$root/build/win64}" && pwd)
bench="$build/bench/report/report_bench.exe"
[[ -f "$bench" ]] || { echo "build report_bench first (cmake --build $build --target report_bench)" >&2; exit 1; }
work=$(mktemp -d)
chmod 755 "$work"
trap 'rm -rf "$work"' EXIT
prefix="$build/wineprefix"
[[ -f "$prefix/system.reg" ]] || "$root/tests/wine/prepare-prefix.sh" "$prefix" "$build/src/server/Mervane100.dll" >/dev/null
run() { "$root/tests/wine/run.sh" "$prefix" "$bench" "$@"; }
dbdir=${MERVANE_BENCH_DB_DIR:-$work}
mkdir -p "$dbdir"
database() {  # the company database of $1 order lines, built when missing
  local db="$dbdir/company-$1.db"
  [[ -f "$db" ]] || python3 "$root/examples/company/make_company_db.py" "$db" --order-lines "$1" >&2
  echo "$db"
}

# Runs MODE over 1,000 and 1,000,000 lines on SQLite, then prints the growth
# of its peak memory as NAME with the words given.
sqlite_pair() {  # mode name words
  for lines in 1000 1000000; do
    run "$1-pages" "sqlite-$lines" "Driver={SQLite3};Database=$(database "$lines")" | tee -a "$work/$1.txt"
  done
  awk -F'[: ]+' -v mode="$1" -v name="$2" -v words="$3" \
    '$1 == "peak-memory-mb-" mode "-sqlite-1000" {small=$2} $1 == "peak-memory-mb-" mode "-sqlite-1000000" {large=$2}
     END {if (small && large) printf "%s: %.1f MB (%s)\n", name, large - small, words}' "$work/$1.txt"
}

if [[ "${2:-}" == conditions ]]; then
  sqlite_pair conditional conditional-peak-memory-growth-mb "goal 30 or less"
  # A distinct count that never starts again keeps every value it has seen,
  # once: the pages' saved starts do not copy them.
  sqlite_pair distinct distinct-peak-memory-growth-mb "a million values kept once"
  exit 0
fi

run open-save "$work"
for lines in 1000 1000000; do
  db=$(database "$lines")
  run pages "sqlite-$lines" "Driver={SQLite3};Database=$db"
  run pdf "sqlite-$lines" "Driver={SQLite3};Database=$db" "Z:$(tr / '\\' <<<"$work")" | tee -a "$work/pdf.txt"
  run xlsx "sqlite-$lines" "Driver={SQLite3};Database=$db" "Z:$(tr / '\\' <<<"$work")" | tee -a "$work/xlsx.txt"
  RUN="$root/tests/wine/run.sh" PREFIX="$prefix" BENCH="$bench" LINES="$lines" \
    "$root/tests/support/postgres.sh" run "$work/pg-$lines" "$db" -- bash -c \
    '"$RUN" "$PREFIX" "$BENCH" pages "postgresql-$LINES" \
       "Driver={PostgreSQL Unicode};Server=$PGHOST;Port=$PGPORT;Database=$PGDATABASE" "$PG_PASSWORD_USER" "$PG_PASSWORD"'
done
# The PDF export's memory at a million lines against a thousand.
awk -F'[: ]+' '/^pdf-peak-memory-mb-sqlite-1000:/ {small=$2} /^pdf-peak-memory-mb-sqlite-1000000:/ {large=$2}
  END {if (small && large) printf "pdf-peak-memory-growth-mb: %.1f MB (goal 40 or less)\n", large - small}' "$work/pdf.txt"
awk -F'[: ]+' '/^xlsx-peak-memory-mb-sqlite-1000:/ {small=$2} /^xlsx-peak-memory-mb-sqlite-1000000:/ {large=$2}
  END {if (small && large) printf "xlsx-peak-memory-growth-mb: %.1f MB (flat: goal 20 or less)\n", large - small}' "$work/xlsx.txt"
