# SPDX-FileCopyrightText: The VELMOImageFile authors
# SPDX-License-Identifier: Apache-2.0
"""statistics_by_numpy.py TOOL FOLDER: measures files with `velmo-image stats` and compares the results with numpy.

Prints a line for each result that differs, and the number of results that were compared."""
import csv
import io
import json
import os
import subprocess
import sys

import numpy
import tifffile

TOOL, FOLDER = sys.argv[1:]
PERCENTS = [0, 0.1, 1, 25, 50, 75, 99, 100]
random = numpy.random.default_rng(1)
compared = 0


def run(*arguments):
    result = subprocess.run([TOOL, *arguments], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
    if result.returncode != 0 or result.stderr:
        print('velmo-image', *arguments, ':', result.returncode, result.stderr)
    return result.stdout


def measure(path, *options):
    text = run('stats', path, '--json', '--percentiles', ','.join(map(str, PERCENTS)), '--histogram', '16', *options)
    return json.loads(text)['files'][0]


def expect(name, expected, found, tolerance=0.0):
    global compared
    compared += 1
    if not (expected == found or (found is not None and abs(expected - found) <= tolerance)):
        print(name, ': numpy', expected, ', velmo-image', found)


def compare(name, pixels, entry, bExact):
    pixels = pixels.ravel()
    finite = pixels[numpy.isfinite(pixels)] if pixels.dtype.kind == 'f' else pixels
    wide = finite.astype('f8')
    expect(name + ' pixels', pixels.size, entry['pixels'])
    if pixels.dtype.kind == 'f':
        expect(name + ' nan', numpy.isnan(pixels).sum(), entry['nan'])
        expect(name + ' inf', numpy.isposinf(pixels).sum(), entry['positiveInfinity'])
        expect(name + ' -inf', numpy.isneginf(pixels).sum(), entry['negativeInfinity'])
    if finite.size == 0:
        expect(name + ' minimum', None, entry['minimum'])
        return
    expect(name + ' minimum', wide.min(), entry['minimum'])
    expect(name + ' maximum', wide.max(), entry['maximum'])
    largest = max(abs(wide.min()), abs(wide.max()))
    mean = numpy.mean(wide.astype(numpy.longdouble))
    expect(name + ' mean', mean, entry['mean'], 1e-14 * largest)
    deviation = numpy.sqrt(numpy.mean((wide - mean) ** 2))
    expect(name + ' deviation', deviation, entry['standardDeviation'], 1e-11 * deviation)
    for percent, found in zip(PERCENTS, entry['percentiles']):
        expected = numpy.percentile(wide, percent)
        expect('%s percentile %g' % (name, percent), expected, found['value'], found['error'] + 1e-12 * largest)
        if bExact:
            expect('%s error of percentile %g' % (name, percent), 0, found['error'])
        else:
            expect('%s bound of percentile %g' % (name, percent), 0, found['error'], 2 ** -14 * largest)
    counts, edges = numpy.histogram(wide, 16)
    expect(name + ' histogram low', edges[0], entry['histogram']['low'])
    expect(name + ' histogram high', edges[-1], entry['histogram']['high'])
    if entry['histogram']['exact']:
        expect(name + ' histogram', list(counts), entry['histogram']['counts'])
    else:
        expect(name + ' exact histogram', False, bExact)
        expect(name + ' histogram sum', finite.size, sum(entry['histogram']['counts']))


def fill(dtype, shape):
    """Pixels over the whole range of a type, with many equal ones."""
    dtype = numpy.dtype(dtype)
    if dtype.kind == 'f':
        pixels = (random.standard_normal(shape) * 10.0 ** random.integers(-3, 6, shape)).astype(dtype)
        pixels.ravel()[::7] = 0
        return pixels
    limits = numpy.iinfo(dtype)
    pixels = random.integers(limits.min, limits.max, shape, dtype, endpoint=True)
    pixels.ravel()[::5] //= 1000 if dtype.itemsize > 1 else 3
    return pixels


def create(name, pixels):
    path = os.path.join(FOLDER, name)
    pixels.tofile(path)
    return path


NAMES = {'u1': 'uint8', 'i1': 'int8', 'u2': 'uint16', 'i2': 'int16', 'u4': 'uint32', 'i4': 'int32', 'f4': 'real32'}
for dtype, name in NAMES.items():
    exact = dtype[1] != '4'
    for shape in ((1, 1, 1), (1, 1, 3), (5, 37, 41), (3, 700, 601)):
        size = '%d,%d,%d' % shape[::-1]
        pixels = fill(dtype, shape)
        for order in ('little', 'big'):
            path = create('a.raw', pixels.astype(pixels.dtype.newbyteorder('<>'[order == 'big'])))
            options = ['--size', size, '--type', name, '--byte-order', order]
            entries = measure(path, *options)['statistics']
            compare('%s %s %s' % (name, size, order), pixels, entries[0], exact)
        expect('threads of ' + name, measure(path, *options, '--threads', '1'), measure(path, *options, '--threads', '7'))
        planes = measure(path, *options, '--by', 'plane')['statistics']
        for z, entry in enumerate(planes):
            expect('z', z, entry['z'])
            compare('%s %s plane %d' % (name, size, z), pixels[z], entry, exact)
        for codec in (None, 'zlib'):
            path = os.path.join(FOLDER, 'a.tif')
            tifffile.imwrite(path, pixels, compression=codec, photometric='minisblack')
            compare('%s %s %s' % (name, size, codec), pixels, measure(path)['statistics'][0], exact)

# The minimum of the whole range and the maximum; whole numbers whose percentiles are exact.
for dtype, name in NAMES.items():
    limits = numpy.finfo(dtype) if dtype[0] == 'f' else numpy.iinfo(dtype)
    pixels = numpy.array([limits.min, limits.max] * 3, dtype)
    compare(name + ' limits', pixels, measure(create('b.raw', pixels), '--size', '6,1', '--type', name)['statistics'][0], dtype[1] != '4')
    low = 0 if dtype[0] == 'u' else -100
    pixels = random.integers(low, 100, (50, 50)).astype(dtype)
    compare(name + ' small', pixels, measure(create('b.raw', pixels), '--size', '50,50', '--type', name)['statistics'][0], True)
    pixels = numpy.full((300, 1000), 77, dtype)
    compare(name + ' constant', pixels, measure(create('b.raw', pixels), '--size', '1000,300', '--type', name)['statistics'][0], True)

# Far from 0, where naive sums lose all digits.
pixels = (1e6 + random.random((600, 500))).astype('f4')
compare('real32 far', pixels, measure(create('c.raw', pixels), '--size', '500,600', '--type', 'real32')['statistics'][0], False)
pixels = (4000000000 + random.integers(0, 3, (600, 500))).astype('u4')
compare('uint32 far', pixels, measure(create('c.raw', pixels), '--size', '500,600', '--type', 'uint32')['statistics'][0], False)

# NaN and infinities.
pixels = fill('f4', (400, 500))
pixels.ravel()[::11] = numpy.nan
pixels.ravel()[::13] = numpy.inf
pixels.ravel()[::17] = -numpy.inf
compare('real32 infinite', pixels, measure(create('d.raw', pixels), '--size', '500,400', '--type', 'real32')['statistics'][0], False)
pixels = numpy.full((4, 5), numpy.nan, 'f4')
compare('real32 nan', pixels, measure(create('d.raw', pixels), '--size', '5,4', '--type', 'real32')['statistics'][0], False)

# Five axes, in all groupings.
pixels = fill('u2', (3, 2, 4, 30, 20))  # t, c, z, y, x
path = create('e.raw', pixels)
options = ['--size', '20,30,4,2,3', '--type', 'uint16']
compare('file', pixels, measure(path, *options, '--by', 'file')['statistics'][0], True)
for entry in measure(path, *options)['statistics'] + measure(path, *options, '--by', 'channel')['statistics']:
    compare('channel', pixels[:, entry['c']], entry, True)
for entry in measure(path, *options, '--by', 'time')['statistics']:
    compare('time', pixels[entry['t']], entry, True)
entries = measure(path, *options, '--by', 'plane')['statistics']
expect('number of planes', 24, len(entries))
for entry in entries:
    compare('plane', pixels[entry['t'], entry['c'], entry['z']], entry, True)

# RGB, interleaved in a TIFF file.
pixels = fill('u1', (3, 40, 50, 3))
path = os.path.join(FOLDER, 'rgb.tif')
tifffile.imwrite(path, pixels, photometric='rgb', compression='zlib')
entries = measure(path)['statistics']
expect('number of channels', 3, len(entries))
for entry in entries:
    compare('rgb', pixels[..., entry['c']], entry, True)
for entry in measure(path, '--by', 'plane')['statistics']:
    compare('rgb plane', pixels[entry['z'], ..., entry['c']], entry, True)
compare('rgb file', pixels, measure(path, '--by', 'file')['statistics'][0], True)

# Masks and labels; any byte but 0 is 1 in a mask.
pixels = numpy.array([[0, 1, 255, 0], [7, 0, 0, 0]], 'u1')
compare('binary', (pixels != 0).astype('u1'), measure(create('m.raw', pixels), '--size', '4,2', '--type', 'binary')['statistics'][0], True)
path = os.path.join(FOLDER, 'bits.tif')
tifffile.imwrite(path, pixels != 0)
compare('1 bit', (pixels != 0).astype('u1'), measure(path)['statistics'][0], True)
for name, dtype in (('label8', 'u1'), ('label16', 'u2'), ('label32', 'u4')):
    pixels = fill(dtype, (30, 40))
    compare(name, pixels, measure(create('l.raw', pixels), '--size', '40,30', '--type', name)['statistics'][0], dtype != 'u4')

# The table has the same values as the document.
path = create('f.raw', fill('i2', (6, 30, 20)))
options = ['--size', '20,30,6', '--type', 'int16', '--by', 'plane']
rows = list(csv.DictReader(io.StringIO(run('stats', path, '--csv', '--histogram', '16', '--percentiles', '25,50', *options))))
entries = measure(path, *options)['statistics']
expect('rows', 6, len(rows))
for row, entry in zip(rows, entries):
    for key in ('z', 'pixels', 'minimum', 'maximum', 'mean', 'standardDeviation'):
        expect('csv ' + key, entry[key], float(row[key]))
    expect('csv p25', entry['percentiles'][3]['value'], float(row['p25']))
    expect('csv histogram', entry['histogram']['counts'], [int(row['histogram%d' % part]) for part in range(16)])

print(compared, 'results compared')
