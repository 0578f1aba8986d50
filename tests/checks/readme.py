#!/usr/bin/env python3
"""Checks that the C code in README.md and docs/ compiles against the public headers.

A block with a main function stands for itself; others are statements, for which the variables below
are there.

Usage: readme.py SOURCE_DIR BUILD_DIR
"""
import pathlib
import re
import subprocess
import sys

BLOCK = re.compile(r"^```c\n(.*?)^```$", re.M | re.S)
FRAME = """
#include <qvhttp12.h>
#include <stdio.h>
#include <stdlib.h>
void CALLBACK OnProgress(HCLIENT client, UINT event, DWORD error, DWORD_PTR parameter);
void Fragment(HCLIENT client, HWND window, ULONGLONG bytes_already_there);
void Fragment(HCLIENT client, HWND window, ULONGLONG bytes_already_there) {
  (void)client, (void)window, (void)bytes_already_there;
%s
}
"""


def main():
    root = pathlib.Path(sys.argv[1])
    command = ["cc", "-std=c11", "-Wall", "-Wextra", "-Werror", "-fsyntax-only", "-x", "c",
               f"-I{root / 'src/http/dll/include'}", f"-I{root / 'src/platform/include'}", "-"]
    blocks, findings = 0, []
    for document in [root / "README.md", *sorted((root / "docs").glob("*.md"))]:
        for block in BLOCK.findall(document.read_text(encoding="utf-8")):
            blocks += 1
            code = block if re.search(r"\bmain\(", block) else FRAME % block
            result = subprocess.run(command, input=code, capture_output=True, text=True)
            if result.returncode != 0:
                findings.append(f"{document.name}: {result.stderr}")
    if blocks == 0:
        findings.append("no C code found")
    print("\n".join(findings) or f"{blocks} blocks compile")
    return 1 if findings else 0


if __name__ == "__main__":
    sys.exit(main())
