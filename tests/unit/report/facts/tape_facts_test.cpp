#include <gtest/gtest.h>

#include <cstring>
#include <fstream>

#include "api/client_api.h"
#include "common/field_text.h"
#include "report/facts/facts.h"
#include "report/facts/text_lines.h"
#include "support/temporary_folder.h"
#include "tape/format/line_text.h"
#include "tape/vocabulary/call_fields.h"
#include "tape/vocabulary/layouts.h"

namespace report {
namespace {

using tape::Event;
using tape::EventKind;
using tape::Fields;
using tape::Value;

RecordNest test_record(std::string_view id, float voltage) {
  RecordNest record(new kvr_TestRecord{});
  record->test_type = KVR_TEST_RATIO_DOWN;
  record->test_count = record->data_count = 1;
  set_field(record->record_id, id);
  record->data_ratio_1ph = new kvr_TestData_Ratio_1ph* [1] {
    new kvr_TestData_Ratio_1ph {}
  };
  record->data_ratio_1ph[0]->test_voltage = voltage;
  return record;
}

class TapeFactsTest : public testing::Test {
 protected:
  void call(std::string_view name, const Fields& in, Fields out, std::int64_t code = KVR_RES_OK) {
    Event event{EventKind::kCall, std::string(name), ++number_, 0, 1, in, 0};
    text_ += tape::line_of(event);
    event.kind = EventKind::kReturn;
    out.insert(out.begin(), {"code", Value::of(code)});
    event.fields = std::move(out);
    text_ += tape::line_of(event);
  }

  void lock() { call("kvr_LockAPI", {}, {}); }
  void unlock() { call("kvr_UnlockAPI", {}, {}); }

  void test(std::string_view id, float voltage, std::int64_t code = KVR_RES_OK) {
    kvr_TestRequestHeader header{};
    kvr_Ratio1phRequest request{};
    kvr_TestRecord* record = nullptr;
    const RecordNest made = test_record(id, voltage);
    made->test_count = static_cast<std::uint32_t>(records_) + 1;  // as an instrument counts
    call("kvr_Test_Ratio_1ph", tape::test_fields(&header, &request, nullptr, &record),
         {{"record", tape::record_content(++records_, *made, false)}}, code);
  }

  void read_back(const char* id, std::vector<float> voltages) {
    std::vector<RecordNest> parts;
    for (const float voltage : voltages) {
      parts.push_back(test_record(id, voltage));
    }
    const RecordNest made = join_records(std::move(parts));
    kvr_TestRecord* record = nullptr;
    call("kvr_ReadRecord", tape::read_fields(id, 0, &record),
         {{"record", tape::record_content(++records_, *made, true)}});
  }

  void device(kvr_DeviceInfo info, std::string_view serial_number) {
    set_field(info.serial_number, serial_number);
    call("kvr_GetDeviceInfo", {{"info", Value::of(1)}},
         {{"info", Value::block("kvr_DeviceInfo", &info, sizeof info)}});
  }

  Facts facts(const std::vector<std::string>& only = {}) const {
    return read(header() + text_, only);
  }

  static tape::TapeHeader known_header() {
    tape::TapeHeader header;
    char digits[17];
    std::snprintf(digits, sizeof digits, "%llx",
                  static_cast<unsigned long long>(tape::layouts_fingerprint()));
    header.layouts = digits;
    header.system = "linux";
    header.program = "1";
    header.time = "2024-03-05T08:00:00+01:00";
    header.library = "l";
    header.library_sha256 = std::string(64, '0');
    return header;
  }

  static std::string header() { return tape::line_of(known_header()); }

  Facts read(const std::string& bytes, const std::vector<std::string>& only = {}) const {
    const auto path = folder_.path() / "t.kvrtape";
    std::ofstream(path, std::ios::binary) << bytes;
    return read_tape(path, only);
  }

  std::string failure(const std::string& bytes, const std::vector<std::string>& only = {}) const {
    try {
      read(bytes, only);
    } catch (const ReadFailure& failed) {
      return failed.what();
    }
    return "none";
  }

  std::string text_;

