# SPDX-FileCopyrightText: The VELMOImageFile authors
# SPDX-License-Identifier: Apache-2.0
"""Scientific image files as numpy, dask and xarray arrays.

Every array has the shape (T, C, Z, Y, X): time steps, channels, planes, rows, columns. No axis is ever left out.

`imread` loads a file, `open` reads parts of it on demand, `imwrite` writes an array. Files are TIFF, ImageJ stacks,
folders of numbered TIFF files, headerless raw volumes and Im6; `import_tiff` and `imread(path, foreign=True)` read TIFF of any kind. Errors are `VelmoImageError`. The logger of the package
is "velmo_image"; the package prints nothing.
"""

from typing import Any

from ._errors import VelmoImageError
from ._files import imread, imread_folder, imwrite, open, open_folder
from ._image import Image
from ._import import ImportChange, ImportReport, import_tiff
from ._lazy import LazyImage
from ._raw import imread_raw, imwrite_raw, memmap_raw, open_raw

__version__: str

__all__ = [
    "Image",
    "ImportChange",
    "ImportReport",
    "LazyImage",
    "VelmoImageError",
    "import_tiff",
    "imread",
    "imread_folder",
    "imread_raw",
    "imwrite",
    "imwrite_raw",
    "memmap_raw",
    "open",
    "open_folder",
    "open_raw",
]


def __getattr__(name: str) -> Any:
    if name == "__version__":
        from importlib.metadata import version

        return version("velmo_image")
    raise AttributeError(f"module 'velmo_image' has no attribute {name!r}")
