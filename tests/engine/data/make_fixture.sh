#!/usr/bin/env bash
# The data tests' databases: the example company database (SQLite) with the
# tests' own awkward tables added, and a private PostgreSQL server holding
# the same tables (tests/support/postgres.sh).
#
#   make_fixture.sh start DIR   builds DIR/company.db and starts the server
#   make_fixture.sh stop DIR    stops the server
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../../.." && pwd)
command=$1 dir=$2
if [[ $command == stop ]]; then
  exec "$root/tests/support/postgres.sh" stop "$dir"
fi
mkdir -p "$dir"
python3 "$root/examples/company/make_company_db.py" "$dir/company.db" --order-lines 1000
python3 - "$dir/company.db" <<'PY'
import sqlite3, sys
db = sqlite3.connect(sys.argv[1])
db.executescript('''
  CREATE TABLE "Straße ""Ø"" 1" ("Id" INTEGER PRIMARY KEY, "Näme mit Leerzeichen" TEXT, "Quote""d" TEXT,
                                 "Long Text" TEXT, "Amount" NUMERIC);
  CREATE TABLE "Empty" ("Id" INTEGER PRIMARY KEY, "Name" TEXT);
''')
long_text = ("Ünïcödé " * 131072)[:1048576]
db.executemany('INSERT INTO "Straße ""Ø"" 1" VALUES (?,?,?,?,?)', [
    (1, "Ärger", 'say "hi"', long_text, 1.5),
    (2, None, None, None, None),
    (3, "x'); DROP TABLE Customers; --", "O'Brien", "short", -2),
])
db.commit()
PY
"$root/tests/support/postgres.sh" start "$dir" "$dir/company.db"
