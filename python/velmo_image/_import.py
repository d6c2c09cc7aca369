# SPDX-FileCopyrightText: The VELMOImageFile authors
# SPDX-License-Identifier: Apache-2.0
"""The import of TIFF files of any kind."""

from __future__ import annotations

import operator
import os
import re
from typing import List, NamedTuple, Optional, SupportsIndex, Tuple, Union

from . import _core
from ._arguments import (
    COMPRESSIONS,
    PathArgument,
    require_one_of,
    require_tiff_output,
    to_bytes,
    to_thread_count,
)
from ._errors import VelmoImageError

PageArgument = Union[SupportsIndex, range]
PALETTES = ("index", "rgb")
AXES_OF_PAGES = re.compile("([zct]{1,3})(?:=([0-9]+(?:,[0-9]+)*))?")


class ImportChange(NamedTuple):
    """A difference between an imported file and its image, or a part of the file that is not in the image."""

    kind: str
    """A word for programs, such as "tiles" or "bits"."""
    text: str
    """One sentence."""


class ImportReport(NamedTuple):
    """What `import_tiff` did."""

    changes: Tuple[ImportChange, ...]
    """All differences between the file and the image."""
    outputs: Tuple[str, ...]
    """The files that were written, in the order of their planes."""


def to_size(name: str, value: SupportsIndex) -> int:
    number = operator.index(value)
    if not 0 <= number < 2**64:
        raise ValueError(f"{name} is a number from 0 to 2**64 - 1, not {number}")
    return number


def to_page_range(pages: PageArgument) -> Tuple[int, int]:
    """The first and the last page."""
    if not isinstance(pages, range):
        page = to_size("pages", pages)
        return page, page
    if pages.step != 1 or not pages:
        raise ValueError(f"pages is a number or a range with the step 1 that is not empty, not {pages}")
    return to_size("pages", pages[0]), to_size("pages", pages[-1])


def to_page_axes(axes: str) -> List[Tuple[str, Optional[int]]]:
    """Each axis with its size, the fastest first."""
    match = AXES_OF_PAGES.fullmatch(axes)
    letters = match[1] if match else ""
    sizes = [int(size) for size in match[2].split(",")] if match and match[2] else []
    is_valid = len(set(letters)) == len(letters) and len(letters) - len(sizes) in (0, 1)
    if not match or not is_valid or not all(0 < size < 2**64 for size in sizes):
        raise ValueError(
            "axes has letters of z, c and t, the fastest axis first, and their sizes, such as 'czt=2,5,3'; one size "
            f"may be left out at the end; not {axes!r}"
        )
    return list(zip(letters, [*sizes, None]))


def to_import_options(
    series: Optional[SupportsIndex],
    pages: Optional[PageArgument],
    axes: Optional[str],
    palette: str,
    to_rgb: bool,
    min_is_black: bool,
    lossy: bool,
) -> _core.ImportOptions:
    """The options that `import_tiff` describes. Raise ValueError if one of them is not valid."""
    return _core.ImportOptions(
        None if series is None else to_size("series", series),
        None if pages is None else to_page_range(pages),
        [] if axes is None else to_page_axes(axes),
        require_one_of("palette", palette, PALETTES) == "rgb",
        bool(to_rgb),
        bool(min_is_black),
        bool(lossy),
    )


def to_changes(changes: List[Tuple[str, str]]) -> Tuple[ImportChange, ...]:
    return tuple(ImportChange(*change) for change in changes)


def add_import_line(error: VelmoImageError) -> None:
    """Add a line to the error about a file that can be imported, which says so. Other errors stay as they are."""
    arguments = None if error.filename is None else _core.find_import_arguments(os.fsencode(error.filename))
    if arguments is not None:
        call = f"velmo_image.imread({error.filename!r}, foreign=True{arguments.replace(' ', ', ')})"
        error.args = (f"{error}\nTo import the file: {call}, or velmo_image.import_tiff",)


def import_tiff(
    input: PathArgument,  # noqa: A002 # the counterpart of output
    output: PathArgument,
    *,
    series: Optional[SupportsIndex] = None,
    pages: Optional[PageArgument] = None,
    axes: Optional[str] = None,
    palette: str = "index",
    to_rgb: bool = False,
    min_is_black: bool = False,
    lossy: bool = False,
    compression: Optional[str] = None,
    threads: Optional[SupportsIndex] = None,
) -> ImportReport:
    """Convert a TIFF file of any kind to one that `imread` and `open` read.

    The file may have tiles, channels in planes of their own, any number of channels, other numbers of bits, palettes,
    pyramids, or the axes of an ImageJ hyperstack or of OME-XML. Pixels keep their values, except with the arguments
    below and for YCbCr, which becomes RGB. What cannot be imported without a loss is an error.

    The file is converted plane by plane. An existing output is replaced when the new one is complete; after an error
    it is unchanged. Other Python threads run during the import.

    Parameters
    ----------
    input : str, bytes or os.PathLike
        The file to import. A file of this library is copied as it is.
    output : str, bytes or os.PathLike
        The TIFF file to write. An image with more planes than a TIFF file of this library holds is written to several
        files, whose names have numbers before the extension.
    series : int, optional
        Number of the series to import, from 0. Needed if the pages of the file are of several sizes or types.
    pages : int or range, optional
        The directories to import, from 0, as planes along Z; descriptions of axes are ignored. A range has the
        step 1.
    axes : str, optional
        The axes of the pages: letters of z, c and t, the fastest axis first, and their sizes, such as "czt=2,5,3".
        One size may be left out at the end. By default they are those that the file describes, otherwise Z.
    palette : {"index", "rgb"}
        Whether the pixels of a palette are its indexes or its colors.
    to_rgb : bool
        Convert CMYK, Lab and LogLuv to RGB of 8 bits.
    min_is_black : bool
        Replace each value v of a file whose minimum is white by the largest value - v.
    lossy : bool
        Round 64-bit floating point to 32 bits; the changes contain the greatest error. Without it such files are
        rejected.
    compression : {None, "none", "lzw", "deflate"}
        Compression of the output; none by default.
    threads : int, optional
        Number of threads that decode and compress the pixels; all cores by default.

    Returns
    -------
    ImportReport
        `changes`, all differences between the file and the image, and `outputs`, the files that were written.

    Raises
    ------
    VelmoImageError
        The file cannot be imported with these arguments, or the output cannot be written. `filename` is the input.
    ValueError
        An argument is not valid.
    """
    options = to_import_options(series, pages, axes, palette, to_rgb, min_is_black, lossy)
    target = require_tiff_output(to_bytes(output))
    require_one_of("compression", compression or "none", COMPRESSIONS)
    number = to_thread_count(threads)
    changes, outputs = _core.import_tiff(to_bytes(input), target, options, compression or "none", number)
    return ImportReport(to_changes(changes), tuple(outputs))
