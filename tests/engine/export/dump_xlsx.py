#!/usr/bin/python3
"""Prints what openpyxl reads in a workbook, one cell a line, for the export
tests to compare:  SHEET!CELL<TAB>TYPE<TAB>VALUE<TAB>NUMBER FORMAT
TYPE is openpyxl's: n (number), s (text), d (date); dates in ISO form.

    dump_xlsx.py WORKBOOK
"""
import datetime
import sys

import openpyxl

book = openpyxl.load_workbook(sys.argv[1])
print('title\t%s' % book.properties.title)
for sheet in book.worksheets:
    for row in sheet.iter_rows():
        for cell in row:
            if cell.value is None:
                continue
            value = cell.value
            if isinstance(value, datetime.datetime):
                value = value.isoformat()
            elif isinstance(value, float) and value.is_integer():
                value = int(value)
            print('%s!%s\t%s\t%s\t%s' % (sheet.title, cell.coordinate, cell.data_type, value, cell.number_format))
