#!/usr/bin/env python3
# SPDX-FileCopyrightText: The VELMOImageFile authors
# SPDX-License-Identifier: Apache-2.0
"""check_contract.py [--root FOLDER] [LIBRARY]: the module uses of its host only what host/CONTRACT.md lists.

Checked are the host headers that src/ and include/ include; the names in them that installed headers of host/ declare; and
the undefined symbols of LIBRARY, a libVELMOImageFile.so. A listed name that the module does not use is an error too."""

import argparse
import pathlib
import re
import subprocess
import sys

HOST_HEADER = r"VELMO(?!Base/|ImageFile/)\w+/\w+\.h"
INCLUDE = re.compile(rf'#include [<"]({HOST_HEADER})[>"]')
ROW = re.compile(rf"^\| `({HOST_HEADER})` \| ([^|]*) \|", re.M)
WORD = re.compile(r"[A-Za-z_]\w*")
NOT_CODE = re.compile(r'//[^\n]*|/\*.*?\*/|#include[^\n]*|"(?:\\.|[^"\\\n])*"', re.S)
# Names that a header declares.
FUNCTION = re.compile(r"(?:(?!\b(?:return|else|throw|new)\b)\b\w+|[>&*\]])[\s&*]+(\w+)\s*\(")
TYPE = re.compile(r"\b(?:class|struct|enum class|enum|using)\s+(?:VELMO_\w+_EXPORT\s+)?(\w+)\s*(?=[{:=;])")
ENUMERATORS = re.compile(r"\benum\s+\w+[^{};]*\{([^}]*)\}")
CONSTANT = re.compile(r"\b([gs]_\w+|VELMO_HERE)\b")
# Also names of parameters of templates, of the standard library, or of any class.
COMMON = {"T", "Domain", "Image", "Strip", "Value", "domain", "operator", "name"}


def strip(text):
    """Code without comments, texts and includes."""
    return NOT_CODE.sub(" ", text)


def declared_names(code):
    names = set(FUNCTION.findall(code)) | set(TYPE.findall(code)) | set(CONSTANT.findall(code))
    for body in ENUMERATORS.findall(code):
        names.update(re.findall(r"(\w+)\s*(?:=[^,]*)?(?:,|$)", body))
    return names - COMMON


def read_contract(text):
    """The listed headers, and the names as "name" and "Class::member"."""
    headers = set()
    names = set()
    for header, cell in ROW.findall(text):
        headers.add(header)
        for part in cell.split(";"):
            owner = re.match(r"\s*`([^`]+)`:", part)
            listed = re.findall(r"`([^`]+)`", part)
            names.update(listed[:1] if owner else listed)
            names.update(f"{owner[1]}::{member}" for member in listed[1:] if owner)
    return headers, names


def read_sources(*folders):
    return {
        path: path.read_text()
        for folder in folders
        for path in sorted(folder.rglob("*"))
        if path.suffix in (".h", ".cpp") and "detail" not in path.parts
    }


def entity(symbol):
    """Class and member, or the name alone, of a demangled symbol; the class of what a compiler generates for one."""
    symbol = re.sub(r"^(typeinfo|vtable|VTT|(?:non-)?virtual thunk) (for|to) ", "", symbol)
    symbol = re.sub(r"\[abi:\w+\]", "", symbol)
    while re.search(r"<[^<>]*>", re.sub(r"operator<<", "operator__", symbol)):
        hidden = symbol.replace("operator<<", "operator__")
        symbol = re.sub(r"<[^<>]*>", "", hidden).replace("operator__", "operator<<")
    symbol = re.sub(r"\(.*", "", symbol).split(" ")[-1]
    parts = [part for part in symbol.split("::") if part[:1] != "~"]
    parts = parts[:-1] if len(parts) > 1 and parts[-1] == parts[-2] else parts
    return "::".join(parts[-2:] if len(parts) > 1 and parts[-2][:1].isupper() else parts[-1:])


def undefined_symbols(library):
    text = subprocess.run(["nm", "-DC", "--undefined-only", library], check=True, capture_output=True, text=True).stdout
    symbols = (line.split(maxsplit=1)[1] for line in text.splitlines() if line.strip())
    return sorted({symbol for symbol in symbols if re.search(r"\bvelmo::", symbol)})


def check_headers(module, listed):
    return [
        f"{path}: includes {header}, which the contract does not list"
        for path, text in module.items()
        for header in INCLUDE.findall(text)
        if header not in listed
    ]


def check_names(module, declared, own, listed):
    simple = {name.split("::")[-1] for name in listed}
    return [
        f"{path}: uses {word} of the host, which the contract does not list"
        for path, text in module.items()
        for word in sorted(set(WORD.findall(strip(text))) & declared - own - simple)
    ]


def check_symbols(symbols, words, listed):
    """Symbols that no source names belong to base classes and to inline code of the host: another host has its own."""
    simple = {name.split("::")[-1] for name in listed} | {"operator<<"}
    return [
        f"the library needs {symbol}: the contract does not list {entity(symbol)}"
        for symbol in symbols
        if set(entity(symbol).split("::")) <= words and entity(symbol).split("::")[-1] not in simple
    ]


def check_listed(listed, words, declared):
    owners = {name.split("::")[0] for name in listed if "::" in name}
    names = {name: name.split("::")[-1] for name in sorted(listed - owners) if "operator" not in name}
    return [
        f"the contract lists {name}, which the module does not use" for name in names if names[name] not in words
    ] + [f"the contract lists {name}, which no header declares" for name in names if names[name] not in declared]


def check(root, symbols):
    headers, listed = read_contract((root / "host" / "CONTRACT.md").read_text())
    module = read_sources(root / "src", root / "include")
    host = read_sources(root / "host")
    declared = set().union(*(declared_names(strip(text)) for path, text in host.items() if path.suffix == ".h"))
    own = read_sources(root / "src", root / "include", root / "base")
    own = set().union(*(declared_names(strip(text)) for text in own.values()))
    words = set().union(*(WORD.findall(strip(text)) for text in module.values()))
    return (
        check_headers(module, headers)
        + check_names(module, declared, own, listed)
        + check_symbols(symbols, words, listed)
        + check_listed(listed, words, declared)
    )


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--root", type=pathlib.Path, default=pathlib.Path(__file__).resolve().parents[1])
    parser.add_argument("library", nargs="?")
    arguments = parser.parse_args()
    wrong = check(arguments.root, undefined_symbols(arguments.library) if arguments.library else [])
    if wrong:
        print(*wrong, "See host/CONTRACT.md.", sep="\n", file=sys.stderr)
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
