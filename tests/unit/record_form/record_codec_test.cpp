#include "record_form/record_codec.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "support/record_text.h"
#include "unit/record_form/sample_records.h"

namespace {

using Form = std::vector<std::byte>;

constexpr std::string_view kEveryFamily = R"(
asset_id = unit 7
group_id = bay 2
record_id = T1
save_mode = 2
test_count = 2
test_type = 4
setup.windings[0].voltage = 2400
setup.connections[2].kva = 25
timestamp = 2024-03-05 12:00:00.123 something
data_count = 2
raw_data = t;u;i\n0;1;2\n
data_ratio_3ph[0].test_type = 1
data_ratio_3ph[0].phases[2].phase_name = C
data_ratio_3ph[0].phases[2].status = 156
data_ratio_3ph[0].step_up.ratio_3ph = 10.5
data_ratio_3ph[0].step_up.step_down.phase_3ph = 0.25
data_ratio_3ph[1].step_down.negative_seq_hi = 3
data_ratio_1ph[1].phase.tnr = 10.25
data_ratio_1ph[1].phase.tvr_name = a
data_mbalance[0].rows[2].low_label = X3
data_mbalance[0].max_imbalance = 0.5
data_mbalance[1].side = 1
data_resistance[0].duration_ms = 1500
data_resistance[0].sides.primary.count = 2
data_resistance[0].sides.primary.taps[1].tap = -3
data_resistance[0].sides.primary.taps[1].point_count = 3
data_resistance[0].sides.primary.taps[1].points[0].name = H1-H2
data_resistance[0].sides.primary.taps[1].points[2].rm = 0.125
data_resistance[0].sides.primary.taps[1].points[2].transition.to = 4
data_resistance[0].sides.tertiary.count = 0
data_resistance[1].duration_ms = 7
data_demag[0].phase_count = 2
data_demag[0].phases[1].demag_phase = H1-H0
data_demag[0].phases[1].remanence_initial = 0.75
data_demag[1].duration_ms = 9
data_efficiency[0].phases[0].status = 30
data_efficiency[0].efficiency_percent = 98.5
data_efficiency[1].fast_mode = 1
data_impedance[0].test_type = 11
data_impedance[0].tests.count = 2
data_impedance[0].tests.tests[0].phases[2].z = 1.5
data_impedance[0].tests.tests[1].avg_z_percent = 4.25
data_impedance[1].setup.temperature_to = 75
data_drm[0].transition_count = 2
data_drm[0].first_transition[0].end_time = 40
data_drm[0].first_transition[1].start_time = 60
data_drm[1].transition_count = 1
data_heatrun[0].sides.secondary.count = 1
data_heatrun[0].sides.secondary.taps[0].tap = 5
data_heatrun[1].duration_ms = 60000
data_gonogo[0].status_short_circuit = 155
data_gonogo[1].status_open_circuit = 152
)";

RecordNest stored_and_read(const kvr_TestRecord& record) { return decode_record(form_of(record)); }

std::uint32_t number_at(const Form& form, std::size_t offset) {
  std::uint32_t number = 0;
  std::memcpy(&number, form.data() + offset, sizeof number);
  return number;
}

void put_number(Form& form, std::size_t offset, std::uint32_t number) {
  std::memcpy(form.data() + offset, &number, sizeof number);
}

constexpr std::size_t kHeaderSize = 8;
constexpr std::size_t kLinksOfHead = 11;  // ten families and the raw data

TEST(RecordCodec, WritesTheBlockAfterMarkAndVersionAndNullForEachLink) {
  OwnedRecord record = parse_record("record_id = T1\ntest_type = 8\n", "record");

  const Form form = form_of(*record.get());

  ASSERT_EQ(form.size(), kHeaderSize + sizeof(kvr_TestRecord) + kLinksOfHead);
  EXPECT_EQ(std::memcmp(form.data(), "KVRR\1\0\0\0", kHeaderSize), 0);
  EXPECT_EQ(std::memcmp(form.data() + kHeaderSize, record.get(), sizeof(kvr_TestRecord)), 0);
  EXPECT_EQ(std::count(form.end() - kLinksOfHead, form.end(), std::byte{0}), kLinksOfHead);
}

