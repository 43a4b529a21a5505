"""The records, enumerations and codes of the client library. Made by generate_records.py from the
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


class Code(IntEnum):
    """Results, failures and events of the client library."""

    RES_OK = 0
    RES_INTERNAL_ERROR = 1
    RES_LIB_ALREADY_INITIALIZED = 2
    RES_LIB_NOT_INITIALIZED = 3
    RES_DEVICE_UNAVAILABLE = 4
    RES_DEVICE_NOT_CONNECTED = 5
    RES_COMMUNICATION_TIMEOUT = 6
    RES_OPERATION_CANCELLED = 7
    RES_NOT_IMPLEMENTED = 8
    RES_NOT_SUPPORTED = 9
    RES_RPC_SESSION_INVALID = 10
    RES_RPC_ERROR = 11
    RES_BUFFER_TOO_SMALL = 12
    RES_SQL_DATABASE_ERROR = 13
    RES_DATA_INVALID = 14
    RES_RECORD_NOT_FOUND = 15
    RES_INCORRECT_PARAMETERS = 16
    RES_TESTING_METHOD_NOT_SUPPORTED = 17
    RES_USB_ACCESS_ERROR = 18
    RES_USB_DRIVER_NOT_INSTALLED = 19
    RES_USB_ERROR = 20
    RES_SOCKET_ERROR = 21
    RES_API_VERSION_MISMATCH = 22
    RES_VECTOR_GROUP_INCORRECT = 23
    RES_IMPROPER_CONNECTION_RATIO = 24
    RES_IMPROPER_CONNECTION_PHASE = 25
    RES_IMPROPER_CONNECTION_C = 26
    RES_SHORT_CIRCUIT_A = 27
    RES_SHORT_CIRCUIT_B = 28
    RES_SHORT_CIRCUIT_C = 29
    RES_OPEN_LEAD = 30
    RES_SHORTED_LEAD = 31
    RES_HV_LV_REVERSED_A = 32
    RES_HV_LV_REVERSED_B = 33
    RES_HV_LV_REVERSED_C = 34
    RES_MEASUREMENT_BOARD_CONNECTION = 35
    RES_MEASUREMENT_BOARD_ERROR = 36
    RES_SECONDARY_SDCARD_MISSING = 37
    RES_SECONDARY_SDCARD_READ_ONLY = 38
    RES_PEER_DISCONNECTED = 39
    RES_UNSUPPORTED_VOLTAGE = 40
    RES_DISCHARGE_FAILED = 41
    RES_MEASUREMENT_BOARD_FIRMWARE_INCOMPATIBLE = 42
    RES_NOT_CALIBRATED = 43
    RES_CHECK_ERROR_STATUS = 44
    RES_APP_ROLE_NOT_ALLOWED = 45
    RES_SESSION_NO_HANDSHAKE = 46
    RES_NO_PERMISSIONS = 47
    RES_TESTING_IN_PROGRESS = 48
    RES_API_LOCKED = 49
    RES_API_UNLOCKED = 50
    RES_TESTID_EXISTS = 51
    RES_TEST_CONFIG_INCOMPATIBLE = 52
    RES_SERVICE_SHUTTING_DOWN = 53
    RES_FACTORY_SETTINGS_NOT_SET = 54
    CLIENT_CONNECTED = 55
    CLIENT_DISCONNECTED = 56
    STEPUP_VOLTAGE_TOO_LOW = 57
    RES_UPGRADE_STORAGE_NOT_MOUNTED = 58
    RES_UPGRADE_FILE_NOT_FOUND = 59
    RES_UPGRADE_FILE_ERROR = 60
    RES_UPGRADE_FAILED = 61
    RES_UPGRADE_MEASUREMENT_BOARD_FIRMWARE_FAILED = 62
    RES_ANOTHER_INSTANCE_RUNNING = 63
    RES_DISK_FULL = 64
    RES_PHASING_INCORRECT = 65
    RES_CANNOT_DETECT_PHASING = 66
    RES_RECORD_ADDED = 67
    RES_RECORD_UPDATED = 68
    RES_RECORD_DELETED = 69
    RES_EMERGENCY_STOP_PRESSED = 70
    RES_EMERGENCY_STOP_RELEASED = 71
    RES_TAPCHANGER_UP = 72
    RES_TAPCHANGER_DOWN = 73
    RES_TAPCHANGER_NONE = 74
    RES_TAPCHANGER_ERROR = 75
    RES_PARTIAL_RESULT_CHECK_STATUS = 76
    RES_FEATURE_NOT_SUPPORTED = 77
    RES_DATABASE_SCHEMA_NOT_UPGRADED = 78
    RES_BEACON_ERROR = 79
    RES_EXCITATION_CURRENT_TOO_HIGH = 80
    RES_FACTORY_KEY_NOT_VALID = 81
    RES_CALIBRATION_FIXTURE_INCORRECT = 82
    RES_DEVICE_STATUS_CHANGED = 83
    RES_LICENSE_KEY_NOT_VALID = 84
    STEPUP_RATIO_TOO_HIGH = 85
    STEPUP_1PH_RATIO_TOO_HIGH = 86
    RES_DB_SCHEMA_INCOMPATIBLE = 87
    RES_FILEUPLOAD_SESSION_INVALID = 88
    MSG_FIRMWARE_UPDATE_STARTED = 89
    RES_MEDIADEVICE_NOT_FOUND = 90
    RES_MEDIADEVICE_PASSWORD_PROTECTED = 91
    RES_MEDIADEVICE_PAIRING_DIALOG_RESPONSE_PENDING = 92
    RES_MEDIADEVICE_USER_DENIED_PAIRING = 93
    RES_MEDIADEVICE_NOT_PAIRED = 94
    RES_MEDIADEVICE_UNKNOWN_ERROR = 95
    RES_FILE_NOT_FOUND = 96
    MSG_KNOB_ROTATION_CLOCKWISE = 97
    MSG_KNOB_ROTATION_COUNTERWISE = 98
    RES_KNOB_IS_NOT_WORKING = 99
    MSG_JOYSTICK_UP = 100
    MSG_JOYSTICK_DOWN = 101
    MSG_JOYSTICK_LEFT = 102
    MSG_JOYSTICK_RIGHT = 103
    MSG_JOYSTICK_PRESS = 104
    RES_PRIMARY_SDCARD_HW_ERROR = 105
    RES_SECONDARY_SDCARD_HW_ERROR = 106
    RES_OPEN_LEAD_H0 = 107
    RES_OPEN_LEAD_H1 = 108
    RES_OPEN_LEAD_H2 = 109
    RES_OPEN_LEAD_H3 = 110
    RES_OPEN_LEAD_X0 = 111
    RES_OPEN_LEAD_X1 = 112
    RES_OPEN_LEAD_X2 = 113
    RES_OPEN_LEAD_X3 = 114
    RESTART_TOUCHSCREEN_GUI = 115
    START_TOUCHSCREEN_CALIBRATION = 116
    RES_MAIN_POWER_FAIL = 117
    RES_MAIN_POWER_GOOD = 118
    RES_TRANSFORMER_DISCHARGING = 119
    RES_TRANSFORMER_DISCHARGE_COMPLETE = 120
    RES_ADC_OVERFLOW = 121
    RES_MAIN_POWER_VOLTAGE_TOO_LOW = 122
    RES_MAIN_POWER_VOLTAGE_TOO_HIGH = 123
    RES_INDUCED_VOLTAGE_TOO_HIGH = 124
    RES_HARDWARE_ERROR = 125
    RES_HADRWARE_ACTIVE_DISCHARGER_ERROR = 126
    RES_BLUETOOTH_ADAPTOR_NOT_FOUND = 127
    RES_INSTRUMENT_TYPE_NOT_SUPPORTED = 128
    RES_FREQUENCY_NOT_SUPPORTED = 129
    RES_FIRMWARE_NOT_SUPPORTED = 130
    RES_FIRMWARE_UPDATE_FAILED = 131
    RES_DEMAG_FAILED = 132
    RES_DEMAG_CANNOT_SATURATE = 133
    RES_UNEXPECTED_DISCHARGE = 134
    RES_MEASUREMENT_BOARD_FIRMWARE_ERROR = 135
    RES_DEVICE_FEATURES_CHANGED = 136
    RES_TEST_GROUP_DELETED = 137
    RES_TEXT_TOO_LONG = 138
    RES_TEST_NOT_RUNNING = 139
    RES_CURRENT_HARD_BREAK_H = 140
    RES_CURRENT_HARD_BREAK_X = 141
    RES_CURRENT_SOFT_BREAK_H = 142
    RES_CURRENT_SOFT_BREAK_X = 143
    RES_IMPROPER_CONNECTION_H0 = 144
    RES_IMPROPER_CONNECTION_X0 = 145
    RES_DISCHARGE_TIMEOUT = 146
    RES_EXCITATION_VOLTAGE_LOW_H = 147
    RES_EXCITATION_VOLTAGE_LOW_X = 148
    RES_RPC_METHOD_NOT_IMPLEMENTED = 149
    RES_INDUCTANCE_TOO_LOW = 150
    RES_RATIO_TOO_HIGH = 151
    RES_OPEN_CIRCUIT_H = 152
    RES_OPEN_CIRCUIT_X = 153
    RES_SHORT_CIRCUIT_H = 154
    RES_SHORT_CIRCUIT_X = 155
    RES_NOT_TESTED = 156
    RES_DETECTED_CAPACITANCE = 157
    RES_UNABLE_FIND_VECTOR = 158
    RES_HARDWARE_ADC_NOT_READY = 159
    RES_OPEN_LEADS_REQUIRED = 160
    RES_ASSET_DELETED = 161
    RES_DATABASE_RELOAD = 162
    RES_SWITCH_BOARD_NOT_CONNECTED = 163
    RES_BRIDGE_BOARD_NOT_CONNECTED = 164
    RES_DISCHARGE_BOARD_NOT_CONNECTED = 165
    RES_VOLTAGE_COMM_BOARD_NOT_CONNECTED = 166
    RES_INTERLOCK_ON = 167
    RES_INTERLOCK_OFF = 168
    RES_POWERSUPPLY_BOARD_FIRMWARE_INCOMPATIBLE = 169
    RES_OLTC_TAPCHANGER_MISSING = 170
    RES_BRIDGE_OVERHEAT = 171
    RES_MAX_TEMPLATE_COUNT_REACHED = 172
    RES_FILEUPLOAD_SESSION_UPLOAD_FAILED = 173
    RES_API_UNSUPPORTED_METHOD = 174
    RES_HARDWARE_RTC_WRITE_ERROR = 175
    RES_HARDWARE_RTC_READ_ERROR = 176
    RES_NO_EXCITATION = 177
    RES_HARDWARE_ADC_ERROR = 178
    RES_GAIN_CALIBRATION_ERROR = 179
    MSG_BROADCAST_INPUT_EVENTS_BEGIN = 1000
    MSG_BROADCAST_INPUT_EVENTS_END = 1001
    MSG_BUTTON_PRESSED = 1002
    MSG_BUTTON_RELEASED = 1003
    MSG_ROTARY_POSITION_CHANGED = 1004
    MSG_KEEP_ALIVE = 1005
    MSG_FACTORY_RESET = 1006
    MSG_START_TOUCHSCREEN_TEST = 1007
    MSG_TOUCHSCREEN_TEST_FINISHED = 1008


class TestType(IntEnum):
    """An enumeration of records."""

    UNDEFINED = 0
    RATIO_DOWN = 1
    RATIO_UP = 2
    RATIO_AUTO = 4
    RATIO_CT = 5
    RATIO_PT_VT = 6
    RESISTANCE = 8
    RESISTANCE_CONT = 9
    DEMAG = 10
    SCI = 11
    FRSL = 12
    EFFICIENCY = 13
    MBALANCE = 14
    HEATRUN = 15
    EXCITATION = 16
    GONOGO = 17
    DRM = 18


class WindingType(IntEnum):
    """An enumeration of records."""

    UNDEFINED = 0
    D = 1
    Y = 2
    YN = 3
    Z = 4
    ZN = 5
    N1P = 6
    MH = 8
    CT = 11
    PT = 12
    A = 13


class TestingMode(IntEnum):
    """How a three-phase test excites and measures."""

    N1PH = 1
    N3PH_3_3 = 2
    N3PH_1_1 = 3
    N3PH_3_1 = 4
    N3PH_AUTO = 5


class HealthState(IntEnum):
    """An enumeration of records."""

    UNKNOWN = 0
    EXCELLENT = 1
    GOOD = 2
    MODERATE = 3
    BAD = 4


class PointState(IntEnum):
    """What a resistance measurement is doing at one point."""

    IDLE = 0
    CHARGING = 1
    CHARGING_MEASURING = 2
    STABILIZING = 3
    STABLE = 4
    HEATING = 5
    DISCHARGING = 6
    MANUAL_SAVED = 7
    AUTO_SAVED = 8
    MONITORING = 9
    ERROR = 10
    MEASURING_ONLY = 11


class TapChangerType(IntEnum):
    """An enumeration of records."""

    DETC = 1
    OLTC = 2
    NONE = 3


class NumberingScheme(IntEnum):
    """An enumeration of records."""

    SEQUENTIAL = 0
    ABC = 1
    RNL = 2
    ZERO_INITIAL = 3
    CUSTOM = 4
    CONNECTION = 5


class LetterLabel(IntEnum):
    """An enumeration of records."""

    U = 1
    V = 2
    W = 3
    X = 4
    Y = 5
    Z = 6
    CUSTOM = 7


class ConductorMaterial(IntEnum):
    """An enumeration of records."""

    UNDEFINED = 0
    CU = 1
    AL = 2


class RecordOrigin(IntEnum):
    """An enumeration of records."""

    QUICKTEST = 0
    TEST_FROM_TEMPLATE = 1
    TEMPLATE = 2


class Terminal(IntEnum):
    """A terminal of a transformer: 0 undefined, then H0 to H3, X0 to X3, Y0 to Y3."""

    UNDEFINED = 0
    H0 = 1
    X0 = 5
    Y0 = 9


class SaveMode(IntEnum):
    """Where the library keeps a test: in a new record, in the record of that ID, or nowhere."""

    NEW_RECORD = 1
    ADD_TO_RECORD = 2
    NOTHING = 3


class ConnectionType(IntEnum):
    """How the instrument is reached. The library takes it by pointer."""

    USB_WIFI = 0
    SERVICE = 3


class kvr_WindingSetup(Structure):
    """A record of the client library."""


class kvr_ConnectionSetup(Structure):
    """A record of the client library."""


class kvr_TestSetup(Structure):
    """What is tested: the windings H, X and Y and how they are joined. The same block stands in both request bodies, in the record and in some results."""


class kvr_TestRequestHeader(Structure):
    """Head of a request, with the same first fields as the head of a record."""


class kvr_Ratio1phRequest(Structure):
    """Body of a single-phase ratio test."""


class kvr_Ratio3phRequest(Structure):
    """Body of a three-phase ratio test."""


class kvr_InitParams(Structure):
    """Given to the initialise call."""


class kvr_ClientAPIInfo(Structure):
    """A record of the client library."""


class kvr_DeviceInfo(Structure):
    """What the instrument says about itself."""


class kvr_Status(Structure):
    """The instrument's state of health, asked for on each pass of the main menu."""


