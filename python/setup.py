# SPDX-FileCopyrightText: The VELMOImageFile authors
# SPDX-License-Identifier: Apache-2.0
"""The compiled part of the package, for setuptools. The version is that of the installed library.

The library for imports, what it uses of tools/support, and its base are not installed: they are compiled into the
package, from the folders beside this one.
"""

import subprocess
from glob import glob

from pybind11.setup_helpers import Pybind11Extension
from setuptools import setup


def ask_pkg_config(*arguments):
    done = subprocess.run(["pkg-config", *arguments], check=True, stdout=subprocess.PIPE, text=True)
    return done.stdout.split()


IMPORT = "../tools/velmo-import"
SUPPORT = "../tools/support"
BASE = "../base"
LIBRARIES = ("velmo-image-file", "log4cplus", "libtiff-4", "pugixml")
# pkg-config leaves the folders of the system out. A library in any other folder is found at run time as well.
FOLDERS = [flag[2:] for flag in ask_pkg_config("--libs-only-L", *LIBRARIES)]

setup(
    version=ask_pkg_config("--modversion", "velmo-image-file")[0],
    ext_modules=[
        Pybind11Extension(
            "velmo_image._core",
            sorted(glob("src/*.cpp") + glob(f"{IMPORT}/*.cpp") + glob(f"{BASE}/VELMOBase/*.cpp"))
            + [f"{SUPPORT}/ReadOnlyAccessor.cpp"],
            include_dirs=[IMPORT, SUPPORT, BASE],
            cxx_std=17,
            extra_compile_args=ask_pkg_config("--cflags", *LIBRARIES),
            extra_link_args=ask_pkg_config("--libs", *LIBRARIES),
            libraries=["boost_filesystem"],
            runtime_library_dirs=FOLDERS,
        )
    ],
)
