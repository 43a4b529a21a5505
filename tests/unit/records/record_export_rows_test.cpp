#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "support/flow_test.h"
#include "unit/records/record_export_rows.h"

namespace {

using testing::StartsWith;

// Headers.

TEST_F(RecordExport, HasTheseHeaders) {
  EXPECT_EQ(kThreePhaseExportHeader, kThreePhaseHeader);
  EXPECT_EQ(kSinglePhaseExportHeader, kSinglePhaseHeader);
}

TEST_F(RecordExport, HasHeadersOfTheirOwnLength) {
  EXPECT_EQ(columns_of(kThreePhaseExportHeader).size(), 82U);
  EXPECT_EQ(columns_of(kSinglePhaseExportHeader).size(), 18U);  // the last one without a name
  EXPECT_EQ(columns_of(kSinglePhaseExportHeader).back(), "");
}

// Three-phase rows.

TEST_F(RecordExport, WritesAThreePhaseRowOf74Values) {
  const std::string row = three_phase_rows(three_phase_record());
  EXPECT_EQ(row, kThreePhaseRow);
  EXPECT_EQ(columns_of(row).size(), 75U);  // 74 values, and the line feed after the last comma
  EXPECT_EQ(columns_of(row).back(), "\n");
}

TEST_F(RecordExport, KeepsRowAndHeaderApartFromColumn28On) {
  const std::vector<std::string> row = columns_of(three_phase_rows(three_phase_record()));
  const std::vector<std::string> header = columns_of(kThreePhaseExportHeader);
  const auto value_under = [&](std::size_t position) {
    return header.at(position - 1) + ": " + row.at(position - 1);
  };
  EXPECT_EQ(value_under(27), with_phase_letters("@A VOLTAGE RMS: 601"));
  EXPECT_EQ(value_under(28), with_phase_letters("@A eFi: 0.1"));
  EXPECT_EQ(value_under(34), with_phase_letters("@A VOL RMS LOW: 302"));
  EXPECT_EQ(value_under(54), with_phase_letters("@C PHASE LOW: 1001"));
  EXPECT_EQ(value_under(74), "ZERO DISTORTION INDEX: 901");
}

TEST_F(RecordExport, NamesTheModeOfAThreePhaseTest) {
  const auto mode = [&](std::uint32_t record_type, std::uint32_t result_type) {
    return columns_of(three_phase_rows(
                          "test_count = 1\ntest_type = " + std::to_string(record_type) +
                          "\ndata_ratio_3ph[0].test_type = " + std::to_string(result_type) + "\n"))
        .at(3);
  };
  for (std::uint32_t type = 0; type <= 19; ++type) {
    const std::string word = type == 2 ? "STEP UP" : type == 1 ? "STEP DOWN" : "UNDEFINED";
    EXPECT_EQ(mode(4, type), word) << type;
    EXPECT_EQ(mode(2, type), "STEP UP");
    EXPECT_EQ(mode(1, type), "STEP DOWN");
    if (type != 1 && type != 2 && type != 4) {
      EXPECT_EQ(mode(type, 2), "UNDEFINED") << type;
    }
  }
}

TEST_F(RecordExport, NamesTheExcitationOfAThreePhaseTest) {
  const auto excitation = [&](const std::string& mode) {
    return columns_of(
               three_phase_rows("test_count = 1\ndata_ratio_3ph[0].testing_mode = " + mode + "\n"))
        .at(4);
  };
  EXPECT_EQ(excitation("3"), "Excite 1 : Measure 1");
  EXPECT_EQ(excitation("4"), "Excite 3 : Measure 1");
  EXPECT_EQ(excitation("2"), "Excite 3 : Measure 3");
  for (const char* const mode : {"0", "1", "5", "6", "4294967295"}) {
    EXPECT_EQ(excitation(mode), "UNDEFINED") << mode;
  }
}

TEST_F(RecordExport, WritesARowForEachTest) {
  const std::string text = kThreePhaseHead + "test_count = 3\ndata_count = 1\n" +
                           with_prefix("data_ratio_3ph[0].", three_phase_fields()) +
                           with_prefix("data_ratio_3ph[1].", three_phase_fields()) +
                           "data_ratio_3ph[1].test_type = 1\ndata_ratio_3ph[2].test_type = 0\n" +
                           "data_ratio_3ph[2].phases[0].status = 7\n";
  std::string down = kThreePhaseRow;
  down.replace(down.find("STEP UP"), 7, "STEP DOWN");
  EXPECT_EQ(three_phase_rows(text),
            kThreePhaseRow + down +
                "T3,05.03.2021 12:00:00,YNd1,UNDEFINED,UNDEFINED,wording of code 7\n");
}

TEST_F(RecordExport, CutsAThreePhaseRowAtTheFirstFailedPhase) {
  const std::string begin = "T3,05.03.2021 12:00:00,YNd1,STEP UP,Excite 3 : Measure 1,";
  const std::string record = three_phase_record();
  EXPECT_EQ(three_phase_rows(record + "data_ratio_3ph[0].phases[0].status = 30\n" +
                             "data_ratio_3ph[0].phases[2].status = 31\n"),
            begin + "wording of code 30\n");
  EXPECT_EQ(three_phase_rows(record + "data_ratio_3ph[0].phases[1].status = 156\n"),
            begin + "H1,101,,wording of code 156\n");
  EXPECT_EQ(three_phase_rows(record + "data_ratio_3ph[0].phases[2].status = -1\n"),
            begin + "H1,101,,H2,102,,wording of code -1\n");
}

TEST_F(RecordExport, CutsForEveryCodeButZero) {
  for (const char* const status : {"44", "76", "180"}) {
    EXPECT_EQ(three_phase_rows("test_count = 1\ndata_ratio_3ph[0].phases[0].status = " +
                               std::string(status) + "\n"),
              ",,0,UNDEFINED,UNDEFINED,wording of code " + std::string(status) + "\n");
  }
}

TEST_F(RecordExport, GoesOnWithTheNextRowAfterACutOne) {
  EXPECT_EQ(
      three_phase_rows(kThreePhaseHead + "test_count = 2\n" +
                       "data_ratio_3ph[0].phases[0].status = 156\n" +
                       with_prefix("data_ratio_3ph[1].", three_phase_fields())),
      "T3,05.03.2021 12:00:00,YNd1,UNDEFINED,UNDEFINED,wording of code 156\n" + kThreePhaseRow);
}

TEST_F(RecordExport, SaysThatARecordHoldsNoResults) {
  const std::string line = ",THIS RECORD DOES NOT CONTAIN RESULTS\n";
  EXPECT_EQ(three_phase_rows(three_phase_record() + "test_count = 0\ndata_count = 1\n"),
            "T3" + line);
  EXPECT_EQ(single_phase_rows(single_phase_record() + "test_count = 0\ndata_count = 1\n"),
            "T1" + line);
}

// Single-phase rows.

TEST_F(RecordExport, WritesASinglePhaseRowOf17Values) {
  const std::string row = single_phase_rows(single_phase_record());
  EXPECT_EQ(row, kSinglePhaseRow);
  EXPECT_EQ(columns_of(row).size(), 17U);
}

TEST_F(RecordExport, NamesTheModeOfASinglePhaseTest) {
  for (std::uint32_t direction = 0; direction <= 19; ++direction) {
    const std::string word = direction == 2   ? "STEP UP"
                             : direction == 5 ? "CT TEST"
                             : direction == 1 ? "STEP DOWN"
                                              : "UNDEFINED";
    const std::string row =
        single_phase_rows("test_count = 1\ntest_type = 2\ndata_ratio_1ph[0].direction = " +
                          std::to_string(direction) + "\n");
    EXPECT_EQ(columns_of(row).at(2), word) << direction;
  }
}

TEST_F(RecordExport, CutsASinglePhaseRowAfterItsMode) {
  EXPECT_EQ(single_phase_rows(single_phase_record() + "data_ratio_1ph[0].phase.status = 156\n"),
            "T1,06.03.2021,STEP DOWN,wording of code 156\n");
}

TEST_F(RecordExport, WritesPhaseAnglesInTheUnitOfTheirFile) {
  EXPECT_EQ(columns_of(three_phase_rows("test_count = 1\n"
                                        "data_ratio_3ph[0].phases[0].phase_high = 1\n"))
                .at(27),
            "1");
  EXPECT_EQ(columns_of(single_phase_rows("test_count = 1\n"
                                         "data_ratio_1ph[0].phase.phase_high = 1\n"))
                .at(8),
            "57.295780");
}

// Both.

TEST_F(RecordExport, WritesNumbersWithSixDigits) {
  const auto number = [&](const std::string& value) {
    return columns_of(
               single_phase_rows("test_count = 1\ndata_ratio_1ph[0].phase.tnr = " + value + "\n"))
        .at(7);
  };
  EXPECT_EQ(number("2"), "2");
  EXPECT_EQ(number("0.1"), "0.1");
  EXPECT_EQ(number("123456.4"), "123456");
  EXPECT_EQ(number("1234567"), "1.23457e+06");
  EXPECT_EQ(number("0.00001"), "1e-05");
  EXPECT_EQ(number("0.0001234567"), "0.000123457");
  EXPECT_EQ(number("-0.5"), "-0.5");
  EXPECT_EQ(number("100000"), "100000");
  EXPECT_EQ(number("1000000"), "1e+06");
}

TEST_F(RecordExport, QuotesNothing) {
  const std::string row = single_phase_rows(
      "record_id = a,b \"c\"\ntest_count = 1\n"
      "data_ratio_1ph[0].direction = 5\n");
  EXPECT_THAT(row, StartsWith("a,b \"c\",,CT TEST,"));
  EXPECT_EQ(columns_of(row).size(), 18U);
}

TEST_F(RecordExport, TakesTextsThatFillTheirFields) {
  const std::string id(30, 'T');
  const std::string name(20, 'H');
  const std::string row = single_phase_rows(
      "record_id = " + id + "\nsave_mode = 1\ntest_count = 1\ntimestamp = " + std::string(35, 't') +
      "\ndata_ratio_1ph[0].phase.high_side_phase = " + name +
      "\ndata_ratio_1ph[0].phase.low_side_phase = X\n");
  EXPECT_THAT(row, StartsWith(id + "," + std::string(35, 't') + ",UNDEFINED," + name + ",X,"));
}

TEST_F(RecordExport, PassesOverMissingResults) {
  EXPECT_EQ(three_phase_rows(kThreePhaseHead + "test_count = 2\ndata_ratio_3ph[0] = null\n" +
                             with_prefix("data_ratio_3ph[1].", three_phase_fields())),
            kThreePhaseRow);
}

}  // namespace
