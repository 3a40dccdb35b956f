#!/usr/bin/python3
"""Checks the report copies that engine_files_test made, with olefile as an
independent compound file reader: every storage and stream of the source is
in the copy with the same bytes (the summary excepted), the root class id is
kept, the summary has the new title, and its other properties are kept.

    check_copies.py FOLDER      (FOLDER/copies.txt: source, copy, title per line)
"""
import sys
from pathlib import Path

import olefile

SUMMARY = '\x05SummaryInformation'
TITLE, COMMENTS, CODEPAGE = 2, 6, 1


def summary(ole):
    """The summary properties as Python values, strings decoded."""
    if not ole.exists(SUMMARY):
        return {}
    props = ole.getproperties(SUMMARY)
    codepage = props.get(CODEPAGE, 1252)
    codepage = codepage & 0xFFFF if isinstance(codepage, int) else 1252
    encoding = 'utf-16-le' if codepage == 1200 else 'cp%d' % codepage
    out = {}
    for pid, value in props.items():
        if isinstance(value, bytes):
            value = value.decode(encoding, errors='replace').split('\0')[0]
        elif isinstance(value, str):
            value = value.split('\0')[0]
        out[pid] = value
    return out


def entries(ole):
    """Every storage and stream but the summary, which a copy may add."""
    return sorted(name for name in ('/'.join(path) for path in ole.listdir(streams=True, storages=True))
                  if name != SUMMARY)


def check(folder, source_name, copy_name, title):
    problems = []
    with olefile.OleFileIO(str(folder / source_name)) as src, olefile.OleFileIO(str(folder / copy_name)) as dst:
        if entries(src) != entries(dst):
            problems.append('entries differ: %s / %s' % (entries(src), entries(dst)))
        for path in src.listdir(streams=True, storages=False):
            name = '/'.join(path)
            if name == SUMMARY or not dst.exists(name):
                continue
            if src.openstream(name).read() != dst.openstream(name).read():
                problems.append('stream %r differs' % name)
        if src.root.clsid != dst.root.clsid:
            problems.append('root class id %s / %s' % (src.root.clsid, dst.root.clsid))
        before, after = summary(src), summary(dst)
        if after.get(TITLE, '') != title:
            problems.append('title %r, expected %r' % (after.get(TITLE), title))
        for pid, value in before.items():
            if pid not in (TITLE, CODEPAGE) and after.get(pid) != value:
                problems.append('property %d: %r became %r' % (pid, value, after.get(pid)))
    return problems


def main():
    folder = Path(sys.argv[1])
    lines = (folder / 'copies.txt').read_text(encoding='utf-8').splitlines()
    failures = 0
    for line in lines:
        source_name, copy_name, title = line.split('\t')
        problems = check(folder, source_name, copy_name, title)
        for problem in problems:
            print('FAIL %s -> %s: %s' % (source_name, copy_name, problem))
        failures += bool(problems)
    print('%d copies checked, %d failed' % (len(lines), failures))
    return 1 if failures or not lines else 0


if __name__ == '__main__':
    sys.exit(main())