class kvr_ProgressHandler(Structure):
    """A record of the client library."""


class kvr_TestData_Ratio_Phase(Structure):
    """One phase of a three-phase ratio test, or the whole of a single-phase one."""


class kvr_TestData_Ratio_3ph(Structure):
    """A three-phase ratio result. From `setup` to `limit_b` it repeats the body of the request."""


class kvr_TestData_Ratio_1ph(Structure):
    """A single-phase ratio result. From `direction` to `limit_b` it repeats the body of the request."""


class kvr_TestData_Impedance_Phase(Structure):
    """A record of the client library."""


class kvr_TestData_Impedance_SingleTest(Structure):
    """A record of the client library."""


class kvr_TestData_Impedance_List(Structure):
    """A record of the client library."""


class kvr_TestData_Impedance(Structure):
    """A record of the client library."""


class kvr_TestData_Efficiency_Phase(Structure):
    """A record of the client library."""


class kvr_TestData_Efficiency(Structure):
    """A record of the client library."""


class kvr_TestData_Transition(Structure):
    """A tap change seen while a point was measured. The library allocates 24 bytes for it."""


class kvr_TestData_Point(Structure):
    """One resistance measurement."""


class kvr_TestData_Tap(Structure):
    """A record of the client library."""


class kvr_TestData_Taps(Structure):
    """A record of the client library."""


