#include "plan/plan_reader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "plan/dry_run.h"
#include "support/test_clock.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const std::string kSingle = "[[test]]\nkind = \"single-phase\"\n";
const std::string kThree = "[[test]]\nkind = \"three-phase\"\n";

Plan plan_of(const std::string& text, const std::vector<std::string>& replacements = {}) {
  PlanReading reading = read_plan(text, "p.toml", replacements);
  EXPECT_THAT(reading.problems, IsEmpty());
  return reading.plan;
}

PlannedTest test_of(const std::string& text, const std::vector<std::string>& replacements = {}) {
  const Plan plan = plan_of(text, replacements);
  return plan.tests.empty() ? PlannedTest{} : plan.tests.front();
}

std::vector<std::string> problems_of(const std::string& text,
                                     const std::vector<std::string>& replacements = {}) {
  return read_plan(text, "p.toml", replacements).problems;
}

std::vector<float> voltages_of(const std::string& value) {
  std::vector<float> voltages;
  for (const VoltagePlanEntry& entry : test_of(kSingle + "voltages = " + value).voltages) {
    voltages.push_back(entry.voltage);
  }
  return voltages;
}

TEST(PlanReader, ShowsTheExampleAsItIsWritten) {
  EXPECT_EQ(
      dry_run_text(plan_of(kExamplePlan)),
      "p.toml: 2 tests, 3 measurements\n"
      "Connection: USB or Wi-Fi\n"
      "Item name: TR-7\n"
      "\n"
      "1. H1-H2 step down\n"
      "   test: single-phase, step down, H1-H2, X1-X2\n"
      "   voltages: 8 V\n"
      "   nameplate ratio: 10\n"
      "   stored: as TR-7-1\n"
      "   limits: phase_deviation_from_user_phasing from -0.01 to 0.01; tnr_error from -0.5 to "
      "0.5\n"
      "2. all three phases\n"
      "   test: three-phase, step down, 3ph-auto, YN-yn, clock 0\n"
      "   voltages: 100 V 2 times\n"
      "   nameplate ratio: 10\n"
      "   stored: no\n"
      "   limits: none\n");
}

TEST(PlanReader, GivesATestWhatEmptyAnswersMean) {
  const PlannedTest single = test_of(kSingle);
  EXPECT_EQ(single.name, "test 1");
  EXPECT_EQ(single.direction, KVR_TEST_RATIO_AUTO);
  EXPECT_EQ(single.voltages.size(), 1U);
  EXPECT_EQ(single.voltages.front().voltage, 8.0F);
  EXPECT_EQ(single.nameplate_ratio, 0);
  EXPECT_EQ(single.id, "");
  const PlannedTest three = test_of(kThree);
  EXPECT_EQ(three.method, KVR_TESTING_MODE_3PH_AUTO);
  EXPECT_EQ(three.clock, kClockUnknown);
  EXPECT_EQ(three.high_winding, KVR_WINDING_D);
}

TEST(PlanReader, TakesVoltagesInEachForm) {
  EXPECT_THAT(voltages_of("12.5"), ElementsAre(12.5F));
  EXPECT_THAT(voltages_of("[1, 2.5]"), ElementsAre(1.0F, 2.5F));
  EXPECT_THAT(voltages_of("\"10x3\""), ElementsAre(10.0F, 10.0F, 10.0F));
  EXPECT_THAT(voltages_of("\"ascending\""), ElementsAre(3, 6, 12, 24, 36, 47));
  EXPECT_THAT(voltages_of("\"descending\""), ElementsAre(47, 36, 24, 12, 6, 3));
}

TEST(PlanReader, RefusesVoltagesThatADialogueWouldTake) {
  for (const char* const value :
       {"0", "-5", "1e5", "\"0x10\"", "\"10x0\"", "\"10x-3\"", "\"A\"", "\"\"", "[]", "[1, \"2\"]",
        "true", "\"10x5 \"", "\"10x200000\"", "nan", "\"nanx2\""}) {
    EXPECT_THAT(problems_of(kSingle + "voltages = " + value), testing::SizeIs(1)) << value;
  }
}

