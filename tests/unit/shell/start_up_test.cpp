#include "shell/start_up.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <string>
#include <vector>

#include "console/callbacks.h"
#include "console/session.h"
#include "console/stop_handling.h"
#include "platform/platform.h"
#include "shell/console_tester.h"
#include "shell/workbench.h"
#include "support/log_capture.h"
#include "support/process.h"
#include "support/session_test.h"
#include "support/temporary_folder.h"

namespace {

namespace fs = std::filesystem;

using Arguments = std::vector<std::string>;

TEST(Options, AreOffUnlessSomebodySetsThem) {
  const kvr_InitParams params = make_init_params({});
  EXPECT_EQ(params.debug_mode, 0);
  EXPECT_EQ(params.quiet_mode, 0);
}

TEST(ParseOptions, OfNoArguments) {
  const Options options = parse_options({});
  EXPECT_FALSE(options.debug);
  EXPECT_FALSE(options.quiet);
  EXPECT_EQ(options.serial_port, "");
}

struct OptionCase {
  Arguments arguments;
  bool debug;
  bool quiet;
  std::string serial_port;
};

TEST(ParseOptions, InEveryCombination) {
  const OptionCase cases[] = {
      {{"--debug"}, true, false, ""},
      {{"--quiet"}, false, true, ""},
      {{"--quiet", "--debug"}, true, true, ""},
      {{"--debug", "--debug"}, true, false, ""},
      {{"--serialport", "COM3"}, false, false, "COM3"},
      {{"--debug", "--serialport", "COM3"}, true, false, "COM3"},
      {{"--serialport", "COM3", "--quiet"}, false, true, "COM3"},
      {{"--debug", "--serialport", "COM3", "--quiet"}, true, true, "COM3"},
      {{"--serialport"}, false, false, ""},
      {{"--quiet", "--serialport"}, false, true, ""},
      {{"--serialport", ""}, false, false, ""},
      {{"--serialport", "", "COM3"}, false, false, ""},
      {{"--serialport", "COM3", "--serialport", "COM4"}, false, false, "COM3"},
      {{"--serialport", "", "--serialport", "COM4"}, false, false, ""},
      {{"--serialport", "--debug"}, true, false, "--debug"},
      {{"--serialport", "--serialport"}, false, false, "--serialport"},
      {{"--serialport", "--serialport", "COM4"}, false, false, "--serialport"},
      {{"--DEBUG", "--Quiet", "--SerialPort", "COM3"}, false, false, ""},
      {{"--debug=1", "-debug", "debug", " --debug"}, false, false, ""},
      {{"--serialport=COM3"}, false, false, ""},
      {{"--help", "", "x", "--debug"}, true, false, ""},
  };
  for (const OptionCase& option_case : cases) {
    const Options options = parse_options(option_case.arguments);
    const std::string shown = testing::PrintToString(option_case.arguments);
    EXPECT_EQ(options.debug, option_case.debug) << shown;
    EXPECT_EQ(options.quiet, option_case.quiet) << shown;
    EXPECT_EQ(options.serial_port, option_case.serial_port) << shown;
  }
}

TEST(MakeInitParams, GivesConstantsFlagsAndTheCallback) {
  for (const bool debug : {false, true}) {
    for (const bool quiet : {false, true}) {
      const kvr_InitParams params = make_init_params({debug, quiet, "COM3"});
      EXPECT_EQ(params.init_mode, 2);
      EXPECT_EQ(params.debug_mode, debug ? 1 : 0);
      EXPECT_EQ(params.quiet_mode, quiet ? 1 : 0);
      EXPECT_EQ(params.init_setting_a, 1000);
      EXPECT_EQ(params.init_setting_b, 50);
      EXPECT_EQ(params.status_callback, &on_status);
      EXPECT_EQ(params.status_context, nullptr);
    }
  }
}

// Whole runs of start-up and connection, in a home folder of their own.

int menus_shown = 0;

void count_menu() { ++menus_shown; }

const std::string kConnectionMenu =
    "\n== Select connection method ==\n\n"
    "1. USB/WIFI\n"
    "2. Service\n"
    "0. Cancel\n";
const std::string kUsb = "Connecting to the KVRU3 device over USB/WIFI, please wait...\n";
const std::string kService =
    "Please enter IP address: "
    "Connecting to the KVRU3 device via IP, please wait...\n";
const std::string kDevice =
    "Device firmware version: 3.1.4Model type: PRO\n"
    "Serial #: SN-0042\n"
    "Hardware version: H7\n"
    "Software version: 1.2\n"
    "Firmware version: 3.1.4\n"
    "Device date/time: Fri, 05.03.2021 12:00:00\n"
    "Debug mode is OFF\n"
    "Device has been calibrated at Wed, 25.11.2020 12:00:00\n";
const std::string kEnd = "\nExiting...\nEND\n";
const std::string kBanner =
    "!!!!!!!!!!!!!!!!!!\n"
    "Can not create folder for results.\n"
    "!!!!!!!!!!!!!!!!!!\n";

const std::string kInitialize =
    "kvr_Lib_Initialize init_mode=2 debug_mode=0 quiet_mode=0 init_setting_a=1000 "
    "init_setting_b=50 status_callback=set status_context=null\n";
const std::string kConnectUsb =
    "kvr_ConnectAPI type=0 setting=5 client_name=\"ConsoleTester_x86\" firmware=cleared\n";
const std::string kConnectService =
    "kvr_ConnectAPI type=3 setting=5 client_name=\"Service_ConsoleTester_x86\" firmware=cleared\n";

class RunSession : public SessionTest {
 protected:
  RunSession() {
    menus_shown = 0;
    use_home_folder(home.path().string());
  }

