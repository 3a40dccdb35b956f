#!/usr/bin/env bash
# Builds the library, registers it in a private Wine prefix as a host would,
# and runs a sample host session on the bundled example reports folder.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$(pwd)
scripts/setup.sh
cmake -S . -B build/win64 -G Ninja -DCMAKE_TOOLCHAIN_FILE=cmake/mingw-x86_64.cmake >/dev/null
cmake --build build/win64 -j "$(nproc)" >/dev/null
# The example company database (SQLite) the session's connection settings name.
python3 examples/company/make_company_db.py build/company.db
prefix="$root/build/demo-prefix"
dlls=("$root/build/win64/src/server/Mervane100.dll")
[[ -f "$root/build/win64/host/MervaneHost.dll" ]] && dlls+=("$root/build/win64/host/MervaneHost.dll")
tests/wine/prepare-prefix.sh "$prefix" "${dlls[@]}" >/dev/null
export WINEPREFIX="$prefix" WINEDEBUG=-all LANG=C.UTF-8
reports="$(winepath -w "$root/examples/reports")\\"
company="$root/build/company.db"
# The script host writes in the console (OEM) code page; the terminal reads UTF-8.
xvfb-run -a -s "-screen 0 1280x1024x24" wine cscript //nologo "$(winepath -w "$root/examples/host-session.vbs")" "$reports" "$company" |
  iconv -f CP850 -t UTF-8
