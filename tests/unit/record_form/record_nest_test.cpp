#include "record_form/record_nest.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "record_form/record_shape.h"
#include "support/record_text.h"
#include "unit/record_form/sample_records.h"

namespace {

RecordNest nest_of(std::string_view text) {
  OwnedRecord record = parse_record(text, "record");
  return decode_record(form_of(*record.get()));
}

TEST(RecordNest, NullCanBeFreed) { free_record(nullptr); }

TEST(RecordNest, TheHeadInAListIsTheHeadOfTheRecord) {
  const RecordNest record = nest_of(
      "asset_id = A\ngroup_id = G\nrecord_id = R\nsave_mode = 1\ntest_count = 3\ntest_type = 5\n"
      "setup.windings[1].voltage = 240\ntimestamp = 2024-03-05 12:00:00\n");

  const kvr_TestLabel label = label_of(*record);

  EXPECT_EQ(std::memcmp(&label, record.get(), sizeof label), 0);
  EXPECT_STREQ(label.timestamp, "2024-03-05 12:00:00");
}

TEST(RecordNest, TheHeadInAListCutsALongTimestamp) {
  const RecordNest record = nest_of("timestamp = 0123456789012345678901234567890123\n");
  EXPECT_STREQ(label_of(*record).timestamp, "0123456789012345678901");
}

TEST(RecordNest, TheFamilyIsTheOneWithResults) {
  const std::vector<std::pair<std::string, std::string>> families = {
      {"data_ratio_3ph[0].ratio_3ph = 1", "ratio_3ph"},
      {"data_ratio_1ph[0].reference_ratio = 1", "ratio_1ph"},
      {"data_mbalance[0].side = 1", "mbalance"},
      {"data_resistance[0].duration_ms = 1", "resistance"},
      {"data_demag[0].duration_ms = 1", "demag"},
      {"data_efficiency[0].duration_ms = 1", "efficiency"},
      {"data_impedance[0].test_type = 11", "impedance"},
      {"data_drm[0].transition_count = 1", "drm"},
      {"data_heatrun[0].duration_ms = 1", "heatrun"},
      {"data_gonogo[0].status_open_circuit = 1", "gonogo"},
      {"record_id = T", "none"},
  };
  for (const auto& [text, family] : families) {
    EXPECT_EQ(family_of(*nest_of("data_count = 1\n" + text + "\n")), family);
  }
}

TEST(RecordNest, EachTypeNamesItsFamilies) {
  const std::vector<std::string> families = {"ratio_3ph", "ratio_1ph",  "mbalance",  "resistance",
                                             "demag",     "efficiency", "impedance", "drm",
                                             "heatrun",   "gonogo"};
  const auto named_by = [&families](kvr_TestType type) {
    std::string named;
    for (const std::string& family : families) {
      named += type_names_family(type, family) ? family + " " : "";
    }
    return named;
  };
  for (const kvr_TestType type : {KVR_TEST_RATIO_DOWN, KVR_TEST_RATIO_UP, KVR_TEST_RATIO_AUTO,
                                  KVR_TEST_RATIO_CT, KVR_TEST_RATIO_PT_VT, KVR_TEST_EXCITATION}) {
    EXPECT_EQ(named_by(type), "ratio_3ph ratio_1ph ") << type;
  }
  EXPECT_EQ(named_by(KVR_TEST_RESISTANCE), "resistance ");
  EXPECT_EQ(named_by(KVR_TEST_RESISTANCE_CONT), "resistance ");
  EXPECT_EQ(named_by(KVR_TEST_SCI), "impedance ");
  EXPECT_EQ(named_by(KVR_TEST_FRSL), "impedance ");
  EXPECT_EQ(named_by(KVR_TEST_DEMAG), "demag ");
  EXPECT_EQ(named_by(KVR_TEST_EFFICIENCY), "efficiency ");
  EXPECT_EQ(named_by(KVR_TEST_MBALANCE), "mbalance ");
  EXPECT_EQ(named_by(KVR_TEST_HEATRUN), "heatrun ");
  EXPECT_EQ(named_by(KVR_TEST_GONOGO), "gonogo ");
  EXPECT_EQ(named_by(KVR_TEST_DRM), "drm ");
  EXPECT_EQ(named_by(KVR_TEST_UNDEFINED), "");
}

std::vector<RecordNest> parts_of(const std::vector<std::string>& texts) {
  std::vector<RecordNest> parts;
  for (const std::string& text : texts) {
    parts.push_back(nest_of(text));
  }
  return parts;
}

TEST(RecordNest, JoinedRecordsHaveAllTestsInOrderUnderTheFirstHead) {
  const RecordNest joined = join_records(parts_of({
      "record_id = R\nsave_mode = 1\ntest_count = 1\ndata_count = 1\nraw_data = a\n"
      "data_ratio_1ph[0].phase.tnr = 1\n",
      "record_id = R\nsave_mode = 2\ntest_count = 2\ndata_count = 2\nraw_data = b\n"
      "data_ratio_1ph[0].phase.tnr = 2\ndata_ratio_1ph[1].phase.tnr = 3\n",
      "record_id = R\nsave_mode = 2\ntest_count = 1\ndata_count = 1\n"
      "data_ratio_1ph[0].phase.tnr = 4\n",
  }));

  EXPECT_STREQ(joined->record_id, "R");
  EXPECT_EQ(joined->save_mode, KVR_SAVE_NEW_RECORD);
  EXPECT_EQ(joined->test_count, 4U);
  ASSERT_EQ(joined->data_count, 4U);
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(joined->data_ratio_1ph[i]->phase.tnr, i + 1);
  }
  EXPECT_EQ(joined->data_ratio_3ph, nullptr);
  EXPECT_STREQ(joined->raw_data, "ab");
}

TEST(RecordNest, JoinedRecordsHaveNullWhereAPartHasNoResults) {
  const RecordNest joined = join_records(parts_of({
      "test_count = 1\ndata_count = 1\n",
      "test_count = 1\ndata_count = 1\ndata_drm[0].transition_count = 6\n",
  }));

  ASSERT_EQ(joined->data_count, 2U);
  EXPECT_EQ(joined->data_drm[0], nullptr);
  EXPECT_EQ(joined->data_drm[1]->transition_count, 6U);
  EXPECT_EQ(joined->raw_data, nullptr);
}

TEST(RecordNest, ASinglePartIsTheWholeRecord) {
  std::vector<RecordNest> parts = parts_of({"test_count = 0\ndata_count = 2\nraw_data = x\n"});
  const kvr_TestRecord* only = parts.front().get();

  const RecordNest joined = join_records(std::move(parts));

  EXPECT_EQ(joined.get(), only);
}

TEST(FamilyName, IsThatOfARecordWhichHoldsTheFamily) {
  EXPECT_EQ(family_name(&kvr_TestRecord::data_ratio_1ph), "ratio_1ph");
  EXPECT_EQ(family_name(&kvr_TestRecord::data_ratio_3ph), "ratio_3ph");
  EXPECT_EQ(family_name(&kvr_TestRecord::data_resistance), "resistance");
  EXPECT_EQ(family_name(&kvr_TestRecord::data_heatrun), "heatrun");
}

}  // namespace