# SPDX-FileCopyrightText: The VELMOImageFile authors
# SPDX-License-Identifier: Apache-2.0
"""Functions that read and write TIFF and Im6 files and folders of TIFF files."""

from __future__ import annotations

import os
from typing import Optional, Sequence, SupportsIndex, Tuple

import numpy as np
import numpy.typing as npt

from . import _core
from ._arguments import (
    AXES,
    COMPRESSIONS,
    PIXELS,
    DIRECTORY_AXES,
    PathArgument,
    is_im6,
    require_one_of,
    require_tiff_output,
    to_absolute,
    to_bytes,
    to_thread_count,
)
from ._errors import VelmoImageError
from ._image import BaseImage, Image
from ._import import PageArgument, add_import_line, to_changes, to_import_options
from ._lazy import LazyImage
from ._pixels import to_description, to_full_array

def imread(
    path: PathArgument,
    *,
    directories: str = "z",
    pixels: str = "default",
    threads: Optional[SupportsIndex] = None,
    foreign: bool = False,
    series: Optional[SupportsIndex] = None,
    pages: Optional[PageArgument] = None,
    axes: Optional[str] = None,
    palette: str = "index",
    to_rgb: bool = False,
    min_is_black: bool = False,
    lossy: bool = False,
) -> Image:
    """Load a TIFF or Im6 file into memory.

    The result has the pixels of the file, its calibration and its user properties; anything else is an error. If the
    file can be read with `foreign=True`, the error says so. Other Python threads run during the load.

    Parameters
    ----------
    path : str, bytes or os.PathLike
        A file with the extension ".im6", in any case, is an Im6 file; any other file is a TIFF file.
    directories : {"z", "t"}
        Whether the directories of a TIFF file are planes or time steps. Ignored for files of this library and Im6
        files.
    pixels : {"default", "binary", "label"}
        Whether unsigned pixels of a TIFF file are numbers, a mask (8 bits only) or labels. Ignored for files of this
        library and Im6 files.
    threads : int, optional
        Number of threads that decode the pixels; all cores by default.
    foreign : bool
        Import the file, as `import_tiff` does, whether or not it can also be read without. The import reads TIFF
        files of any kind, but no Im6 files. The attribute `changes` of the image lists the differences to the file.
    series, pages, axes, palette, to_rgb, min_is_black, lossy
        As for `import_tiff`; only with `foreign=True`.

    Returns
    -------
    Image
        Pixels of the shape (T, C, Z, Y, X). RGB is three channels.

    Raises
    ------
    VelmoImageError
        The file does not exist, is not of a supported kind, is damaged, or needs more memory than is available.
    ValueError
        An argument is not valid, or it does not apply because of the value of `foreign`.
    """
    name = to_bytes(path)
    require_one_of("directories", directories, DIRECTORY_AXES)
    require_one_of("pixels", pixels, PIXELS)
    number = to_thread_count(threads)
    if foreign:
        require_defaults("does not apply with", directories=(directories, "z"), pixels=(pixels, "default"))
        options = to_import_options(series, pages, axes, palette, to_rgb, min_is_black, lossy)
        array, description, changes = _core.load_foreign(name, options, number)
        return Image(array, description, to_changes(changes))
    require_defaults(
        "needs",
        series=(series, None),
        pages=(pages, None),
        axes=(axes, None),
        palette=(palette, "index"),
        to_rgb=(to_rgb, False),
        min_is_black=(min_is_black, False),
        lossy=(lossy, False),
    )
    try:
        return Image(*(_core.load_im6(name) if is_im6(name) else _core.load_tiff(name, directories, pixels, number)))
    except VelmoImageError as error:
        add_import_line(error)
        raise


def require_defaults(relation: str, **arguments: Tuple[object, object]) -> None:
    """Raise ValueError if an argument of `imread`, (value, default), has another value than its default."""
    for name, (value, default) in arguments.items():
        if value != default:
            raise ValueError(f"{name} {relation} foreign=True")


def open(  # noqa: A001 # the name that users expect
    path: PathArgument,
    *,
    directories: str = "z",
    pixels: str = "default",
    threads: Optional[SupportsIndex] = None,
) -> LazyImage:
    """Open a TIFF or Im6 file whose pixels are read on demand.

    The parameters and errors are those of `imread`. A file that must be imported cannot be opened: convert it with
    `import_tiff`.

    Returns
    -------
    LazyImage
        `image[t, c, z, y0:y1, x0:x1]` reads these pixels. The file stays open until the image is closed.
    """
    name = to_absolute(path)
    require_one_of("directories", directories, DIRECTORY_AXES)
    require_one_of("pixels", pixels, PIXELS)
    number = to_thread_count(threads)
    try:
        return LazyImage(_core.open_im6(name) if is_im6(name) else _core.open_tiff(name, directories, pixels, number))
    except VelmoImageError as error:
        add_import_line(error)
        raise


def no_match(folder: PathArgument, pattern: str) -> VelmoImageError:
    name = os.fsdecode(folder)
    return VelmoImageError(f'No file in "{name}" matches the pattern "{pattern}"', name)


