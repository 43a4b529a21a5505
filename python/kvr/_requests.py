"""Requests: zero bytes, the constants of the dialogues, and what the caller gave."""

import math
from collections.abc import Sequence

from . import _records as records
from ._records import SaveMode, TestingMode, TestType, WindingType
from ._session import UsageError

_CLOCK_UNKNOWN = 100
_ALL_PHASES = 100
_LONGEST_ID = 16


def _number(value: float, name: str) -> float:
    if isinstance(value, bool) or not isinstance(value, (int, float)) or not math.isfinite(value):
        raise UsageError(f"{name} has to be a finite number, not {value!r}")
    return value


def _fill(request: "records.kvr_Ratio1phRequest | records.kvr_Ratio3phRequest", voltage: float,
          nameplate_ratio: float, raw_data: bool) -> None:
    setup = request.setup
    for winding in setup.windings:
        winding.winding_setting = 1
    setup.windings[0].voltage = _number(nameplate_ratio, "nameplate_ratio")
    setup.windings[1].voltage = 1.0
    setup.connections[0].clock = _CLOCK_UNKNOWN
    setup.line_frequency = 60
    setup.setup_value_b = 1
    setup.temperature_from = 20.0
    setup.temperature_to = 75.0
    setup.setup_value_c = 100.0
    setup.setup_value_d = 1.0
    setup.setup_flag_a = 1
    setup.raw_data_requested = int(raw_data)
    setup.setup_flag_b = 1
    request.test_voltage = _number(voltage, "voltage")
    request.request_flag_a = 1
    request.limit_a = 0.5
    request.limit_b = 0.00872665


def make_1ph(voltage: float, direction: TestType, high_side: int, low_side: int,
             nameplate_ratio: float, raw_data: bool) -> "records.kvr_Ratio1phRequest":
    """The body of a single-phase test."""
    request = records.kvr_Ratio1phRequest()
    _fill(request, voltage, nameplate_ratio, raw_data)
    request.test_type = TestType(direction)
    for pair in (high_side, low_side):
        if pair not in range(1, 7):
            raise UsageError(f"a terminal pair is a number from 1 to 6, not {pair!r}")
    request.high_side_phase = high_side
    request.low_side_phase = low_side
    return request


def make_3ph(voltage: float, direction: TestType, mode: TestingMode, windings: Sequence[WindingType],
             clock: int | None, phase_shift: float, nameplate_ratio: float,
             raw_data: bool) -> "records.kvr_Ratio3phRequest":
    """The body of a three-phase test."""
    request = records.kvr_Ratio3phRequest()
    _fill(request, voltage, nameplate_ratio, raw_data)
    request.test_type = TestType(direction)
    request.testing_mode = TestingMode(mode)
    request.tested_phase = _ALL_PHASES
    high, low = windings
    request.setup.windings[0].winding_type = WindingType(high)
    request.setup.windings[1].winding_type = WindingType(low)
    request.setup.windings[1].phase_shift = _number(phase_shift, "phase_shift")
    if clock is not None:
        if clock not in range(12):
            raise UsageError(f"a clock number is from 0 to 11, or None for unknown, not {clock!r}")
        request.setup.connections[0].clock = clock
    elif phase_shift:
        request.setup.connections[0].clock = 0
    return request


def make_header(record_id: str, save_mode: SaveMode) -> "records.kvr_TestRequestHeader":
    """The head of a test; without an ID nothing is stored."""
    header = records.kvr_TestRequestHeader()
    text = record_id.encode()
    if len(text) > _LONGEST_ID or b"\0" in text:
        raise UsageError(f"the ID of a test has at most {_LONGEST_ID} bytes without a zero byte: {record_id!r}")
    header.record_id = text
    header.save_mode = SaveMode(save_mode) if text else SaveMode.NOTHING
    return header
