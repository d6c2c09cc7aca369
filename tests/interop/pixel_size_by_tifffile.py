# SPDX-FileCopyrightText: The VELMOImageFile authors
# SPDX-License-Identifier: Apache-2.0
"""pixel_size_by_tifffile.py FILE...: for each directory a line of "pixel: " and its resolution tags as tifffile reads them."""
import sys

import tifffile

for path in sys.argv[1:]:
    with tifffile.TiffFile(path) as tiff:
        for page in tiff.pages:
            x, y = (page.tags[name].value for name in ('XResolution', 'YResolution'))
            print('pixel: %d/%d %d/%d %d' % (*x, *y, page.tags['ResolutionUnit'].value))
