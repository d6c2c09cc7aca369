# SPDX-FileCopyrightText: The VELMOImageFile authors
# SPDX-License-Identifier: Apache-2.0
"""The first lines of Python with the package. Runs in any folder and leaves its files there."""

# [quick start]
import numpy as np
import velmo_image

stack = np.zeros((50, 480, 640), "uint16")  # any array; `axes` names its dimensions
velmo_image.imwrite("stack.tif", stack, axes="ZYX", compression="deflate", pixel_size=(1.5, 0.25, 0.25), unit="um")

image = velmo_image.imread("stack.tif")  # all pixels, in memory
pixels = np.asarray(image)  # shares the memory of the image; always (T, C, Z, Y, X), here (1, 1, 50, 480, 640)
print(image.sizes["Z"], image.dtype, image.pixel_size, image.unit)

with velmo_image.open("stack.tif") as lazy:  # the pixels stay in the file
    middle = lazy[0, 0, 25, 100:200, ::2]  # reads this part only: an array of 100 x 320 pixels
    brightest = lazy.to_dask().max().compute()  # dask reads plane by plane, with all cores
# [quick start]

assert pixels.shape == (1, 1, 50, 480, 640) and middle.shape == (100, 320) and brightest == 0
