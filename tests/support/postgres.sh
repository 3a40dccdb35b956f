#!/usr/bin/env bash
# A private PostgreSQL server for the data tests, loaded with the tables of a
# SQLite file (the example company database and the tests' own tables).
#
#   postgres.sh start DIR SQLITE_FILE   start a cluster in DIR/cluster, load the file, write DIR/postgres.env
#   postgres.sh stop DIR                stop it and remove the cluster
#   postgres.sh run DIR SQLITE_FILE -- COMMAND...
#                                       start, run COMMAND with the details in its environment, stop
#
# The cluster listens on a free port of 127.0.0.1 and on a socket in its own
# folder. Two roles can read the data over TCP: mervane_trust logs on without
# a password, mervane_pw only with its password (scram-sha-256); anyone else
# is asked for a password, so connecting "integrated" is refused the way a
# server refuses an unknown log-on. DIR/postgres.env holds PGHOST, PGPORT,
# PGDATABASE and the two roles with the password, as shell assignments.
#
# initdb refuses to run as root: as root the server runs as the user
# "nobody" (the cluster folder is given to it); as anyone else, as that user.
set -euo pipefail

command=${1:-}
dir=${2:-}
[[ -n "$command" && -n "$dir" ]] || { echo "usage: $0 start|stop|run DIR [SQLITE_FILE] [-- COMMAND...]" >&2; exit 2; }

