#!/usr/bin/env python3
"""Checks that all sources are formatted with clang-format and the repository's .clang-format.

Usage: format.py SOURCE_DIR BUILD_DIR
"""
import pathlib
import shutil
import subprocess
import sys

FOLDERS = ("src", "tests", "examples", "bench")
SUFFIXES = {".h", ".c", ".cpp"}


def main():
    root = pathlib.Path(sys.argv[1])
    program = shutil.which("clang-format")
    if program is None:
        print("skipped: clang-format is not installed")
        return 0
    files = sorted(str(path.relative_to(root)) for folder in FOLDERS
                   for path in (root / folder).rglob("*") if path.suffix in SUFFIXES)
    if not files:
        print("no sources found: is this the source folder?")
        return 1
    result = subprocess.run([program, "--dry-run", "-Werror", "--style=file", *files], cwd=root,
                            check=False)
    if result.returncode != 0:
        print("to format a file: clang-format -i FILE")
        return 1
    print(f"{len(files)} files are formatted")
    return 0


if __name__ == "__main__":
    sys.exit(main())
