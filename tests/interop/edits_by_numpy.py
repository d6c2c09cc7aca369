# SPDX-FileCopyrightText: The VELMOImageFile authors
# SPDX-License-Identifier: Apache-2.0
"""edits_by_numpy.py CHECK TOOL FOLDER: runs velmo-image with options that edit an image and compares the outputs with numpy
and tifffile. Prints a line for each difference and, at the end, "checked N runs". CHECK is pairs, types, imagej or split.

Images are arrays with the axes t, c, z, y, x."""
import itertools
import json
import os
import subprocess
import sys

import numpy
import tifffile

CHECK, TOOL, FOLDER = sys.argv[1:]
TYPES = {'uint8': 'u1', 'int8': 'i1', 'uint16': 'u2', 'int16': 'i2', 'uint32': 'u4', 'int32': 'i4', 'real32': 'f4',
         'binary': 'u1', 'label8': 'u1', 'label16': 'u2', 'label32': 'u4'}
runs = 0


def path(name):
    return os.path.join(FOLDER, name)


def run(*arguments):
    global runs
    runs += 1
    return subprocess.run([TOOL, *arguments], capture_output=True, text=True)


def expect(right, what):
    if not right:
        print('differs:', what)


def describe(name):
    return json.loads(run('info', '--json', path(name)).stdout)['files'][0]


def read_pages(name, shape):
    """The pixels of a TIFF file of the library, whose pages are in the order t, c, z."""
    with tifffile.TiffFile(path(name)) as tiff:
        pages = numpy.stack([page.asarray() for page in tiff.pages])
    if pages.ndim == 4:  # colours: t, z, y, x, c
        return pages.reshape(shape[0], shape[2], *pages.shape[1:]).transpose(0, 4, 1, 2, 3)
    return pages.reshape(shape)


def to_size(image):
    return ','.join(str(image.shape[axis]) for axis in (4, 3, 2, 1, 0))


def write_input(name, image, pixel_type, *options):
    image.astype(image.dtype.newbyteorder('<')).tofile(path('input.raw'))
    result = run('convert', path('input.raw'), path(name), '--overwrite', '--size', to_size(image), '--type', pixel_type,
                 *options)
    expect(result.returncode == 0 and not result.stderr, name + ': ' + result.stderr)


def same(left, right):
    return left.shape == right.shape and left.dtype == right.dtype and numpy.array_equal(
        left, right, equal_nan=left.dtype.kind == 'f')


def convert(image, pixel_type, limits=None):
    """The converted image and the numbers of values that were clamped, rounded and NaN."""
    to = numpy.dtype(TYPES[pixel_type])
    values = image.astype('f8')
    nan = numpy.isnan(values)
    low, high = (0, 1) if pixel_type in ('binary', 'real32') else (numpy.iinfo(to).min, numpy.iinfo(to).max)
    if limits:
        values = (values - limits[0]) / (limits[1] - limits[0]) * (high - low) + low
    if to.kind == 'f':
        clamped = (~nan & ((values < low) | (values > high))) if limits else numpy.zeros_like(nan)
        clipped = numpy.clip(values, low, high) if limits else values
        result = clipped.astype(to)
        rounded = ~nan & (result.astype('f8') != values)
        return result, clamped.sum(), 0 if limits else rounded.sum(), 0
    rounded = numpy.where(nan, 0, numpy.rint(values))
    clipped = numpy.clip(rounded, low, high)
    inside = ~nan & (clipped == rounded)
    return (clipped.astype(to), (~nan & (clipped != rounded)).sum(), 0 if limits else (inside & (rounded != values)).sum(),
            nan.sum())


def expect_counts(text, counts, what):
    for count, word in zip(counts, ('clamped', 'rounded', 'NaN')):
        if count:
            expect(text.count('%d %s' % (count, word)) or text.count('%d value %s' % (count, 'was ' + word)) or
                   text.count('%d values were %s' % (count, word)), '%s: %d %s, not %s' % (what, count, word, text))
        else:
            expect(word not in text, '%s: no value is %s: %s' % (what, word, text))


