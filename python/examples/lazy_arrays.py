# SPDX-FileCopyrightText: The VELMOImageFile authors
# SPDX-License-Identifier: Apache-2.0
"""Reads parts of files with numpy, dask and xarray. Runs in any folder and leaves its files there."""

import concurrent.futures
import multiprocessing

import numpy as np
import velmo_image
import xarray


# [processes]
def mean_of(image: velmo_image.LazyImage, z: int) -> float:
    return float(image[0, 0, z].mean())


def means(path: str) -> "list[float]":
    image = velmo_image.open(path)  # each process opens the file for itself
    with multiprocessing.get_context("spawn").Pool(2) as pool:
        return pool.starmap(mean_of, [(image, z) for z in range(image.sizes["Z"])])
# [processes]


def main() -> None:
    stack = np.arange(4 * 30 * 40, dtype="uint16").reshape(4, 30, 40)
    velmo_image.imwrite("stack.tif", stack, axes="ZYX", pixel_size=(1.5, 0.25, 0.25), unit="um")

    # [slices]
    image = velmo_image.open("stack.tif")
    plane = image[0, 0, 2]  # (Y, X): an axis with an integer is left out
    corner = image[..., :10, -5:]  # (1, 1, 4, 10, 5)
    target = np.empty(image.shape, image.dtype)
    image.asarray(out=target)  # all pixels into an existing array
    # [slices]
    assert (plane == stack[2]).all() and corner.shape == (1, 1, 4, 10, 5) and (target[0, 0] == stack).all()

    # [threads]
    with concurrent.futures.ThreadPoolExecutor() as pool:
        sums = list(pool.map(lambda z: int(image[0, 0, z].sum()), range(image.sizes["Z"])))
    # [threads]
    assert sums == [int(plane.sum()) for plane in stack]

    # [dask]
    array = image.to_dask()  # a chunk for each plane
    projection = array.max(axis=2).compute()  # the highest value along Z: (T, C, Y, X)
    # [dask]
    assert (projection[0, 0] == stack.max(axis=0)).all()

    # [xarray]
    data = image.to_xarray()  # dimensions T, C, Z, Y, X; coordinates in um
    slab = data.sel(Z=slice(1.0, 4.0), Y=slice(2.0, None))  # by position; nothing is read yet
    profile = slab.mean(("T", "C", "Y", "X"))  # reads these pixels
    with xarray.open_dataset("stack.tif", engine="velmo_image") as dataset:  # the same by the name of the file
        assert dataset["image"].Z.attrs["units"] == "um"
    # [xarray]
    assert dict(profile.sizes) == {"Z": 2} and float(profile[0]) == stack[1, 8:].mean()

    assert means("stack.tif") == [float(plane.mean()) for plane in stack]


if __name__ == "__main__":
    main()
