#include "panel/commands.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <tuple>

#include "panel/kinds.h"
#include "support/temporary_folder.h"

namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

/// Runs commands on a bench in a folder of its own.
class PanelCommands : public ::testing::Test {
 protected:
  std::string bench(const std::string& more = "") const {
    folder_.write("bench.toml", "[instrument]\nclock = 2024-03-05T12:00:00Z\n[store]\nfile = '" +
                                    (folder_.path() / "records.db").string() + "'\n" + more);
    return (folder_.path() / "bench.toml").string();
  }

  int measure(panel::MeasureOrder order) {
    out_.str("");
    words_.str("");
    return panel::measure(order, out_, words_);
  }

  int records(const std::string& file, const std::vector<std::string>& ids = {}) {
    out_.str("");
    words_.str("");
    return panel::show_records(file, ids, out_, words_);
  }

  const TemporaryFolder folder_;
  std::ostringstream out_;
  std::ostringstream words_;
};

TEST_F(PanelCommands, EveryKindIsKeptAndShownAsItWasMeasured) {
  const std::string file = bench(
      "[taps]\ntype = 'OLTC'\nlast = 3\nmiddle = 2\nposition = 2\nstep = 2.5\n"
      "transition_resistance = 5.0\n");
  for (const panel::Kind& kind : panel::kinds()) {
    const std::string name(kind.name);
    ASSERT_EQ(measure({.kinds = {name}, .bench_file = file, .id = "R-" + name}), panel::kDone)
        << name << ": " << words_.str();
    EXPECT_THAT(words_.str(), StartsWith("Kept as R-" + name + " in "));
    const std::string measured = out_.str();
    ASSERT_EQ(records(file, {"R-" + name}), panel::kDone) << words_.str();
    EXPECT_EQ(out_.str(), measured) << name;
  }
  ASSERT_EQ(records(file), panel::kDone);
  const std::string list = out_.str();
  EXPECT_EQ(static_cast<std::size_t>(std::count(list.begin(), list.end(), '\n')),
            panel::kinds().size());
}

TEST_F(PanelCommands, TestsOfOneOrderMeetTheCoreAsTheOneBeforeLeftIt) {
  const std::string file = bench("[transformer]\nresidual_flux = [0.6, -0.4, -0.2]\n");
  ASSERT_EQ(measure({.kinds = {"excitation", "demagnetisation", "excitation"},
                     .bench_file = file,
                     .id = "S"}),
            panel::kDone)
      << words_.str();
  const auto currents = [this, &file](const char* id) {
    EXPECT_EQ(records(file, {id}), panel::kDone) << words_.str();
    return out_.str();
  };
  EXPECT_NE(currents("S-1"), currents("S-3"));
  EXPECT_EQ(records(file, {"S-2"}), panel::kDone);
}

TEST_F(PanelCommands, AddsToARecordOnlyWhenAsked) {
  const std::string file = bench();
  const panel::MeasureOrder order{.kinds = {"impedance"}, .bench_file = file, .id = "Z"};
  ASSERT_EQ(measure(order), panel::kDone);
  EXPECT_EQ(measure(order), panel::kRefused);
  EXPECT_EQ(words_.str(), "impedance: A record with this test ID exists already\n");
  panel::MeasureOrder more = order;
  more.add = true;
  EXPECT_EQ(measure(more), panel::kDone);
  ASSERT_EQ(records(file, {"Z"}), panel::kDone);
  EXPECT_THAT(out_.str(), HasSubstr("TEST #2"));
}

TEST_F(PanelCommands, AStopOfTheInstrumentRefusesEveryTest) {
  for (const auto& [status, reason] :
       {std::pair("emergency_button_pressed", "The emergency stop is pressed"),
        std::pair("interlock_on", "The interlock is open"),
        std::pair("secondary_sd_read_only", "The secondary SD card cannot be written to")}) {
    const std::string file = bench("[status]\n" + std::string(status) + " = true\n");
    EXPECT_EQ(measure({.kinds = {"resistance"}, .bench_file = file}), panel::kRefused);
    EXPECT_EQ(words_.str(), "resistance: " + std::string(reason) + "\n");
    EXPECT_EQ(out_.str(), "");
  }
  EXPECT_EQ(measure({.kinds = {"impedance"}, .bench_file = bench(), .voltage = 251}),
            panel::kRefused);
  EXPECT_EQ(words_.str(), "impedance: The instrument cannot supply this test voltage\n");
}

constexpr const char* kThreeWindings =
    "[tertiary]\ngroup = 'd11'\nvoltage = 120\nreactance = 0.02\n";

