// The phases of one unit beside each other, and excitation curves across records.

#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "report/facts/text_lines.h"
#include "report/sections/sections.h"

namespace report {
namespace {

struct Reading {
  float voltage;
  double ratio;
  double current;
};

/// A single-phase record of one pair of terminals.
Record record_of(std::string_view id, kvr_TestType type, std::string_view pair,
                 const std::vector<Reading>& readings) {
  RecordNest nest(new kvr_TestRecord{});
  nest->test_type = type;
  nest->test_count = nest->data_count = static_cast<std::uint32_t>(readings.size());
  set_field(nest->record_id, id);
  nest->data_ratio_1ph = new kvr_TestData_Ratio_1ph* [readings.size()] {};
  for (std::size_t i = 0; i < readings.size(); ++i) {
    auto* const data = nest->data_ratio_1ph[i] = new kvr_TestData_Ratio_1ph{};
    data->test_voltage = readings[i].voltage;
    data->reference_ratio = 10;
    set_field(data->phase.high_side_phase, pair);
    set_field(data->phase.low_side_phase, "X");
    data->phase.tnr = readings[i].ratio;
    data->phase.voltage_rms = readings[i].voltage;
    data->phase.current_rms = static_cast<float>(readings[i].current);
  }
  return {std::move(nest), Origin::kStore, "records.db", {}, true};
}

std::vector<Section> phases_of(const std::vector<Record>& records, const Settings& settings = {}) {
  std::vector<Section> sections;
  for (const Record& record : records) {
    sections.push_back(section_of(record, settings));
  }
  return phase_sections(sections, settings);
}

std::vector<Record> three_phases(double third) {
  std::vector<Record> records;
  records.push_back(record_of("A", KVR_TEST_RATIO_DOWN, "H1", {{100, 10, 0.1}}));
  records.push_back(record_of("B", KVR_TEST_RATIO_DOWN, "H2", {{100, 10.02, 0.1}}));
  records.push_back(record_of("C", KVR_TEST_RATIO_DOWN, "H3", {{100, third, 0.1}}));
  return records;
}

TEST(PhaseComparison, OfThreeRecordsHasAVerdictAndOverlaidPictures) {
  const auto sections = phases_of(three_phases(9.99));
  ASSERT_EQ(sections.size(), 1U);
  const Section& section = sections.front();
  EXPECT_EQ(section.title, "Phases beside each other: Ratio, stepping down");
  ASSERT_EQ(section.findings.size(), 1U);
  EXPECT_EQ(section.findings[0].quantity,
            "turns ratio at 100.0 V, (largest - smallest) / mean of the phases");
  EXPECT_EQ(section.findings[0].value, "0.300 %");  // 0.03 of 10.00333
  EXPECT_EQ(section.findings[0].limit, "0.5 %");
  EXPECT_EQ(section.findings[0].verdict, Verdict::kPass);
  ASSERT_EQ(section.tables.size(), 1U);
  EXPECT_EQ(section.tables[0].rows[0][2].shown,
            "H1 / X 10.00000, H2 / X 10.02000, H3 / X 9.990000");
  EXPECT_EQ(section.tables[0].rows[0][5].shown, "not stated");
  ASSERT_FALSE(section.pictures.empty());
  const auto& chart = std::get<Chart>(section.pictures.front());
  EXPECT_EQ(chart.title, "Ratio error against voltage");
  std::string names;
  for (const Series& series : chart.series) {
    names += series.name + "; ";
  }
  EXPECT_EQ(names,
            "H1 / X (Ratio, stepping down: A); limit +0.5 %; limit -0.5 %; "
            "H2 / X (Ratio, stepping down: B); H3 / X (Ratio, stepping down: C); ");
}

TEST(PhaseComparison, FailsBeyondTheLimitOfReportToml) {
  EXPECT_EQ(phases_of(three_phases(9.95)).front().findings[0].verdict, Verdict::kFail);
  Settings settings;
  settings.values["limits.ratio_percent"] = 0.8;
  EXPECT_EQ(phases_of(three_phases(9.95), settings).front().findings[0].verdict, Verdict::kPass);
}

TEST(PhaseComparison, KnowsTheRepeatabilityOfReadings) {
  std::vector<Record> records;
  const std::vector<Reading> first{{100, 9.9, 0.1}, {100, 10, 0.1}, {100, 10.1, 0.1}};
  records.push_back(record_of("A", KVR_TEST_RATIO_DOWN, "H1", first));
  records.push_back(record_of("B", KVR_TEST_RATIO_DOWN, "H2", {{100, 10.2, 0.1}}));
  // s is 0.1, the difference 0.2.
  EXPECT_EQ(phases_of(records).front().tables[0].rows[0][5].shown, "within");
  records.push_back(record_of("C", KVR_TEST_RATIO_DOWN, "H3", {{100, 10.3, 0.1}}));
  EXPECT_EQ(phases_of(records).front().tables[0].rows[0][5].shown, "outside");
}

TEST(PhaseComparison, OfARecordWithSeveralPhasesIsItsOwn) {
  std::vector<Record> records;
  records.push_back(record_of("A", KVR_TEST_RATIO_DOWN, "H1", {{100, 10, 0.1}, {100, 10.1, 0.1}}));
  set_field(records[0].nest->data_ratio_1ph[1]->phase.high_side_phase, "H2");
  records.push_back(record_of("B", KVR_TEST_RATIO_DOWN, "H3", {{100, 20, 0.1}}));
  const auto sections = phases_of(records);
  ASSERT_EQ(sections.size(), 1U);
  EXPECT_EQ(sections[0].title, "Phases beside each other: Ratio, stepping down: A");
  EXPECT_EQ(sections[0].tables[0].rows[0][2].shown, "H1 / X 10.00000, H2 / X 10.10000");
  EXPECT_TRUE(sections[0].pictures.empty());
}

TEST(PhaseComparison, NeedsTwoPhases) {
  std::vector<Record> records;
  records.push_back(record_of("A", KVR_TEST_RATIO_DOWN, "H1", {{100, 10, 0.1}}));
  records.push_back(record_of("B", KVR_TEST_RATIO_DOWN, "H1", {{100, 10.2, 0.1}}));
  EXPECT_TRUE(phases_of(records).empty());
}

TEST(ExcitationAcrossRecords, HasTheKneesOfTheWholeCurve) {
  std::vector<Record> records;
  for (int i = 0; i <= 30; ++i) {
    const double voltage = 20 + 10 * i;
    const double current = 1e-5 * voltage + 1e-24 * std::pow(voltage, 9);
    records.push_back(record_of("E" + std::to_string(i), KVR_TEST_EXCITATION, "H1",
                                {{static_cast<float>(voltage), 0, current}}));
  }
  const auto sections = excitation_sections(records);
  ASSERT_EQ(sections.size(), 1U);
  const Table& knees = sections[0].tables.at(0);
  EXPECT_NEAR(std::stod(knees.rows.at(0).at(3).shown), 215.563, 0.2);
  EXPECT_EQ(knees.rows.at(1).at(3).shown, "none in this range");
  EXPECT_NEAR(std::stod(knees.rows.at(2).at(3).shown), 177.988, 0.7);
  const auto& chart = std::get<Chart>(sections[0].pictures.at(0));
  EXPECT_EQ(chart.series[0].points.size(), 31U);
  EXPECT_TRUE(chart.series[0].points[0].title.starts_with("H1 / X, test 1 of E0: 20.000 V, "));
}

TEST(ExcitationAcrossRecords, NeedsThreeVoltagesOfOneUnit) {
  std::vector<Record> records;
  records.push_back(record_of("A", KVR_TEST_EXCITATION, "H1", {{100, 0, 0.1}}));
  records.push_back(record_of("B", KVR_TEST_EXCITATION, "H1", {{200, 0, 0.2}}));
  EXPECT_TRUE(excitation_sections(records).empty());
  records.push_back(record_of("C", KVR_TEST_EXCITATION, "H1", {{300, 0, 0.5}}));
  EXPECT_EQ(excitation_sections(records).size(), 1U);
  set_field(records.back().nest->asset_id, "another");
  EXPECT_TRUE(excitation_sections(records).empty());
}

}  // namespace
}  // namespace report
