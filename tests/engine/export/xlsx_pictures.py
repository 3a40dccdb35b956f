#!/usr/bin/python3
"""Prints the pictures of a workbook, read with the standard library only,
for the export tests to compare, and whatever does not hold together:

    media<TAB>PART<TAB>SIZE
    picture<TAB>SHEET<TAB>CELL<TAB>COLUMN OFFSET<TAB>WIDTH<TAB>HEIGHT<TAB>PART   (offset and size in EMUs)
    problem<TAB>WHAT

    xlsx_pictures.py WORKBOOK
"""
import posixpath
import sys
import zipfile
import xml.etree.ElementTree as ET

PKG_REL = '{http://schemas.openxmlformats.org/package/2006/relationships}'
CT = '{http://schemas.openxmlformats.org/package/2006/content-types}'
MAIN = '{http://schemas.openxmlformats.org/spreadsheetml/2006/main}'
R = '{http://schemas.openxmlformats.org/officeDocument/2006/relationships}'
XDR = '{http://schemas.openxmlformats.org/drawingml/2006/spreadsheetDrawing}'
A = '{http://schemas.openxmlformats.org/drawingml/2006/main}'
REL_TYPE = 'http://schemas.openxmlformats.org/officeDocument/2006/relationships/'
SIGNATURES = {'png': b'\x89PNG', 'jpeg': b'\xff\xd8', 'gif': b'GIF8', 'bmp': b'BM'}

book = zipfile.ZipFile(sys.argv[1])
names = set(book.namelist())
problems = []


def rels_of(part):
    """Relationship id -> (type, target part) of a part."""
    folder, name = posixpath.split(part)
    rels_part = posixpath.join(folder, '_rels', name + '.rels')
    if rels_part not in names:
        return {}
    rels = {}
    for rel in ET.fromstring(book.read(rels_part)).iter(PKG_REL + 'Relationship'):
        target = posixpath.normpath(posixpath.join(folder, rel.get('Target')))
        if target not in names:
            problems.append('%s points at %s, which is missing' % (rels_part, target))
        rels[rel.get('Id')] = (rel.get('Type'), target)
    return rels


def column_name(index):
    name = ''
    index += 1
    while index:
        index, rest = divmod(index - 1, 26)
        name = chr(65 + rest) + name
    return name


types = ET.fromstring(book.read('[Content_Types].xml'))
defaults = {d.get('Extension'): d.get('ContentType') for d in types.iter(CT + 'Default')}
overrides = {o.get('PartName').lstrip('/'): o.get('ContentType') for o in types.iter(CT + 'Override')}
for part in overrides:
    if part not in names:
        problems.append('content type for %s, which is missing' % part)
for part in names:
    if part != '[Content_Types].xml' and part not in overrides and part.rsplit('.', 1)[-1] not in defaults:
        problems.append('no content type for %s' % part)

media_used = set()
workbook = ET.fromstring(book.read('xl/workbook.xml'))
workbook_rels = rels_of('xl/workbook.xml')
for sheet in workbook.iter(MAIN + 'sheet'):
    sheet_part = workbook_rels[sheet.get(R + 'id')][1]
    sheet_rels = rels_of(sheet_part)
    drawing = ET.fromstring(book.read(sheet_part)).find(MAIN + 'drawing')
    if drawing is None:
        continue
    rel_type, drawing_part = sheet_rels[drawing.get(R + 'id')]
    if rel_type != REL_TYPE + 'drawing' or overrides.get(drawing_part) != \
            'application/vnd.openxmlformats-officedocument.drawing+xml':
        problems.append('%s: its drawing is not related or typed as one' % sheet_part)
    drawing_rels = rels_of(drawing_part)
    for anchor in ET.fromstring(book.read(drawing_part)):
        start = anchor.find(XDR + 'from')
        ext = anchor.find(XDR + 'ext')
        blip = anchor.find('%spic/%sblipFill/%sblip' % (XDR, XDR, A))
        rel_type, picture = drawing_rels[blip.get(R + 'embed')]
        if rel_type != REL_TYPE + 'image':
            problems.append('%s: a picture related as %s' % (drawing_part, rel_type))
        media_used.add(picture)
        cell = column_name(int(start.find(XDR + 'col').text)) + str(int(start.find(XDR + 'row').text) + 1)
        print('picture\t%s\t%s\t%s\t%s\t%s\t%s' % (sheet.get('name'), cell, start.find(XDR + 'colOff').text,
                                                   ext.get('cx'), ext.get('cy'), picture))

for part in sorted(names):
    if part.startswith('xl/media/'):
        data = book.read(part)
        extension = part.rsplit('.', 1)[-1]
        if not data.startswith(SIGNATURES.get(extension, b'?')) or defaults.get(extension) != 'image/' + extension:
            problems.append('%s is not the picture its name and type say' % part)
        if part not in media_used:
            problems.append('%s is used by no picture' % part)
        print('media\t%s\t%d' % (part, len(data)))
for problem in problems:
    print('problem\t%s' % problem)
