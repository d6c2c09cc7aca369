# SPDX-FileCopyrightText: The VELMOImageFile authors
# SPDX-License-Identifier: Apache-2.0
"""differences_by_numpy.py TOOL FOLDER: compares files with `velmo-image compare` and checks the results with numpy.

Prints a line for each result that differs, and the number of results that were checked."""
import json
import os
import subprocess
import sys
import warnings

import numpy
import tifffile

from random_pixels import RandomPixels

TOOL, FOLDER = sys.argv[1:]
NAMES = {'u1': 'uint8', 'i1': 'int8', 'u2': 'uint16', 'i2': 'int16', 'u4': 'uint32', 'i4': 'int32', 'f4': 'real32'}
fill = RandomPixels(3).fill
warnings.simplefilter('ignore')  # of numpy about NaN and infinities
checked = 0


def expect(name, expected, found, relative=0.0):
    global checked
    checked += 1
    same = expected == found or (found is not None and expected is not None and abs(expected - found) <= relative * abs(expected))
    if not same:
        print(name, ': numpy', expected, ', velmo-image', found)


def compare(*arguments):
    result = subprocess.run([TOOL, 'compare', '--json', *arguments], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
    document = json.loads(result.stdout)
    expect('status of ' + ' '.join(arguments), 0 if document['same'] else 1, result.returncode)
    expect('message of ' + ' '.join(arguments), '', result.stderr)
    return document


def check(name, a, b, document, tolerance=0.0):
    """`a` and `b` in the order t, c, z, y, x."""
    found = document['pixels']
    wide_a, wide_b = a.astype('f8'), b.astype('f8')
    equal = (wide_a == wide_b) | (numpy.isnan(wide_a) & numpy.isnan(wide_b))
    difference = numpy.where(equal, 0, wide_b - wide_a)
    finite = numpy.isfinite(difference)
    distance = numpy.where(finite, abs(difference), numpy.inf)
    expect(name + ' same', bool((distance <= tolerance).all()), document['same'])
    expect(name + ' pixels', a.size, found['pixels'])
    expect(name + ' different', int((distance > tolerance).sum()), found['different'])
    expect(name + ' not finite', int((~finite).sum()), found['notFinite'])
    if distance.max() == 0:
        expect(name + ' greatest', None, found['greatest'])
        expect(name + ' psnr', None, found['psnr'])
        return
    place = numpy.unravel_index(distance.argmax(), a.shape)
    greatest = found['greatest']
    expect(name + ' greatest', distance[place] if numpy.isfinite(distance[place]) else None, greatest['difference'])
    expect(name + ' place', tuple(place), tuple(greatest[axis] for axis in 'tczyx'))
    for key, value in (('a', wide_a[place]), ('b', wide_b[place])):
        expect(name + ' value of ' + key, value if numpy.isfinite(value) else None, greatest[key])
    if not finite.any():
        return
    expect(name + ' mean', difference[finite].mean(), found['mean'], 1e-9)
    rms = numpy.sqrt((difference[finite] ** 2).mean())
    expect(name + ' rms', rms, found['rms'], 1e-12)
    if rms != 0:
        values = wide_a[numpy.isfinite(wide_a)]
        limits = numpy.iinfo(a.dtype) if a.dtype.kind != 'f' else None
        peak = values.max() - values.min() if limits is None else float(limits.max) - float(limits.min)
        psnr = 20 * numpy.log10(peak / rms)
        expect(name + ' psnr', psnr if numpy.isfinite(psnr) else None, found['psnr'], 1e-9)


def create(name, pixels):
    path = os.path.join(FOLDER, name)
    pixels.astype(pixels.dtype.newbyteorder('<')).tofile(path)
    return path


for dtype, name in NAMES.items():
    for shape in ((1, 1, 1, 1, 1), (2, 3, 4, 31, 22), (1, 1, 2, 700, 601)):
        a = fill(dtype, shape)
        size = '%d,%d,%d,%d,%d' % (shape[4], shape[3], shape[2], shape[1], shape[0])
        options = ['--size', size, '--type', name]
        path = create('a.raw', a)
        check(name + ' equal', a, a, compare(path, create('b.raw', a), *options))
        b = a.copy()
        b.ravel()[-1] = 3
        b.ravel()[a.size // 2] = 7
        check(name + ' two', a, b, compare(path, create('b.raw', b), *options))
        b = fill(dtype, shape)
        document = compare(path, create('b.raw', b), *options)
        check(name + ' all', a, b, document)
        expect('threads of ' + name, document, compare(path, create('b.raw', b), *options, '--threads', '5'))
        b = a.copy()
        b.ravel()[::3] = numpy.clip(b.ravel()[::3].astype('f8') + 2, None, 100).astype(dtype)
        b.ravel()[::5] -= b.ravel()[::5] // numpy.dtype(dtype).type(3)
        check(name + ' tolerance', a, b, compare(path, create('b.raw', b), *options, '--tolerance', '2'), 2)
    a = fill(dtype, (1, 1, 3, 60, 50))
    b = a.copy()
    b[0, 0, 1, 30, 20:40] = 1
    tiff = os.path.join(FOLDER, 'b.tif')
    tifffile.imwrite(tiff, b[0, 0], compression='zlib', photometric='minisblack')
    check(name + ' raw and tiff', a, b, compare(create('a.raw', a), tiff, '--size', '50,60,3', '--type', name))
    check(name + ' tiff and raw', b, a, compare(tiff, create('a.raw', a), '--size', '50,60,3', '--type', name))

# NaN is equal to NaN, an infinity to itself.
values = numpy.array([numpy.nan, numpy.inf, -numpy.inf, 1, 2, -3], 'f4')
a, b = (part.ravel().reshape(1, 1, 1, 6, 6) for part in numpy.meshgrid(values, values))
options = ['--size', '6,6', '--type', 'real32']
path = create('a.raw', a)
check('not finite', a, b, compare(path, create('b.raw', b), *options))
check('not finite with tolerance', a, b, compare(path, create('b.raw', b), *options, '--tolerance', '100'), 100)
check('not finite but equal', a, a, compare(path, create('b.raw', a), *options))

# Values of different types.
tiff = os.path.join(FOLDER, 'b.tif')
a = fill('u1', (1, 1, 1, 50, 40)) % 200
for dtype in ('u2', 'i2', 'u4', 'i4', 'f4'):
    b = a.astype(dtype)
    tifffile.imwrite(tiff, b[0, 0, 0], photometric='minisblack')
    document = compare(create('a.raw', a), tiff, '--size', '40,50', '--type', 'uint8')
    check('uint8 and ' + dtype, a, b, document)
    expect('property', [{'name': 'pixelType', 'a': 'uint8', 'b': NAMES[dtype]}], [p for p in document['properties'] if p['name'] == 'pixelType'])
    b[0, 0, 0, 7, 9] += 500 if dtype != 'f4' else 0.25
    tifffile.imwrite(tiff, b[0, 0, 0], photometric='minisblack')
    check('uint8 and other ' + dtype, a, b, compare(create('a.raw', a), tiff, '--size', '40,50', '--type', 'uint8'))

# RGB, interleaved in a TIFF file, beside planes.
a = fill('u1', (1, 3, 2, 40, 30))
b = a.copy()
b[0, 1, 1, 20, 10] ^= 64
tifffile.imwrite(tiff, numpy.moveaxis(b[0], 0, -1), photometric='rgb', compression='zlib')
path = create('a.raw', a)
check('rgb', a, b, compare(path, tiff, '--size', '30,40,2,3', '--type', 'uint8'))
check('rgb first', b, a, compare(tiff, path, '--size', '30,40,2,3', '--type', 'uint8'))
check('rgb twice', b, b, compare(tiff, tiff))

print(checked, 'results checked')
