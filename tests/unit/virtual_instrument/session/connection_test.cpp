#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <cstring>
#include <ctime>
#include <functional>
#include <string>
#include <thread>

#include "support/process.h"
#include "unit/virtual_instrument/session/client.h"
#include "virtual_instrument/bench/bench_source.h"

namespace virtual_instrument {
namespace {

class Connection : public ClientTest {};

TEST_F(Connection, ASessionGoesThroughItsStates) {
  EXPECT_EQ(initialize(), KVR_RES_OK);
  EXPECT_EQ(kvr_SetClientKey("key"), KVR_RES_OK);
  EXPECT_EQ(connect(), KVR_RES_OK);
  EXPECT_EQ(kvr_CheckConnection(), 0);
  EXPECT_EQ(kvr_LockAPI(), KVR_RES_OK);
  EXPECT_EQ(kvr_UnlockAPI(), KVR_RES_OK);
  EXPECT_EQ(kvr_Lib_Shutdown(), KVR_RES_OK);
}

TEST_F(Connection, NothingWorksBeforeInitialisation) {
  kvr_ClientAPIInfo api_info{};
  kvr_DeviceInfo info{};
  kvr_Status status{};
  bool exists = true;
  kvr_TestLabelsList* list = nullptr;
  EXPECT_EQ(kvr_SetClientKey("key"), KVR_RES_LIB_NOT_INITIALIZED);
  EXPECT_EQ(connect(), KVR_RES_LIB_NOT_INITIALIZED);
  EXPECT_EQ(kvr_CheckConnection(), KVR_RES_LIB_NOT_INITIALIZED);
  EXPECT_EQ(kvr_GetClientAPIInfo(&api_info), KVR_RES_LIB_NOT_INITIALIZED);
  EXPECT_EQ(kvr_GetDeviceInfo(&info), KVR_RES_LIB_NOT_INITIALIZED);
  EXPECT_EQ(kvr_GetStatus(&status), KVR_RES_LIB_NOT_INITIALIZED);
  EXPECT_EQ(kvr_LockAPI(), KVR_RES_LIB_NOT_INITIALIZED);
  EXPECT_EQ(kvr_UnlockAPI(), KVR_RES_LIB_NOT_INITIALIZED);
  EXPECT_EQ(kvr_CancelOperation(), KVR_RES_LIB_NOT_INITIALIZED);
  EXPECT_EQ(test().code, KVR_RES_LIB_NOT_INITIALIZED);
  EXPECT_EQ(test_3ph().code, KVR_RES_LIB_NOT_INITIALIZED);
  EXPECT_EQ(kvr_CheckRecordExists("T1", &exists), KVR_RES_LIB_NOT_INITIALIZED);
  EXPECT_TRUE(exists);
  EXPECT_EQ(read("T1").code, KVR_RES_LIB_NOT_INITIALIZED);
  EXPECT_EQ(kvr_DeleteRecord("T1"), KVR_RES_LIB_NOT_INITIALIZED);
  EXPECT_EQ(kvr_ClearTestDatabase(), KVR_RES_LIB_NOT_INITIALIZED);
  EXPECT_EQ(kvr_ListRecords(&list, nullptr, 0, 1), KVR_RES_LIB_NOT_INITIALIZED);
  EXPECT_EQ(kvr_Lib_Shutdown(), KVR_RES_LIB_NOT_INITIALIZED);
  EXPECT_EQ(kvr_FreeTestRecord(nullptr), KVR_RES_OK);
  EXPECT_EQ(kvr_FreeTestLabelsList(nullptr), KVR_RES_OK);
  EXPECT_STREQ(kvr_CodeToString(KVR_RES_TEST_NOT_RUNNING), "No test is running");
}

TEST_F(Connection, LittleWorksBeforeConnecting) {
  ASSERT_EQ(initialize(), KVR_RES_OK);
  kvr_ClientAPIInfo api_info{};
  kvr_DeviceInfo info{};
  kvr_Status status{};
  bool exists = true;
  kvr_TestLabelsList* list = nullptr;
  EXPECT_EQ(kvr_GetClientAPIInfo(&api_info), KVR_RES_OK);
  EXPECT_EQ(kvr_CancelOperation(), KVR_RES_TEST_NOT_RUNNING);
  EXPECT_EQ(kvr_CheckConnection(), KVR_RES_DEVICE_NOT_CONNECTED);
  EXPECT_EQ(kvr_GetDeviceInfo(&info), KVR_RES_DEVICE_NOT_CONNECTED);
  EXPECT_EQ(kvr_GetStatus(&status), KVR_RES_DEVICE_NOT_CONNECTED);
  EXPECT_EQ(kvr_LockAPI(), KVR_RES_DEVICE_NOT_CONNECTED);
  EXPECT_EQ(kvr_UnlockAPI(), KVR_RES_DEVICE_NOT_CONNECTED);
  EXPECT_EQ(test().code, KVR_RES_DEVICE_NOT_CONNECTED);
  EXPECT_EQ(kvr_CheckRecordExists("T1", &exists), KVR_RES_DEVICE_NOT_CONNECTED);
  EXPECT_TRUE(exists);
  EXPECT_EQ(read("T1").code, KVR_RES_DEVICE_NOT_CONNECTED);
  EXPECT_EQ(kvr_DeleteRecord("T1"), KVR_RES_DEVICE_NOT_CONNECTED);
  EXPECT_EQ(kvr_ClearTestDatabase(), KVR_RES_DEVICE_NOT_CONNECTED);
  EXPECT_EQ(kvr_ListRecords(&list, nullptr, 0, 1), KVR_RES_DEVICE_NOT_CONNECTED);
}

TEST_F(Connection, InitialisesOnceAndAgainAfterShutdown) {
  EXPECT_EQ(initialize(), KVR_RES_OK);
  EXPECT_EQ(initialize(), KVR_RES_LIB_ALREADY_INITIALIZED);
  EXPECT_EQ(kvr_Lib_InitializeTestStation("COM3", &params_), KVR_RES_LIB_ALREADY_INITIALIZED);
  EXPECT_EQ(kvr_Lib_Shutdown(), KVR_RES_OK);
  EXPECT_EQ(kvr_Lib_Shutdown(), KVR_RES_LIB_NOT_INITIALIZED);
  EXPECT_EQ(kvr_Lib_InitializeTestStation("COM3", &params_), KVR_RES_OK);
  EXPECT_EQ(kvr_CheckConnection(), KVR_RES_DEVICE_NOT_CONNECTED);
  EXPECT_EQ(connect(), KVR_RES_OK);
  EXPECT_EQ(initialize(), KVR_RES_LIB_ALREADY_INITIALIZED);
}

TEST_F(Connection, RefusesToInitialiseFromNothing) {
  EXPECT_EQ(kvr_Lib_Initialize(nullptr), KVR_RES_INCORRECT_PARAMETERS);
  EXPECT_EQ(kvr_Lib_InitializeTestStation(nullptr, &params_), KVR_RES_INCORRECT_PARAMETERS);
  EXPECT_EQ(kvr_Lib_InitializeTestStation("", &params_), KVR_RES_INCORRECT_PARAMETERS);
  EXPECT_EQ(kvr_Lib_InitializeTestStation("COM3", nullptr), KVR_RES_INCORRECT_PARAMETERS);
  EXPECT_EQ(kvr_CheckConnection(), KVR_RES_LIB_NOT_INITIALIZED);
}

TEST_F(Connection, AcceptsBothWaysAndNoOther) {
  ASSERT_EQ(initialize(), KVR_RES_OK);
  std::array<char, kFirmwareTextSize> firmware{};
  for (const std::int32_t value : {1, 2, 4, -1, 1000}) {
    auto type = static_cast<kvr_ConnectionType>(value);
    EXPECT_EQ(kvr_ConnectAPI(&type, 5, "client", firmware.data()), KVR_RES_NOT_SUPPORTED);
  }
  EXPECT_STREQ(firmware.data(), "");
  kvr_ConnectionType service = KVR_CONNECTION_SERVICE;
  EXPECT_EQ(kvr_ConnectAPI(&service, 5, "Service_client", firmware.data()), KVR_RES_OK);
  EXPECT_STREQ(firmware.data(), "5.2.0");
  EXPECT_EQ(connect(), KVR_CLIENT_CONNECTED);
}

TEST_F(Connection, TheLongestFirmwareTextFitsItsBuffer) {
  set_bench("[instrument]\nfirmware_version = \"12345678901234567890\"\n");
  ASSERT_EQ(initialize(), KVR_RES_OK);
  kvr_ConnectionType type = KVR_CONNECTION_USB_WIFI;
  std::array<char, kFirmwareTextSize> firmware;
  firmware.fill('#');
  EXPECT_EQ(kvr_ConnectAPI(&type, 5, "client", firmware.data()), KVR_RES_OK);
  EXPECT_STREQ(firmware.data(), "12345678901234567890");
  EXPECT_EQ(firmware.back(), '#');
}

TEST_F(Connection, NullPointersAreIncorrectParameters) {
  ASSERT_EQ(initialize(), KVR_RES_OK);
  kvr_ConnectionType type = KVR_CONNECTION_USB_WIFI;
  std::array<char, kFirmwareTextSize> firmware{};
  EXPECT_EQ(kvr_SetClientKey(nullptr), KVR_RES_INCORRECT_PARAMETERS);
  EXPECT_EQ(kvr_ConnectAPI(nullptr, 5, "client", firmware.data()), KVR_RES_INCORRECT_PARAMETERS);
  EXPECT_EQ(kvr_ConnectAPI(&type, 5, nullptr, firmware.data()), KVR_RES_INCORRECT_PARAMETERS);
  EXPECT_EQ(kvr_ConnectAPI(&type, 5, "client", nullptr), KVR_RES_INCORRECT_PARAMETERS);
  ASSERT_EQ(connect(), KVR_RES_OK);
  EXPECT_EQ(kvr_GetClientAPIInfo(nullptr), KVR_RES_INCORRECT_PARAMETERS);
  EXPECT_EQ(kvr_GetDeviceInfo(nullptr), KVR_RES_INCORRECT_PARAMETERS);
  EXPECT_EQ(kvr_GetStatus(nullptr), KVR_RES_INCORRECT_PARAMETERS);

  kvr_TestRequestHeader header = request_header("", KVR_SAVE_NOTHING);
  kvr_Ratio1phRequest request = ratio_1ph_request(KVR_TEST_RATIO_DOWN, 8);
  kvr_Ratio3phRequest request_3ph =
      ratio_3ph_request(KVR_TEST_RATIO_DOWN, 8, KVR_WINDING_D, KVR_WINDING_D);
  kvr_TestRecord* record = nullptr;
  EXPECT_EQ(kvr_Test_Ratio_1ph(nullptr, &request, nullptr, &record), KVR_RES_INCORRECT_PARAMETERS);
  EXPECT_EQ(kvr_Test_Ratio_1ph(&header, nullptr, nullptr, &record), KVR_RES_INCORRECT_PARAMETERS);
  EXPECT_EQ(kvr_Test_Ratio_1ph(&header, &request, nullptr, nullptr), KVR_RES_INCORRECT_PARAMETERS);
  EXPECT_EQ(kvr_Test_Ratio_3ph(nullptr, &request_3ph, nullptr, &record),
            KVR_RES_INCORRECT_PARAMETERS);
  EXPECT_EQ(kvr_Test_Ratio_3ph(&header, nullptr, nullptr, &record), KVR_RES_INCORRECT_PARAMETERS);
  EXPECT_EQ(kvr_Test_Ratio_3ph(&header, &request_3ph, nullptr, nullptr),
            KVR_RES_INCORRECT_PARAMETERS);
  EXPECT_EQ(record, nullptr);

  bool exists = false;
  kvr_TestLabelsList* list = nullptr;
  EXPECT_EQ(kvr_CheckRecordExists(nullptr, &exists), KVR_RES_INCORRECT_PARAMETERS);
  EXPECT_EQ(kvr_CheckRecordExists("T1", nullptr), KVR_RES_INCORRECT_PARAMETERS);
  EXPECT_EQ(kvr_ReadRecord(nullptr, 1, &record), KVR_RES_INCORRECT_PARAMETERS);
  EXPECT_EQ(kvr_ReadRecord("T1", 1, nullptr), KVR_RES_INCORRECT_PARAMETERS);
  EXPECT_EQ(kvr_DeleteRecord(nullptr), KVR_RES_INCORRECT_PARAMETERS);
  EXPECT_EQ(kvr_ListRecords(nullptr, nullptr, 0, 1), KVR_RES_INCORRECT_PARAMETERS);
  EXPECT_EQ(kvr_ListRecords(&list, &exists, 0, 1), KVR_RES_INCORRECT_PARAMETERS);
  EXPECT_EQ(kvr_ListRecords(&list, nullptr, 3, 1), KVR_RES_INCORRECT_PARAMETERS);
}

TEST_F(Connection, TheApiIsReservedOnceAndReleasedOnce) {
  start();
  kvr_Status status{};
  EXPECT_EQ(kvr_UnlockAPI(), KVR_RES_API_UNLOCKED);
  EXPECT_EQ(kvr_LockAPI(), KVR_RES_OK);
  EXPECT_EQ(kvr_LockAPI(), KVR_RES_API_LOCKED);
  EXPECT_EQ(kvr_GetStatus(&status), KVR_RES_OK);
  EXPECT_EQ(status.api_locked, 1);
  EXPECT_EQ(kvr_UnlockAPI(), KVR_RES_OK);
  EXPECT_EQ(kvr_GetStatus(&status), KVR_RES_OK);
  EXPECT_EQ(status.api_locked, 0);
}

TEST_F(Connection, ReportsTheLibrary) {
  start();
  kvr_ClientAPIInfo info;
  std::memset(&info, '#', sizeof(info));
  EXPECT_EQ(kvr_GetClientAPIInfo(&info), KVR_RES_OK);
  EXPECT_STREQ(info.version, "1.0 virtual");
}

TEST_F(Connection, ReportsTheDevice) {
  start();
  kvr_DeviceInfo info;
  std::memset(&info, '#', sizeof(info));
  ASSERT_EQ(kvr_GetDeviceInfo(&info), KVR_RES_OK);
  EXPECT_EQ(info.instrument_type, 0);
  EXPECT_STREQ(info.serial_number, "VI-000001");
  EXPECT_STREQ(info.hardware_version, "2.1");
  EXPECT_STREQ(info.software_version, "3.4.0");
  EXPECT_STREQ(info.firmware_version, "5.2.0");
  EXPECT_EQ(info.debug_mode, 0);
  EXPECT_EQ(info.device_date_time, 1709636400);
  EXPECT_EQ(info.calibrated, 1);
  EXPECT_EQ(info.calibration_old, 0);
  EXPECT_EQ(info.calibration_date, 1709636400 - 90 * 86400);
  EXPECT_EQ(info.model_tier, 30);
  EXPECT_EQ(info.reserved_252[0], 0);
}

TEST_F(Connection, TheDeviceIsAsTheBenchHasIt) {
  start(R"([instrument]
type = 1000
serial_number = "S"
model_tier = 50
debug_mode = true
calibration_age = 400
)");
  kvr_DeviceInfo info{};
  ASSERT_EQ(kvr_GetDeviceInfo(&info), KVR_RES_OK);
  EXPECT_EQ(info.instrument_type, 1000);
  EXPECT_STREQ(info.serial_number, "S");
  EXPECT_EQ(info.model_tier, 50);
  EXPECT_EQ(info.debug_mode, 1);
  EXPECT_EQ(info.calibration_old, 1);
  set_bench("[instrument]\ncalibrated = false\n");
  ASSERT_EQ(kvr_GetDeviceInfo(&info), KVR_RES_OK);
  EXPECT_EQ(info.calibrated, 0);
}

TEST_F(Connection, ACalibrationIsOldAfterAYear) {
  start("[instrument]\ncalibration_age = 365\nclock = 2024-03-05T11:00:00Z\n");
  kvr_DeviceInfo info{};
  ASSERT_EQ(kvr_GetDeviceInfo(&info), KVR_RES_OK);
  EXPECT_EQ(info.calibration_old, 0);
  EXPECT_EQ(info.calibration_date, 1709636400 - 365 * 86400);
  set_bench("[instrument]\ncalibration_age = 366\nclock = 2024-03-05T11:00:00Z\n");
  ASSERT_EQ(kvr_GetDeviceInfo(&info), KVR_RES_OK);
  EXPECT_EQ(info.calibration_old, 1);
}

TEST_F(Connection, TheClockIsThatOfTheSystemUnlessTheBenchStopsIt) {
  start("[instrument]\nclock = \"system\"\n");
  kvr_DeviceInfo info{};
  const std::time_t before = std::time(nullptr);
  ASSERT_EQ(kvr_GetDeviceInfo(&info), KVR_RES_OK);
  EXPECT_GE(info.device_date_time, before);
  EXPECT_LE(info.device_date_time, std::time(nullptr));
}

// A text of an event is for people, and tells them which thing it is about.
TEST_F(Connection, EventsNameWhatMoved) {
  start();
  set_bench("[status]\nemergency_button_pressed = true\ninterlock_on = true\n");
  const auto events = status_.wait_for(2);
  EXPECT_EQ(events[0].text, "emergency stop");
  EXPECT_EQ(events[1].text, "interlock");
}

// What is pressed when a client connects is no event, but in force.
TEST_F(Connection, ButtonsThatArePressedBeforeAreNoEvents) {
  start("[status]\nemergency_button_pressed = true\ninterlock_on = true\n");
  EXPECT_EQ(test().code, KVR_RES_EMERGENCY_STOP_PRESSED);
  set_bench("[status]\ninterlock_on = true\n");
  EXPECT_EQ(test().code, KVR_RES_INTERLOCK_ON);
  EXPECT_EQ(status_.wait_for(1)[0].code, KVR_RES_EMERGENCY_STOP_RELEASED);
  EXPECT_EQ(kvr_Lib_Shutdown(), KVR_RES_OK);
  EXPECT_EQ(status_.size(), 1U);
}

TEST_F(Connection, TheStatusIsHealthy) {
  start();
  kvr_Status status;
  std::memset(&status, '#', sizeof(status));
  ASSERT_EQ(kvr_GetStatus(&status), KVR_RES_OK);
  kvr_Status healthy{};
  healthy.database_loaded = 1;
  healthy.measurement_board_connected = 1;
  healthy.secondary_sd_mounted = 1;
  EXPECT_EQ(std::memcmp(&status, &healthy, sizeof(status)), 0);
}

TEST_F(Connection, TheStatusIsAsTheBenchHasIt) {
  start(R"([status]
device_status_code = "KVR_RES_BRIDGE_OVERHEAT"
api_locked = true
database_loaded = false
measurement_board_connected = false
emergency_button_pressed = true
secondary_sd_mounted = false
secondary_sd_read_only = true
primary_sd_error = true
secondary_sd_error = true
)");
  kvr_Status status{};
  ASSERT_EQ(kvr_GetStatus(&status), KVR_RES_OK);
  EXPECT_EQ(status.device_status_code, KVR_RES_BRIDGE_OVERHEAT);
  EXPECT_EQ(status.api_locked, 1);
  EXPECT_EQ(status.database_loaded, 0);
  EXPECT_EQ(status.measurement_board_connected, 0);
  EXPECT_EQ(status.emergency_button_pressed, 1);
  EXPECT_EQ(status.secondary_sd_mounted, 0);
  EXPECT_EQ(status.secondary_sd_read_only, 1);
  EXPECT_EQ(status.primary_sd_error, 1);
  EXPECT_EQ(status.secondary_sd_error, 1);
  EXPECT_EQ(kvr_LockAPI(), KVR_RES_API_LOCKED);
}

TEST_F(Connection, IsRefusedWithTheCodeOfTheBenchUntilThatChanges) {
  set_bench("[connection]\nrefused = \"KVR_RES_USB_ACCESS_ERROR\"\n");
  ASSERT_EQ(initialize(), KVR_RES_OK);
  EXPECT_EQ(connect(), KVR_RES_USB_ACCESS_ERROR);
  EXPECT_EQ(connect(), KVR_RES_USB_ACCESS_ERROR);
  EXPECT_EQ(kvr_CheckConnection(), KVR_RES_DEVICE_NOT_CONNECTED);
  set_bench("");
  EXPECT_EQ(connect(), KVR_RES_OK);
  EXPECT_EQ(kvr_CheckConnection(), KVR_RES_OK);
}

TEST_F(Connection, IsMadeWithAnAcceptedCode) {
  set_bench("[connection]\nrefused = \"KVR_RES_CHECK_ERROR_STATUS\"\n");
  ASSERT_EQ(initialize(), KVR_RES_OK);
  EXPECT_EQ(connect(), KVR_RES_CHECK_ERROR_STATUS);
  EXPECT_EQ(kvr_CheckConnection(), KVR_RES_OK);
}

TEST_F(Connection, IsUnavailableWhileTheCableIsOut) {
  set_bench("[connection]\nlost = true\n");
  ASSERT_EQ(initialize(), KVR_RES_OK);
  EXPECT_EQ(connect(), KVR_RES_DEVICE_UNAVAILABLE);
  set_bench("");
  EXPECT_EQ(connect(), KVR_RES_OK);
}

TEST_F(Connection, IsLostAfterATime) {
  start("[connection]\nlost_after = 0.001\n");
  const auto events = status_.wait_for(1);
  EXPECT_EQ(events[0].code, KVR_RES_PEER_DISCONNECTED);
  EXPECT_EQ(events[0].text, "instrument VI-000001");
  EXPECT_NE(events[0].thread, std::this_thread::get_id());
  kvr_Status status{};
  EXPECT_EQ(kvr_CheckConnection(), KVR_RES_PEER_DISCONNECTED);
  EXPECT_EQ(kvr_GetStatus(&status), KVR_RES_PEER_DISCONNECTED);
  EXPECT_EQ(kvr_LockAPI(), KVR_RES_PEER_DISCONNECTED);
  EXPECT_EQ(test().code, KVR_RES_PEER_DISCONNECTED);
}

TEST_F(Connection, IsLostAsSoonAsTheCableIsPulledAndCanBeMadeAgain) {
  start();
  ASSERT_EQ(kvr_LockAPI(), KVR_RES_OK);
  set_bench("[connection]\nlost = true\nlost_code = \"KVR_RES_USB_ERROR\"\n");
  EXPECT_EQ(kvr_CheckConnection(), KVR_RES_USB_ERROR);
  EXPECT_EQ(status_.wait_for(1)[0].code, KVR_RES_USB_ERROR);
  set_bench("");
  EXPECT_EQ(connect(), KVR_RES_OK);
  EXPECT_EQ(kvr_LockAPI(), KVR_RES_OK);
  EXPECT_EQ(kvr_CheckConnection(), KVR_RES_OK);
}

TEST_F(Connection, ATimeAfterWhichItIsLostBeginsWithIt) {
  start("[connection]\nlost_after = 60\n");
  EXPECT_EQ(kvr_CheckConnection(), KVR_RES_OK);
  EXPECT_EQ(test().code, KVR_RES_OK);
}

// The call comes before the next look at the file.
TEST_F(Connection, ReleasingTheApiLooksAtTheFile) {
  start();
  EXPECT_EQ(kvr_LockAPI(), KVR_RES_OK);
  set_bench("[connection]\nlost = true\n");
  EXPECT_EQ(kvr_UnlockAPI(), KVR_RES_PEER_DISCONNECTED);
}

// Nobody calls the library in between, as when the program waits at a menu.
TEST_F(Connection, TheFileIsWatchedWhileNoCallComes) {
  start();
  set_bench("[connection]\nlost = true\n");
  EXPECT_EQ(status_.wait_for(1)[0].code, KVR_RES_PEER_DISCONNECTED);
}

/// Whether the first event comes within half of the period in which the bench file is looked at. A
/// machine that is busy may be slow, but not every time.
bool comes_at_once(const std::function<std::size_t()>& event_after_connecting) {
  for (int attempt = 0; attempt < 20; ++attempt) {
    const auto begin = std::chrono::steady_clock::now();
    event_after_connecting();
    const auto passed = std::chrono::steady_clock::now() - begin;
    EXPECT_EQ(kvr_Lib_Shutdown(), KVR_RES_OK);
    if (passed < kBenchPeriod / 2) {
      return true;
    }
  }
  return false;
}

TEST_F(Connection, IsLostAtItsTimeAndNotOnlyAtTheNextLookAtTheFile) {
  EXPECT_TRUE(comes_at_once([this, events = std::size_t{0}]() mutable {
    start("[connection]\nlost_after = 0.005\n");
    return status_.wait_for(++events).size();
  }));
}

// The session's thread waits for the next look at the file when the client connects.
TEST_F(Connection, IsLostAtItsTimeAfterAWaitBeforeIt) {
  EXPECT_TRUE(comes_at_once([this, events = std::size_t{0}]() mutable {
    set_bench("[connection]\nlost_after = 0.005\n");
    EXPECT_EQ(initialize(), KVR_RES_OK);
    std::this_thread::sleep_for(kBenchPeriod / 5);
    EXPECT_EQ(connect(), KVR_RES_OK);
    return status_.wait_for(++events).size();
  }));
}

TEST_F(Connection, AnEventThatACallSeesIsReportedAtOnce) {
  EXPECT_TRUE(comes_at_once([this, events = std::size_t{0}]() mutable {
    start();
    set_bench("[status]\ninterlock_on = true\n");
    EXPECT_EQ(kvr_CheckConnection(), KVR_RES_OK);
    return status_.wait_for(++events).size();
  }));
}

// Its thread then waits without an end, so that only the shutdown can wake it.
TEST_F(Connection, ASessionWithoutABenchFileEnds) {
  set_environment("KVR_BENCH_FILE", "");
  ASSERT_EQ(initialize(), KVR_RES_OK);
  EXPECT_EQ(connect(), KVR_RES_OK);
  kvr_DeviceInfo info{};
  EXPECT_EQ(kvr_GetDeviceInfo(&info), KVR_RES_OK);
  EXPECT_STREQ(info.serial_number, "VI-000001");
  EXPECT_EQ(kvr_Lib_Shutdown(), KVR_RES_OK);
  EXPECT_EQ(status_.size(), 0U);
}

TEST_F(Connection, WithoutACallbackEventsAreOnlyInTheState) {
  params_.status_callback = nullptr;
  start("[connection]\nlost_after = 1e-9\n");
  EXPECT_EQ(kvr_CheckConnection(), KVR_RES_PEER_DISCONNECTED);
}

TEST_F(Connection, ButtonsAreReportedAsTheyMove) {
  start();
  set_bench("[status]\nemergency_button_pressed = true\n");
  EXPECT_EQ(status_.wait_for(1)[0].code, KVR_RES_EMERGENCY_STOP_PRESSED);
  EXPECT_EQ(kvr_CheckConnection(), KVR_RES_OK);
  EXPECT_EQ(test().code, KVR_RES_EMERGENCY_STOP_PRESSED);
  set_bench("[status]\ninterlock_on = true\n");
  const auto events = status_.wait_for(3);
  EXPECT_EQ(events[1].code, KVR_RES_EMERGENCY_STOP_RELEASED);
  EXPECT_EQ(events[2].code, KVR_RES_INTERLOCK_ON);
  EXPECT_EQ(test().code, KVR_RES_INTERLOCK_ON);
  set_bench("");
  EXPECT_EQ(status_.wait_for(4)[3].code, KVR_RES_INTERLOCK_OFF);
  EXPECT_EQ(test().code, KVR_RES_OK);
}

}  // namespace
}  // namespace virtual_instrument
