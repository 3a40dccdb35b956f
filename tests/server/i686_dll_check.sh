#!/usr/bin/env bash
# What a 32-bit host would meet in the i686 DLL, read from the file since
# nothing 32-bit runs here: the same exports by ordinal and the same imported
# DLLs as the x86_64 DLL (so no compiler runtime DLL slipped in), undecorated
# entry point names, and file positions through the 64-bit seek of the C
# runtime.
#   i686_dll_check.sh I686_DLL X86_64_DLL
set -uo pipefail
dll32="$1" dll64="$2"
if [[ ! -f "$dll32" ]]; then
  echo "FAIL no i686 DLL at $dll32 (scripts/test.sh builds it into build/win32)"
  exit 1
fi
failed=0
fail() { echo "FAIL $*"; failed=1; }

exports() {  # objdump dll: "ordinal name" lines
  "$1" -p "$2" | awk '/^Export Address Table -- Ordinal Base/ { base = $NF }
    /^\[Ordinal\/Name Pointer\] Table/ { on = 1; next } on && NF == 0 { on = 0 }
    on { gsub(/[\[\]]/, ""); print $1 + base, $2 }'
}
imported_dlls() { "$1" -p "$2" | awk '/DLL Name:/ { print tolower($3) }' | sort -u; }

e32=$(exports i686-w64-mingw32-objdump "$dll32")
e64=$(exports x86_64-w64-mingw32-objdump "$dll64")
[[ -n "$e64" ]] || fail "no exports read from $dll64"
[[ "$e32" == "$e64" ]] || fail "exports differ: i686 [$e32] x86_64 [$e64]"
[[ "$e32" != *@* ]] || fail "decorated export names: $e32"

i32=$(imported_dlls i686-w64-mingw32-objdump "$dll32")
i64=$(imported_dlls x86_64-w64-mingw32-objdump "$dll64")
[[ "$i32" == "$i64" ]] || fail "imported DLLs differ: i686 [$i32] x86_64 [$i64]"

# File streams (spool, archives) seek through _lseeki64; the 32-bit _lseek
# would stop them at 2 GB.
functions=$(i686-w64-mingw32-objdump -p "$dll32" | awk '/DLL Name:/ { dll = tolower($3) } dll == "msvcrt.dll" && NF == 3 && $1 ~ /^[0-9a-f]+$/ { print $3 }')
grep -qx '_lseeki64' <<<"$functions" || fail "the i686 DLL does not import _lseeki64"
for narrow in _lseek fseek ftell _telli; do
  grep -qx "$narrow" <<<"$functions" && fail "the i686 DLL imports $narrow (32-bit file positions)"
done

file "$dll32" | grep -q 'PE32 executable (DLL).*Intel 80386' || fail "not a 32-bit DLL: $(file "$dll32")"
((failed == 0)) && echo "i686 DLL checked: $(wc -l <<<"$e32") exports, $(wc -l <<<"$i32") imported DLLs, 64-bit seeks"
exit $failed
