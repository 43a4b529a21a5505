// Evaluations of values in report.toml, worked by hand.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "report/sections/sections.h"

namespace report {
namespace {

Section section_from(std::string_view toml) {
  SettingsResult result = read_settings(toml, "r.toml");
  EXPECT_EQ(result.problems, std::vector<std::string>{});
  std::vector<Section> sections = entered_sections(result.settings);
  EXPECT_EQ(sections.size(), 1U);
  return sections.empty() ? Section{} : sections.front();
}

/// What the rows of a section's first table show, a line each.
std::string rows_of(const Section& section) {
  std::string text;
  for (const auto& row : section.tables.at(0).rows) {
    for (const Cell& cell : row) {
      text += cell.shown + " | ";
    }
    text += "\n";
  }
  return text;
}

TEST(EnteredCurrentTransformer, OfWhichATurnCompensates) {
  const Section section = section_from(
      "[current_transformer]\nnominal_ratio = 200\nturns_ratio = 199\nsecondary_current = 5\n"
      "exciting_current = 1\npower_factor = 0.4\n");
  EXPECT_EQ(rows_of(section),
            "formulas of the first order | 199.0800 | 0.4621 | 3.167 | \n"
            "phasors | 199.0801 | 0.4621 | 3.165 | \n");
}

TEST(EnteredCurrentTransformer, WithTheLossOfItsCoreAndAnInductiveBurden) {
  const Section section = section_from(
      "[current_transformer]\nnominal_ratio = 300\nsecondary_current = 5\n"
      "magnetizing_current = 100\ncore_loss = 1.2\nresistance = 1.5\nreactance = 1\n");
  EXPECT_TRUE(rows_of(section).starts_with(
      "formulas of the first order | 317.7402 | -5.5832 | 139.919 | \n"))
      << rows_of(section);
  EXPECT_NE(section.tables[0].note.find("loss current 39.938 A"), std::string::npos);
}

TEST(EnteredCoreLosses, FromTwoFrequencies) {
  const Section section =
      section_from("[core_losses]\nfrequencies = [30, 50]\nlosses = [24, 60]\n");
  EXPECT_EQ(rows_of(section),
            "30 | 24.000 | 6.000 | 18.000 | 24.000 | 25.00 | \n"
            "50 | 60.000 | 10.000 | 50.000 | 60.000 | 16.67 | \n");
}

TEST(EnteredCoreLosses, NeedTwoFrequencies) {
  const Section section = section_from("[core_losses]\nfrequencies = [50]\nlosses = [60]\n");
  EXPECT_TRUE(section.tables.empty());
  EXPECT_EQ(section.notes.front(), "Two frequencies are needed to separate the losses.");
}

TEST(EnteredLoadLosses, AtAnotherTemperature) {
  const std::string losses =
      "[load_losses]\nmeasured = 4400\ni2r = 4000\ntemperature = 20\n[conditions]\ncorrect_to = "
      "75\n";
  EXPECT_EQ(rows_of(section_from(losses + "[nameplate]\nconductor = \"copper\"\n")),
            "20 | 4000.00 | 400.00 | 4400.00 | \n75 | 4864.44 | 328.92 | 5193.36 | \n");
  EXPECT_EQ(rows_of(section_from(losses)), "20 | 4000.00 | 400.00 | 4400.00 | \n");
}

TEST(EnteredHeatRun, GivesTheTemperatureAtShutDown) {
  // 0.5 + 0.1 exp(-t / 300)
  const Section section = section_from(
      "[heat_run]\ntimes = [60, 120, 180, 240, 300, 360]\nresistances = [0.581873075, "
      "0.567032005, 0.554881164, 0.544932896, 0.536787944, 0.530119421]\ncold_resistance = 0.42\n"
      "cold_temperature = 20\nambient_temperature = 25\n[nameplate]\nconductor = \"copper\"\n");
  const std::string rows = rows_of(section);
  EXPECT_NE(rows.find("resistance at shut-down | 0.60000000 | "), std::string::npos) << rows;
  EXPECT_NE(rows.find("final resistance | 0.50000000 | "), std::string::npos) << rows;
  EXPECT_NE(rows.find("winding temperature at shut-down | 129.07 | "), std::string::npos) << rows;
  EXPECT_NE(rows.find("rise above ambient | 104.07 | "), std::string::npos) << rows;
}

TEST(EnteredHeatRun, OfThreeReadingsHasNoStandardError) {
  const Section section =
      section_from("[heat_run]\ntimes = [1, 2, 3]\nresistances = [3, 2, 1.5]\n");
  const std::string rows = rows_of(section);
  EXPECT_TRUE(rows.starts_with("resistance at shut-down | 5.0000000 | not stated | ")) << rows;
  EXPECT_EQ(rows.find("residual standard deviation"), std::string::npos);
}

TEST(EnteredReadings, HaveTheirStatistics) {
  const Section section = section_from(
      "[readings]\nvalues = [5.007, 4.994, 5.005, 4.990, 4.999]\nunit = \"V\"\n"
      "uncertainty = 0.002\n");
  EXPECT_EQ(rows_of(section),
            "n | 5 |  | \nsmallest | 4.9900000 | V | \nlargest | 5.0070000 | V | \n"
            "mean | 4.9990000 | V | \ns | 0.0071763500 | V | \n"
            "s / \xe2\x88\x9an | 0.0032093613 | V | \n2.8 s | 0.020093780 | V | \n"
            "U, k = 2 | 0.0075630682 | V | \n");
}

TEST(EnteredErrors, LieWithinAClassOrOutside) {
  const std::string errors =
      "[errors]\npercent_of_rated = [120, 100, 20, 5]\nratio = [-0.543, -0.600, -0.950, -1.434]\n"
      "displacement = [15.5, 17.5, 25.8, 35.8]\nstandard_ratio = [-0.134, -0.156, -0.205, -0.356]\n"
      "standard_displacement = [3.7, 4.0, 6.0, 8.0]\n";
  const Section section = section_from(errors);
  EXPECT_EQ(rows_of(section),
            "120 | -0.543 | 15.5 | -0.134 | 3.7 | -0.677 | 19.2 | \n"
            "100 | -0.600 | 17.5 | -0.156 | 4.0 | -0.756 | 21.5 | \n"
            "20 | -0.950 | 25.8 | -0.205 | 6.0 | -1.155 | 31.8 | \n"
            "5 | -1.434 | 35.8 | -0.356 | 8.0 | -1.790 | 43.8 | \n");
  const auto finding = [](const Section& of, std::string_view limit) {
    return *std::find_if(of.findings.begin(), of.findings.end(),
                         [limit](const Finding& each) { return each.limit == limit; });
  };
  EXPECT_EQ(finding(section, "class 1").value, "within the limits of class 1 at the points tested");
  EXPECT_EQ(finding(section, "class 0.5").value, "outside the limits of class 0.5");
  EXPECT_EQ(finding(section, "class 0.5").verdict, Verdict::kNone);
  const std::string stated = errors + "[nameplate]\naccuracy_class = ";
  EXPECT_EQ(finding(section_from(stated + "\"0.5\""), "class 0.5").verdict, Verdict::kFail);
  EXPECT_EQ(finding(section_from(stated + "\"1\""), "class 1").verdict, Verdict::kPass);
}

}  // namespace
}  // namespace report
