#include <array>
#include <string>

#include "contract/contract.h"

// Rules of initialisation, connection and locking, and of what the library and the instrument
// report about themselves.

namespace contract {
namespace {

constexpr unsigned char kFill = 0x5A;

/// A record with room after it, to see what a call writes and where it stops.
template <typename Value>
struct Guarded {
  Value value;
  std::array<unsigned char, 64> after;

  Guarded() { std::memset(static_cast<void*>(this), kFill, sizeof *this); }

  bool untouched() const {
    const Guarded fresh;
    return std::memcmp(this, &fresh, sizeof *this) == 0;
  }
  bool overrun() const {
    const Guarded fresh;
    return after != fresh.after;
  }
};

/// Makes every call that needs a session, except those that begin or end one. No output may change.
void expect_refusals(Check& check, kvr_code expected, bool connected_only) {
  const ClientApiTable& api = check.api;
  Guarded<kvr_DeviceInfo> device;
  Guarded<kvr_Status> status;
  bool exists = true;
  kvr_TestLabelsList* listed = nullptr;
  kvr_TestRecord* record = nullptr;
  kvr_TestRequestHeader header = request_header("", KVR_SAVE_NOTHING);
  kvr_Ratio1phRequest single = request_1ph(kUsualVoltage);
  kvr_Ratio3phRequest triple = request_3ph(kUsualVoltage);
  if (!connected_only) {
    Guarded<kvr_ClientAPIInfo> info;
    check.answer("kvr_SetClientKey", api.kvr_SetClientKey("key"), expected);
    check.answer("kvr_ConnectAPI", connect(api), expected);
    check.answer("kvr_GetClientAPIInfo", api.kvr_GetClientAPIInfo(&info.value), expected);
    check.answer("kvr_CancelOperation", api.kvr_CancelOperation(), expected);
    check.that(info.untouched(), "a refused kvr_GetClientAPIInfo wrote into its record");
  }
  check.that(api.kvr_CheckConnection() != 0, "kvr_CheckConnection sees a connection");
  check.answer("kvr_GetDeviceInfo", api.kvr_GetDeviceInfo(&device.value), expected);
  check.answer("kvr_GetStatus", api.kvr_GetStatus(&status.value), expected);
  check.answer("kvr_LockAPI", api.kvr_LockAPI(), expected);
  check.answer("kvr_UnlockAPI", api.kvr_UnlockAPI(), expected);
  check.answer("kvr_Test_Ratio_1ph", api.kvr_Test_Ratio_1ph(&header, &single, nullptr, &record),
               expected);
  check.answer("kvr_Test_Ratio_3ph", api.kvr_Test_Ratio_3ph(&header, &triple, nullptr, &record),
               expected);
  check.answer("kvr_CheckRecordExists", api.kvr_CheckRecordExists("contract", &exists), expected);
  check.answer("kvr_ReadRecord", api.kvr_ReadRecord("contract", 1, &record), expected);
  check.answer("kvr_DeleteRecord", api.kvr_DeleteRecord("contract"), expected);
  check.answer("kvr_ListRecords", api.kvr_ListRecords(&listed, nullptr, 0, 1), expected);
  check.that(device.untouched(), "a refused kvr_GetDeviceInfo wrote into its record");
  check.that(status.untouched(), "a refused kvr_GetStatus wrote into its record");
  check.that(exists, "a refused kvr_CheckRecordExists stored an answer");
  check.that(record == nullptr, "a refused call stored a record");
  check.that(listed == nullptr, "a refused kvr_ListRecords stored a list");
}

void not_initialised(Check& check) {
  expect_refusals(check, KVR_RES_LIB_NOT_INITIALIZED, false);
  check.answer("kvr_Lib_Shutdown", check.api.kvr_Lib_Shutdown(), KVR_RES_LIB_NOT_INITIALIZED);
}

void not_connected(Check& check) {
  kvr_InitParams params = init_params(nullptr);
  check.answer("kvr_Lib_Initialize", check.api.kvr_Lib_Initialize(&params), KVR_RES_OK);
  expect_refusals(check, KVR_RES_DEVICE_NOT_CONNECTED, true);
  check.answer("kvr_Lib_Shutdown", check.api.kvr_Lib_Shutdown(), KVR_RES_OK);
}

void initialise(Check& check) {
  const ClientApiTable& api = check.api;
  kvr_InitParams params = init_params(nullptr);
  check.answer("kvr_Lib_Initialize", api.kvr_Lib_Initialize(&params), KVR_RES_OK);
  check.answer("a second kvr_Lib_Initialize", api.kvr_Lib_Initialize(&params),
               KVR_RES_LIB_ALREADY_INITIALIZED);
  check.answer("kvr_Lib_InitializeTestStation within a session",
               api.kvr_Lib_InitializeTestStation("COM3", &params), KVR_RES_LIB_ALREADY_INITIALIZED);
  check.answer("kvr_Lib_Shutdown", api.kvr_Lib_Shutdown(), KVR_RES_OK);
  check.answer("a second kvr_Lib_Shutdown", api.kvr_Lib_Shutdown(), KVR_RES_LIB_NOT_INITIALIZED);
  check.answer("kvr_Lib_InitializeTestStation", api.kvr_Lib_InitializeTestStation("COM3", &params),
               KVR_RES_OK);
  check.answer("kvr_Lib_Shutdown", api.kvr_Lib_Shutdown(), KVR_RES_OK);
}

void connection(Check& check) {
  const Session session(check);
  check.that(check.api.kvr_CheckConnection() == 0, "kvr_CheckConnection sees no connection");
  check.that(!accepted(connect(check.api)), "a second kvr_ConnectAPI was accepted");
  check.that(check.api.kvr_CheckConnection() == 0, "a second kvr_ConnectAPI cost the connection");
}

void firmware_text(Check& check) {
  kvr_InitParams params = init_params(nullptr);
  check.api.kvr_Lib_Initialize(&params);
  for (kvr_ConnectionType type : {KVR_CONNECTION_USB_WIFI, KVR_CONNECTION_SERVICE}) {
    struct Firmware {
      char text[kFirmwareTextSize];
    };
    Guarded<Firmware> firmware;
    const kvr_code code = check.api.kvr_ConnectAPI(
        &type, 5, type == KVR_CONNECTION_SERVICE ? "Service_ContractSuite" : "ContractSuite",
        firmware.value.text);
    if (check.answer("kvr_ConnectAPI", code, KVR_RES_OK)) {
      check.text(firmware.value.text, "the firmware version");
      check.that(!firmware.overrun(), "kvr_ConnectAPI wrote beyond its 22 characters");
    }
    check.api.kvr_Lib_Shutdown();
    check.api.kvr_Lib_Initialize(&params);
  }
  check.api.kvr_Lib_Shutdown();
}

void library_info(Check& check) {
  const Session session(check);
  Guarded<kvr_ClientAPIInfo> info;
  check.answer("kvr_GetClientAPIInfo", check.api.kvr_GetClientAPIInfo(&info.value), KVR_RES_OK);
  check.text(info.value.version, "version");
  check.that(info.value.version[0] != '\0', "version is empty");
  check.that(!info.overrun(), "kvr_GetClientAPIInfo wrote beyond its 26 bytes");
}

void device_info(Check& check) {
  kvr_InitParams params = init_params(nullptr);
  check.api.kvr_Lib_Initialize(&params);
  kvr_ConnectionType type = KVR_CONNECTION_USB_WIFI;
  char firmware[kFirmwareTextSize] = "";
  check.answer("kvr_ConnectAPI", check.api.kvr_ConnectAPI(&type, 5, "ContractSuite", firmware),
               KVR_RES_OK);
  Guarded<kvr_DeviceInfo> device;
  check.answer("kvr_GetDeviceInfo", check.api.kvr_GetDeviceInfo(&device.value), KVR_RES_OK);
  check.api.kvr_Lib_Shutdown();

  const kvr_DeviceInfo& info = device.value;
  check.that(!device.overrun(), "kvr_GetDeviceInfo wrote beyond its 464 bytes");
  check.text(info.hardware_version, "hardware_version");
  check.text(info.software_version, "software_version");
  if (check.text(info.serial_number, "serial_number")) {
    check.that(info.serial_number[0] != '\0', "serial_number is empty");
  }
  if (check.text(info.firmware_version, "firmware_version")) {
    check.that(std::string(info.firmware_version) == firmware,
               "firmware_version is not the one that kvr_ConnectAPI gave");
  }
  constexpr std::int64_t kYear2000 = 946684800;
  constexpr std::int64_t kYear2100 = 4102444800;
  check.that(info.device_date_time > kYear2000 && info.device_date_time < kYear2100,
             "device_date_time is no time of this century");
  check.that(info.calibrated == 0 || (info.calibration_date > kYear2000 &&
                                      info.calibration_date <= info.device_date_time),
             "calibration_date of a calibrated instrument is not before device_date_time");
}

void status(Check& check) {
  const Session session(check);
  Guarded<kvr_Status> status;
  check.answer("kvr_GetStatus", check.api.kvr_GetStatus(&status.value), KVR_RES_OK);
  check.that(!status.overrun(), "kvr_GetStatus wrote beyond its 28 bytes");
  check.answer("device_status_code of a healthy instrument: it", status.value.device_status_code,
               KVR_RES_OK);
  check.that(status.value.database_loaded != 0, "database_loaded is clear");
  check.that(status.value.measurement_board_connected != 0, "measurement_board_connected is clear");
  check.that(status.value.secondary_sd_mounted != 0, "secondary_sd_mounted is clear");
  check.that(status.value.api_locked == 0, "api_locked is set");
  check.that(status.value.emergency_button_pressed == 0, "emergency_button_pressed is set");
  check.that(status.value.secondary_sd_read_only == 0, "secondary_sd_read_only is set");
  check.that(status.value.primary_sd_error == 0, "primary_sd_error is set");
  check.that(status.value.secondary_sd_error == 0, "secondary_sd_error is set");
}

void lock(Check& check) {
  const ClientApiTable& api = check.api;
  const auto shown = [&] {
    kvr_Status status{};
    api.kvr_GetStatus(&status);
    return status.api_locked != 0;
  };
  {
    const Session session(check);
    check.answer("kvr_UnlockAPI without a lock", api.kvr_UnlockAPI(), KVR_RES_API_UNLOCKED);
    check.answer("kvr_LockAPI", api.kvr_LockAPI(), KVR_RES_OK);
    check.that(shown(), "a lock does not show in the status");
    check.answer("a second kvr_LockAPI", api.kvr_LockAPI(), KVR_RES_API_LOCKED);
    check.answer("kvr_UnlockAPI", api.kvr_UnlockAPI(), KVR_RES_OK);
    check.that(!shown(), "a lock that was released shows in the status");
    check.answer("kvr_LockAPI", api.kvr_LockAPI(), KVR_RES_OK);
  }
  const Session session(check);
  check.that(!shown(), "a lock outlives its session");
  check.answer("kvr_LockAPI in the next session", api.kvr_LockAPI(), KVR_RES_OK);
}

void code_texts(Check& check) {
  const Session session(check);
  constexpr std::size_t kLongest = 1000;
  for (int number = -2; number <= 1010; ++number) {
    const char* text = check.api.kvr_CodeToString(static_cast<kvr_code>(number));
    if (!check.that(text != nullptr && std::memchr(text, '\0', kLongest) != nullptr,
                    "kvr_CodeToString has no text for " + std::to_string(number))) {
      return;
    }
    const std::string before = text;
    check.api.kvr_CodeToString(KVR_RES_OK);
    check.that(number >= 0 ? text == before : true,
               "the text of " + std::to_string(number) + " changed when another was asked for");
  }
}

void null_arguments(Check& check) {
  const ClientApiTable& api = check.api;
  constexpr kvr_code kExpected = KVR_RES_INCORRECT_PARAMETERS;
  check.answer("kvr_Lib_Initialize", api.kvr_Lib_Initialize(nullptr), kExpected);
  const Session session(check);
  kvr_TestRequestHeader header = request_header("", KVR_SAVE_NOTHING);
  kvr_Ratio1phRequest request = request_1ph(kUsualVoltage);
  kvr_TestRecord* record = nullptr;
  bool exists = false;
  check.answer("kvr_GetDeviceInfo", api.kvr_GetDeviceInfo(nullptr), kExpected);
  check.answer("kvr_GetStatus", api.kvr_GetStatus(nullptr), kExpected);
  check.answer("kvr_GetClientAPIInfo", api.kvr_GetClientAPIInfo(nullptr), kExpected);
  check.answer("kvr_Test_Ratio_1ph", api.kvr_Test_Ratio_1ph(nullptr, &request, nullptr, &record),
               kExpected);
  check.answer("kvr_Test_Ratio_1ph", api.kvr_Test_Ratio_1ph(&header, nullptr, nullptr, &record),
               kExpected);
  check.answer("kvr_Test_Ratio_1ph", api.kvr_Test_Ratio_1ph(&header, &request, nullptr, nullptr),
               kExpected);
  check.answer("kvr_CheckRecordExists", api.kvr_CheckRecordExists(nullptr, &exists), kExpected);
  check.answer("kvr_ReadRecord", api.kvr_ReadRecord(nullptr, 1, &record), kExpected);
  check.answer("kvr_DeleteRecord", api.kvr_DeleteRecord(nullptr), kExpected);
  check.answer("kvr_ListRecords", api.kvr_ListRecords(nullptr, nullptr, 0, 1), kExpected);
  check.answer("kvr_FreeTestRecord", api.kvr_FreeTestRecord(nullptr), KVR_RES_OK);
  check.answer("kvr_FreeTestLabelsList", api.kvr_FreeTestLabelsList(nullptr), KVR_RES_OK);
}

}  // namespace

std::vector<Rule> session_rules() {
  return {
      {"not-initialised", "before initialisation calls are refused with 3 and give nothing",
       not_initialised},
      {"initialise", "a session begins once and ends once, and another can follow", initialise},
      {"not-connected", "before connecting calls are refused with 5 and give nothing",
       not_connected},
      {"connection", "a connection is made once and seen", connection},
      {"firmware-text", "connecting gives a terminated firmware text of at most 22 bytes",
       firmware_text},
      {"library-info", "the library reports its version", library_info},
      {"device-info", "the instrument's record is laid out and filled as it should be",
       device_info},
      {"status", "the status record is laid out as it should be and shows a healthy instrument",
       status},
      {"lock", "the API is reserved once, shown as such, released once, and free in a new session",
       lock},
      {"code-texts", "every number has a text that stays", code_texts},
      {"null-arguments", "null where something is needed is refused with 16", null_arguments},
  };
}

}  // namespace contract
