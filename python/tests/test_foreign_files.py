# SPDX-FileCopyrightText: The VELMOImageFile authors
# SPDX-License-Identifier: Apache-2.0
"""Files of other programs, compared with what tifffile and numpy make of them."""

import json
import zlib

import numpy as np
import pytest
import tifffile
import velmo_image
from conftest import FOREIGN
from velmo_image import VelmoImageError

EXPECTED = json.loads((FOREIGN / "expected.json").read_text())
OPENED = [name for name, file in EXPECTED.items() if file["opens"] and not file.get("bufferTypes")]
# Calls with options, which this package uses, read planes that plain calls do not.
EXACT_ONLY = ("tf-imagej-single-rgb.tif", "tf-bilevel-without-bits.tif")
READ = [
    name for name in OPENED if EXPECTED[name].get("loads", True) or name in EXACT_ONLY
]


def read_by_tifffile(path):
    """The directories as (Z, C, Y, X), as they are stored."""
    planes = []
    with tifffile.TiffFile(path) as tiff:
        for page in tiff.pages:
            pixels = page.asarray()
            planes.append(pixels[None] if pixels.ndim == 2 else np.moveaxis(pixels, -1, 0))
    return np.stack(planes)


def get_crc(plane):
    return "%08x" % zlib.crc32(np.ascontiguousarray(plane.astype(plane.dtype.newbyteorder("<"))).tobytes())


def test_the_folder_has_files_of_every_kind():
    assert len(READ) > 100


@pytest.mark.parametrize("name", READ)
def test_planes_are_those_of_the_file(name):
    expected = EXPECTED[name]
    image = velmo_image.imread(FOREIGN / name)
    assert (image.sizes["Y"], image.sizes["X"]) == (expected["sizeY"], expected["sizeX"])
    assert image.sizes["C"] == expected["sizeC"]
    assert image.is_binary == (expected["bufferType"] == "eIBT_Binary")
    planes = [get_crc(image[0, c, z]) for c in range(image.sizes["C"]) for z in range(image.sizes["Z"])]
    assert planes == (expected.get("checkedPlanes") or expected["planes"])
    with velmo_image.open(FOREIGN / name) as lazy:
        np.testing.assert_array_equal(lazy[...], image)
        np.testing.assert_array_equal(lazy[0, ::-1, :, 3:-2:2, ::-3], image[0, ::-1, :, 3:-2:2, ::-3])


@pytest.mark.parametrize("name", READ)
def test_pixels_are_those_of_tifffile(name):
    if EXPECTED[name].get("singleDirectory"):
        pytest.skip("tifffile has no pages for the planes of a stack in one directory")
    try:
        expected = read_by_tifffile(FOREIGN / name)
    except (ValueError, KeyError) as error:  # a compression that needs a package that Debian does not have
        assert "imagecodecs" in str(error) or "COMPRESSION" in str(error) or name.endswith("lsb-first.tif")
        pytest.skip(str(error))
    pixels = np.asarray(velmo_image.imread(FOREIGN / name))[0]
    np.testing.assert_array_equal(pixels, expected.swapaxes(0, 1))
    assert pixels.dtype == expected.dtype.newbyteorder("=") or expected.dtype == np.bool_


@pytest.mark.parametrize("name", [name for name in OPENED if EXPECTED[name]["calibration"]])
def test_the_calibration_is_that_of_the_file(name):
    expected = EXPECTED[name]["calibration"]
    image = velmo_image.open(FOREIGN / name)
    size = dict(zip("XYZ", reversed(image.pixel_size)))
    assert (np.float32(size["X"]), np.float32(size["Y"])) == (np.float32(expected["x"]), np.float32(expected["y"]))
    assert image.unit == expected["unit"]


@pytest.mark.parametrize(
    "name", [name for name, file in EXPECTED.items() if not file["opens"] and name not in EXACT_ONLY]
)
def test_other_files_are_refused_with_the_reason(name):
    for function in velmo_image.imread, velmo_image.open:
        with pytest.raises(VelmoImageError) as raised:
            function(FOREIGN / name)
        assert EXPECTED[name]["message"] in str(raised.value)
        assert raised.value.filename == str(FOREIGN / name)
        assert raised.value.message_ids


@pytest.mark.parametrize("name", [name for name in OPENED if name not in READ])
def test_pixels_that_cannot_be_decoded_are_an_error(name):
    with pytest.raises(VelmoImageError):
        velmo_image.imread(FOREIGN / name)
    with velmo_image.open(FOREIGN / name) as lazy, pytest.raises(VelmoImageError) as raised:
        lazy[0, 0, 0]
    assert EXPECTED[name]["message"] in str(raised.value)


@pytest.mark.parametrize("name", ["tf-stack-u1-u2.tif", "tf-stack-u2-u1-be.tif"])
@pytest.mark.parametrize("directories", ["z", "t"])
@pytest.mark.parametrize("function", [velmo_image.imread, velmo_image.open])
def test_planes_of_different_types_are_no_array(name, directories, function):
    with pytest.raises(VelmoImageError):
        function(FOREIGN / name, directories=directories)


@pytest.mark.parametrize("name", ["lt-stack-bilevel-u1.tif", "lt-stack-u1-bilevel.tif"])
@pytest.mark.parametrize("function", [velmo_image.imread, velmo_image.open])
def test_planes_of_bits_and_of_bytes_are_numbers(name, function):
    image = function(FOREIGN / name)
    assert not image.is_binary and image.dtype == np.uint8
    assert [get_crc(plane) for plane in image[0, 0]] == EXPECTED[name]["planes"]


def test_samples_of_one_bit_need_no_tag():
    image = velmo_image.imread(FOREIGN / "tf-bilevel-without-bits.tif")
    assert image.is_binary and set(np.unique(image)) == {0, 1}
