# SPDX-FileCopyrightText: The VELMOImageFile authors
# SPDX-License-Identifier: Apache-2.0
"""make_tifffile.py FIXTURES SOURCES: the fixtures that tifffile writes, and the files that other programs start from."""
import os
import sys

import numpy
import tifffile

from patterns import HEIGHT, WIDTH, bilevel, colour, grey, stack

FIXTURES, SOURCES = sys.argv[1:3]
NONE, INCH, CM = 1, 2, 3
STRIP = {'rowsperstrip': 5, 'metadata': None}
RGB = {'photometric': 'rgb', **STRIP}
RGBA = {'extrasamples': ['unassalpha'], **RGB}
GREY = {'photometric': 'minisblack', **STRIP}


def write(name, pixels, folder=FIXTURES, **options):
    file = {key: options.pop(key) for key in ('byteorder', 'bigtiff', 'imagej') if key in options}
    with tifffile.TiffWriter(os.path.join(folder, name + '.tif'), **file) as tiff:
        tiff.write(pixels, **options)


def write_pages(name, pages, **file):
    with tifffile.TiffWriter(os.path.join(FIXTURES, name + '.tif'), **file) as tiff:
        for pixels, options in pages:
            tiff.write(pixels, contiguous=False, **options)


def numeric_types():
    for dtype in ('u1', 'i1', 'u2', 'i2', 'u4', 'i4', 'f4'):
        write('tf-' + dtype, grey(dtype), **GREY)
    for dtype in ('f2', 'f8', 'u8'):
        write('tf-' + dtype, grey(dtype, height=5), **GREY)
    for dtype in ('u2', 'i4', 'f4'):
        write(f'tf-{dtype}-be', grey(dtype), byteorder='>', **GREY)
    write('tf-u2-bigtiff', grey('u2'), bigtiff=True, **GREY)
    write('tf-u2-bigtiff-be', grey('u2'), bigtiff=True, byteorder='>', **GREY)


def colours():
    write('tf-rgb-u1', colour('u1', 3), **RGB)
    write('tf-rgb-u2', colour('u2', 3), **RGB)
    write('tf-rgb-u2-be', colour('u2', 3), byteorder='>', **RGB)
    write('tf-rgb-f4', colour('f4', 3)[:7], **RGB)
    write('tf-rgba-u1', colour('u1', 4), **RGBA)
    write('tf-rgba-u2', colour('u2', 4), **RGBA)
    write('tf-rgb-u1-planar', numpy.moveaxis(colour('u1', 3), -1, 0), planarconfig='separate', **RGB)
    write('tf-rgb-u1-stack', numpy.stack([colour('u1', 3), colour('u1', 3, 9)]), **RGB)
    write('tf-grey-alpha', colour('u1', 2), planarconfig='contig', **GREY)
    write('tf-rgb-five-samples', colour('u1', 5)[:5], extrasamples=['unspecified', 'unspecified'], **RGB)
    palette = numpy.random.RandomState(1).randint(0, 65536, (3, 256)).astype('u2')
    write('tf-palette', grey('u1'), photometric='palette', colormap=palette, **STRIP)
    write('tf-bilevel-without-bits', bilevel(), **GREY)  # leaves out BitsPerSample, whose default is 1
    write('tf-min-is-white', grey('u1'), photometric='miniswhite', **STRIP)


def deflated():
    for code, name in ((8, 'adobe-deflate'), (32946, 'deflate')):
        for predictor in (False, True):
            end = name + ('-predicted' if predictor else '')
            write('tf-u1-' + end, grey('u1'), compression=code, predictor=predictor, **GREY)
            write('tf-u2-' + end, grey('u2'), compression=code, predictor=predictor, **GREY)
            write('tf-rgb-u1-' + end, colour('u1', 3), compression=code, predictor=predictor, **RGB)
    write('tf-f4-deflate-be', grey('f4'), compression=8, byteorder='>', **GREY)


def undefined_samples():
    write('tf-void-samples', grey('u1').view('i1'), **GREY)  # of signed samples the format is written
    with tifffile.TiffFile(os.path.join(FIXTURES, 'tf-void-samples.tif'), mode='r+b') as tiff:
        tiff.pages[0].tags[339].overwrite(4)


def resolutions():
    for unit, name in ((NONE, 'none'), (INCH, 'inch'), (CM, 'cm')):
        write('tf-calibrated-' + name, grey('u1'), resolution=((10000, 3), 1250), resolutionunit=unit, **GREY)
    write('tf-resolution-zero', grey('u1'), resolution=(0, 72), resolutionunit=INCH, **GREY)


