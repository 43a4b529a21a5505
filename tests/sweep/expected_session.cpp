#include "sweep/expected_session.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <limits>
#include <sstream>
#include <utility>

#include "unit/text/reference_text.h"

namespace {

using std::string;
using Record = std::shared_ptr<kvr_TestRecord>;

constexpr std::size_t kIdField = 30;
constexpr const char* kDate = "Mon Mar 15 12:00:00 2021\n";
constexpr const char* kOldId = "OLD";
const string kFullId(kIdField, 'F');

/// Thrown when the program ends by an exception or on a lost connection: nothing follows.
struct SessionEnds {};

bool passes(std::int32_t code) { return code == 0 || code == 44 || code == 76; }

template <std::size_t size>
string text(const char (&field)[size]) {
  return {field, std::find(field, field + size, '\0')};
}

template <std::size_t size>
void put(char (&field)[size], const string& value) {
  std::memset(field, 0, size);
  value.copy(field, size);
}

template <std::size_t size>
void put_full(char (&field)[size]) {
  std::memset(field, 'F', size);
}

string printed(const char* format, double value) {
  char buffer[512];
  std::snprintf(buffer, sizeof buffer, format, value);
  return buffer;
}

string degrees(float radians) {
  auto result = static_cast<float>(static_cast<double>(radians) * 57.29577951308232);
  if (result > 180.0F) {
    result -= 360.0F;
  } else if (result < -180.0F) {
    result += 360.0F;
  }
  return printed("%.6f", static_cast<double>(result));
}

string result_text(const kvr_TestRecord& record) {
  std::ostringstream out;
  write_reference_text(record, out);
  return out.str();
}

/// The line of a list entry: the head of a record with no results.
string entry_line(const kvr_TestLabel& label) {
  kvr_TestRecord record{};
  std::memcpy(&record, &label, sizeof label);
  return result_text(record);
}

kvr_TestSetup delta_star() {
  kvr_TestSetup setup{};
  setup.windings[0].winding_type = KVR_WINDING_D;
  setup.windings[1].winding_type = KVR_WINDING_Y;
  setup.connection_type = kConnectionHToX;
  setup.connections[0].clock = 1;
  return setup;
}

Record single_phase_record(const string& id, float voltage) {
  kvr_Ratio1phRequest request{};
  request.test_type = KVR_TEST_RATIO_DOWN;
  request.setup = delta_star();
  request.test_voltage = voltage;
  return ratio_1ph_record(id, request);
}

Record three_phase_record(const string& id, float voltage) {
  kvr_Ratio3phRequest request{};
  request.test_type = KVR_TEST_RATIO_UP;
  request.testing_mode = KVR_TESTING_MODE_3PH_3_1;
  request.tested_phase = 100;
  request.setup = delta_star();
  request.test_voltage = voltage;
  return ratio_3ph_record(id, request);
}

kvr_TestLabel label_of(const string& id) {
  kvr_TestLabel label{};
  put(label.record_id, id);
  label.test_count = 1;
  label.test_type = KVR_TEST_RATIO_DOWN;
  label.setup = delta_star();
  put(label.timestamp, "05.03.2021 12:00:00");
  return label;
}

void make_not_finite(kvr_TestData_Ratio_Phase& phase) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const float infinity = std::numeric_limits<float>::infinity();
  phase.voltage_h = infinity;
  phase.voltage_x = -infinity;
  phase.tnr = std::numeric_limits<double>::quiet_NaN();
  phase.tnr_error = std::numeric_limits<double>::infinity();
  phase.phase_high = infinity;
  phase.phase_low = -infinity;
  phase.phase_shift_absolute = nan;
  phase.current_rms = nan;
  phase.voltage_rms = std::numeric_limits<float>::max();
}

void make_not_finite(kvr_TestRecord& record) {
  for (std::uint32_t i = 0; i < record.data_count; ++i) {
    if (record.data_ratio_1ph != nullptr) {
      make_not_finite(record.data_ratio_1ph[i]->phase);
    }
    if (record.data_ratio_3ph != nullptr) {
      kvr_TestData_Ratio_3ph& result = *record.data_ratio_3ph[i];
      for (kvr_TestData_Ratio_Phase& phase : result.phases) {
        make_not_finite(phase);
      }
      result.ratio_3ph = std::numeric_limits<double>::infinity();
      result.phase_3ph = std::numeric_limits<float>::quiet_NaN();
    }
  }
}

void fill_texts(kvr_TestRecord& record) {
  put_full(record.asset_id);
  put_full(record.group_id);
  put_full(record.record_id);
  put_full(record.timestamp);
  for (std::uint32_t i = 0; i < record.data_count; ++i) {
    const auto fill_phase = [](kvr_TestData_Ratio_Phase& phase) {
      put_full(phase.phase_name);
      put_full(phase.high_side_phase);
      put_full(phase.low_side_phase);
    };
    if (record.data_ratio_1ph != nullptr) {
      fill_phase(record.data_ratio_1ph[i]->phase);
    }
    if (record.data_ratio_3ph != nullptr) {
      std::for_each_n(record.data_ratio_3ph[i]->phases, 3, fill_phase);
    }
  }
}

