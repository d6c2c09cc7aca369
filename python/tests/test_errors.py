# SPDX-FileCopyrightText: The VELMOImageFile authors
# SPDX-License-Identifier: Apache-2.0
"""Errors and the log."""

import logging
import os
import pathlib
import pickle
import random
import threading

import numpy as np
import pytest
import velmo_image
from conftest import FOREIGN, make_array, run_python
from velmo_image import VelmoImageError, _core, _log


def test_an_error_has_the_text_the_file_and_the_number_of_the_message():
    with pytest.raises(OSError) as raised:
        velmo_image.imread("missing.tif")
    error = raised.value
    assert isinstance(error, VelmoImageError)
    lines = str(error).splitlines()
    assert '"missing.tif"' in lines[0] and "No such file or directory" in lines[-1]
    assert error.filename == "missing.tif"
    assert (error.domain, error.message_id) == ("eTiffImageFileMessage", 15) == error.message_ids[-1]
    assert error.message_ids[0] == ("eTiffImageFileMessage", 11)


def test_an_error_can_be_pickled():
    with pytest.raises(VelmoImageError) as raised:
        velmo_image.imread("missing.tif")
    copy = pickle.loads(pickle.dumps(raised.value))
    assert str(copy) == str(raised.value)
    assert (copy.filename, copy.domain) == ("missing.tif", "eTiffImageFileMessage")
    assert copy.message_ids == raised.value.message_ids


def test_an_error_without_a_message_of_the_library_has_no_number():
    error = VelmoImageError("text")
    assert (str(error), error.filename, error.domain, error.message_id) == ("text", None, "", -1)


def test_a_number_in_a_file_name_that_is_too_large_is_an_error():
    pathlib.Path("z99999999999999999999999.tif").touch()
    with pytest.raises(VelmoImageError, match="z9999"):
        velmo_image.imread_folder(".", "z<INDEX>.tif")


def test_a_pattern_that_is_not_valid_is_an_error():
    pathlib.Path("a.tif").touch()
    with pytest.raises(VelmoImageError, match="INDEX"):
        velmo_image.imread_folder(".", "<INDEX><INDEX>.tif")


@pytest.mark.parametrize("seed", range(20))
def test_damaged_files_are_errors_or_images(seed):
    source = random.Random(seed)
    names = [name for name in os.listdir(FOREIGN) if name.endswith(".tif")]
    for name in source.sample(sorted(names), 8):
        content = bytearray((FOREIGN / name).read_bytes())
        for _ in range(source.randint(1, 8)):
            content[source.randrange(len(content))] = source.randrange(256)
        del content[source.choice([len(content), source.randrange(len(content))]) :]
        pathlib.Path("damaged.tif").write_bytes(content)
        for function in velmo_image.imread, velmo_image.open:
            try:
                function("damaged.tif")[...]
            except VelmoImageError as error:
                assert "damaged.tif" in str(error)


def test_the_log_of_the_library_is_that_of_python(caplog):
    with caplog.at_level(logging.INFO, "velmo_image"):
        with pytest.raises(VelmoImageError) as raised:
            velmo_image.imread("missing.tif")
        velmo_image.imread(FOREIGN / "tf-resolution-zero.tif")
    error, warning = caplog.records
    assert (error.name, error.levelno, error.getMessage()) == ("velmo_image", logging.ERROR, str(raised.value))
    assert warning.levelno == logging.WARNING and "tf-resolution-zero.tif" in warning.getMessage()
    assert warning.pathname.endswith(".cpp") and warning.lineno > 0 and warning.created >= error.created


def test_records_of_other_levels_are_not_passed_on(caplog):
    with caplog.at_level(logging.ERROR, "velmo_image"):
        velmo_image.imread(FOREIGN / "tf-resolution-zero.tif")
    assert not caplog.records


def test_records_of_arguments_are_passed_on_too(caplog):
    with pytest.raises(VelmoImageError) as raised:
        velmo_image.imread_raw("a.raw", (1, 1, 1, 2**62, 2**62), "uint8")
    assert raised.value.filename is None
    assert [record.getMessage() for record in caplog.records] == [str(raised.value)]


