# SPDX-FileCopyrightText: The VELMOImageFile authors
# SPDX-License-Identifier: Apache-2.0
"""The pixels that the fixtures are made of: a ramp on the left, noise on the right, the extreme values in the corners."""
import numpy

WIDTH, HEIGHT = 37, 17


def grey(dtype, seed=1, width=WIDTH, height=HEIGHT):
    dtype = numpy.dtype(dtype)
    noise = numpy.random.RandomState(seed)
    ramp = numpy.add.outer(numpy.arange(height), numpy.arange(width)) + seed
    if dtype.kind == 'f':
        pixels = noise.uniform(-1000, 1000, (height, width))
        low, high = -numpy.inf, numpy.inf
    else:
        low, high = numpy.iinfo(dtype).min, numpy.iinfo(dtype).max
        pixels = noise.randint(0, 256, (height, width, dtype.itemsize), numpy.uint8)
        pixels = pixels.view(dtype.newbyteorder('<')).reshape(height, width)
    pixels = pixels.astype(dtype)
    pixels[:, :width // 2] = ramp[:, :width // 2]
    pixels[0, 0], pixels[-1, -1] = low, high
    return pixels


def colour(dtype, samples, seed=1):
    return numpy.stack([grey(dtype, seed + channel) for channel in range(samples)], axis=-1)


def bilevel(width=WIDTH, height=HEIGHT, seed=1):
    pixels = grey('u1', seed, width, height) & 1
    pixels[:, :width // 2] = (grey('u1', seed, width, height)[:, :width // 2] // 5) & 1
    return pixels.astype(bool)


def stack(dtype, depth):
    return numpy.stack([grey(dtype, 1 + plane) for plane in range(depth)])