kvr_DeviceInfo old_device() {
  kvr_DeviceInfo device{};
  put(device.serial_number, "SN-OLD");
  put(device.hardware_version, "H1");
  put(device.software_version, "0.9");
  put(device.firmware_version, "0.1");
  device.debug_mode = 1;
  device.device_date_time = 1614942000;
  device.model_tier = 50;
  return device;
}

kvr_DeviceInfo device_with_full_texts() {
  kvr_DeviceInfo device = default_device_info();
  put_full(device.serial_number);
  put_full(device.hardware_version);
  put_full(device.software_version);
  put_full(device.firmware_version);
  return device;
}

kvr_Status old_status() {
  kvr_Status status{};
  status.api_locked = 1;
  status.secondary_sd_read_only = 1;
  status.emergency_button_pressed = 1;
  status.primary_sd_error = 1;
  status.secondary_sd_error = 1;
  return status;
}

class Session {
 public:
  Session(const Fault& fault, string results) : fault_(fault), results_(std::move(results)) {}

  ExpectedSession run(Program program) {
    try {
      start(program == Program::kConsoleTester ? &Session::console_tester_menus
                                               : &Session::workbench_menus);
    } catch (const SessionEnds&) {
    }
    return std::move(told_);
  }

 private:
  // Primitives: what is written to the console, typed, called and stored in files.

  void say(const string& text) {
    if (!silent_) {
      told_.output += text;
    }
  }
  void type(const string& line) { told_.answers += line + "\n"; }

  struct Reply {
    std::int32_t code;
    ScriptedAnswer answer;
    Record record;
  };

  Reply ask(ApiCall call, const string& arguments = "", ScriptedAnswer sound = {},
            Record record = nullptr) {
    const bool first = told_.calls.size() == fault_.call;
    if (first) {
      faulty_ = call;
    }
    const bool hit =
        first || (fault_.for_ever && faulty_ == call && told_.calls.size() > fault_.call);
    Reply reply{sound.result, std::move(sound), std::move(record)};
    if (hit) {
      spoil(call, reply);
    }
    if (reply.record != nullptr) {
      reply.answer.record = [made = reply.record] { return made; };
    }
    reply.answer.null |=
        reply.record == nullptr && call != ApiCall::CodeToString && call != ApiCall::ListRecords;
    reply.code = reply.answer.result;
    told_.calls.push_back(
        {call, string(name_of(call)) + (arguments.empty() ? "" : " ") + arguments, reply.answer});
    if (hit && fault_.wrong == Wrong::kLost) {
      lose_connection();
    }
    return reply;
  }

  void spoil(ApiCall call, Reply& reply) const {
    ScriptedAnswer& answer = reply.answer;
    switch (fault_.wrong) {
      case Wrong::kNothing:
        break;
      case Wrong::kCode:
        answer = {};
        answer.result = fault_.code;
        answer.null = true;
        reply.record = nullptr;
        break;
      case Wrong::kCodeAndReply:
        answer = {};
        answer.result = fault_.code;
        answer.text = "old";
        answer.device_info = old_device();
        answer.device_status = old_status();
        answer.exists = true;
        answer.labels = {label_of(kOldId)};
        reply.record = old_record(call);
        break;
      case Wrong::kDelay:
        answer.delay = std::chrono::milliseconds(1);
        break;
      case Wrong::kHang:
        answer.until_cancelled = true;
        if (call != ApiCall::CodeToString) {
          answer.result = KVR_RES_OPERATION_CANCELLED;
          answer.device_info.reset();
          answer.device_status.reset();
          answer.exists.reset();
          answer.labels.reset();
          answer.text.reset();
          reply.record = nullptr;
        }
        break;
      case Wrong::kNotFinite:
        if (reply.record != nullptr) {
          make_not_finite(*reply.record);
        }
        if (answer.device_info) {
          answer.device_info->device_date_time = std::numeric_limits<std::int64_t>::max();
          answer.device_info->calibration_date = std::numeric_limits<std::int64_t>::min();
        }
        break;
      case Wrong::kFullTexts:
        if (reply.record != nullptr) {
          fill_texts(*reply.record);
        }
        if (answer.device_info) {
          answer.device_info = device_with_full_texts();
        }
        if (answer.text && call != ApiCall::CodeToString) {
          answer.text = string(21, 'F');  // the library terminates these texts itself
        }
        if (answer.labels) {
          for (kvr_TestLabel& label : *answer.labels) {
            put_full(label.asset_id);
            put_full(label.group_id);
            put_full(label.record_id);
            put_full(label.timestamp);
          }
        }
        break;
      case Wrong::kNullRecord:
        if (reply.record != nullptr) {
          reply.record->data_ratio_1ph = nullptr;
          reply.record->data_ratio_3ph = nullptr;
          reply.record->data_count = 0;
          reply.record->raw_data = nullptr;
          put(reply.record->record_id, "");
        }
        break;
      case Wrong::kLost:
        answer.status = {{KVR_RES_PEER_DISCONNECTED, "cable"}};
        break;
    }
  }

  static Record old_record(ApiCall call) {
    switch (call) {
      case ApiCall::Test_Ratio_1ph:
      case ApiCall::ReadRecord:
        return single_phase_record(kOldId, 2);
      case ApiCall::Test_Ratio_3ph:
        return three_phase_record(kOldId, 2);
      default:
        return nullptr;
    }
  }

