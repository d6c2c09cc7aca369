# SPDX-FileCopyrightText: The VELMOImageFile authors
# SPDX-License-Identifier: Apache-2.0
"""Help for the tests of velmo_image."""

import os
import pathlib
import subprocess
import sys
import textwrap

import numpy as np
import pytest

ROOT = pathlib.Path(__file__).resolve().parents[2]
FOREIGN = ROOT / "tests" / "data" / "tiff"
DTYPES = ("int8", "uint8", "int16", "uint16", "int32", "uint32", "float32")


def make_array(shape, dtype="uint16", seed=1):
    """Random pixels over the whole range of the type."""
    random = np.random.default_rng(seed)
    kind = np.dtype(dtype)
    if kind == np.bool_:
        return random.integers(0, 2, shape).astype(bool)
    if kind.kind == "f":
        return random.standard_normal(shape).astype(kind)
    limits = np.iinfo(kind)
    return random.integers(limits.min, limits.max, shape, kind, endpoint=True)


def run_python(code, folder, *arguments, command=(), check=True, timeout=120):
    """Runs code in a process of its own, after the words of `command`; returns what subprocess.run returns."""
    done = subprocess.run(
        [*command, sys.executable, "-c", textwrap.dedent(code), *map(str, arguments)],
        cwd=folder,
        capture_output=True,
        text=True,
        timeout=timeout,
    )
    assert not check or done.returncode == 0, done.stdout + done.stderr
    return done


@pytest.fixture(autouse=True)
def in_empty_folder(tmp_path, monkeypatch):
    """Each test runs in a folder of its own."""
    monkeypatch.chdir(tmp_path)


@pytest.fixture
def stack(tmp_path):
    """The path of a TIFF file of five dimensions, and its pixels."""
    import velmo_image

    pixels = make_array((2, 3, 4, 21, 17))
    path = tmp_path / "stack.tif"
    velmo_image.imwrite(path, pixels, compression="lzw", pixel_size=(1.5, 0.5, 0.25), unit="um")
    return path, pixels


def count_handles(path):
    """How often this process has opened a file."""
    names = (f"/proc/self/fd/{number}" for number in os.listdir("/proc/self/fd"))
    return sum(os.path.exists(name) and os.path.samefile(name, path) for name in names)


@pytest.fixture
def under_sanitizer():
    """Whether a sanitizer watches this process: see LD_PRELOAD in CMakeLists.txt."""
    return "asan" in os.environ.get("LD_PRELOAD", "")