TEST(RecordCodec, WritesEachLinkAfterTheBlocksInTheOrderOfTheRecord) {
  OwnedRecord record = parse_record(
      "data_count = 2\n"
      "data_demag[1].phase_count = 1\n"
      "data_demag[1].phases[0].demag_phase = A\n"
      "raw_data = ab\n",
      "record");

  const Form form = form_of(*record.get());

  Form expected;
  const auto add = [&expected](const void* data, std::size_t size) {
    const auto* first = static_cast<const std::byte*>(data);
    expected.insert(expected.end(), first, first + size);
  };
  kvr_TestRecord head{};
  head.data_count = 2;
  kvr_TestData_Demag demag{};
  demag.phase_count = 1;
  kvr_TestData_Demag_Phase phase{};
  phase.demag_phase[0] = 'A';
  add("KVRR\1\0\0\0", kHeaderSize);
  add(&head, sizeof head);
  add("\0\0\0\0", 4);  // three-phase, single-phase, balance, resistance
  add("\1\0\1", 3);    // demagnetisation: an array, a null, a result
  add(&demag, sizeof demag);
  add("\1\1", 2);  // its phases: an array, a phase
  add(&phase, sizeof phase);
  add("\0\0\0\0\0", 5);    // efficiency, impedance, dynamic resistance, heat run, go/no-go
  add("\1\2\0\0\0ab", 7);  // raw data
  EXPECT_EQ(form, expected);
}

