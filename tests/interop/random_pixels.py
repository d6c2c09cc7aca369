# SPDX-FileCopyrightText: The VELMOImageFile authors
# SPDX-License-Identifier: Apache-2.0
"""Pixels for the scripts beside this one."""

import numpy


class RandomPixels:
    """Pixels of any type, the same in each run."""

    def __init__(self, seed):
        self._random = numpy.random.default_rng(seed)

    def fill(self, dtype, shape):
        """Integers of the whole range of the type, or normally distributed floating-point numbers."""
        dtype = numpy.dtype(dtype)
        if dtype.kind == 'f':
            return self._random.standard_normal(shape).astype(dtype)
        limits = numpy.iinfo(dtype)
        return self._random.integers(limits.min, limits.max, shape, dtype, endpoint=True)