def directories():
    write('tf-stack-u2', stack('u2', 3), **GREY)
    write('tf-stack-u2-be', stack('u2', 3), byteorder='>', **GREY)
    write('tf-stack-f4-deflate', stack('f4', 2), compression=8, **GREY)
    u1, u2, rgb = (grey('u1'), GREY), (grey('u2', 2), GREY), (colour('u1', 3), RGB)
    write_pages('tf-stack-u1-u2', [u1, u2])
    write_pages('tf-stack-u2-u1-be', [u2, u1], byteorder='>')
    write_pages('tf-rgb-then-grey', [rgb, u1])
    write_pages('tf-grey-then-rgb', [u1, rgb])
    write_pages('tf-sizes-differ', [u1, (grey('u1', height=HEIGHT + 1), GREY)])
    write_pages('tf-stack-u1-f8', [(grey(dtype)[:7], GREY) for dtype in ('u1', 'f8')])
    write_pages('tf-reduced-page', [u1, (grey('u1', 2), {'subfiletype': 1, **GREY})])
    write_pages('tf-page', [(pixels, {'subfiletype': 2, **options}) for pixels, options in (u1, u1)])
    write('tf-tiled-u1', grey('u1'), tile=(16, 16), photometric='minisblack', metadata=None)
    write('tf-tiled-rgb', colour('u1', 3), tile=(16, 16), photometric='rgb', metadata=None)


def imagej_stacks():
    for order, name in (('<', 'le'), ('>', 'be')):
        write('tf-imagej-stack-u2-' + name, stack('u2', 3), imagej=True, byteorder=order)
        for dtype in ('u1', 'u2', 'f4'):
            write(f'tf-imagej-single-{dtype}-{name}', stack(dtype, 2), imagej=True, byteorder=order,
                  metadata={'axes': 'ZYX', 'unit': 'um', 'spacing': 2.0}, resolution=(4, 2), truncate=True)
    hyper = stack('u1', 8).reshape(2, 2, 2, HEIGHT, WIDTH)
    axes = {'axes': 'TZCYX'}
    write('tf-imagej-hyperstack', hyper, imagej=True, byteorder='<', metadata=axes)
    write('tf-imagej-hyperstack-single', hyper, imagej=True, byteorder='>', metadata=axes, truncate=True)
    write('tf-imagej-single-rgb', numpy.stack([colour('u1', 3), colour('u1', 3, 9)]), imagej=True,
          metadata={'axes': 'ZYXS'}, truncate=True)


def imagej_descriptions():
    for name, text in (('one-image', 'ImageJ=1.53t\nimages=1\n'), ('slices', 'ImageJ=1.53t\nslices=1\n'),
                       ('no-count', 'ImageJ=1.53t\nloop=false\n'), ('not-imagej', 'images=7\n'),
                       ('no-number', 'ImageJ=1.53t\nimages=many\n'), ('minus-one', 'ImageJ=1.53t\nimages=-1\n')):
        pages = [(grey('u1', 1 + page), {'description': text, **GREY}) for page in range(2)]
        write_pages('tf-described-' + name, pages)


def sources():
    for dtype in ('u1', 'i1', 'u2', 'i2', 'u4', 'f4'):
        write(dtype, grey(dtype), SOURCES, **GREY)
        grey(dtype).tofile(os.path.join(SOURCES, dtype + '.raw'))
    write('u1-second', grey('u1', 2), SOURCES, **GREY)
    for dtype in ('u1', 'u2'):
        write('rgb-' + dtype, colour(dtype, 3), SOURCES, **RGB)
        write('rgba-' + dtype, colour(dtype, 4), SOURCES, **RGBA)
        colour(dtype, 3).tofile(os.path.join(SOURCES, f'rgb-{dtype}.raw'))
        colour(dtype, 4).tofile(os.path.join(SOURCES, f'rgba-{dtype}.raw'))
    for width in (9, WIDTH, 321):
        packed = numpy.packbits(bilevel(width), axis=-1)
        with open(os.path.join(SOURCES, f'bilevel-{width}.pbm'), 'wb') as file:
            file.write(b'P4\n%d %d\n' % (width, HEIGHT) + packed.tobytes())


for make in (numeric_types, colours, deflated, undefined_samples, resolutions, directories, imagej_stacks,
             imagej_descriptions, sources):
    make()
