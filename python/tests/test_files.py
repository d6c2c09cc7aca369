# SPDX-FileCopyrightText: The VELMOImageFile authors
# SPDX-License-Identifier: Apache-2.0
"""Files are read as they were written, by this package and by others."""

import os
import pathlib
import struct

import numpy as np
import pytest
import tifffile
import velmo_image
from conftest import DTYPES, make_array
from velmo_image import VelmoImageError

COMPRESSIONS = (None, "none", "lzw", "deflate")


@pytest.mark.parametrize("compression", COMPRESSIONS)
@pytest.mark.parametrize("dtype", DTYPES)
def test_every_type_and_every_axis_is_read_as_it_was_written(dtype, compression):
    pixels = make_array((2, 3, 4, 5, 6), dtype)
    velmo_image.imwrite("a.tif", pixels, compression=compression)
    image = velmo_image.imread("a.tif")
    assert (image.shape, image.dtype) == (pixels.shape, pixels.dtype)
    np.testing.assert_array_equal(np.asarray(image), pixels)
    assert not image.is_label and not image.is_binary
    with velmo_image.open("a.tif") as lazy:
        assert (lazy.shape, lazy.dtype) == (pixels.shape, pixels.dtype)
        np.testing.assert_array_equal(lazy[...], pixels)


@pytest.mark.parametrize("axis", range(5))
@pytest.mark.parametrize("size", [1, 7])
def test_no_axis_is_squeezed(axis, size):
    shape = [1] * 5
    shape[axis] = size
    pixels = make_array(shape)
    velmo_image.imwrite("a.tif", pixels)
    assert velmo_image.imread("a.tif").shape == tuple(shape)
    assert velmo_image.open("a.tif").shape == tuple(shape)
    np.testing.assert_array_equal(velmo_image.imread("a.tif"), pixels)


@pytest.mark.parametrize("axes", ["YX", "XY", "ZYX", "XYZ", "CYX", "YXC", "TYX", "TZCYX", "XYZCT", "X", ""])
def test_axes_name_the_dimensions_of_the_array(axes):
    sizes = {"T": 2, "C": 3, "Z": 4, "Y": 5, "X": 6}
    pixels = make_array([sizes[axis] for axis in axes])
    velmo_image.imwrite("a.tif", pixels, axes=axes)
    image = velmo_image.imread("a.tif")
    assert image.sizes == {axis: sizes[axis] if axis in axes else 1 for axis in "TCZYX"}
    moved = np.asarray(image)[tuple(slice(None) if axis in axes else 0 for axis in "TCZYX")]
    order = [axis for axis in "TCZYX" if axis in axes]
    np.testing.assert_array_equal(moved.transpose([order.index(axis) for axis in axes]), pixels)


@pytest.mark.parametrize(
    "shape, axes, text",
    [
        ((4, 5), "TCZYX", "axes='YX'"),
        ((4, 5, 3), "YX", "names 2 dimensions, the array has 3"),
        ((4, 5), "YY", "at most once"),
        ((4, 5), "yx", "each of the letters"),
        ((1,) * 6, "TCZYX", "the array has 6"),
    ],
)
def test_nothing_is_guessed_about_axes(shape, axes, text):
    with pytest.raises(ValueError, match=text):
        velmo_image.imwrite("a.tif", np.zeros(shape, "uint8"), axes=axes)
    assert not os.path.exists("a.tif")


@pytest.mark.parametrize("dtype", ["int64", "uint64", "float16", "float64", "complex64", "datetime64[s]", "U3", "O"])
def test_other_types_are_refused(dtype):
    with pytest.raises(TypeError, match="cannot be stored"):
        velmo_image.imwrite("a.tif", np.zeros((2, 3), dtype), axes="YX")
    with pytest.raises(TypeError, match="cannot be stored"):
        velmo_image.imread_raw("a.raw", (2, 3), dtype, axes="YX")


def test_bool_arrays_become_binary_images():
    mask = make_array((4, 9, 11), "bool")
    velmo_image.imwrite("mask.tif", mask, axes="ZYX")
    image = velmo_image.imread("mask.tif")
    assert image.is_binary and image.dtype == np.uint8
    np.testing.assert_array_equal(np.asarray(image)[0, 0].astype(bool), mask)


@pytest.mark.parametrize("dtype", ["uint8", "uint16", "uint32"])
def test_labels_stay_labels(dtype):
    labels = make_array((4, 9, 11), dtype)
    velmo_image.imwrite("labels.tif", labels, axes="ZYX", pixels="label")
    image = velmo_image.imread("labels.tif")
    assert image.is_label and image.dtype == labels.dtype
    velmo_image.imwrite("again.tif", image)
    assert velmo_image.open("again.tif").is_label
    np.testing.assert_array_equal(np.asarray(velmo_image.imread("again.tif"))[0, 0], labels)


