# SPDX-FileCopyrightText: The VELMOImageFile authors
# SPDX-License-Identifier: Apache-2.0
"""Disks that are full and files that may not be written."""

import os

import numpy as np
import pytest
import velmo_image
from conftest import make_array, run_python
from velmo_image import VelmoImageError

WRITES = {
    "imwrite": "velmo_image.imwrite('disk/a', pixels)",
    "imwrite deflate": "velmo_image.imwrite('disk/a', pixels, compression='deflate')",
    "imwrite_raw": "velmo_image.imwrite_raw('disk/a', pixels)",
}
# A disk of 256 KiB that only this process sees. Users other than root need a name space of users.
ON_SMALL_DISK = [
    "unshare",
    *(["-m"] if os.geteuid() == 0 else ["-rm"]),
    "sh",
    "-c",
    'mkdir -p disk && mount -t tmpfs -o size=256k none disk && exec "$@"',
    "sh",
]


@pytest.mark.parametrize("write", WRITES)
def test_a_full_disk_is_an_error_and_the_old_file_stays(write, tmp_path):
    if run_python("pass", tmp_path, command=ON_SMALL_DISK, check=False).returncode:
        pytest.skip("this process cannot mount a disk")
    code = f"""
        import os, numpy as np, velmo_image
        pixels = np.random.default_rng(1).integers(0, 65536, (1, 1, 8, 256, 256), "uint16")
        open("disk/a", "wb").write(b"old")
        try:
            {WRITES[write]}
        except velmo_image.VelmoImageError as error:
            print(str(error).splitlines()[-1], error.filename, os.listdir("disk"), open("disk/a", "rb").read())
        pixels = pixels[..., :8, :8].copy()
        {WRITES[write]}
        print(os.path.getsize("disk/a") >= 1024)
    """
    first, second = run_python(code, tmp_path, command=ON_SMALL_DISK).stdout.splitlines()
    assert "No space left on device" in first and first.endswith("disk/a ['a'] b'old'")
    assert second == "True"


@pytest.mark.parametrize("write", WRITES)
def test_a_limit_of_the_file_size_is_an_error(write, tmp_path):
    code = f"""
        import os, resource, numpy as np, velmo_image
        os.mkdir("disk")
        pixels = np.random.default_rng(1).integers(0, 65536, (1, 1, 8, 256, 256), "uint16")
        resource.setrlimit(resource.RLIMIT_FSIZE, (100000, 100000))
        try:
            {WRITES[write]}
        except velmo_image.VelmoImageError as error:
            print(str(error).splitlines()[-1], os.listdir("disk"))
    """
    printed = run_python(code, tmp_path).stdout
    assert "File too large" in printed and printed.endswith("[]\n")


def test_devices_are_written_and_full_ones_are_errors():
    velmo_image.imwrite_raw("/dev/null", make_array((1, 1, 1, 20, 30)))
    with pytest.raises(VelmoImageError, match="No space left on device"):
        velmo_image.imwrite_raw("/dev/full", make_array((1, 1, 1, 20, 30)))


def test_folders_that_do_not_exist_are_errors():
    for call in (
        lambda: velmo_image.imwrite("nowhere/a.tif", np.zeros((2, 2), "uint8"), axes="YX"),
        lambda: velmo_image.imwrite_raw("nowhere/a.raw", np.zeros((2, 2), "uint8"), axes="YX"),
    ):
        with pytest.raises(VelmoImageError, match="No such file or directory"):
            call()


def test_images_that_a_file_cannot_hold_are_errors(stack):
    with pytest.raises(VelmoImageError, match="32768"):
        velmo_image.imwrite(stack[0], np.zeros((32768, 1, 1), "uint8"), axes="ZYX")
    with pytest.raises(VelmoImageError, match="zero byte"):
        velmo_image.imwrite(stack[0], np.zeros((2, 2), "uint8"), axes="YX", user_properties="a\0b")
    np.testing.assert_array_equal(velmo_image.imread(stack[0]), stack[1])
