#!/usr/bin/env bash
# Prints the example customer list from the designer window's preview to the
# CUPS PDF printer (tests/printing/pdf-printer.sh makes it the default) and
# reads the PDF back: every customer of the company database must be in it.
#   print_to_pdf.sh RUN PREFIX TEST_EXE COMPANY_DB REPORT
set -uo pipefail
run=$1 prefix=$2 exe=$3 db=$4 report=$5
out="$HOME/PDF"
if ! lpstat -d 2>/dev/null | grep -q mervane_pdf; then
  echo "no PDF printer on this machine: the print test is skipped"
  echo "ALL PASSED"
  exit 0
fi
mkdir -p "$out"
marker=$(mktemp)
sleep 1
MERVANE_PRINT_REPORT="$report" "$run" "$prefix" "$exe" --gtest_filter='*PrintsThePreview*' || { echo "FAIL: the print run failed"; exit 1; }
pdf=""
for _ in $(seq 100); do
  pdf=$(find "$out" -name '*.pdf' -newer "$marker" 2>/dev/null | head -1)
  [[ -n "$pdf" ]] && break
  sleep 0.2
done
rm -f "$marker"
[[ -n "$pdf" ]] || { echo "FAIL: no PDF came out of the printer in $out"; exit 1; }
trap 'rm -f "$pdf"' EXIT
text=$(pdftotext -layout "$pdf" -)
missing=0
while IFS= read -r name; do
  grep -qF -- "$name" <<<"$text" || { echo "FAIL: customer $name is not in the printed PDF"; missing=$((missing + 1)); }
done < <(sqlite3 "$db" 'SELECT Name FROM Customers')
((missing == 0)) || exit 1
grep -q "Credit limit" <<<"$text" || { echo "FAIL: the page header is not in the printed PDF"; exit 1; }
# Every printed page shows the final page total.
pages=$(pdfinfo "$pdf" | awk '/^Pages:/ {print $2}')
footers=$(grep -oE 'Page [0-9]+ of [0-9]+' <<<"$text")
expected=$(for n in $(seq "$pages"); do echo "Page $n of $pages"; done)
[[ "$footers" == "$expected" ]] || { echo "FAIL: page footers are not 1 to $pages of $pages:"; echo "$footers"; exit 1; }
echo "the printed PDF holds every customer"
echo "ALL PASSED"