  void lose_connection() {
    say("\nSTATUS CALLBACK: ");
    say_wording(KVR_RES_PEER_DISCONNECTED);
    say("\ndata: cable\n");
    ask(ApiCall::CheckConnection, "", {.result = 1});
    say("Exiting console tester...\n");
    ask(ApiCall::Lib_Shutdown);
    say("API has been shutdown\n");
    told_.exit_status = 1;
    throw SessionEnds();
  }

  void say_wording(std::int32_t code) {
    const string number = std::to_string(code);
    const Reply reply = ask(ApiCall::CodeToString, number, {.text = "wording of code " + number});
    if (reply.answer.null) {
      silent_ = true;  // standard output has failed, to the end of the session
    } else {
      say(reply.answer.text.value_or(""));
    }
  }

  bool is_taken(std::int32_t code) {
    if (passes(code)) {
      return true;
    }
    say("\nERROR: ");
    say_wording(code);
    say("\n");
    return false;
  }

  // Start-up.

  using Menus = void (Session::*)();

  void start(Menus menus) {
    say("Console Tester 1.1.0.7\nFolder with results: " + results_ + "\n");
    if (!is_taken(ask(ApiCall::Lib_Initialize).code)) {
      say("kvr_Lib_Initialize failed!!!\n");
      told_.exit_status = 1;
      return;
    }
    ask(ApiCall::SetClientKey);
    say("Connecting to KVR device...\n");
    if (connect()) {
      show_device();
      (this->*menus)();
    }
    say("\nExiting...\n");
    ask(ApiCall::Lib_Shutdown);
    say("END\n");
  }

  /// The operator tries twice over USB and once through the service, then gives up.
  bool connect() {
    for (int attempt = 1; attempt <= 4; ++attempt) {
      say("\n== Select connection method ==\n\n1. USB/WIFI\n2. Service\n0. Cancel\n");
      if (attempt == 4) {
        type("0");
        return false;
      }
      const bool usb = attempt < 3;
      type(usb ? "1" : "2");
      if (usb) {
        say("Connecting to the KVRU3 device over USB/WIFI, please wait...\n");
      } else {
        say("Please enter IP address: ");
        type("10.0.0.7");
        say("Connecting to the KVRU3 device via IP, please wait...\n");
      }
      const Reply reply = ask(ApiCall::ConnectAPI,
                              string(usb ? "type=0 setting=5 client_name=\""
                                         : "type=3 setting=5 client_name=\"Service_") +
                                  "ConsoleTester_x86\" firmware=cleared",
                              {.text = "3.1.4"});
      if (is_taken(reply.code)) {
        firmware_ = reply.answer.text.value_or("3.1.4");
        return true;
      }
      say(usb ? "Cannot connect to the device over USB!" : "Cannot connect to the device via TCP!");
    }
    return false;
  }

  void show_device() {
    say("Device firmware version: " + firmware_);
    const Reply info = ask(ApiCall::GetClientAPIInfo, "", {.text = "5.6.7"});
    client_version_ = info.answer.text.value_or(passes(info.code) ? "5.6.7" : "");
    const Reply reply = ask(ApiCall::GetDeviceInfo, "", {.device_info = default_device_info()});
    if (!is_taken(reply.code)) {
      say("ERORR getting device information!");
      return;
    }
    const kvr_DeviceInfo device = reply.answer.device_info.value_or(default_device_info());
    serial_ = text(device.serial_number);
    software_ = text(device.software_version);
    const bool sound_times = device.device_date_time == 1614942000;
    say(string("Model type: ") + (device.model_tier == 30 ? "PRO" : "TEST") + "\n");
    say("Serial #: " + serial_ + "\n");
    say("Hardware version: " + text(device.hardware_version) + "\n");
    say("Software version: " + software_ + "\n");
    say("Firmware version: " + text(device.firmware_version) + "\n");
    say(string("Device date/time: ") + (sound_times ? "Fri, 05.03.2021 12:00:00" : "") + "\n");
    say(string("Debug mode is ") + (device.debug_mode != 0 ? "ON" : "OFF") + "\n");
    if (device.calibrated == 0) {
      say("Device is not calibrated\n");
    } else {
      say(string("Device has been calibrated at ") +
          (sound_times ? "Wed, 25.11.2020 12:00:00" : "") + "\n");
    }
  }

  // Menus.

  void main_menu(const string& items) {
    say("\n!!! === KVRU3 main menu === !!!\n");
    kvr_Status sound = healthy_status();
    if (++menus_ == 2) {
      sound.device_status_code = KVR_RES_EMERGENCY_STOP_PRESSED;  // its wording is looked up
    }
    const Reply reply = ask(ApiCall::GetStatus, "", {.device_status = sound});
    if (reply.answer.device_status) {
      status_ = *reply.answer.device_status;
    } else if (passes(reply.code)) {
      status_ = healthy_status();
    }
    if (is_taken(reply.code)) {
      show_status();
    }
    say("Save RAW Data to File\n\n== Choose menu item ==\n\n" + items + "0. Exit\n");
  }

