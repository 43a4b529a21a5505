#include "report/settings/settings.h"

#include <gtest/gtest.h>

#include <sstream>

namespace report {
namespace {

TEST(Settings, AreReadByTable) {
  const SettingsResult result = read_settings(
      "[customer]\nname = \"Stadtwerke M\xc3\xbcnchen ~ 1\"\n[nameplate]\nimpedance = 4\n"
      "conductor = \"aluminium\"\n[heat_run]\ntimes = [60, 120.5]\n[decision]\n"
      "rule = \"guard band\"\nguard_factor = 0.5\n[limits]\nimpedance_percent = 10\n",
      "report.toml");
  EXPECT_TRUE(result.problems.empty());
  const Settings& settings = result.settings;
  EXPECT_EQ(settings.text("customer.name"), "Stadtwerke M\xc3\xbcnchen ~ 1");
  EXPECT_EQ(settings.number("nameplate.impedance"), 4);
  EXPECT_EQ(settings.numbers("heat_run.times"), (std::vector<double>{60, 120.5}));
  EXPECT_EQ(settings.conductor()->constant, 225);
  EXPECT_EQ(settings.rule().text(), "guard band w = 0.5 U");
  EXPECT_EQ(settings.limit("impedance_percent").value, 10);
  EXPECT_EQ(settings.limit("impedance_percent").source, "report.toml");
  EXPECT_EQ(settings.limit("ratio_percent").value, 0.5);
  EXPECT_FALSE(settings.text("customer.order"));
}

TEST(Settings, ProblemsAreToldAllAtOnceWithTheirLines) {
  const SettingsResult result = read_settings(
      "[customer]\nname = 5\nnmae = \"x\"\n[nameplate]\nimpedance = -1\nconductor = \"iron\"\n"
      "accuracy_class = \"7\"\n[report]\ndate = \"2026-13-01\"\n[heat_run]\ntimes = [1, \"a\"]\n"
      "resistances = [1, 2, 3]\n[current_transformer]\npower_factor = 1.5\n",
      "r.toml");
  EXPECT_EQ(
      result.problems,
      (std::vector<std::string>{
          "r.toml:2: customer.name: expected a text in quotes",
          "r.toml:3: customer.nmae: no such key; kvr-report --example lists them",
          "r.toml:5: nameplate.impedance: expected a number above 0",
          "r.toml:6: nameplate.conductor: expected one of \"copper\", \"aluminium\"",
          "r.toml:7: nameplate.accuracy_class: expected a class: 0.1, 0.2, 0.2S, 0.5, 0.5S, 1 "
          "or 3",
          "r.toml:9: report.date: expected a date, YYYY-MM-DD",
          "r.toml:11: heat_run.times: expected a list of numbers",
          "r.toml:12: heat_run.resistances: expected as many values as heat_run.times",
          "r.toml:14: current_transformer.power_factor: expected a number from 0 to 1",
      }));
}

TEST(Settings, WhatIsNoTomlHasALine) {
  const SettingsResult result = read_settings("[report]\ntitle = \n", "r.toml");
  ASSERT_EQ(result.problems.size(), 1U);
  EXPECT_TRUE(result.problems[0].starts_with("r.toml:2: ")) << result.problems[0];
  EXPECT_EQ(read_settings(std::string(300, '.'), "r.toml").problems[0],
            "r.toml:1: expected at most 200 dots in a line");
  EXPECT_EQ(read_settings("\xef\xbb\xbf[report]\ntitle = \"x\"", "r.toml").problems.size(), 0U);
  EXPECT_FALSE(read_settings("\xff\xfe = 1", "r.toml").problems.empty());
}

TEST(Settings, ExampleStatesNothingUntilItsLinesAreUncommented) {
  const std::string example = example_settings();
  EXPECT_TRUE(read_settings(example, "e").settings.texts.empty());
  std::istringstream lines(example);
  std::string uncommented;
  for (std::string line; std::getline(lines, line);) {
    uncommented += line.find(" = ") != std::string::npos ? line.substr(2) + "\n" : line + "\n";
  }
  const SettingsResult result = read_settings(uncommented, "e");
  EXPECT_EQ(result.problems, std::vector<std::string>{});
  EXPECT_EQ(
      result.settings.texts.size() + result.settings.values.size() + result.settings.lists.size(),
      setting_keys().size());
}

}  // namespace
}  // namespace report
