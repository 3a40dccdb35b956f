#!/usr/bin/env bash
# Makes a fresh Wine prefix for the tests: fonts the forms use, a virtual
# desktop, and the library registered as a host would register it.
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
# A Wine virtual desktop: windows get painted captions, and hiding a window
# does not wait for a window manager that bare Xvfb does not have.
desktop="$(mktemp --suffix=.reg)"
cat > "$desktop" <<'REG'
REGEDIT4

[HKEY_CURRENT_USER\Software\Wine\Explorer]
"Desktop"="Default"

[HKEY_CURRENT_USER\Software\Wine\Explorer\Desktops]
"Default"="1280x1024"
REG
wine regedit /S "$(winepath -w "$desktop")" >/dev/null 2>&1 || true
rm -f "$desktop"
for dll in "$@"; do
  wine regsvr32 /s "$(winepath -w "$dll")"
done
wineserver -w
echo "prefix ready: $prefix"
