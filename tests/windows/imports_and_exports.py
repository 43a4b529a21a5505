#!/usr/bin/env python3
"""Checks what Windows programs and libraries import and export: they may import only DLLs of the
system and the client library, and the client library exports exactly its calls."""

import argparse
import pathlib
import re
import subprocess
import sys

SYSTEM_LIBRARIES = {"KERNEL32.dll", "SHELL32.dll", "USER32.dll", "msvcrt.dll"}
CLIENT_LIBRARY = "kvr-client-api.dll"


def tables(objdump, file):
    return subprocess.run([objdump, "--private-headers", file], check=True, text=True,
                          stdout=subprocess.PIPE).stdout


def imported_libraries(table):
    return set(re.findall(r"^\s*DLL Name: (\S+)$", table, flags=re.MULTILINE))


def exported_names(table):
    names = table.partition("[Ordinal/Name Pointer] Table")[2]
    return re.findall(r"^\s*\[\s*\d+\] (?:\+base\[\s*\d+\]\s+\w+ )?(\S+)$", names,
                      flags=re.MULTILINE)


def call_names(definition):
    return re.findall(r"^\s+(kvr_\w+)$", definition.read_text(), flags=re.MULTILINE)


def complaints(file, table, calls):
    imported = imported_libraries(table)
    is_library = file.suffix == ".dll"
    wanted = set() if is_library else {CLIENT_LIBRARY}
    if not imported:
        yield "no import table found"
    if imported - SYSTEM_LIBRARIES != wanted:
        yield f"imports {', '.join(sorted(imported))}"
    if sorted(exported_names(table)) != (sorted(calls) if is_library else []):
        yield f"exports {', '.join(exported_names(table)) or 'nothing'}"


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--objdump", required=True)
    parser.add_argument("--calls", required=True, type=pathlib.Path,
                        help="module definition with the names of the calls")
    parser.add_argument("files", nargs="+", type=pathlib.Path)
    arguments = parser.parse_args()
    calls = call_names(arguments.calls)
    found = [f"{file.name} {complaint}" for file in arguments.files
             for complaint in complaints(file, tables(arguments.objdump, file), calls)]
    print("\n".join(found) or f"{len(arguments.files)} files, {len(calls)} calls: all correct")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
