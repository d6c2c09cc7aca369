# SPDX-FileCopyrightText: The VELMOImageFile authors
# SPDX-License-Identifier: Apache-2.0
"""What each fixture shows, and what a reader has to make of it where the pixels alone do not tell.

Rules: `source`, the pixels the file was made from; `planes`, the count of planes where it is not that of the
directories; `single`, a stack whose planes lie behind each other in one directory; `load`, the beginning of the failure
of reading the pixels of a file that opens; `refused`, the beginning of the failure of opening; `warns`, the beginning
of a warning; `type`, the buffer type where that of tifffile says otherwise.
"""
from patterns import bilevel, colour, grey

MAKERS = {'tf': 'tifffile', 'lt': 'libtiff', 'ij': 'ImageJ', 'gm': 'GraphicsMagick'}
EXPECTATIONS = {}

TYPE = 'Un supported image buffer type with bitsPerSamples=%s, sampleFormat=%s and image buffer mode '
PHOTOMETRIC = 'Un supported photometric interpretation value %d  with %d samples per pixels for file '
PLANAR = 'Un supported planar configuration value 2 for file '
SUBFILE = 'Un supported sub file type value %d for file '
NAMES = {'u1': 'unsigned 8 bit', 'i1': 'signed 8 bit', 'u2': 'unsigned 16 bit', 'i2': 'signed 16 bit',
         'u4': 'unsigned 32 bit', 'i4': 'signed 32 bit', 'f4': '32-bit float', 'f2': '16-bit float',
         'f8': '64-bit float', 'u8': 'unsigned 64 bit'}
SOURCES = {'rgb-u1': colour('u1', 3), 'rgb-u2': colour('u2', 3), 'rgb-f4': colour('f4', 3)[:7],
           'rgba-u1': colour('u1', 4), 'rgba-u2': colour('u2', 4)}
COMPRESSIONS = {'lzw': 'LZW', 'lzw-predicted': 'LZW with a predictor', 'packbits': 'PackBits',
                'zip': 'Deflate of code 8', 'zip-predicted': 'Deflate of code 8 with a predictor',
                'adobe-deflate': 'Deflate of code 8', 'adobe-deflate-predicted': 'Deflate of code 8 with a predictor',
                'deflate': 'Deflate of code 32946', 'deflate-predicted': 'Deflate of code 32946 with a predictor'}


def add(name, shows, **rule):
    assert name not in EXPECTATIONS, name
    EXPECTATIONS[name] = (shows, rule)


def source(kind):
    return SOURCES[kind] if kind in SOURCES else grey(kind)


def described(kind):
    if kind in NAMES:
        return NAMES[kind] + ' grey'
    model, dtype = kind.split('-')
    return NAMES[dtype] + ' ' + model.upper()


def plain(name, kind, text=''):
    add(name, described(kind) + text, source=source(kind))


def of_tifffile():
    for kind in ('u1', 'i1', 'u2', 'i2', 'u4', 'i4', 'f4', 'rgb-u1', 'rgb-u2', 'rgb-f4', 'rgba-u1', 'rgba-u2'):
        plain('tf-' + kind, kind)
    for kind in ('u2', 'i4', 'f4', 'rgb-u2'):
        plain(f'tf-{kind}-be', kind, ', big-endian')
    plain('tf-u2-bigtiff', 'u2', ', BigTIFF')
    plain('tf-u2-bigtiff-be', 'u2', ', BigTIFF, big-endian')
    for compression in ('adobe-deflate', 'deflate'):
        for predicted in ('', '-predicted'):
            for kind in ('u1', 'u2', 'rgb-u1'):
                plain(f'tf-{kind}-{compression}{predicted}', kind, ', ' + COMPRESSIONS[compression + predicted])
    plain('tf-f4-deflate-be', 'f4', ', Deflate of code 8, big-endian')
    add('tf-palette', '8-bit palette, which counts as grey', source=grey('u1'))
    add('tf-void-samples', '8-bit samples of undefined format', source=grey('u1'), type='eIBT_UInt8')
    add('tf-min-is-white', '8-bit grey, zero is white', source=grey('u1'))
    for unit in ('none', 'inch', 'cm'):
        add('tf-calibrated-' + unit, 'resolutions of which one is a fraction, unit ' + unit, source=grey('u1'))
    add('tf-resolution-zero', 'a resolution of 0', source=grey('u1'),
        warns='Resolution values x=0.000000 and y=72.000000 are not valid for image calibration into image file ')


