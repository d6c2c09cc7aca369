# SPDX-FileCopyrightText: The VELMOImageFile authors
# SPDX-License-Identifier: Apache-2.0
"""run_commands.py VELMO-IMAGE FOLDER: runs the velmo-image commands of README.md and docs/, in their order, page by page
in a new folder with the files that the pages speak of. Each must end with status 0. A block of text behind
<!-- output --> is what the commands of the block before it print."""

import os
import pathlib
import re
import shutil
import struct
import subprocess
import sys

import pages

WIDTH, HEIGHT, PLANES, OFFSET = 181, 217, 181, 352
FOREIGN = {"cells.ome.tif": "tf-ome-le.ome.tif", "hyperstack.tif": "ij-hyperstack-be.tif",
           "height.tif": "tf-tiled-f4-le.tif", "slide.tif": "vips-pyramid.tif", "scan.tif": "py-white-1-bit.tif"}
SHELL = re.compile(r"^```shell\n(.*?)^```$(?:\n+<!-- output -->\n```text\n(.*?)^```$)?", re.MULTILINE | re.DOTALL)


def make_plane(z):
    return bytes((x + z) % 251 for x in range(WIDTH)) * HEIGHT


def make_tiff(pixels):
    """A little-endian file of one strip: a grey plane of 8 bits."""
    tags = {256: WIDTH, 257: HEIGHT, 258: 8, 259: 1, 262: 1, 273: 8, 277: 1, 278: HEIGHT, 279: len(pixels)}
    entries = b"".join(struct.pack("<HHII", tag, 4, 1, value) for tag, value in tags.items())
    directory = struct.pack("<H", len(tags)) + entries + struct.pack("<I", 0)
    return struct.pack("<2sHI", b"II", 42, 8 + len(pixels)) + pixels + directory


def prepare(folder):
    """A volume behind a header, its planes as numbered files, and the steps between them."""
    shutil.rmtree(folder, ignore_errors=True)
    (folder / "planes").mkdir(parents=True)
    planes = [make_plane(z) for z in range(PLANES)]
    (folder / "ch2.nii").write_bytes(bytes(OFFSET) + b"".join(planes))
    for z, plane in enumerate(planes):
        (folder / "planes" / f"z{z}.tif").write_bytes(make_tiff(plane))
    for name, source in FOREIGN.items():
        shutil.copy(pages.ROOT / "tests/data/import" / source, folder / name)
    (folder / "steps.txt").write_text("".join("1\n" if z < 90 else "2\n" for z in range(PLANES - 1)))


def find_commands(block):
    lines = re.sub(r"\\\n\s*", " ", block).splitlines()
    return [line for line in lines if line.startswith("velmo-image ")]


def run_page(page, tool, folder):
    name = page.relative_to(pages.ROOT)
    environment = {**os.environ, "PATH": f"{tool.parent}:{os.environ['PATH']}", "COLUMNS": "80"}
    for block, output in SHELL.findall(page.read_text()):
        printed = ""
        for command in find_commands(block):
            run = subprocess.run(command, shell=True, cwd=folder, env=environment, capture_output=True, text=True)
            printed += run.stdout
            if run.returncode != 0:
                yield f"{name}: status {run.returncode} of {command}\n{run.stderr}"
        if output and printed != output:
            yield f"{name}: the page shows\n{output}and the command prints\n{printed}"


def main():
    tool, folder = pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2])
    problems = []
    for page in pages.find_pages():
        if any(find_commands(block) for block, _ in SHELL.findall(page.read_text())):
            prepare(folder)
            problems += run_page(page, tool, folder)
    shutil.rmtree(folder, ignore_errors=True)
    return pages.end(problems)


sys.exit(main())
