# SPDX-FileCopyrightText: The VELMOImageFile authors
# SPDX-License-Identifier: Apache-2.0
"""Reads a TIFF file with tiles and separate channels. Runs in any folder and leaves its files there."""

import numpy as np
import tifffile
import velmo_image

pixels = np.arange(3 * 480 * 640, dtype="uint16").reshape(3, 480, 640)
tifffile.imwrite("tiles.tif", pixels, tile=(256, 256), photometric="rgb", planarconfig="separate")

# [import]
try:
    image = velmo_image.imread("tiles.tif")
except velmo_image.VelmoImageError as error:
    print(error)  # the last line: To import the file: velmo_image.imread('tiles.tif', foreign=True), or ...

image = velmo_image.imread("tiles.tif", foreign=True)
for change in image.changes:
    print(change.kind, change.text)  # what the image has differently, here "tiles" and "planes"

report = velmo_image.import_tiff("tiles.tif", "rows.tif", compression="deflate")  # plane by plane
assert report.changes == image.changes and report.outputs == ("rows.tif",)
with velmo_image.open("rows.tif") as lazy:  # the output is a file like any other
    corner = lazy[0, :, 0, :10, :10]
# [import]
assert (np.asarray(image)[0, :, 0] == pixels).all() and (corner == pixels[:, :10, :10]).all()
assert [change.kind for change in image.changes] == ["tiles", "planes"]