TEST(RecordCodec, KeepsEveryFamilyWithAllThatHangsFromIt) {
  OwnedRecord original = parse_record(kEveryFamily, "every family");

  const RecordNest nest = stored_and_read(*original.get());

  ASSERT_NE(nest, nullptr);
  const kvr_TestRecord& record = *nest;
  EXPECT_EQ(std::memcmp(&record, original.get(), offsetof(kvr_TestRecord, data_ratio_3ph)), 0);
  EXPECT_STREQ(record.timestamp, "2024-03-05 12:00:00.123 something");
  EXPECT_EQ(record.data_count, 2U);
  EXPECT_STREQ(record.raw_data, "t;u;i\n0;1;2\n");

  const kvr_TestData_Ratio_3ph& three_phase = *record.data_ratio_3ph[0];
  EXPECT_STREQ(three_phase.phases[2].phase_name, "C");
  EXPECT_EQ(three_phase.phases[2].status, KVR_RES_NOT_TESTED);
  EXPECT_EQ(three_phase.step_up->ratio_3ph, 10.5);
  EXPECT_EQ(three_phase.step_up->step_down->phase_3ph, 0.25F);
  EXPECT_EQ(three_phase.step_up->step_up, nullptr);
  EXPECT_EQ(three_phase.step_down, nullptr);
  EXPECT_EQ(record.data_ratio_3ph[1]->step_down->negative_seq_hi, 3.0F);

  EXPECT_EQ(record.data_ratio_1ph[0], nullptr);
  EXPECT_EQ(record.data_ratio_1ph[1]->phase.tnr, 10.25);
  EXPECT_STREQ(record.data_ratio_1ph[1]->phase.tvr_name, "a");

  EXPECT_STREQ(record.data_mbalance[0]->rows[2].low_label, "X3");
  EXPECT_EQ(record.data_mbalance[0]->max_imbalance, 0.5F);
  EXPECT_EQ(record.data_mbalance[1]->side, 1U);

  const kvr_TestData_Sides& sides = *record.data_resistance[0]->sides;
  EXPECT_EQ(record.data_resistance[0]->duration_ms, 1500U);
  EXPECT_EQ(sides.primary->count, 2U);
  EXPECT_EQ(sides.primary->taps[0], nullptr);
  const kvr_TestData_Tap& tap = *sides.primary->taps[1];
  EXPECT_EQ(tap.tap, -3);
  EXPECT_STREQ(tap.points[0]->name, "H1-H2");
  EXPECT_EQ(tap.points[0]->transition, nullptr);
  EXPECT_EQ(tap.points[1], nullptr);
  EXPECT_EQ(tap.points[2]->rm, 0.125);
  EXPECT_EQ(tap.points[2]->transition->to, 4);
  EXPECT_EQ(sides.secondary, nullptr);
  EXPECT_EQ(sides.tertiary->taps, nullptr);
  EXPECT_EQ(record.data_resistance[1]->sides, nullptr);

  EXPECT_EQ(record.data_demag[0]->phases[0], nullptr);
  EXPECT_STREQ(record.data_demag[0]->phases[1]->demag_phase, "H1-H0");
  EXPECT_EQ(record.data_demag[0]->phases[1]->remanence_initial, 0.75F);
  EXPECT_EQ(record.data_demag[1]->phases, nullptr);

  EXPECT_EQ(record.data_efficiency[0]->phases[0].status, KVR_RES_OPEN_LEAD);
  EXPECT_EQ(record.data_efficiency[0]->efficiency_percent, 98.5F);
  EXPECT_EQ(record.data_efficiency[1]->fast_mode, 1);

  EXPECT_EQ(record.data_impedance[0]->tests->count, 2U);
  EXPECT_EQ(record.data_impedance[0]->tests->tests[0].phases[2].z, 1.5);
  EXPECT_EQ(record.data_impedance[0]->tests->tests[1].avg_z_percent, 4.25);
  EXPECT_EQ(record.data_impedance[1]->tests, nullptr);
  EXPECT_EQ(record.data_impedance[1]->setup.temperature_to, 75.0F);

  EXPECT_EQ(record.data_drm[0]->transition_count, 2U);
  EXPECT_EQ(record.data_drm[0]->first_transition[0].end_time, 40U);
  EXPECT_EQ(record.data_drm[0]->first_transition[1].start_time, 60U);
  EXPECT_EQ(record.data_drm[1]->first_transition, nullptr);

  EXPECT_EQ(record.data_heatrun[0]->sides->secondary->taps[0]->tap, 5);
  EXPECT_EQ(record.data_heatrun[1]->duration_ms, 60000U);

  EXPECT_EQ(record.data_gonogo[0]->status_short_circuit, KVR_RES_SHORT_CIRCUIT_X);
  EXPECT_EQ(record.data_gonogo[1]->status_open_circuit, KVR_RES_OPEN_CIRCUIT_H);
}

TEST(RecordCodec, GivesTheSameBytesForARecordThatWasStored) {
  OwnedRecord original = parse_record(kEveryFamily, "every family");
  const Form form = form_of(*original.get());

  const RecordNest nest = decode_record(form);

  ASSERT_NE(nest, nullptr);
  EXPECT_EQ(form_of(*nest), form);
}

TEST(RecordCodec, KeepsBytesThatHaveNoName) {
  kvr_TestRecord record{};
  std::fill(std::begin(record.reserved_96), std::end(record.reserved_96), '\x5A');

  const RecordNest nest = stored_and_read(record);

  ASSERT_NE(nest, nullptr);
  EXPECT_EQ(std::memcmp(nest.get(), &record, sizeof record), 0);
}

TEST(RecordCodec, StoresWhatPadsARecordAsZero) {
  OwnedRecord record = parse_record("data_count = 1\ndata_drm[0].transition_count = 0\n", "padded");
  const Form form = form_of(*record.get());
  const std::size_t padding = offsetof(kvr_TestData_Drm, transition_count) + sizeof(std::uint32_t);
  const std::size_t size = sizeof(kvr_TestData_Drm) - padding;
  std::memset(reinterpret_cast<char*>(record.get()->data_drm[0]) + padding, 0x5a, size);
  EXPECT_EQ(form_of(*record.get()), form);

  constexpr std::size_t kLinksBefore = 9;  // seven families, then the array and its entry
  Form padded = form;
  padded[kHeaderSize + sizeof(kvr_TestRecord) + kLinksBefore + padding] = std::byte{1};
  EXPECT_EQ(decode_record(padded), nullptr);
}

