#!/usr/bin/python3
"""Reads a web page the HTML export wrote, with Python's HTML parser, and
prints its structure for the tests to compare, one item a line:
    page LABEL | flow           a page's (or flowing block's) element
    text TEXT                   each paragraph, in document order
    image WIDTHxHEIGHT          each picture, its PNG header read from the data: URI
    svg                         a drawing of lines and boxes
    unclosed TAG / stray TAG    an element left open or closed twice

    read_html.py PAGE
"""
import base64
import struct
import sys
from html.parser import HTMLParser

VOID = {'meta', 'img', 'br', 'line', 'rect'}


class Reader(HTMLParser):
    def __init__(self):
        super().__init__()
        self.open = []
        self.text = None

    def handle_starttag(self, tag, attrs):
        attrs = dict(attrs)
        if tag not in VOID:
            self.open.append(tag)
        if tag == 'section':
            print('page', attrs.get('aria-label'))
        elif tag == 'div' and attrs.get('class') == 'flow':
            print('flow')
        elif tag == 'p':
            self.text = ''
        elif tag == 'svg':
            print('svg')
        elif tag == 'img':
            src = attrs.get('src', '')
            png = base64.b64decode(src.split(',', 1)[1]) if src.startswith('data:image/png;base64,') else b''
            jpeg = src.startswith('data:image/jpeg;base64,') and base64.b64decode(src.split(',', 1)[1])[:2] == b'\xff\xd8'
            if png[:8] == b'\x89PNG\r\n\x1a\n':
                print('image %dx%d' % struct.unpack('>II', png[16:24]))
            elif jpeg:
                print('image jpeg')
            else:
                print('image unreadable')

    def handle_startendtag(self, tag, attrs):
        self.handle_starttag(tag, attrs)
        if tag not in VOID:
            self.handle_endtag(tag)

    def handle_endtag(self, tag):
        if tag == 'p' and self.text is not None:
            print('text', self.text)
            self.text = None
        if tag in VOID:
            return
        if not self.open or self.open[-1] != tag:
            print('stray', tag)
        else:
            self.open.pop()

    def handle_data(self, data):
        if self.text is not None:
            self.text += data


reader = Reader()
with open(sys.argv[1], encoding='utf-8') as f:
    reader.feed(f.read())
reader.close()
for tag in reader.open:
    print('unclosed', tag)