  void show_status() {
    const auto line = [this](bool shown, const char* words) {
      if (shown) {
        say(string(words) + "\n");
      }
    };
    line(status_.api_locked != 0, "WARNING: API Locked!");
    line(status_.database_loaded == 0, "ERROR: Database not loaded!");
    line(status_.secondary_sd_mounted == 0, "ERROR: Secondary SDCARD not mounted!");
    line(status_.secondary_sd_read_only != 0, "ERROR: Secondary SDCARD READONLY!");
    line(status_.emergency_button_pressed != 0, "WARNING: Emergency Button pressed!");
    line(status_.primary_sd_error != 0, "ERROR: Primary SDCARD ERROR!");
    line(status_.secondary_sd_error != 0, "ERROR: Secondary SDCARD ERROR!");
    line(status_.measurement_board_connected == 0, "ERROR: measurement board not connected!");
    if (status_.device_status_code != 0) {
      say("\nDEVICE STATUS: ");
      say_wording(status_.device_status_code);
      say("\n");
    }
  }

  void console_tester_menus() {
    const string items = "2. Single Phase Test\n";
    main_menu(items);
    type("2");
    single_phase("8x3", {8, 8, 8}, "T1");
    main_menu(items);
    type("2");
    single_phase("12", {12}, "T2");
    main_menu(items);
    type("0");
  }

  void workbench_menus() {
    const string items = "1. Three Phase Test\n2. Records\n3. Terminal labels\n";
    main_menu(items);
    type("1");
    three_phase("1", "", "8x2", {8, 8}, "R1");
    main_menu(items);
    type("1");
    three_phase("2", "6", "", {8, 8, 8}, "R2");
    main_menu(items);
    type("2");
    records();
    main_menu(items);
    type("1");
    three_phase("3", "4", "12", {12}, "R3");
    main_menu(items);
    type("0");
  }

  // Tests.

  void single_phase(const string& plan, const std::vector<float>& voltages, const string& id) {
    say("\nChoose Measurement Type\n1. Auto Test 1 Ph\n2. Ratio 1 Ph Step DOWN\n"
        "3. Ratio 1 Ph Step UP\n5. CT Test 1 Ph\n0. Exit\n");
    type("1");
    say("Hi Side connection:\n1. Ratio Phase H1-H2\n2. Ratio Phase H2-H3\n3. Ratio Phase H3-H1\n"
        "4. Ratio Phase H1-H0\n5. Ratio Phase H2-H0\n6. Ratio Phase H3-H0\n");
    type("1");
    say("Low Side connection:\n1. Ratio Phase X1-X2\n2. Ratio Phase X2-X3\n3. Ratio Phase X3-X1\n"
        "4. Ratio Phase X1-X0\n5. Ratio Phase X2-X0\n6. Ratio Phase X3-X0\n");
    type("1");
    ask_voltage_and_ratio(plan);
    run_plan({ApiCall::Test_Ratio_1ph, true,
              "Test ID;Mode;Voltage;Voltage Hi;Voltage Lo;V Ratio; V Ratio RE;Current_rms;"
              "Voltage_rms;Power_A;Watt_A;Factor_A;Phase AB;Phase ab;D_Fi;deviation from phasing;"
              "PGA_1;PGA_2;PGA_3;PGA_4;LT_H;LT_X"},
             voltages, ask_test_id(id));
  }

  void three_phase(const string& kind, const string& method, const string& plan,
                   const std::vector<float>& voltages, const string& id) {
    say("\nChoose Measurement Type\n1. Auto Test 3 Ph\n2. Ratio 3 Ph Step DOWN\n"
        "3. Ratio 3 Ph Step UP\n\n13. Median Filter Auto Test\n0. Exit\n");
    type(kind);
    if (kind != "1") {
      say("Select test method: \n1. AUTO\n2. Excite 3ph, measure 1ph\n3. Excite 1ph, measure 1ph\n"
          "4. Excite 3ph, measure 3ph\n5. Simulate test\n6. Test ALL modes: 3-3, 3-1, 1-1\n");
      type(method);
    }
    const string windings = "1. D\n2. Y\n3. Yn\n4. Z\n5. Zn\n";
    say("Select metering HV: \n" + windings);
    type("1");
    say("Select metering LV: \n" + windings);
    type("2");
    say("Enter phasing (0-11) or angle (15d for absolute shift, 15 deg), empty for unknown: \n");
    type("11");
    say("User entered phasing: 11\n");
    ask_voltage_and_ratio(plan);
    if (method == "6") {
      say("Testing ALL test types.\n");
    }
    run_plan({ApiCall::Test_Ratio_3ph, method != "6",
              "Test ID;Type;Mode;Voltage;Voltage A;Voltage B;Voltage C;"
              "Voltage a;Voltage b;Voltage c;"
              "Label A;VR Ratio A;VR RE A %;Label B;VR Ratio B;VR RE B %;"
              "Label C;VR Ratio C;VR RE C %;"
              "Current_rms_A;Current_rms_B;Current_rms_C;Voltage_rms_A;Voltage_rms_B;"
              "Voltage_rms_C;Power_A;Power_B;Power_C;Watt_A;Watt_B;Watt_C;Factor_A;Factor_B;"
              "Factor_C;Phase A;Phase B;Phase C;Phase a;Phase b;Phase c;D_Fi a;D_Fi b;D_Fi c;"
              "DD_Fi a;DD_Fi b;DD_Fi c;Pos_Seq Hi;Neg_Seq Hi;Zero_Seq Hi;Pos_Seq Lo;Neg_Seq Lo;"
              "Zero_Seq Lo;Pos_Ph Hi;Neg_Ph Hi;Zero_Ph Hi;Pos_Ph Lo;Neg_Ph Lo;Zero_Ph Lo;"
              "Neg Dist Index;Zero Dist Index;R 3PH;RE 3PH;PH 3PH;"
              "PGA_1;PGA_2;PGA_3;PGA_4;LT_H;LT_X"},
             voltages, ask_test_id(id));
  }

