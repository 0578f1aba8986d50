#!/usr/bin/env python3
"""Checks that the functions of the library agree everywhere they are listed.

Declared in the public headers == listed in exports.txt == exported by the built library; each A form has its
W form and each pair its name without suffix; A forms and functions without text are defined in an
api.cpp, W forms in the api_wide.cpp beside it.

Usage: exports.py SOURCE_DIR BUILD_DIR
"""
import pathlib
import re
import subprocess
import sys

COMMENT = re.compile(r"/\*.*?\*/|//[^\n]*", re.S)
DECLARATION = re.compile(r"^HTTPAPI\s[^;(]*?\bWINAPI\s+(\w+)\s*\(", re.M)
DEFINITION = re.compile(r"^[A-Za-z_][\w \t*]*?\bWINAPI\s+(Http\w+)\s*\([^;{]*\{", re.M)
API_FILE = re.compile(r"api(_\w+)?\.cpp")
WIDE_FILE = re.compile(r"api(_\w+)?_wide\.cpp")
VERSION = "QVHTTP12"


def differences(have, want, message):
    return [f"{name}: {message}" for name in sorted(set(have) - set(want))]


def repeated(names, where):
    return [f"{name}: twice in {where}" for name in sorted(set(names)) if names.count(name) > 1]


def exported(library):
    """The names that the built library defines for others, and findings about their versions."""
    output = subprocess.run(["nm", "-D", "--defined-only", str(library)], check=True,
                            capture_output=True, text=True).stdout
    names, findings = [], []
    for line in output.splitlines():
        _, kind, symbol = line.split()
        name, _, version = symbol.partition("@@")
        if kind == "A" and name.split("@")[0] == VERSION:
            continue
        if version != VERSION:
            findings.append(f"{symbol}: exported without the version {VERSION}")
        names.append(name)
    return names, findings


def check_twins(declared, header):
    findings = []
    for name in sorted(declared):
        if name[-1] not in "AW":
            continue
        base, twin = name[:-1], name[:-1] + ("W" if name[-1] == "A" else "A")
        if twin not in declared:
            findings.append(f"{name}: {twin} is not declared")
        if len(re.findall(rf"^#define {base} {name}$", header, re.M)) != 1:
            findings.append(f"{name}: not named {base} in exactly one place")
    return findings


def definitions(folder):
    """{name: [files]} of all definitions below a folder."""
    found = {}
    for path in sorted(folder.rglob("*.cpp")):
        for name in DEFINITION.findall(COMMENT.sub(" ", path.read_text(encoding="utf-8"))):
            found.setdefault(name, []).append(path)
    return found


def check_definitions(declared, folder):
    findings, found = [], definitions(folder)
    for name in sorted(declared):
        files = found.get(name, [])
        if len(files) != 1:
            places = ", ".join(str(f.relative_to(folder)) for f in files) or "nowhere"
            findings.append(f"{name}: defined in {places} instead of one place")
            continue
        file = files[0]
        twin = name[:-1] + "A"
        is_wide = name.endswith("W") and twin in declared
        in_wide = WIDE_FILE.fullmatch(file.name) is not None
        where = file.relative_to(folder)
        if not API_FILE.fullmatch(file.name) or is_wide != in_wide:
            findings.append(f"{name}: defined in {where}, belongs into an "
                            + ("api_wide.cpp" if is_wide else "api.cpp"))
        elif is_wide and file.parent not in [f.parent for f in found.get(twin, [])]:
            findings.append(f"{name}: defined in {where}, away from {twin}")
    return findings + differences(found, declared, "defined, but not declared in a public header")


def main():
    source, build = (pathlib.Path(argument) for argument in sys.argv[1:3])
    folder = source / "src/http/dll"
    header = "\n".join(path.read_text(encoding="utf-8")
                       for path in sorted((folder / "include").glob("qvhttp12*.h")))
    bare = COMMENT.sub(" ", header)
    declared = DECLARATION.findall(bare)
    listed = (folder / "include/exports.txt").read_text(encoding="utf-8").split()

    findings = repeated(declared, "the public headers") + repeated(listed, "exports.txt")
    marked = len(re.findall(r"^\s*HTTPAPI\b", bare, re.M))
    if marked != len(declared) or not declared:
        findings.append(f"public headers: {marked} times HTTPAPI, but {len(declared)} declarations")
    if listed != sorted(listed):
        findings.append("exports.txt: not sorted")
    findings += differences(declared, listed, "declared, but not in exports.txt")
    findings += differences(listed, declared, "in exports.txt, but not declared")
    findings += check_twins(set(declared), header)
    findings += check_definitions(set(declared), folder)

    library = build / "lib/libQVHTTP12.so"
    if library.exists():
        names, version_findings = exported(library)
        findings += version_findings
        findings += differences(names, declared, "exported, but not declared")
        findings += differences(declared, names, "declared, but not exported by the library")
    else:
        findings.append(f"{library}: not built")

    print("\n".join(findings) if findings else f"{len(declared)} functions agree")
    return 1 if findings else 0


if __name__ == "__main__":
    sys.exit(main())
