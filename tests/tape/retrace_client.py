"""The client of the tapes that retrace is tested with: its calls show every fault of the broken
libraries. Run by retrace_broken.py, with the recorder in KVR_CLIENT_LIBRARY.

    retrace_client.py work|events
"""

import ctypes
import sys
import threading
from ctypes import byref, c_bool, c_int32

from kvr import _records as records
from kvr import _requests as requests
from kvr._library import load_library

library = load_library(None)
event_came = threading.Condition()
events = []


def on_status(_context, code, _text):
    with event_came:
        events.append(code)
        event_came.notify_all()


def on_progress_cancel(_context, _progress):
    library.kvr_CancelOperation()


status_callback = records.STATUS_CALLBACK(on_status)
parameters = records.kvr_InitParams(init_mode=2, init_setting_a=1000, init_setting_b=50,
                                    status_callback=status_callback)


def connect():
    library.kvr_Lib_Initialize(byref(parameters))
    library.kvr_SetClientKey(b"development-client-key")
    library.kvr_ConnectAPI(byref(c_int32(records.ConnectionType.USB_WIFI)), 5, b"retrace",
                           ctypes.create_string_buffer(22))


def test_1ph(voltage, record_id="", save_mode=records.SaveMode.NEW_RECORD, progress=None):
    pointer = ctypes.POINTER(records.kvr_TestRecord)()
    header = requests.make_header("x", save_mode)
    header.record_id = record_id.encode()
    header.save_mode = save_mode
    library.kvr_Test_Ratio_1ph(byref(header),
                               byref(requests.make_1ph(voltage, records.TestType.RATIO_DOWN, 1, 1, 10, True)),
                               progress, byref(pointer))
    return pointer


def test_3ph():
    pointer = ctypes.POINTER(records.kvr_TestRecord)()
    header = requests.make_header("", records.SaveMode.NOTHING)
    request = requests.make_3ph(8, records.TestType.RATIO_DOWN, records.TestingMode.N3PH_AUTO,
                                (records.WindingType.D, records.WindingType.YN), 1, 0, 10, False)
    library.kvr_Test_Ratio_3ph(byref(header), byref(request), None, byref(pointer))
    return pointer


def list_records(sort_key, ascending):
    pointer = ctypes.POINTER(records.kvr_TestLabelsList)()
    library.kvr_ListRecords(byref(pointer), None, sort_key, ascending)
    library.kvr_FreeTestLabelsList(pointer)


def work():
    connect()
    library.kvr_GetDeviceInfo(byref(records.kvr_DeviceInfo()))
    status = records.kvr_Status()
    library.kvr_GetStatus(byref(status))
    library.kvr_LockAPI()
    library.kvr_LockAPI()  # refused
    library.kvr_GetStatus(byref(status))
    nothing = records.SaveMode.NOTHING
    first = test_1ph(8, "FREE", nothing)
    second = test_1ph(12, "", nothing)
    exists = c_bool()
    library.kvr_CheckRecordExists(b"FREE", byref(exists))
    # A refused read leaves the pointer alone.
    pointer = ctypes.pointer(second.contents)
    library.kvr_ReadRecord(b"NONE", 1, byref(pointer))
    library.kvr_FreeTestRecord(first)
    library.kvr_FreeTestRecord(second)
    library.kvr_FreeTestRecord(test_3ph())
    cancelling = records.PROGRESS_CALLBACK(on_progress_cancel)
    test_1ph(8, "", nothing, byref(records.kvr_ProgressHandler(progress_callback=cancelling)))
    for record_id in ("A", "B", "C"):
        library.kvr_FreeTestRecord(test_1ph(8, record_id))
    list_records(1, 1)
    list_records(1, 0)
    library.kvr_DeleteRecord(b"B")
    list_records(1, 1)
    library.kvr_UnlockAPI()
    library.kvr_Lib_Shutdown()
    library.kvr_CheckConnection()


def meet_events():
    """Deleting a record is the sign for the test to change the bench."""
    connect()
    library.kvr_DeleteRecord(b"A")
    with event_came:
        if not event_came.wait_for(lambda: records.Code.RES_INTERLOCK_ON in events, 60):
            sys.exit("no event came")
    library.kvr_CheckConnection()
    library.kvr_Lib_Shutdown()


if __name__ == "__main__":
    {"work": work, "events": meet_events}[sys.argv[1]]()
