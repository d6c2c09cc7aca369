# SPDX-FileCopyrightText: The VELMOImageFile authors
# SPDX-License-Identifier: Apache-2.0
"""Dask arrays. Only this module needs dask."""

from __future__ import annotations

from typing import Any

import dask.array
import numpy as np

from ._image import BaseImage


def make_dask_array(image: BaseImage, pixels: Any) -> dask.array.Array:
    """A dask array over an array or a lazy image, with a chunk for each plane.

    Its name is random: the same file may have other pixels later.
    """
    t, c, z, y, x = image.chunks
    return dask.array.from_array(
        pixels,
        chunks=(t, c, z, y or 1, x or 1),  # dask accepts no chunk without pixels
        name=False,
        meta=np.empty((0,) * image.ndim, image.dtype),
    )
