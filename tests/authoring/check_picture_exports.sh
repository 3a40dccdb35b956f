#!/bin/bash
# Reads back what the picture test exported. The PDF: the logo is embedded
# once, as the JPEG it came as, and the damaged picture is not embedded at
# all (it prints as an empty frame). The workbook: the logo is its one
# picture file, the JPEG as it came, anchored once (it prints once, in the
# report header), and the parts that relate it hold together.
set -u
here=$(cd "$(dirname "$0")" && pwd)
pdf="$1/logo.pdf"
[ -s "$pdf" ] || { echo "FAIL: no $pdf"; exit 1; }
list=$(pdfimages -list "$pdf") || { echo "FAIL: pdfimages cannot read $pdf"; exit 1; }
echo "$list"
images=$(echo "$list" | tail -n +3)
jpegs=$(echo "$images" | awk '$3 == "image" && $4 == 160 && $5 == 80 && $9 == "jpeg"' | wc -l)
others=$(echo "$images" | awk '$9 != "jpeg"' | grep -c . || true)
objects=$(echo "$images" | awk '{print $11}' | sort -u | wc -l)
pages=$(pdfinfo "$pdf" | awk '/^Pages:/ {print $2}')
[ "$jpegs" -ge 1 ] || { echo "FAIL: the logo is not in the PDF as a JPEG"; exit 1; }
[ "$others" -eq 0 ] || { echo "FAIL: other images in the PDF"; exit 1; }
[ "$objects" -eq 1 ] || { echo "FAIL: $objects pictures in the PDF, only the logo expected"; exit 1; }

book="$1/logo.xlsx"
[ -s "$book" ] || { echo "FAIL: no $book"; exit 1; }
found=$(/usr/bin/python3 "$here/../engine/export/xlsx_pictures.py" "$book") || { echo "FAIL: cannot read $book"; exit 1; }
echo "$found"
! grep -q '^problem' <<<"$found" || { echo "FAIL: the workbook's parts do not hold together"; exit 1; }
logo=$(stat -c %s "$here/../data/pictures/logo.jpg")
[ "$(grep '^media' <<<"$found")" == "$(printf 'media\txl/media/image1.jpeg\t%s' "$logo")" ] ||
  { echo "FAIL: the workbook's picture files are not the logo alone"; exit 1; }
[ "$(grep -c '^picture' <<<"$found")" -eq 1 ] || { echo "FAIL: the logo is not placed once in the workbook"; exit 1; }
echo "PDF holds the logo as JPEG on $jpegs of $pages pages; the workbook holds it once"