  static std::string results() {
    return platform::documents_folder().value_or("") + platform::kPathSeparator + "KVRU3" +
           platform::kPathSeparator;
  }
  static std::string head() {
    return "Console Tester 1.1.0.7\nFolder with results: " + results() +
           "\nConnecting to KVR device...\n";
  }
  /// The output of a run after its head.
  std::string run(const std::string& answers, int expected_status = 0) const {
    const Console console(answers);
    EXPECT_EQ(run_session({}, count_menu), expected_status);
    const std::string output = console.output();
    EXPECT_TRUE(output.starts_with(head())) << output;
    return output.substr(std::min(head().size(), output.size()));
  }
  /// The device display for this answer, from the firmware version to the end.
  std::string device_display(const kvr_DeviceInfo& info) {
    api.answer(ApiCall::ConnectAPI, {.text = ""});
    api.answer(ApiCall::GetDeviceInfo, {.device_info = info});
    const std::string output = run("1\n");
    fs::remove_all(results());
    const std::string before = kConnectionMenu + kUsb + "Device firmware version: ";
    EXPECT_TRUE(output.starts_with(before)) << output;
    EXPECT_TRUE(output.ends_with(kEnd)) << output;
    return output.substr(before.size(), output.size() - before.size() - kEnd.size());
  }

