#!/bin/bash
# Reads back the PDF the picture test exported: the logo is embedded once, as
# the JPEG it came as, and the damaged picture is not embedded at all (it
# prints as an empty frame).
set -u
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
echo "PDF holds the logo as JPEG on $jpegs of $pages pages"
