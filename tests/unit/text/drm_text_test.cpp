#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "unit/text/body_text.h"

namespace {

using Text = KVR_Text_Output;

const std::string kDrm =
    "data_drm[0].transition_count = 17\n"
    "data_drm[0].first_transition.start_time = 250\n"
    "data_drm[0].first_transition.end_time = 1250\n";

TEST(DrmText, HasCountAndTime) {
  EXPECT_EQ(tests_of("test_type = 18\ndata_count = 1\n" + kDrm),
            "TEST #1 \tDRM\ntransisiont count: 17 total time: 1000\n\n");
}

TEST(DrmText, TimeIsAnUnsignedDifference) {
  EXPECT_EQ(tests_of("test_type = 18\ndata_count = 1\n" + kDrm +
                     "data_drm[0].first_transition.end_time = 249"),
            "TEST #1 \tDRM\ntransisiont count: 17 total time: 4294967295\n\n");
}

TEST(DrmText, WithoutDataIsItsWordAlone) {
  EXPECT_EQ(tests_of("test_type = 18\ndata_count = 2\ndata_drm[1].transition_count = 5"),
            "TEST #1 \tDRM\n\nTEST #2 \tDRM\n\n");
  EXPECT_EQ(tests_of("test_type = 18\ndata_count = 1"), "TEST #1 \tDRM\n\n");
}

TEST(DrmText, SummaryAlone) {
  OwnedRecord owned = parse_record(kDrm, "record");
  std::ostringstream out;
  Text::DrmSummaryToText(owned.get()->data_drm[0], out);
  EXPECT_EQ(out.str(), "transisiont count: 17 total time: 1000\n");
  kvr_TestData_Drm without_data{};
  without_data.transition_count = 3;
  Text::DrmSummaryToText(&without_data, out);
  EXPECT_EQ(out.str(), "transisiont count: 17 total time: 1000\n");
}

}  // namespace
