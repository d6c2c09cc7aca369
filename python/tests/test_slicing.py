# SPDX-FileCopyrightText: The VELMOImageFile authors
# SPDX-License-Identifier: Apache-2.0
"""Slices of images in files are those of numpy."""

import random

import numpy as np
import pytest
import velmo_image
from conftest import make_array

SHAPE = (2, 3, 4, 23, 19)


def open_tiff(pixels, **options):
    velmo_image.imwrite("a.tif", pixels, **options)
    return velmo_image.open("a.tif")


def open_raw(pixels):
    velmo_image.imwrite_raw("a.raw", pixels, header=b"some bytes")
    return velmo_image.open_raw("a.raw", pixels.shape, pixels.dtype, offset=10)


def open_folder(pixels):
    for z in range(pixels.shape[2]):
        velmo_image.imwrite(f"z{z}.tif", np.ascontiguousarray(pixels[:1, :1, z : z + 1]), compression="deflate")
    return velmo_image.open_folder(".", "z<INDEX>.tif")


WAYS = {
    "none": lambda pixels: open_tiff(pixels),
    "lzw": lambda pixels: open_tiff(pixels, compression="lzw"),
    "rgb": lambda pixels: open_tiff(pixels, compression="deflate", color="rgb"),
    "raw": open_raw,
    "folder": open_folder,
}


def draw_slice(source, size):
    limits = [*[None] * (3 * size), *range(-2 * size - 1, 2 * size + 2)]
    step = source.choice([None, 1, 1, 2, 3, -1, -1, -2, size + 5, -size - 5, 2**70, -(2**70)])
    return slice(source.choice(limits), source.choice(limits), step)


def draw_index(source, shape):
    index = []
    for size in shape[: source.randint(0, len(shape))]:
        kind = source.randrange(4)
        index.append(
            source.randrange(-size, size)
            if kind == 0
            else np.int16(source.randrange(-size, size))
            if kind == 1 and source.random() < 0.3
            else slice(None)
            if kind == 2
            else draw_slice(source, size)
        )
    if source.random() < 0.5:
        kept = source.randint(0, len(index))  # the ellipsis stands for the axes that are left
        cut = index[:kept]
        tail = [draw_slice(source, size) for size in shape[len(shape) - source.randint(0, len(shape) - kept) :]]
        index = [*cut, Ellipsis, *tail]
        if len(index) - 1 > len(shape):
            index = [*cut, Ellipsis]
    return index[0] if len(index) == 1 and source.random() < 0.5 else tuple(index)


@pytest.mark.parametrize("way", WAYS)
@pytest.mark.parametrize("dtype", ["uint8", "uint16", "float32"])
def test_random_indexes_select_what_numpy_selects(way, dtype):
    pixels = make_array(SHAPE if way != "folder" else (1, 1, 4, 23, 19), dtype)
    image = WAYS[way](pixels)
    source = random.Random(20230203)
    nonempty = 0
    for _ in range(1000):
        index = draw_index(source, pixels.shape)
        expected = pixels[index]
        got = image[index]
        assert type(got) is type(expected) and got.dtype == expected.dtype
        np.testing.assert_array_equal(got, expected, err_msg=str(index))
        nonempty += expected.size > 0
    assert nonempty > 400


def test_rows_that_are_far_apart_are_read_one_by_one():
    pixels = make_array((1, 1, 2, 7, 40000))
    image = open_raw(pixels)
    for index in np.s_[0, 0, 1, ::2, 39990:], np.s_[..., ::-3, 5:400:7], np.s_[..., 4, 20000], np.s_[..., ::-1]:
        np.testing.assert_array_equal(image[index], pixels[index])


@pytest.mark.parametrize("index", [2, -3, (0, 3), (0, 0, 4), (0, 0, 0, 23), (0, 0, 0, 0, -20), 2**70])
def test_indexes_outside_are_refused_like_by_numpy(index):
    pixels = np.zeros(SHAPE, "uint8")
    image = open_tiff(pixels)
    with pytest.raises(IndexError):
        pixels[index]
    with pytest.raises(IndexError, match="out of bounds"):
        image[index]


@pytest.mark.parametrize(
    "index", [None, True, [0, 1], np.array([0]), 1.0, "0", (0, None), (..., ...), (0,) * 6, np.True_]
)
def test_other_kinds_of_indexes_are_refused(index):
    with pytest.raises(IndexError):
        open_tiff(np.zeros(SHAPE, "uint8"))[index]


@pytest.mark.parametrize("way", WAYS)
def test_all_pixels_are_read_into_any_array(way):
    pixels = make_array(SHAPE if way != "folder" else (1, 1, 4, 23, 19))
    image = WAYS[way](pixels)
    targets = (
        np.empty_like(pixels),
        np.empty_like(pixels, order="F"),
        np.empty((*pixels.shape[:4], 2 * pixels.shape[4]), pixels.dtype)[..., ::2],
        np.empty_like(pixels)[::-1, :, ::-1, ::-1, ::-1],
        np.zeros(pixels.nbytes + 1, "uint8")[1:].view(pixels.dtype).reshape(pixels.shape),
    )
    for target in targets:
        assert image.asarray(out=target) is target
        np.testing.assert_array_equal(target, pixels)


def test_other_arrays_are_refused_as_targets(stack):
    pixels = stack[1]
    read_only = np.empty_like(pixels)
    read_only.flags.writeable = False
    for image in velmo_image.open(stack[0]), velmo_image.imread(stack[0]):
        for out in pixels[1:], pixels.astype("int16"), pixels.astype(">u2"), read_only:
            with pytest.raises(ValueError, match="out is a writable array"):
                image.asarray(out=out)


def test_arrays_of_an_image_follow_the_rules_of_numpy(stack):
    path, pixels = stack
    for image in velmo_image.open(path), velmo_image.imread(path):
        assert len(image) == len(pixels) and image.ndim == 5
        assert (image.size, image.nbytes) == (pixels.size, pixels.nbytes)
        assert image.chunks == (1, 1, 1, 21, 17)
        np.testing.assert_array_equal(np.asarray(image), pixels)
        assert np.asarray(image, dtype="float64").dtype == np.float64
        assert np.asarray(image, dtype=image.dtype).dtype == np.uint16
        np.testing.assert_array_equal(np.add(image, 1), pixels + 1)
        np.testing.assert_array_equal([step.sum() for step in image], pixels.sum((1, 2, 3, 4)))
    with pytest.raises(ValueError, match="always a copy"):
        velmo_image.open(path).__array__(copy=False)
