"""Writes the docstrings of the C++ headers as constants for the extension: one place for both languages.

Usage: docstrings.py FOLDER_OF_THE_HEADERS OUTPUT

For a class C and its members m there are doc::C and doc::C_m, from the /// lines above the declaration. Of overloads the
first that has such lines counts. References to tags of Doxygen become plain text.
"""

import pathlib
import re
import sys

FOLDERS = [
    "common",
    "distributions",
    "linalg",
    "output",
    "matrix",
    "eigen",
    "random",
    "accumulators",
    "variables",
    "pmml",
]


def plain(lines):
    text = "\n".join(lines)
    text = re.sub(r"@param (\w+)\s+", r"\1: ", text)
    text = re.sub(r"@return\s+", "Returns: ", text)
    return text.strip()


def docstrings(path):
    """Pairs of a name and its docstring."""
    current, pending = None, []
    for line in path.read_text().splitlines():
        stripped = line.strip()
        if stripped.startswith("///<"):
            continue
        if stripped.startswith("///"):
            pending.append(stripped[3:].removeprefix(" "))
            continue
        found = re.match(r"^(class|struct) MODELCORE_EXPORT (\w+)", line)
        if found:
            current = found.group(2)
            yield current, plain(pending)
        elif current and pending:
            member = re.match(r"^ {4}(?:[\w:<>&*,\s\[\]]+?[\s&*])?(\w+)\(", line)
            if member:
                yield f"{current}_{member.group(1)}", plain(pending)
        if line == "};":
            current = None
        pending = []


def main():
    headers, output = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])
    constants = {}
    for folder in FOLDERS:
        for path in sorted(headers.glob(f"{folder}/*.h")):
            for name, text in docstrings(path):
                if text:
                    constants.setdefault(name, text)
    lines = [
        "// Made by docstrings.py from the headers of modelcore.",
        "#pragma once",
        "",
        "namespace modelcore_python::doc {",
        "",
    ]
    for name, text in constants.items():
        lines.append(f'inline constexpr char {name}[] = R"doc({text})doc";')
    lines += ["", "} // namespace modelcore_python::doc", ""]
    output.parent.mkdir(parents=True, exist_ok=True)
    text = "\n".join(lines)
    if not output.exists() or output.read_text() != text:
        output.write_text(text)


main()
