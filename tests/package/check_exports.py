# SPDX-FileCopyrightText: The VELMOImageFile authors
# SPDX-License-Identifier: Apache-2.0
"""check_exports.py PREFIX BESIDES: what the installed libraries show is velmo's, and is declared in an installed header
or named in the list BESIDES."""

import pathlib
import re
import subprocess
import sys

DATA = r"(?:typeinfo (?:name )?for |vtable for |VTT for |guard variable for |(?:non-)?virtual thunk to |covariant return thunk to )"
NAME = re.compile(rf"{DATA}?(?:void )?(velmo::.*)")


def shown_symbols(library):
    text = subprocess.run(["nm", "-DC", "--defined-only", library], check=True, capture_output=True, text=True).stdout
    return [line[19:] for line in text.splitlines()]


def entity(name):
    """The class or free function that a symbol belongs to, with its namespaces: those are in lower case."""
    parts = re.match(r"(?:.*?\boperator(?:\(\)|[^\w(]+)|[^(<\[]+)", name)[0].split("::")
    namespaces = 0
    while namespaces < len(parts) - 1 and parts[namespaces].islower():
        namespaces += 1
    return "::".join(parts[: namespaces + 1])


def declared_names(headers):
    """Names of the classes that headers define, and of the functions and objects that they export."""
    names = set()
    for header in headers:
        text = re.sub(r"//.*", "", header.read_text())
        names.update(re.findall(r"(?<!<)(?<!, )\b(?:class|struct|enum|namespace)\s+(?:VELMO_\w+_EXPORT\s+)?(\w+)\b[^;()]*?{", text))
        names.update(re.findall(r"VELMO_\w+_EXPORT[^;{}(]*?(operator[^\w(]+|\w+)\s*[(;]", text))
    return names


def main(prefix, besides):
    lines = pathlib.Path(besides).read_text().splitlines()
    listed = {line for line in lines if line and not line.startswith("#")}
    declared = declared_names((prefix / "include" / "velmo").rglob("*.h"))
    wrong = []
    shown = set()
    for library in ("libVELMOHost.so", "libVELMOImageFile.so"):
        for symbol in shown_symbols(prefix / "lib" / library):
            match = NAME.fullmatch(symbol)
            if match:
                shown.add(entity(match[1]))
            else:
                wrong.append(f"{library} shows what is not velmo's: {symbol}")
    private = {name for name in shown if name.split("::")[-1] not in declared}
    wrong += [f"shown, and in no installed header: {name}" for name in sorted(private - listed)]
    wrong += [f"listed, and not shown or in an installed header: {name}" for name in sorted(listed - private)]
    print(f"{len(shown)} names", *wrong, sep="\n")
    return 1 if wrong or not shown else 0


sys.exit(main(pathlib.Path(sys.argv[1]), sys.argv[2]))
