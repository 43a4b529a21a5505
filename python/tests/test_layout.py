"""Every offset and size of the module is the compiler's; the module is what the headers give."""

import ctypes
import os
import pathlib
import subprocess
import sys

from kvr import _records as records

PYTHON = pathlib.Path(__file__).resolve().parents[1]
GENERATOR = PYTHON / "generate_records.py"


def test_the_module_is_the_one_that_the_headers_give():
    subprocess.run([sys.executable, GENERATOR, "--check"], check=True)


def test_every_offset_and_size_is_the_compilers(tmp_path):
    source = tmp_path / "probe.cpp"
    source.write_bytes(subprocess.run([sys.executable, GENERATOR, "--probe"], check=True,
                                      capture_output=True).stdout)
    program = tmp_path / "probe"
    subprocess.run([os.environ.get("CXX", "g++"), "-std=c++20", "-Wno-invalid-offsetof",
                    f"-I{PYTHON.parent / 'src'}", source, "-o", program], check=True)
    lines = subprocess.run([program], check=True, capture_output=True, text=True).stdout.splitlines()
    probed = {name: (int(first), int(second)) for name, first, second in map(str.split, lines)}
    expected = {}
    for structure in records.TYPED:
        expected[structure.__name__] = (ctypes.sizeof(structure), ctypes.alignment(structure))
        for name, *_ in structure._fields_:
            field = getattr(structure, name)
            expected[f"{structure.__name__}.{name}"] = (field.offset, field.size)
    assert probed == expected
    assert len(probed) > 300


def test_every_field_of_a_structure_is_in_its_typed_object():
    """But for reserved bytes and callbacks."""
    for structure, typed in records.TYPED.items():
        fields = {name for name, *_ in structure._fields_
                  if not name.startswith("reserved_") and "_callback" not in name
                  and not name.endswith(("status_context", "progress_context"))}
        assert {name.removesuffix("_") for name in typed.__dataclass_fields__} == fields
        for name in fields:
            assert name in typed.__doc__
