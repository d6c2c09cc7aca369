# SPDX-FileCopyrightText: The VELMOImageFile authors
# SPDX-License-Identifier: Apache-2.0
"""Images, and what images in memory and in a file have in common."""

from __future__ import annotations

import abc
from typing import TYPE_CHECKING, Any, Dict, Optional, Tuple

import numpy as np
import numpy.typing as npt

from . import _core
from ._arguments import AXES
from ._import import ImportChange

if TYPE_CHECKING:
    import dask.array
    import xarray

Shape = Tuple[int, int, int, int, int]


class BaseImage(abc.ABC):
    """An image of the shape (T, C, Z, Y, X) with its calibration and user properties."""

    _description: _core.Description

    @property
    def shape(self) -> Shape:
        """Sizes in the order (T, C, Z, Y, X): time steps, channels, planes, rows, columns."""
        return self._description.shape

    @property
    def dtype(self) -> np.dtype[Any]:
        """Type of the pixels, in the byte order of this machine. Binary pixels are uint8, 0 or 1."""
        return self._description.dtype

    @property
    def ndim(self) -> int:
        """Number of dimensions, always 5."""
        return len(AXES)

    @property
    def size(self) -> int:
        """Number of pixels, counting each channel."""
        product = 1
        for size in self.shape:
            product *= size
        return product

    @property
    def nbytes(self) -> int:
        """Number of bytes of all pixels in memory."""
        return self.size * self.dtype.itemsize

    @property
    def axes(self) -> str:
        """Names of the dimensions, always "TCZYX"."""
        return AXES

    @property
    def sizes(self) -> Dict[str, int]:
        """Size along each axis by its name."""
        return dict(zip(AXES, self.shape))

    @property
    def chunks(self) -> Shape:
        """Shape of the part that is best read at once: one plane."""
        return (1, 1, 1, self.shape[3], self.shape[4])

    @property
    def pixel_size(self) -> Optional[Tuple[float, ...]]:
        """Size of a pixel in `unit`: (z, y, x), or (y, x) without a size along Z; None if it is unknown."""
        if self._description.pixel_size is None:
            return None
        # The file has single precision: the shortest number that becomes the same one, 0.1 and not 0.100000001...
        return tuple(float(str(np.float32(size))) for size in self._description.pixel_size)

    @property
    def unit(self) -> Optional[str]:
        """Unit of `pixel_size`, such as "um"; empty if unknown, None without a pixel size."""
        return self._description.unit

    @property
    def user_properties(self) -> str:
        """Text that an application stored in the file."""
        return self._description.user_properties

    @property
    def color(self) -> str:
        """Meaning of the channels: "grey", "rgb", "rgba", "user" or another name of a color space."""
        return self._description.color

    @property
    def channel_names(self) -> Tuple[str, ...]:
        """Name of each channel; empty if no channel has a name."""
        return self._description.channel_names

    @property
    def is_label(self) -> bool:
        """Whether the pixels are labels: numbers of objects."""
        return self._description.pixel_type.startswith("label")

    @property
    def is_binary(self) -> bool:
        """Whether the pixels are a mask of 0 and 1."""
        return self._description.pixel_type == "binary"

    def __len__(self) -> int:
        return self.shape[0]

    def __repr__(self) -> str:
        sizes = ", ".join(f"{axis}: {size}" for axis, size in self.sizes.items())
        calibration = "" if self.pixel_size is None else f", pixel_size={self.pixel_size} {self.unit}".rstrip()
        return f"<velmo_image.{type(self).__name__} ({sizes}) {self._description.pixel_type}{calibration}>"

    @abc.abstractmethod
    def __getitem__(self, index: Any) -> Any:
        """Pixels, selected with the rules of numpy."""

    @abc.abstractmethod
    def asarray(self, out: Optional[npt.NDArray[Any]] = None) -> npt.NDArray[Any]:
        """Return all pixels as an array; see the derived class."""

    @abc.abstractmethod
    def __array__(self, dtype: Optional[npt.DTypeLike] = None, copy: Optional[bool] = None) -> npt.NDArray[Any]:
        """Return all pixels as an array, for `numpy.asarray`."""

    @abc.abstractmethod
    def to_dask(self) -> dask.array.Array:
        """Return a dask array with a chunk for each plane. Needs dask."""

    @abc.abstractmethod
    def to_xarray(self) -> xarray.DataArray:
        """Return a DataArray with the dimensions T, C, Z, Y and X. Needs xarray.

        Z, Y and X have coordinates in the unit of the calibration, if there is one; C has the names of the channels.
        """


class Image(BaseImage):
    """An image in memory, as `imread` returns it.

    `numpy.asarray(image)` is a view of its pixels: nothing is copied, a change of the array is a change of the image,
    and the memory lives as long as one of them. The image can be pickled, with its pixels.
    """

    def __init__(
        self, array: npt.NDArray[Any], description: _core.Description, changes: Tuple[ImportChange, ...] = ()
    ) -> None:
        self._array = array
        self._description = description
        self._changes = changes

    @property
    def changes(self) -> Tuple[ImportChange, ...]:
        """Differences to the file of an imported image; empty if there are none and for other images."""
        return self._changes

    def __getitem__(self, index: Any) -> Any:
        return self._array[index]

    def __setitem__(self, index: Any, value: Any) -> None:
        self._array[index] = value

    def __array__(self, dtype: Optional[npt.DTypeLike] = None, copy: Optional[bool] = None) -> npt.NDArray[Any]:
        array = self._array.view()
        if dtype is not None and np.dtype(dtype) != array.dtype:
            if copy is False:
                raise ValueError(f"pixels of {array.dtype} need a copy as {np.dtype(dtype)}")
            return array.astype(dtype)
        return array.copy() if copy else array

    def asarray(self, out: Optional[npt.NDArray[Any]] = None) -> npt.NDArray[Any]:
        """Return all pixels as an array.

        Parameters
        ----------
        out : ndarray, optional
            Array of the same shape and type to copy the pixels to.

        Returns
        -------
        ndarray
            `out`, or a view of the memory of the image.
        """
        if out is None:
            return self._array.view()
        require_fit(out, self.shape, self.dtype)
        out[...] = self._array
        return out

    def to_dask(self) -> dask.array.Array:
        from ._dask import make_dask_array

        return make_dask_array(self, self._array)

    def to_xarray(self) -> xarray.DataArray:
        from ._xarray import make_data_array

        return make_data_array(self, self._array)


def require_fit(out: npt.NDArray[Any], shape: Tuple[int, ...], dtype: np.dtype[Any]) -> None:
    """Raise ValueError if pixels of a shape and a type cannot be written to the array."""
    if out.shape != shape or out.dtype != dtype or not out.flags.writeable:
        raise ValueError(
            f"out is a writable array of {dtype} and of the shape {shape}, not of {out.dtype} and {out.shape}"
        )