 private:
  std::uint64_t number_ = 0;
  std::int64_t records_ = 0;
  TemporaryFolder folder_;
};

TEST_F(TapeFactsTest, OfARunAreOneRecord) {
  lock();
  test("A", 10);
  test("A", 20);
  unlock();
  lock();
  test("B", 30);
  unlock();
  const Facts found = facts();
  ASSERT_EQ(found.records.size(), 2U);
  EXPECT_EQ(found.records[0].origin, Origin::kTape);
  EXPECT_EQ(found.records[0].file, "t.kvrtape");
  ASSERT_EQ(found.records[0].nest->data_count, 2U);
  EXPECT_EQ(found.records[0].nest->test_count, 2U);
  EXPECT_EQ(found.records[0].nest->data_ratio_1ph[1]->test_voltage, 20);
  EXPECT_EQ(field_text(found.records[1].nest->record_id), "B");
  EXPECT_TRUE(found.remarks.empty());
}

TEST_F(TapeFactsTest, OfARecordThatIsReadBackStandOnce) {
  read_back("A", {5});
  lock();
  test("B", 10);
  test("B", 20);
  unlock();
  read_back("B", {10, 20});
  read_back("A", {5, 6, 7});
  const Facts found = facts();
  ASSERT_EQ(found.records.size(), 2U);
  EXPECT_EQ(found.records[0].nest->data_count, 3U);
  EXPECT_EQ(found.records[1].nest->data_count, 2U);
  EXPECT_EQ(facts({"B"}).records.size(), 1U);
  EXPECT_EQ(failure(header() + text_, {"B", "C"}), "t.kvrtape: has no record C");
}

TEST_F(TapeFactsTest, SayWhatWasRefusedAndWhatIsPartial) {
  test("A", 10, KVR_RES_PARTIAL_RESULT_CHECK_STATUS);
  test("A", 20, KVR_RES_OPERATION_CANCELLED);
  const Facts found = facts();
  ASSERT_EQ(found.records.size(), 1U);
  EXPECT_EQ(found.records[0].nest->data_count, 1U);
  EXPECT_EQ(found.remarks,
            (std::vector<std::string>{
                "t.kvrtape, line 3: kvr_Test_Ratio_1ph returned "
                "KVR_RES_PARTIAL_RESULT_CHECK_STATUS, with the results shown here.",
                "t.kvrtape, line 5: kvr_Test_Ratio_1ph returned KVR_RES_OPERATION_CANCELLED."}));
}

TEST_F(TapeFactsTest, StateTheInstrumentAndItsCalibration) {
  kvr_DeviceInfo info{};
  set_field(info.hardware_version, "2.1");
  set_field(info.software_version, "3.4");
  set_field(info.firmware_version, "5.2");
  info.calibrated = 1;
  info.calibration_date = 1709596800;  // 2024-03-05
  device(info, "S1");
  info.calibration_date = 0;
  device(info, "S1");
  device(info, "S2");
  kvr_ClientAPIInfo client{};
  set_field(client.version, "1.0");
  call("kvr_GetClientAPIInfo", {{"info", Value::of(1)}},
       {{"info", Value::block("kvr_ClientAPIInfo", &client, sizeof client)}});
  test("A", 10);
  const Facts found = facts();
  EXPECT_EQ(found.instrument.serial_number, "S1");
  EXPECT_EQ(found.instrument.hardware_version, "2.1");
  EXPECT_EQ(found.instrument.software_version, "3.4");
  EXPECT_EQ(found.instrument.firmware_version, "5.2");
  EXPECT_EQ(found.instrument.client_version, "1.0");
  EXPECT_EQ(found.instrument.calibration_date, "2024-03-05");
  EXPECT_EQ(found.instrument.type, std::nullopt);
  EXPECT_EQ(found.remarks,
            (std::vector<std::string>{"t.kvrtape, line 7: another instrument, S2."}));
}

TEST_F(TapeFactsTest, FlagAnOldCalibrationAndNone) {
  kvr_DeviceInfo info{};
  info.calibration_old = 1;
  device(info, "");
  test("A", 10);
  const Facts found = facts();
  EXPECT_EQ(found.instrument.serial_number, std::nullopt);
  EXPECT_EQ(found.instrument.calibration_date, std::nullopt);
  EXPECT_EQ(found.remarks,
            (std::vector<std::string>{"The instrument reports that it is not calibrated.",
                                      "The instrument reports that its calibration is old."}));
}

TEST_F(TapeFactsTest, SayThatATapeIsCutOffOrEndsEarly) {
  test("A", 10);
  text_ += tape::line_of(Event{EventKind::kFull, "limit", 0, 0, 0, {}, 0}) + "{\"ca";
  EXPECT_EQ(facts().remarks,
            (std::vector<std::string>{"t.kvrtape ends before the session did: limit.",
                                      "t.kvrtape, line 5: cut off, not read."}));
}

TEST_F(TapeFactsTest, OfOtherFilesAreRefused) {
  EXPECT_EQ(failure(header()), "t.kvrtape: has no results");
  EXPECT_EQ(failure(""), "t.kvrtape: line 1: no first line of a tape");
  EXPECT_TRUE(failure("no tape\n").starts_with("t.kvrtape: line 1: "));
  tape::TapeHeader other = known_header();
  other.layouts = "1";
  EXPECT_EQ(failure(tape::line_of(other)), "t.kvrtape: recorded with other layouts of records");
}

}  // namespace
}  // namespace report