  void ask_voltage_and_ratio(const string& plan) {
    say("Enter Test Voltage \n empty for 8V,\n'A' - ascending  test, Z - descending auto test\n"
        "10x5 - auto repeating (VxN - test N times at V voltage))\n");
    type(plan);
    say("Nameplate ratio N:1 (leave empty for none): ");
    type("");
  }

  /// The operator tries two IDs, then leaves the name to the library.
  string ask_test_id(const string& id) {
    bool exists = false;
    for (const string& answer : {id, id + "b"}) {
      say("Test ID (leave empty for date/time): ");
      type(answer);
      const Reply reply =
          ask(ApiCall::CheckRecordExists,
              "\"" + answer + "\" exists=" + (exists ? "true" : "false"), {.exists = false});
      if (reply.answer.exists) {
        exists = *reply.answer.exists;
      } else if (passes(reply.code)) {
        exists = false;
      }
      if (!exists) {
        return answer;
      }
      say("Already exists. Please choose a different Test ID\n");
    }
    say("Test ID (leave empty for date/time): ");
    type("");
    return "";
  }

  struct Kind {
    ApiCall call;
    bool stored;
    string columns;
  };

  void run_plan(const Kind& kind, const std::vector<float>& voltages, string id) {
    const bool series = voltages.size() > 1;
    string file;
    if (series) {
      file = results_ + software_ + "-" + (id.empty() ? "range-test-15-03-2021 12-00-00" : id) +
             ".csv";
      told_.files[file] = "sep=;\nKVRU3 client version;" + client_version_ +
                          "\nKVRU3 software version;" + software_ + "\nDate & Time;" + kDate +
                          "\n\n" + kind.columns + "\n";
      say("Saved data to " + file);
      told_.open_files = {file};
    }
    ask(ApiCall::LockAPI);
    string raw;
    bool raw_failed = false;
    for (std::size_t i = 0; i < voltages.size(); ++i) {
      const std::size_t left = voltages.size() - i - 1;
      say("Testing at voltage: " + printed("%.2g", static_cast<double>(voltages[i])) +
          "\nTests left: " + std::to_string(left) + "\n");
      if (id.size() >= kIdField) {
        ask(ApiCall::UnlockAPI);
        told_.throws = true;
        throw SessionEnds();
      }
      const Record record = test(kind, i, voltages[i], id, series);
      if (record == nullptr) {
        say("ERROR in last test");
        break;
      }
      say("\n");
      id = text(record->record_id);
      if (series) {
        told_.files[file] += rows(*record);
      } else {
        file = results_ + id + ".csv";
        append_report(file, *record);
      }
      if (left == 0) {
        say(result_text(*record));
      }
      raw_failed |= record->raw_data == nullptr;
      raw += raw_failed ? "" : record->raw_data;
      ask(ApiCall::FreeTestRecord, "\"" + id + "\"");
      say("\n");
    }
    told_.files[file + ".RAW.csv"] = raw;
    say("Saved RAW data to " + file + ".RAW.csv");
    ask(ApiCall::UnlockAPI);
    told_.open_files.clear();
  }

  Record test(const Kind& kind, std::size_t number, float voltage, const string& id, bool series) {
    int save_mode = 3;
    if (!id.empty() && kind.stored && status_.secondary_sd_read_only == 0 &&
        status_.database_loaded != 0) {
      save_mode = number > 0 && series ? 2 : 1;
    }
    const string named = id.empty() ? "AUTO" : id;
    const Reply reply =
        ask(kind.call,
            "\"" + id + "\" save_mode=" + std::to_string(save_mode) +
                " voltage=" + printed("%g", static_cast<double>(voltage)),
            {},
            kind.call == ApiCall::Test_Ratio_1ph ? single_phase_record(named, voltage)
                                                 : three_phase_record(named, voltage));
    if (!is_taken(reply.code)) {
      told_.kept_records += reply.record == nullptr ? 0U : 1U;  // not freed after a refused call
      return nullptr;
    }
    return reply.record;
  }

  void append_report(const string& file, const kvr_TestRecord& record) {
    string body = result_text(record);
    std::replace(body.begin(), body.end(), '=', ';');
    if (told_.files.count(file) == 0) {
      told_.files[file] = "sep=;";
    }
    told_.files[file] += "\nSerial #:;" + serial_ + "\nS/W version;" + software_ +
                         "\nDate & Time;" + kDate + "\n" + body;
  }

  // Rows of a series file: each value with its semicolon.

