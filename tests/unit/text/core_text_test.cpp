#include <gtest/gtest.h>

#include <string>

#include "unit/text/body_text.h"

namespace {

const std::string kDemag =
    "test_type = 10\n"
    "data_count = 1\n"
    "data_demag[0].duration_ms = 5000\n";

TEST(DemagText, HasPhasesAndDuration) {
  EXPECT_EQ(tests_of(kDemag + "data_demag[0].phase_count = 2\n"
                              "data_demag[0].phases[0].demag_phase = H1-H2\n"
                              "data_demag[0].phases[0].remanence_initial = -0.5\n"
                              "data_demag[0].phases[0].remanence_after_demag = 0.015625\n"
                              "data_demag[0].phases[1].demag_phase = H2-H3\n"),
            "TEST #1 \tdemag_phase = H1-H2\n"
            "remanence_initial = -50.00000000%\n"
            "remanence_after_demag = 1.56250000%\n"
            "demag_phase = H2-H3\n"
            "remanence_initial = 0.00000000%\n"
            "remanence_after_demag = 0.00000000%\n"
            "Test duration(ms) = 5000\n"
            "\n");
}

TEST(DemagText, RemanenceIsScaledInSinglePrecision) {
  // In double precision it would be 1.22999996 and 30.00000119.
  const std::string text = tests_of(kDemag +
                                    "data_demag[0].phase_count = 1\n"
                                    "data_demag[0].phases[0].remanence_initial = 0.0123\n"
                                    "data_demag[0].phases[0].remanence_after_demag = 0.3\n");
  EXPECT_NE(text.find("remanence_initial = 1.23000002%\nremanence_after_demag = 30.00000191%\n"),
            std::string::npos)
      << text;
}

TEST(DemagText, WithoutPhasesIsTheDurationAlone) {
  EXPECT_EQ(tests_of(kDemag), "TEST #1 \tTest duration(ms) = 5000\n\n");
  EXPECT_EQ(tests_of(kDemag + "data_demag[0].phase_count = 2"),  // no array
            "TEST #1 \tTest duration(ms) = 5000\n\n");
}

TEST(DemagText, PassesOverNullPhases) {
  const std::string text = tests_of(kDemag +
                                    "data_demag[0].phase_count = 3\n"
                                    "data_demag[0].phases[1].demag_phase = B\n"
                                    "data_demag[0].phases[2] = null\n");
  EXPECT_EQ(text,
            "TEST #1 \tdemag_phase = B\n"
            "remanence_initial = 0.00000000%\n"
            "remanence_after_demag = 0.00000000%\n"
            "Test duration(ms) = 5000\n"
            "\n");
}

TEST(DemagText, WhatIsMissingHasNoLines) {
  EXPECT_EQ(tests_of("test_type = 10\ndata_count = 1"), "TEST #1 \t\n");
  EXPECT_EQ(tests_of("test_type = 10\ndata_count = 1\ndata_demag[0] = null"), "TEST #1 \t\n");
}

std::string balance(int i, int side) {
  const std::string path = "data_mbalance[" + std::to_string(i) + "].";
  std::string text =
      path + "side = " + std::to_string(side) + "\n" + path + "max_imbalance = 2.5\n";
  for (int k = 0; k < 3; ++k) {
    const std::string row = path + "rows[" + std::to_string(k) + "].";
    const std::string digit = std::to_string(k + 1);
    text += row + "high_label = H" + digit + "\n";
    text += row + "low_label = X" + digit + "\n";
    text += row + "total = " + digit + "00.5\n";
    for (int c = 0; c < 3; ++c) {
      text +=
          row + "cell[" + std::to_string(c) + "].value = " + digit + std::to_string(c) + ".25\n";
    }
  }
  return text;
}

const std::string kLowSideTable =
    "Magnetic Balance: \n"
    "Max imbalance: 2.50000000\n"
    "\t        X1\t        X2\t        X3        \tTotal\n"
    " X1\t\t10.25000000\t11.25000000\t12.25000000     100.50000000\n"
    " X2\t\t20.25000000\t21.25000000\t22.25000000     200.50000000\n"
    " X3\t\t30.25000000\t31.25000000\t32.25000000     300.50000000\n"
    "\n";

TEST(MagneticBalanceText, SideChoosesTheLabels) {
  std::string high_side_table = kLowSideTable;
  for (std::size_t at = 0; (at = high_side_table.find('X', at)) != std::string::npos;) {
    high_side_table[at] = 'H';
  }
  const std::string record = "test_type = 14\ndata_count = 1\n";
  EXPECT_EQ(tests_of(record + balance(0, 0)), "TEST #1 \t" + kLowSideTable);
  EXPECT_EQ(tests_of(record + balance(0, 1)), "TEST #1 \t" + high_side_table);
  EXPECT_EQ(tests_of(record + balance(0, 9)), "TEST #1 \t" + high_side_table);
}

TEST(MagneticBalanceText, NullEntryEndsTheWholeText) {
  EXPECT_EQ(tests_of("test_type = 14\ndata_count = 3\ndata_mbalance[1] = null\n" + balance(0, 0) +
                     balance(2, 0)),
            "TEST #1 \t" + kLowSideTable + "TEST #2 \tNULL data\n");
}

TEST(MagneticBalanceText, MissingArrayEndsTheWholeText) {
  EXPECT_EQ(tests_of("test_type = 14\ndata_count = 3"), "TEST #1 \tdata_mbalance=NULL\n");
}

TEST(GoNoGoText, HasThreeNames) {
  EXPECT_EQ(tests_of("test_type = 17\n"
                     "data_count = 2\n"
                     "data_gonogo[0].status_open_circuit = 152\n"
                     "data_gonogo[0].status_short_circuit = 155\n"
                     "data_gonogo[0].status_minimum_inductance = 150\n"
                     "data_gonogo[1].status_short_circuit = 180\n"),
            "TEST #1 \tstatus_minimum_inductance = KVR_RES_INDUCTANCE_TOO_LOW\n"
            "status_open_circuit = KVR_RES_OPEN_CIRCUIT_H\n"
            "status_short_circuit = KVR_RES_SHORT_CIRCUIT_X\n"
            "\n"
            "TEST #2 \tstatus_minimum_inductance = KVR_RES_OK\n"
            "status_open_circuit = KVR_RES_OK\n"
            "status_short_circuit = Unknown error code 180\n"
            "\n");
}

TEST(GoNoGoText, WhatIsMissingHasNoLines) {
  EXPECT_EQ(tests_of("test_type = 17\ndata_count = 1"), "TEST #1 \t\n");
  EXPECT_EQ(tests_of("test_type = 17\ndata_count = 1\ndata_gonogo[0] = null"), "TEST #1 \t\n");
}

}  // namespace
