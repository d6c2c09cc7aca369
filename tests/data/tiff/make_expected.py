# SPDX-FileCopyrightText: The VELMOImageFile authors
# SPDX-License-Identifier: Apache-2.0
"""make_expected.py FIXTURES: what a reader has to find in the fixtures, as JSON on standard output.

What the geometry has to be stands in expectations.py; the sizes, the resolutions and the pixels are read by tifffile,
those of compressions that tifffile does not know from a copy without compression that tiffcp makes.
"""
import json
import os
import subprocess
import sys
import tempfile
import zlib

import numpy
import tifffile

from expectations import EXPECTATIONS, MAKERS

FOLDER = sys.argv[1]
BUFFER_TYPES = {
    'bool': 'eIBT_Binary', 'int8': 'eIBT_Int8', 'uint8': 'eIBT_UInt8', 'int16': 'eIBT_Int16', 'uint16': 'eIBT_UInt16',
    'int32': 'eIBT_Int32', 'uint32': 'eIBT_UInt32', 'float32': 'eIBT_Real32'}
GEOMETRIES = {1: 'eCGT_Grey', 3: 'eCGT_Rgb', 4: 'eCGT_Rgba'}
READ_BY_TIFFFILE = (1, 8, 32946)
PREDICTORS_OF_TIFFFILE = (1, 2)


def uncompressed(path, folder):
    copy = os.path.join(folder, os.path.basename(path))
    subprocess.run(['tiffcp', '-c', 'none', '-f', 'msb2lsb', path, copy], check=True, stderr=subprocess.DEVNULL)
    return copy


def is_plain(page):
    return (page.compression in READ_BY_TIFFFILE and page.predictor in PREDICTORS_OF_TIFFFILE and page.fillorder == 1)


def directories(path):
    """The pixels of every directory, rows of samples, and the pages themselves."""
    with tifffile.TiffFile(path) as tiff, tempfile.TemporaryDirectory() as folder:
        pages = [page.aspage() for page in tiff.pages]
        if all(is_plain(page) for page in pages):
            return [page.asarray() for page in pages], pages
        with tifffile.TiffFile(uncompressed(path, folder)) as copy:
            return [page.asarray() for page in copy.pages], pages


def stacked_planes(path, page, count):
    """The planes of a stack of one directory, one behind the other from the first strip on, as they lie in the file."""
    size = page.imagewidth * page.imagelength * page.bitspersample // 8
    with open(path, 'rb') as file:
        file.seek(page.dataoffsets[0])
        return [file.read(size) for _ in range(count)]


def native(samples):
    if samples.dtype == bool:
        return samples.astype('u1').tobytes()
    return samples.astype(samples.dtype.newbyteorder('<')).tobytes()


def planes_of(arrays):
    samples = arrays[0].shape[2] if arrays[0].ndim == 3 else 1
    if samples == 1:
        return [native(pixels) for pixels in arrays]
    return [native(pixels[..., channel]) for channel in range(samples) for pixels in arrays]


def calibration_of(page):
    """Inverse resolutions of a directory in single precision, the resolutions having been rounded to it as well."""
    ratios = [page.tags.get(code) for code in (282, 283)]
    if None in ratios or not all(tag.value[0] > 0 for tag in ratios):
        return None
    x, y = (float(numpy.float32(1) / numpy.float32(tag.value[0] / tag.value[1])) for tag in ratios)
    unit = page.tags.get(296)
    unit = {2: 'inch', 3: 'cm'}.get(2 if unit is None else int(unit.value), '')
    return {'x': x, 'y': y, 'unit': unit}


def buffer_type(page):
    return 'eIBT_Binary' if page.bitspersample == 1 else BUFFER_TYPES[str(page.dtype)]


def checked_planes(path):
    """What a file of one directory, or of another number than its description announces, really holds."""
    with tifffile.TiffFile(path) as tiff:
        pages = tiff.pages
        page = pages[0]
        stack = tiff.asarray() if len(pages) == 1 else numpy.stack([each.asarray() for each in pages])
    shape = (page.imagelength, page.imagewidth) + ((page.samplesperpixel,) if page.samplesperpixel > 1 else ())
    return ['%08x' % zlib.crc32(plane) for plane in planes_of(list(stack.reshape((-1,) + shape)))]


def opened(name, path, rule):
    arrays, pages = directories(path)
    count = rule.get('planes', len(arrays))
    single = rule.get('single', False)
    arrays = arrays[:count]
    source = rule.get('source')
    if source is not None:
        assert native(arrays[0]) == native(source), name + ' does not hold the pixels it was made from'
    samples = arrays[0].shape[2] if arrays[0].ndim == 3 else 1
    types = [rule.get('type') or buffer_type(page) for page in pages[:count]]
    geometry = {
        'opens': True, 'sizeX': pages[0].imagewidth, 'sizeY': pages[0].imagelength, 'sizeZ': count,
        'sizeC': samples, 'sizeT': 1, 'bufferType': types[0], 'colorGeometry': GEOMETRIES[samples],
        'minIsBlack': int(pages[0].photometric) != 0,
        'calibration': calibration_of(pages[0] if single else pages[count - 1])}
    if len(set(types)) > 1:
        geometry['bufferTypes'] = types
    if single:
        geometry['singleDirectory'] = True
    if 'warns' in rule:
        geometry['warning'] = rule['warns']
    if single:
        geometry['checkedPlanes'] = checked_planes(path)
    if 'load' in rule:
        return {**geometry, 'loads': False, 'message': rule['load']}
    planes = stacked_planes(path, pages[0], count) if single else planes_of(arrays)
    return {**geometry, 'planes': ['%08x' % zlib.crc32(plane) for plane in planes]}


def expected(name):
    shows, rule = EXPECTATIONS[name]
    entry = {'maker': MAKERS[name.split('-')[0]], 'shows': shows}
    if 'refused' in rule:
        return {**entry, 'opens': False, 'message': rule['refused']}
    return {**entry, **opened(name, os.path.join(FOLDER, name + '.tif'), rule)}


def main():
    names = sorted(name[:-4] for name in os.listdir(FOLDER) if name.endswith('.tif'))
    assert names == sorted(EXPECTATIONS), set(names) ^ set(EXPECTATIONS)
    lines = ['  %s: %s' % (json.dumps(name + '.tif'), json.dumps(expected(name))) for name in names]
    print('{\n' + ',\n'.join(lines) + '\n}')


main()
