# SPDX-FileCopyrightText: The VELMOImageFile authors
# SPDX-License-Identifier: Apache-2.0
"""DataArrays, and the backend of xarray. Only this module needs xarray."""

from __future__ import annotations

import os
from typing import Any, Dict, Iterable, Optional

import numpy as np
import xarray
from xarray.backends import BackendArray, BackendEntrypoint
from xarray.core import indexing

from ._arguments import PathArgument
from ._files import open as open_image
from ._image import BaseImage
from ._lazy import LazyImage

EXTENSIONS = (".tif", ".tiff", ".im6")


class LazyBackendArray(BackendArray):  # type: ignore[misc] # without types in older versions of xarray
    """A lazy image for the indexing of xarray."""

    def __init__(self, image: LazyImage) -> None:
        self.image = image
        self.shape = image.shape
        self.dtype = image.dtype

    def __getitem__(self, key: indexing.ExplicitIndexer) -> Any:
        return indexing.explicit_indexing_adapter(
            key, self.shape, indexing.IndexingSupport.BASIC, self.image.__getitem__
        )


def wrap_lazily(image: LazyImage) -> indexing.LazilyIndexedArray:
    """The pixels as data of a variable, which reads them when they are needed."""
    return indexing.LazilyIndexedArray(LazyBackendArray(image))


def make_coordinates(image: BaseImage) -> Dict[str, xarray.Variable]:
    """Positions of the pixels in the unit of the calibration, and the names of the channels."""
    coordinates: Dict[str, xarray.Variable] = {}
    if image.channel_names:
        coordinates["C"] = xarray.Variable("C", list(image.channel_names))
    sizes = image.pixel_size or ()
    attributes = {"units": image.unit} if image.unit else {}
    for axis, pixel_size in zip("ZYX"[-len(sizes) :] if sizes else "", sizes):
        coordinates[axis] = xarray.Variable(axis, np.arange(image.sizes[axis]) * pixel_size, attributes)
    return coordinates


def make_dataset(image: BaseImage, data: Any) -> xarray.Dataset:
    """A dataset with the pixels as the variable "image", with dimensions, coordinates and attributes of the image."""
    attributes: Dict[str, Any] = {"color": image.color}
    if image.pixel_size is not None:
        attributes["pixel_size"] = image.pixel_size
        attributes["pixel_size_unit"] = image.unit  # plots show an attribute "unit" as that of the pixels
    if image.user_properties:
        attributes["user_properties"] = image.user_properties
    variable = xarray.Variable(tuple(image.axes), data, attributes)
    return xarray.Dataset({"image": variable}, make_coordinates(image))


def make_data_array(image: BaseImage, data: Any) -> xarray.DataArray:
    """The variable of `make_dataset`. The constructor of DataArray would read the pixels of a lazy image."""
    return make_dataset(image, data)["image"]


class VelmoBackendEntrypoint(BackendEntrypoint):  # type: ignore[misc]
    """Backend of xarray: `xarray.open_dataset("stack.tif", engine="velmo_image")`.

    The dataset has the variable "image". Its pixels stay in the file until they are needed.
    """

    description = "Scientific image files (TIFF, ImageJ stacks, Im6) with VELMOImageFile"
    open_dataset_parameters = ("filename_or_obj", "drop_variables", "directories", "pixels", "threads")

    def open_dataset(  # type: ignore[override] # keyword arguments by name
        self,
        filename_or_obj: PathArgument,
        *,
        drop_variables: Optional[Iterable[str]] = None,
        directories: str = "z",
        pixels: str = "default",
        threads: Optional[int] = None,
    ) -> xarray.Dataset:
        """Open a file; the parameters are those of `velmo_image.open`."""
        image = open_image(filename_or_obj, directories=directories, pixels=pixels, threads=threads)
        names = [drop_variables] if isinstance(drop_variables, str) else list(drop_variables or ())
        dataset = make_dataset(image, wrap_lazily(image)).drop_vars(names, errors="ignore")
        dataset.set_close(image.close)
        return dataset

    def guess_can_open(self, filename_or_obj: Any) -> bool:
        """Whether the name has the extension of a file that the package opens."""
        try:
            name = os.fsdecode(filename_or_obj)
        except TypeError:
            return False
        return name.lower().endswith(EXTENSIONS)
