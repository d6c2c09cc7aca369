# SPDX-FileCopyrightText: The VELMOImageFile authors
# SPDX-License-Identifier: Apache-2.0
"""Reads and writes files of all kinds. Runs in any folder and leaves its files there."""

import pathlib

import numpy as np
import velmo_image

# [colors]
photo = np.zeros((480, 640, 3), "uint8")
velmo_image.imwrite("photo.tif", photo, axes="YXC", color="rgb")
red = velmo_image.imread("photo.tif")[0, 0, 0]  # the channels are an axis of their own: t, c, z
# [colors]
assert red.shape == (480, 640)

# [masks and labels]
mask = photo[..., 0] > 10
velmo_image.imwrite("mask.tif", mask, axes="YX")  # bool arrays become binary images
loaded = np.asarray(velmo_image.imread("mask.tif")).astype(bool)  # binary pixels are uint8, 0 or 1

objects = np.zeros((480, 640), "uint16")
velmo_image.imwrite("objects.tif", objects, axes="YX", pixels="label")
assert velmo_image.open("objects.tif").is_label
# [masks and labels]
assert (loaded[0, 0, 0] == mask).all()

# [copy with properties]
image = velmo_image.imread("photo.tif")
np.asarray(image)[...] //= 2  # changes the image: the array shares its memory
velmo_image.imwrite("darker.tif", image, user_properties="operator=Ada")  # keeps calibration and colors
# [copy with properties]
assert velmo_image.open("darker.tif").color == "rgb"

pathlib.Path("slices").mkdir(exist_ok=True)
for z in range(1, 13):
    velmo_image.imwrite(f"slices/z{z}.tif", np.full((48, 64), z, "uint8"), axes="YX")
# [folder]
volume = velmo_image.imread_folder("slices", "z<INDEX>.tif")  # z1, z2 ... z10, in the order of their numbers
film = velmo_image.open_folder("slices", "z<INDEX>.tif", along="t")  # the same files as time steps, on demand
# [folder]
assert volume.sizes["Z"] == film.sizes["T"] == 12 and film[9, 0, 0, 0, 0] == 10

# [raw]
velmo_image.imwrite_raw("volume.raw", np.zeros((8, 48, 64), "uint16"), axes="ZYX", header=b"my header\n")

# The file carries no description: shape, type and the bytes before the first plane come from the caller.
loaded_volume = velmo_image.imread_raw("volume.raw", (8, 48, 64), "uint16", axes="ZYX", offset=10)
on_demand = velmo_image.open_raw("volume.raw", (8, 48, 64), "uint16", axes="ZYX", offset=10)
mapped = velmo_image.memmap_raw("volume.raw", (8, 48, 64), "uint16", axes="ZYX", offset=10, mode="r+")
mapped[0, 0, 3] = 7  # changes the file
# [raw]
mapped.flush()
assert (on_demand[0, 0, 3] == 7).all() and loaded_volume.shape == mapped.shape == (1, 1, 8, 48, 64)