TEST(PlanReader, RepeatsThePlanForAllMethods) {
  const PlannedTest test =
      test_of(kThree + "direction = \"up\"\nmethod = \"all\"\nvoltages = [1, 2]\n");
  EXPECT_TRUE(test.all_methods);
  EXPECT_EQ(test.method, KVR_TESTING_MODE_3PH_AUTO);
  EXPECT_EQ(test.voltages.size(), 6U);
}

TEST(PlanReader, MakesIds) {
  const TestClock clock;
  const std::string item = "[item]\nname = \"TR\"\nserial = 4711\n";
  EXPECT_EQ(plan_of(item + kSingle + "id = \"{item}-{test}\"\n" + kSingle + "id = \"{date}\"\n")
                .tests.back()
                .id.size(),
            8U);
  EXPECT_EQ(test_of(item + kSingle + "id = \"{item}-{test}\"\n").id, "TR-1");
  for (const char* const id : {"12345678901234567", "{item", "{voltage}", "a\\nb", "{serial}"}) {
    EXPECT_THAT(problems_of(item + kSingle + "id = \"" + id + "\"\n"), testing::SizeIs(1)) << id;
  }
  EXPECT_THAT(problems_of(kSingle + "id = \"T\"\n" + kSingle + "id = \"T\"\n"),
              ElementsAre("p.toml:4: test.id: another test of the plan has the ID T"));
}

TEST(PlanReader, TellsAllProblemsInTheOrderOfLines) {
  EXPECT_THAT(
      problems_of("[run]\nstop_on = [\"never\"]\npause = 4000\n[limits]\nheat = 3\n"
                  "[[test]]\nkind = \"two-phase\"\n"
                  "[[test]]\n"
                  "[[test]]\nkind = \"three-phase\"\nhigh = \"H1-H2\"\nclock = 12\n"
                  "[[test]]\nkind = \"three-phase\"\nclock = 1\nshift = 1\n"
                  "[[test]]\nkind = \"three-phase\"\nmethod = \"all\"\n"
                  "[[test]]\nkind = \"single-phase\"\nlimits = { tnr_error = 1 }\n"),
      ElementsAre("p.toml:2: run.stop_on: expected a list of \"refused\", \"outside\", \"partial\"",
                  "p.toml:3: run.pause: expected a number from 0 to 3600 s",
                  testing::StartsWith("p.toml:5: limits.heat: no such number of a result; expected "
                                      "one of test_voltage, limit_a"),
                  "p.toml:7: test.kind: expected one of \"single-phase\", \"three-phase\"",
                  "p.toml:8: test.kind: missing; expected one of \"single-phase\", \"three-phase\"",
                  "p.toml:11: test.high: no such key; expected one of name, voltages, "
                  "nameplate_ratio, id, stored, direction, method, windings, clock, shift",
                  "p.toml:12: test.clock: expected a whole number from 0 to 11",
                  "p.toml:13: test.shift: expected a clock or a shift, not both",
                  "p.toml:19: test.method: a test of the direction \"auto\" chooses its method "
                  "itself",
                  "p.toml:22: test.nameplate_ratio: missing; the limit of tnr_error needs it"));
  EXPECT_THAT(problems_of(""), ElementsAre("p.toml:1: test: missing; expected tables [[test]]"));
  EXPECT_THAT(problems_of("test = 1"),
              ElementsAre("p.toml:1: test: expected 1 to 10000 tables [[test]]"));
}