TEST(RecordCodec, DistinguishesAnEmptyRawDataTextFromNone) {
  kvr_TestRecord record{};
  EXPECT_EQ(stored_and_read(record)->raw_data, nullptr);

  record.raw_data = "";
  EXPECT_STREQ(stored_and_read(record)->raw_data, "");
}

TEST(RecordCodec, KeepsNullArraysOfCountedEntries) {
  kvr_TestRecord record{};
  record.test_count = 3;
  record.data_count = 3;

  const RecordNest nest = stored_and_read(record);

  ASSERT_NE(nest, nullptr);
  EXPECT_EQ(nest->data_count, 3U);
  EXPECT_EQ(nest->data_ratio_1ph, nullptr);
}

TEST(RecordCodec, KeepsTheFirstTransitionEvenIfNoneIsCounted) {
  OwnedRecord record =
      parse_record("data_count = 1\ndata_drm[0].first_transition.end_time = 9\n", "uncounted");

  const RecordNest nest = stored_and_read(*record.get());

  ASSERT_NE(nest, nullptr);
  EXPECT_EQ(nest->data_drm[0]->transition_count, 0U);
  EXPECT_EQ(nest->data_drm[0]->first_transition->end_time, 9U);
}

TEST(RecordCodec, RefusesEveryFormThatIsCutShort) {
  OwnedRecord original = parse_record(kEveryFamily, "every family");
  const Form form = form_of(*original.get());

  for (std::size_t size = 0; size < form.size(); ++size) {
    // A copy of exactly that size, so that sanitizers find a read beyond its end.
    const Form cut(form.begin(), form.begin() + static_cast<std::ptrdiff_t>(size));
    ASSERT_EQ(decode_record(cut), nullptr) << "cut at " << size << " of " << form.size();
  }
}

TEST(RecordCodec, RefusesBytesAfterTheRecord) {
  Form form = form_of(kvr_TestRecord{});
  form.push_back(std::byte{0});
  EXPECT_EQ(decode_record(form), nullptr);
}

TEST(RecordCodec, RefusesAnotherMarkAndAnotherVersion) {
  const Form form = form_of(kvr_TestRecord{});

  Form other_mark = form;
  other_mark[0] = std::byte{'k'};
  EXPECT_EQ(decode_record(other_mark), nullptr);

  Form newer = form;
  put_number(newer, 4, 2);
  EXPECT_EQ(decode_record(newer), nullptr);
}

TEST(RecordCodec, RefusesPointersInABlock) {
  Form form = form_of(kvr_TestRecord{});
  put_number(form, kHeaderSize + offsetof(kvr_TestRecord, data_drm), 0x1000);
  EXPECT_EQ(decode_record(form), nullptr);
}

TEST(RecordCodec, RefusesALinkThatIsNeitherNullNorPresent) {
  Form form = form_of(kvr_TestRecord{});
  form.back() = std::byte{2};
  EXPECT_EQ(decode_record(form), nullptr);
}

TEST(RecordCodec, RefusesCountsBeyondTheBytesThatFollow) {
  constexpr std::size_t kFirstLink = kHeaderSize + sizeof(kvr_TestRecord);
  Form form = form_of(kvr_TestRecord{});
  form[kFirstLink] = std::byte{1};
  put_number(form, kHeaderSize + offsetof(kvr_TestRecord, data_count), UINT32_MAX);
  EXPECT_EQ(decode_record(form), nullptr);

  OwnedRecord impedance = parse_record(
      "data_count = 1\ndata_impedance[0].tests.count = 1\n"
      "data_impedance[0].tests.tests[0].avg_z = 1\n",
      "impedance");
  Form with_block = form_of(*impedance.get());
  const std::size_t count = with_block.size() - 4 - 1 - sizeof(kvr_TestData_Impedance_SingleTest) -
                            sizeof(kvr_TestData_Impedance_List) +
                            offsetof(kvr_TestData_Impedance_List, count);
  ASSERT_EQ(number_at(with_block, count), 1U);
  put_number(with_block, count, UINT32_MAX / 2);
  EXPECT_EQ(decode_record(with_block), nullptr);
}

