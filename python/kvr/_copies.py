"""Copies of what the library owns, as typed objects: nothing of a copy points into the library."""

import ctypes
import dataclasses
from typing import Any

from . import _records as records

_MOST_ENTRIES = 1 << 20  # a count beyond that is none of a library that works

# The arrays of a record that its type names; the others may be anything.
_RATIO = ("data_ratio_3ph", "data_ratio_1ph")
_ARRAYS: dict[int, tuple[str, ...]] = {
    **{kind: _RATIO for kind in (1, 2, 4, 5, 6, 16)}, 8: ("data_resistance",), 9: ("data_resistance",),
    10: ("data_demag",), 11: ("data_impedance",), 12: ("data_impedance",), 13: ("data_efficiency",),
    14: ("data_mbalance",), 15: ("data_heatrun",), 17: ("data_gonogo",), 18: ("data_drm",)}


def text_of(field: bytes | None) -> str | None:
    """A text of the library: UTF-8, or else one character a byte."""
    if field is None:
        return None
    try:
        return field.decode("utf-8")
    except UnicodeDecodeError:
        return field.decode("latin-1")


def enumerated(enum: Any, value: int) -> Any:
    """The member of an enumeration; the number itself where it has none."""
    try:
        return enum(value)
    except ValueError:
        return value


def copy_of(record: ctypes.Structure) -> Any:
    """The typed object of a structure with all that hangs from it."""
    kind = type(record)
    values = {}
    for field in dataclasses.fields(records.TYPED[kind]):
        values[field.name] = _field(record, kind, field.name.removesuffix("_"))
    return records.TYPED[kind](**values)


def _field(record: ctypes.Structure, kind: type, name: str) -> Any:
    link = records.LINKS.get((kind, name))
    if link is not None:
        return _linked(record, kind, name, *link)
    value = getattr(record, name)
    enum = records.ENUMS.get((kind, name))
    if enum is not None:
        return enumerated(enum, value)
    if isinstance(value, bytes) or value is None:
        return text_of(value)
    if isinstance(value, ctypes.Structure):
        return copy_of(value)
    if isinstance(value, ctypes.Array):
        return tuple(copy_of(entry) for entry in value)
    return value


def _linked(record: ctypes.Structure, kind: type, name: str, how: str, count_name: str) -> Any:
    pointer = getattr(record, name)
    if kind is records.kvr_TestRecord and name not in _ARRAYS.get(record.test_type, ()):
        return ()
    if how == "one":
        return copy_of(pointer.contents) if pointer else None
    count = getattr(record, count_name)
    if not pointer or count > _MOST_ENTRIES:
        return ()
    if how == "block":
        return tuple(copy_of(pointer[i]) for i in range(count))
    return tuple(copy_of(pointer[i].contents) for i in range(count) if pointer[i])
