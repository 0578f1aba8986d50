#!/usr/bin/env python3
"""Writes include/qverror.h, the public error constants, from include/error_codes.def.

Usage: generate_error_header.py LIST HEADER [--check]
With --check nothing is written; the exit code tells whether HEADER is current.
"""
import re
import sys

ENTRY = re.compile(r'QV_ERROR_ENTRY\((\w+), (0x[0-9A-F]{8}), "(.*)"\)')


def header(entries):
    lines = [
        "/*",
        " * Error codes of QVHTTP12, as HttpGetLastError returns them. Each line gives the text that",
        " * HttpGetErrorString has for the code. Generated from error_codes.def; do not edit.",
        " */",
        "#ifndef QVERROR_H",
        "#define QVERROR_H",
        "",
        "#include <stdint.h>",
        "",
    ]
    for name, code, text in entries:
        lines.append(f"/* {text} */")
        lines.append(f"#define QV_ERROR_{name} ((uint32_t){code}u)")
    lines += ["", "#endif /* QVERROR_H */", ""]
    return "\n".join(lines)


def main():
    source, target = sys.argv[1:3]
    with open(source, encoding="utf-8") as f:
        entries = ENTRY.findall(f.read())
    text = header(entries)
    if "--check" in sys.argv:
        with open(target, encoding="utf-8") as f:
            return 0 if f.read() == text else 1
    with open(target, "w", encoding="utf-8") as f:
        f.write(text)
    return 0


if __name__ == "__main__":
    sys.exit(main())
