# SPDX-FileCopyrightText: The VELMOImageFile authors
# SPDX-License-Identifier: Apache-2.0
"""Nothing is copied where nothing needs to be, and memory lives as long as it is used, and no longer."""

import gc
import logging
import sys
import weakref

import numpy as np
import pytest
import tifffile
import velmo_image
from conftest import FOREIGN, make_array, run_python
from velmo_image import VelmoImageError, _pixels


@pytest.fixture
def eager_gc():
    """The collector runs at almost every allocation."""
    thresholds = gc.get_threshold()
    gc.set_threshold(1, 1, 1)
    yield
    gc.set_threshold(*thresholds)


def get_address(array):
    return array.__array_interface__["data"][0]


def test_an_array_of_an_image_shares_its_memory(stack):
    image = velmo_image.imread(stack[0])
    arrays = [np.asarray(image), np.array(image, copy=False), image.asarray(), image[...], image.__array__()]
    assert {get_address(array) for array in arrays} == {get_address(arrays[0])}
    assert arrays[0].flags.c_contiguous and arrays[0].flags.writeable and arrays[0].flags.aligned
    assert not arrays[0].flags.owndata
    arrays[0][1, 2, 3, 4, 5] = 7
    assert image[1, 2, 3, 4, 5] == 7
    image[0, 0, 0] = 9
    assert (arrays[1][0, 0, 0] == 9).all()
    assert not np.shares_memory(np.array(image), arrays[0])
    assert not np.shares_memory(image.__array__(copy=True), arrays[0])
    with pytest.raises(ValueError, match="need a copy"):
        image.__array__("float64", copy=False)
    np.asarray(image).shape = (-1,)
    assert np.asarray(image).shape == stack[1].shape


def test_the_memory_of_an_image_outlives_it(stack, eager_gc):
    path, pixels = stack
    for _ in range(20):
        image = velmo_image.imread(path)
        array = np.asarray(image)
        row = array[1, 2, 3, 4]
        gone = weakref.ref(image)
        del image, array
        gc.collect()
        assert gone() is None
        others = [velmo_image.imread(path) for _ in range(3)]
        np.testing.assert_array_equal(row, pixels[1, 2, 3, 4])
        del others


@pytest.mark.parametrize("use", ["dask", "xarray", "pickle", "slices", "errors", "write"])
def test_every_use_survives_an_eager_collector(use, stack, eager_gc):
    import pickle

    path, pixels = stack
    for _ in range(5):
        for image in velmo_image.imread(path), velmo_image.open(path):
            if use == "dask":
                array = image.to_dask()
                del image
                np.testing.assert_array_equal(array[1, :, 0].compute(scheduler="threads"), pixels[1, :, 0])
            elif use == "xarray":
                data = image.to_xarray()
                del image
                np.testing.assert_array_equal(data[1, :, 0], pixels[1, :, 0])
            elif use == "pickle":
                np.testing.assert_array_equal(pickle.loads(pickle.dumps(image)), pixels)
            elif use == "slices":
                np.testing.assert_array_equal(image[::-1, ..., ::2], pixels[::-1, ..., ::2])
            elif use == "errors":
                for name in "missing.tif", FOREIGN / "gm-cmyk.tif":
                    with pytest.raises(VelmoImageError):
                        velmo_image.imread(name)
                with pytest.raises(IndexError):
                    image[9]
            else:
                velmo_image.imwrite("copy.tif", image)


def test_reference_counts_do_not_grow(stack):
    path, pixels = stack
    out = np.empty_like(pixels)
    image = velmo_image.open(path)
    memory = velmo_image.imread(path)

    def use():
        image.asarray(out=out)
        velmo_image.imwrite("copy.tif", out)
        np.asarray(memory)
        for call in (
            lambda: velmo_image.imread("missing.tif"),
            lambda: image._source.read((9,) * 5, (1,) * 5, out),
            lambda: image._source.read((0,) * 5, (1,) * 5, out[0]),
        ):
            with pytest.raises((VelmoImageError, IndexError, ValueError)):
                call()

    objects = [out, image, image._source, memory, memory._description, memory._array, out.dtype, path]
    use()
    gc.collect()
    before = [sys.getrefcount(one) for one in objects]
    for _ in range(100):
        use()
    gc.collect()
    after = [sys.getrefcount(one) for one in objects]
    assert max(b - a for a, b in zip(before, after)) < 20


def test_objects_do_not_pile_up(stack, caplog):
    caplog.set_level(logging.CRITICAL, "velmo_image")  # pytest keeps the records

    def use():
        with velmo_image.open(stack[0]) as image:
            image[0].sum()
        np.asarray(velmo_image.imread(stack[0]))
        try:
            velmo_image.imread("missing.tif")
        except VelmoImageError:
            pass

    for _ in range(5):
        use()
    gc.collect()
    before = len(gc.get_objects())
    for _ in range(200):
        use()
    gc.collect()
    assert len(gc.get_objects()) - before < 50


