# SPDX-FileCopyrightText: The VELMOImageFile authors
# SPDX-License-Identifier: Apache-2.0
"""planes_by_tifffile.py FILE...: for each file a line of "planes: " and their CRC-32, as tifffile reads them."""
import sys
import zlib

import tifffile


def planes(path):
    with tifffile.TiffFile(path) as tiff:
        for page in tiff.pages:
            pixels = page.asarray()
            channels = [pixels] if pixels.ndim == 2 else [pixels[..., c] for c in range(pixels.shape[2])]
            for channel in channels:
                yield channel.astype(channel.dtype.newbyteorder('<')).tobytes()


for path in sys.argv[1:]:
    print('planes: ' + ' '.join('%08x' % zlib.crc32(plane) for plane in planes(path)))
