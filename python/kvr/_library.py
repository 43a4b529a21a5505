"""Finds the client library and declares its 22 calls."""

import ctypes
import os
import sys
from ctypes import POINTER, c_bool, c_char_p, c_int32, c_void_p
from pathlib import Path
from typing import Any

from . import _records as records

_RECORD = POINTER(records.kvr_TestRecord)
_LIST = POINTER(records.kvr_TestLabelsList)
_CALLS: dict[str, list[Any]] = {
    "kvr_Lib_Initialize": [POINTER(records.kvr_InitParams)],
    "kvr_Lib_InitializeTestStation": [c_char_p, POINTER(records.kvr_InitParams)],
    "kvr_Lib_Shutdown": [],
    "kvr_SetClientKey": [c_char_p],
    "kvr_ConnectAPI": [POINTER(c_int32), c_int32, c_char_p, c_char_p],
    "kvr_CheckConnection": [],
    "kvr_CodeToString": [c_int32],
    "kvr_GetClientAPIInfo": [POINTER(records.kvr_ClientAPIInfo)],
    "kvr_GetDeviceInfo": [POINTER(records.kvr_DeviceInfo)],
    "kvr_GetStatus": [POINTER(records.kvr_Status)],
    "kvr_LockAPI": [],
    "kvr_UnlockAPI": [],
    "kvr_CancelOperation": [],
    "kvr_Test_Ratio_1ph": [POINTER(records.kvr_TestRequestHeader), POINTER(records.kvr_Ratio1phRequest),
                           POINTER(records.kvr_ProgressHandler), POINTER(_RECORD)],
    "kvr_Test_Ratio_3ph": [POINTER(records.kvr_TestRequestHeader), POINTER(records.kvr_Ratio3phRequest),
                           POINTER(records.kvr_ProgressHandler), POINTER(_RECORD)],
    "kvr_FreeTestRecord": [_RECORD],
    "kvr_CheckRecordExists": [c_char_p, POINTER(c_bool)],
    "kvr_ReadRecord": [c_char_p, c_int32, POINTER(_RECORD)],
    "kvr_DeleteRecord": [c_char_p],
    "kvr_ClearTestDatabase": [],
    "kvr_ListRecords": [POINTER(_LIST), c_void_p, c_int32, c_int32],
    "kvr_FreeTestLabelsList": [_LIST],
}
_NAME = "kvr-client-api.dll" if sys.platform == "win32" else "libkvr-client-api.so"
_VIRTUAL = Path("/usr/lib/kvr-console-tester/virtual") / _NAME


def candidates() -> list[str]:
    """Where the library is looked for, in this order."""
    named = os.environ.get("KVR_CLIENT_LIBRARY")
    if named:
        return [named]
    return [_NAME, *([str(_VIRTUAL)] if _VIRTUAL.exists() else [])]


def player() -> str:
    """The library that plays tapes: where KVR_TAPE_PLAYER says, else that of the installed package."""
    return os.environ.get("KVR_TAPE_PLAYER") or str(_VIRTUAL.parent.parent / "player" / _NAME)


def load_library(path: str | os.PathLike[str] | None) -> ctypes.CDLL:
    """Loads the library and declares its calls. Raises OSError that says where it was looked for."""
    tried = [os.fspath(path)] if path is not None else candidates()
    for name in tried:
        try:
            return declared(ctypes.CDLL(name), name)
        except OSError as error:
            last = error
    raise OSError(f"no client library: looked for {', '.join(tried)} ({last}). Its path can stand in "
                  "KVR_CLIENT_LIBRARY")


def declared(library: ctypes.CDLL, name: str) -> ctypes.CDLL:
    """The library with the types of its calls."""
    for call, arguments in _CALLS.items():
        if not hasattr(library, call):
            raise OSError(f"{name} is no client library: it has no {call}")
        function = getattr(library, call)
        function.argtypes = arguments
        function.restype = c_char_p if call == "kvr_CodeToString" else c_int32
    return library