# Each option of convert: its arguments, and what it asks for.
OPTIONS = {
    'z': (['--z', '1:4:2'], {'z': slice(1, 5, 2), 'step': 2}),
    'z one': (['--z=3'], {'z': slice(3, 4), 'flat': True}),
    'c': (['--c', '1'], {'c': slice(1, 2)}),
    't': (['--t', '1:'], {'t': slice(1, None)}),
    't one': (['--t', '2'], {'t': slice(2, 3), 'single': True}),
    'region': (['--region', '2,1,4,3'], {'region': (slice(1, 4), slice(2, 6))}),
    'pixel size': (['--pixel-size', '0.5,0.25'], {'calibration': {'x': 0.5, 'y': 0.25, 'z': 1, 'unit': ''}}),
    'micrometres': (['--pixel-size', '0.5,0.25,3', '--unit', 'um'],
                    {'calibration': {'x': 0.5, 'y': 0.25, 'z': 3, 'unit': 'um'}}),
    'unit': (['--unit', 'mm'], {'unit': 'mm'}),
    'type': (['--to-type', 'uint8'], {'type': 'uint8'}),
    'scaled': (['--to-type', 'uint16', '--range', '20,230.5'], {'type': 'uint16', 'limits': (20, 230.5)}),
    'range': (['--range', '-0.5,1e4'], {'limits': (-0.5, 1e4)}),
    'imagej': (['--imagej'], {'tiff': True, 'imagej': True}),
    'tags': (['--calibration-tags'], {'tiff': True, 'tags': True}),
    'compression': (['--compression', 'deflate'], {'tiff': True}),
    'threads': (['--threads', '3'], {'tiff': True}),
    'header': (['--header', path('header')], {'raw': True}),
    'to raw': (['--output-format', 'raw'], {'to raw': True}),
    'to tiff': (['--output-format', 'tiff'], {}),
    'quiet': (['--quiet'], {}),
    'format': (['--format', 'tiff'], {}),
    'directories': (['--directories', 't'], {}),
    'pixels': (['--pixels', 'label'], {}),
    'size': (['--size', '8,6'], {}),
    'raw type': (['--type', 'uint8'], {}),
    'offset': (['--offset', '0'], {}),
    'byte order': (['--byte-order', 'big'], {}),
}


def is_wrong(names, asked):
    given = [argument.split('=')[0] for name in names for argument in OPTIONS[name][0] if argument.startswith('--')]
    twice = len(set(given)) != len(given)
    lacks = ('--unit' in given and '--pixel-size' not in given) or ('--range' in given and '--to-type' not in given)
    kinds = bool(asked.get('tiff')) and bool(asked.get('to raw')) or bool(asked.get('raw')) and not asked.get('to raw')
    described = any(name in names for name in ('size', 'raw type', 'offset', 'byte order'))
    return twice or lacks or kinds or described or bool(asked.get('imagej') and asked.get('tags'))


def check_run(input_name, image, pixel_type, calibration, names):
    what = input_name + ' with ' + ' and '.join(names)
    asked = {key: value for name in names for key, value in OPTIONS[name][1].items()}
    arguments = [argument for name in names for argument in OPTIONS[name][0]]
    if os.path.exists(path('out.tif')):
        os.remove(path('out.tif'))
    result = run('convert', path(input_name), path('out.tif'), *arguments)
    if is_wrong(names, asked):
        expect(result.returncode == 2 and result.stderr and not os.path.exists(path('out.tif')),
               '%s is not refused: %d %s' % (what, result.returncode, result.stderr))
        return
    expect(result.returncode == 0, what + ': ' + result.stderr)
    rows, columns = asked.get('region', (slice(None), slice(None)))
    wanted = image[asked.get('t', slice(None))][:, asked.get('c', slice(None))]
    wanted = wanted[:, :, asked.get('z', slice(None)), rows, columns]
    counts = (0, 0, 0)
    if 'type' in asked:
        wanted, *counts = convert(wanted, asked['type'], asked.get('limits'))
    expect_counts(result.stderr, counts, what)
    if asked.get('to raw'):
        bytes_before = b'header' if asked.get('raw') else b''
        with open(path('out.tif'), 'rb') as file:
            expect(file.read() == bytes_before + wanted.tobytes(), what + ': raw pixels')
        return
    expect(same(read_pages('out.tif', wanted.shape), wanted), what + ': pixels')
    entry = describe('out.tif')
    expect([entry['size' + axis] for axis in 'TCZYX'] == list(wanted.shape), what + ': sizes')
    expect(entry['pixelType'] == asked.get('type', pixel_type), what + ': pixel type')
    expect(entry['color'] == ({1: 'grey', 2: 'user', 3: 'rgb'}[wanted.shape[1]]), what + ': colour')
    expect(entry['isVolume'] == (not asked.get('flat')), what + ': volume')
    expect(entry['isSequence'] == (not asked.get('single')), what + ': sequence')
    expected = asked.get('calibration', dict(calibration, z=calibration['z'] * asked.get('step', 1)))
    if 'unit' in asked:
        expected = dict(expected, unit=asked['unit'])
    expect(entry['calibration'] == expected, what + ': calibration %s' % entry['calibration'])
    if asked.get('imagej'):
        check_imagej('out.tif', wanted, expected, what)