bin=$(ls -d /usr/lib/postgresql/*/bin 2>/dev/null | sort -V | tail -1)
[[ -x "$bin/initdb" ]] || { echo "PostgreSQL is not installed (no initdb under /usr/lib/postgresql)" >&2; exit 1; }
cluster="$dir/cluster"
password='Pa55;wörd={x}'  # no single quote: postgres.env quotes it with them

as_owner() {
  if [[ $(id -u) == 0 ]]; then runuser -u nobody -- "$@"; else "$@"; fi
}

stop() {
  if [[ -f "$cluster/data/postmaster.pid" ]]; then
    as_owner "$bin/pg_ctl" -D "$cluster/data" -m immediate -w stop >/dev/null 2>&1 || true
  fi
  rm -rf "$cluster"
}

start() {
  local sqlite_file=$1
  stop
  mkdir -p "$cluster"
  [[ $(id -u) == 0 ]] && chown nobody "$cluster"
  chmod 700 "$cluster"
  local port
  port=$(python3 -c 'import socket; s=socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])')
  as_owner "$bin/initdb" -D "$cluster/data" -U postgres --auth-local=trust --auth-host=scram-sha-256 \
    --encoding=UTF8 --no-locale >"$cluster/initdb.log" 2>&1 || { cat "$cluster/initdb.log" >&2; return 1; }
  cat >"$cluster/data/pg_hba.conf" <<EOF
local all all trust
host all mervane_trust 127.0.0.1/32 trust
host all all 127.0.0.1/32 scram-sha-256
EOF
  as_owner "$bin/pg_ctl" -D "$cluster/data" -l "$cluster/server.log" -w -t 60 \
    -o "-p $port -k $cluster -c listen_addresses=127.0.0.1 -c fsync=off -c full_page_writes=off" start >/dev/null ||
    { cat "$cluster/server.log" >&2; return 1; }

  local psql=("$bin/psql" -X -q -v ON_ERROR_STOP=1 -h "$cluster" -p "$port" -U postgres)
  "${psql[@]}" -d postgres -c "CREATE DATABASE company" \
    -c "CREATE ROLE mervane_trust LOGIN" \
    -c "CREATE ROLE mervane_pw LOGIN PASSWORD '${password//\'/\'\'}'"
  # The SQLite file's tables, types, rows and foreign keys, as SQL and CSV.
  python3 - "$sqlite_file" "$cluster/load" <<'PY'
import csv, os, sqlite3, sys
source, out = sys.argv[1], sys.argv[2]
os.makedirs(out, exist_ok=True)
db = sqlite3.connect(source)
def q(name): return '"' + name.replace('"', '""') + '"'
def pgtype(declared):
    d = (declared or "").upper()
    if "INT" in d: return "bigint"
    if "REAL" in d or "FLOA" in d or "DOUB" in d: return "double precision"
    if "NUM" in d or "DEC" in d: return "numeric"
    return "text"
script = []
keys = []
tables = [r[0] for r in db.execute("SELECT name FROM sqlite_master WHERE type='table' AND name NOT LIKE 'sqlite_%' ORDER BY rowid")]
for i, table in enumerate(tables):
    cols = list(db.execute(f"PRAGMA table_info({q(table)})"))
    pk = [c[1] for c in sorted(cols, key=lambda c: c[5]) if c[5]]
    defs = [f"{q(c[1])} {pgtype(c[2])}" + (" NOT NULL" if c[3] else "") for c in cols]
    if pk: defs.append("PRIMARY KEY (" + ", ".join(q(p) for p in pk) + ")")
    script.append(f"CREATE TABLE {q(table)} ({', '.join(defs)});")
    path = os.path.join(out, f"{i}.csv")
    with open(path, "w", newline="", encoding="utf-8") as f:
        w = csv.writer(f)
        for row in db.execute(f"SELECT * FROM {q(table)}"):
            w.writerow(["\\N" if v is None else v for v in row])
    script.append(f"\\copy {q(table)} FROM '{path}' WITH (FORMAT csv, NULL '\\N')")
    for fk in db.execute(f"PRAGMA foreign_key_list({q(table)})"):
        keys.append(f"ALTER TABLE {q(table)} ADD FOREIGN KEY ({q(fk[3])}) REFERENCES {q(fk[2])} ({q(fk[4])});")
    # The file's own indexes (not those SQLite makes for its keys), so that
    # the same queries stream in the same order without sorting first.
    for name, sql in db.execute("SELECT name, sql FROM sqlite_master WHERE type='index' AND tbl_name=? AND sql IS NOT NULL",
                                (table,)):
        columns = [r[2] for r in db.execute(f"PRAGMA index_info({q(name)})")]
        keys.append(f"CREATE INDEX {q(name)} ON {q(table)} (" + ", ".join(q(c) for c in columns) + ");")
script += keys
script.append("GRANT SELECT ON ALL TABLES IN SCHEMA public TO mervane_trust, mervane_pw;")
script.append("ANALYZE;")
with open(os.path.join(out, "load.sql"), "w", encoding="utf-8") as f:
    f.write("\n".join(script) + "\n")
PY
  "${psql[@]}" -d company -f "$cluster/load/load.sql" >/dev/null
  rm -rf "$cluster/load"
  cat >"$dir/postgres.env" <<EOF
PGHOST=127.0.0.1
PGPORT=$port
PGDATABASE=company
PGSOCKET=$cluster
PG_TRUST_USER=mervane_trust
PG_PASSWORD_USER=mervane_pw
PG_PASSWORD='$password'
EOF
  echo "PostgreSQL $("$bin/postgres" --version | awk '{print $3}') on 127.0.0.1:$port, database company" \
       "(roles mervane_trust without a password, mervane_pw with one); details in $dir/postgres.env"
}

case "$command" in
  start)
    [[ -n "${3:-}" ]] || { echo "start needs the SQLite file to load" >&2; exit 2; }
    mkdir -p "$dir"
    trap 'status=$?; [[ $status == 0 ]] || stop; exit $status' EXIT
    start "$3"
    ;;
  stop)
    stop
    rm -f "$dir/postgres.env"
    ;;
  run)
    [[ -n "${3:-}" && "${4:-}" == "--" ]] || { echo "usage: $0 run DIR SQLITE_FILE -- COMMAND..." >&2; exit 2; }
    mkdir -p "$dir"
    trap 'stop; rm -f "$dir/postgres.env"' EXIT
    start "$3"
    set -a
    # shellcheck disable=SC1091
    source "$dir/postgres.env"
    set +a
    "${@:5}"
    ;;
  *)
    echo "unknown command $command" >&2
    exit 2
    ;;
esac
