#!/usr/bin/python3
"""Prints the pictures of a workbook, read with the standard library only,
and whatever in its parts does not hold together:
    media<TAB>PART<TAB>SIZE
    picture<TAB>SHEET<TAB>CELL<TAB>COLUMN OFFSET<TAB>WIDTH<TAB>HEIGHT<TAB>PART   (EMUs)
    problem<TAB>WHAT

    xlsx_pictures.py WORKBOOK
"""
import posixpath
import sys
import zipfile
import xml.etree.ElementTree as ET

REL = '{http://schemas.openxmlformats.org/package/2006/relationships}'
CT = '{http://schemas.openxmlformats.org/package/2006/content-types}'
MAIN = '{http://schemas.openxmlformats.org/spreadsheetml/2006/main}'
R = '{http://schemas.openxmlformats.org/officeDocument/2006/relationships}'
XDR = '{http://schemas.openxmlformats.org/drawingml/2006/spreadsheetDrawing}'
BLIP = '%spic/%sblipFill/{http://schemas.openxmlformats.org/drawingml/2006/main}blip' % (XDR, XDR)
REL_TYPE = 'http://schemas.openxmlformats.org/officeDocument/2006/relationships/'
SIGNATURES = {'png': b'\x89PNG', 'jpeg': b'\xff\xd8', 'gif': b'GIF8', 'bmp': b'BM'}

book = zipfile.ZipFile(sys.argv[1])
names = set(book.namelist())
problems, used = [], set()


def rels_of(part):
    """Relationship id -> (type, target part)."""
    folder, name = posixpath.split(part)
    rels = posixpath.join(folder, '_rels', name + '.rels')
    found = {}
    for rel in ET.fromstring(book.read(rels)).iter(REL + 'Relationship') if rels in names else []:
        target = posixpath.normpath(posixpath.join(folder, rel.get('Target')))
        if target not in names:
            problems.append('%s points at %s, which is missing' % (rels, target))
        found[rel.get('Id')] = (rel.get('Type'), target)
    return found


types = ET.fromstring(book.read('[Content_Types].xml'))
defaults = {d.get('Extension'): d.get('ContentType') for d in types.iter(CT + 'Default')}
overrides = {o.get('PartName').lstrip('/'): o.get('ContentType') for o in types.iter(CT + 'Override')}
problems += ['content type for %s, which is missing' % p for p in overrides if p not in names]
problems += ['no content type for %s' % p for p in names
             if p != '[Content_Types].xml' and p not in overrides and p.rsplit('.', 1)[-1] not in defaults]

sheets = rels_of('xl/workbook.xml')
for sheet in ET.fromstring(book.read('xl/workbook.xml')).iter(MAIN + 'sheet'):
    part = sheets[sheet.get(R + 'id')][1]
    drawing = ET.fromstring(book.read(part)).find(MAIN + 'drawing')
    if drawing is None:
        continue
    kind, drawing_part = rels_of(part)[drawing.get(R + 'id')]
    if kind != REL_TYPE + 'drawing' or overrides.get(drawing_part) != \
            'application/vnd.openxmlformats-officedocument.drawing+xml':
        problems.append('%s: its drawing is not related or typed as one' % part)
    pictures = rels_of(drawing_part)
    for anchor in ET.fromstring(book.read(drawing_part)):
        start, ext = anchor.find(XDR + 'from'), anchor.find(XDR + 'ext')
        kind, picture = pictures[anchor.find(BLIP).get(R + 'embed')]
        if kind != REL_TYPE + 'image':
            problems.append('%s: a picture related as %s' % (drawing_part, kind))
        used.add(picture)
        column, row = int(start.find(XDR + 'col').text), int(start.find(XDR + 'row').text)
        letters = ''
        while column >= 0:
            column, rest = divmod(column, 26)
            letters, column = chr(65 + rest) + letters, column - 1
        print('picture\t%s\t%s%d\t%s\t%s\t%s\t%s' % (sheet.get('name'), letters, row + 1,
                                                     start.find(XDR + 'colOff').text, ext.get('cx'), ext.get('cy'),
                                                     picture))

for part in sorted(p for p in names if p.startswith('xl/media/')):
    data, extension = book.read(part), part.rsplit('.', 1)[-1]
    if not data.startswith(SIGNATURES.get(extension, b'?')) or defaults.get(extension) != 'image/' + extension:
        problems.append('%s is not the picture its name and type say' % part)
    if part not in used:
        problems.append('%s is used by no picture' % part)
    print('media\t%s\t%d' % (part, len(data)))
for problem in problems:
    print('problem\t%s' % problem)