  class Row {
   public:
    explicit Row(const char* number_format, char separator)
        : number_format_(number_format), separator_(separator) {}
    Row& word(const string& value) {
      line_ += value + separator_;
      return *this;
    }
    template <typename... Numbers>
    Row& numbers(Numbers... values) {
      (word(printed(number_format_, static_cast<double>(values))), ...);
      return *this;
    }
    template <typename... Angles>
    Row& angles(Angles... values) {
      (word(degrees(values)), ...);
      return *this;
    }
    string line() const { return line_ + "\n"; }

   private:
    const char* number_format_;
    char separator_;
    string line_;
  };

  static string rows(const kvr_TestRecord& record) {
    string result;
    for (std::uint32_t i = 0; i < record.data_count; ++i) {
      if (record.data_ratio_1ph != nullptr) {
        result += series_row(record, *record.data_ratio_1ph[i]);
      }
      if (record.data_ratio_3ph != nullptr) {
        result += series_row(record, *record.data_ratio_3ph[i]);
      }
    }
    return result;
  }

  static string series_row(const kvr_TestRecord& record, const kvr_TestData_Ratio_1ph& result) {
    const kvr_TestData_Ratio_Phase& phase = result.phase;
    return Row("%.8f", ';')
        .word(text(record.record_id))
        .word(result.direction == 2 ? "UP" : "DOWN")
        .numbers(result.test_voltage, phase.voltage_h, phase.voltage_x, phase.tnr, phase.tnr_error,
                 phase.current_rms, phase.voltage_rms)
        .angles(phase.phase_high, phase.phase_low, phase.phase_shift_absolute,
                phase.phase_deviation_from_user_phasing)
        .line();
  }

  static string series_row(const kvr_TestRecord& record, const kvr_TestData_Ratio_3ph& r) {
    const auto& [a, b, c] = r.phases;
    Row row("%.8f", ';');
    row.word(text(record.record_id)).word("3Ph 3-1").word(r.test_type == 2 ? "UP" : "DOWN");
    row.numbers(r.test_voltage, a.voltage_h, b.voltage_h, c.voltage_h);
    row.numbers(a.voltage_x, b.voltage_x, c.voltage_x);
    for (const kvr_TestData_Ratio_Phase& phase : r.phases) {
      row.word(text(phase.phase_name) + " = (" + text(phase.high_side_phase) + ") / (" +
               text(phase.low_side_phase) + ")");
      row.numbers(phase.tnr, phase.tnr_error);
    }
    row.numbers(a.current_rms, b.current_rms, c.current_rms);
    row.numbers(a.voltage_rms, b.voltage_rms, c.voltage_rms);
    row.angles(a.phase_high, b.phase_high, c.phase_high);
    row.angles(a.phase_low, b.phase_low, c.phase_low);
    row.angles(a.phase_shift_absolute, b.phase_shift_absolute, c.phase_shift_absolute);
    row.angles(a.phase_deviation_from_user_phasing, b.phase_deviation_from_user_phasing,
               c.phase_deviation_from_user_phasing);
    row.numbers(r.positive_seq_hi, r.negative_seq_hi, r.zero_seq_hi);
    row.numbers(r.positive_seq_lo, r.negative_seq_lo, r.zero_seq_lo);
    row.angles(r.positive_phase_hi, r.negative_phase_hi, r.zero_phase_hi);
    row.angles(r.positive_phase_lo, r.negative_phase_lo, r.zero_phase_lo);
    row.numbers(r.negative_distortion_index, r.zero_distortion_index);
    row.numbers(r.ratio_3ph, r.ratio_3ph_error);
    row.angles(r.phase_3ph);
    return row.line();
  }

  // Stored records: S1 holds a single-phase result, S3 a three-phase one, S0 none.

  void records() {
    const auto menu = [this](const string& choice) {
      say("\n== Choose menu item ==\n\n1. List database records\n2. Read record\n"
          "3. Export records to csv\n4. Delete record\n9. Clear database\n0. Cancel\n");
      type(choice);
    };
    menu("1");
    list();
    menu("2");
    read();
    menu("3");
    export_all();
    menu("4");
    say("Test ID: ");
    type("S0");
    if (is_taken(ask(ApiCall::DeleteRecord, "\"S0\"").code)) {
      say("Deleted!\n");
    }
    menu("9");
    say("Do you want to clear tests database? (Y/N): ");
    type("y");
    if (is_taken(ask(ApiCall::ClearTestDatabase).code)) {
      say("Database has been reset!\n");
    }
    menu("0");
  }

  static ScriptedAnswer store() {
    return {.labels = {{label_of("S1"), label_of("S3"), label_of("S0")}}};
  }

  static Record stored_record(const string& id) {
    if (id == "S3") {
      return three_phase_record(id, 24);
    }
    const Record record = single_phase_record(id, 24);
    if (id == "S0") {
      record->data_ratio_1ph = nullptr;
      record->data_count = 0;
    }
    return record;
  }

