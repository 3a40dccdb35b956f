#!/usr/bin/env bash
# Reads back the PDF that pdf_fonts_win_test wrote under Wine: qpdf finds no
# fault, every font is embedded, and the text reads back exactly.
#   check_pdf.sh FOLDER
set -euo pipefail
pdf="$1/customers.pdf"
qpdf --check "$pdf" >/dev/null
fonts=$(pdffonts "$pdf" | tail -n +3)
echo "$fonts"
[[ -n "$fonts" ]] || { echo "FAIL: no fonts"; exit 1; }
if echo "$fonts" | grep -v " CID TrueType .* yes yes yes "; then echo "FAIL: a font not embedded"; exit 1; fi
text=$(pdftotext -enc UTF-8 "$pdf" -)
for line in "Łódź Przemysł" "Dvořák Strojírna" "Москва Αθήνα" "Snow ☃ falls"; do
  grep -qF "$line" <<<"$text" || { echo "FAIL: '$line' did not read back: $text"; exit 1; }
done
echo "PDF read back"