class kvr_TestData_Sides(Structure):
    """The taps measured on each side; each may be null."""


class kvr_TestData_Resistance(Structure):
    """A resistance, continuous resistance or heat run result."""


class kvr_TestData_Demag_Phase(Structure):
    """A record of the client library."""


class kvr_TestData_Demag(Structure):
    """A record of the client library."""


class kvr_TestData_MagneticBalance_Cell(Structure):
    """One value of a magnetic balance row; the values lie eight bytes apart."""


class kvr_TestData_MagneticBalance_Row(Structure):
    """A record of the client library."""


class kvr_TestData_MagneticBalance(Structure):
    """A record of the client library."""


class kvr_TestData_Drm_Transition(Structure):
    """A record of the client library."""


class kvr_TestData_Drm(Structure):
    """A dynamic resistance result."""


class kvr_TestData_GoNoGo(Structure):
    """A record of the client library."""


class kvr_TestRecord(Structure):
    """A finished test. Readers use only the array that `test_type` names; the others may be null. `test_count` and `data_count` are two fields on purpose: the export walks the first, the result text walks the second."""


class kvr_TestLabel(Structure):
    """One entry of the list of stored records: the head of its record. It is a type of its own because the entries lie packed, 580 bytes apart, where a kvr_TestRecord would be misaligned."""


class kvr_TestLabelsList(Structure):
    """The list of stored records, owned by the library."""


class kvr_TestData_Progress(Structure):
    """What a running resistance test has saved so far. No call of the library delivers it to this program; ProgressToText renders it."""


class kvr_TerminalPair(Structure):
    """Two terminals of a measurement."""


kvr_WindingSetup._fields_ = [
    ("winding_type", c_uint32),
    ("reserved_4", c_char * 36),
    ("voltage", c_float),
    ("current", c_float),
    ("phase_shift", c_float),
    ("reserved_52", c_char * 28),
    ("tap_changer", c_uint32),
    ("winding_setting", c_int32),
    ("reserved_88", c_char * 4),
]

kvr_ConnectionSetup._fields_ = [
    ("clock", c_int32),
    ("reserved_4", c_char * 4),
    ("kva", c_float),
    ("reserved_12", c_char * 8),
]

kvr_TestSetup._fields_ = [
    ("windings", kvr_WindingSetup * 3),
    ("reserved_276", c_char * 32),
    ("connection_type", c_uint32),
    ("connections", kvr_ConnectionSetup * 3),
    ("line_frequency", c_int32),
    ("setup_value_a", c_int32),
    ("reserved_380", c_char * 8),
    ("setup_value_b", c_int32),
    ("reserved_392", c_char * 4),
    ("temperature_from", c_float),
    ("temperature_to", c_float),
    ("setup_value_c", c_float),
    ("setup_value_d", c_float),
    ("setup_flag_a", c_uint8),
    ("raw_data_requested", c_uint8),
    ("reserved_414", c_char * 2),
    ("setup_flag_b", c_uint8),
    ("reserved_417", c_char * 3),
]

kvr_TestRequestHeader._fields_ = [
    ("asset_id", c_char * 30),
    ("group_id", c_char * 30),
    ("record_id", c_char * 30),
    ("reserved_90", c_char * 2),
    ("save_mode", c_int32),
    ("save_reserved", c_int32),
]

kvr_Ratio1phRequest._fields_ = [
    ("test_type", c_uint32),
    ("high_side_phase", c_int32),
    ("low_side_phase", c_int32),
    ("high_side_extra", c_int32),
    ("low_side_extra", c_int32),
    ("setup", kvr_TestSetup),
    ("test_voltage", c_float),
    ("request_flag_a", c_uint8),
    ("request_flag_b", c_uint8),
    ("reserved_446", c_char * 2),
    ("limit_a", c_float),
    ("limit_b", c_float),
]

kvr_Ratio3phRequest._fields_ = [
    ("setup", kvr_TestSetup),
    ("testing_mode", c_uint32),
    ("test_type", c_uint32),
    ("tested_phase", c_int32),
    ("test_voltage", c_float),
    ("request_flag_a", c_uint8),
    ("reserved_437", c_char),
    ("request_flag_b", c_uint8),
    ("reserved_439", c_char),
    ("limit_a", c_float),
    ("limit_b", c_float),
]

kvr_InitParams._fields_ = [
    ("init_mode", c_int32),
    ("debug_mode", c_uint8),
    ("quiet_mode", c_uint8),
    ("reserved_6", c_uint8 * 2),
    ("init_setting_a", c_int32),
    ("init_setting_b", c_int32),
    ("status_callback", STATUS_CALLBACK),
    ("status_context", c_void_p),
]

kvr_ClientAPIInfo._fields_ = [
    ("api_info_head", c_char * 4),
    ("version", c_char * 22),
]

kvr_DeviceInfo._fields_ = [
    ("instrument_type", c_int32),
    ("reserved_4", c_char * 7),
    ("serial_number", c_char * 21),
    ("hardware_version", c_char * 21),
    ("software_version", c_char * 21),
    ("firmware_version", c_char * 21),
    ("reserved_95", c_char * 21),
    ("debug_mode", c_uint8),
    ("reserved_117", c_char * 3),
    ("device_date_time", c_int64),
    ("reserved_128", c_char * 8),
    ("calibrated", c_uint8),
    ("calibration_old", c_uint8),
    ("reserved_138", c_char * 6),
    ("calibration_date", c_int64),
    ("reserved_152", c_char * 96),
    ("model_tier", c_int32),
    ("reserved_252", c_char * 212),
]

kvr_Status._fields_ = [
    ("device_status_code", c_int32),
    ("api_locked", c_uint8),
    ("database_loaded", c_uint8),
    ("reserved_6", c_uint8),
    ("measurement_board_connected", c_uint8),
    ("reserved_8", c_uint8),
    ("emergency_button_pressed", c_uint8),
    ("reserved_10", c_uint8),
    ("secondary_sd_mounted", c_uint8),
    ("secondary_sd_read_only", c_uint8),
    ("primary_sd_error", c_uint8),
    ("secondary_sd_error", c_uint8),
    ("reserved_15", c_uint8 * 13),
]

kvr_Progress._fields_ = [
    ("current", c_int32),
    ("total", c_int32),
]

kvr_ProgressHandler._fields_ = [
    ("progress_callback", PROGRESS_CALLBACK),
    ("progress_context", c_void_p),
]