def refused_of_tifffile():
    for kind, bits, sample_format in (('f2', 16, 3), ('f8', 64, 3), ('u8', 64, 1)):
        add('tf-' + kind, described(kind), refused=TYPE % (bits, sample_format) + 'eTBM_Default for file ')
    add('tf-bilevel-without-bits', 'bilevel, BitsPerSample left out',
        refused='Error while getting tiff tag TIFFTAG_BITSPERSAMPLE for file ')
    add('tf-rgb-u1-planar', 'RGB in separate planes', refused=PLANAR)
    add('tf-grey-alpha', 'grey with alpha', refused=PHOTOMETRIC % (1, 2))
    add('tf-rgb-five-samples', 'RGB with two further samples', refused=PHOTOMETRIC % (2, 5))
    add('tf-rgb-then-grey', 'an RGB directory, then a grey one', refused=TYPE % ('eCGT_Grey', 'eCGT_Rgb'))
    add('tf-grey-then-rgb', 'a grey directory, then an RGB one', refused=TYPE % ('eCGT_Rgb', 'eCGT_Grey'))
    add('tf-sizes-differ', 'directories of different heights',
        refused='Plan size mismatch among tiff directories, found x=37 y=18 whereas reference is x=37 y=17 for file ')
    add('tf-stack-u1-f8', 'an 8-bit directory, then one of 64-bit float', refused=TYPE % (64, 3))
    add('tf-reduced-page', 'a full page, then a reduced one', refused=SUBFILE % 1)
    add('tf-described-no-number', 'an ImageJ description whose count is a word',
        refused='An exception has been thrown while opening file ')


def stacks_of_tifffile():
    for name, text in (('tf-stack-u2', ''), ('tf-stack-u2-be', ', big-endian')):
        add(name, '16-bit directories' + text, source=grey('u2'))
    add('tf-stack-f4-deflate', 'float directories, Deflate', source=grey('f4'))
    add('tf-rgb-u1-stack', 'RGB directories', source=colour('u1', 3))
    add('tf-stack-u1-u2', 'an 8-bit directory, then a 16-bit one', source=grey('u1'))
    add('tf-stack-u2-u1-be', 'a 16-bit directory, then an 8-bit one, big-endian', source=grey('u2', 2))
    add('tf-page', 'directories that are pages of a document', source=grey('u1'))
    add('tf-tiled-u1', 'tiled grey', load='Failed to read data of strip 0 for directory z=0, c=0, t=0 of file ')
    add('tf-tiled-rgb', 'tiled RGB', load='Failed to read data of strip 0 for directory z=0, c=0, t=0 of file ')
    for name, text in (('no-count', 'without a count'), ('minus-one', 'whose count is -1')):
        add('tf-described-' + name, 'two directories, an ImageJ description ' + text, source=grey('u1'))
    add('tf-described-not-imagej', 'two directories, a description with a count that is not of ImageJ',
        source=grey('u1'))
    add('tf-described-one-image', 'two directories, an ImageJ description of one image', planes=1, single=True)
    add('tf-described-slices', 'two directories, an ImageJ description of one slice', planes=1, single=True)


def imagej_stacks_of_tifffile():
    for order, text in (('le', 'little-endian'), ('be', 'big-endian')):
        add('tf-imagej-stack-u2-' + order, 'ImageJ stack of directories, ' + text, source=grey('u2'))
        for dtype in ('u1', 'u2', 'f4'):
            add(f'tf-imagej-single-{dtype}-{order}', f'ImageJ stack of one directory, {NAMES[dtype]}, {text}',
                planes=2, single=True, **({'warns': 'Planes of file '} if order == 'be' and dtype != 'u1' else {}))
    add('tf-imagej-hyperstack', 'ImageJ hyperstack of directories, little-endian', source=grey('u1'))
    add('tf-imagej-hyperstack-single', 'ImageJ hyperstack of one directory, big-endian', planes=8, single=True)
    add('tf-imagej-single-rgb', 'ImageJ stack of one directory, RGB', planes=2, single=True,
        load='Error while setting directory 1 for file ')


def of_libtiff():
    for compression in ('lzw', 'packbits', 'zip'):
        for kind in ('u1', 'u2', 'f4', 'rgb-u1', 'rgba-u1'):
            plain(f'lt-{kind}-{compression}', kind, ', ' + COMPRESSIONS[compression])
    for kind in ('u1', 'u2', 'u4', 'rgb-u1', 'rgb-u2', 'rgba-u1'):
        plain(f'lt-{kind}-lzw-predicted', kind, ', ' + COMPRESSIONS['lzw-predicted'])
    plain('lt-u2-zip-predicted', 'u2', ', ' + COMPRESSIONS['zip-predicted'])
    plain('lt-f4-zip-predicted', 'f4', ', Deflate with the predictor of floats')
    plain('lt-i1', 'i1')
    plain('lt-i2-lzw-be', 'i2', ', LZW, big-endian')
    plain('lt-u2-be', 'u2', ', big-endian')
    plain('lt-u2-lzw-predicted-be', 'u2', ', LZW with a predictor, big-endian')
    plain('lt-u2-bigtiff-be', 'u2', ', BigTIFF, big-endian')
    plain('lt-rgb-u1-bigtiff', 'rgb-u1', ', LZW, BigTIFF')
    plain('lt-raw2tiff-f4', 'f4', ', PackBits, least significant bit first')
    plain('lt-raw2tiff-u2', 'u2', ', LZW, least significant bit first')
    plain('lt-raw2tiff-rgb', 'rgb-u1', ', Deflate, least significant bit first')
    add('lt-tiffmedian-palette', 'palette of 64 colours, strips of 7 rows')
    add('lt-rgb-u1-planar', 'RGB in separate planes, LZW', refused=PLANAR)


