# SPDX-FileCopyrightText: The VELMOImageFile authors
# SPDX-License-Identifier: Apache-2.0
"""Files that only the import reads, compared with what the programs that made them wrote."""

import gc
import json
import logging
import os
import pathlib
import pickle
import re
import shutil
import threading
import zlib

import numpy as np
import pytest
import velmo_image
from conftest import ROOT
from velmo_image import VelmoImageError

IMPORT = ROOT / "tests" / "data" / "import"
EXPECTED = json.loads((IMPORT / "expected.json").read_text())
IMPORTED = [name for name, entry in EXPECTED.items() if "refused" not in entry]
REFUSED = [name for name in EXPECTED if name not in IMPORTED]
DTYPES = {"binary": "uint8", "real32": "float32"}
NAMES = {"--to-rgb": "to_rgb", "--min-is-black": "min_is_black", "--series": "series"}


def to_arguments(options):
    """The options of the command, as `import_tiff` takes them."""
    arguments = {}
    words = iter(options)
    for word in words:
        name = word[2:].replace("-", "_")
        if name in ("to_rgb", "min_is_black", "lossy"):
            arguments[name] = True
        elif name == "series":
            arguments[name] = int(next(words))
        elif name == "page":
            first, _, last = next(words).partition(":")
            arguments["pages"] = range(int(first), int(last) + 1) if last else int(first)
        else:
            arguments[name] = next(words)
    return arguments


def require_entry(image, entry):
    """Compares an image with an entry of expected.json."""
    assert image.shape == tuple(entry[f"size{axis}"] for axis in "TCZYX")
    assert image.dtype == DTYPES.get(entry["pixelType"], entry["pixelType"])
    assert image.is_binary == (entry["pixelType"] == "binary")
    assert image.color == entry["color"]
    if entry["calibration"] is None:
        assert image.pixel_size is None
    else:
        sizes = [entry["calibration"][axis] for axis in "zyx" if entry["calibration"][axis] is not None]
        np.testing.assert_allclose(image.pixel_size, sizes, rtol=1e-6)
        assert image.unit == entry["calibration"]["unit"]
    planes = np.asarray(image).reshape(-1, *image.shape[3:])
    if "tolerance" in entry:
        expected = np.array(entry["pixels"], "int32").reshape(planes.shape)
        assert np.abs(planes.astype("int32") - expected).max() <= entry["tolerance"]
    else:
        little = planes.astype(planes.dtype.newbyteorder("<"))
        assert ["%08x" % zlib.crc32(plane.tobytes()) for plane in little] == entry["planes"]


@pytest.mark.parametrize("name", IMPORTED)
def test_an_imported_image_is_that_of_the_program_that_wrote_it(name):
    entry = EXPECTED[name]
    arguments = to_arguments(entry["options"])
    image = velmo_image.imread(IMPORT / entry["file"], foreign=True, **arguments)
    require_entry(image, entry)
    assert sorted(change.kind for change in image.changes) == entry["changes"]
    assert all(change.text and "--" not in change.text for change in image.changes)

    report = velmo_image.import_tiff(IMPORT / entry["file"], "imported.tif", **arguments)
    assert report == (image.changes, ("imported.tif",))
    written = velmo_image.imread("imported.tif")
    require_entry(written, entry)
    assert written.changes == ()
    assert os.listdir() == ["imported.tif"]


@pytest.mark.parametrize("name", REFUSED)
def test_a_file_that_cannot_be_imported_is_an_error_with_the_reason(name):
    entry = EXPECTED[name]
    reason = entry["refused"]
    for option, argument in NAMES.items():
        reason = reason.replace(option, argument)
    path = IMPORT / entry["file"]
    arguments = to_arguments(entry["options"])
    for call in (
        lambda: velmo_image.imread(path, foreign=True, **arguments),
        lambda: velmo_image.import_tiff(path, "imported.tif", **arguments),
    ):
        with pytest.raises(VelmoImageError) as raised:
            call()
        starts = f'Cannot import "{path}": ', 'Error while saving tiff image file "imported.tif"\n'
        assert str(raised.value).startswith(starts) and str(path) in str(raised.value)
        assert reason in str(raised.value) and not re.search("(^| )--[a-z]", str(raised.value))
        assert raised.value.filename == str(path)
    assert os.listdir() == []


def test_an_error_names_the_argument_that_allows_the_import():
    with pytest.raises(VelmoImageError, match="; lossy=True imports it$"):
        velmo_image.imread(IMPORT / "tf-float64-le.tif", foreign=True)
    with pytest.raises(VelmoImageError, match=r"; to_rgb=True imports it$"):
        velmo_image.imread(IMPORT / "py-logluv.tif", foreign=True)
    with pytest.raises(VelmoImageError, match=r"(?s)series=N, .* pages=range\(A, B \+ 1\)\n.*series 1: .*directory 2$"):
        velmo_image.imread(IMPORT / "tf-two-series.tif", foreign=True)