kvr_TestData_Ratio_Phase._fields_ = [
    ("reserved_0", c_char * 4),
    ("status", c_int32),
    ("reserved_8", c_char * 12),
    ("phase_name", c_char * 20),
    ("high_side_phase", c_char * 20),
    ("low_side_phase", c_char * 20),
    ("reserved_80", c_char * 36),
    ("tvr_name", c_char * 20),
    ("tvr_high", c_char * 20),
    ("tvr_low", c_char * 20),
    ("reserved_176", c_char * 32),
    ("voltage_h", c_float),
    ("voltage_x", c_float),
    ("tnr", c_double),
    ("tnr_error", c_double),
    ("tvr", c_double),
    ("true_ratio", c_double),
    ("true_ratio_error", c_double),
    ("frequency", c_float),
    ("reserved_260", c_char * 8),
    ("phase_high", c_float),
    ("phase_low", c_float),
    ("phase_shift_absolute", c_float),
    ("phase_deviation_from_user_phasing", c_float),
    ("efi", c_float),
    ("voltage_rms", c_float),
    ("current_rms", c_float),
    ("vol_rms_high", c_float),
    ("vol_rms_low", c_float),
    ("curr_h", c_float),
    ("curr_x", c_float),
    ("reserved_312", c_char * 24),
    ("induced_voltage", c_float),
    ("reserved_340", c_char * 4),
]

kvr_TestData_Ratio_3ph._fields_ = [
    ("reserved_0", c_char * 128),
    ("setup", kvr_TestSetup),
    ("testing_mode", c_uint32),
    ("test_type", c_uint32),
    ("tested_phase", c_int32),
    ("test_voltage", c_float),
    ("request_flag_a", c_uint8),
    ("reserved_565", c_char),
    ("request_flag_b", c_uint8),
    ("reserved_567", c_char),
    ("limit_a", c_float),
    ("limit_b", c_float),
    ("reference_ratio", c_double),
    ("tvr_multiplier", c_double),
    ("phases", kvr_TestData_Ratio_Phase * 3),
    ("zero_seq_hi", c_float),
    ("zero_seq_lo", c_float),
    ("zero_phase_hi", c_float),
    ("zero_phase_lo", c_float),
    ("zero_distortion_index", c_float),
    ("zero_distortion_phase", c_float),
    ("negative_seq_hi", c_float),
    ("negative_seq_lo", c_float),
    ("negative_phase_hi", c_float),
    ("negative_phase_lo", c_float),
    ("negative_distortion_index", c_float),
    ("negative_distortion_phase", c_float),
    ("positive_seq_hi", c_float),
    ("positive_seq_lo", c_float),
    ("positive_phase_hi", c_float),
    ("positive_phase_lo", c_float),
    ("reserved_1688", c_char * 16),
    ("ratio_3ph", c_double),
    ("ratio_3ph_error", c_double),
    ("phase_3ph", c_float),
    ("health_state", c_uint32),
    ("step_up", POINTER(kvr_TestData_Ratio_3ph)),
    ("step_down", POINTER(kvr_TestData_Ratio_3ph)),
    ("reserved_1744", c_char * 8),
]

kvr_TestData_Ratio_1ph._fields_ = [
    ("reserved_0", c_char * 128),
    ("direction", c_uint32),
    ("high_side_phase", c_int32),
    ("low_side_phase", c_int32),
    ("high_side_extra", c_int32),
    ("low_side_extra", c_int32),
    ("setup", kvr_TestSetup),
    ("test_voltage", c_float),
    ("request_flag_a", c_uint8),
    ("request_flag_b", c_uint8),
    ("reserved_574", c_char * 2),
    ("limit_a", c_float),
    ("limit_b", c_float),
    ("reference_ratio", c_double),
    ("phase", kvr_TestData_Ratio_Phase),
]

kvr_TestData_Impedance_Phase._fields_ = [
    ("corrected", c_uint8),
    ("reserved_1", c_char * 3),
    ("status", c_int32),
    ("reserved_8", c_char * 12),
    ("phase_name", c_char * 20),
    ("high_side_phase", c_char * 20),
    ("low_side_phase", c_char * 20),
    ("reserved_80", c_char * 32),
    ("v_ratio", c_double),
    ("reserved_120", c_char * 4),
    ("test_frequency", c_float),
    ("rs", c_float),
    ("xs", c_float),
    ("power_factor", c_float),
    ("inductance", c_float),
    ("capacitance", c_float),
    ("reserved_148", c_char * 4),
    ("z", c_double),
    ("reserved_160", c_char * 8),
    ("z_percent", c_double),
    ("z_percent_error", c_double),
    ("reserved_184", c_char * 16),
    ("curr_rms", c_float),
    ("reserved_204", c_char * 44),
]

kvr_TestData_Impedance_SingleTest._fields_ = [
    ("reserved_0", c_char * 8),
    ("phases", kvr_TestData_Impedance_Phase * 3),
    ("phase_mode", c_int32),
    ("reserved_756", c_char * 8),
    ("avg_power_factor", c_float),
    ("reserved_768", c_char * 8),
    ("avg_z", c_double),
    ("reserved_784", c_char * 8),
    ("avg_z_percent", c_double),
    ("reserved_800", c_char * 24),
]

kvr_TestData_Impedance_List._fields_ = [
    ("tests", POINTER(kvr_TestData_Impedance_SingleTest)),
    ("count", c_uint32),
]

kvr_TestData_Impedance._fields_ = [
    ("reserved_0", c_char * 128),
    ("test_type", c_uint32),
    ("reserved_132", c_char * 12),
    ("setup", kvr_TestSetup),
    ("reserved_564", c_char * 92),
    ("tests", POINTER(kvr_TestData_Impedance_List)),
]

kvr_TestData_Efficiency_Phase._fields_ = [
    ("corrected", c_uint8),
    ("reserved_1", c_char * 3),
    ("status", c_int32),
    ("reserved_8", c_char * 4),
    ("phase_name", c_char * 20),
    ("high_side_phase", c_char * 20),
    ("low_side_phase", c_char * 20),
    ("reserved_72", c_char * 44),
    ("ratio_tnr", c_float),
    ("load_rs_line", c_float),
    ("load_rs_zero", c_float),
    ("load_i2r", c_float),
    ("load_stray_eddy", c_float),
    ("load_losses", c_float),
    ("no_load_losses", c_float),
    ("total_losses", c_float),
    ("hysteresis", c_float),
    ("eddy_current", c_float),
    ("i2r_no_load", c_float),
    ("noload_eddy_resistance_measured", c_float),
    ("noload_eddy_resistance_corrected", c_float),
]

kvr_TestData_Efficiency._fields_ = [
    ("reserved_0", c_char * 112),
    ("duration_ms", c_uint32),
    ("reserved_116", c_char * 12),
    ("setup", kvr_TestSetup),
    ("fast_mode", c_uint8),
    ("reserved_549", c_char * 19),
    ("phases", kvr_TestData_Efficiency_Phase * 3),
    ("total_load_losses", c_float),
    ("total_no_load_losses", c_float),
    ("total_eddy_current", c_float),
    ("total_hysteresis", c_float),
    ("total_losses", c_float),
    ("efficiency_percent", c_float),
]

kvr_TestData_Transition._fields_ = [
    ("status", c_int32),
    ("from", c_int32),
    ("to", c_int32),
    ("reserved_12", c_char * 12),
]

kvr_TestData_Point._fields_ = [
    ("reserved_0", c_char * 16),
    ("name", c_char * 20),
    ("state", c_uint32),
    ("error", c_int32),
    ("stabilization_ms", c_uint32),
    ("reserved_48", c_char * 4),
    ("ii", c_float),
    ("ua", c_float),
    ("ia", c_float),
    ("reserved_64", c_char * 8),
    ("stability", c_float),
    ("reserved_76", c_char * 12),
    ("rm", c_double),
    ("reserved_96", c_char * 8),
    ("transition", POINTER(kvr_TestData_Transition)),
]