def bilevels_of_libtiff():
    for width in (9, 37, 321):
        pixels = bilevel(width)
        add(f'lt-bilevel-{width}', f'bilevel of {width} columns, zero is black', source=pixels)
        for code, text in (('packbits', 'PackBits'), ('g4', 'CCITT G4'), ('zip', 'Deflate')):
            add(f'lt-bilevel-{width}-{code}', f'bilevel of {width} columns, zero is white, {text}', source=pixels)
    add('lt-bilevel-37-lzw', 'bilevel, LZW', source=bilevel())
    add('lt-bilevel-37-g3', 'bilevel, CCITT G3', source=bilevel())
    add('lt-bilevel-321-g3-2d', 'bilevel, two-dimensional CCITT G3', source=bilevel(321))
    add('lt-bilevel-37-lsb-first', 'bilevel, least significant bit first', source=bilevel())
    add('lt-bilevel-37-g4-lsb-first', 'bilevel, CCITT G4, least significant bit first', source=bilevel())
    add('lt-bilevel-stack', 'bilevel directories, the first black at zero, the second white', source=bilevel())
    add('lt-ppm2tiff-bilevel', 'bilevel, LZW, strips of 7 rows', source=bilevel(321))
    add('lt-bilevel-tiled', 'tiled bilevel', load='Failed to read data of row 0 for directory z=0, c=0, t=0 of file ')
    add('lt-u1-tiled', 'tiled grey', load='Failed to read data of strip 0 for directory z=0, c=0, t=0 of file ')
    add('lt-stack-bilevel-u1', 'a bilevel directory, then an 8-bit one', source=bilevel())
    add('lt-stack-u1-bilevel', 'an 8-bit directory, then a bilevel one', source=grey('u1'))


def tags_of_libtiff():
    add('lt-resolution-last', 'a resolution in the last directory alone')
    add('lt-resolution-first', 'a resolution in the first directory alone')
    add('lt-resolution-without-unit', 'a resolution without a unit, which is the inch', source=grey('u1'))
    add('lt-resolution-x-only', 'a resolution in x alone', source=grey('u1'))
    for value, text in ((3, 'upside down'), (6, 'a quarter turned')):
        add(f'lt-orientation-{value}', f'orientation {value}, {text}', source=grey('i1'),
            warns=f'Un supported plan orientation value {value} for file ')
    add('lt-page', 'a page of a document', source=grey('i1'))
    add('lt-mask', 'a transparency mask', refused=SUBFILE % 4)
    add('lt-reduced', 'a reduced image', refused=SUBFILE % 1)


def of_imagej():
    for kind in ('8-bit', '16-bit', '32-bit', 'rgb'):
        add('ij-' + kind, kind + ' image')
    add('ij-16-bit-le', '16-bit image, little-endian')
    for unit in ('um', 'cm', 'inch'):
        add('ij-calibrated-' + unit, 'calibrated in ' + unit)
    for kind, text in (('16-bit', '16-bit stack'), ('16-bit-le', 'little-endian stack')):
        add('ij-stack-' + kind, text + ' of directories')
    add('ij-rgb-stack', 'RGB stack of directories')
    add('ij-hyperstack', 'hyperstack of 2 channels and 3 slices')
    add('ij-palette', '8-bit image of an inverted look-up table, written as a palette')


def of_graphicsmagick():
    add('gm-grey-lzw', '8-bit grey, LZW with a predictor', source=grey('u1'))
    add('gm-grey-be', '8-bit grey, big-endian', source=grey('u1'))
    add('gm-rgb-zip', '8-bit RGB, Deflate with a predictor', source=colour('u1', 3))
    add('gm-rgb16-be', '16-bit RGB, big-endian', source=colour('u2', 3))
    add('gm-rgba-rle', '8-bit RGBA, PackBits', source=colour('u1', 4))
    add('gm-palette', '8-bit palette')
    add('gm-palette-4-bit', '4-bit palette', refused=TYPE % (4, 1) + 'eTBM_Default for file ')
    add('gm-cmyk', '8-bit CMYK', refused=PHOTOMETRIC % (5, 4))
    add('gm-ycbcr-jpeg', 'YCbCr, JPEG', refused=PHOTOMETRIC % (6, 3))
    add('gm-bilevel-g4', 'bilevel, zero is white, CCITT G4', source=bilevel(321))
    add('gm-bilevel-rle', 'bilevel, PackBits', source=bilevel(9))


for describe in (of_tifffile, refused_of_tifffile, stacks_of_tifffile, imagej_stacks_of_tifffile, of_libtiff,
                 bilevels_of_libtiff, tags_of_libtiff, of_imagej, of_graphicsmagick):
    describe()