@pytest.mark.parametrize(
    "axes, shape", [("TCZYX", (2, 3, 4, 5, 6)), ("ZYX", (4, 5, 6)), ("TYX", (2, 5, 6)), ("YX", (5, 6))]
)
@pytest.mark.parametrize("dtype", ["uint8", "float32", "bool"])
def test_contiguous_arrays_are_not_copied(axes, shape, dtype):
    pixels = make_array(shape, dtype)
    full = _pixels.to_full_array(pixels, axes)
    assert get_address(full) == get_address(pixels) and full.flags.c_contiguous and full.ndim == 5


@pytest.mark.parametrize(
    "change",
    [
        lambda pixels: pixels[:, :, ::-1],
        lambda pixels: pixels[..., ::2],
        lambda pixels: np.asfortranarray(pixels),
        lambda pixels: pixels.astype(">u2"),
        lambda pixels: np.broadcast_to(pixels[:1], pixels.shape),
    ],
)
def test_other_arrays_are_copied_once_and_written_right(change):
    pixels = change(make_array((2, 3, 4, 5, 6)))
    assert not np.shares_memory(_pixels.to_full_array(pixels, "TCZYX"), pixels)
    velmo_image.imwrite("a.tif", pixels)
    np.testing.assert_array_equal(velmo_image.imread("a.tif"), pixels)
    velmo_image.imwrite_raw("a.raw", pixels)
    np.testing.assert_array_equal(velmo_image.memmap_raw("a.raw", pixels.shape, "uint16"), pixels)


def test_read_only_arrays_are_written():
    pixels = make_array((2, 3, 4, 5, 6))
    pixels.flags.writeable = False
    velmo_image.imwrite("a.tif", pixels)
    np.testing.assert_array_equal(velmo_image.imread("a.tif"), pixels)


PEAK = """
    import sys, numpy as np, velmo_image
    def peak():  # not that of getrusage, which a new process inherits
        return next(int(line.split()[1]) * 1024 for line in open("/proc/self/status") if line.startswith("VmHWM"))
    size = 64 << 20
    velmo_image.imwrite("small.tif", np.zeros((1, 1, 1, 9, 9), "uint8"), compression="deflate")
    velmo_image.imread("small.tif"); velmo_image.open("small.tif")[...]
"""
MAKE = "a = np.ones((1, 1, 64, 1024, 1024), 'uint8'); p = peak(); "
READ = "p = peak() + size; a = "
PEAK_CASES = {
    "imwrite": MAKE + "velmo_image.imwrite('a.tif', a)",
    "imwrite lzw": MAKE + "velmo_image.imwrite('a.tif', a, compression='lzw')",
    "imwrite_raw": MAKE + "velmo_image.imwrite_raw('a.raw', a)",
    "imread": READ + "np.asarray(velmo_image.imread(sys.argv[1] + '/deflate.tif'))",
    "foreign": READ + "np.asarray(velmo_image.imread(sys.argv[1] + '/tiles.tif', foreign=True))",
    "import_tiff": "p = peak(); velmo_image.import_tiff(sys.argv[1] + '/tiles.tif', 'a.tif')",
    "imread_raw": READ + "np.asarray(velmo_image.imread_raw(sys.argv[1] + '/a.raw', (1, 1, 64, 1024, 1024), 'uint8'))",
    "open": READ + "velmo_image.open(sys.argv[1] + '/deflate.tif')[...]",
    "out": MAKE + "velmo_image.open(sys.argv[1] + '/deflate.tif').asarray(out=a)",
}


@pytest.fixture(scope="module")
def big_files(tmp_path_factory):
    folder = tmp_path_factory.mktemp("big")
    pixels = np.zeros((64, 1024, 1024), "uint8")
    pixels[:, ::3, ::5] = 1
    velmo_image.imwrite(folder / "deflate.tif", pixels, axes="ZYX", compression="deflate")
    velmo_image.imwrite_raw(folder / "a.raw", pixels, axes="ZYX")
    tifffile.imwrite(folder / "tiles.tif", pixels, tile=(256, 256), photometric="minisblack", compression="zlib")
    return folder


def measure_copies(case, folder, files):
    """How many times the pixels the peak of the memory is larger than without a copy."""
    return float(run_python(PEAK + "    " + case + "\n    print((peak() - p) / size)\n", folder, files).stdout)


@pytest.mark.parametrize("case", PEAK_CASES)
def test_the_peak_of_the_memory_has_no_copy_of_the_pixels(case, big_files, tmp_path, under_sanitizer):
    if under_sanitizer:
        pytest.skip("a sanitizer needs memory of its own")
    assert measure_copies(PEAK_CASES[case], tmp_path, big_files) < 0.1


def test_a_copy_shows_in_the_peak_of_the_memory(big_files, tmp_path):
    assert 0.9 < measure_copies(PEAK_CASES["imread"] + ".copy()", tmp_path, big_files)
