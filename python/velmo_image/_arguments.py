# SPDX-FileCopyrightText: The VELMOImageFile authors
# SPDX-License-Identifier: Apache-2.0
"""Checks of arguments that several functions share."""

from __future__ import annotations

import operator
import os
from typing import Optional, Sequence, SupportsIndex, Tuple, Union

PathArgument = Union[str, bytes, "os.PathLike[str]", "os.PathLike[bytes]"]
AXES = "TCZYX"
DIRECTORY_AXES = ("z", "t")
PIXELS = ("default", "binary", "label")
COMPRESSIONS = ("none", "lzw", "deflate")


def to_bytes(path: PathArgument) -> bytes:
    """The path as the operating system takes it."""
    encoded = os.fsencode(path)
    if b"\0" in encoded:
        raise ValueError("embedded null byte in the path")
    return encoded


def to_absolute(path: PathArgument) -> bytes:
    """The path for an image that may be sent to a process in another folder."""
    return os.path.abspath(to_bytes(path))


def is_im6(path: bytes) -> bool:
    return path.lower().endswith(b".im6")


def require_tiff_output(path: bytes) -> bytes:
    """Return the path; raise ValueError if its extension is that of a format that cannot be written."""
    if is_im6(path):
        raise ValueError("Im6 files cannot be written: use the extension .tif")
    return path


def require_one_of(name: str, value: str, allowed: Sequence[str]) -> str:
    """Return the value; raise ValueError if it is not allowed."""
    if value not in allowed:
        raise ValueError(f"{name} is one of {', '.join(map(repr, allowed))}, not {value!r}")
    return value


def to_thread_count(threads: Optional[SupportsIndex]) -> int:
    """The number of threads; 0 for all cores."""
    if threads is None:
        return 0
    number = operator.index(threads)
    if not 1 <= number <= 65536:
        raise ValueError(f"threads is None or a number from 1 to 65536, not {number}")
    return number


def require_axes(axes: str, dimensions: int) -> str:
    """Return the axes; raise ValueError if they do not name the dimensions of an array."""
    if len(set(axes)) != len(axes) or not set(axes) <= set(AXES):
        raise ValueError(f"axes has each of the letters {AXES} at most once, not {axes!r}")
    if len(axes) != dimensions:
        example = AXES[-dimensions:] if 0 < dimensions <= len(AXES) else AXES
        raise ValueError(
            f"axes {axes!r} names {len(axes)} dimensions, the array has {dimensions}: name them, such as "
            f"axes={example!r}"
        )
    return axes


def to_full_shape(shape: Sequence[SupportsIndex], axes: str) -> Tuple[int, int, int, int, int]:
    """The shape in the order (T, C, Z, Y, X), with size 1 along axes that are not named."""
    sizes = dict(zip(require_axes(axes, len(shape)), map(operator.index, shape)))
    for size in sizes.values():
        if not 0 <= size < 2**63:
            raise ValueError(f"{size} is not a size of an image")
    t, c, z, y, x = (sizes.get(axis, 1) for axis in AXES)
    return t, c, z, y, x