def imread_folder(
    folder: PathArgument,
    pattern: str,
    *,
    along: str = "z",
    pixels: str = "default",
    threads: Optional[SupportsIndex] = None,
) -> Image:
    """Join TIFF files of a folder into one image in memory.

    Parameters
    ----------
    folder : str, bytes or os.PathLike
        Its subfolders are not searched.
    pattern : str
        Pattern of the file names: "?" matches one byte, "*" any bytes, "<INDEX>" the digits of a number, as in
        "z<INDEX>.tif". The files are in the order of these numbers; without "<INDEX>", in the order of their names.
    along : {"z", "t"}
        The axis along which the files follow each other.
    pixels, threads
        As for `imread`.

    Returns
    -------
    Image
        The image has the calibration and the user properties of the first file.

    Raises
    ------
    VelmoImageError
        No file matches, a file does not fit the first one, or a file cannot be read.
    """
    require_one_of("along", along, DIRECTORY_AXES)
    require_one_of("pixels", pixels, PIXELS)
    loaded = _core.load_folder(to_bytes(folder), to_bytes(pattern), along, pixels, to_thread_count(threads))
    if loaded is None:
        raise no_match(folder, pattern)
    return Image(*loaded)


def open_folder(
    folder: PathArgument,
    pattern: str,
    *,
    along: str = "z",
    pixels: str = "default",
    threads: Optional[SupportsIndex] = None,
) -> LazyImage:
    """Open TIFF files of a folder as one image whose pixels are read on demand.

    The parameters and errors are those of `imread_folder`. Each file stays open until the image is closed.
    """
    require_one_of("along", along, DIRECTORY_AXES)
    require_one_of("pixels", pixels, PIXELS)
    source = _core.open_folder(to_absolute(folder), to_bytes(pattern), along, pixels, to_thread_count(threads))
    if source is None:
        raise no_match(folder, pattern)
    return LazyImage(source)


def imwrite(
    path: PathArgument,
    array: npt.ArrayLike,
    *,
    axes: str = AXES,
    compression: Optional[str] = None,
    pixel_size: Optional[Sequence[float]] = None,
    unit: Optional[str] = None,
    user_properties: Optional[str] = None,
    pixels: str = "default",
    color: Optional[str] = None,
    channel_names: Optional[Sequence[str]] = None,
    threads: Optional[SupportsIndex] = None,
) -> None:
    """Write an image to a TIFF file.

    An existing file is replaced when the new one is complete; after an error it is unchanged. A C-contiguous array
    is written from its own memory, any other one is copied first. Other Python threads run during the write; they
    must not change the array.

    Parameters
    ----------
    path : str, bytes or os.PathLike
        The file. Im6 files cannot be written.
    array : array_like or Image
        bool, int8, uint8, int16, uint16, int32, uint32 or float32. A bool array becomes a binary image. An `Image`
        or `LazyImage` is written with its calibration, its user properties and its kind of pixels and channels; the
        arguments below replace them.
    axes : str
        The meaning of each dimension of the array, such as "YX", "ZYX" or "YXC".
    compression : {None, "none", "lzw", "deflate"}
        Compression of the pixels; none by default.
    pixel_size : sequence of float, optional
        Size of a pixel, (y, x) or (z, y, x), which the file keeps in single precision.
    unit : str, optional
        Unit of `pixel_size`, such as "um".
    user_properties : str, optional
        Any text without null characters.
    pixels : {"default", "binary", "label"}
        Whether the pixels are numbers, a mask of 0 and 1 (uint8 or bool) or labels (unsigned).
    color : str, optional
        Meaning of the channels: "grey" (1 channel), "rgb" (3), "rgba" (4), "user" (any number). By default "grey" for
        one channel and "user" for any other number: nothing is guessed from the number 3.
    channel_names : sequence of str, optional
        A name for each channel.
    threads : int, optional
        Number of threads that compress the pixels; all cores by default.

    Raises
    ------
    VelmoImageError
        The file cannot be written, or the image cannot be stored in a TIFF file.
    TypeError
        The type of the array cannot be stored.
    ValueError
        `axes` does not name the dimensions of the array, or another argument is not valid.
    """
    name = require_tiff_output(to_bytes(path))
    require_one_of("compression", compression or "none", COMPRESSIONS)
    number = to_thread_count(threads)
    pixels_of_array = np.asarray(array)
    full = to_full_array(pixels_of_array, axes)
    keeps_kind = isinstance(array, BaseImage) and axes == AXES and pixels == "default" and color is None
    if isinstance(array, BaseImage) and keeps_kind:
        description = array._description
    else:
        t, c, z, y, x = full.shape
        description = to_description((t, c, z, y, x), pixels_of_array.dtype, pixels, color)
        if isinstance(array, BaseImage):
            description = description.change(array._description.pixel_size, array.unit, array.user_properties, None)
    sizes = None if pixel_size is None else [float(size) for size in pixel_size]
    names = None if channel_names is None else list(channel_names)
    description = description.change(sizes, unit, user_properties, names)
    _core.save_tiff(name, full, description, compression or "none", number)