TEST(PlanReader, ReplacesValues) {
  const std::string text = "[item]\nname = \"A\"\n" + kSingle + "voltages = 5\n" + kSingle;
  const Plan plan =
      plan_of(text, {"item.name=B 1", "test.voltages=10x2", "test.2.id={item}", "run.pause=0"});
  EXPECT_EQ(plan.item.front().second, "B 1");
  EXPECT_EQ(plan.tests[0].voltages.size(), 2U);
  EXPECT_EQ(plan.tests[1].id, "B 1");
  EXPECT_EQ(plan.pause_ms, 0);
  EXPECT_THAT(test_of(text, {"test.limits={ tnr = [1, 2] }"}).limits, testing::SizeIs(1));
}

TEST(PlanReader, TellsWhichReplacementIsWrong) {
  EXPECT_THAT(problems_of(kSingle, {"name", "test.3.id=x", "run.pause=soon", "run.=1"}),
              ElementsAre("-e: name: expected TABLE.KEY=VALUE",
                          "-e: test.3.id=x: the plan has no such test",
                          "-e: run.=1: expected TABLE.KEY=VALUE",
                          "-e: run.pause: expected a number from 0 to 3600 s"));
}

TEST(PlanReader, ShowsEveryKindOfTest) {
  const std::string text =
      "[connection]\nmethod = \"service\"\nserial_port = \"COM3\"\n" + kSingle +
      "direction = \"up\"\nid = \"A\"\nstored = false\n" + kSingle + "direction = \"ct\"\n" +
      kThree + "windings = \"d-y\"\ndirection = \"down\"\nmethod = \"3-1\"\nshift = -30\n" +
      kThree + "windings = \"Z-zn\"\ndirection = \"up\"\nmethod = \"1-1\"\nclock = 11\n" + kThree +
      "windings = \"y-D\"\ndirection = \"down\"\nmethod = \"all\"\nvoltages = [1, 1, 2]\nid = "
      "\"B\"\n" +
      kThree + "direction = \"down\"\nmethod = \"3-3\"\n";
  EXPECT_EQ(dry_run_text(plan_of(text)),
            "p.toml: 6 tests, 14 measurements\n"
            "Connection: service, test station on COM3\n"
            "\n"
            "1. test 1\n"
            "   test: single-phase, step up, H1-H2, X1-X2\n"
            "   voltages: 8 V\n"
            "   nameplate ratio: none\n"
            "   stored: no, named A\n"
            "   limits: none\n"
            "2. test 2\n"
            "   test: single-phase, current transformer, H1-H2, X1-X2\n"
            "   voltages: 8 V\n"
            "   nameplate ratio: none\n"
            "   stored: no\n"
            "   limits: none\n"
            "3. test 3\n"
            "   test: three-phase, step down, 3ph-3-1, D-y, shift -30 degrees\n"
            "   voltages: 8 V\n"
            "   nameplate ratio: none\n"
            "   stored: no\n"
            "   limits: none\n"
            "4. test 4\n"
            "   test: three-phase, step up, 3ph-1-1, Z-zn, clock 11\n"
            "   voltages: 8 V\n"
            "   nameplate ratio: none\n"
            "   stored: no\n"
            "   limits: none\n"
            "5. test 5\n"
            "   test: three-phase, step down, all methods, Y-d, clock unknown\n"
            "   voltages: 1 V 2 times, 2 V, 1 V 2 times, 2 V, 1 V 2 times, 2 V\n"
            "   nameplate ratio: none\n"
            "   stored: no, named B\n"
            "   limits: none\n"
            "6. test 6\n"
            "   test: three-phase, step down, 3ph-3-3, D-d, clock unknown\n"
            "   voltages: 8 V\n"
            "   nameplate ratio: none\n"
            "   stored: no\n"
            "   limits: none\n");
}

