#!/usr/bin/env python3
"""make-corpus.py -- write the committed seed corpus of the fuzz targets.

  corpus/language/  the example scripts and the script tests, cut at line
                    boundaries into pieces the target takes (4096 bytes);
  corpus/entries/   for every entry of include/stats_entries.h, a few hand-made
                    argument sequences in the input layout of fuzz_entries.cpp
                    (numbers, sizes, arrays of float64, quoted output names);
  language.dict     the tokens of the language (keywords, operators, the
                    host's builtins, the package's commands, the entries), the
                    dictionary scripts/fuzz gives fuzz_language.

Run from anywhere: python3 fuzz/make-corpus.py.  It rewrites both folders.
"""
import glob
import os
import re
import shutil
import struct

top = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
here = os.path.join(top, 'fuzz')
MAX = 4096


def language():
    out = os.path.join(here, 'corpus', 'language')
    shutil.rmtree(out, ignore_errors=True)
    os.makedirs(out)
    scripts = sorted(glob.glob(os.path.join(top, 'examples', '*.tv')) +
                     glob.glob(os.path.join(top, 'tests', '**', '*.tv'), recursive=True))
    for path in scripts:
        rel = os.path.relpath(path, top)
        stem = re.sub(r'[^A-Za-z0-9]+', '-', rel[:-3]).strip('-')
        text = open(path, 'rb').read()
        pieces, cur = [], b''
        for line in text.splitlines(keepends=True):
            if len(cur) + len(line) > MAX and cur:
                pieces.append(cur)
                cur = b''
            cur += line[:MAX]
        if cur:
            pieces.append(cur)
        for i, p in enumerate(pieces):
            name = stem + ('' if len(pieces) == 1 else '-%d' % (i + 1)) + '.tv'
            open(os.path.join(out, name), 'wb').write(p)


# The encodings below follow fuzz_entries.cpp: an argument is a kind byte
# (kind % 12) and what the kind reads.
def num(v):
    """A number v with v*64 an int16: kind 0, number kind 3, two bytes."""
    return bytes([0, 3]) + struct.pack('<h', int(round(v * 64)))


def size(index):
    """kSizes[index]: kind 2."""
    return bytes([2, index])


def array1(values, dt=7):
    """A 1-D Array of float64 (datatype index 7) with lower bound 1."""
    b = bytes([4, dt, len(values) % 13, 0, 1])
    for v in values:
        b += bytes([0]) + struct.pack('<h', int(round(v * 256)))
    return b + bytes([0])


def outname(i):
    return bytes([10, i])


def proc(i):
    return bytes([8, 0, i])


def entries():
    out = os.path.join(here, 'corpus', 'entries')
    shutil.rmtree(out, ignore_errors=True)
    os.makedirs(out)
    header = open(os.path.join(top, 'include', 'stats_entries.h')).read()
    names = re.findall(r'^STATS_DECLARE_(?:ARRAY_)?ENTRY\(([A-Za-z0-9_]+)\)(.*)$', header, re.M)
    for index, (name, rest) in enumerate(names):
        m = re.search(r'(\d+) arguments', rest)
        width = int(m.group(1)) if m else 0
        head = lambda argc, digits=0: struct.pack('<H', index) + bytes([digits, argc])
        seeds = [
            head(2) + num(0.5) + num(2),
            head(3) + num(1.5) + num(2) + num(3),
            head(4, 5) + num(0.25) + num(2) + size(7) + array1([1.5, 2.25, 3, 4.5, 0.5]),
        ]
        if width:
            args = b''
            for i in range(width):
                args += [array1([1, 2, 3, 0.5]), num(i % 5 + 1), outname(i % 4), proc(i % 3)][i % 4]
            seeds.append(head(width) + args)
        for i, s in enumerate(seeds):
            open(os.path.join(out, '%s-%d' % (name, i + 1)), 'wb').write(s)


def dictionary():
    words = ['proc', 'local', 'global', 'end', 'if', 'then', 'elif', 'else', 'fi', 'for', 'from', 'by', 'to',
             'while', 'do', 'od', 'in', 'break', 'next', 'return', 'error', 'try', 'catch', 'finally', 'and',
             'or', 'not', 'end proc', 'end if', 'end do', 'end try']
    words += ':= ; : -> .. <> <= >= \' " [ ] ( ) , %1 # ? $ ^ * / + -'.split()
    words += ['Digits := ', 'args', 'nargs', 'lasterror', 'infolevel', 'Pi', 'I', 'infinity', 'undefined',
              'true', 'false', 'NULL', 'Float(infinity)', 'Float(undefined)', 'Array(1..', 'datatype = ',
              'storage = sparse', 'order = C_order', 'float64', 'complex128', 'float32', 'int8', 'int16', 'int32',
              'int64', 'sfloat', 'complex', 'anything', '1e-400', '1e400', '10^12', '2^63', '0.', 'upper = true']
    for path in sorted(glob.glob(os.path.join(top, 'platform', 'kernel', '*.cpp'))):
        words += re.findall(r'define_builtin\("([^"]+)"', open(path).read())
    for path in sorted(glob.glob(os.path.join(top, 'package', '*.tv'))):
        words += re.findall(r'^([A-Z][A-Za-z]*) := proc', open(path).read(), re.M)
    header = open(os.path.join(top, 'include', 'stats_entries.h')).read()
    words += [n + '(' for n in re.findall(r'^STATS_DECLARE_(?:ARRAY_)?ENTRY\(([A-Za-z0-9_]+)\)', header, re.M)]
    seen, lines = set(), ['# Tokens for fuzz_language (libFuzzer -dict), written by fuzz/make-corpus.py.']
    for w in words:
        if w not in seen:
            seen.add(w)
            lines.append('"' + w.replace('\\', '\\\\').replace('"', '\\"') + '"')
    open(os.path.join(here, 'language.dict'), 'w').write('\n'.join(lines) + '\n')


language()
entries()
dictionary()
