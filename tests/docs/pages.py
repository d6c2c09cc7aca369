# SPDX-FileCopyrightText: The VELMOImageFile authors
# SPDX-License-Identifier: Apache-2.0
"""What the checks of the documentation share: its pages, and their blocks of code."""

import pathlib
import re
import textwrap

ROOT = pathlib.Path(__file__).resolve().parents[2]
FENCE = re.compile(r"^```(\w*)\n(.*?)^```$", re.MULTILINE | re.DOTALL)
SOURCE = re.compile(r"<!-- ((?:python/)?examples/[\w./]+)(?: \[([^\]]+)\])? -->\n$")


def find_pages():
    """README and all pages under docs/, the README first."""
    return [ROOT / "README.md"] + sorted((ROOT / "docs").rglob("*.md"))


def find_blocks(text):
    """Each fenced block as (language, content, source or None, start of the content)."""
    for block in FENCE.finditer(text):
        source = SOURCE.search(text[: block.start()])
        yield block[1], block[2], source and source.groups(), block.start(2)


def strip_code(text):
    """The text without its blocks and code spans, in which nothing is a link."""
    return re.sub(r"`[^`\n]*`", "", FENCE.sub("", text))


def read_region(file, region):
    """The lines between two equal markers `// [region]` (or `# [region]`), or the whole file, not indented."""
    text = (ROOT / file).read_text()
    if region is None:
        return text
    marker = re.compile(r"^[ \t]*(?://|#) \[" + re.escape(region) + r"\]\n", re.MULTILINE)
    pieces = marker.split(text)
    if len(pieces) != 3:
        raise SystemExit(f"{file}: the marker [{region}] stands {len(pieces) - 1} times, and not twice")
    return textwrap.dedent(pieces[1])


def find_regions(file):
    """The names of all regions of a file."""
    return set(re.findall(r"^[ \t]*(?://|#) \[([^\]]+)\]$", file.read_text(), re.MULTILINE))


def end(problems):
    """Tells the problems; the exit status says whether there are any."""
    for problem in problems:
        print(problem)
    return 1 if problems else 0
