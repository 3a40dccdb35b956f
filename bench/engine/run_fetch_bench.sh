#!/usr/bin/env bash
# Makes the company database with 1,000 and 1,000,000 order lines, loads each
# into a private PostgreSQL server too, and runs bench_fetch on both drivers.
#
#   bench/engine/run_fetch_bench.sh [BUILD_DIR]   (default build/native)
set -euo pipefail
root=$(cd "$(dirname "$0")/../.." && pwd)
build=${1:-$root/build/native}
bench=$(cd "$build" && pwd)/bench/engine/bench_fetch
[[ -x "$bench" ]] || { echo "build bench_fetch first (cmake --build $build --target bench_fetch)" >&2; exit 1; }
work=$(mktemp -d)
chmod 755 "$work"
trap 'rm -rf "$work"' EXIT
for lines in 1000 1000000; do
  db="$work/company-$lines.db"
  python3 "$root/examples/company/make_company_db.py" "$db" --order-lines "$lines"
  "$bench" "sqlite $lines" "DRIVER=SQLite3;Database=$db"
  BENCH="$bench" LINES="$lines" "$root/tests/support/postgres.sh" run "$work/pg-$lines" "$db" -- bash -c \
    '"$BENCH" "postgresql $LINES" "DRIVER={PostgreSQL Unicode};SERVER=$PGHOST;PORT=$PGPORT;DATABASE=$PGDATABASE" \
       "$PG_PASSWORD_USER" "$PG_PASSWORD"'
done
