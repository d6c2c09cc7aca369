# SPDX-FileCopyrightText: The VELMOImageFile authors
# SPDX-License-Identifier: Apache-2.0
"""Numpy types and pixel types of the library, and arrays in the order of the library."""

from __future__ import annotations

from typing import Any, Tuple, Union

import numpy as np
import numpy.typing as npt

from . import _core
from ._arguments import AXES, PIXELS, require_axes, require_one_of, to_full_shape

PIXEL_TYPES = {
    "bool": "binary",
    "int8": "int8",
    "uint8": "uint8",
    "int16": "int16",
    "uint16": "uint16",
    "int32": "int32",
    "uint32": "uint32",
    "float32": "real32",
}
LABEL_TYPES = {"uint8": "label8", "uint16": "label16", "uint32": "label32"}


def to_pixel_type(dtype: np.dtype[Any], pixels: str) -> str:
    """Name of the pixel type of arrays of `dtype`, which must have the byte order of this machine."""
    require_one_of("pixels", pixels, PIXELS)
    if pixels == "label":
        types = LABEL_TYPES
    elif pixels == "binary":
        types = {"bool": "binary", "uint8": "binary"}
    else:
        types = PIXEL_TYPES
    if dtype.name not in types:
        raise TypeError(f"the pixels of {pixels} images are {', '.join(types)}; {dtype.name} cannot be stored")
    return types[dtype.name]


def to_description(
    shape: Tuple[int, int, int, int, int], dtype: np.dtype[Any], pixels: str, color: Union[str, None]
) -> _core.Description:
    """The description of an array without calibration."""
    return _core.describe_array(
        shape, to_pixel_type(dtype, pixels), color or ("grey" if shape[1] == 1 else "user")
    )


def to_full_array(array: npt.NDArray[Any], axes: str) -> npt.NDArray[Any]:
    """The array in the order (T, C, Z, Y, X), C-contiguous and in the byte order of this machine.

    Copies at most once, and not at all if the array has these properties and the axes are in that order.
    """
    require_axes(axes, array.ndim)
    order = [axes.index(axis) for axis in AXES if axis in axes]
    full = array.transpose(order).reshape(to_full_shape(array.shape, axes))
    full = np.ascontiguousarray(full, dtype=full.dtype.newbyteorder("="))
    return full.view(np.uint8) if full.dtype == np.bool_ else full