def test_an_error_about_a_value_names_its_type():
    with pytest.raises(VelmoImageError, match="1e\\+300 .* does not fit into real32$"):
        velmo_image.imread(IMPORT / "tf-float64-large.tif", foreign=True, lossy=True)


def test_a_file_name_in_an_error_stays_as_it_is():
    with pytest.raises(VelmoImageError, match='Cannot import "no --lossy file.tif": .*No such file'):
        velmo_image.imread("no --lossy file.tif", foreign=True)


@pytest.mark.parametrize(
    "name, arguments",
    [
        ("tf-tiled-u1-le.tif", ""),
        ("tf-planar-le.tif", ""),
        ("tf-float64-le.tif", ", lossy=True"),
        ("tf-two-series.tif", ", series=0"),
        ("py-logluv.tif", ", to_rgb=True"),
    ],
)
def test_an_error_that_the_import_cures_ends_with_the_call(name, arguments, caplog):
    path = str(IMPORT / name)
    line = f"To import the file: velmo_image.imread({path!r}, foreign=True{arguments}), or velmo_image.import_tiff"

    def read_lazily():
        with velmo_image.open(path) as lazy:
            lazy[...]

    for call in lambda: velmo_image.imread(path), read_lazily:
        caplog.clear()
        with pytest.raises(VelmoImageError) as raised:
            call()
        lines = str(raised.value).splitlines()
        assert lines[-1] == line and path in lines[0]
        assert raised.value.message_ids and raised.value.filename == path
        assert str(pickle.loads(pickle.dumps(raised.value))) == str(raised.value)
        errors = [record for record in caplog.records if record.levelno == logging.ERROR]
        assert len(errors) <= 1  # the search for the call logs nothing
    if name != "py-logluv.tif":  # its pixels are damaged
        assert eval(line[line.index("velmo_image") : line.index(", or")]).size


@pytest.mark.parametrize("name", ["tf-complex64.tif", "py-unknown-codec.tif", "no such file.tif"])
def test_an_error_that_the_import_does_not_cure_has_no_such_line(name):
    with pytest.raises(VelmoImageError) as raised:
        velmo_image.imread(IMPORT / name)
    assert "import" not in str(raised.value).replace(str(IMPORT), "")


def test_arguments_that_do_not_fit_have_no_such_line(stack):
    with pytest.raises(VelmoImageError) as raised:
        velmo_image.imread_raw(stack[0], (2**20, 2**20), "uint8", axes="YX")
    assert "import" not in str(raised.value)


def test_a_file_of_the_library_is_imported_as_it_is(stack):
    path, pixels = stack
    image = velmo_image.imread(path, foreign=True)
    np.testing.assert_array_equal(image, pixels)
    assert (image.changes, image.pixel_size, image.unit) == ((), (1.5, 0.5, 0.25), "um")


def test_the_image_shares_its_memory_and_can_be_changed_and_pickled():
    image = velmo_image.imread(IMPORT / "tf-tiled-u2-le.tif", foreign=True)
    pixels = np.asarray(image)
    assert np.shares_memory(pixels, np.asarray(image))
    copy = pickle.loads(pickle.dumps(image))
    assert copy.changes == image.changes and copy.changes[0].kind == "tiles"
    expected = pixels.copy()
    del image
    gc.collect()
    np.testing.assert_array_equal(pixels, expected)
    pixels[...] = 7
    np.testing.assert_array_equal(copy, expected)


def test_an_existing_output_is_replaced_and_kept_after_an_error():
    pathlib.Path("out.tif").write_bytes(b"old")
    with pytest.raises(VelmoImageError):
        velmo_image.import_tiff(IMPORT / "py-damaged-tile.tif", "out.tif")
    assert pathlib.Path("out.tif").read_bytes() == b"old" and os.listdir() == ["out.tif"]
    velmo_image.import_tiff(IMPORT / "tf-tiled-u1-le.tif", b"out.tif")
    assert velmo_image.imread("out.tif").dtype == np.uint8


@pytest.mark.parametrize("compression", [None, "none", "lzw", "deflate"])
def test_the_output_is_compressed(compression):
    velmo_image.import_tiff(IMPORT / "tf-tiled-u1-le.tif", "out.tif", compression=compression, threads=2)
    expected = velmo_image.imread(IMPORT / "tf-tiled-u1-le.tif", foreign=True, threads=1)
    np.testing.assert_array_equal(velmo_image.imread("out.tif"), expected)
    tag = int.from_bytes(dict(read_tags("out.tif"))[259][:2], "little")
    assert tag == {"lzw": 5, "deflate": 32946}.get(compression, 1)


def read_tags(path):
    """Number and value field of the tags of the first directory of a little-endian file."""
    content = pathlib.Path(path).read_bytes()
    start = int.from_bytes(content[4:8], "little")
    for number in range(int.from_bytes(content[start : start + 2], "little")):
        entry = content[start + 2 + 12 * number :][:12]
        yield int.from_bytes(entry[:2], "little"), entry[8:]


