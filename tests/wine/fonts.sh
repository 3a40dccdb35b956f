#!/usr/bin/env bash
# Gives a Wine prefix the fonts the forms are laid out with: Wine's own
# Tahoma, and Arial, Times New Roman and Courier New mapped to Liberation.
set -euo pipefail
prefix="$1"
export WINEPREFIX="$prefix" WINEDEBUG=-all
fonts="$prefix/drive_c/windows/Fonts"
mkdir -p "$fonts"
for f in /usr/share/wine/fonts/*.ttf /usr/share/fonts/truetype/liberation/*.ttf; do
  [[ -e "$f" ]] && ln -sf "$f" "$fonts/$(basename "$f")"
done
reg="$(mktemp --suffix=.reg)"
cat > "$reg" <<'REG'
REGEDIT4

[HKEY_CURRENT_USER\Software\Wine\Fonts\Replacements]
"Arial"="Liberation Sans"
"Times New Roman"="Liberation Serif"
"Courier New"="Liberation Mono"
REG
wine regedit /S "$(winepath -w "$reg")" >/dev/null 2>&1 || true
rm -f "$reg"