  void list() {
    say("\n== Choose sort order ==\n\n1. Date/Time Asc\n2. Date/Time Desc\n3. Test ID Asc\n"
        "4. Test ID Desc\n5. Vector Group Asc\n6. Vector Group Desc\n0. Cancel\n");
    type("6");
    say("Existing test results: \n");
    const Reply reply = ask(ApiCall::ListRecords, "sort_key=2 ascending=0", store());
    if (!is_taken(reply.code)) {
      return;
    }
    const auto labels = reply.answer.labels.value_or(std::vector<kvr_TestLabel>{});
    say("Total count: " + std::to_string(labels.size()) + "\n");
    for (const kvr_TestLabel& label : labels) {
      say(entry_line(label));
    }
    told_.missing_lists += reply.answer.labels ? 0U : 1U;
    ask(ApiCall::FreeTestLabelsList, reply.answer.labels ? "set" : "null");
  }

  /// `last` is what the record pointer holds before the call.
  Reply read_stored(const string& id, const Record& last = nullptr) {
    const string pointer = last == nullptr ? "" : " record=set";
    return ask(ApiCall::ReadRecord, "\"" + id + "\" setting=1" + pointer, {}, stored_record(id));
  }

  void read() {
    say("Test ID: ");
    type("S1");
    const Reply reply = read_stored("S1");
    if (!is_taken(reply.code)) {
      told_.kept_records += reply.record == nullptr ? 0U : 1U;
      return;
    }
    if (reply.record != nullptr) {
      say(result_text(*reply.record));
      ask(ApiCall::FreeTestRecord, "\"" + text(reply.record->record_id) + "\"");
    }
  }

  void export_all() {
    const string folder = results_ + "20210315_12_00_00" + results_.back();
    told_.open_files = {folder + "3ph_export.csv", folder + "1ph_export.csv"};
    string& three_phase = told_.files[folder + "3ph_export.csv"];
    string& single_phase = told_.files[folder + "1ph_export.csv"];
    say("Export results to: " + folder + "\n");
    const Reply reply = ask(ApiCall::ListRecords, "sort_key=1 ascending=1", store());
    if (!is_taken(reply.code)) {
      say("Load database failed\n");
      told_.open_files.clear();
      return;
    }
    three_phase = three_phase_header();
    single_phase =
        "TEST ID,TIMESTAMP,TESTING MODE,HIGH SIDE PHASE,LOW SIDE PHASE,VOLTAGE HIGH,VOLTAGE LOW,"
        "RATIO,PHASE HIGH,PHASE LOW,PHASE SHIFT ABSOLUTE,PHASE DEV FROM USER PHASING,"
        "VR RATIO ERROR %,CURRENT RMS,VOLTAGE RMS,CURRENT F,INDUCED VOLTAGE,\n";
    const auto labels = reply.answer.labels.value_or(std::vector<kvr_TestLabel>{});
    Record last;  // the record in the pointer, until it is freed
    for (std::size_t i = 0; i < labels.size(); ++i) {
      const Reply read = read_stored(text(labels[i].record_id), last);
      if (read.record != nullptr) {
        last = read.record;
      }
      if (!is_taken(read.code)) {
        told_.kept_records += read.record == nullptr ? 0U : 1U;
        continue;
      }
      if (last == nullptr) {
        continue;
      }
      const kvr_TestRecord& record = *last;
      say("Serialize[" + std::to_string(i + 1) + "/" + std::to_string(labels.size()) + "] " +
          text(record.record_id) + "\n");
      if (record.data_ratio_3ph != nullptr) {
        three_phase += export_row(record, **record.data_ratio_3ph);
        // An export does not free these.
        told_.kept_records += read.record == nullptr ? 0U : 1U;
        continue;
      }
      if (record.data_ratio_1ph != nullptr) {
        single_phase += export_row(record, **record.data_ratio_1ph);
      } else {
        say("Record is empty\n");
      }
      ask(ApiCall::FreeTestRecord, "\"" + text(record.record_id) + "\"");
      last = nullptr;
    }
    told_.open_files.clear();
  }

  static string three_phase_header() {
    string header = "TEST ID,TIMESTAMP,VECTOR,TESTING MODE,TEST TYPE,";
    for (int side = 0; side < 2; ++side) {
      for (const char phase : {'A', 'B', 'C'}) {
        header += string("PHASE CONFIG_") + phase + ",VOLTAGE_" + phase + ", ,";
      }
    }
    for (const char phase : {'A', 'B', 'C'}) {
      for (const char* column : {"V RATIO", "VR RATIO ERROR", "CURRENT RMS", "VOLTAGE RMS", "eFi",
                                 "PHASE HIGH", "PHASE LOW", "PHASE SHIFT ABSOLUTE",
                                 "DEVIATION FROM PHASING", "VOL RMS HIGH", "VOL RMS LOW"}) {
        header += string("\xC3\xB8") + phase + " " + column + ",";
      }
      header += " ,";
    }
    return header +
           "POSITIVE SEQ HI,NEGATIVE SEQ HI,ZERO SEQ HI,POSITIVE PHASE HI,NEGATIVE PHASE HI,"
           "ZERO PHASE HI,POSITIVE SEQ LO,NEGATIVE SEQ LO,ZERO SEQ LO,POSITIVE PHASE LO,"
           "NEGATIVE PHASE LO,ZERO PHASE LO,NEGATIVE DISTORTION INDEX,"
           "NEGATIVE DISTORTION PHASE (Deg),ZERO DISTORTION INDEX,ZERO DISTORTION PHASE (Deg),"
           "RATIO 3PH,RATIO 3PH ERROR %,PHASE 3PH,TVR MULTIPLIER FACTOR,INDUCED VOLTAGE,"
           "HEALTH STATE,DISTORTED PHASE\n";
  }

