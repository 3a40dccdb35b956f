#!/usr/bin/env bash
# Runs a Windows program under Wine in the test prefix given as $1.
# Unix paths among the arguments are turned into Windows paths.
set -euo pipefail
export WINEPREFIX="$1"; shift
export WINEDEBUG=${WINEDEBUG:--all}
export LANG=C.UTF-8
prog="$1"; shift
args=()
for a in "$@"; do
  if [[ "$a" == /* && -e "$a" ]]; then args+=("$(winepath -w "$a" 2>/dev/null)"); else args+=("$a"); fi
done
exec wine "$prog" "${args[@]}"
