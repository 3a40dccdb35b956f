#!/usr/bin/python3
"""Reads back the files export_person_test wrote from the customer list:
the PDF with poppler's pdftotext and pdfinfo, the workbooks with openpyxl,
the CSV with Python's csv module, the web page with its HTML parser; each
must hold every customer of the database, numbers as numbers.

    check_exports.py FOLDER COMPANY_DB
"""
import csv
import sqlite3
import subprocess
import sys
from html.parser import HTMLParser
from pathlib import Path

import openpyxl

folder, db = Path(sys.argv[1]), sys.argv[2]
customers = sqlite3.connect(db).execute(
    'SELECT Name, City, Country, CreditLimit FROM Customers ORDER BY Name').fetchall()
names = [c[0] for c in customers]
problems = []


def expect(condition, what):
    if not condition:
        problems.append(what)


def strings(sheet):
    return [c.value for row in sheet.iter_rows() for c in row if isinstance(c.value, str)]


text = subprocess.run(['pdftotext', '-enc', 'UTF-8', str(folder / 'customers.pdf'), '-'],
                      capture_output=True, text=True, check=True).stdout
missing = [n for n in names if n not in text]
expect(not missing, 'PDF lacks %s' % missing[:3])
info = subprocess.run(['pdfinfo', str(folder / 'first-page.pdf')], capture_output=True, text=True).stdout
expect('Pages:           1\n' in info, 'the current page alone: %s' % info)

sheet = openpyxl.load_workbook(folder / 'as-printed.xlsx').worksheets[0]
found = strings(sheet)
expect(all(n in found for n in names), 'as printed lacks customers')
limits = [c.value for row in sheet.iter_rows() for c in row if isinstance(c.value, (int, float))]
expect(len(limits) >= len([c for c in customers if c[3] is not None]), 'as printed: credit limits not numbers')

sheet = openpyxl.load_workbook(folder / 'data-only.xlsx').worksheets[0]
rows = list(sheet.iter_rows(values_only=True))
expect(rows[0][0] == 'Name', 'data only headings: %s' % (rows[0],))
expect([r[0] for r in rows[1:]] == names, 'data only: names differ from the database')
expect(all(r[3] == c[3] and (c[3] is None or isinstance(r[3], (int, float)))
           for r, c in zip(rows[1:], customers)), 'data only: credit limits differ')

with open(folder / 'customers.csv', encoding='utf-8-sig', newline='') as f:
    lines = list(csv.reader(f))
expect([l[0] for l in lines[1:]] == names, 'CSV names differ from the database')

class Text(HTMLParser):
    def __init__(self):
        super().__init__()
        self.text = []

    def handle_data(self, data):
        self.text.append(data)


parser = Text()
parser.feed((folder / 'customers.html').read_text(encoding='utf-8'))
body = ' '.join(parser.text)
expect(all(n in body for n in names), 'the web page lacks customers')

for p in problems:
    print('FAIL:', p)
print('exports read back' if not problems else '%d problems' % len(problems))
sys.exit(1 if problems else 0)