def check_imagej(name, image, calibration, what):
    """What tifffile finds in the description and the resolution tags."""
    with tifffile.TiffFile(path(name)) as tiff:
        series = tiff.series[0]
        pixels = series.asarray()
        axes = series.axes
        meta = tiff.imagej_metadata
        page = tiff.pages[0]
        expect(tiff.is_imagej and len(tiff.series) == 1, what + ': is no file of ImageJ')
        resolution = [page.tags[tag].value for tag in ('XResolution', 'YResolution')]
        expect([value[0] / value[1] for value in resolution] == [1 / calibration['x'], 1 / calibration['y']] and
               page.tags['ResolutionUnit'].value == 1, what + ': resolution %s' % resolution)
        expect(meta.get('unit', '') == calibration['unit'] and meta['hyperstack'], what + ': description %s' % meta)
    wanted = image
    order = 'TCZYX'
    if 'S' in axes:
        wanted = image.transpose(0, 2, 3, 4, 1)
        order = 'TZYXS'
    wanted = wanted.reshape([size for size, axis in zip(wanted.shape, order) if size != 1 or axis in 'YX'])
    order = ''.join(axis for axis in order if axis in axes)
    expect(axes == order, '%s: axes %s, not %s' % (what, axes, order))
    expect(same(numpy.ascontiguousarray(pixels), numpy.ascontiguousarray(wanted)), what + ': pixels by tifffile')


def check_pairs():
    with open(path('header'), 'wb') as file:
        file.write(b'header')
    random = numpy.random.default_rng(1)
    several = random.integers(0, 65536, (3, 2, 6, 5, 7), dtype='u2')
    colours = random.integers(0, 256, (3, 3, 6, 5, 7), dtype='u1')
    calibration = {'x': 0.75, 'y': 1.5, 'z': 2.5, 'unit': 'mm'}
    size = ('--pixel-size', '0.75,1.5,2.5', '--unit', 'mm')
    write_input('several.tif', several, 'uint16', *size)
    write_input('colours.tif', colours, 'uint8', *size)
    for names in [[name] for name in OPTIONS] + list(itertools.combinations(OPTIONS, 2)):
        check_run('several.tif', several, 'uint16', calibration, names)
        check_run('colours.tif', colours, 'uint8', calibration, names)
    everything = ['z', 'c', 't', 'region', 'scaled', 'micrometres', 'imagej', 'compression', 'threads']
    check_run('several.tif', several, 'uint16', calibration, everything)


