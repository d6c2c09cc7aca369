# SPDX-FileCopyrightText: The VELMOImageFile authors
# SPDX-License-Identifier: Apache-2.0
"""The examples run, and types and stubs are right."""

import importlib.metadata
import inspect
import os
import pathlib
import subprocess
import sys

import pytest
import velmo_image
from conftest import ROOT

PYTHON = ROOT / "python"
PACKAGE = pathlib.Path(velmo_image.__file__).parent
EXAMPLES = sorted((PYTHON / "examples").glob("*.py"))


def run(*command):
    environment = {name: value for name, value in os.environ.items() if name != "LD_PRELOAD"}
    done = subprocess.run(
        list(map(str, command)), capture_output=True, text=True, env={**environment, "MYPYPATH": str(PACKAGE.parent)}
    )
    assert done.returncode == 0, done.stdout + done.stderr


@pytest.mark.parametrize("example", EXAMPLES, ids=lambda path: path.name)
def test_an_example_runs(example):
    done = subprocess.run([sys.executable, "-W", "error::ResourceWarning", example], capture_output=True, text=True)
    assert done.returncode == 0, done.stdout + done.stderr
    assert done.stderr == "" or example.name == "errors_and_log.py"


def test_the_types_of_package_and_examples_are_right(under_sanitizer):
    if under_sanitizer:
        pytest.skip("nothing of the compiled part runs")
    mypy = [sys.executable, "-m", "mypy", "--config-file", PYTHON / "mypy.ini", "--cache-dir", "mypy"]
    run(*mypy, "-p", "velmo_image")
    run(*mypy, *EXAMPLES)


def test_the_stubs_are_those_of_the_compiled_part(under_sanitizer):
    if under_sanitizer:
        pytest.skip("nothing of the compiled part runs")
    run(
        sys.executable,
        "-m",
        "mypy.stubtest",
        "--mypy-config-file",
        PYTHON / "mypy.ini",
        "--allowlist",
        PYTHON / "stubtest-allowlist.txt",
        "velmo_image._core",
    )


def list_public_members():
    for name in velmo_image.__all__:
        public = getattr(velmo_image, name)
        yield name, public
        if isinstance(public, type):
            yield from ((f"{name}.{member}", getattr(public, member)) for member in vars(public) if member[0] != "_")


def test_everything_public_is_documented():
    assert [name for name, member in list_public_members() if not inspect.getdoc(member)] == []


def test_the_version_is_that_of_the_library():
    text = (ROOT / "CMakeLists.txt").read_text()
    assert f"VERSION {importlib.metadata.version('velmo_image')} " in text
    assert velmo_image.__version__ == importlib.metadata.version("velmo_image")
    with pytest.raises(AttributeError):
        velmo_image.other
