# SPDX-FileCopyrightText: The VELMOImageFile authors
# SPDX-License-Identifier: Apache-2.0
"""make_fixtures.py: makes the TIFF files of this folder, and expected.json with what an import has to find in them.

What is expected comes from the arrays that the files were made of, or from a reader that has nothing in common with
libtiff, never from the import itself. README.md describes both.
"""
import io
import json
import os
import shutil
import struct
import subprocess
import sys
import tempfile
import uuid
import zlib

import cv2
import numpy
import PIL.Image
import PIL.ImageCms
import tifffile

FOLDER = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(FOLDER, '..', 'tiff'))
import plain_tiff  # noqa: E402
from patterns import HEIGHT, WIDTH, bilevel, colour, grey, stack  # noqa: E402

uuid.uuid1 = lambda: uuid.UUID(int=1)  # a second run makes the same files
EXPECTED = {}
SOURCES = tempfile.mkdtemp()
TYPES = {'bool': 'binary', 'uint8': 'uint8', 'int8': 'int8', 'uint16': 'uint16', 'int16': 'int16',
         'uint32': 'uint32', 'int32': 'int32', 'float32': 'real32'}
MAKERS = {'tf': 'tifffile', 'lt': 'libtiff', 'gdal': 'GDAL', 'vips': 'vips', 'gm': 'GraphicsMagick',
          'pil': 'Pillow', 'cv': 'OpenCV', 'ij': 'ImageJ', 'py': 'plain_tiff.py'}
TILE = {'tile': (16, 16), 'metadata': None}
STRIP = {'rowsperstrip': 5, 'metadata': None}


def run(*command, **options):
    subprocess.run(command, check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, cwd=FOLDER, **options)


def path_of(name):
    return os.path.join(FOLDER, name)


def source(name):
    return os.path.join(SOURCES, name)


# Expectations

def crc(plane):
    plane = plane.astype('u1') if plane.dtype == bool else plane
    return '%08x' % zlib.crc32(plane.astype(plane.dtype.newbyteorder('<')).tobytes())


def entry(name, kind, shows, options=()):
    key = name + (' ' + ' '.join(options) if options else '')
    assert key not in EXPECTED, key
    assert os.path.exists(path_of(name)), name
    EXPECTED[key] = {'file': name, 'options': list(options), 'kind': kind, 'maker': MAKERS[name.split('-')[0]],
                     'shows': shows}
    return EXPECTED[key]


def expect(name, kind, shows, pixels, changes=(), options=(), color='grey', white=False, calibration=None,
           tolerance=0):
    """`pixels` has the axes t, c, z, y, x; axes at the beginning may be left out. `changes` are the kinds of all
    changes that have to be reported, in any order."""
    pixels = pixels.reshape((1,) * (5 - pixels.ndim) + pixels.shape)
    found = entry(name, kind, shows, options)
    found.update({'sizeX': pixels.shape[4], 'sizeY': pixels.shape[3], 'sizeZ': pixels.shape[2],
                  'sizeC': pixels.shape[1], 'sizeT': pixels.shape[0], 'pixelType': TYPES[str(pixels.dtype)],
                  'color': color, 'minIsBlack': not white, 'calibration': calibration,
                  'changes': sorted(changes)})
    planes = pixels.reshape((-1,) + pixels.shape[3:])
    if tolerance:
        found['tolerance'] = tolerance
        found['pixels'] = [plane.ravel().tolist() for plane in planes]
    else:
        found['planes'] = [crc(plane) for plane in planes]


def refuse(name, kind, shows, words, options=()):
    entry(name, kind, shows, options)['refused'] = words


def channels(pixels):
    """Rows of samples as planes of channels: c, z, y, x."""
    return numpy.moveaxis(pixels, -1, 0)[:, None]


def size(x, y, unit, z=None):
    def single(value):
        return None if value is None else float(numpy.float32(value))
    return {'x': single(x), 'y': single(y), 'z': single(z), 'unit': unit}


ONE = size(1, 1, '')  # tifffile writes a resolution of 1 without a unit


# Writers

def tf(name, pixels, **options):
    file = {key: options.pop(key) for key in ('byteorder', 'bigtiff', 'imagej', 'ome') if key in options}
    with tifffile.TiffWriter(path_of(name), **file) as tiff:
        tiff.write(pixels, **options)


def tf_pages(name, pages, **file):
    with tifffile.TiffWriter(path_of(name), **file) as tiff:
        for pixels, options in pages:
            tiff.write(pixels, contiguous=False, **options)


def tf_source(name, pixels, **options):
    tifffile.imwrite(source(name), pixels, metadata=None, **options)
    return source(name)


def variants():
    for order, order_name in (('<', 'le'), ('>', 'be')):
        for big, big_name in ((False, ''), (True, '-big')):
            yield {'byteorder': order, 'bigtiff': big}, order_name + big_name


def tiles():
    for file, end in variants():
        for dtype in ('u1', 'u2', 'f4'):
            for compression, code in ((None, ''), (8, '-deflate')):
                name = f'tf-tiled-{dtype}{code}-{end}.tif'
                tf(name, grey(dtype), compression=compression, photometric='minisblack', **TILE, **file)
                expect(name, 'tiles', 'tiles, ' + dtype, grey(dtype), ['tiles'], calibration=ONE)
        name = f'tf-tiled-rgb-{end}.tif'
        tf(name, colour('u2', 3), photometric='rgb', **TILE, **file)
        expect(name, 'tiles-colour', 'tiles of interleaved RGB', channels(colour('u2', 3)), ['tiles'], color='rgb',
               calibration=ONE)
    for dtype in ('i1', 'i2', 'u4', 'i4'):
        tf(f'tf-tiled-{dtype}.tif', grey(dtype), photometric='minisblack', **TILE)
        expect(f'tf-tiled-{dtype}.tif', 'tiles', 'tiles, ' + dtype, grey(dtype), ['tiles'], calibration=ONE)
    tf('tf-tiled-stack.tif', stack('u2', 3), photometric='minisblack', **TILE)
    expect('tf-tiled-stack.tif', 'tiles', 'tiles, three pages', stack('u2', 3), ['tiles', 'axes'], calibration=ONE)


def decoded_strip(name):
    """The page as the reader of Pillow for JPEG or WebP decodes it; the tables and the strip make one JPEG file."""
    with tifffile.TiffFile(path_of(name)) as tiff:
        page = tiff.pages[0]
        assert len(page.dataoffsets) == 1
        tiff.filehandle.seek(page.dataoffsets[0])
        strip = tiff.filehandle.read(page.databytecounts[0])
        tables = page.tags.get(347)
    data = strip if tables is None else tables.value[:-2] + strip[2:]
    return numpy.asarray(PIL.Image.open(io.BytesIO(data)))