TEST(RecordCodec, RefusesARawTextThatIsLongerThanItsBytesOrHoldsATerminator) {
  kvr_TestRecord record{};
  record.raw_data = "abcd";
  const Form form = form_of(record);

  Form too_long = form;
  put_number(too_long, form.size() - 8, UINT32_MAX);
  EXPECT_EQ(decode_record(too_long), nullptr);

  Form ended = form;
  ended[form.size() - 2] = std::byte{0};
  EXPECT_EQ(decode_record(ended), nullptr);
}

TEST(RecordCodec, RefusesTextsThatDoNotEndInTheirField) {
  kvr_TestRecord record{};
  Form form = form_of(record);
  std::fill_n(record.record_id, sizeof record.record_id, 'x');
  EXPECT_EQ(encode_record(record), std::nullopt);

  std::fill_n(form.begin() + kHeaderSize + offsetof(kvr_TestRecord, record_id), kIdSize,
              std::byte{'x'});
  EXPECT_EQ(decode_record(form), nullptr);
}

OwnedRecord with_steps(int depth) {
  OwnedRecord record = parse_record("data_count = 1\ndata_ratio_3ph[0].ratio_3ph = 1\n", "steps");
  kvr_TestData_Ratio_3ph* test = record.get()->data_ratio_3ph[0];
  for (int i = 0; i < depth; ++i) {
    test->step_down = record.arena().make<kvr_TestData_Ratio_3ph>();
    test = test->step_down;
  }
  return record;
}

TEST(RecordCodec, FollowsStepsToADepthOfThirty) {
  OwnedRecord deepest = with_steps(30);
  const Form form = form_of(*deepest.get());
  const RecordNest nest = decode_record(form);
  ASSERT_NE(nest, nullptr);
  EXPECT_EQ(form_of(*nest), form);

  OwnedRecord deeper = with_steps(31);
  EXPECT_EQ(encode_record(*deeper.get()), std::nullopt);
}

TEST(RecordCodec, RefusesAFormOfDeeperSteps) {
  // One more step is inserted by hand, in place of the two null links of the deepest one.
  OwnedRecord deepest = with_steps(30);
  Form form = form_of(*deepest.get());
  constexpr std::size_t kLinksBehind = kLinksOfHead - 1;
  const auto last_step_down = form.end() - kLinksBehind - 1;
  ASSERT_EQ(*last_step_down, std::byte{0});
  Form inserted(1 + sizeof(kvr_TestData_Ratio_3ph) + 2, std::byte{0});
  inserted.front() = std::byte{1};
  const auto position = form.erase(last_step_down);
  form.insert(position, inserted.begin(), inserted.end());
  EXPECT_EQ(decode_record(form), nullptr);
}

TEST(RecordCodec, DecodesDamagedBytesToNothingOrToWhatTheySay) {
  OwnedRecord original = parse_record(kEveryFamily, "every family");
  const Form form = form_of(*original.get());
  std::mt19937 random(1);  // NOLINT(bugprone-random-generator-seed): the same bytes on every run

  int refused = 0;
  constexpr int kRounds = 3000;
  for (int round = 0; round < kRounds; ++round) {
    Form damaged = form;
    const unsigned changes = 1 + random() % 8;
    for (unsigned i = 0; i < changes; ++i) {
      damaged[random() % damaged.size()] = static_cast<std::byte>(random());
    }
    const RecordNest nest = decode_record(damaged);
    if (nest == nullptr) {
      ++refused;
    } else {
      ASSERT_EQ(form_of(*nest), damaged) << "round " << round;
    }
  }
  EXPECT_GT(refused, 0);
  EXPECT_LT(refused, kRounds);
}

}  // namespace