  const TemporaryFolder home;
};

TEST_F(RunSession, OverUsb) {
  EXPECT_EQ(run("1\n"), kConnectionMenu + kUsb + kDevice + kEnd);
  EXPECT_EQ(menus_shown, 1);
  EXPECT_EQ(call_lines(), kInitialize + "kvr_SetClientKey key=given\n" + kConnectUsb +
                              "kvr_GetClientAPIInfo\nkvr_GetDeviceInfo\nkvr_Lib_Shutdown\n");
}

TEST_F(RunSession, ThroughTheService) {
  EXPECT_EQ(run("2\n192.168.1.20\n"), kConnectionMenu + kService + kDevice + kEnd);
  EXPECT_EQ(menus_shown, 1);
  EXPECT_EQ(call_lines(), kInitialize + "kvr_SetClientKey key=given\n" + kConnectService +
                              "kvr_GetClientAPIInfo\nkvr_GetDeviceInfo\nkvr_Lib_Shutdown\n");
}

TEST_F(RunSession, ThroughTheServiceWithoutAnAddress) {
  EXPECT_EQ(run("2\n\n"), kConnectionMenu + kService + kDevice + kEnd);
  EXPECT_EQ(api.count(ApiCall::ConnectAPI), 1U);
}

TEST_F(RunSession, FillsTheSession) {
  api.answer(ApiCall::GetClientAPIInfo, {.text = "9.8.7"});
  run("1\n");
  EXPECT_EQ(results_folder, results());
  EXPECT_TRUE(fs::is_directory(results()));
  EXPECT_EQ(client_version, "9.8.7");
  EXPECT_STREQ(client_api_info.version, "9.8.7");
  EXPECT_EQ(device_serial, "SN-0042");
  EXPECT_EQ(device_software_version, "1.2");
  EXPECT_EQ(device_info.model_tier, 30);
}

TEST_F(RunSession, AttachesNoLogger) {
  const Console console("1\n");
  api.answer(ApiCall::ConnectAPI, {.meanwhile = [] { EXPECT_EQ(plog::get(), nullptr); }});
  EXPECT_EQ(run_session({"--debug"}, count_menu), 0);
  EXPECT_EQ(plog::get(), nullptr);
}

TEST_F(RunSession, HandsConsoleEventsToTheStopFunction) {
  run("0\n");
  ASSERT_TRUE(stop_handler);
  const Console console;
  stop_handler(0);
  EXPECT_TRUE(console.wait_for_output("AFTER kvr_CancelOperation\n"));
  EXPECT_TRUE(stop_signal_seen);
}

TEST_F(RunSession, RegistersBeforeAnyOutput) {
  stop_handler = nullptr;
  bool is_registered = false;
  const Console console("0\n");
  const OutputWatcher watcher("Console Tester",
                              [&] { is_registered = static_cast<bool>(stop_handler); });
  run_session({}, count_menu);
  EXPECT_TRUE(is_registered);
}

TEST_F(RunSession, CancelledAtTheConnection) {
  EXPECT_EQ(run("0\n"), kConnectionMenu + kEnd);
  EXPECT_EQ(menus_shown, 0);
  EXPECT_EQ(call_lines(), kInitialize + "kvr_SetClientKey key=given\nkvr_Lib_Shutdown\n");
}

TEST_F(RunSession, AsksForTheConnectionAgain) {
  api.answer(ApiCall::ConnectAPI, {.result = KVR_RES_USB_ERROR, .text = "left behind"});
  api.answer(ApiCall::ConnectAPI, {.result = KVR_RES_SOCKET_ERROR});
  EXPECT_EQ(run("7\n-1\n1\n2\nhost\n1\n"), kConnectionMenu + kConnectionMenu + kConnectionMenu +
                                               kUsb +
                                               "\nERROR: wording of code 20\n"
                                               "Cannot connect to the device over USB!" +
                                               kConnectionMenu + kService +
                                               "\nERROR: wording of code 21\n"
                                               "Cannot connect to the device via TCP!" +
                                               kConnectionMenu + kUsb + kDevice + kEnd);
  EXPECT_EQ(call_lines(), kInitialize + "kvr_SetClientKey key=given\n" + kConnectUsb +
                              "kvr_CodeToString 20\n" + kConnectService + "kvr_CodeToString 21\n" +
                              kConnectUsb +
                              "kvr_GetClientAPIInfo\nkvr_GetDeviceInfo\nkvr_Lib_Shutdown\n");
}

TEST_F(RunSession, TakesAPartlyFailedConnection) {
  for (const std::int32_t result : {44, 76}) {
    api.answer(ApiCall::ConnectAPI, {.result = result});
    api.answer(ApiCall::GetDeviceInfo, {.result = result});
    EXPECT_EQ(run("1\n"), kConnectionMenu + kUsb + kDevice + kEnd);
    fs::remove_all(results());
  }
}

TEST_F(RunSession, ShowsTheBannerWhereTheFolderIsAlreadyThere) {
  run("0\n");
  const Console console("0\n");
  EXPECT_EQ(run_session({}, count_menu), 0);
  EXPECT_EQ(console.output(), "Console Tester 1.1.0.7\n" + kBanner +
                                  "Connecting to KVR device...\n" + kConnectionMenu + kEnd);
  EXPECT_EQ(results_folder, results());
}

TEST_F(RunSession, GoesOnWithoutADocumentsFolder) {
  use_home_folder("");
  const Console console("0\n");
  EXPECT_EQ(run_session({}, count_menu), 0);
  EXPECT_EQ(console.output(), "Console Tester 1.1.0.7\n" + kBanner +
                                  "Connecting to KVR device...\n" + kConnectionMenu + kEnd);
  EXPECT_EQ(results_folder, "");
}

TEST_F(RunSession, EndsWithOneWhenTheLibraryRefusesToStart) {
  api.answer_always(ApiCall::Lib_Initialize, {.result = KVR_RES_LIB_ALREADY_INITIALIZED});
  const Console console("1\n");
  EXPECT_EQ(run_session({"--debug"}, count_menu), 1);
  EXPECT_EQ(console.output(), "Console Tester 1.1.0.7\nFolder with results: " + results() +
                                  "\n\nERROR: wording of code 2\nkvr_Lib_Initialize failed!!!\n");
  EXPECT_EQ(menus_shown, 0);
  EXPECT_EQ(console.unread(), "1\n");
  EXPECT_EQ(api.count(ApiCall::SetClientKey), 0U);
  EXPECT_EQ(api.count(ApiCall::Lib_Shutdown), 0U);
}

TEST_F(RunSession, NamesTheSameCallWhenATestStationRefusesToStart) {
  api.answer(ApiCall::Lib_InitializeTestStation, {.result = KVR_RES_DEVICE_UNAVAILABLE});
  const Console console("");
  EXPECT_EQ(run_session({"--serialport", "COM3"}, count_menu), 1);
  EXPECT_THAT(console.output(),
              testing::EndsWith("\nERROR: wording of code 4\nkvr_Lib_Initialize failed!!!\n"));
  EXPECT_EQ(api.count(ApiCall::Lib_Initialize), 0U);
  EXPECT_EQ(api.count(ApiCall::Lib_Shutdown), 0U);
}

TEST_F(RunSession, StartsATestStationOnItsPort) {
  const Console console("0\n");
  EXPECT_EQ(run_session({"--serialport", "--debug"}, count_menu), 0);
  EXPECT_THAT(
      call_lines(),
      testing::StartsWith("kvr_Lib_InitializeTestStation port=\"--debug\" init_mode=2 debug_mode=1 "
                          "quiet_mode=0 init_setting_a=1000 init_setting_b=50 "
                          "status_callback=set status_context=null\nkvr_SetClientKey"));
  EXPECT_EQ(api.count(ApiCall::Lib_Initialize), 0U);
}

TEST_F(RunSession, TakesAPartlyFailedStart) {
  for (const std::int32_t result : {44, 76}) {
    api.answer(ApiCall::Lib_Initialize, {.result = result});
    EXPECT_EQ(run("0\n"), kConnectionMenu + kEnd);
    fs::remove_all(results());
  }
}

TEST_F(RunSession, IgnoresTheResultsThatDoNotMatter) {
  api.answer(ApiCall::SetClientKey, {.result = KVR_RES_FACTORY_KEY_NOT_VALID});
  api.answer(ApiCall::GetClientAPIInfo, {.result = KVR_RES_RPC_ERROR});
  api.answer(ApiCall::Lib_Shutdown, {.result = KVR_RES_INTERNAL_ERROR});
  EXPECT_EQ(run("1\n"), kConnectionMenu + kUsb + kDevice + kEnd);
  EXPECT_EQ(client_version, "");
}

TEST_F(RunSession, GoesOnToTheMenuWithoutDeviceInformation) {
  api.answer(ApiCall::GetDeviceInfo, {.result = KVR_RES_COMMUNICATION_TIMEOUT});
  EXPECT_EQ(run("1\n"), kConnectionMenu + kUsb +
                            "Device firmware version: 3.1.4\nERROR: wording of code 6\n"
                            "ERORR getting device information!" +
                            kEnd);
  EXPECT_EQ(menus_shown, 1);
  EXPECT_EQ(device_serial, "");
  EXPECT_EQ(device_software_version, "");
  EXPECT_EQ(device_info.instrument_type, 0);
}

TEST_F(RunSession, ShowsAnUncalibratedDevice) {
  kvr_DeviceInfo info{};
  info.calibration_old = 1;  // not used then
  info.debug_mode = 2;
  EXPECT_EQ(device_display(info),
            "Model type: UNKNOWN\n"
            "Serial #: \n"
            "Hardware version: \n"
            "Software version: \n"
            "Firmware version: \n"
            "Device date/time: Thu, 01.01.1970 01:00:00\n"
            "Debug mode is ON\n"
            "Device is not calibrated\n");
}

TEST_F(RunSession, AsksForCalibrationWhenItIsOld) {
  kvr_DeviceInfo info = default_device_info();
  info.calibrated = 0xFF;
  info.calibration_old = 0x10;
  info.model_tier = 50;
  EXPECT_EQ(device_display(info),
            "Model type: TEST\n"
            "Serial #: SN-0042\n"
            "Hardware version: H7\n"
            "Software version: 1.2\n"
            "Firmware version: 3.1.4\n"
            "Device date/time: Fri, 05.03.2021 12:00:00\n"
            "Debug mode is OFF\n"
            "Device has been calibrated at Wed, 25.11.2020 12:00:00\n"
            "Calibration old! Please re-calibrate.\n");
}

TEST_F(RunSession, ShowsTextsThatFillTheirFields) {
  kvr_DeviceInfo info = default_device_info();
  info.calibrated = 0;
  std::fill(std::begin(info.serial_number), std::end(info.serial_number), 's');
  std::fill(std::begin(info.hardware_version), std::end(info.hardware_version), 'h');
  std::fill(std::begin(info.software_version), std::end(info.software_version), 'w');
  std::fill(std::begin(info.firmware_version), std::end(info.firmware_version), 'f');
  EXPECT_EQ(device_display(info), "Model type: PRO\nSerial #: " + std::string(21, 's') +
                                      "\nHardware version: " + std::string(21, 'h') +
                                      "\nSoftware version: " + std::string(21, 'w') +
                                      "\nFirmware version: " + std::string(21, 'f') +
                                      "\nDevice date/time: Fri, 05.03.2021 12:00:00\n"
                                      "Debug mode is OFF\n"
                                      "Device is not calibrated\n");
}

// The output must be visible before a long wait.
TEST_F(RunSession, IsVisibleWhileItConnects) {
  const Console console("1\n");
  std::string seen;
  api.answer(ApiCall::ConnectAPI, {.meanwhile = [&] { seen = console.visible_output(); }});
  run_session({}, count_menu);
  EXPECT_EQ(seen, head() + kConnectionMenu + kUsb);
}

TEST_F(RunSession, IsVisibleWhereItAsksForTheAddress) {
  const Console console("2\nhost\n");
  std::string seen;
  api.answer(ApiCall::ConnectAPI, {.meanwhile = [&] { seen = console.visible_output(); }});
  run_session({}, count_menu);
  EXPECT_EQ(seen, head() + kConnectionMenu + kService);
}

// The two programs.

const std::string kMainMenuHead =
    "\n!!! === KVRU3 main menu === !!!\n"
    "Save RAW Data to File\n"
    "\n== Choose menu item ==\n\n";

TEST_F(RunSession, OfTheConsoleTester) {
  const Console console("1\n1\n2\n0\n0\n");
  EXPECT_EQ(run_console_tester({}), 0);
  const std::string menu = kMainMenuHead + "2. Single Phase Test\n0. Exit\n";
  EXPECT_EQ(console.output(), head() + kConnectionMenu + kUsb + kDevice + menu + menu +
                                  "\nChoose Measurement Type\n"
                                  "1. Auto Test 1 Ph\n"
                                  "2. Ratio 1 Ph Step DOWN\n"
                                  "3. Ratio 1 Ph Step UP\n"
                                  "5. CT Test 1 Ph\n"
                                  "0. Exit\n" +
                                  menu + kEnd);
}

TEST_F(RunSession, OfTheWorkbench) {
  const Console console("1\n1\n0\n2\n0\n3\n0\n0\n");
  EXPECT_EQ(run_workbench({}), 0);
  const std::string menu =
      kMainMenuHead + "1. Three Phase Test\n2. Records\n3. Terminal labels\n0. Exit\n";
  EXPECT_EQ(console.output(), head() + kConnectionMenu + kUsb + kDevice + menu +
                                  "\nChoose Measurement Type\n"
                                  "1. Auto Test 3 Ph\n"
                                  "2. Ratio 3 Ph Step DOWN\n"
                                  "3. Ratio 3 Ph Step UP\n"
                                  "\n"
                                  "13. Median Filter Auto Test\n"
                                  "0. Exit\n" +
                                  menu +
                                  "\n== Choose menu item ==\n\n"
                                  "1. List database records\n"
                                  "2. Read record\n"
                                  "3. Export records to csv\n"
                                  "4. Delete record\n"
                                  "9. Clear database\n"
                                  "0. Cancel\n" +
                                  menu +
                                  "\n== Choose menu item ==\n\n"
                                  "1. H1 H2 H3, X1 X2 X3, Y1 Y2 Y3\n"
                                  "2. 1U 1V 1W, 2U 2V 2W, 3U 3V 3W\n"
                                  "3. A2 B2 C2, a2 b2 c2\n"
                                  "4. A B C, a b c\n"
                                  "0. Cancel\n" +
                                  menu + kEnd);
}

}  // namespace
