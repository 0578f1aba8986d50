#!/usr/bin/env python3
"""Checks the list of error codes: unique, current in qverror.h, and known wherever it is documented.

Usage: errors.py SOURCE_DIR BUILD_DIR
"""
import pathlib
import re
import subprocess
import sys

ENTRY = re.compile(r'^QV_ERROR_ENTRY\((\w+), 0x([0-9A-F]{8}), "([^"\\]+)"\)$')
MENTION = re.compile(r"\bQV_ERROR_[A-Z0-9_]*[A-Z0-9]\b")
FIRST_CODE, LAST_CODE = 0x80040001, 0x8004FFFF


def repeated(values):
    return sorted({value for value in values if values.count(value) > 1})


def check_list(path):
    """The names in the list, and what is wrong with it."""
    names, codes, findings = [], [], []
    for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
        if not line.strip() or line.startswith("//"):
            continue
        match = ENTRY.match(line)
        if match is None:
            findings.append(f"{path.name}:{number}: not an entry: {line}")
            continue
        names.append(match[1])
        codes.append(int(match[2], 16))
        if not FIRST_CODE <= codes[-1] <= LAST_CODE:
            findings.append(f"{path.name}:{number}: the code is not 0x80040000 plus a number")
    if not names:
        findings.append(f"{path.name}: no entries")
    findings += [f"{path.name}: the name {name} twice" for name in repeated(names)]
    findings += [f"{path.name}: the code 0x{code:08X} twice" for code in repeated(codes)]
    return names, findings


def main():
    root = pathlib.Path(sys.argv[1])
    include = root / "src/http/dll/include"
    names, findings = check_list(include / "error_codes.def")

    generator = root / "cmake/generate_error_header.py"
    check = subprocess.run([sys.executable, str(generator), str(include / "error_codes.def"),
                            str(include / "qverror.h"), "--check"], check=False)
    if check.returncode != 0:
        findings.append("qverror.h: not what generate_error_header.py makes of error_codes.def")

    known = {"QV_ERROR_" + name for name in names} | {"QV_ERROR_ENTRY"}
    documents = [*sorted(include.glob("qvhttp12*.h")), root / "README.md", *sorted((root / "docs").glob("**/*.md"))]
    for document in documents:
        if document.exists():
            text = document.read_text(encoding="utf-8")
            findings += [f"{document.relative_to(root)}: {name} is no error code"
                         for name in sorted(set(MENTION.findall(text)) - known)]

    print("\n".join(findings) if findings else f"{len(names)} error codes are in order")
    return 1 if findings else 0


if __name__ == "__main__":
    sys.exit(main())
