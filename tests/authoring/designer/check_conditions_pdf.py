#!/usr/bin/python3
"""Reads back conditions.pdf, which designer_control_test exported after a
person made negative amounts red and added a running balance: the text
through poppler's pdftotext, the colours from the pages' content streams.

    check_conditions_pdf.py FOLDER
"""
import re
import subprocess
import sys
import zlib
from pathlib import Path

pdf = Path(sys.argv[1]) / "conditions.pdf"
problems = []
text = subprocess.run(["pdftotext", "-layout", str(pdf), "-"], check=True, capture_output=True, text=True).stdout
# Each detail line reads: First, the amount, the balance so far, Second.
words = text.split()
balances = [words[i + 2] for i, word in enumerate(words[:-2]) if word == "First"]
if balances != ["120.5", "90.5", "135.5", "123.25", "133.25"]:
    problems.append(f"running balance as printed: {balances}")

# Text drawn in red: "1 0 0 rg" sets the fill colour before a text object.
data = pdf.read_bytes()
red_texts = 0
for match in re.finditer(rb"/FlateDecode.*?stream\r?\n(.*?)endstream", data, re.S):
    try:
        content = zlib.decompress(match.group(1))
    except zlib.error:
        continue
    red_texts += len(re.findall(rb"1 0 0 rg\n(?:[^\n]*\n)?BT", content))
if red_texts != 2:
    problems.append(f"{red_texts} texts drawn in red, not the two negative amounts")

for problem in problems:
    print("FAIL:", problem)
print("ALL PASSED" if not problems else f"{len(problems)} FAILED")
sys.exit(1 if problems else 0)
