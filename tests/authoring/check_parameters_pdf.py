#!/usr/bin/env python3
"""Reads back the PDFs the parameters person test exported: the order list's
detail rows are exactly the orders of the range the person typed (2026-03-01
to 2026-03-31), and the page header shows that range; the customers' Orders
subreport shows exactly the orders since the date its own parameter was
given (2026-06-01) of the customers up to the main report's (3).

    check_parameters_pdf.py PDF COMPANY_DB SUBREPORT_PDF
"""
import re
import sqlite3
import subprocess
import sys


def pdf_text(pdf):
    return subprocess.run(["pdftotext", "-layout", pdf, "-"], check=True, capture_output=True, text=True).stdout


def main():
    pdf, db, sub_pdf = sys.argv[1], sys.argv[2], sys.argv[3]
    text = pdf_text(pdf)
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
    in_range = len(shown)
    sub_text = pdf_text(sub_pdf)
    shown = {(int(i), d) for i, d in re.findall(r"(\d+)\s+(\d{4}-\d\d-\d\d)", sub_text)}
    wanted = set(sqlite3.connect(db).execute(
        "SELECT OrderID, OrderDate FROM Orders WHERE CustomerID <= 3 AND OrderDate >= '2026-06-01'"))
    if not wanted or shown != wanted:
        problems.append(f"subreport: orders shown {sorted(shown)}, asked for {sorted(wanted)}")
    names = [n for (n,) in sqlite3.connect(db).execute("SELECT Name FROM Customers WHERE CustomerID <= 4 ORDER BY 1")]
    if sum(n in sub_text for n in names) != 3:
        problems.append("subreport PDF: not exactly the customers up to 3")
    for p in problems:
        print("FAIL:", p)
    if problems:
        sys.exit(1)
    print(f"{in_range} orders of the range, and only those; {len(shown)} subreport orders since the date asked")


main()
