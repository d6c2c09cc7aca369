# SPDX-FileCopyrightText: The VELMOImageFile authors
# SPDX-License-Identifier: Apache-2.0
"""Dask and xarray read images in files on demand."""

import dask
import dask.array
import numpy as np
import pytest
import velmo_image
import xarray
from conftest import count_handles, make_array


def test_a_dask_array_has_a_chunk_for_each_plane(stack):
    path, pixels = stack
    for image in velmo_image.open(path), velmo_image.imread(path):
        array = image.to_dask()
        assert isinstance(array, dask.array.Array)
        assert array.chunksize == (1, 1, 1, 21, 17) and array.npartitions == 24
        assert array.dtype == pixels.dtype
        np.testing.assert_array_equal(array.compute(), pixels)
        np.testing.assert_array_equal(array[1:, ::-1, 2:3, 3:, [5, 2]].compute(), pixels[1:, ::-1, 2:3, 3:, [5, 2]])
        np.testing.assert_array_equal(array.max((0, 1)).compute(), pixels.max((0, 1)))


def test_workers_in_other_processes_open_the_file_for_themselves(stack):
    path, pixels = stack
    array = velmo_image.open(path).to_dask()
    with dask.config.set({"multiprocessing.context": "spawn"}):
        assert array.sum().compute(scheduler="processes", num_workers=2) == pixels.sum()


def test_two_arrays_of_a_file_that_changed_are_not_mixed_up():
    velmo_image.imwrite("a.tif", np.zeros((4, 5), "uint8"), axes="YX")
    first = velmo_image.open("a.tif").to_dask()
    velmo_image.imwrite("a.tif", np.ones((4, 5), "uint8"), axes="YX")
    second = velmo_image.open("a.tif").to_dask()
    assert first.name != second.name
    assert dask.compute(first.sum(), second.sum()) == (0, 20)


def test_a_sparse_volume_of_100_gigabytes():
    shape = (1, 1, 5000, 4000, 5000)
    marks = {(0, 0, 0): 1, (2500, 1999, 77): 2, (4999, 3999, 4999): 3}
    with open("huge.raw", "wb") as file:
        file.truncate(5000 * 4000 * 5000)
        for (z, y, x), value in marks.items():
            file.seek((z * 4000 + y) * 5000 + x)
            file.write(bytes([value]))
    volume = velmo_image.open_raw("huge.raw", shape, "uint8").to_dask()
    assert volume.nbytes == 10**11
    planes = volume[0, 0, [0, 2500, 4999]].max((1, 2)).compute()
    assert planes.tolist() == [1, 2, 3]
    assert volume[0, 0, 2490:2510, 1990:2010, 70:80].sum().compute() == 2


def test_a_data_array_has_the_coordinates_of_the_calibration(stack):
    path, pixels = stack
    for image in velmo_image.open(path), velmo_image.imread(path):
        array = image.to_xarray()
        assert array.dims == ("T", "C", "Z", "Y", "X") and array.name == "image"
        np.testing.assert_allclose(array.Z, np.arange(4) * 1.5)
        np.testing.assert_allclose(array.X, np.arange(17) * 0.25)
        assert array.Y.attrs == {"units": "um"} and "T" not in array.coords
        assert (array.attrs["pixel_size"], array.attrs["pixel_size_unit"]) == ((1.5, 0.5, 0.25), "um")
        np.testing.assert_array_equal(array, pixels)
        np.testing.assert_array_equal(array.sel(Z=3.0, method="nearest"), pixels[:, :, 2])
        np.testing.assert_array_equal(array.isel(T=1, Y=[3, 1], X=slice(None, None, -2)), pixels[1][..., [3, 1], ::-2])


def test_a_data_array_of_an_image_in_memory_shares_its_pixels(stack):
    image = velmo_image.imread(stack[0])
    assert np.shares_memory(image.to_xarray().values, np.asarray(image))


def test_without_calibration_there_are_no_coordinates():
    velmo_image.imwrite("a.tif", np.zeros((4, 5), "uint8"), axes="YX", user_properties="a=b")
    array = velmo_image.open("a.tif").to_xarray()
    assert not array.coords and array.attrs == {"color": "grey", "user_properties": "a=b"}
    velmo_image.imwrite("a.tif", np.zeros((4, 5), "uint8"), axes="YX", pixel_size=(2, 3))
    array = velmo_image.open("a.tif").to_xarray()
    assert set(array.coords) == {"Y", "X"} and array.X.attrs == {}


def test_xarray_opens_files_with_the_backend(stack):
    path, pixels = stack
    for options in {"engine": "velmo_image"}, {}, {"engine": "velmo_image", "chunks": {}}:
        with xarray.open_dataset(path, **options) as dataset:
            np.testing.assert_array_equal(dataset["image"], pixels)
            np.testing.assert_array_equal(dataset["image"][0, 1, -1, ::2], pixels[0, 1, -1, ::2])
    assert "Z" not in xarray.open_dataset(path, engine="velmo_image", drop_variables="Z").coords


def test_the_backend_passes_its_options_on():
    velmo_image.imwrite("a.tif", make_array((4, 5)), axes="YX")
    with pytest.raises(ValueError, match="directories"):
        xarray.open_dataset("a.tif", engine="velmo_image", directories="c")


@pytest.mark.parametrize(
    "open_image",
    [
        lambda path: xarray.open_dataset(path, engine="velmo_image")["image"],
        lambda path: velmo_image.open(path).to_xarray(),
    ],
)
def test_xarray_reads_only_what_is_needed(open_image, tmp_path):
    path = tmp_path / "a.tif"
    pixels = make_array((3, 500, 400))
    velmo_image.imwrite(path, pixels, axes="ZYX")
    image = open_image(path)
    with open(path, "r+b") as file:
        file.truncate(pixels.nbytes // 2)
    np.testing.assert_array_equal(image[0, 0, 0], pixels[0])
    with pytest.raises(velmo_image.VelmoImageError):
        image[0, 0, 2].load()


def test_closing_a_dataset_closes_the_file(stack):
    dataset = xarray.open_dataset(stack[0], engine="velmo_image")
    dataset.close()
    assert count_handles(stack[0]) == 0


def test_an_image_is_copied_to_a_zarr_store(stack):
    path, pixels = stack
    image = velmo_image.open(path)
    image.to_dask().to_zarr("a.zarr")
    np.testing.assert_array_equal(dask.array.from_zarr("a.zarr"), pixels)
    image.to_xarray().to_dataset().chunk({"Z": 1}).to_zarr("b.zarr")
    copy = xarray.open_zarr("b.zarr")["image"]
    np.testing.assert_array_equal(copy, pixels)
    np.testing.assert_allclose(copy.Z, np.arange(4) * 1.5)