kvr_TestData_Tap._fields_ = [
    ("tap", c_int32),
    ("reserved_4", c_char * 4),
    ("points", POINTER(POINTER(kvr_TestData_Point))),
    ("point_count", c_uint32),
]

kvr_TestData_Taps._fields_ = [
    ("taps", POINTER(POINTER(kvr_TestData_Tap))),
    ("count", c_uint32),
]

kvr_TestData_Sides._fields_ = [
    ("primary", POINTER(kvr_TestData_Taps)),
    ("secondary", POINTER(kvr_TestData_Taps)),
    ("tertiary", POINTER(kvr_TestData_Taps)),
]

kvr_TestData_Resistance._fields_ = [
    ("reserved_0", c_char * 112),
    ("duration_ms", c_uint32),
    ("reserved_116", c_char * 508),
    ("sides", POINTER(kvr_TestData_Sides)),
]

kvr_TestData_Demag_Phase._fields_ = [
    ("reserved_0", c_char * 16),
    ("demag_phase", c_char * 32),
    ("remanence_initial", c_float),
    ("remanence_after_demag", c_float),
]

kvr_TestData_Demag._fields_ = [
    ("reserved_0", c_char * 112),
    ("duration_ms", c_uint32),
    ("reserved_116", c_char * 444),
    ("phases", POINTER(POINTER(kvr_TestData_Demag_Phase))),
    ("phase_count", c_uint32),
]

kvr_TestData_MagneticBalance_Cell._fields_ = [
    ("value", c_float),
    ("reserved_4", c_char * 4),
]

kvr_TestData_MagneticBalance_Row._fields_ = [
    ("reserved_0", c_char * 132),
    ("high_label", c_char * 20),
    ("low_label", c_char * 20),
    ("reserved_172", c_char * 168),
    ("cell", kvr_TestData_MagneticBalance_Cell * 3),
    ("total", c_float),
    ("reserved_368", c_char * 16),
]

kvr_TestData_MagneticBalance._fields_ = [
    ("reserved_0", c_char * 556),
    ("side", c_uint32),
    ("reserved_560", c_char * 4),
    ("rows", kvr_TestData_MagneticBalance_Row * 3),
    ("max_imbalance", c_float),
]

kvr_TestData_Drm_Transition._fields_ = [
    ("reserved_0", c_char * 12),
    ("start_time", c_uint32),
    ("end_time", c_uint32),
]

kvr_TestData_Drm._fields_ = [
    ("reserved_0", c_char * 632),
    ("first_transition", POINTER(kvr_TestData_Drm_Transition)),
    ("reserved_640", c_char * 8),
    ("transition_count", c_uint32),
]

kvr_TestData_GoNoGo._fields_ = [
    ("reserved_0", c_char * 656),
    ("status_open_circuit", c_int32),
    ("status_short_circuit", c_int32),
    ("status_minimum_inductance", c_int32),
]

kvr_TestRecord._fields_ = [
    ("asset_id", c_char * 30),
    ("group_id", c_char * 30),
    ("record_id", c_char * 30),
    ("reserved_90", c_char * 2),
    ("save_mode", c_int32),
    ("reserved_96", c_char * 28),
    ("test_count", c_uint32),
    ("reserved_128", c_char * 4),
    ("test_type", c_uint32),
    ("setup", kvr_TestSetup),
    ("reserved_556", c_char),
    ("timestamp", c_char * 35),
    ("data_ratio_3ph", POINTER(POINTER(kvr_TestData_Ratio_3ph))),
    ("data_ratio_1ph", POINTER(POINTER(kvr_TestData_Ratio_1ph))),
    ("data_mbalance", POINTER(POINTER(kvr_TestData_MagneticBalance))),
    ("data_resistance", POINTER(POINTER(kvr_TestData_Resistance))),
    ("data_demag", POINTER(POINTER(kvr_TestData_Demag))),
    ("data_efficiency", POINTER(POINTER(kvr_TestData_Efficiency))),
    ("data_impedance", POINTER(POINTER(kvr_TestData_Impedance))),
    ("data_drm", POINTER(POINTER(kvr_TestData_Drm))),
    ("data_heatrun", POINTER(POINTER(kvr_TestData_Resistance))),
    ("data_gonogo", POINTER(POINTER(kvr_TestData_GoNoGo))),
    ("data_count", c_uint32),
    ("reserved_676", c_char * 4),
    ("raw_data", c_char_p),
    ("reserved_688", c_char * 8),
]

kvr_TestLabel._fields_ = [
    ("asset_id", c_char * 30),
    ("group_id", c_char * 30),
    ("record_id", c_char * 30),
    ("reserved_90", c_char * 2),
    ("save_mode", c_int32),
    ("reserved_96", c_char * 28),
    ("test_count", c_uint32),
    ("reserved_128", c_char * 4),
    ("test_type", c_uint32),
    ("setup", kvr_TestSetup),
    ("reserved_556", c_char),
    ("timestamp", c_char * 23),
]

kvr_TestLabelsList._fields_ = [
    ("entries", POINTER(kvr_TestLabel)),
    ("count", c_uint32),
]

kvr_TestData_Progress._fields_ = [
    ("reserved_0", c_char * 4),
    ("saved", c_uint32),
    ("reserved_8", c_char * 20),
    ("tap", c_int32),
    ("tap_count", c_int32),
    ("reserved_36", c_char * 60),
    ("points", POINTER(POINTER(kvr_TestData_Point))),
    ("point_count", c_uint32),
    ("status", c_int32),
]

kvr_TerminalPair._fields_ = [
    ("first", c_uint32),
    ("second", c_uint32),
]


@dataclass(frozen=True)
class WindingSetup:
    """A record of the client library.

    winding_type
    voltage: V
    current: A
    phase_shift: rad
    tap_changer
    winding_setting: always 1 in a request
    """

    winding_type: WindingType | int
    voltage: float
    current: float
    phase_shift: float
    tap_changer: TapChangerType | int
    winding_setting: int


@dataclass(frozen=True)
class ConnectionSetup:
    """A record of the client library.

    clock: vector group clock number, or kClockUnknown
    kva
    """

    clock: int
    kva: float


@dataclass(frozen=True)
class TestSetup:
    """What is tested: the windings H, X and Y and how they are joined. The same block stands in both request bodies, in the record and in some results.

    windings
    connection_type: kConnectionHToX and its neighbours
    connections: one per connection_type
    line_frequency: Hz
    setup_value_a
    setup_value_b
    temperature_from: measured, degrees C
    temperature_to: corrected to, degrees C
    setup_value_c
    setup_value_d
    setup_flag_a
    raw_data_requested
    setup_flag_b
    """

    windings: tuple["WindingSetup", ...]
    connection_type: int
    connections: tuple["ConnectionSetup", ...]
    line_frequency: int
    setup_value_a: int
    setup_value_b: int
    temperature_from: float
    temperature_to: float
    setup_value_c: float
    setup_value_d: float
    setup_flag_a: int
    raw_data_requested: int
    setup_flag_b: int


@dataclass(frozen=True)
class TestRequestHeader:
    """Head of a request, with the same first fields as the head of a record.

    asset_id
    group_id
    record_id
    save_mode
    save_reserved
    """

    asset_id: str
    group_id: str
    record_id: str
    save_mode: SaveMode | int
    save_reserved: int


