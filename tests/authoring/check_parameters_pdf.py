#!/usr/bin/env python3
"""Reads back the PDF the parameters person test exported: its detail rows are
exactly the orders of the range the person typed (2026-03-01 to 2026-03-31),
and the page header shows that range.

    check_parameters_pdf.py PDF COMPANY_DB
"""
import re
import sqlite3
import subprocess
import sys


def main():
    pdf, db = sys.argv[1], sys.argv[2]
    text = subprocess.run(["pdftotext", "-layout", pdf, "-"], check=True, capture_output=True, text=True).stdout
    shown = {(int(i), d) for i, d in re.findall(r"^\s*(\d+)\s+(\d{4}-\d\d-\d\d)\s*$", text, re.M)}
    wanted = set(sqlite3.connect(db).execute(
        "SELECT OrderID, OrderDate FROM Orders WHERE OrderDate BETWEEN '2026-03-01' AND '2026-03-31'"))
    problems = []
    if not wanted:
        problems.append("the database has no orders in March 2026")
    if shown != wanted:
        problems.append(f"rows shown but not in the range: {sorted(shown - wanted)[:10]}; "
                        f"rows of the range missing: {sorted(wanted - shown)[:10]}")
    if "Orders of 2026-03-01 - 2026-03-31" not in text:
        problems.append("the page header does not show the range")
    for p in problems:
        print("FAIL:", p)
    if problems:
        sys.exit(1)
    print(f"{len(shown)} orders of the range, and only those")


main()