@pytest.mark.parametrize(
    "color, channels", [("grey", 1), ("rgb", 3), ("rgba", 4), ("user", 3), ("user", 1), ("user", 7)]
)
def test_colors_are_kept_and_never_guessed(color, channels):
    pixels = make_array((2, channels, 3, 8, 9), "uint8")
    velmo_image.imwrite("color.tif", pixels, color=color)
    for image in velmo_image.imread("color.tif"), velmo_image.open("color.tif"):
        assert (image.color, image.shape) == (color, pixels.shape)
        np.testing.assert_array_equal(image[...], pixels)
    velmo_image.imwrite("plain.tif", pixels)
    assert velmo_image.imread("plain.tif").color == ("grey" if channels == 1 else "user")


def test_channels_have_names():
    pixels = make_array((1, 3, 1, 8, 9))
    velmo_image.imwrite("a.tif", pixels, channel_names=["DAPI", "GFP", "µ"])
    for image in velmo_image.imread("a.tif"), velmo_image.open("a.tif"):
        assert image.channel_names == ("DAPI", "GFP", "µ")
        np.testing.assert_array_equal(image.to_xarray().sel(C="GFP"), pixels[:, 1])
        velmo_image.imwrite("copy.tif", image)
        assert velmo_image.open("copy.tif").channel_names == image.channel_names
    with pytest.raises(ValueError, match="2 names for 3 channels"):
        velmo_image.imwrite("a.tif", pixels, channel_names=["a", "b"])


def test_the_text_of_an_image_describes_it(stack):
    assert repr(velmo_image.imread(stack[0])) == (
        "<velmo_image.Image (T: 2, C: 3, Z: 4, Y: 21, X: 17) uint16, pixel_size=(1.5, 0.5, 0.25) um>"
    )
    velmo_image.imwrite("mask.tif", np.zeros((3, 4), bool), axes="YX", pixel_size=(1, 2))
    assert repr(velmo_image.open("mask.tif")) == (
        "<velmo_image.LazyImage (T: 1, C: 1, Z: 1, Y: 3, X: 4) binary, pixel_size=(1.0, 2.0)>"
    )


def test_a_color_with_another_number_of_channels_is_refused():
    with pytest.raises(ValueError, match="has 3 channels, the array has 2"):
        velmo_image.imwrite("a.tif", np.zeros((1, 2, 1, 3, 3), "uint8"), color="rgb")
    with pytest.raises(ValueError, match="unknown color"):
        velmo_image.imwrite("a.tif", np.zeros((1, 2, 1, 3, 3), "uint8"), color="pink")


@pytest.mark.parametrize("pixel_size", [(0.1, 0.3), (2.5, 0.1, 0.3)])
def test_calibration_and_user_properties_are_kept(pixel_size):
    text = "stain=DAPI;operator=Zoë"
    velmo_image.imwrite(
        "a.tif", np.zeros((3, 4), "uint8"), axes="YX", pixel_size=pixel_size, unit="µm", user_properties=text
    )
    for image in velmo_image.imread("a.tif"), velmo_image.open("a.tif"):
        assert (image.pixel_size, image.unit, image.user_properties) == (pixel_size, "µm", text)


def test_an_image_is_written_with_its_properties_unless_others_are_given(stack):
    image = velmo_image.imread(stack[0])
    for source in image, velmo_image.open(stack[0]):
        velmo_image.imwrite("copy.tif", source)
        copy = velmo_image.imread("copy.tif")
        assert (copy.pixel_size, copy.unit) == ((1.5, 0.5, 0.25), "um")
        np.testing.assert_array_equal(copy, stack[1])
    velmo_image.imwrite("other.tif", image, unit="mm", user_properties="x=1")
    other = velmo_image.imread("other.tif")
    assert (other.pixel_size, other.unit, other.user_properties) == ((1.5, 0.5, 0.25), "mm", "x=1")
    velmo_image.imwrite("labels.tif", image, pixels="label")
    labels = velmo_image.imread("labels.tif")
    assert labels.is_label and labels.pixel_size == (1.5, 0.5, 0.25)


def test_without_calibration_nothing_is_claimed():
    velmo_image.imwrite("a.tif", np.zeros((3, 4), "uint8"), axes="YX")
    image = velmo_image.imread("a.tif")
    assert (image.pixel_size, image.unit, image.user_properties, image.channel_names) == (None, None, "", ())
    with pytest.raises(ValueError, match="a unit needs a pixel size"):
        velmo_image.imwrite("a.tif", np.zeros((3, 4), "uint8"), axes="YX", unit="um")
    with pytest.raises(ValueError, match="the form"):
        velmo_image.imwrite("a.tif", np.zeros((3, 4), "uint8"), axes="YX", pixel_size=(1.0,))


@pytest.mark.parametrize("keyword", ["directories", "pixels"])
def test_wrong_options_are_refused(keyword, stack):
    for function in velmo_image.imread, velmo_image.open:
        with pytest.raises(ValueError, match=f"{keyword} is one of"):
            function(stack[0], **{keyword: "other"})
    with pytest.raises(ValueError, match="compression is one of"):
        velmo_image.imwrite("a.tif", np.zeros((3, 4), "uint8"), axes="YX", compression="jpeg")


