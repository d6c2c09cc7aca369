# SPDX-FileCopyrightText: The VELMOImageFile authors
# SPDX-License-Identifier: Apache-2.0
"""Numpy's rules for indexes, for arrays that are not in memory."""

from __future__ import annotations

import contextlib
import operator
from typing import Any, List, NamedTuple, Sequence, Tuple

import numpy as np


class Selection(NamedTuple):
    """Elements of an array: along each axis `number` of them from `first` on, `step` apart."""

    first: List[int]
    step: List[int]
    number: List[int]
    shape: Tuple[int, ...]  # of the result: axes with an integer are left out


def resolve(index: Any, shape: Sequence[int]) -> Selection:
    """Resolve integers, slices and an ellipsis, or a tuple of them, like an array of the shape.

    Raises IndexError for indexes outside of the shape and for other kinds of indexes.
    """
    selection = Selection([], [], [], ())
    kept: List[int] = []
    for one, size in zip(expand(index, len(shape)), shape):
        if isinstance(one, slice):
            positions = range(*one.indices(size))
            kept.append(len(positions))
        else:
            position = to_position(one, size)
            positions = range(position, position + 1)
        selection.first.append(positions.start if positions else 0)
        selection.step.append(positions.step if len(positions) > 1 else 1)
        selection.number.append(len(positions))
    return selection._replace(shape=tuple(kept))


def expand(index: Any, dimensions: int) -> List[Any]:
    """One integer or slice for each dimension."""
    parts = list(index) if isinstance(index, tuple) else [index]
    ellipses = [position for position, part in enumerate(parts) if part is Ellipsis]
    if len(ellipses) > 1:
        raise IndexError("an index can only have a single ellipsis ('...')")
    if len(parts) - len(ellipses) > dimensions:
        raise IndexError(f"too many indices: the image has {dimensions} dimensions")
    position = ellipses[0] if ellipses else len(parts)
    missing = dimensions - (len(parts) - len(ellipses))
    return parts[:position] + [slice(None)] * missing + parts[position + len(ellipses) :]


def to_position(index: Any, size: int) -> int:
    """The position from the start of an axis; booleans are masks in numpy, and not integers."""
    position = None
    if not isinstance(index, (bool, np.bool_)):
        with contextlib.suppress(TypeError):
            position = operator.index(index)
    if position is None:
        raise IndexError(
            "only integers, slices (`:`) and ellipsis (`...`) are valid indices of an image in a file: read first, "
            "then use the index on the array, as in image[...][mask]"
        )
    if not -size <= position < size:
        raise IndexError(f"index {position} is out of bounds for an axis with size {size}")
    return position % size
