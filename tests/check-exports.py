#!/usr/bin/env python3
"""check-exports.py NM LIBRARY SOURCE_DIR

Compares the dynamic symbols that the statistics library defines with the
names its headers declare for export: the entries of include/stats_entries.h
and every function and class marked STATS_API in a header of the library
(include/ and the subsystem folders).  Each exported symbol is reduced to the
name it belongs to (a member, vtable or typeinfo to its class, an overload to
its function); the test fails on a symbol that belongs to no declared name
(an internal helper, or a standard library instantiation that leaked) and on
a declared name that nothing exports.
"""
import pathlib
import re
import subprocess
import sys

SUBSYSTEMS = ["include", "host", "rootfinding", "distributions", "sampling", "descriptive"]

# Symbols the linker defines in every shared object, and those that
# sanitizer instrumentation adds; none of them is the library's own.
LINKER_SYMBOLS = {"_end", "_edata", "__bss_start", "_init", "_fini"}
TOOL_PREFIXES = ("__asan", "__odr_asan", "__ubsan", "__sancov", "__tsan", "__msan")

SPECIAL_PREFIXES = ("vtable for ", "typeinfo name for ", "typeinfo for ", "VTT for ",
                    "non-virtual thunk to ", "virtual thunk to ", "guard variable for ")


def declared_names(top):
    names = set()
    entries = (top / "include" / "stats_entries.h").read_text()
    names |= set(re.findall(r"^STATS_DECLARE_(?:ARRAY_)?ENTRY\((\w+)\)", entries, re.M))
    for folder in SUBSYSTEMS:
        for header in sorted((top / folder).rglob("*.h*")):
            text = re.sub(r"//.*", "", header.read_text())
            text = re.sub(r"#define[^\n]*", "", text)
            names |= set(re.findall(r"\b(?:class|struct)\s+STATS_API\s+(\w+)", text))
            names |= set(re.findall(r"\bSTATS_API\s+[^;{}()]*?(\w+)\s*\(", text))
            names |= set(re.findall(r"\bSTATS_ENTRY\s+[^;{}()]*?(\w+)\s*\(", text))
    return names


def owner(symbol):
    """The top-level name a demangled symbol belongs to."""
    for prefix in SPECIAL_PREFIXES:
        if symbol.startswith(prefix):
            symbol = symbol[len(prefix):]
            break
    # Up to the parameter list, the template arguments or the first scope.
    return re.split(r"[(<]|::|\[", symbol, maxsplit=1)[0].strip()


def exported_symbols(nm, library):
    out = subprocess.run([nm, "-D", "--defined-only", "-C", library], check=True, capture_output=True,
                         text=True).stdout
    symbols = []
    for line in out.splitlines():
        parts = line.split(None, 2)
        if len(parts) == 3:
            symbols.append(parts[2])
    return symbols


def main():
    nm, library, top = sys.argv[1], sys.argv[2], pathlib.Path(sys.argv[3])
    declared = declared_names(top)
    owners = set()
    extra = []
    for symbol in exported_symbols(nm, library):
        if symbol in LINKER_SYMBOLS or symbol.startswith(TOOL_PREFIXES):
            continue
        name = owner(symbol)
        owners.add(name)
        if name not in declared:
            extra.append(symbol)
    missing = sorted(declared - owners)
    for symbol in sorted(extra):
        print(f"exported but not declared for export: {symbol}")
    for name in missing:
        print(f"declared for export but not exported: {name}")
    print(f"{len(declared)} declared names, {len(owners)} exported names")
    return 1 if extra or missing else 0


if __name__ == "__main__":
    sys.exit(main())
