# SPDX-FileCopyrightText: The VELMOImageFile authors
# SPDX-License-Identifier: Apache-2.0
"""check_links.py: what the pages link to within the repository exists, headings included, and each ./dev TASK that they
name is one. ARCHITECTURE, CONTRIBUTING and CHANGELOG count as pages here."""

import re
import subprocess
import sys

import pages

LINK = re.compile(r"\[[^\]]*\]\(([^)\s]+)\)")


def find_anchors(text):
    """The anchors of all headings, as GitHub makes them."""
    headings = re.findall(r"^#+ (.*)$", pages.FENCE.sub("", text), re.MULTILINE)
    return {re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-") for heading in headings}


def check_link(page, link):
    path, _, anchor = link.partition("#")
    target = (page.parent / path).resolve() if path else page
    if not target.exists():
        return f"{page.relative_to(pages.ROOT)}: there is no {path}"
    if anchor and anchor not in find_anchors(target.read_text()):
        return f"{page.relative_to(pages.ROOT)}: {path} has no heading #{anchor}"
    return None


def find_tasks():
    usage = subprocess.run([pages.ROOT / "dev"], capture_output=True, text=True, check=True).stdout
    return set(re.findall(r"^  ([a-z]+)\b", usage, re.MULTILINE))


def main():
    problems = []
    tasks = find_tasks()
    others = [pages.ROOT / f"{name}.md" for name in ("ARCHITECTURE", "CONTRIBUTING", "CHANGELOG")]
    for page in pages.find_pages() + others:
        text = page.read_text()
        for link in LINK.findall(pages.strip_code(text)):
            if "://" not in link:
                problems.append(check_link(page, link))
        for task in re.findall(r"(?:^|`)\./dev ([a-z]+)", text, re.MULTILINE):
            if task not in tasks:
                problems.append(f"{page.relative_to(pages.ROOT)}: ./dev has no task {task}")
    return pages.end([problem for problem in problems if problem])


sys.exit(main())