def test_the_input_is_not_replaced():
    shutil.copy(IMPORT / "tf-tiled-u1-le.tif", "in.tif")
    content = pathlib.Path("in.tif").read_bytes()
    with pytest.raises(VelmoImageError, match="it is the input"):
        velmo_image.import_tiff("in.tif", "./in.tif")
    assert pathlib.Path("in.tif").read_bytes() == content


def test_names_that_are_not_utf8_are_those_of_the_files():
    name = os.fsdecode(b"tiles \xff.tif")
    shutil.copy(IMPORT / "tf-tiled-u1-le.tif", name)
    with pytest.raises(VelmoImageError) as raised:
        velmo_image.imread(name)
    line = str(raised.value).splitlines()[-1]
    assert eval(line[line.index("velmo_image") : line.index(", or")]).changes[0].kind == "tiles"
    output = os.fsdecode(b"rows \xff.tif")
    assert velmo_image.import_tiff(name, output).outputs == (output,)
    assert velmo_image.open(output).dtype == np.uint8


def test_a_full_disk_is_an_error():
    with pytest.raises(VelmoImageError, match='"/dev/full"(?s:.*)No space left on device'):
        velmo_image.import_tiff(IMPORT / "tf-tiled-u1-le.tif", "/dev/full")


def test_an_output_that_cannot_be_written_is_named():
    with pytest.raises(VelmoImageError, match='"/nowhere/out.tif": .*No such file'):
        velmo_image.import_tiff(IMPORT / "tf-tiled-u1-le.tif", "/nowhere/out.tif")


@pytest.mark.parametrize(
    "arguments",
    [
        {"palette": "colours"},
        {"series": -1},
        {"series": 2**64},
        {"pages": -1},
        {"pages": range(3, 3)},
        {"pages": range(0, 4, 2)},
        {"pages": range(3, 0, -1)},
        {"pages": range(-2, 2)},
        {"pages": range(0, 2**64 + 1)},
        {"threads": 0},
        *({"axes": axes} for axes in ("", "y", "zz", "cz=", "cz=2,3,4", "czt=2", "z=0", "z=-1", "Z", "z=2,", "z=²")),
        {"axes": f"z={2**64}"},
    ],
    ids=str,
)
def test_arguments_that_are_not_valid(arguments):
    path = IMPORT / "tf-tiled-stack.tif"
    with pytest.raises(ValueError, match=next(iter(arguments))) as raised:
        velmo_image.import_tiff(path, "out.tif", **arguments)
    assert not isinstance(raised.value, VelmoImageError)
    with pytest.raises(ValueError):
        velmo_image.imread(path, foreign=True, **arguments)


def test_arguments_of_other_reads_are_not_ignored():
    path = IMPORT / "tf-tiled-stack.tif"
    for name, value in {"directories": "t", "pixels": "label"}.items():
        with pytest.raises(ValueError, match=name):
            velmo_image.imread(path, foreign=True, **{name: value})
    for name, value in {"series": 0, "pages": 0, "axes": "t", "palette": "rgb", "lossy": True}.items():
        with pytest.raises(ValueError, match=f"{name} needs foreign=True"):
            velmo_image.imread(path, **{name: value})
    with pytest.raises(ValueError, match="compression"):
        velmo_image.import_tiff(path, "out.tif", compression="zip")
    with pytest.raises(ValueError, match="Im6"):
        velmo_image.import_tiff(path, "out.im6")
    with pytest.raises(TypeError):
        velmo_image.import_tiff(path, "out.tif", pages=(0, 1))


def test_the_axes_of_the_caller_are_those_of_the_image():
    path = IMPORT / "tf-tiled-stack.tif"
    stack = np.asarray(velmo_image.imread(path, foreign=True))
    image = velmo_image.imread(path, foreign=True, axes="t")
    assert image.sizes["T"] == stack.shape[2] > 1
    np.testing.assert_array_equal(image, stack.swapaxes(0, 2))
    part = velmo_image.imread(path, foreign=True, pages=range(1, 2))
    np.testing.assert_array_equal(part, stack[:, :, 1:2])


def test_many_threads_import_at_once():
    def work(name):
        for _ in range(5):
            require_entry(velmo_image.imread(IMPORT / name, foreign=True), EXPECTED[name])
        done.append(name)

    done = []
    names = ["tf-tiled-u2-le.tif", "tf-planar-be.tif", "ij-hyperstack-be.tif", "tf-ome-le.ome.tif"] * 2
    threads = [threading.Thread(target=work, args=(name,)) for name in names]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert sorted(done) == sorted(names)


def test_damaged_files_are_errors_or_images():
    source = np.random.default_rng(3)
    for name in sorted(IMPORTED)[::4]:
        content = bytearray((IMPORT / EXPECTED[name]["file"]).read_bytes())
        for place in source.integers(0, len(content), 4):
            content[place] = source.integers(0, 256)
        pathlib.Path("damaged.tif").write_bytes(content)
        for call in (
            lambda: velmo_image.imread("damaged.tif", foreign=True),
            lambda: velmo_image.imread("damaged.tif"),
        ):
            try:
                call()
            except VelmoImageError as error:
                assert "damaged.tif" in str(error)
