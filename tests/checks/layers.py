#!/usr/bin/env python3
"""Checks from the include lines that library and platform layer stay apart.

The library (src/http) includes C++ standard headers, the layer's headers, its own and <zlib.h>; so
it is fit for a platform that has these functions itself. The layer (src/platform) includes no header
of the library.

Usage: layers.py SOURCE_DIR BUILD_DIR
"""
import pathlib
import re
import sys

INCLUDE = re.compile(r"^\s*#\s*(?:include|include_next|import)\b\s*(.*?)\s*$")
TARGET = re.compile(r'(["<])([^">]+)[">]')
SOURCES = {".h", ".hpp", ".c", ".cc", ".cpp", ".inc", ".def"}

CXX_HEADERS = set("""
algorithm any array atomic barrier bit bitset cassert cctype cerrno cfenv cfloat charconv chrono
cinttypes climits clocale cmath codecvt compare complex concepts condition_variable coroutine csetjmp
csignal cstdarg cstddef cstdint cstdio cstdlib cstring ctime cuchar cwchar cwctype deque exception
execution filesystem forward_list fstream functional future initializer_list iomanip ios iosfwd
iostream istream iterator latch limits list locale map memory memory_resource mutex new numbers
numeric optional ostream queue random ranges ratio regex scoped_allocator semaphore set shared_mutex
source_location span sstream stack stdexcept stop_token streambuf string string_view syncstream
system_error thread tuple type_traits typeindex typeinfo unordered_map unordered_set utility valarray
variant vector version
""".split())
# Public headers are read by C compilers, too.
C_HEADERS = {"stddef.h", "stdint.h"}


def includes(folder):
    """Yields (path, line number, "<" or '"' or "", name) for each include line below a folder."""
    for path in sorted(folder.rglob("*")):
        if path.suffix not in SOURCES:
            continue
        for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
            match = INCLUDE.match(line)
            if match:
                target = TARGET.match(match[1])
                yield (path, number, *(target.groups() if target else ("", match[1])))


def library_may_include(path, kind, name, library, layer):
    public = path.parent == library / "include"
    if kind == "<":
        return name in CXX_HEADERS or name == "zlib.h" or (public and name in C_HEADERS)
    if kind != '"' or ".." in name:
        return False
    if name.startswith("platform/") or name == "qvplatform.h":
        return (layer / "include" / name).is_file()
    return any((base / name).is_file() for base in (library, library / "include", path.parent))


def layer_may_include(path, kind, name, library, layer):
    if kind == "" or ".." in name:
        return False
    if kind == '"':
        return any((base / name).is_file() for base in (layer, layer / "include", path.parent))
    return not any((base / name).is_file() for base in (library, library / "include"))


def main():
    root = pathlib.Path(sys.argv[1]).resolve()
    library, layer = root / "src/http/dll", root / "src/platform"
    findings, seen = [], 0
    for folder, allowed, message in (
        (root / "src/http", library_may_include, "the library must not include"),
        (layer, layer_may_include, "the platform layer must not include"),
    ):
        for path, number, kind, name in includes(folder):
            seen += 1
            if not allowed(path, kind, name, library, layer):
                shown = f"<{name}>" if kind == "<" else f'"{name}"' if kind else name
                findings.append(f"{path.relative_to(root)}:{number}: {message} {shown}")
    if seen == 0:
        findings.append("no include lines found: is this the source folder?")
    print("\n".join(findings) if findings else f"{seen} include lines are in order")
    return 1 if findings else 0


if __name__ == "__main__":
    sys.exit(main())