TEST(PlanReader, RefusesWhatNoAnswerCouldBe) {
  for (const char* const line :
       {"windings = \"D\"", "windings = \"Q-y\"", "windings = \"D-q\"", "windings = 1",
        "shift = 361", "shift = \"x\"", "nameplate_ratio = 0", "nameplate_ratio = 2e9",
        "method = \"2-2\"", "direction = \"ct\"", "limits = 1", "limits = { heat = 1 }",
        "limits = { ratio_3ph = -1 }", "limits = { ratio_3ph = [2, 1] }",
        "limits = { ratio_3ph = [1, 2, 3] }", "limits = { ratio_3ph = [1, \"2\"] }",
        "voltages = \"10y5\"", "voltages = \"20000x2\"", "voltages = \"10\""}) {
    EXPECT_THAT(problems_of(kThree + line + "\n"), testing::SizeIs(1)) << line;
  }
}

TEST(PlanReader, TellsWhatIsWrongWithTables) {
  const std::string long_text(1001, 'x');
  EXPECT_THAT(
      problems_of("item = 1\nrun = 1\nlimits = 1\nconnection = 1\ncolour = 1\n" + kSingle),
      ElementsAre(
          "p.toml:1: item: expected one of the tables connection, item, run, limits, test",
          "p.toml:2: run: expected one of the tables connection, item, run, limits, test",
          "p.toml:3: limits: expected one of the tables connection, item, run, limits, test",
          "p.toml:4: connection: expected one of the tables connection, item, run, limits, "
          "test",
          "p.toml:5: colour: expected one of the tables connection, item, run, limits, "
          "test"));
  EXPECT_THAT(
      problems_of("[item]\nlist = [1]\nlong = \"" + long_text + "\"\n" + kSingle),
      ElementsAre("p.toml:2: item.list: expected a text of at most 1000 characters, or a number",
                  "p.toml:3: item.long: expected a text of at most 1000 characters, or a number"));
  EXPECT_THAT(problems_of("[limits]\ntnr = \"x\"\n" + kSingle + kSingle),
              ElementsAre("p.toml:2: limits.tnr: expected a number for a limit on both sides of 0, "
                          "or a list [low, high]"));
  EXPECT_THAT(problems_of("test = [1]"),
              ElementsAre("p.toml:1: test: expected 1 to 10000 tables [[test]]"));
}

TEST(PlanReader, ReadsWhatEndsThePlan) {
  const Plan all = plan_of("[run]\nstop_on = [\"refused\", \"outside\", \"partial\"]\n" + kSingle);
  EXPECT_TRUE(all.stop_on_refused && all.stop_on_outside && all.stop_on_partial);
  const Plan none = plan_of("[run]\nstop_on = []\n" + kSingle);
  EXPECT_FALSE(none.stop_on_refused || none.stop_on_outside || none.stop_on_partial);
}

TEST(PlanReader, MakesIdsOfTheTimeAndOfNoItem) {
  EXPECT_EQ(test_of(kSingle + "id = \"{time}\"\n").id.size(), 6U);
  EXPECT_EQ(test_of(kSingle + "id = \"T{item}\"\n").id, "T");
  EXPECT_THAT(problems_of(kSingle + "id = \"{item}\"\n"), testing::SizeIs(1));
}

TEST(PlanReader, ReplacesNothingInWhatIsNoTable) {
  EXPECT_THAT(problems_of("run = 1\n" + kSingle, {"run.pause=0"}),
              testing::Contains("-e: run.pause=0: run is no table"));
  EXPECT_THAT(problems_of("test = 1", {"test.id=x"}),
              ElementsAre("p.toml:1: test: expected 1 to 10000 tables [[test]]"));
  EXPECT_THAT(problems_of("test = [1]", {"test.1.id=x", "test.1=x"}),
              ElementsAre("-e: test.1.id=x: the plan has no such test",
                          "-e: test.1=x: the plan has no such test",
                          "p.toml:1: test: expected 1 to 10000 tables [[test]]"));
  EXPECT_THAT(problems_of(kSingle, {"test.0.id=x", ".x=1", "run=1.5"}), testing::SizeIs(3));
}

}  // namespace