  static string export_row(const kvr_TestRecord& record, const kvr_TestData_Ratio_3ph& r) {
    Row row("%g", ',');
    row.word(text(record.record_id)).word(text(record.timestamp)).word("Dy1");
    row.word("STEP UP").word("Excite 3 : Measure 1");
    for (const kvr_TestData_Ratio_Phase& phase : r.phases) {
      row.word(text(phase.high_side_phase)).numbers(phase.voltage_h).word("");
    }
    for (const kvr_TestData_Ratio_Phase& phase : r.phases) {
      row.word(text(phase.low_side_phase)).numbers(phase.voltage_x).word("");
    }
    for (const kvr_TestData_Ratio_Phase& phase : r.phases) {
      row.numbers(phase.tnr, phase.tnr_error, phase.current_rms, phase.voltage_rms,
                  phase.phase_high, phase.phase_low, phase.phase_shift_absolute, phase.vol_rms_high,
                  phase.vol_rms_low);
      row.word("");
    }
    row.numbers(r.positive_seq_hi, r.negative_seq_hi, r.zero_seq_hi);
    row.angles(r.positive_phase_hi, r.negative_phase_hi, r.zero_phase_hi);
    row.numbers(r.positive_seq_lo, r.negative_seq_lo, r.zero_seq_lo);
    row.angles(r.positive_phase_lo, r.negative_phase_lo, r.zero_phase_lo);
    row.numbers(r.negative_distortion_index).angles(r.negative_distortion_phase);
    row.numbers(r.zero_distortion_index).angles(r.zero_distortion_phase);
    row.numbers(r.ratio_3ph, r.ratio_3ph_error).angles(r.phase_3ph);
    row.numbers(r.tvr_multiplier, r.phases[0].induced_voltage);
    return row.line();
  }

  static string export_row(const kvr_TestRecord& record, const kvr_TestData_Ratio_1ph& r) {
    const kvr_TestData_Ratio_Phase& phase = r.phase;
    Row row("%g", ',');
    row.word(text(record.record_id)).word(text(record.timestamp)).word("STEP DOWN");
    row.word(text(phase.high_side_phase)).word(text(phase.low_side_phase));
    row.numbers(phase.voltage_h, phase.voltage_x, phase.tnr);
    row.angles(phase.phase_high, phase.phase_low, phase.phase_shift_absolute,
               phase.phase_deviation_from_user_phasing);
    row.numbers(phase.tnr_error, phase.current_rms, phase.voltage_rms, phase.efi,
                phase.induced_voltage);
    string line = row.line();
    line.erase(line.size() - 2, 1);  // removes the comma at its end
    return line;
  }

  const Fault fault_;
  const string results_;
  ExpectedSession told_;
  ApiCall faulty_ = ApiCall::Lib_Initialize;
  bool silent_ = false;
  int menus_ = 0;
  string firmware_;
  string client_version_;
  string serial_;
  string software_;
  kvr_Status status_{};
};

}  // namespace

string Fault::text() const {
  constexpr const char* kWords[] = {"nothing",    "code",       "code and old reply",
                                    "delay",      "hang",       "not finite",
                                    "full texts", "no results", "lost connection"};
  return "call " + std::to_string(call) + ": " + kWords[static_cast<int>(wrong)] + " " +
         std::to_string(code) + (for_ever ? " for ever" : " once");
}

ExpectedSession expected_session(Program program, const Fault& fault,
                                 const string& results_folder) {
  return Session(fault, results_folder).run(program);
}

string text_of_seen(const SeenCall& seen) {
  const auto float_at = [&seen](std::size_t offset) {
    float value = 0;
    std::memcpy(&value, seen.body.data() + offset, sizeof value);
    return printed("%g", static_cast<double>(value));
  };
  switch (seen.call) {
    case ApiCall::Test_Ratio_1ph:
    case ApiCall::Test_Ratio_3ph:
      return string(name_of(seen.call)) + " \"" + text(seen.head.record_id) +
             "\" save_mode=" + std::to_string(seen.head.save_mode) +
             " voltage=" + float_at(seen.call == ApiCall::Test_Ratio_1ph ? 440 : 432) +
             (seen.record_was_null ? "" : " with a record");
    case ApiCall::Lib_Initialize:
    case ApiCall::SetClientKey:
      return string(name_of(seen.call));
    case ApiCall::FreeTestRecord:  // without the number
      return string(name_of(seen.call)) +
             seen.line.substr(std::min(seen.line.find(" \""), seen.line.size()));
    case ApiCall::ListRecords: {
      const std::size_t begin = seen.line.find("sort_key");
      return string(name_of(seen.call)) + " " +
             seen.line.substr(begin, seen.line.find(" list=null") - begin);
    }
    case ApiCall::ReadRecord:
      return seen.line.substr(0, seen.line.find(" record=null"));
    default:
      return seen.line;
  }
}
