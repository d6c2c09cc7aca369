# SPDX-FileCopyrightText: The VELMOImageFile authors
# SPDX-License-Identifier: Apache-2.0
# %% [markdown]
# # A calibrated stack
#
# This script is a notebook: editors that know `# %%` run it cell by cell. It makes a small volume of bright spheres,
# saves it with its calibration, and measures and shows it. It needs dask, xarray and, for the picture, matplotlib.

# %% A volume of spheres, 3 um deep planes of 0.5 um pixels
import importlib.util
from pathlib import Path

import numpy as np
import velmo_image

PIXEL_SIZE = (3.0, 0.5, 0.5)
z, y, x = np.meshgrid(*(np.arange(n) * size for n, size in zip((24, 160, 200), PIXEL_SIZE)), indexing="ij")
volume = np.zeros(z.shape, "uint16")
for center, radius in (((30, 25, 25), 15), ((40, 50, 70), 20)):
    distance = np.sqrt(sum((axis - middle) ** 2 for axis, middle in zip((z, y, x), center)))
    volume[distance < radius] = 1000 + int(radius) * 100
velmo_image.imwrite("spheres.tif", volume, axes="ZYX", compression="deflate", pixel_size=PIXEL_SIZE, unit="um")

# %% What is in the file
image = velmo_image.open("spheres.tif")
print(image)
print(Path("spheres.tif").stat().st_size, "bytes in the file,", image.nbytes, "in memory")

# %% The volume of the spheres, plane by plane and in parallel
voxel = float(np.prod(image.pixel_size or ()))
measured = int((image.to_dask() > 0).sum().compute()) * voxel
expected = 4 / 3 * np.pi * (15**3 + 20**3)
print(f"{measured:.0f} cubic {image.unit} measured, {expected:.0f} expected")
assert abs(measured / expected - 1) < 0.02

# %% A slice along Y by its position in um
data = image.to_xarray()
section = data.isel(T=0, C=0).sel(Y=50.0)
assert section.dims == ("Z", "X") and int(section.max()) == 3000

# %% Its picture, with the scale of the calibration
if importlib.util.find_spec("matplotlib"):
    import matplotlib

    matplotlib.use("Agg")
    import matplotlib.pyplot as plt

    section.plot.imshow(aspect=2, size=4)  # type: ignore[attr-defined]
    plt.savefig("section.png")
