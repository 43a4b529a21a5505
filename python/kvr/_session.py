"""A session with the library, its callbacks, and its errors."""

import atexit
import ctypes
import threading
from collections.abc import Callable
from typing import Any

from . import _records as records
from ._copies import enumerated, text_of
from ._records import Code, ConnectionType

ACCEPTED = (Code.RES_OK, Code.RES_CHECK_ERROR_STATUS, Code.RES_PARTIAL_RESULT_CHECK_STATUS)
_FIRMWARE_TEXT = 22

StatusEvent = Callable[["Code | int", "str | None"], None]


class KvrError(Exception):
    """The library refused a call. `code` is its code, `call` the call's name, `words` the library's."""

    def __init__(self, call: str, code: int, words: str | None):
        self.call = call
        self.code = enumerated(Code, code)
        self.words = words
        name = self.code.name if isinstance(self.code, Code) else str(code)
        super().__init__(f"{call}: {name} ({code})" + (f": {words}" if words else ""))


class UsageError(Exception):
    """The program uses an instrument in a way that can't work; the library has not been called."""


_in_use = threading.Lock()  # the library serves one session a process


class Session:
    """A session with the library: it is opened once, makes calls, and is closed once."""

    def __init__(self, library: ctypes.CDLL, on_status: StatusEvent | None = None):
        self._library = library
        self._on_status = on_status
        self._errors: list[BaseException] = []  # raised by callbacks
        self._status_callback = records.STATUS_CALLBACK(self._take_status)
        self._is_open = False
        self._is_locked = False
        self._calling = threading.Lock()

    def open(self, method: ConnectionType, key: str, name: str, serial_port: str | None) -> str:
        """Gives the firmware version."""
        if not _in_use.acquire(blocking=False):
            raise UsageError("another instrument of this process is open; close it first")
        self._is_open = True
        atexit.register(self.close)
        parameters = records.kvr_InitParams(init_mode=2, init_setting_a=1000, init_setting_b=50,
                                            status_callback=self._status_callback)
        try:
            if serial_port is None:
                self._check("kvr_Lib_Initialize", ctypes.byref(parameters))
            else:
                self._check("kvr_Lib_InitializeTestStation", serial_port.encode(),
                            ctypes.byref(parameters))
        except KvrError:
            self._leave()
            raise
        try:
            self._check("kvr_SetClientKey", key.encode())
            kind = ctypes.c_int32(method)
            firmware = ctypes.create_string_buffer(_FIRMWARE_TEXT)
            self._check("kvr_ConnectAPI", ctypes.byref(kind), 5, name.encode(), firmware)
        except KvrError:
            self.close()
            raise
        return text_of(firmware.value) or ""

    def close(self) -> None:
        """Unlocks and ends the session; may be called again."""
        if not self._is_open:
            return
        if self._is_locked:
            self._is_locked = False
            self._library.kvr_UnlockAPI()
        self._library.kvr_Lib_Shutdown()
        self._leave()

    def _leave(self) -> None:
        self._is_open = False
        atexit.unregister(self.close)
        _in_use.release()

    def _take_status(self, _context: int | None, code: int, text: bytes | None) -> None:
        if self._on_status is None:
            return
        try:
            self._on_status(enumerated(Code, code), text_of(text))
        except BaseException as error:  # pylint: disable=broad-except; raised in the next call
            self._errors.append(error)

    def _check(self, call: str, *arguments: Any) -> "Code | int":
        """Makes a call. Gives its code if it is one of success."""
        code = self._call(call, *arguments)
        self._raise_for(call, code)
        return enumerated(Code, code)

    def _call(self, call: str, *arguments: Any) -> int:
        if not self._is_open:
            raise UsageError(f"{call}: the instrument is closed")
        if not self._calling.acquire(blocking=False):
            raise UsageError(f"{call}: another thread, or a callback, is in a call of this instrument")
        try:
            code: int = getattr(self._library, call)(*arguments)
            return code
        finally:
            self._calling.release()

    def _raise_for(self, call: str, code: int) -> None:
        """An error of a callback comes before that of the call, which it may have caused."""
        if self._errors:
            raise self._errors.pop(0)
        if code not in ACCEPTED:
            raise KvrError(call, code, text_of(self._library.kvr_CodeToString(code)))
