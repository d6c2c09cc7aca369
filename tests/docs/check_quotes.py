# SPDX-FileCopyrightText: The VELMOImageFile authors
# SPDX-License-Identifier: Apache-2.0
"""check_quotes.py [--write]: every block of C++, CMake or Python in the documentation is a region of a file in examples/
or python/examples/, word for word, and every region is quoted somewhere. With --write the blocks are made so."""

import sys

import pages

QUOTED = ("cpp", "cmake", "python")
FOLDERS = ("examples", "python/examples")


def check_page(page, text, quoted):
    name = page.relative_to(pages.ROOT)
    for language, content, source, start in pages.find_blocks(text):
        line = text.count("\n", 0, start)
        if source is None:
            if language in QUOTED:
                yield f"{name}:{line}: a block of {language} without a source, <!-- examples/FILE [REGION] -->"
            continue
        quoted.add(source)
        if content != pages.read_region(*source):
            yield f"{name}:{line}: the block differs from {source[0]} [{source[1]}]: check_quotes.py --write"


def write_page(page, text):
    for _, content, source, start in reversed(list(pages.find_blocks(text))):
        if source:
            text = text[:start] + pages.read_region(*source) + text[start + len(content) :]
    page.write_text(text)


def main():
    problems = []
    quoted = set()
    for page in pages.find_pages():
        if "--write" in sys.argv:
            write_page(page, page.read_text())
        problems += check_page(page, page.read_text(), quoted)
    files = [(folder, file) for folder in FOLDERS for file in sorted((pages.ROOT / folder).glob("*.*"))]
    for folder, file in files:
        for region in sorted(pages.find_regions(file)):
            if (f"{folder}/{file.name}", region) not in quoted:
                problems.append(f"{folder}/{file.name}: no page quotes [{region}]")
    return pages.end(problems)


sys.exit(main())
