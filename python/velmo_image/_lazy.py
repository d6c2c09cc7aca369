# SPDX-FileCopyrightText: The VELMOImageFile authors
# SPDX-License-Identifier: Apache-2.0
"""Images whose pixels stay in their files."""

from __future__ import annotations

from types import EllipsisType, TracebackType
from typing import TYPE_CHECKING, Any, List, Optional, SupportsIndex, Tuple, Type, Union

import numpy as np
import numpy.typing as npt

from . import _core
from ._errors import VelmoImageError
from ._image import BaseImage, require_fit
from ._import import add_import_line
from ._indexing import resolve

if TYPE_CHECKING:
    import dask.array
    import xarray

Index = Union[SupportsIndex, slice, EllipsisType, Tuple[Union[SupportsIndex, slice, EllipsisType], ...]]


class LazyImage(BaseImage):
    """An image whose pixels stay in its file or files, as `open` returns it.

    `image[t, c, z, y0:y1, x0:x1]` reads these pixels and returns them as a new array, with numpy's rules for
    integers, slices, negative indexes, steps and the ellipsis. Any number of threads may read at once. The files stay
    open until `close`, the end of a `with` block, or the last reference to the image.

    The image can be pickled: the record contains the path and the geometry, not the pixels, and the process that
    reads it opens the files for itself. `dask.distributed` and `multiprocessing` do so.
    """

    def __init__(self, source: _core.Source) -> None:
        self._source: Optional[_core.Source] = source
        self._description = source.description

    def _open_source(self) -> _core.Source:
        source = self._source
        if source is None:
            raise ValueError("the image is closed")
        return source

    def _read(self, first: List[int], step: List[int], out: npt.NDArray[Any]) -> None:
        source = self._open_source()
        try:
            source.read(first, step, out)
        except VelmoImageError as error:
            add_import_line(error)
            raise

    def __getitem__(self, index: Index) -> Any:
        """Read pixels.

        Parameters
        ----------
        index : int, slice, Ellipsis or tuple of them
            The axes in the order (T, C, Z, Y, X).

        Returns
        -------
        ndarray or scalar
            A new array. An axis with an integer is left out; the result of five integers is a scalar.

        Raises
        ------
        IndexError
            An index is outside of the image or is not of these kinds.
        VelmoImageError
            The pixels cannot be read.
        """
        selection = resolve(index, self.shape)
        out = np.empty(selection.number, self.dtype)
        self._read(selection.first, selection.step, out)
        return out.reshape(selection.shape)[()]

    def asarray(self, out: Optional[npt.NDArray[Any]] = None) -> npt.NDArray[Any]:
        """Read all pixels.

        Parameters
        ----------
        out : ndarray, optional
            Array of the same shape and type to read into, with any strides. After an error a part of it is written.

        Returns
        -------
        ndarray
            `out`, or a new array.
        """
        if out is None:
            out = np.empty(self.shape, self.dtype)
        require_fit(out, self.shape, self.dtype)
        self._read([0] * self.ndim, [1] * self.ndim, out)
        return out

    def __array__(self, dtype: Optional[npt.DTypeLike] = None, copy: Optional[bool] = None) -> npt.NDArray[Any]:
        if copy is False:
            raise ValueError("the pixels are in a file: an array of them is always a copy")
        array = self.asarray()
        return array if dtype is None else array.astype(dtype, copy=False)

    def close(self) -> None:
        """Close the files, after the reads that other threads have begun. A second call has no effect."""
        self._source = None

    @property
    def closed(self) -> bool:
        """Whether the image is closed. Its properties remain, its pixels cannot be read."""
        return self._source is None

    def __enter__(self) -> LazyImage:
        self._open_source()
        return self

    def __exit__(
        self,
        error_type: Optional[Type[BaseException]],
        error: Optional[BaseException],
        traceback: Optional[TracebackType],
    ) -> None:
        self.close()

    def __reduce__(self) -> Tuple[Type[LazyImage], Tuple[_core.Source]]:
        return LazyImage, (self._open_source(),)

    def to_dask(self) -> dask.array.Array:
        from ._dask import make_dask_array

        self._open_source()
        return make_dask_array(self, self)

    def to_xarray(self) -> xarray.DataArray:
        from ._xarray import make_data_array, wrap_lazily

        self._open_source()
        return make_data_array(self, wrap_lazily(self))
