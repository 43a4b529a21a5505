"""A connected instrument and its calls."""

import contextlib
import ctypes
import os
from collections.abc import Callable, Iterator, Sequence
from dataclasses import dataclass
from types import TracebackType
from typing import Any

from . import _records as records
from ._copies import copy_of, enumerated
from ._library import load_library
from ._requests import make_1ph, make_3ph, make_header
from ._session import ACCEPTED, KvrError, Session, StatusEvent, UsageError
from ._records import Code, ConnectionType, SaveMode, TestingMode, TestType, WindingType

AUTO = TestType.RATIO_AUTO
DOWN = TestType.RATIO_DOWN
UP = TestType.RATIO_UP
CT = TestType.RATIO_CT

_ID_SIZE = 30

Progress = Callable[[int, int], None]


@dataclass(frozen=True)
class Tested:
    """An accepted test: its record, and the code, which says whether the result is partial."""

    code: "Code | int"
    record: records.TestRecord


def load(path: str | os.PathLike[str] | None = None) -> ctypes.CDLL:
    """The client library: at `path`, else where KVR_CLIENT_LIBRARY says, else where the system finds
    it, else the virtual instrument of the installed package."""
    return load_library(path)


def is_virtual(serial_number: str) -> bool:
    """Whether a serial number is that of a virtual instrument, which can hurt nobody."""
    return serial_number.startswith("VI-")


