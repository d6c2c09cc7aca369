# SPDX-FileCopyrightText: The VELMOImageFile authors
# SPDX-License-Identifier: Apache-2.0
"""Writes classic TIFF files tag by tag, for kinds that no program at hand writes, and changes tags of written files."""
import struct

import numpy
import tifffile

SHORT, LONG, RATIONAL = 3, 4, 5
FORMATS = {SHORT: 'H', LONG: 'I'}


def write(path, tags, strip, order='<'):
    """One directory with one strip. `tags` are (code, type, values) without StripOffsets and StripByteCounts."""
    entries = sorted(tags + [(273, LONG, [8]), (279, LONG, [len(strip)])])
    directory = 8 + len(strip) + len(strip) % 2
    extra_offset = directory + 2 + 12 * len(entries) + 4
    head, extra = b'', b''
    for code, kind, values in entries:
        value = struct.pack(order + FORMATS[kind] * len(values), *values)
        if len(value) > 4:
            field = struct.pack(order + 'I', extra_offset + len(extra))
            extra += value
        else:
            field = value.ljust(4, b'\0')
        head += struct.pack(order + 'HHI', code, kind, len(values)) + field
    with open(path, 'wb') as file:
        file.write((b'II*\0' if order == '<' else b'MM\0*') + struct.pack(order + 'I', directory))
        file.write(strip + b'\0' * (len(strip) % 2))
        file.write(struct.pack(order + 'H', len(entries)) + head + struct.pack(order + 'I', 0) + extra)


def image_tags(width, height, bits, sample_format=1, photometric=1, samples=1, compression=1):
    return [(256, LONG, [width]), (257, LONG, [height]), (258, SHORT, [bits] * samples),
            (259, SHORT, [compression]), (262, SHORT, [photometric]), (277, SHORT, [samples]),
            (278, LONG, [height]), (339, SHORT, [sample_format] * samples)]


def pack_bits(pixels, bits):
    """Rows of integers, the most significant bit first, each row padded to a byte."""
    values = pixels.astype('u8')[..., None] >> numpy.arange(bits - 1, -1, -1, dtype='u8') & 1
    rows = values.reshape(pixels.shape[0], -1).astype('u1')
    return numpy.packbits(rows, axis=-1).tobytes()


def set_tag(path, code, value, page=0):
    with tifffile.TiffFile(path, mode='r+b') as tiff:
        tiff.pages[page].tags[code].overwrite(value)