@dataclass(frozen=True)
class Ratio1phRequest:
    """Body of a single-phase ratio test.

    test_type
    high_side_phase: terminal pair 1 to 6
    low_side_phase: terminal pair 1 to 6
    high_side_extra
    low_side_extra
    setup
    test_voltage: V
    request_flag_a
    request_flag_b
    limit_a
    limit_b
    """

    test_type: TestType | int
    high_side_phase: int
    low_side_phase: int
    high_side_extra: int
    low_side_extra: int
    setup: "TestSetup"
    test_voltage: float
    request_flag_a: int
    request_flag_b: int
    limit_a: float
    limit_b: float


@dataclass(frozen=True)
class Ratio3phRequest:
    """Body of a three-phase ratio test.

    setup
    testing_mode
    test_type
    tested_phase: kAllPhases, or the index of one phase
    test_voltage: V
    request_flag_a
    request_flag_b
    limit_a
    limit_b
    """

    setup: "TestSetup"
    testing_mode: TestingMode | int
    test_type: TestType | int
    tested_phase: int
    test_voltage: float
    request_flag_a: int
    request_flag_b: int
    limit_a: float
    limit_b: float


@dataclass(frozen=True)
class InitParams:
    """Given to the initialise call.

    init_mode
    debug_mode
    quiet_mode
    init_setting_a
    init_setting_b
    """

    init_mode: int
    debug_mode: int
    quiet_mode: int
    init_setting_a: int
    init_setting_b: int


@dataclass(frozen=True)
class ClientAPIInfo:
    """A record of the client library.

    api_info_head
    version
    """

    api_info_head: str
    version: str


@dataclass(frozen=True)
class DeviceInfo:
    """What the instrument says about itself.

    instrument_type
    serial_number
    hardware_version
    software_version
    firmware_version
    debug_mode
    device_date_time
    calibrated
    calibration_old
    calibration_date
    model_tier
    """

    instrument_type: int
    serial_number: str
    hardware_version: str
    software_version: str
    firmware_version: str
    debug_mode: int
    device_date_time: int
    calibrated: int
    calibration_old: int
    calibration_date: int
    model_tier: int


@dataclass(frozen=True)
class Status:
    """The instrument's state of health, asked for on each pass of the main menu.

    device_status_code
    api_locked
    database_loaded
    measurement_board_connected
    emergency_button_pressed
    secondary_sd_mounted
    secondary_sd_read_only
    primary_sd_error
    secondary_sd_error
    """

    device_status_code: Code | int
    api_locked: int
    database_loaded: int
    measurement_board_connected: int
    emergency_button_pressed: int
    secondary_sd_mounted: int
    secondary_sd_read_only: int
    primary_sd_error: int
    secondary_sd_error: int


@dataclass(frozen=True)
class Progress:
    """A record of the client library.

    current
    total
    """

    current: int
    total: int


@dataclass(frozen=True)
class ProgressHandler:
    """A record of the client library.

    """



@dataclass(frozen=True)
class TestDataRatioPhase:
    """One phase of a three-phase ratio test, or the whole of a single-phase one.

    status: KVR_RES_OK, KVR_RES_NOT_TESTED or a failure
    phase_name
    high_side_phase
    low_side_phase
    tvr_name
    tvr_high
    tvr_low
    voltage_h: V
    voltage_x: V
    tnr: turns ratio
    tnr_error: percent
    tvr: voltage ratio
    true_ratio
    true_ratio_error: percent
    frequency: Hz
    phase_high: rad
    phase_low: rad
    phase_shift_absolute: rad
    phase_deviation_from_user_phasing: rad
    efi: rad
    voltage_rms: V
    current_rms: A
    vol_rms_high: V
    vol_rms_low: V
    curr_h: A
    curr_x: A
    induced_voltage: V
    """

    status: Code | int
    phase_name: str
    high_side_phase: str
    low_side_phase: str
    tvr_name: str
    tvr_high: str
    tvr_low: str
    voltage_h: float
    voltage_x: float
    tnr: float
    tnr_error: float
    tvr: float
    true_ratio: float
    true_ratio_error: float
    frequency: float
    phase_high: float
    phase_low: float
    phase_shift_absolute: float
    phase_deviation_from_user_phasing: float
    efi: float
    voltage_rms: float
    current_rms: float
    vol_rms_high: float
    vol_rms_low: float
    curr_h: float
    curr_x: float
    induced_voltage: float


@dataclass(frozen=True)
class TestDataRatio3ph:
    """A three-phase ratio result. From `setup` to `limit_b` it repeats the body of the request.

    setup
    testing_mode
    test_type: of a ratio_auto test: the direction that was settled
    tested_phase: kAllPhases, or the index of the one phase in `phases`
    test_voltage: V
    request_flag_a
    request_flag_b
    limit_a
    limit_b
    reference_ratio: 0 when no ratio was given to compare against
    tvr_multiplier
    phases
    zero_seq_hi
    zero_seq_lo
    zero_phase_hi: rad
    zero_phase_lo: rad
    zero_distortion_index: fraction
    zero_distortion_phase: rad
    negative_seq_hi
    negative_seq_lo
    negative_phase_hi: rad
    negative_phase_lo: rad
    negative_distortion_index: fraction
    negative_distortion_phase: rad
    positive_seq_hi
    positive_seq_lo
    positive_phase_hi: rad
    positive_phase_lo: rad
    ratio_3ph
    ratio_3ph_error: percent
    phase_3ph: rad
    health_state
    step_up: nested result, may be null
    step_down: nested result, may be null
    """

    setup: "TestSetup"
    testing_mode: TestingMode | int
    test_type: TestType | int
    tested_phase: int
    test_voltage: float
    request_flag_a: int
    request_flag_b: int
    limit_a: float
    limit_b: float
    reference_ratio: float
    tvr_multiplier: float
    phases: tuple["TestDataRatioPhase", ...]
    zero_seq_hi: float
    zero_seq_lo: float
    zero_phase_hi: float
    zero_phase_lo: float
    zero_distortion_index: float
    zero_distortion_phase: float
    negative_seq_hi: float
    negative_seq_lo: float
    negative_phase_hi: float
    negative_phase_lo: float
    negative_distortion_index: float
    negative_distortion_phase: float
    positive_seq_hi: float
    positive_seq_lo: float
    positive_phase_hi: float
    positive_phase_lo: float
    ratio_3ph: float
    ratio_3ph_error: float
    phase_3ph: float
    health_state: HealthState | int
    step_up: "TestDataRatio3ph | None"
    step_down: "TestDataRatio3ph | None"


@dataclass(frozen=True)
class TestDataRatio1ph:
    """A single-phase ratio result. From `direction` to `limit_b` it repeats the body of the request.

    direction: step down, step up or CT test; anything else is undefined
    high_side_phase
    low_side_phase
    high_side_extra
    low_side_extra
    setup
    test_voltage: V
    request_flag_a
    request_flag_b
    limit_a
    limit_b
    reference_ratio: 0 when no ratio was given to compare against
    phase
    """

    direction: TestType | int
    high_side_phase: int
    low_side_phase: int
    high_side_extra: int
    low_side_extra: int
    setup: "TestSetup"
    test_voltage: float
    request_flag_a: int
    request_flag_b: int
    limit_a: float
    limit_b: float
    reference_ratio: float
    phase: "TestDataRatioPhase"


@dataclass(frozen=True)
class TestDataImpedancePhase:
    """A record of the client library.

    corrected: temperature corrections were applied
    status
    phase_name
    high_side_phase
    low_side_phase
    v_ratio
    test_frequency: Hz
    rs: ohm
    xs: ohm
    power_factor
    inductance: H
    capacitance: F
    z: ohm
    z_percent
    z_percent_error
    curr_rms: A
    """

    corrected: int
    status: Code | int
    phase_name: str
    high_side_phase: str
    low_side_phase: str
    v_ratio: float
    test_frequency: float
    rs: float
    xs: float
    power_factor: float
    inductance: float
    capacitance: float
    z: float
    z_percent: float
    z_percent_error: float
    curr_rms: float


