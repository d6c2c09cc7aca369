# SPDX-FileCopyrightText: The VELMOImageFile authors
# SPDX-License-Identifier: Apache-2.0
"""projections_by_numpy.py TOOL FOLDER: projects files with `velmo-image project` and compares the results with numpy.

Prints a line for each projection that differs, and the number of projections that were compared."""
import json
import os
import subprocess
import sys
import warnings

import numpy
import tifffile

from random_pixels import RandomPixels

TOOL, FOLDER = sys.argv[1:]
AXES = {'t': 0, 'c': 1, 'z': 2}
NAMES = {'u1': 'uint8', 'i1': 'int8', 'u2': 'uint16', 'i2': 'int16', 'u4': 'uint32', 'i4': 'int32', 'f4': 'real32'}
fill = RandomPixels(2).fill
warnings.simplefilter('ignore')  # of numpy about NaN
compared = 0


def run(*arguments):
    result = subprocess.run([TOOL, *arguments], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
    if result.returncode != 0 or result.stderr:
        print('velmo-image', *arguments, ':', result.returncode, result.stderr)
    return result.stdout


def project(pixels, axis, kind):
    """The documented result, with the type that it has."""
    if kind in ('max', 'min'):
        return getattr(pixels, kind)(AXES[axis])
    if pixels.dtype.kind == 'f':
        return getattr(pixels.astype('f8'), kind)(AXES[axis]).astype('f4')
    if kind == 'mean':
        return pixels.mean(AXES[axis], dtype='f8').astype('f4')
    nb = pixels.shape[AXES[axis]]
    limits = numpy.iinfo(pixels.dtype)
    wide = pixels.astype('i8').sum(AXES[axis])
    fitting = 'u4' if pixels.dtype.kind == 'u' else 'i4'
    fits = nb * int(limits.max) <= numpy.iinfo(fitting).max and nb * int(limits.min) >= numpy.iinfo(fitting).min
    return wide.astype(fitting if fits else 'f4')


def compare(name, path, pixels, axis, kind, *options):
    """`pixels` in the order t, c, z, y, x."""
    global compared
    compared += 1
    output = os.path.join(FOLDER, 'out.raw')
    run('project', path, output, '--along', axis, '--by', kind, '--overwrite', *options)
    expected = project(pixels, axis, kind)
    found = open(output, 'rb').read()
    if len(found) != expected.nbytes:
        print(name, axis, kind, ':', expected.nbytes, 'bytes expected,', len(found), 'written')
        return
    found = numpy.frombuffer(found, expected.dtype).reshape(expected.shape)
    if not numpy.array_equal(expected, found, equal_nan=expected.dtype.kind == 'f'):
        place = tuple(numpy.argwhere(expected != found)[0])
        print(name, axis, kind, ': at', place, 'numpy', expected[place], ', velmo-image', found[place])


for dtype, name in NAMES.items():
    for shape in ((1, 1, 1, 1, 1), (3, 2, 4, 33, 21), (2, 2, 2, 700, 601)):
        pixels = fill(dtype, shape)
        if dtype == 'f4' and shape[-1] > 1:
            pixels.ravel()[::97] = numpy.nan
            pixels.ravel()[::89] = numpy.inf
            pixels.ravel()[::83] = -numpy.inf
        path = os.path.join(FOLDER, 'a.raw')
        pixels.astype(pixels.dtype.newbyteorder('>')).tofile(path)
        options = ['--type', name, '--byte-order', 'big', '--size', '%d,%d,%d,%d,%d' % (*shape[:2:-1], shape[2], shape[1], shape[0])]
        for axis in AXES:
            for kind in ('max', 'min', 'mean', 'sum'):
                compare(name, path, pixels, axis, kind, *options)
        compare(name + ' threads', path, pixels, 'z', 'sum', *options, '--threads', '5')
    pixels = fill(dtype, (1, 1, 9, 60, 50))
    path = os.path.join(FOLDER, 'a.tif')
    tifffile.imwrite(path, pixels[0, 0], compression='zlib', photometric='minisblack')
    for kind in ('max', 'min', 'mean', 'sum'):
        compare(name + ' tiff', path, pixels, 'z', kind)

# RGB, interleaved in a TIFF file.
pixels = fill('u1', (1, 3, 5, 40, 30))
path = os.path.join(FOLDER, 'rgb.tif')
tifffile.imwrite(path, numpy.moveaxis(pixels[0], 0, -1), photometric='rgb', compression='zlib')
for axis in AXES:
    for kind in ('max', 'min', 'mean', 'sum'):
        compare('rgb', path, pixels, axis, kind)

# As many planes as a sum of 16 bits can have, and one more.
for nb in (65537, 65538):
    pixels = numpy.full((1, 1, nb, 1, 2), 65535, 'u2')
    path = os.path.join(FOLDER, 'deep.raw')
    pixels.tofile(path)
    compare('%d planes' % nb, path, pixels, 'z', 'sum', '--size', '2,1,%d' % nb, '--type', 'uint16')

# A TIFF file of the result, as tifffile reads it.
pixels = fill('u2', (1, 1, 7, 60, 50))
path = os.path.join(FOLDER, 'a.tif')
tifffile.imwrite(path, pixels[0, 0], photometric='minisblack')
for kind in ('max', 'min', 'mean', 'sum'):
    output = os.path.join(FOLDER, 'out.tif')
    run('project', path, output, '--along', 'z', '--by', kind, '--overwrite', '--compression', 'deflate')
    found = tifffile.imread(output)
    expected = project(pixels, 'z', kind)[0, 0]
    compared += 1
    if found.dtype != expected.dtype or not numpy.array_equal(found, expected):
        print('tiff', kind, ': differs')

print(compared, 'projections compared')
