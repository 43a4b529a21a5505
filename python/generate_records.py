#!/usr/bin/env python3
"""Makes kvr/_records.py from the headers in src/api: the records as ctypes structures and as typed
objects, the enumerations, the codes.

    generate_records.py            writes the module
    generate_records.py --check    only says whether it is the one that the headers give
    generate_records.py --probe    writes a C++ program that prints each offset and size, for a test
"""

import keyword
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parents[1]
API = ROOT / "src" / "api"
MODULE = ROOT / "python" / "kvr" / "_records.py"
HEADERS = ("enumerations.h", "request_records.h", "session_records.h", "result_records.h")

SIMPLE = {"char": "c_char", "bool": "c_bool", "float": "c_float", "double": "c_double",
          "std::int32_t": "c_int32", "std::uint32_t": "c_uint32", "std::uint8_t": "c_uint8",
          "std::int64_t": "c_int64", "kvr_code": "c_int32", "void*": "c_void_p",
          "const char*": "c_char_p", "kvr_StatusCallback": "STATUS_CALLBACK",
          "kvr_ProgressCallback": "PROGRESS_CALLBACK"}

CONSTANT = re.compile(r"^constexpr std::\w+ (k\w+) = (\d+);", re.M)
ENUM = re.compile(r"((?:^/// [^\n]*\n)*)^enum (\w+) : std::(u?)int32_t \{\n(.*?)^\};", re.M | re.S)
ENUMERATOR = re.compile(r"^\s+(\w+) = (-?\d+),", re.M)
STRUCT = re.compile(r"((?:^/// [^\n]*\n)*)^struct (\w+) \{\n(.*?)^\};", re.M | re.S)
FIELD = re.compile(r"^\s+((?:const )?[\w:]+\**) (\w+)(?:\[(\w+)\])?;(?:\s*///< (.*))?$", re.M)
CODE = re.compile(r"X\((\d+), (\w+)\)")


def comment(lines):
    return " ".join(line.removeprefix("/// ").strip() for line in lines.splitlines())


class Headers:
    """What the headers declare."""

    def __init__(self):
        texts = [(API / name).read_text(encoding="utf-8") for name in HEADERS]
        text = "\n".join(texts)
        self.codes = CODE.findall((API / "code_list.h").read_text(encoding="utf-8"))
        self.constants = {name: int(value) for name, value in CONSTANT.findall(text)}
        self.enums = {name: (comment(said), ENUMERATOR.findall(body))
                      for said, name, _, body in ENUM.findall(text)}
        self.unsigned = {name: bool(sign) for _, name, sign, _ in ENUM.findall(text)}
        self.structs = {name: (comment(said), self.fields(name, body))
                        for said, name, body in STRUCT.findall(text)}

    def fields(self, struct, body):
        found = [(kind, name, self.constants.get(size) or (int(size) if size else None), said)
                 for kind, name, size, said in FIELD.findall(body)]
        declared = len([line for line in body.splitlines() if line.split("//")[0].strip()])
        if len(found) != declared:
            raise SystemExit(f"{struct}: {declared} fields are declared, {len(found)} are understood")
        return found

    def ctype(self, kind):
        if kind in SIMPLE:
            return SIMPLE[kind]
        if kind.endswith("*"):
            return f"POINTER({self.ctype(kind[:-1])})"
        if kind in self.enums:
            return "c_uint32" if self.unsigned[kind] else "c_int32"
        return kind


def public_name(name):
    """kvr_TestData_Ratio_1ph is TestDataRatio1ph in Python."""
    return "".join(part[0].upper() + part[1:] for part in name.removeprefix("kvr_").split("_"))


def annotation(headers, kind, size, of_text):
    if kind == "char" and size:
        return "str"
    base = kind.rstrip("*")
    if base == "kvr_code":
        inner = "Code | int"
    elif base in headers.enums:
        inner = f"{public_name(base)} | int"
    elif base in headers.structs:
        inner = f"\"{public_name(base)}\""
    elif kind == "const char*":
        return "str | None"
    else:
        inner = {"float": "float", "double": "float"}.get(base, "int")
    if base in headers.structs and of_text:
        return f"\"{public_name(base)} | None\"" if of_text == "one" else f"tuple[{inner}, ...]"
    return f"tuple[{inner}, ...]" if size else inner


# How the pointers of a record are to be followed: one record, `count` records in a block, an array
# of `count` pointers. A count in another field is named.
LINKS = {
    "kvr_TestData_Ratio_3ph": {"step_up": ("one", ""), "step_down": ("one", "")},
    "kvr_TestData_Impedance_List": {"tests": ("block", "count")},
    "kvr_TestData_Impedance": {"tests": ("one", "")},
    "kvr_TestData_Point": {"transition": ("one", "")},
    "kvr_TestData_Tap": {"points": ("each", "point_count")},
    "kvr_TestData_Taps": {"taps": ("each", "count")},
    "kvr_TestData_Sides": {"primary": ("one", ""), "secondary": ("one", ""), "tertiary": ("one", "")},
    "kvr_TestData_Resistance": {"sides": ("one", "")},
    "kvr_TestData_Demag": {"phases": ("each", "phase_count")},
    "kvr_TestData_Drm": {"first_transition": ("block", "transition_count")},
    "kvr_TestLabelsList": {"entries": ("block", "count")},
    "kvr_TestData_Progress": {"points": ("each", "point_count")},
    "kvr_TestRecord": {f"data_{family}": ("each", "data_count") for family in (
        "ratio_3ph", "ratio_1ph", "mbalance", "resistance", "demag", "efficiency", "impedance", "drm",
        "heatrun", "gonogo")},
}
LEFT_OUT = ("status_callback", "status_context", "progress_callback", "progress_context")