def codecs():
    grey_of = {dtype: tf_source(dtype + '.tif', grey(dtype), photometric='minisblack') for dtype in ('u1', 'u2', 'f4')}
    rgb = tf_source('rgb.tif', colour('u1', 3), photometric='rgb')
    one_bit = source('bilevel.tif')
    plain_tiff.write(one_bit, plain_tiff.image_tags(WIDTH, HEIGHT, 1), plain_tiff.pack_bits(bilevel(), 1))
    for codec, dtype in (('lzw', 'u1'), ('lzw:2', 'u2'), ('zip', 'f4'), ('zip:2', 'u2'), ('zip:3', 'f4'),
                         ('packbits', 'u1'), ('lzma', 'u2'), ('zstd', 'u2'), ('zstd:2', 'u1')):
        for order in ('L', 'B') if codec != 'zip:3' else ('L',):  # tiffcp -B swaps these bytes too early
            name = f'lt-tiled-{codec.replace(":", "-")}-{dtype}-{order.lower()}e.tif'
            run('tiffcp', '-t', '-w', '16', '-l', '16', '-' + order, '-c', codec, grey_of[dtype], path_of(name))
            expect(name, 'codecs', codec + ' tiles', grey(dtype), ['tiles'], calibration=ONE)
    run('tiffcp', '-r', '24', '-c', 'webp:90', rgb, path_of('lt-webp.tif'))
    expect('lt-webp.tif', 'codecs', 'WebP', channels(decoded_strip('lt-webp.tif')), [], color='rgb', calibration=ONE, tolerance=1)
    for order, end in (('<', 'le'), ('>', 'be')):  # the most significant bytes of a row come first in both orders
        rows = grey('f4').astype('>f4').view('u1').reshape(HEIGHT, WIDTH, 4).transpose(0, 2, 1).reshape(HEIGHT, -1)
        differences = numpy.diff(rows, axis=1, prepend=numpy.zeros((HEIGHT, 1), 'u1')).astype('u1')
        tags = plain_tiff.image_tags(WIDTH, HEIGHT, 32, sample_format=3, compression=8) + [(317, plain_tiff.SHORT, [3])]
        plain_tiff.write(path_of(f'py-float-predictor-{end}.tif'), tags, zlib.compress(differences.tobytes()), order)
        expect(f'py-float-predictor-{end}.tif', 'codecs', 'predictor of floating point', grey('f4'), [])
    for codec in ('g3', 'g4', 'packbits', 'lzw', 'zip'):
        name = f'lt-bilevel-{codec}.tif'
        run('tiffcp', '-r', '5', '-c', codec, one_bit, path_of(name))
        expect(name, '1-bit', codec + ' strips of 1 bit', bilevel(), ['bits'])
    run('tiffcp', '-t', '-w', '16', '-l', '16', '-B', '-8', '-c', 'g4', one_bit, path_of('lt-bilevel-g4-tiled-be-big.tif'))
    expect('lt-bilevel-g4-tiled-be-big.tif', '1-bit', 'g4 tiles of 1 bit', bilevel(), ['bits', 'tiles'])
    run('tiffcp', '-r', '24', '-c', 'jpeg:90', grey_of['u1'], path_of('lt-jpeg-grey.tif'))
    expect('lt-jpeg-grey.tif', 'codecs', 'grey JPEG', decoded_strip('lt-jpeg-grey.tif'), [], calibration=ONE, tolerance=1)


def planes():
    for file, end in variants():
        for name, layout, changes in ((f'tf-planar-{end}.tif', STRIP, ['planes']),
                                      (f'tf-planar-tiled-{end}.tif', TILE, ['planes', 'tiles'])):
            tf(name, numpy.moveaxis(colour('u2', 3), -1, 0), photometric='rgb', planarconfig='separate', **layout, **file)
            expect(name, 'planes-tiles' if 'tiles' in changes else 'planes', 'RGB in planes of their own', channels(colour('u2', 3)), changes, color='rgb',
                   calibration=ONE)
    tf('tf-planar-stack.tif', numpy.moveaxis(numpy.stack([colour('u1', 3), colour('u1', 3, 9)]), -1, 1),
       photometric='rgb', planarconfig='separate', compression=8, **STRIP)
    expect('tf-planar-stack.tif', 'planes', 'two pages of RGB in planes of their own',
           numpy.concatenate([channels(colour('u1', 3)), channels(colour('u1', 3, 9))], axis=1),
           ['planes', 'axes'], color='rgb', calibration=ONE)


def samples():
    for order, end in (('<', 'le'), ('>', 'be')):
        for kind in ('unassalpha', 'assocalpha'):
            name = f'tf-grey-{kind}-{end}.tif'
            tf(name, colour('u2', 2), photometric='minisblack', planarconfig='contig', extrasamples=[kind], byteorder=order, **STRIP)
            expect(name, 'grey-alpha', 'grey and alpha', channels(colour('u2', 2)), ['channels'], color='user',
                   calibration=ONE)
    tf('tf-rgba.tif', colour('u1', 4), photometric='rgb', extrasamples=['unassalpha'], **TILE)
    expect('tf-rgba.tif', 'rgba', 'RGB and alpha', channels(colour('u1', 4)), ['tiles'], color='rgba', calibration=ONE)
    tf('tf-rgba-premultiplied.tif', colour('u1', 4), photometric='rgb', extrasamples=['assocalpha'], **STRIP)
    expect('tf-rgba-premultiplied.tif', 'rgba', 'RGB premultiplied with alpha', channels(colour('u1', 4)), ['alpha'],
           color='rgba', calibration=ONE)
    tf('tf-rgb-and-sample.tif', colour('u1', 4), photometric='rgb', extrasamples=['unspecified'], **STRIP)
    expect('tf-rgb-and-sample.tif', 'rgba', 'RGB and a sample of no kind', channels(colour('u1', 4)), ['alpha'],
           color='rgba', calibration=ONE)
    tf('tf-rgb-two-extra.tif', colour('u2', 5), photometric='rgb', extrasamples=['unspecified', 'unspecified'], byteorder='>', **TILE)
    expect('tf-rgb-two-extra.tif', 'rgb-extra', 'RGB and two samples', channels(colour('u2', 5)), ['channels', 'tiles'],
           color='user', calibration=ONE)
    raw = source('bands.tif')
    tifffile.imwrite(raw, numpy.moveaxis(colour('f4', 5), -1, 0), photometric='minisblack', planarconfig='separate', metadata=None)
    for interleave, changes in (('pixel', ['channels', 'tiles']), ('band', ['channels', 'tiles', 'planes'])):
        name = f'gdal-bands-{interleave}.tif'
        run('gdal_translate', '-q', '-co', 'INTERLEAVE=' + interleave, '-co', 'TILED=YES', '-co', 'BLOCKXSIZE=16',
            '-co', 'BLOCKYSIZE=16', '-co', 'COMPRESS=DEFLATE', '-co', 'PHOTOMETRIC=MINISBLACK', raw, path_of(name))
        expect(name, 'bands', 'five bands', channels(colour('f4', 5)), changes, color='user', calibration=ONE)