@dataclass(frozen=True)
class TestDataImpedanceSingleTest:
    """A record of the client library.

    phases
    phase_mode: 1 for a single-phase result, in phases[0]
    avg_power_factor
    avg_z: ohm
    avg_z_percent
    """

    phases: tuple["TestDataImpedancePhase", ...]
    phase_mode: int
    avg_power_factor: float
    avg_z: float
    avg_z_percent: float


@dataclass(frozen=True)
class TestDataImpedanceList:
    """A record of the client library.

    tests: contiguous array
    count
    """

    tests: tuple["TestDataImpedanceSingleTest", ...]
    count: int


@dataclass(frozen=True)
class TestDataImpedance:
    """A record of the client library.

    test_type: sci or frsl
    setup
    tests
    """

    test_type: TestType | int
    setup: "TestSetup"
    tests: "TestDataImpedanceList | None"


@dataclass(frozen=True)
class TestDataEfficiencyPhase:
    """A record of the client library.

    corrected: temperature corrections were applied
    status
    phase_name
    high_side_phase
    low_side_phase
    ratio_tnr
    load_rs_line: ohm
    load_rs_zero: ohm
    load_i2r: W
    load_stray_eddy: W
    load_losses: W
    no_load_losses: W
    total_losses: W
    hysteresis: W
    eddy_current: W
    i2r_no_load: W
    noload_eddy_resistance_measured: ohm
    noload_eddy_resistance_corrected: ohm
    """

    corrected: int
    status: Code | int
    phase_name: str
    high_side_phase: str
    low_side_phase: str
    ratio_tnr: float
    load_rs_line: float
    load_rs_zero: float
    load_i2r: float
    load_stray_eddy: float
    load_losses: float
    no_load_losses: float
    total_losses: float
    hysteresis: float
    eddy_current: float
    i2r_no_load: float
    noload_eddy_resistance_measured: float
    noload_eddy_resistance_corrected: float


@dataclass(frozen=True)
class TestDataEfficiency:
    """A record of the client library.

    duration_ms
    setup
    fast_mode
    phases: phases[0] also carries a single-phase result
    total_load_losses: W
    total_no_load_losses: W
    total_eddy_current: W
    total_hysteresis: W
    total_losses: W
    efficiency_percent
    """

    duration_ms: int
    setup: "TestSetup"
    fast_mode: int
    phases: tuple["TestDataEfficiencyPhase", ...]
    total_load_losses: float
    total_no_load_losses: float
    total_eddy_current: float
    total_hysteresis: float
    total_losses: float
    efficiency_percent: float


@dataclass(frozen=True)
class TestDataTransition:
    """A tap change seen while a point was measured. The library allocates 24 bytes for it.

    status
    from
    to
    """

    status: Code | int
    from_: int
    to: int


@dataclass(frozen=True)
class TestDataPoint:
    """One resistance measurement.

    name: terminals
    state
    error: KVR_RES_OK when none
    stabilization_ms: meaningful in KVR_POINT_STABLE
    ii: A
    ua: V
    ia: A
    stability: percent
    rm: ohm
    transition: may be null
    """

    name: str
    state: PointState | int
    error: Code | int
    stabilization_ms: int
    ii: float
    ua: float
    ia: float
    stability: float
    rm: float
    transition: "TestDataTransition | None"


@dataclass(frozen=True)
class TestDataTap:
    """A record of the client library.

    tap: tap position
    points: entries may be null
    point_count
    """

    tap: int
    points: tuple["TestDataPoint", ...]
    point_count: int


@dataclass(frozen=True)
class TestDataTaps:
    """A record of the client library.

    taps: may be null, and so may its entries
    count
    """

    taps: tuple["TestDataTap", ...]
    count: int


@dataclass(frozen=True)
class TestDataSides:
    """The taps measured on each side; each may be null.

    primary
    secondary
    tertiary
    """

    primary: "TestDataTaps | None"
    secondary: "TestDataTaps | None"
    tertiary: "TestDataTaps | None"


@dataclass(frozen=True)
class TestDataResistance:
    """A resistance, continuous resistance or heat run result.

    duration_ms
    sides: may be null
    """

    duration_ms: int
    sides: "TestDataSides | None"


@dataclass(frozen=True)
class TestDataDemagPhase:
    """A record of the client library.

    demag_phase
    remanence_initial: fraction
    remanence_after_demag: fraction
    """

    demag_phase: str
    remanence_initial: float
    remanence_after_demag: float


@dataclass(frozen=True)
class TestDataDemag:
    """A record of the client library.

    duration_ms
    phases: entries may be null
    phase_count
    """

    duration_ms: int
    phases: tuple["TestDataDemagPhase", ...]
    phase_count: int


@dataclass(frozen=True)
class TestDataMagneticBalanceCell:
    """One value of a magnetic balance row; the values lie eight bytes apart.

    value
    """

    value: float


@dataclass(frozen=True)
class TestDataMagneticBalanceRow:
    """A record of the client library.

    high_label
    low_label
    cell
    total
    """

    high_label: str
    low_label: str
    cell: tuple["TestDataMagneticBalanceCell", ...]
    total: float


@dataclass(frozen=True)
class TestDataMagneticBalance:
    """A record of the client library.

    side: 0 selects the low-side labels, anything else the high-side labels
    rows
    max_imbalance
    """

    side: int
    rows: tuple["TestDataMagneticBalanceRow", ...]
    max_imbalance: float


@dataclass(frozen=True)
class TestDataDrmTransition:
    """A record of the client library.

    start_time
    end_time
    """

    start_time: int
    end_time: int


@dataclass(frozen=True)
class TestDataDrm:
    """A dynamic resistance result.

    first_transition: null means no data
    transition_count
    """

    first_transition: tuple["TestDataDrmTransition", ...]
    transition_count: int


@dataclass(frozen=True)
class TestDataGoNoGo:
    """A record of the client library.

    status_open_circuit
    status_short_circuit
    status_minimum_inductance
    """

    status_open_circuit: Code | int
    status_short_circuit: Code | int
    status_minimum_inductance: Code | int


@dataclass(frozen=True)
class TestRecord:
    """A finished test. Readers use only the array that `test_type` names; the others may be null. `test_count` and `data_count` are two fields on purpose: the expor

    asset_id
    group_id
    record_id
    save_mode
    test_count: tests of the record; 0 means that it holds no results
    test_type
    setup
    timestamp
    data_ratio_3ph
    data_ratio_1ph
    data_mbalance
    data_resistance: resistance and resistance_cont
    data_demag
    data_efficiency
    data_impedance: sci and frsl
    data_drm
    data_heatrun
    data_gonogo
    data_count: entries of each array
    raw_data: text of the run's samples, may be null
    """

    asset_id: str
    group_id: str
    record_id: str
    save_mode: SaveMode | int
    test_count: int
    test_type: TestType | int
    setup: "TestSetup"
    timestamp: str
    data_ratio_3ph: tuple["TestDataRatio3ph", ...]
    data_ratio_1ph: tuple["TestDataRatio1ph", ...]
    data_mbalance: tuple["TestDataMagneticBalance", ...]
    data_resistance: tuple["TestDataResistance", ...]
    data_demag: tuple["TestDataDemag", ...]
    data_efficiency: tuple["TestDataEfficiency", ...]
    data_impedance: tuple["TestDataImpedance", ...]
    data_drm: tuple["TestDataDrm", ...]
    data_heatrun: tuple["TestDataResistance", ...]
    data_gonogo: tuple["TestDataGoNoGo", ...]
    data_count: int
    raw_data: str | None


