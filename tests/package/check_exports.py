# SPDX-FileCopyrightText: The VELMOImageFile authors
# SPDX-License-Identifier: Apache-2.0
"""check_exports.py PREFIX BESIDES: what the installed libraries show is velmo's, and is declared in an installed header
or named in the list BESIDES."""

import pathlib
import re
import subprocess
import sys

# A mangled name: what of it (vtable, type information, thunk...), then its parts, each behind its length.
SYMBOL = re.compile(r"_Z(?:T[ISVT]|T[hvc][0-9a-z_]*_)?NK?(5velmo.*)")
OPERATORS = {"ls": "operator<<", "rs": "operator>>", "eq": "operator==", "ne": "operator!=", "lt": "operator<"}
TYPE = re.compile(r"(?<!<)(?<!, )\b(?:class|struct|enum|namespace)\s+(?:VELMO_\w+_EXPORT\s+)?(\w+)\b[^;()]*?{")
EXPORT = re.compile(r"VELMO_\w+_EXPORT[^;{}(]*?(operator[^\w(]+|\w+)\s*[(;]")


def shown_symbols(library):
    text = subprocess.run(["nm", "-D", "--defined-only", library], check=True, capture_output=True, text=True).stdout
    return [line.split()[2] for line in text.splitlines()]


def entity(mangled):
    """The class or free function that a symbol belongs to, with its namespaces: those are in lower case."""
    parts = []
    while not parts or parts[-1].islower():
        length = re.match(r"\d+", mangled)
        if not length:
            parts.append(OPERATORS.get(mangled[:2], mangled))
            break
        end = length.end() + int(length[0])
        parts.append(mangled[length.end() : end])
        mangled = mangled[end:]
        if mangled[:1] in "EBI":
            break
    return "::".join(parts)


def declared_names(headers):
    """Names of the classes that headers define, and of the functions and objects that they export."""
    names = set()
    for header in headers:
        text = re.sub(r"//.*", "", header.read_text())
        names.update(TYPE.findall(text))
        names.update(EXPORT.findall(text))
    return names


def main(prefix, besides):
    lines = pathlib.Path(besides).read_text().splitlines()
    listed = {line for line in lines if line and not line.startswith("#")}
    declared = declared_names((prefix / "include" / "velmo").rglob("*.h"))
    wrong = []
    shown = set()
    libraries = ["libVELMOHost.so", "libVELMOImageFile.so"]
    libraries += [library.name for library in (prefix / "lib").glob("libvelmoimagefile-mpi.so")]  # with VELMO_MPI
    for library in libraries:
        for symbol in shown_symbols(prefix / "lib" / library):
            match = SYMBOL.fullmatch(symbol)
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
