# SPDX-FileCopyrightText: The VELMOImageFile authors
# SPDX-License-Identifier: Apache-2.0
"""Headerless files."""

import os

import numpy as np
import pytest
import velmo_image
from conftest import DTYPES, make_array
from velmo_image import VelmoImageError


@pytest.mark.parametrize("dtype", [*DTYPES, "bool"])
def test_every_type_is_read_as_it_was_written(dtype):
    pixels = make_array((2, 3, 4, 5, 6), dtype)
    velmo_image.imwrite_raw("a.raw", pixels, header=b"head")
    assert np.fromfile("a.raw", dtype, offset=4).tobytes() == pixels.tobytes()
    for read in velmo_image.imread_raw, velmo_image.open_raw, velmo_image.memmap_raw:
        image = read("a.raw", (2, 3, 4, 5, 6), dtype, offset=4)
        assert image.shape == pixels.shape
        np.testing.assert_array_equal(np.asarray(image).view(pixels.dtype), pixels)


@pytest.mark.parametrize("axes", ["YX", "ZYX", "CYX", "TZYX"])
def test_the_shape_has_the_named_axes(axes):
    shape = tuple(range(2, 2 + len(axes)))
    pixels = make_array(shape)
    pixels.tofile("a.raw")
    for read in velmo_image.imread_raw, velmo_image.open_raw, velmo_image.memmap_raw:
        image = read("a.raw", shape, "uint16", axes=axes)
        assert image.shape == tuple(dict(zip(axes, shape)).get(axis, 1) for axis in "TCZYX")
        np.testing.assert_array_equal(np.asarray(image).reshape(shape), pixels)
        with pytest.raises(ValueError, match="in the order of TCZYX"):
            read("a.raw", shape, "uint16", axes=axes[::-1])


def test_pixels_may_be_labels():
    make_array((4, 5)).tofile("a.raw")
    assert velmo_image.imread_raw("a.raw", (4, 5), "uint16", axes="YX", pixels="label").is_label
    with pytest.raises(TypeError, match="label"):
        velmo_image.imread_raw("a.raw", (4, 5), "int16", axes="YX", pixels="label")


def test_the_other_byte_order_is_mapped_and_not_read():
    pixels = make_array((4, 5)).astype(">u2")
    pixels.tofile("a.raw")
    np.testing.assert_array_equal(velmo_image.memmap_raw("a.raw", (4, 5), ">u2", axes="YX")[0, 0, 0], pixels)
    for read in velmo_image.imread_raw, velmo_image.open_raw:
        with pytest.raises(ValueError, match="memmap_raw"):
            read("a.raw", (4, 5), ">u2", axes="YX")


def test_arrays_of_the_other_byte_order_are_written_in_that_of_the_machine():
    pixels = make_array((4, 5))
    velmo_image.imwrite_raw("a.raw", pixels.astype(">u2"), axes="YX")
    np.testing.assert_array_equal(np.fromfile("a.raw", "uint16").reshape(4, 5), pixels)
    velmo_image.imwrite("a.tif", pixels.astype(">u2"), axes="YX")
    np.testing.assert_array_equal(velmo_image.imread("a.tif")[0, 0, 0], pixels)


def test_a_file_that_is_too_short_is_refused_and_never_extended():
    make_array((4, 5)).tofile("a.raw")
    for read in velmo_image.imread_raw, velmo_image.open_raw, velmo_image.memmap_raw:
        for offset in 1, 2**62:
            with pytest.raises(VelmoImageError) as raised:
                read("a.raw", (4, 5), "uint16", axes="YX", offset=offset)
            assert "a.raw" in str(raised.value) and raised.value.filename.endswith("a.raw")
        with pytest.raises(ValueError, match="offset"):
            read("a.raw", (4, 5), "uint16", axes="YX", offset=-1)
    with pytest.raises(VelmoImageError, match="40 bytes, 41 are needed"):
        velmo_image.memmap_raw("a.raw", (4, 5), "uint16", axes="YX", offset=1, mode="r+")
    assert os.path.getsize("a.raw") == 40


def test_a_map_is_written_to_the_file_only_in_mode_r_plus():
    np.zeros((4, 5), "uint16").tofile("a.raw")
    with pytest.raises(ValueError):
        velmo_image.memmap_raw("a.raw", (4, 5), "uint16", axes="YX")[...] = 1
    velmo_image.memmap_raw("a.raw", (4, 5), "uint16", axes="YX", mode="c")[...] = 2
    assert not np.fromfile("a.raw", "uint16").any()
    velmo_image.memmap_raw("a.raw", (4, 5), "uint16", axes="YX", mode="r+")[...] = 3
    assert (np.fromfile("a.raw", "uint16") == 3).all()
    with pytest.raises(ValueError, match="mode"):
        velmo_image.memmap_raw("a.raw", (4, 5), "uint16", axes="YX", mode="w+")


def test_a_missing_file_is_named():
    for read in velmo_image.imread_raw, velmo_image.open_raw, velmo_image.memmap_raw:
        with pytest.raises(VelmoImageError, match="missing.raw"):
            read("missing.raw", (4, 5), "uint16", axes="YX")


@pytest.mark.parametrize("axis", range(5))
def test_shapes_without_pixels(axis):
    shape = [2, 3, 4, 5, 6]
    shape[axis] = 0
    velmo_image.imwrite_raw("a.raw", np.zeros(shape, "uint16"), header=b"head")
    assert os.path.getsize("a.raw") == 4
    image = velmo_image.imread_raw("a.raw", shape, "uint16", offset=4)
    assert np.asarray(image).shape == image[...].shape == tuple(shape)
    assert velmo_image.open_raw("a.raw", shape, "uint16", offset=4)[...].shape == tuple(shape)
    with pytest.raises(ValueError, match="without pixels"):
        velmo_image.memmap_raw("a.raw", shape, "uint16", offset=4)
    with pytest.raises(VelmoImageError):
        velmo_image.imwrite("a.tif", np.zeros(shape, "uint16"))
    assert not os.path.exists("a.tif")


@pytest.mark.parametrize("shape", [(1, 1, 1, 2**62, 2**62), (2**62, 1, 1, 1, 1), (2**31, 2**31, 2**31, 1, 1)])
def test_huge_shapes_are_refused_before_memory_is_allocated(shape):
    np.zeros(10, "uint8").tofile("a.raw")
    for read in velmo_image.imread_raw, velmo_image.open_raw, velmo_image.memmap_raw:
        with pytest.raises(VelmoImageError):
            read("a.raw", shape, "uint32")
    for sizes in (-1, 1, 1, 1, 1), (2**63, 1, 1, 1, 1):
        with pytest.raises(ValueError, match="is not a size"):
            velmo_image.imread_raw("a.raw", sizes, "uint8")
    with pytest.raises(TypeError):
        velmo_image.imread_raw("a.raw", (1, 1, 1, 1.5, 1), "uint8")


def test_an_image_larger_than_the_memory_is_an_error_with_both_sizes():
    with open("a.raw", "wb") as file:
        file.truncate(2**43)
    with pytest.raises(VelmoImageError, match="needs 8796093022208 bytes of memory"):
        velmo_image.imread_raw("a.raw", (1, 1, 2**13, 2**15, 2**15), "uint8")
    image = velmo_image.open_raw("a.raw", (1, 1, 2**13, 2**15, 2**15), "uint8")
    assert image[0, 0, -1, -1, -1] == 0 and image.nbytes == 2**43
    with pytest.raises(MemoryError):
        image[...]