@dataclass(frozen=True)
class TestLabel:
    """One entry of the list of stored records: the head of its record. It is a type of its own because the entries lie packed, 580 bytes apart, where a kvr_TestReco

    asset_id
    group_id
    record_id
    save_mode
    test_count
    test_type
    setup
    timestamp
    """

    asset_id: str
    group_id: str
    record_id: str
    save_mode: SaveMode | int
    test_count: int
    test_type: TestType | int
    setup: "TestSetup"
    timestamp: str


@dataclass(frozen=True)
class TestLabelsList:
    """The list of stored records, owned by the library.

    entries
    count
    """

    entries: tuple["TestLabel", ...]
    count: int


@dataclass(frozen=True)
class TestDataProgress:
    """What a running resistance test has saved so far. No call of the library delivers it to this program; ProgressToText renders it.

    saved: 2 partial phase, 3 full phase, 4 test completed
    tap
    tap_count
    points: entries may be null
    point_count
    status
    """

    saved: int
    tap: int
    tap_count: int
    points: tuple["TestDataPoint", ...]
    point_count: int
    status: Code | int


@dataclass(frozen=True)
class TerminalPair:
    """Two terminals of a measurement.

    first
    second
    """

    first: Terminal | int
    second: Terminal | int


# The typed object of each structure, what its fields are, and how its pointers are followed.
TYPED: dict[type, type] = {
    kvr_WindingSetup: WindingSetup,
    kvr_ConnectionSetup: ConnectionSetup,
    kvr_TestSetup: TestSetup,
    kvr_TestRequestHeader: TestRequestHeader,
    kvr_Ratio1phRequest: Ratio1phRequest,
    kvr_Ratio3phRequest: Ratio3phRequest,
    kvr_InitParams: InitParams,
    kvr_ClientAPIInfo: ClientAPIInfo,
    kvr_DeviceInfo: DeviceInfo,
    kvr_Status: Status,
    kvr_Progress: Progress,
    kvr_ProgressHandler: ProgressHandler,
    kvr_TestData_Ratio_Phase: TestDataRatioPhase,
    kvr_TestData_Ratio_3ph: TestDataRatio3ph,
    kvr_TestData_Ratio_1ph: TestDataRatio1ph,
    kvr_TestData_Impedance_Phase: TestDataImpedancePhase,
    kvr_TestData_Impedance_SingleTest: TestDataImpedanceSingleTest,
    kvr_TestData_Impedance_List: TestDataImpedanceList,
    kvr_TestData_Impedance: TestDataImpedance,
    kvr_TestData_Efficiency_Phase: TestDataEfficiencyPhase,
    kvr_TestData_Efficiency: TestDataEfficiency,
    kvr_TestData_Transition: TestDataTransition,
    kvr_TestData_Point: TestDataPoint,
    kvr_TestData_Tap: TestDataTap,
    kvr_TestData_Taps: TestDataTaps,
    kvr_TestData_Sides: TestDataSides,
    kvr_TestData_Resistance: TestDataResistance,
    kvr_TestData_Demag_Phase: TestDataDemagPhase,
    kvr_TestData_Demag: TestDataDemag,
    kvr_TestData_MagneticBalance_Cell: TestDataMagneticBalanceCell,
    kvr_TestData_MagneticBalance_Row: TestDataMagneticBalanceRow,
    kvr_TestData_MagneticBalance: TestDataMagneticBalance,
    kvr_TestData_Drm_Transition: TestDataDrmTransition,
    kvr_TestData_Drm: TestDataDrm,
    kvr_TestData_GoNoGo: TestDataGoNoGo,
    kvr_TestRecord: TestRecord,
    kvr_TestLabel: TestLabel,
    kvr_TestLabelsList: TestLabelsList,
    kvr_TestData_Progress: TestDataProgress,
    kvr_TerminalPair: TerminalPair,
}
ENUMS: dict[tuple[type, str], type[IntEnum]] = {
    (kvr_WindingSetup, "winding_type"): WindingType,
    (kvr_WindingSetup, "tap_changer"): TapChangerType,
    (kvr_TestRequestHeader, "save_mode"): SaveMode,
    (kvr_Ratio1phRequest, "test_type"): TestType,
    (kvr_Ratio3phRequest, "testing_mode"): TestingMode,
    (kvr_Ratio3phRequest, "test_type"): TestType,
    (kvr_Status, "device_status_code"): Code,
    (kvr_TestData_Ratio_Phase, "status"): Code,
    (kvr_TestData_Ratio_3ph, "testing_mode"): TestingMode,
    (kvr_TestData_Ratio_3ph, "test_type"): TestType,
    (kvr_TestData_Ratio_3ph, "health_state"): HealthState,
    (kvr_TestData_Ratio_1ph, "direction"): TestType,
    (kvr_TestData_Impedance_Phase, "status"): Code,
    (kvr_TestData_Impedance, "test_type"): TestType,
    (kvr_TestData_Efficiency_Phase, "status"): Code,
    (kvr_TestData_Transition, "status"): Code,
    (kvr_TestData_Point, "state"): PointState,
    (kvr_TestData_Point, "error"): Code,
    (kvr_TestData_GoNoGo, "status_open_circuit"): Code,
    (kvr_TestData_GoNoGo, "status_short_circuit"): Code,
    (kvr_TestData_GoNoGo, "status_minimum_inductance"): Code,
    (kvr_TestRecord, "save_mode"): SaveMode,
    (kvr_TestRecord, "test_type"): TestType,
    (kvr_TestLabel, "save_mode"): SaveMode,
    (kvr_TestLabel, "test_type"): TestType,
    (kvr_TestData_Progress, "status"): Code,
    (kvr_TerminalPair, "first"): Terminal,
    (kvr_TerminalPair, "second"): Terminal,
}
LINKS: dict[tuple[type, str], tuple[str, str]] = {
    (kvr_TestData_Ratio_3ph, "step_up"): ("one", ""),
    (kvr_TestData_Ratio_3ph, "step_down"): ("one", ""),
    (kvr_TestData_Impedance_List, "tests"): ("block", "count"),
    (kvr_TestData_Impedance, "tests"): ("one", ""),
    (kvr_TestData_Point, "transition"): ("one", ""),
    (kvr_TestData_Tap, "points"): ("each", "point_count"),
    (kvr_TestData_Taps, "taps"): ("each", "count"),
    (kvr_TestData_Sides, "primary"): ("one", ""),
    (kvr_TestData_Sides, "secondary"): ("one", ""),
    (kvr_TestData_Sides, "tertiary"): ("one", ""),
    (kvr_TestData_Resistance, "sides"): ("one", ""),
    (kvr_TestData_Demag, "phases"): ("each", "phase_count"),
    (kvr_TestData_Drm, "first_transition"): ("block", "transition_count"),
    (kvr_TestLabelsList, "entries"): ("block", "count"),
    (kvr_TestData_Progress, "points"): ("each", "point_count"),
    (kvr_TestRecord, "data_ratio_3ph"): ("each", "data_count"),
    (kvr_TestRecord, "data_ratio_1ph"): ("each", "data_count"),
    (kvr_TestRecord, "data_mbalance"): ("each", "data_count"),
    (kvr_TestRecord, "data_resistance"): ("each", "data_count"),
    (kvr_TestRecord, "data_demag"): ("each", "data_count"),
    (kvr_TestRecord, "data_efficiency"): ("each", "data_count"),
    (kvr_TestRecord, "data_impedance"): ("each", "data_count"),
    (kvr_TestRecord, "data_drm"): ("each", "data_count"),
    (kvr_TestRecord, "data_heatrun"): ("each", "data_count"),
    (kvr_TestRecord, "data_gonogo"): ("each", "data_count"),
}