def test_a_handler_that_fails_does_not_hide_the_result(monkeypatch):
    class Failing(logging.Handler):
        def emit(self, record):
            raise RuntimeError("the handler failed")

    unraisable = []
    monkeypatch.setattr("sys.unraisablehook", lambda error: unraisable.append(error.exc_value))
    handler = Failing()
    logging.getLogger("velmo_image").addHandler(handler)
    try:
        assert velmo_image.imread(FOREIGN / "tf-resolution-zero.tif").shape[3:] == (17, 37)
        with pytest.raises(VelmoImageError, match="missing.tif"):
            velmo_image.imread("missing.tif")
    finally:
        logging.getLogger("velmo_image").removeHandler(handler)
    assert [str(error) for error in unraisable] == ["the handler failed"] * 2


def test_a_handler_may_use_the_package(stack):
    class Reading(logging.Handler):
        def emit(self, record):
            read.append(velmo_image.imread(stack[0]).shape)

    read = []
    handler = Reading()
    logging.getLogger("velmo_image").addHandler(handler)
    try:
        velmo_image.imread(FOREIGN / "tf-resolution-zero.tif")
    finally:
        logging.getLogger("velmo_image").removeHandler(handler)
    assert read == [stack[1].shape]


def test_every_thread_has_its_records_in_the_log(caplog):
    def work():
        for _ in range(50):
            velmo_image.imread(FOREIGN / "tf-resolution-zero.tif")

    threads = [threading.Thread(target=work) for _ in range(8)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert len(caplog.records) == 400


def test_dropped_records_are_counted(caplog):
    _log.deliver([(logging.ERROR, "text", "file.cpp", 7, 1.0)], 3)
    assert [record.getMessage() for record in caplog.records] == ["text", "3 further records of the log were dropped"]


def test_nothing_is_printed(tmp_path):
    code = """
        import os, sys, numpy, velmo_image
        for name in sorted(os.listdir(sys.argv[1])):
            for directories in "zt":
                for function in velmo_image.imread, velmo_image.open:
                    try:
                        function(os.path.join(sys.argv[1], name), directories=directories)[...]
                    except velmo_image.VelmoImageError:
                        pass
        for call in (
            lambda: velmo_image.imwrite("/nowhere/a.tif", numpy.zeros((1, 1, 1, 2, 2), "uint8")),
            lambda: velmo_image.imread_raw("missing", (2,), "uint8", axes="X"),
            lambda: velmo_image.imread("missing.im6"),
            lambda: velmo_image.imread_folder("/nowhere", "*.tif"),
        ):
            try:
                call()
            except velmo_image.VelmoImageError:
                pass
        for compression in "none", "lzw", "deflate":
            velmo_image.imwrite("a.tif", numpy.zeros((1, 1, 1, 2, 2), "uint8"), compression=compression)
    """
    done = run_python(code, tmp_path, FOREIGN)
    assert (done.stdout, done.stderr) == ("", "")


def test_the_compiled_part_checks_what_it_is_given(stack):
    """A wrong call of the private functions is an error, and never an access to foreign memory."""
    description = _core.describe_array((1, 1, 1, 4, 5), "uint16", "grey")
    source = velmo_image.open(stack[0])._source
    for array in (
        np.zeros((1, 1, 1, 4, 4), "uint16"),
        np.zeros((1, 1, 1, 4, 5), "uint8"),
        np.zeros((1, 1, 1, 4, 5), ">u2"),
        np.zeros((1, 1, 1, 5, 4), "uint16").swapaxes(3, 4),
        np.zeros((4, 5), "uint16"),
    ):
        with pytest.raises(ValueError):
            _core.save_tiff(b"a.tif", array, description, "none", 0)
    out = np.empty((1, 1, 1, 2, 2), "uint16")
    for first, step in (
        ((0, 0, 0, 20, 0), (1,) * 5),
        ((0, 0, 0, 0, 0), (1, 1, 1, 1, 17)),
        ((0, 0, 0, 0, 0), (1, 1, 1, -1, 1)),
        ((0, 0, 0, 0, 2**64 - 1), (1,) * 5),
        ((0, 0, 0, 1, 1), (1, 1, 1, -(2**63), 1)),
        ((0, 0, 0, 1, 1), (1, 1, 1, 0, 1)),
    ):
        with pytest.raises(IndexError):
            source.read(first, step, out)
    with pytest.raises(IndexError):
        source.read((0, 0, 0, 21, 0), (1,) * 5, out[..., :1, :1].copy())
    for other in out.astype("uint8"), out[0], out.astype(">u2"):
        with pytest.raises(ValueError):
            source.read((0,) * 5, (1,) * 5, other)
    with pytest.raises(TypeError):
        _core.Description()
    with pytest.raises(TypeError):
        _core.Source()