def docstring(said, fields):
    lines = [said or "A record of the client library.", ""]
    width = 79
    for name, about in fields:
        lines.append(f"{name}: {about}" if about else name)
    text = '    """' + "\n    ".join(line[:width * 2] for line in lines) + '\n    """'
    return "\n".join(line.rstrip() for line in text.splitlines())


def structure(headers, name):
    said, fields = headers.structs[name]
    lines = [f"class {name}(Structure):", f'    """{said or "A record of the client library."}"""', ""]
    return "\n".join(lines)


def fields_of(headers, name):
    lines = [f"{name}._fields_ = ["]
    for kind, field, size, _ in headers.structs[name][1]:
        ctype = headers.ctype(kind)
        lines.append(f'    ("{field}", {ctype}{f" * {size}" if size else ""}),')
    return "\n".join(lines) + "\n]\n"


def typed(headers, name):
    said, fields = headers.structs[name]
    shown = [(kind, field, size, about) for kind, field, size, about in fields
             if not field.startswith("reserved_") and field not in LEFT_OUT]
    lines = ["@dataclass(frozen=True)", f"class {public_name(name)}:",
             docstring(said, [(field, about) for _, field, _, about in shown]), ""]
    for kind, field, size, _ in shown:
        link = LINKS.get(name, {}).get(field, ("", ""))[0]
        if kind.endswith("*") and kind != "const char*" and not link:
            raise SystemExit(f"{name}.{field}: nobody says how to follow it")
        lines.append(f"    {python_word(field)}: {annotation(headers, kind, size, link)}")
    return "\n".join(lines) + "\n"


def enumeration(headers, name):
    said, values = headers.enums[name]
    prefix = common_prefix([each for each, _ in values])
    lines = [f"class {public_name(name)}(IntEnum):", f'    """{said or "An enumeration of records."}"""', ""]
    lines += [f"    {python_word(each.removeprefix(prefix))} = {value}" for each, value in values]
    return "\n".join(lines) + "\n"


def common_prefix(names):
    parts = [name.split("_") for name in names]
    count = 0
    while all(len(part) > count + 1 and part[count] == parts[0][count] for part in parts):
        count += 1
    return "".join(part + "_" for part in parts[0][:count])


def python_word(word):
    """No digit may come first, and no keyword may be a name."""
    return f"N{word}" if word[0].isdigit() else f"{word}_" if keyword.iskeyword(word) else word


HEAD = '''"""The records, enumerations and codes of the client library. Made by generate_records.py from the
headers of the programs; not to be edited."""

# pylint: disable=invalid-name,too-many-lines,too-many-instance-attributes,missing-function-docstring

from ctypes import (CFUNCTYPE, POINTER, Structure, c_char, c_char_p, c_double, c_float, c_int32,
                    c_int64, c_uint8, c_uint32, c_void_p)
from dataclasses import dataclass
from enum import IntEnum


class kvr_Progress(Structure):
    """How far a test has come."""


STATUS_CALLBACK = CFUNCTYPE(None, c_void_p, c_int32, c_char_p)
PROGRESS_CALLBACK = CFUNCTYPE(None, c_void_p, POINTER(kvr_Progress))

'''


def module(headers):
    parts = [HEAD + "\nclass Code(IntEnum):\n    \"\"\"Results, failures and events of the client library.\"\"\"\n"]
    parts[0] += "\n" + "".join(f"    {name.removeprefix('KVR_')} = {number}\n"
                               for number, name in headers.codes)
    parts += [enumeration(headers, name) for name in headers.enums]
    parts += [structure(headers, name) for name in headers.structs if name != "kvr_Progress"]
    text = "\n\n".join(parts) + "\n\n" + "\n".join(fields_of(headers, name) for name in headers.structs)
    text += "\n\n" + "\n\n".join(typed(headers, name) for name in headers.structs)
    tables = ["\n\n# The typed object of each structure, what its fields are, and how its pointers are followed.",
              "TYPED: dict[type, type] = {"]
    tables += [f"    {name}: {public_name(name)}," for name in headers.structs]
    tables += ["}", "ENUMS: dict[tuple[type, str], type[IntEnum]] = {"]
    for name, (_, fields) in headers.structs.items():
        for kind, field, _, _ in fields:
            enum = "Code" if kind == "kvr_code" else public_name(kind) if kind in headers.enums else None
            if enum:
                tables.append(f'    ({name}, "{field}"): {enum},')
    tables += ["}", "LINKS: dict[tuple[type, str], tuple[str, str]] = {"]
    for name, links in LINKS.items():
        tables += [f'    ({name}, "{field}"): ("{how}", "{count}"),' for field, (how, count) in links.items()]
    tables.append("}")
    return text + "\n".join(tables) + "\n"


def probe(headers):
    lines = ["#include <cstddef>", "#include <cstdio>"]
    lines += [f'#include "api/{name}"' for name in HEADERS]
    lines.append("int main() {")
    for name, (_, fields) in headers.structs.items():
        lines.append(f'  std::printf("{name} %zu %zu\\n", sizeof({name}), alignof({name}));')
        for _, field, _, _ in fields:
            lines.append(f'  std::printf("{name}.{field} %zu %zu\\n", offsetof({name}, {field}), '
                         f"sizeof({name}::{field}));")
    return "\n".join(lines + ["}", ""])


def main():
    headers = Headers()
    if "--probe" in sys.argv:
        print(probe(headers))
        return 0
    text = module(headers)
    if "--check" in sys.argv:
        if MODULE.read_text(encoding="utf-8") == text:
            return 0
        print("python/kvr/_records.py is not what the headers give: run python/generate_records.py")
        return 1
    MODULE.write_text(text, encoding="utf-8")
    return 0


if __name__ == "__main__":
    sys.exit(main())