def make_extremes(pixel_type):
    dtype = numpy.dtype(TYPES[pixel_type])
    if pixel_type == 'binary':
        values = [0, 1]
    elif dtype.kind == 'f':
        values = [0, 0.5, 1, 1.5, 2.5, -0.5, -1.5, 127.5, 255.49, 255.5, 65535.5, 1e10, -1e10, 3e38, -3e38, 1e-40,
                  2147483647, 4294967295, numpy.nan, numpy.inf, -numpy.inf]
    else:
        low, high = numpy.iinfo(dtype).min, numpy.iinfo(dtype).max
        values = [low, low + 1, 0, 1, 2, 127, high // 2, high // 2 + 1, high - 1, high]
    return numpy.array(values, dtype=dtype).reshape(1, 1, 1, 1, -1)


def check_types():
    for source in TYPES:
        image = make_extremes(source)
        write_input('in.tif', image, source)
        for target in TYPES:
            for limits in (None, (0, 1), (-100, 1e4)):
                what = '%s to %s from %s' % (source, target, limits)
                options = ['--range', '%g,%g' % limits] if limits else []
                result = run('convert', path('in.tif'), path('out.tif'), '--overwrite', '--to-type', target, *options)
                expect(result.returncode == 0, what + ': ' + result.stderr)
                wanted, *counts = convert(image, target, limits)
                pixels = read_pages('out.tif', wanted.shape)
                expect(same(pixels, wanted), '%s: %s, not %s' % (what, pixels.ravel(), wanted.ravel()))
                expect_counts(result.stderr, counts, what)
                expect(describe('out.tif')['pixelType'] == target, what + ': pixel type')


def check_imagej_axes():
    random = numpy.random.default_rng(2)
    for sizes in itertools.product((1, 3), (1, 2, 3), (1, 4)):
        for pixel_type in ('uint8', 'uint16', 'real32'):
            if sizes[1] == 3 and pixel_type == 'real32':
                continue  # RGB of floating point
            image = random.integers(0, 256, (*sizes, 5, 7)).astype(TYPES[pixel_type])
            what = '%s of %s' % (pixel_type, sizes)
            options = ['--pixel-size', '0.5,0.25,3.5', '--unit', 'um']
            write_input('plain.tif', image, pixel_type, *options)
            write_input('in.tif', image, pixel_type, '--imagej', *options)
            expect(same(read_pages('in.tif', image.shape), image), what + ': pixels')
            entry, plain = describe('in.tif'), describe('plain.tif')
            expect(dict(entry, file='') == dict(plain, file=''), what + ': is not the image without the description')
            check_imagej('in.tif', image, entry['calibration'], what)
            result = run('info', '--check', path('in.tif'))
            expect(result.returncode == 0 and 'warning' not in result.stdout + result.stderr, what + ': ' + result.stdout)


def check_split():
    random = numpy.random.default_rng(3)
    for channels in (1, 2, 3):
        image = random.integers(0, 256, (1, channels, 12, 5, 7), dtype='u1')
        write_input('in.tif', image, 'uint8', '--pixel-size', '0.5,0.25,3.5', '--unit', 'um')
        folder = path('planes%d' % channels)
        result = run('split', path('in.tif'), folder, 'a<INDEX>.tif', '--digits', '3')
        expect(result.returncode == 0 and not result.stderr, result.stderr)
        expect(sorted(os.listdir(folder)) == ['a%03d.tif' % z for z in range(12)], 'names of %d channels' % channels)
        for z in range(12):
            pixels = read_pages(os.path.join(folder, 'a%03d.tif' % z), (1, channels, 1, 5, 7))
            expect(same(pixels, image[:, :, z:z + 1]), 'plane %d of %d channels' % (z, channels))
        run('stack', folder, 'a<INDEX>.tif', path('again.tif'), '--overwrite')
        expect(same(read_pages('again.tif', image.shape), image), 'joined again: %d channels' % channels)
        expect(dict(describe('again.tif'), file='') == dict(describe('in.tif'), file=''), 'description of the joined image')
    check_split_pairs()


def check_split_pairs():
    """A split of time steps, and each pair of its options."""
    image = numpy.random.default_rng(4).integers(0, 65536, (3, 2, 6, 5, 7), dtype='u2')
    write_input('in.tif', image, 'uint16', '--pixel-size', '0.75,1.5,2.5', '--unit', 'mm')
    options = {name: OPTIONS[name] for name in ('z', 'z one', 'c', 't', 't one', 'region', 'pixel size', 'micrometres', 'type',
                                                'scaled', 'tags', 'compression', 'threads', 'quiet', 'size')}
    options.update({'along t': (['--along', 't'], {'along t': True}), 'digits': (['--digits', '4'], {'digits': 4})})
    for number, names in enumerate(itertools.combinations(options, 2)):
        what = 'split with ' + ' and '.join(names)
        folder = path('pair%d' % number)
        asked = {key: value for name in names for key, value in options[name][1].items()}
        arguments = [argument for name in names for argument in options[name][0]]
        result = run('split', path('in.tif'), folder, 'f<INDEX>.tif', *arguments)
        if is_wrong([name for name in names if name in OPTIONS], asked):
            expect(result.returncode == 2 and not os.path.exists(folder), what + ' is not refused: ' + result.stderr)
            continue
        if not asked.get('along t') and not asked.get('single'):
            expect(result.returncode == 1 and 'time steps' in result.stderr and not os.path.exists(folder),
                   what + ' is not refused: ' + result.stderr)
            continue
        expect(result.returncode == 0, what + ': ' + result.stderr)
        rows, columns = asked.get('region', (slice(None), slice(None)))
        wanted = image[asked.get('t', slice(None))][:, asked.get('c', slice(None))]
        wanted = wanted[:, :, asked.get('z', slice(None)), rows, columns]
        if 'type' in asked:
            wanted, *counts = convert(wanted, asked['type'], asked.get('limits'))
            expect_counts(result.stderr, counts, what)
        steps = numpy.split(wanted, wanted.shape[0 if asked.get('along t') else 2], 0 if asked.get('along t') else 2)
        files = ['f%0*d.tif' % (asked.get('digits', 1), index) for index in range(len(steps))]
        expect(sorted(os.listdir(folder)) == files, what + ': names')
        for file, step in zip(files, steps):
            expect(same(read_pages(os.path.join(folder, file), step.shape), step), '%s: %s' % (what, file))
        expected = asked.get('calibration', {'x': 0.75, 'y': 1.5, 'z': 2.5 * asked.get('step', 1), 'unit': 'mm'})
        expect(describe(os.path.join(folder, files[-1]))['calibration'] == expected, what + ': calibration')


{'pairs': check_pairs, 'types': check_types, 'imagej': check_imagej_axes, 'split': check_split}[CHECK]()
print('checked %d runs' % runs)