def inks():
    cmyk = colour('u1', 4)
    PIL.Image.fromarray(cmyk, 'CMYK').save(path_of('pil-cmyk.tif'))
    expect('pil-cmyk.tif', 'cmyk', 'CMYK', channels(cmyk), ['colour'], color='user')
    inks_of = 255 - cmyk.astype('i4')
    rgb = (inks_of[..., :3] * inks_of[..., 3:] // 255).astype('u1')
    expect('pil-cmyk.tif', 'to-rgb', 'CMYK as RGB', channels(rgb), ['colour'], options=['--to-rgb'], color='rgb', tolerance=1)
    for order, end in (('<', 'le'), ('>', 'be')):
        tf(f'tf-cmyk-{end}.tif', colour('u2', 4), photometric='separated', byteorder=order, **TILE)
        expect(f'tf-cmyk-{end}.tif', 'cmyk', 'CMYK of 16 bits', channels(colour('u2', 4)), ['colour', 'tiles'],
               color='user', calibration=ONE)


def to_srgb(lightness, a, b):
    """sRGB of 8 bits of Lab with a white of D50, adapted to D65 by the method of Bradford."""
    d50, d65 = numpy.array([0.9642, 1.0, 0.8249]), numpy.array([0.95047, 1.0, 1.08883])
    cones = numpy.array([[0.8951, 0.2664, -0.1614], [-0.7502, 1.7135, 0.0367], [0.0389, -0.0685, 1.0296]])
    adapted = numpy.linalg.inv(cones) @ numpy.diag(cones @ d65 / (cones @ d50)) @ cones
    primaries = numpy.array([[0.64, 0.30, 0.15], [0.33, 0.60, 0.06], [0.03, 0.10, 0.79]])
    to_xyz = primaries * numpy.linalg.solve(primaries, d65)
    root = numpy.stack([(lightness + 16) / 116 + a / 500, (lightness + 16) / 116, (lightness + 16) / 116 - b / 200], axis=-1)
    xyz = numpy.where(root > 6 / 29, root ** 3, 3 * (6 / 29) ** 2 * (root - 4 / 29)) * d50
    linear = (xyz @ (numpy.linalg.inv(to_xyz) @ adapted).T).clip(0, 1)
    encoded = numpy.where(linear <= 0.0031308, 12.92 * linear, 1.055 * linear ** (1 / 2.4) - 0.055)
    return numpy.rint(encoded * 255).astype('u1')


def lab():
    for order, end in (('<', 'le'), ('>', 'be')):
        name = f'tf-lab-{end}.tif'
        noisy = colour('u1', 3)
        tf(name, noisy, photometric='cielab', byteorder=order, **STRIP)
        expect(name, 'lab', 'CIE Lab', channels(noisy), ['colour'], color='cielab', calibration=ONE)
    PIL.Image.fromarray(colour('u1', 3), 'LAB').save(path_of('pil-lab.tif'))
    read = numpy.asarray(tifffile.imread(path_of('pil-lab.tif')))
    expect('pil-lab.tif', 'lab', 'CIE Lab', channels(read), ['colour'], color='cielab')
    # Colours inside of sRGB by the definitions; Little CMS, whose tables are less exact, has to agree on average.
    lightness, a, b = numpy.meshgrid(numpy.arange(110, 227, 13), numpy.arange(-20, 21, 8), numpy.arange(-20, 21, 8))
    inside = numpy.stack([lightness, a & 255, b & 255], axis=-1).reshape(18, -1, 3).astype('u1')
    rgb = to_srgb(lightness * (100 / 255), a, b).reshape(18, -1, 3)
    transform = PIL.ImageCms.buildTransform(PIL.ImageCms.createProfile('LAB', 5000), PIL.ImageCms.createProfile('sRGB'),
                                            'LAB', 'RGB', renderingIntent=1)
    other = numpy.asarray(PIL.ImageCms.applyTransform(PIL.Image.fromarray(inside, 'LAB'), transform))
    assert numpy.abs(other.astype('f8') - rgb).mean() < 1
    for order, end in (('<', 'le'), ('>', 'be')):
        tf(f'tf-lab-inside-{end}.tif', inside, photometric='cielab', byteorder=order, **STRIP)
        expect(f'tf-lab-inside-{end}.tif', 'to-rgb', 'CIE Lab as RGB', channels(rgb), ['colour'], options=['--to-rgb'],
               color='rgb', calibration=ONE, tolerance=1)
        deep = numpy.stack([inside[..., 0].astype('u2') * 257, inside[..., 1].astype('u2') << 8, inside[..., 2].astype('u2') << 8], axis=-1).astype('u2')
        tf(f'tf-lab-16-{end}.tif', deep, photometric='cielab', byteorder=order, **STRIP)
        expect(f'tf-lab-16-{end}.tif', 'to-rgb', 'CIE Lab of 16 bits as RGB', channels(rgb), ['colour'], options=['--to-rgb'],
               color='rgb', calibration=ONE, tolerance=1)


def palettes():
    indexes = grey('u1')
    colours = numpy.random.RandomState(1).randint(0, 65536, (3, 256)).astype('u2')
    for order, end in (('<', 'le'), ('>', 'be')):
        name = f'tf-palette-{end}.tif'
        tf(name, indexes, photometric='palette', colormap=colours, byteorder=order, **STRIP)
        expect(name, 'palette', 'palette of 16 bits: indexes', indexes, ['palette'], calibration=ONE)
        expect(name, 'palette-colours', 'palette of 16 bits: colours', colours[:, indexes][:, None], ['palette'],
               options=['--palette', 'rgb'], color='rgb', calibration=ONE)
    few = numpy.random.RandomState(2).randint(0, 256, (256, 3)).astype('u1')
    image = PIL.Image.fromarray(indexes, 'P')
    image.putpalette(few.tobytes())
    image.save(path_of('pil-palette.tif'))
    expect('pil-palette.tif', 'palette', 'palette of 8 bits: indexes', indexes, ['palette'])
    expect('pil-palette.tif', 'palette-colours', 'palette of 8 bits: colours', channels(few[indexes]), ['palette'],
           options=['--palette', 'rgb'], color='rgb')
    sixteen = grey('u1') & 15
    table = numpy.random.RandomState(3).randint(0, 256, (3, 16)).astype('u2') << 8
    tags = [tag for tag in plain_tiff.image_tags(WIDTH, HEIGHT, 4, photometric=3)]
    plain_tiff.write(path_of('py-palette-4-bit.tif'), tags + [(320, plain_tiff.SHORT, table.ravel().tolist())],
                     plain_tiff.pack_bits(sixteen, 4))
    expect('py-palette-4-bit.tif', 'palette', 'palette of 4 bits: indexes', sixteen, ['bits', 'palette'])
    expect('py-palette-4-bit.tif', 'palette-colours', 'palette of 4 bits: colours',
           (table >> 8).astype('u1')[:, sixteen][:, None], ['palette'], options=['--palette', 'rgb'], color='rgb')


def ycbcr():
    smooth = numpy.add.outer(numpy.arange(32) * 4, numpy.arange(48) * 2)
    rgb = numpy.stack([smooth, 255 - smooth, smooth // 2 + 40], axis=-1).clip(0, 255).astype('u1')
    PIL.Image.fromarray(rgb).save(source('smooth.png'))
    run('gm', 'convert', source('smooth.png'), '-compress', 'JPEG', '-quality', '90', 'gm-ycbcr-jpeg.tif')
    run('vips', 'tiffsave', source('smooth.png'), path_of('vips-ycbcr-jpeg.tif'), '--compression', 'jpeg', '--tile',
        '--tile-width', '48', '--tile-height', '32')
    for name, changes in (('gm-ycbcr-jpeg.tif', ['colour']), ('vips-ycbcr-jpeg.tif', ['colour', 'tiles'])):
        with tifffile.TiffFile(path_of(name)) as tiff:
            assert tiff.pages[0].photometric == 6, name
            resolution = tiff.pages[0].tags.get(282)
            inverse = numpy.float32(1) / numpy.float32(resolution.value[0] / resolution.value[1]) if resolution else None
            unit = {2: 'inch', 3: 'cm'}.get(int(tiff.pages[0].tags[296].value)) if resolution else None
        expect(name, 'ycbcr', 'YCbCr of JPEG', channels(decoded_strip(name)), changes, color='rgb',
               calibration=size(inverse, inverse, unit) if resolution else None, tolerance=3)
    grey_values = grey('u1')[:8, :16]
    neutral = numpy.stack([grey_values, numpy.full_like(grey_values, 128), numpy.full_like(grey_values, 128)], axis=-1)
    tags = plain_tiff.image_tags(16, 8, 8, photometric=6, samples=3) + [(530, plain_tiff.SHORT, [1, 1])]
    plain_tiff.write(path_of('py-ycbcr.tif'), tags, neutral.tobytes())
    expect('py-ycbcr.tif', 'ycbcr-other', 'YCbCr without compression', channels(numpy.stack([grey_values] * 3, axis=-1)),
           ['colour'], color='rgb', tolerance=1)


def bits():
    for count in (2, 4, 10, 12, 14):
        dtype = 'u1' if count < 8 else 'u2'
        pixels = grey(dtype) & ((1 << count) - 1)
        tifffile.imwrite(source('bits.tif'), pixels, photometric='minisblack', metadata=None)
        for endianness, end in (('LITTLE', 'le'), ('BIG', 'be')):
            name = f'gdal-{count}-bit-{end}.tif'
            run('gdal_translate', '-q', '-co', f'NBITS={count}', '-co', 'COMPRESS=LZW', '-co', 'ENDIANNESS=' + endianness,
                source('bits.tif'), path_of(name))
            expect(name, 'bits', f'{count} bits', pixels, ['bits'], calibration=ONE)
    for count, dtype in ((6, 'u1'), (20, 'u4')):
        pixels = grey(dtype) & ((1 << count) - 1)
        plain_tiff.write(path_of(f'py-{count}-bit.tif'), plain_tiff.image_tags(WIDTH, HEIGHT, count),
                         plain_tiff.pack_bits(pixels, count))
        expect(f'py-{count}-bit.tif', 'bits', f'{count} bits', pixels, ['bits'])
    of_24 = colour('u4', 2) & 0xffffff
    for order, end in (('<', 'le'), ('>', 'be')):
        three = of_24.astype(order + 'u4').view('u1').reshape(HEIGHT, WIDTH, 2, 4)
        three = three[..., :3] if order == '<' else three[..., 1:]
        plain_tiff.write(path_of(f'py-24-bit-{end}.tif'), plain_tiff.image_tags(WIDTH, HEIGHT, 24, samples=2) + [(338, plain_tiff.SHORT, [0])],
                         three.tobytes(), order)
        expect(f'py-24-bit-{end}.tif', 'bits', '24 bits', channels(of_24), ['bits', 'channels'], color='user')
    signed = (grey('i1') >> 4).astype('i1')
    plain_tiff.write(path_of('py-int4.tif'), plain_tiff.image_tags(WIDTH, HEIGHT, 4, sample_format=2),
                     plain_tiff.pack_bits(signed.view('u1') & 15, 4))
    expect('py-int4.tif', 'bits', 'signed 4 bits', signed, ['bits'])
    tf('tf-no-bits.tif', bilevel(), photometric='minisblack', **STRIP)  # leaves out BitsPerSample
    expect('tf-no-bits.tif', 'no-bits', 'no BitsPerSample', bilevel(), ['bits', 'bits'], calibration=ONE)
    rgb10 = colour('u2', 3) & 1023
    plain_tiff.write(path_of('py-rgb-10-bit.tif'), plain_tiff.image_tags(WIDTH, HEIGHT, 10, photometric=2, samples=3),
                     plain_tiff.pack_bits(rgb10.reshape(HEIGHT, -1), 10))
    expect('py-rgb-10-bit.tif', 'bits', 'RGB of 10 bits', channels(rgb10), ['bits'], color='rgb')


def floats():
    special = numpy.array([[0.0, -0.0, 1.0, -2.5, 65504.0, 6e-8, 5.96e-8, numpy.inf, -numpy.inf, 0.333]], 'f2')
    for order, end in (('<', 'le'), ('>', 'be')):
        tf(f'tf-float16-{end}.tif', special, photometric='minisblack', byteorder=order, metadata=None)
        expect(f'tf-float16-{end}.tif', 'float16', 'float16', special.astype('f4'), ['bits'], calibration=ONE)
        half = (numpy.arange(65536, dtype='u2')[::257].copy()).view('f2').reshape(1, -1)
        half = numpy.where(numpy.isnan(half), numpy.float16(1), half)
        tf(f'tf-float16-all-{end}.tif', half, photometric='minisblack', byteorder=order, tile=(16, 256), metadata=None)
        expect(f'tf-float16-all-{end}.tif', 'float16', 'float16 in tiles', half.astype('f4'), ['bits', 'tiles'], calibration=ONE)
    half = grey('f4').astype('f2')
    tifffile.imwrite(source('f4.tif'), half.astype('f4'), photometric='minisblack', metadata=None)
    run('gdal_translate', '-q', '-co', 'NBITS=16', source('f4.tif'), path_of('gdal-float16.tif'))
    expect('gdal-float16.tif', 'float16', 'float16', half.astype('f4'), ['bits'], calibration=ONE)
    values = numpy.array([[0.0, 1.0, -1.5, 1.0 + 2.0 ** -16, 2.0 ** 63, -2.0 ** -62, 3 * 2.0 ** -78, numpy.inf]], 'f4')
    codes = [0, 63 << 16, 1 << 23 | 63 << 16 | 1 << 15, 63 << 16 | 1, 126 << 16, 1 << 23 | 1 << 16, 3, 127 << 16]
    for order, end in (('<', 'le'), ('>', 'be')):
        strip = b''.join(code.to_bytes(3, 'little' if order == '<' else 'big') for code in codes)
        plain_tiff.write(path_of(f'py-float24-{end}.tif'), plain_tiff.image_tags(8, 1, 24, sample_format=3), strip, order)
        expect(f'py-float24-{end}.tif', 'float24', 'float24', values, ['bits'])
    for order, end in (('<', 'le'), ('>', 'be')):
        doubles = grey('f4').astype('f8') + 1e-5
        doubles[0, 0], doubles[-1, -1] = 0.1, 1e30
        tf(f'tf-float64-{end}.tif', doubles, photometric='minisblack', byteorder=order, **TILE)
        refuse(f'tf-float64-{end}.tif', 'float64', 'float64 without --lossy', '64-bit floating point')
        expect(f'tf-float64-{end}.tif', 'float64', 'float64 rounded', doubles.astype('f4'), ['rounding', 'tiles'],
               options=['--lossy'], calibration=ONE)
        error = numpy.abs(doubles - doubles.astype('f4').astype('f8')).max()
        EXPECTED[f'tf-float64-{end}.tif --lossy']['greatestError'] = float(error)
    tf('tf-float64-large.tif', numpy.array([[1.0, 1e300]]), photometric='minisblack', **STRIP)
    refuse('tf-float64-large.tif', 'float64', 'a value beyond real32', '1e+300', options=['--lossy'])
    tf('tf-complex64.tif', grey('f4').astype('c8')[:4], photometric='minisblack', **STRIP)
    refuse('tf-complex64.tif', 'complex', 'complex numbers', 'complex')
    tf('tf-complex128.tif', grey('f4').astype('c16')[:4], photometric='minisblack', **STRIP)
    refuse('tf-complex128.tif', 'complex', 'complex numbers', 'complex')


def long_integers():
    for order, end in (('<', 'le'), ('>', 'be')):
        for dtype, narrow in (('u8', 'u4'), ('i8', 'i4')):
            name = f'tf-{dtype}-{end}.tif'
            tf(name, grey(narrow)[:6].astype(dtype), photometric='minisblack', byteorder=order, compression=8, **STRIP)
            expect(name, 'int64', '64-bit integers that fit', grey(narrow)[:6], ['bits'], calibration=ONE)
    large = grey('u4')[:6].astype('u8')
    large[3, 7], large[5, 1] = 2 ** 32, 2 ** 40
    tf('tf-u8-large.tif', large, photometric='minisblack', **STRIP)
    refuse('tf-u8-large.tif', 'int64', 'a 64-bit integer that does not fit', '4294967296 in column 7, row 3')
    low = grey('i4')[:6].astype('i8')
    low[2, 5] = -2 ** 31 - 1
    tf('tf-i8-low.tif', low, photometric='minisblack', **TILE)
    refuse('tf-i8-low.tif', 'int64', 'a 64-bit integer that does not fit', '-2147483649 in column 5, row 2')


def minimum():
    for dtype in ('u1', 'u2'):
        name = f'tf-white-{dtype}.tif'
        tf(name, grey(dtype), photometric='miniswhite', byteorder='>', **STRIP)
        expect(name, 'minimum', 'minimum is white', grey(dtype), ['minimum'], white=True, calibration=ONE)
        expect(name, 'minimum', 'minimum is white, turned', numpy.iinfo(dtype).max - grey(dtype), ['minimum'],
               options=['--min-is-black'], calibration=ONE)
    PIL.Image.fromarray(bilevel()).save(path_of('pil-g4.tif'), compression='group4')
    with tifffile.TiffFile(path_of('pil-g4.tif')) as tiff:
        white = int(tiff.pages[0].photometric) == 0
    expect('pil-g4.tif', '1-bit', 'a scan', bilevel() ^ white, ['bits'] + ['minimum'] * white, white=white)
    plain_tiff.write(path_of('py-white-4-bit.tif'), plain_tiff.image_tags(WIDTH, HEIGHT, 4, photometric=0),
                     plain_tiff.pack_bits(grey('u1') & 15, 4))
    expect('py-white-4-bit.tif', 'minimum', '4 bits, minimum is white, turned', 15 - (grey('u1') & 15),
           ['bits', 'minimum'], options=['--min-is-black'])
    plain_tiff.write(path_of('py-white-1-bit.tif'), plain_tiff.image_tags(WIDTH, HEIGHT, 1, photometric=0),
                     plain_tiff.pack_bits(bilevel(), 1))
    expect('py-white-1-bit.tif', 'minimum', '1 bit, minimum is white, turned', ~bilevel(), ['bits', 'minimum'],
           options=['--min-is-black'])
    tf('tf-white-f4.tif', grey('f4'), photometric='miniswhite', **STRIP)
    expect('tf-white-f4.tif', 'minimum', 'floating point, minimum is white', grey('f4'), ['minimum'], white=True, calibration=ONE)
    refuse('tf-white-f4.tif', 'minimum', 'floating point is not turned', '--min-is-black', options=['--min-is-black'])


def pages():
    u1, small = (grey('u1'), {'photometric': 'minisblack', **STRIP}), grey('u1', 5, 18, 8)
    thumbnail = (small, {'photometric': 'minisblack', 'subfiletype': 1, **STRIP})
    for order, end in (('<', 'le'), ('>', 'be')):
        tf_pages(f'tf-thumbnails-{end}.tif', [thumbnail, u1, thumbnail, (grey('u1', 2), u1[1])], byteorder=order)
        expect(f'tf-thumbnails-{end}.tif', 'thumbnails', 'thumbnails between pages', stack('u1', 2), ['skipped', 'axes'], calibration=ONE)
    expect('tf-thumbnails-le.tif', 'thumbnails', 'a thumbnail that is asked for', small, [], options=['--page', '2'],
           calibration=ONE)
    tf_pages('tf-only-reduced.tif', [thumbnail])
    expect('tf-only-reduced.tif', 'thumbnails', 'only a reduced page', small, ['pages'], calibration=ONE)
    masked = source('masked.tif')
    tifffile.imwrite(masked, grey('u1'), photometric='minisblack', metadata=None)
    run('gdal_translate', '-q', '-mask', '1', '--config', 'GDAL_TIFF_INTERNAL_MASK', 'YES', masked, path_of('gdal-mask.tif'))
    expect('gdal-mask.tif', 'masks', 'a mask in the chain', grey('u1'), ['skipped'], calibration=ONE)
    two = [u1, (grey('u1', 2), u1[1]), (grey('u2', 3, 20, 9), u1[1])]
    tf_pages('tf-two-series.tif', two)
    refuse('tf-two-series.tif', 'series', 'pages of two sizes', 'series')
    expect('tf-two-series.tif', 'series', 'the first series', stack('u1', 2), ['axes', 'series'], options=['--series', '0'], calibration=ONE)
    expect('tf-two-series.tif', 'series', 'the second series', grey('u2', 3, 20, 9), ['series'], options=['--series', '1'], calibration=ONE)
    expect('tf-two-series.tif', 'series', 'a page', grey('u1', 2), [], options=['--page', '1:1'], calibration=ONE)
    refuse('tf-two-series.tif', 'series', 'no such page', 'directories 0 to 2', options=['--page', '1:3'])
    refuse('tf-two-series.tif', 'series', 'no such series', 'series 0 to 1', options=['--series', '2'])


def pyramids():
    large = numpy.kron(grey('u1'), numpy.ones((3, 3), 'u1'))
    tifffile.imwrite(source('large.tif'), large, photometric='minisblack', metadata=None)
    for name, extra in (('vips-pyramid.tif', []), ('vips-pyramid-subifd.tif', ['--subifd'])):
        run('vips', 'tiffsave', source('large.tif'), path_of(name), '--pyramid', '--tile', '--tile-width', '64',
            '--tile-height', '64', '--compression', 'deflate', *extra)
        with tifffile.TiffFile(path_of(name)) as tiff:
            resolution = tiff.pages[0].tags[282].value
            unit = {2: 'inch', 3: 'cm'}[int(tiff.pages[0].tags[296].value)]
        inverse = numpy.float32(1) / numpy.float32(resolution[0] / resolution[1])
        expect(name, 'pyramid', 'a pyramid', large, ['skipped', 'tiles'], calibration=size(inverse, inverse, unit))
    shutil.copy(source('large.tif'), path_of('gdal-overviews.tif'))
    run('gdaladdo', '-q', path_of('gdal-overviews.tif'), '2', '4')
    expect('gdal-overviews.tif', 'pyramid', 'overviews', large, ['skipped'], calibration=ONE)
    with tifffile.TiffWriter(path_of('tf-image-below.tif')) as tiff:
        tiff.write(grey('u1', 5, 18, 8), subifds=1, subfiletype=1, photometric='minisblack', **STRIP)
        tiff.write(grey('u2'), photometric='minisblack', **STRIP)
    expect('tf-image-below.tif', 'pyramid', 'the image below a thumbnail', grey('u2'), ['pages', 'skipped'], calibration=ONE)


def hyper(dtype, t, z, c):
    """t, z, c, y, x, as programs store them, and t, c, z, y, x, as they are expected."""
    planes = stack(dtype, t * z * c).reshape(t, z, c, HEIGHT, WIDTH)
    return planes, numpy.moveaxis(planes, 2, 1)


def imagej():
    run('java', '-Djava.awt.headless=true', '-cp', os.environ.get('IJ_JAR', '/usr/share/java/ij.jar'),
        os.path.join(FOLDER, 'MakeHyperstacks.java'), FOLDER)
    for order in ('le', 'be'):
        t, z, c = 2, 3, 2
        planes = numpy.array([[(x * 3 + y * 5 + plane * 1000) & 0xffff for y in range(9) for x in range(11)]
                              for plane in range(1, t * z * c + 1)], 'u2').reshape(t, z, c, 9, 11)
        expect(f'ij-hyperstack-{order}.tif', 'imagej', 'a hyperstack of ImageJ', numpy.moveaxis(planes, 2, 1), ['axes'],
               calibration=size(0.25, 0.5, 'um', 2), color='user')
    for order, end in (('<', 'le'), ('>', 'be')):
        for dtype in ('u1', 'u2', 'f4'):
            planes, expected = hyper(dtype, 2, 3, 2)
            metadata = {'axes': 'TZCYX', 'unit': 'um', 'spacing': 2.0}
            options = {'imagej': True, 'byteorder': order, 'resolution': (4, 2), 'metadata': metadata}
            if dtype != 'f4':
                tf(f'tf-imagej-{dtype}-{end}.tif', planes, **options)
                expect(f'tf-imagej-{dtype}-{end}.tif', 'imagej', 'a hyperstack', expected, ['axes'],
                       calibration=size(0.25, 0.5, 'um', 2), color='user')
            tf(f'tf-imagej-single-{dtype}-{end}.tif', planes, truncate=True, **options)
            expect(f'tf-imagej-single-{dtype}-{end}.tif', 'imagej-single', 'a hyperstack in one directory', expected,
                   ['axes', 'stack'], calibration=size(0.25, 0.5, 'um', 2), color='user')
        single = path_of(f'tf-imagej-single-u2-{end}.tif')
        with tifffile.TiffFile(single) as tiff:
            start = tiff.pages[0].dataoffsets[0]
        planes, expected = hyper('u2', 2, 3, 2)
        for count, shown, changes in ((6, expected[:1], ['missing', 'stack', 'axes']),
                                      (7, planes.reshape(-1, HEIGHT, WIDTH)[:7], ['missing', 'stack', 'axes'])):
            name = f'tf-imagej-cut-{count}-{end}.tif'
            with open(single, 'rb') as file, open(path_of(name), 'wb') as cut:
                cut.write(file.read(start + count * HEIGHT * WIDTH * 2 + 5))
            expect(name, 'imagej-single', 'a stack that ends early', shown, changes, calibration=size(0.25, 0.5, 'um', 2),
                   color='user' if count == 6 else 'grey')
    for name, count, changes in (('tf-imagej-fewer.tif', 2, ['missing']), ('tf-imagej-more.tif', 5, ['pages'])):
        options = {'photometric': 'minisblack', 'description': 'ImageJ=1.53t\nimages=4\nslices=4\n', **STRIP}
        tf_pages(name, [(grey('u1', 1 + page), options) for page in range(count)])
        expect(name, 'imagej', 'another number of pages than announced', stack('u1', count), changes, calibration=ONE)
    rgb = numpy.stack([colour('u1', 3), colour('u1', 3, 9)])
    tf('tf-imagej-single-rgb.tif', rgb, imagej=True, metadata={'axes': 'TYXS'}, truncate=True)
    expect('tf-imagej-single-rgb.tif', 'imagej-single', 'RGB in one directory', numpy.moveaxis(rgb, -1, 1)[:, :, None],
           ['stack', 'axes'], color='rgb', calibration=ONE)
    expect('tf-imagej-u1-le.tif', 'axes', 'axes that the user gives', numpy.moveaxis(hyper('u1', 2, 3, 2)[0].reshape(4, 3, HEIGHT, WIDTH), 1, 0)[None],
           ['axes'], options=['--axes', 'cz=3,4'], calibration=size(0.25, 0.5, 'um', 2), color='user')
    expect('tf-imagej-single-u2-be.tif', 'imagej-single', 'planes of a stack', stack('u2', 12)[4:6], ['stack', 'axes'],
           options=['--page', '4:5'], calibration=size(0.25, 0.5, ''))


def shaped():
    for order, end in (('<', 'le'), ('>', 'be')):
        planes = stack('u2', 6).reshape(2, 3, HEIGHT, WIDTH)
        tf(f'tf-shaped-{end}.tif', planes, photometric='minisblack', truncate=True, byteorder=order, metadata={'axes': 'TZYX'})
        expect(f'tf-shaped-{end}.tif', 'shaped', 'one directory of tifffile', planes[:, None], ['axes', 'stack'], calibration=ONE)
    tf('tf-shaped-flat.tif', stack('u1', 4), photometric='minisblack', truncate=True)
    expect('tf-shaped-flat.tif', 'shaped', 'one directory of tifffile, no axes', stack('u1', 4), ['axes', 'stack'], calibration=ONE)
    tf('tf-shaped-rgb.tif', numpy.stack([colour('u1', 3), colour('u1', 3, 9)]), photometric='rgb', truncate=True)
    expect('tf-shaped-rgb.tif', 'shaped', 'one directory of RGB', numpy.concatenate([channels(colour('u1', 3)), channels(colour('u1', 3, 9))], axis=1),
           ['axes', 'stack'], calibration=ONE, color='rgb')


def ome():
    physical = {'PhysicalSizeX': 0.1, 'PhysicalSizeY': 0.2, 'PhysicalSizeZ': 0.5}
    for file, end in variants():
        planes, expected = hyper('u2', 2, 3, 2)
        tf(f'tf-ome-{end}.ome.tif', planes, ome=True, photometric='minisblack', metadata={'axes': 'TZCYX', **physical}, **file)
        expect(f'tf-ome-{end}.ome.tif', 'ome', 'an OME-TIFF', expected, ['axes'], color='user', calibration=size(0.1, 0.2, 'um', 0.5))
    planes = stack('u1', 6).reshape(2, 3, HEIGHT, WIDTH)
    tf('tf-ome-czyx.ome.tif', planes, ome=True, photometric='minisblack', compression=8, tile=(16, 16),
       metadata={'axes': 'CZYX', 'PhysicalSizeX': 250, 'PhysicalSizeXUnit': 'nm', 'PhysicalSizeY': 0.5, 'PhysicalSizeYUnit': 'µm'})
    expect('tf-ome-czyx.ome.tif', 'ome', 'other order of axes and other units', planes[None], ['axes', 'tiles'], color='user',
           calibration=size(250, 500, 'nm'))
    rgb = numpy.stack([colour('u1', 3), colour('u1', 3, 9)])
    tf('tf-ome-rgb.ome.tif', rgb, ome=True, photometric='rgb', metadata={'axes': 'TYXS'})
    expect('tf-ome-rgb.ome.tif', 'ome', 'OME-TIFF of RGB', numpy.moveaxis(rgb, -1, 1)[:, :, None], ['axes'], color='rgb', calibration=ONE)
    with tifffile.TiffWriter(path_of('tf-ome-two.ome.tif'), ome=True) as tiff:
        tiff.write(stack('u1', 2), photometric='minisblack', metadata={'axes': 'TYX'})
        tiff.write(grey('u2', 3, 20, 9), photometric='minisblack', metadata={'axes': 'YX'})
    refuse('tf-ome-two.ome.tif', 'ome', 'two images', '--series')
    expect('tf-ome-two.ome.tif', 'ome', 'the first image', stack('u1', 2)[:, None, None], ['axes', 'series', 'skipped'],
           options=['--series', '0'], calibration=ONE)
    with tifffile.TiffWriter(path_of('tf-ome-pyramid.ome.tif'), ome=True) as tiff:
        tiff.write(stack('u1', 2), subifds=1, photometric='minisblack', tile=(16, 16), metadata={'axes': 'CYX'})
        tiff.write(stack('u1', 2)[:, ::2, ::2], subfiletype=1, photometric='minisblack', tile=(16, 16))
    expect('tf-ome-pyramid.ome.tif', 'ome', 'a pyramid', stack('u1', 2)[:, None], ['axes', 'skipped', 'tiles'], color='user', calibration=ONE)


OME = ('<?xml version="1.0"?><OME xmlns="http://www.openmicroscopy.org/Schemas/OME/2016-06" UUID="{uuid}">'
       '<Image ID="Image:0"><Pixels ID="Pixels:0" DimensionOrder="XYZCT" Type="uint8" SizeX="37" SizeY="17" SizeZ="1" '
       'SizeC="2" SizeT="2"><Channel ID="Channel:0:0" SamplesPerPixel="1" Name="DAPI"/>'
       '<Channel ID="Channel:0:1" SamplesPerPixel="1"/>{blocks}</Pixels></Image></OME>')


def ome_sets():
    def uuid(number):
        return f'urn:uuid:00000000-0000-0000-0000-00000000000{number}'

    def write_set(names):
        blocks = ''.join(f'<TiffData FirstC="{index % 2}" FirstT="{index // 2}" IFD="0" PlaneCount="1">'
                         f'<UUID FileName="{name}">{uuid(index)}</UUID></TiffData>' for index, name in enumerate(names))
        for index, name in enumerate(names):
            tf(name, grey('u1', 1 + index), photometric='minisblack', description=OME.format(uuid=uuid(index), blocks=blocks), **STRIP)
    whole = [f'tf-set-{index}.ome.tif' for index in range(4)]
    write_set(whole)
    expected = stack('u1', 4).reshape(2, 2, 1, HEIGHT, WIDTH)
    for index, name in enumerate(whole):
        expect(name, 'ome-set', 'a set of files', expected, ['axes', 'set'], color='user', calibration=ONE)
        expect(name, 'ome-set', 'one file of a set', grey('u1', 1 + index), [], options=['--page', '0'], calibration=ONE)
    broken = [f'tf-broken-set-{index}.ome.tif' for index in range(4)]
    write_set(broken)
    for name in broken[1:]:
        os.remove(path_of(name))
    refuse(broken[0], 'ome-set', 'files of the set are missing', '"tf-broken-set-1.ome.tif", "tf-broken-set-2.ome.tif"')
    description = OME.format(uuid=uuid(0), blocks='<TiffData IFD="0" PlaneCount="4"/>')
    tf_pages('tf-ome-short.ome.tif', [(grey('u1', 1 + page), {'photometric': 'minisblack', 'description': description, **STRIP})
                                      for page in range(3)])
    refuse('tf-ome-short.ome.tif', 'ome', 'planes are missing', '3 directories')
    reverse = ''.join(f'<TiffData FirstC="{index % 2}" FirstT="{index // 2}" IFD="{3 - index}"/>' for index in range(4))
    tf_pages('tf-ome-reverse.ome.tif', [(grey('u1', 4 - page), {'photometric': 'minisblack', 'description': OME.format(uuid=uuid(0), blocks=reverse) if page == 0 else None, **STRIP})
                                        for page in range(4)])
    expect('tf-ome-reverse.ome.tif', 'ome', 'directories in another order', expected, ['axes'], color='user', calibration=ONE)


def other_programs():
    cv2.imwrite(path_of('cv-rgb16.tif'), colour('u2', 3)[..., ::-1], [cv2.IMWRITE_TIFF_COMPRESSION, 5])
    expect('cv-rgb16.tif', 'plain', 'LZW of OpenCV', channels(colour('u2', 3)), [], color='rgb')
    cv2.imwritemulti(path_of('cv-stack.tif'), [grey('u1'), grey('u1', 2)])
    expect('cv-stack.tif', 'plain', 'two pages of OpenCV', stack('u1', 2), ['axes'])
    cv2.imwrite(path_of('cv-real32.tif'), grey('f4'))
    expect('cv-real32.tif', 'plain', 'floating point of OpenCV', grey('f4'), [])
    PIL.Image.fromarray(grey('u2')).save(path_of('pil-u2.tif'), dpi=(300, 150))
    expect('pil-u2.tif', 'plain', '16 bits of Pillow', grey('u2'), [],
           calibration=size(numpy.float32(1) / numpy.float32(300), numpy.float32(1) / numpy.float32(150), 'inch'))
    grey('u2').astype('<u2').tofile(source('u2.raw'))
    run('gm', 'convert', '-size', f'{WIDTH}x{HEIGHT}', '-depth', '16', '-endian', 'LSB', 'gray:' + source('u2.raw'),
        '-compress', 'Zip', 'gm-u2.tif')
    with tifffile.TiffFile(path_of('gm-u2.tif')) as tiff:
        assert (tiff.pages[0].asarray() == grey('u2')).all()
    expect('gm-u2.tif', 'plain', '16 bits of GraphicsMagick', grey('u2'), [])


def left_out():
    profile = PIL.ImageCms.ImageCmsProfile(PIL.ImageCms.createProfile('sRGB')).tobytes()
    PIL.Image.fromarray(colour('u1', 3)).save(path_of('pil-profile.tif'), icc_profile=profile[:24] + bytes(12) + profile[36:])
    expect('pil-profile.tif', 'plain', 'an ICC profile', channels(colour('u1', 3)), ['profile'], color='rgb')
    tf('tf-imagej-signed.tif', grey('u2'), photometric='minisblack', description='ImageJ=1.53t\ncf=0\nc0=-32768.0\nc1=1.0\n', **STRIP)
    expect('tf-imagej-signed.tif', 'imagej', 'signed values of ImageJ', grey('u2'), ['function'], calibration=ONE)


def oddities():
    tags = plain_tiff.image_tags(WIDTH, HEIGHT, 8)
    strip = grey('u1').tobytes()
    plain_tiff.write(path_of('py-orientation.tif'), tags + [(274, plain_tiff.SHORT, [6])], strip)
    expect('py-orientation.tif', 'orientation', 'rows at the right', grey('u1'), ['orientation'])
    plain_tiff.write(path_of('py-no-photometric.tif'), [tag for tag in tags if tag[0] != 262], strip)
    expect('py-no-photometric.tif', 'plain', 'no PhotometricInterpretation', grey('u1'), ['colour'])
    plain_tiff.write(path_of('py-cfa.tif'), plain_tiff.image_tags(WIDTH, HEIGHT, 8, photometric=32803), strip)
    expect('py-cfa.tif', 'raw-colours', 'a colour filter array', grey('u1'), ['colour'])
    plain_tiff.write(path_of('py-unknown-colours.tif'), plain_tiff.image_tags(WIDTH, HEIGHT, 8, photometric=77), strip)
    refuse('py-unknown-colours.tif', 'refused', 'unknown colours', '77')
    plain_tiff.write(path_of('py-unknown-codec.tif'), plain_tiff.image_tags(WIDTH, HEIGHT, 8, compression=34712), strip)
    refuse('py-unknown-codec.tif', 'refused', 'JPEG 2000', '34712')
    plain_tiff.write(path_of('py-logluv.tif'), plain_tiff.image_tags(WIDTH, HEIGHT, 16, 2, 32845, 3, 34676), strip)
    refuse('py-logluv.tif', 'refused', 'LogLuv', '--to-rgb')
    plain_tiff.write(path_of('py-depth.tif'), tags + [(32997, plain_tiff.LONG, [4])], strip)
    refuse('py-depth.tif', 'refused', 'a volume in one directory', 'ImageDepth')
    plain_tiff.write(path_of('py-metamorph.tif'), tags + [(33629, plain_tiff.LONG, [0] * 6)], strip)
    refuse('py-metamorph.tif', 'refused', 'a stack of MetaMorph', 'MetaMorph')
    plain_tiff.write(path_of('py-48-bit.tif'), plain_tiff.image_tags(4, 4, 48), bytes(96))
    refuse('py-48-bit.tif', 'refused', '48 bits', '48')
    empty = numpy.zeros((64, 64), 'u1')
    empty[:16, :16] = 7
    tifffile.imwrite(source('nodata.tif'), numpy.where(empty == 0, 9, empty).astype('u1'), photometric='minisblack', metadata=None)
    tifffile.imwrite(source('sparse.tif'), empty, photometric='minisblack', metadata=None)
    run('gdal_translate', '-q', '-co', 'SPARSE_OK=YES', '-co', 'TILED=YES', '-co', 'BLOCKXSIZE=16', '-co', 'BLOCKYSIZE=16',
        source('sparse.tif'), path_of('gdal-sparse.tif'))
    run('gdal_translate', '-q', '-co', 'SPARSE_OK=YES', '-co', 'TILED=YES', '-co', 'BLOCKXSIZE=16', '-co', 'BLOCKYSIZE=16',
        '-a_nodata', '9', source('nodata.tif'), path_of('gdal-sparse-nodata.tif'))
    refuse('gdal-sparse-nodata.tif', 'sparse', 'tiles without bytes that stand for 9', 'GDAL_NODATA')
    expect('gdal-sparse.tif', 'sparse', 'tiles without bytes', empty, ['sparse', 'tiles'], calibration=ONE)


def damaged():
    with open(path_of('tf-tiled-u2-deflate-le.tif'), 'rb') as file:
        whole = file.read()
    with tifffile.TiffFile(path_of('tf-tiled-u2-deflate-le.tif')) as tiff:
        offsets, counts = tiff.pages[0].dataoffsets, tiff.pages[0].databytecounts
    middle = offsets[2] + 10
    with open(path_of('py-damaged-tile.tif'), 'wb') as file:
        file.write(whole[:middle] + bytes(50) + whole[middle + 50:])
    refuse('py-damaged-tile.tif', 'damaged', 'a damaged tile', 'tile 2')
    with open(path_of('tf-tiled-u1-le.tif'), 'rb') as file:
        whole = file.read()
    with open(path_of('py-truncated-tile.tif'), 'wb') as file:
        file.write(whole[:-100])
    refuse('py-truncated-tile.tif', 'damaged', 'a truncated tile', 'tile')
    with open(path_of('gm-ycbcr-jpeg.tif'), 'rb') as file:
        whole = bytearray(file.read())
    with tifffile.TiffFile(path_of('gm-ycbcr-jpeg.tif')) as tiff:
        end = tiff.pages[0].dataoffsets[0] + tiff.pages[0].databytecounts[0]
    whole[end - 60:end] = bytes(60)
    with open(path_of('py-truncated-jpeg.tif'), 'wb') as file:
        file.write(whole)
    refuse('py-truncated-jpeg.tif', 'damaged', 'a truncated JPEG strip', 'Premature end')
    tf_pages('tf-loop.tif', [(grey('u1', 1 + page), {'photometric': 'minisblack', **STRIP}) for page in range(2)])
    with tifffile.TiffFile(path_of('tf-loop.tif')) as tiff:
        first, second = (page.offset for page in tiff.pages)
    with open(path_of('tf-loop.tif'), 'r+b') as file:
        file.seek(second)
        count = struct.unpack('<H', file.read(2))[0]
        file.seek(second + 2 + 12 * count)
        file.write(struct.pack('<I', first))
    os.rename(path_of('tf-loop.tif'), path_of('py-loop.tif'))
    refuse('py-loop.tif', 'damaged', 'a chain that runs in a circle', 'chain of directories')
    tags = [tag for tag in plain_tiff.image_tags(WIDTH, HEIGHT, 8, compression=8) if tag[0] != 278]
    plain_tiff.write(path_of('py-incomplete-table.tif'), tags + [(278, plain_tiff.LONG, [5])],
                     zlib.compress(grey('u1')[:5].tobytes()))
    refuse('py-incomplete-table.tif', 'damaged', 'positions of three strips are missing', 'the table of their positions')
    plain_tiff.write(path_of('py-huge.tif'), plain_tiff.image_tags(2 ** 31 - 1, 2 ** 31 - 1, 8), bytes(16))
    refuse('py-huge.tif', 'damaged', 'more pixels than bytes', 'more pixels than the file holds')
    plain_tiff.write(path_of('py-huge-lzw.tif'), plain_tiff.image_tags(2 ** 20, 2 ** 20, 8, compression=5), bytes(16))
    refuse('py-huge-lzw.tif', 'damaged', 'more pixels than bytes', 'more pixels than the file holds')


def main():
    for name in os.listdir(FOLDER):
        if name.endswith('.tif'):
            os.remove(path_of(name))
    for make in (tiles, codecs, planes, samples, inks, lab, palettes, ycbcr, bits, floats, long_integers, minimum, pages,
                 pyramids, imagej, shaped, ome, ome_sets, other_programs, left_out, oddities, damaged):
        make()
    shutil.rmtree(SOURCES)
    written = {name for name in os.listdir(FOLDER) if name.endswith('.tif')}
    described = {found['file'] for found in EXPECTED.values()}
    assert written == described, written ^ described
    with open(path_of('expected.json'), 'w') as file:
        lines = ',\n'.join('  ' + json.dumps(key) + ': ' + json.dumps(EXPECTED[key]) for key in sorted(EXPECTED))
        file.write('{\n' + lines + '\n}\n')


main()
