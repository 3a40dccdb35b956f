#!/usr/bin/env bash
# Makes a fresh Wine prefix for the tests: fonts the forms use, and the
# library registered as a host would register it.
#   prepare-prefix.sh PREFIX DLL [MORE_DLLS...]
set -euo pipefail
prefix="$1"; shift
export WINEPREFIX="$prefix" WINEDEBUG=-all LANG=C.UTF-8
here="$(cd "$(dirname "$0")" && pwd)"
if [[ ! -f "$prefix/system.reg" ]]; then
  rm -rf "$prefix"
  wineboot -i >/dev/null 2>&1 || true
  wineserver -w
fi
"$here/fonts.sh" "$prefix"
for dll in "$@"; do
  wine regsvr32 /s "$(winepath -w "$dll")"
done
wineserver -w
echo "prefix ready: $prefix"