TEST_F(PanelCommands, EveryKindWorksOnEachPairOfWindings) {
  using virtual_instrument::WindingPair;
  for (const auto& [pair, high, group] :
       {std::tuple(WindingPair::h_x, "H1", "YNyn0"), std::tuple(WindingPair::h_y, "H1", "YNd11"),
        std::tuple(WindingPair::x_y, "X1", "YNd11")}) {
    for (const panel::Kind& kind : panel::kinds()) {
      if (kind.name == "dynamic") {
        continue;  // needs a tap changer, which this unit does not have
      }
      ASSERT_EQ(measure({.kinds = {std::string(kind.name)},
                         .bench_file = bench(kThreeWindings),
                         .add = true,
                         .windings = pair}),
                panel::kDone)
          << kind.name << ": " << words_.str();
      EXPECT_THAT(out_.str(), HasSubstr(group)) << kind.name;
      if (kind.name == "resistance" || kind.name == "impedance" || kind.name == "excitation-1ph") {
        EXPECT_THAT(out_.str(), HasSubstr(high)) << kind.name;
        const char other = high[0] == 'H' ? 'X' : 'H';
        EXPECT_EQ(out_.str().find(std::string{other, '2'}) == std::string::npos,
                  pair != WindingPair::h_x)
            << out_.str();
      }
    }
  }
}

TEST_F(PanelCommands, APairThatTheUnitDoesNotHaveIsRefused) {
  EXPECT_EQ(measure({.kinds = {"impedance"},
                     .bench_file = bench(),
                     .windings = virtual_instrument::WindingPair::x_y}),
            panel::kRefused);
  EXPECT_EQ(words_.str(), "impedance: The test settings do not fit together\n");
  EXPECT_EQ(out_.str(), "");
}

TEST_F(PanelCommands, AUnitWithoutASteadyStateIsAnErrorOfTheInstrument) {
  const std::string file = bench(
      "[transformer]\nsaturation = false\ncore_resistance = 1e9\n"
      "magnetizing_reactance = 1e9\n");
  EXPECT_EQ(panel::show_bench(file, out_, words_), panel::kDone) << words_.str();
  EXPECT_THAT(out_.str(), testing::HasSubstr("The instrument's software has failed\n"));
  EXPECT_THAT(out_.str(), testing::HasSubstr("\n  go-no-go   "));
}

TEST_F(PanelCommands, ShowHasEachPairOfWindings) {
  const auto count = [this](const std::string& file, const std::string& text) {
    out_.str("");
    EXPECT_EQ(panel::show_bench(file, out_, words_), panel::kDone) << words_.str();
    std::size_t found = 0;
    const std::string shown = out_.str();
    for (std::size_t at = shown.find(text); at != std::string::npos;
         at = shown.find(text, at + 1)) {
      ++found;
    }
    return found;
  };
  EXPECT_EQ(count(bench(), "impedance  "), 1U);
  EXPECT_EQ(count(bench(), "The same of"), 0U);
  EXPECT_EQ(count(bench(kThreeWindings), "impedance  "), 3U);
  EXPECT_EQ(count(bench(kThreeWindings), "The same of H-Y, at 100 V\n"), 1U);
  EXPECT_EQ(count(bench(kThreeWindings), "The same of X-Y, at 100 V\n"), 1U);
  EXPECT_EQ(count(bench(kThreeWindings),
                  "  tertiary                YNd11 with the high side, 120 V, 75 kVA, 360.84 A\n"),
            1U);
}

TEST_F(PanelCommands, WithoutAFileForRecordsNothingIsKept) {
  folder_.write("bench.toml", "[measurement]\nnoise = 0.0\n");
  const std::string file = (folder_.path() / "bench.toml").string();
  EXPECT_EQ(measure({.kinds = {"go-no-go"}, .bench_file = file}), panel::kDone);
  EXPECT_EQ(words_.str(), "Not kept: the bench names no file for records\n");
  EXPECT_EQ(records(file), panel::kWrong);
}

TEST_F(PanelCommands, RefusesWhatItCannotName) {
  EXPECT_EQ(measure({.kinds = {"excitement"}}), panel::kWrong);
  EXPECT_THAT(words_.str(), StartsWith("instrument-panel: no test 'excitement'; the tests are:\n"
                                       "  excitation        exciting currents"));
  EXPECT_EQ(measure({.kinds = {"impedance", "impedance"}, .id = std::string(28, 'I')}),
            panel::kWrong);
  EXPECT_EQ(words_.str(), "instrument-panel: the ID has more than 29 characters\n");
  EXPECT_EQ(records(bench(), {"none"}), panel::kRefused);
  EXPECT_EQ(words_.str(), "none: There is no record with this test ID\n");
}

TEST_F(PanelCommands, ChecksBenchesWholeAndNamesEachProblem) {
  folder_.write("good.toml", "[transformer]\nkva = 10.0\n");
  folder_.write("bad.toml", "[transformer]\nkva = -1.0\ntypo = 2\n");
  const std::string good = (folder_.path() / "good.toml").string();
  const std::string bad = (folder_.path() / "bad.toml").string();
  EXPECT_EQ(panel::check_benches({good, bad, folder_.path().string()}, out_, words_),
            panel::kWrong);
  EXPECT_EQ(out_.str(), good + ": no problems\n");
  const std::string words = words_.str();
  EXPECT_THAT(words, StartsWith(bad + ":2: transformer.kva: "));
  EXPECT_THAT(words, HasSubstr(bad + ":3: transformer.typo: "));
  EXPECT_THAT(words, HasSubstr(folder_.path().string() + ": is a folder; expected a bench file\n"));
}

}  // namespace
