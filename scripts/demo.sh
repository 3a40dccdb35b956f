#!/usr/bin/env bash
# Builds the library, registers it in a private Wine prefix as a host would,
# runs a sample host session on the bundled example reports folder, then
# opens an example report in the designer window on the example company
# database: its Design and Preview tabs are saved as PNG pictures and the
# report exported to PDF, all under build/demo/.
#
# With a display (DISPLAY set) the windows appear there and the designer
# window stays open for you to use; close it to end the demo. Without one
# everything runs on a virtual screen (Xvfb) and the window closes by itself.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$(pwd)
scripts/setup.sh
cmake -S . -B build/win64 -G Ninja -DCMAKE_TOOLCHAIN_FILE=cmake/mingw-x86_64.cmake >/dev/null
cmake --build build/win64 -j "$(nproc)" --target Mervane100 MervaneHost demo_window >/dev/null
# The example company database (SQLite) the session's connection settings name.
python3 examples/company/make_company_db.py build/company.db
prefix="$root/build/demo-prefix"
tests/wine/prepare-prefix.sh "$prefix" build/win64/src/server/Mervane100.dll build/win64/host/MervaneHost.dll >/dev/null
export WINEPREFIX="$prefix" WINEDEBUG=-all LANG=C.UTF-8
# Windows paths on Wine's Z: drive, worked out here: winepath would start
# Wine before the screen it must use is there.
windows() { local p; p=$(realpath -m "$1"); echo "Z:${p//\//\\}"; }
reports="$(windows "$root/examples/reports")\\"
company="$root/build/company.db"
out="$root/build/demo"
mkdir -p "$out"

if [[ -n "${DISPLAY:-}" ]]; then
  screen=() stay=(--stay)
else
  screen=(xvfb-run -a -s "-screen 0 1280x1024x24") stay=()
fi

# The script host writes to the console in its OEM code page, which has no
# room for many of the titles' letters: the session writes Unicode text to a
# file instead, shown here in UTF-8.
# Wine's own messages go to a log beside the results.
session="$out/host-session.txt" log="$out/wine.log"
rm -f "$session"
"${screen[@]}" wine cscript //nologo "$(windows "$root/examples/host-session.vbs")" "$reports" "$company" \
  "$(windows "$session")" 2>"$log"
wineserver -w  # the next program starts its own screen
iconv -f UTF-16 -t UTF-8 "$session" | tr -d '\r'

# The main job: a report designed and previewed in the designer window.
echo
"${screen[@]}" wine build/win64/examples/demo_window/demo_window.exe "$reports" "Customer List.rpt" "$company" \
  "$(windows "$out")" "${stay[@]}" 2>>"$log"
