# SPDX-FileCopyrightText: The VELMOImageFile authors
# SPDX-License-Identifier: Apache-2.0
"""Functions that read and write headerless files of pixels."""

from __future__ import annotations

import math
import operator
import os
from typing import Any, Sequence, SupportsIndex, Tuple

import numpy as np
import numpy.typing as npt

from . import _core
from ._arguments import AXES, PathArgument, require_one_of, to_absolute, to_bytes, to_full_shape
from ._errors import VelmoImageError
from ._image import Image
from ._lazy import LazyImage
from ._pixels import to_description, to_full_array

MODES = ("r", "r+", "c")


def to_offset(offset: SupportsIndex) -> int:
    number = operator.index(offset)
    if not 0 <= number < 2**63:
        raise ValueError(f"offset is the number of bytes before the pixels, not {number}")
    return number


def require_order(axes: str) -> None:
    """Raise ValueError for axes in another order than that of the file."""
    if "".join(sorted(axes, key=AXES.find)) != axes:
        raise ValueError(f"axes names the axes of the file in the order of {AXES}, not {axes!r}")


def describe_raw(
    shape: Sequence[SupportsIndex], dtype: npt.DTypeLike, axes: str, pixels: str
) -> _core.Description:
    require_order(axes)
    kind = np.dtype(dtype)
    if not kind.isnative:
        raise ValueError(f"{kind} has not the byte order of this machine: memmap_raw accepts it")
    return to_description(to_full_shape(shape, axes), kind, pixels, None)


def imread_raw(
    path: PathArgument,
    shape: Sequence[SupportsIndex],
    dtype: npt.DTypeLike,
    *,
    axes: str = AXES,
    offset: SupportsIndex = 0,
    pixels: str = "default",
) -> Image:
    """Load a headerless file of pixels into memory.

    Parameters
    ----------
    path : str, bytes or os.PathLike
        The file. Its planes are in the order t, c, z, with z changing fastest, and row after row: the order of a
        C-contiguous array of the shape (T, C, Z, Y, X).
    shape : sequence of int
        The size along each of `axes`.
    dtype : dtype
        Type of the pixels, in the byte order of this machine. bool stands for binary pixels.
    axes : str
        The axes that `shape` names, in the order of `TCZYX`; the others have the size 1.
    offset : int
        Number of bytes before the first pixel. Bytes after the last pixel are ignored.
    pixels : {"default", "binary", "label"}
        Whether the pixels are numbers, a mask or labels.

    Returns
    -------
    Image
        Pixels of the shape (T, C, Z, Y, X).

    Raises
    ------
    VelmoImageError
        The file does not exist or is too short, or the pixels need more memory than is available.
    """
    return Image(*_core.load_raw(to_bytes(path), describe_raw(shape, dtype, axes, pixels), to_offset(offset)))


def open_raw(
    path: PathArgument,
    shape: Sequence[SupportsIndex],
    dtype: npt.DTypeLike,
    *,
    axes: str = AXES,
    offset: SupportsIndex = 0,
    pixels: str = "default",
) -> LazyImage:
    """Open a headerless file whose pixels are read on demand.

    The parameters and errors are those of `imread_raw`. The file may be larger than the memory.
    """
    return LazyImage(
        _core.open_raw(to_absolute(path), describe_raw(shape, dtype, axes, pixels), to_offset(offset))
    )


def memmap_raw(
    path: PathArgument,
    shape: Sequence[SupportsIndex],
    dtype: npt.DTypeLike,
    *,
    axes: str = AXES,
    offset: SupportsIndex = 0,
    mode: str = "r",
) -> np.memmap[Any, np.dtype[Any]]:
    """Map a headerless file of pixels into memory.

    The operating system reads pixels when they are accessed. If another process truncates the file, an access ends
    this process with a signal; `open_raw` raises an error instead.

    Parameters
    ----------
    path, shape, axes, offset
        As for `imread_raw`.
    dtype : dtype
        Any numpy type, in any byte order.
    mode : {"r", "r+", "c"}
        Read only; read and write; or changes in memory that the file does not receive.

    Returns
    -------
    memmap
        An array of the shape (T, C, Z, Y, X).

    Raises
    ------
    VelmoImageError
        The file does not exist or is too short. It is never extended.
    ValueError
        The shape has no pixels.
    """
    require_one_of("mode", mode, MODES)
    require_order(axes)
    full = to_full_shape(shape, axes)
    kind = np.dtype(dtype)
    start = to_offset(offset)
    name = os.fsdecode(to_bytes(path))
    needed = start + math.prod(full) * kind.itemsize
    if needed == start:
        raise ValueError("an array without pixels cannot be mapped")
    try:
        available = os.stat(name).st_size
        if available < needed:
            raise VelmoImageError(f'The file "{name}" has {available} bytes, {needed} are needed', name)
        return map_file(name, kind, mode, start, full)
    except VelmoImageError:
        raise
    except OSError as error:
        raise VelmoImageError(f'Error while mapping file "{name}"\n{error.strerror}', name) from error


def map_file(
    name: str, dtype: np.dtype[Any], mode: Any, offset: int, shape: Tuple[int, ...]
) -> np.memmap[Any, np.dtype[Any]]:
    return np.memmap(name, dtype=dtype, mode=mode, offset=offset, shape=shape)


def imwrite_raw(path: PathArgument, array: npt.ArrayLike, *, axes: str = AXES, header: bytes = b"") -> None:
    """Write the pixels of an array to a file without a description of them.

    An existing file is replaced when the new one is complete; after an error it is unchanged. The pixels are in the
    order (T, C, Z, Y, X) and in the byte order of this machine.

    Parameters
    ----------
    path : str, bytes or os.PathLike
        The file.
    array : array_like or Image
        bool, int8, uint8, int16, uint16, int32, uint32 or float32.
    axes : str
        The meaning of each dimension of the array.
    header : bytes
        Bytes to write before the first pixel. Pass their number as `offset` to read the file.

    Raises
    ------
    VelmoImageError
        The file cannot be written.
    """
    pixels_of_array = np.asarray(array)
    full = to_full_array(pixels_of_array, axes)
    t, c, z, y, x = full.shape
    description = to_description((t, c, z, y, x), pixels_of_array.dtype, "default", None)
    _core.save_raw(to_bytes(path), full, description, bytes(header))
