#include "support/record_text.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <string>

namespace {

/// The error message for a text; empty if it is a valid record.
std::string complaint(const std::string& text) {
  try {
    parse_record(text, "file.record");
  } catch (const std::runtime_error& error) {
    return error.what();
  }
  return {};
}

TEST(RecordText, EmptyTextIsAnEmptyRecord) {
  OwnedRecord owned = parse_record("", "empty");
  const kvr_TestRecord empty{};
  EXPECT_EQ(std::memcmp(owned.get(), &empty, sizeof empty), 0);
}

TEST(RecordText, WritesFieldsOfAllKinds) {
  OwnedRecord owned = parse_record(
      "record_id = T1\n"
      "save_mode = -2\n"
      "test_count = 4294967295\n"
      "test_type = 0x12\n"
      "setup.windings[2].voltage = 230.1\n"
      "setup.connections[1].clock = -5\n"
      "data_efficiency[0].fast_mode = 255\n"
      "data_ratio_3ph[0].phases[2].tnr = 0x1.8p-3\n",
      "record");
  const kvr_TestRecord& record = *owned.get();
  EXPECT_STREQ(record.record_id, "T1");
  EXPECT_EQ(static_cast<int>(record.save_mode), -2);
  EXPECT_EQ(record.test_count, 4294967295U);
  EXPECT_EQ(record.test_type, KVR_TEST_DRM);
  EXPECT_EQ(record.setup.windings[2].voltage, 230.1F);
  EXPECT_EQ(record.setup.connections[1].clock, -5);
  EXPECT_EQ(record.data_efficiency[0]->fast_mode, 255);
  EXPECT_EQ(record.data_ratio_3ph[0]->phases[2].tnr, 0.1875);
}

TEST(RecordText, AllocatesWhatAPathGoesThrough) {
  OwnedRecord owned = parse_record(
      "data_resistance[2].sides.secondary.taps[1].points[3].transition.status = 7\n"
      "data_resistance[0] = null\n"
      "data_ratio_3ph[0].step_up.step_down.health_state = 3\n"
      "data_impedance[0].tests.tests[1].phases[2].z = 1.5\n",
      "record");
  const kvr_TestRecord& record = *owned.get();
  EXPECT_EQ(record.data_resistance[0], nullptr);
  EXPECT_EQ(record.data_resistance[1], nullptr);
  EXPECT_EQ(record.data_resistance[2]->sides->primary, nullptr);
  const kvr_TestData_Taps& taps = *record.data_resistance[2]->sides->secondary;
  EXPECT_EQ(taps.taps[0], nullptr);
  EXPECT_EQ(taps.taps[1]->points[2], nullptr);
  EXPECT_EQ(taps.taps[1]->points[3]->transition->status, KVR_RES_OPERATION_CANCELLED);
  EXPECT_EQ(taps.count, 0U);  // only what is written
  EXPECT_EQ(record.data_ratio_3ph[0]->step_up->step_down->health_state, KVR_HEALTH_MODERATE);
  EXPECT_EQ(record.data_impedance[0]->tests->tests[0].phases[2].z, 0);
  EXPECT_EQ(record.data_impedance[0]->tests->tests[1].phases[2].z, 1.5);
}

TEST(RecordText, ArraysAreMadeForTheirHighestIndexWhereverItStands) {
  OwnedRecord owned = parse_record(
      "data_demag[0].duration_ms = 1\n"
      "data_demag[40].duration_ms = 41\n"
      "data_demag[20].duration_ms = 21\n",
      "record");
  EXPECT_EQ(owned.get()->data_demag[0]->duration_ms, 1U);
  EXPECT_EQ(owned.get()->data_demag[20]->duration_ms, 21U);
  EXPECT_EQ(owned.get()->data_demag[40]->duration_ms, 41U);
  EXPECT_EQ(owned.get()->data_demag[39], nullptr);
}

TEST(RecordText, OutlivesItsSourceAndMoves) {
  auto text = std::make_unique<std::string>("raw_data = 1;2\\n3\nrecord_id = T1");
  OwnedRecord owned = parse_record(*text, "record");
  text.reset();
  const OwnedRecord moved = std::move(owned);
  EXPECT_STREQ(moved.get()->raw_data, "1;2\n3");
  EXPECT_STREQ(moved.get()->record_id, "T1");
}

TEST(RecordText, NumbersMayBeNanOrInfinite) {
  OwnedRecord owned = parse_record(
      "data_ratio_1ph[0].phase.tnr = nan\n"
      "data_ratio_1ph[0].phase.tvr = -nan\n"
      "data_ratio_1ph[0].phase.efi = -inf\n"
      "data_ratio_1ph[0].phase.curr_h = inf\n"
      "data_ratio_1ph[0].phase.curr_x = -0\n"
      "data_ratio_1ph[0].phase.voltage_h = -1e3\n",
      "record");
  const kvr_TestData_Ratio_Phase& phase = owned.get()->data_ratio_1ph[0]->phase;
  EXPECT_TRUE(std::isnan(phase.tnr) && !std::signbit(phase.tnr));
  EXPECT_TRUE(std::isnan(phase.tvr) && std::signbit(phase.tvr));
  EXPECT_EQ(phase.efi, -std::numeric_limits<float>::infinity());
  EXPECT_EQ(phase.curr_h, std::numeric_limits<float>::infinity());
  EXPECT_TRUE(phase.curr_x == 0 && std::signbit(phase.curr_x));
  EXPECT_EQ(phase.voltage_h, -1000.0F);
}

TEST(RecordText, IntegersReachTheirLimits) {
  OwnedRecord owned = parse_record(
      "setup.line_frequency = -2147483648\nsetup.setup_value_a = 2147483647", "record");
  EXPECT_EQ(owned.get()->setup.line_frequency, std::numeric_limits<std::int32_t>::min());
  EXPECT_EQ(owned.get()->setup.setup_value_a, std::numeric_limits<std::int32_t>::max());
}

TEST(RecordText, TextsRunToTheEndOfTheLine) {
  OwnedRecord owned = parse_record(
      "record_id =  two = blanks \n"
      "group_id = \\x41\\n\\t\\\\\n"
      "asset_id =\n",
      "record");
  EXPECT_STREQ(owned.get()->record_id, " two = blanks ");
  EXPECT_STREQ(owned.get()->group_id, "A\n\t\\");
  EXPECT_STREQ(owned.get()->asset_id, "");
}

TEST(RecordText, TextMayFillItsFieldToTheLastByte) {
  OwnedRecord owned = parse_record("record_id = " + std::string(30, 'x'), "record");
  EXPECT_EQ(std::string(owned.get()->record_id, 30), std::string(30, 'x'));
  EXPECT_EQ(owned.get()->reserved_90[0], '\0');
  EXPECT_EQ(complaint("record_id = " + std::string(31, 'x')),
            "file.record:1: a text of 31 bytes in a field of 30");
}

TEST(RecordText, ALaterLineWins) {
  OwnedRecord owned =
      parse_record("record_id = longer\nrecord_id = new\ntest_count = 1\ntest_count = 2", "record");
  EXPECT_EQ(std::string(owned.get()->record_id, 7), std::string("new\0\0\0\0", 7));
  EXPECT_EQ(owned.get()->test_count, 2U);
}

TEST(RecordText, BlanksCommentsAndEmptyLinesDontMatter) {
  OwnedRecord owned = parse_record(
      "\n"
      "# a comment = none\n"
      "   \t\n"
      "  # another\n"
      "\t record_id  = T1\n"
      "  test_count=3",
      "record");
  EXPECT_STREQ(owned.get()->record_id, "T1");
  EXPECT_EQ(owned.get()->test_count, 3U);
}

TEST(RecordText, ComplainsWithFileAndLine) {
  EXPECT_EQ(complaint("test_count = 1\n\nwrong = 1"),
            "file.record:3: unknown name 'wrong' in 'wrong'");
  EXPECT_EQ(complaint("data_drm[0].wrong.x = 1"),
            "file.record:1: unknown name 'wrong' in 'data_drm[0].wrong.x'");
  EXPECT_EQ(complaint("record_id T1"), "file.record:1: no '=' in 'record_id T1'");
  EXPECT_EQ(complaint("test_count.x = 1"), "file.record:1: unknown name 'x' in 'test_count.x'");
  EXPECT_EQ(complaint(".test_count = 1"), "file.record:1: unknown name '' in '.test_count'");
}

TEST(RecordText, ComplainsAboutIndexes) {
  EXPECT_EQ(complaint("setup.windings[3].voltage = 1"),
            "file.record:1: index out of bounds in 'setup.windings[3].voltage'");
  EXPECT_EQ(complaint("data_drm[1000000] = null"),
            "file.record:1: index out of bounds in 'data_drm[1000000]'");
  EXPECT_EQ(complaint("data_drm[-1] = null"), "file.record:1: out of the range of this field: '1'");
  EXPECT_EQ(complaint("data_drm[] = null"), "file.record:1: not a number of this field: ''");
  EXPECT_EQ(complaint("data_drm[0 = null"),
            "file.record:1: a bracket without its end in 'data_drm[0'");
  EXPECT_EQ(complaint("test_count[0] = 1"), "file.record:1: no array: 'test_count'");
}

TEST(RecordText, ComplainsAboutNumbers) {
  EXPECT_EQ(complaint("test_count = x"), "file.record:1: not a number of this field: 'x'");
  EXPECT_EQ(complaint("test_count = "), "file.record:1: not a number of this field: ''");
  EXPECT_EQ(complaint("test_count = 1 "), "file.record:1: not a number of this field: '1 '");
  EXPECT_EQ(complaint("test_count = 1.5"), "file.record:1: not a number of this field: '1.5'");
  EXPECT_EQ(complaint("test_count = --1"), "file.record:1: not a number of this field: '-1'");
  EXPECT_EQ(complaint("test_count = -1"), "file.record:1: out of the range of this field: '1'");
  EXPECT_EQ(complaint("test_count = 4294967296"),
            "file.record:1: out of the range of this field: '4294967296'");
  EXPECT_EQ(complaint("setup.line_frequency = 2147483648"),
            "file.record:1: out of the range of this field: '2147483648'");
  EXPECT_EQ(complaint("setup.setup_flag_a = 256"),
            "file.record:1: out of the range of this field: '256'");
  EXPECT_EQ(complaint("setup.temperature_to = 1e999"),
            "file.record:1: not a number of this field: '1e999'");
  EXPECT_EQ(complaint("setup.temperature_to = --1"),
            "file.record:1: not a number of this field: '-1'");
}

TEST(RecordText, ComplainsAboutTexts) {
  EXPECT_EQ(complaint("record_id = a\\q"), "file.record:1: unknown escape in 'a\\q'");
  EXPECT_EQ(complaint("record_id = a\\"), "file.record:1: unknown escape in 'a\\'");
  EXPECT_EQ(complaint("record_id = \\x4"), "file.record:1: \\x wants two hexadecimal digits");
  EXPECT_EQ(complaint("record_id = \\xg1"), "file.record:1: \\x wants two hexadecimal digits");
}

TEST(RecordText, ComplainsAboutUnknownFields) {
  EXPECT_EQ(complaint("data_drm = 1"),
            "file.record:1: a pointer can be null or be gone through, not '1'");
  EXPECT_EQ(complaint("setup = 1"),
            "file.record:1: 'setup' has fields or entries of its own to be written");
  EXPECT_EQ(complaint("setup.windings = 1"),
            "file.record:1: 'setup.windings' has fields or entries of its own to be written");
  EXPECT_EQ(complaint("= 1"), "file.record:1: '' has fields or entries of its own to be written");
}

TEST(RecordText, NullCanBeWrittenToAnyPointer) {
  OwnedRecord owned = parse_record(
      "raw_data = null\ndata_drm = null\ndata_ratio_3ph[0].step_up = null\n"
      "data_ratio_3ph[0].step_down.ratio_3ph = 1\ndata_ratio_3ph[0].step_down = null",
      "record");
  EXPECT_EQ(owned.get()->raw_data, nullptr);
  EXPECT_EQ(owned.get()->data_drm, nullptr);
  EXPECT_EQ(owned.get()->data_ratio_3ph[0]->step_up, nullptr);
  EXPECT_EQ(owned.get()->data_ratio_3ph[0]->step_down, nullptr);
}

}  // namespace
