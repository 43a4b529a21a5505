"""The client library of the instrument, for Python.

    import kvr

    with kvr.connect() as instrument:
        print(instrument.device_info().serial_number)
        with instrument.locked():
            tested = instrument.test_ratio_1ph(voltage=8, nameplate_ratio=10)
        print(tested.record.data_ratio_1ph[0].phase.tnr)

Records come as typed objects that are copies: what the library owns has been freed before a call
returns. Numbers are in the units that the docstrings of their classes name. A call that the library
refuses raises KvrError with its code; wrong use raises UsageError before the library is called.
"""

from .client import (AUTO, CT, DOWN, UP, Instrument, KvrError, Tested, UsageError, connect, is_virtual,
                     load)
from ._records import (Code, ConnectionType, DeviceInfo, HealthState, PointState, SaveMode, Status,
                       TestDataRatio1ph, TestDataRatio3ph, TestDataRatioPhase, TestingMode, TestLabel,
                       TestRecord, TestSetup, TestType, WindingType)

__all__ = ["AUTO", "CT", "DOWN", "UP", "Code", "ConnectionType", "DeviceInfo", "HealthState",
           "Instrument", "KvrError", "PointState", "SaveMode", "Status", "TestDataRatio1ph",
           "TestDataRatio3ph", "TestDataRatioPhase", "TestLabel", "TestRecord", "TestSetup", "TestType",
           "Tested", "TestingMode", "UsageError", "WindingType", "connect", "is_virtual", "load"]