@pytest.mark.parametrize("threads, error", [(0, ValueError), (-1, ValueError), (2**40, ValueError), (1.5, TypeError)])
def test_threads_is_a_positive_number(threads, error, stack):
    with pytest.raises(error):
        velmo_image.imread(stack[0], threads=threads)
    for allowed in None, 1, np.int64(2):
        np.testing.assert_array_equal(velmo_image.imread(stack[0], threads=allowed), stack[1])


@pytest.mark.parametrize("kind", [str, os.fsencode, pathlib.Path])
def test_paths_of_every_kind(kind, tmp_path):
    name = tmp_path / "bäd\udcffname.tif"
    velmo_image.imwrite(kind(name), np.ones((3, 4), "uint8"), axes="YX")
    assert os.path.exists(name)
    assert velmo_image.imread(kind(name)).shape == velmo_image.open(kind(name)).shape == (1, 1, 1, 3, 4)
    with pytest.raises(ValueError, match="null"):
        velmo_image.imread("a\0b.tif")


def test_directories_are_planes_or_time_steps():
    pixels = make_array((5, 8, 9), "uint8")
    tifffile.imwrite("foreign.tif", pixels, metadata=None)
    for read in velmo_image.imread, velmo_image.open:
        assert read("foreign.tif").shape == (1, 1, 5, 8, 9)
        assert read("foreign.tif", directories="t").shape == (5, 1, 1, 8, 9)
        assert read("foreign.tif", pixels="label").is_label
        assert read("foreign.tif", pixels="binary").is_binary


def test_a_folder_is_joined_in_the_order_of_the_numbers():
    pixels = make_array((12, 8, 9))
    for z, plane in enumerate(pixels):
        velmo_image.imwrite(f"z{z}.tif", plane, axes="YX", pixel_size=(0.5, 0.25), unit="um")
    for image in velmo_image.imread_folder(".", "z<INDEX>.tif"), velmo_image.open_folder(".", "z<INDEX>.tif"):
        assert (image.shape, image.pixel_size) == ((1, 1, 12, 8, 9), (0.5, 0.25))
        np.testing.assert_array_equal(image[0, 0], pixels)
        np.testing.assert_array_equal(image[0, 0, ::-5, 1:, 2], pixels[::-5, 1:, 2])
    film = velmo_image.imread_folder(".", "z<INDEX>.tif", along="t")
    np.testing.assert_array_equal(np.asarray(film)[:, 0, 0], pixels)
    for function in velmo_image.imread_folder, velmo_image.open_folder:
        with pytest.raises(VelmoImageError, match='matches the pattern "y<INDEX>.tif"'):
            function(".", "y<INDEX>.tif")
        with pytest.raises(VelmoImageError, match="nowhere"):
            function("nowhere", "z<INDEX>.tif")
        with pytest.raises(ValueError, match="along"):
            function(".", "z<INDEX>.tif", along="c")


def test_other_programs_read_what_is_written():
    pixels = make_array((4, 30, 20))
    velmo_image.imwrite("a.tif", pixels, axes="ZYX")
    np.testing.assert_array_equal(tifffile.imread("a.tif"), pixels)
    color = make_array((30, 20, 3), "uint8")
    velmo_image.imwrite("rgb.tif", color, axes="YXC", color="rgb")
    np.testing.assert_array_equal(tifffile.imread("rgb.tif"), color)


def make_im6(pixels, pixel_type):
    """An Im6 file of an array (T, C, Z, Y, X) with a calibration: docs/formats/im6.md."""
    t, c, z, y, x = pixels.shape
    text = b"Calibration"
    header = struct.pack("<6I28xI12x3I36x", 0x6934, x, y, z, c, t, pixel_type, len(text), 0, 0)
    record = struct.pack("<8xd16xd16xd16xd", x, y, 0.5 * x, 0.25 * y).ljust(168, b"\0") + b"um\0"
    return header + pixels.tobytes() + text + record.ljust(4412, b"\0") + struct.pack("<2f4x", 0, 1.5)


@pytest.mark.parametrize(
    "dtype, pixel_type",
    [("float32", 0), ("int32", 1), ("int16", 2), ("int8", 4), ("uint16", 18), ("uint8", 20)],
)
def test_im6_files_are_read(dtype, pixel_type):
    pixels = make_array((2, 3, 4, 5, 6), dtype)
    for name in "a.im6", "A.IM6":
        pathlib.Path(name).write_bytes(make_im6(pixels, pixel_type))
        for image in velmo_image.imread(name), velmo_image.open(name):
            assert (image.color, image.pixel_size, image.unit) == ("rgb", (1.5, 0.25, 0.5), "um")
            np.testing.assert_array_equal(image[...], pixels)
            np.testing.assert_array_equal(image[1, ::-1, 2, 1:-1, ::2], pixels[1, ::-1, 2, 1:-1, ::2])


def test_im6_files_are_not_written():
    with pytest.raises(ValueError, match="Im6 files cannot be written"):
        velmo_image.imwrite("a.im6", np.zeros((2, 3), "uint8"), axes="YX")
    for function in velmo_image.imread, velmo_image.open:
        with pytest.raises(VelmoImageError) as raised:
            function("missing.im6")
        assert raised.value.domain == "eIm6ImageFileMessage"