class Instrument(Session):
    """One session with an instrument; connect() makes it. Use it as a context: it is closed at the
    end. Its methods may be called by one thread at a time, cancel() by any thread."""

    def __enter__(self) -> "Instrument":
        return self

    def __exit__(self, kind: type[BaseException] | None, error: BaseException | None,
                 trace: TracebackType | None) -> None:
        self.close()

    def is_connected(self) -> bool:
        """Whether the connection still stands."""
        return self._is_open and self._library.kvr_CheckConnection() == 0

    def device_info(self) -> records.DeviceInfo:
        """What the instrument says about itself."""
        info = records.kvr_DeviceInfo()
        self._check("kvr_GetDeviceInfo", ctypes.byref(info))
        return copy_of(info)

    def library_version(self) -> str:
        """The version of the client library."""
        info = records.kvr_ClientAPIInfo()
        self._check("kvr_GetClientAPIInfo", ctypes.byref(info))
        return copy_of(info).version

    def status(self) -> records.Status:
        """The instrument's state of health."""
        status = records.kvr_Status()
        self._check("kvr_GetStatus", ctypes.byref(status))
        return copy_of(status)

    @contextlib.contextmanager
    def locked(self) -> Iterator["Instrument"]:
        """Reserves the instrument for tests, and releases it however the block ends."""
        if self._is_locked:
            raise UsageError("kvr_LockAPI: the instrument is locked already")
        self._check("kvr_LockAPI")
        self._is_locked = True
        try:
            yield self
        finally:
            if self._is_locked:
                self._is_locked = False
                self._check("kvr_UnlockAPI")

    def cancel(self) -> bool:
        """Cancels the running test, from any thread. False when there is none to cancel."""
        return self._is_open and self._library.kvr_CancelOperation() == Code.RES_OK

    # Tests.

    def test_ratio_1ph(self, voltage: float, direction: TestType = AUTO, *, high_side: int = 1,
                       low_side: int = 1, nameplate_ratio: float = 0, record_id: str = "",
                       save_mode: SaveMode = SaveMode.NEW_RECORD, raw_data: bool = False,
                       progress: Progress | None = None, energise: bool = False) -> Tested:
        """A single-phase ratio test at `voltage` V. The sides are terminal pairs from 1 to 6: 1-2, 2-3,
        3-1, 1-0, 2-0, 3-0. Without a record ID nothing is stored. A real instrument makes the test
        only with `energise`: it puts voltage on the terminals."""
        request = make_1ph(voltage, direction, high_side, low_side, nameplate_ratio, raw_data)
        return self._test("kvr_Test_Ratio_1ph", request, make_header(record_id, save_mode), progress,
                          energise)

    def test_ratio_3ph(self, voltage: float, direction: TestType = AUTO, *,
                       mode: TestingMode = TestingMode.N3PH_AUTO,
                       windings: Sequence[WindingType] = (WindingType.D, WindingType.D),
                       clock: int | None = None, phase_shift: float = 0, nameplate_ratio: float = 0,
                       record_id: str = "", save_mode: SaveMode = SaveMode.NEW_RECORD,
                       raw_data: bool = False, progress: Progress | None = None,
                       energise: bool = False) -> Tested:
        """A three-phase ratio test at `voltage` V on two windings of a clock number, None for unknown,
        and an absolute `phase_shift` in rad. The rest is as for test_ratio_1ph."""
        request = make_3ph(voltage, direction, mode, windings, clock, phase_shift, nameplate_ratio,
                           raw_data)
        return self._test("kvr_Test_Ratio_3ph", request, make_header(record_id, save_mode), progress,
                          energise)

    def _test(self, call: str, request: ctypes.Structure, header: ctypes.Structure,
              progress: Progress | None, energise: bool) -> Tested:
        if not self._is_locked:
            raise UsageError(f"{call}: lock the instrument first: with instrument.locked(): ...")
        if not energise and not is_virtual(self.device_info().serial_number):
            raise UsageError(f"{call}: this is a real instrument, whose tests put voltage on its "
                             "terminals; energise=True runs them")

        def take_progress(_context: int | None, state: Any) -> None:
            try:
                if progress is not None:
                    progress(state.contents.current, state.contents.total)
            except BaseException as error:  # pylint: disable=broad-except
                self._errors.append(error)
                self._library.kvr_CancelOperation()

        handler = records.kvr_ProgressHandler(
            progress_callback=records.PROGRESS_CALLBACK(take_progress))
        return self._record(call, ctypes.byref(header), ctypes.byref(request), ctypes.byref(handler))

    def _record(self, call: str, *arguments: Any) -> Tested:
        """The copy of the record that a call gives; the record itself is freed. What a refused call
        leaves in its place is not touched."""
        pointer = ctypes.POINTER(records.kvr_TestRecord)()
        code = self._call(call, *arguments, ctypes.byref(pointer))
        if code not in ACCEPTED:
            pointer = None
        try:
            self._raise_for(call, code)
            if not pointer:
                raise KvrError(call, code, "the call was accepted but gave no record")
            return Tested(enumerated(Code, code), copy_of(pointer.contents))
        finally:
            if pointer:
                self._library.kvr_FreeTestRecord(pointer)

    # Stored records.

    def record_exists(self, record_id: str) -> bool:
        """Whether a stored record has that ID."""
        exists = ctypes.c_bool(False)
        self._check("kvr_CheckRecordExists", _id(record_id), ctypes.byref(exists))
        return exists.value

    def read_record(self, record_id: str) -> records.TestRecord:
        """A stored record."""
        return self._record("kvr_ReadRecord", _id(record_id), 1).record

    def list_records(self, sort_key: int = 0, ascending: bool = True) -> tuple[records.TestLabel, ...]:
        """The heads of the stored records, by date (0), ID (1) or vector group (2)."""
        pointer = ctypes.POINTER(records.kvr_TestLabelsList)()
        self._check("kvr_ListRecords", ctypes.byref(pointer), None, sort_key, int(ascending))
        if not pointer:
            return ()
        try:
            return copy_of(pointer.contents).entries
        finally:
            self._library.kvr_FreeTestLabelsList(pointer)

    def delete_record(self, record_id: str) -> None:
        """Deletes a stored record."""
        self._check("kvr_DeleteRecord", _id(record_id))

    def clear_records(self) -> None:
        """Deletes all stored records."""
        self._check("kvr_ClearTestDatabase")


def _id(record_id: str) -> bytes:
    text = record_id.encode()
    if not text or b"\0" in text or len(text) >= _ID_SIZE:
        raise UsageError(f"a record ID has 1 to {_ID_SIZE - 1} bytes without a zero byte: {record_id!r}")
    return text


def connect(method: ConnectionType = ConnectionType.USB_WIFI, *, key: str = "development-client-key",
            name: str = "Python", serial_port: str | None = None, on_status: StatusEvent | None = None,
            library: ctypes.CDLL | str | os.PathLike[str] | None = None) -> Instrument:
    """Starts the library and connects to an instrument. `on_status` is called with the code and the
    text of each event, on a thread of the library's own; it must not call the instrument, but for
    cancel() and is_connected(). An exception of it is raised by the next call."""
    loaded = library if isinstance(library, ctypes.CDLL) else load(library)
    instrument = Instrument(loaded, on_status)
    instrument.open(method, key, name, serial_port)
    return instrument
