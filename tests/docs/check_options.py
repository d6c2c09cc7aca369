# SPDX-FileCopyrightText: The VELMOImageFile authors
# SPDX-License-Identifier: Apache-2.0
"""check_options.py VELMO-IMAGE: docs/tool.md has a section for each command, and in its table every option and
argument that the --help of the command shows."""

import re
import subprocess
import sys

import pages


def run(tool, *arguments):
    return subprocess.run([tool, *arguments], capture_output=True, text=True, check=True).stdout


def find_helped(text):
    """Options of a help text as --name, and positional arguments by their names."""
    options = set(re.findall(r"^  (?:-\w,)?(--[\w-]+)", text, re.MULTILINE)) - {"--help"}
    positionals = text.partition("Positionals:\n")[2].partition("\n\n")[0]
    return options | set(re.findall(r"^  ([A-Z]+)\b", positionals, re.MULTILINE))


def find_told(section):
    """The names in the first column of the section's table."""
    return {name for row in re.findall(r"^\| `([^|]*) *\|", section, re.MULTILINE)
            for name in re.findall(r"--[\w-]+|(?<![\w-])[A-Z]{4,}", row)}


def main():
    tool = sys.argv[1]
    page = (pages.ROOT / "docs/tool.md").read_text()
    sections = dict(re.findall(r"^## (\w+)\b[^\n]*\n(.*?)(?=^## |\Z)", page, re.MULTILINE | re.DOTALL))
    commands = re.findall(r"^  ([a-z]+) ", run(tool, "--help").partition("Subcommands:\n")[2], re.MULTILINE)
    problems = [] if commands else ["velmo-image --help shows no commands"]
    for command in commands:
        helped = find_helped(run(tool, command, "--help"))
        told = find_told(sections.get(command, ""))
        problems += [f"docs/tool.md: the table of {command} lacks {name}" for name in sorted(helped - told)]
        problems += [f"docs/tool.md: {command} has no {name}" for name in sorted(told - helped)
                     if name.startswith("--")]  # the others are values
        if not any(name.isupper() for name in helped):
            problems.append(f"velmo-image {command} --help shows no arguments")
    return pages.end(problems)


sys.exit(main())
