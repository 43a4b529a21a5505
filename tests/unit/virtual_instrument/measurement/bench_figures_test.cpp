// Every figure of every kind of test on whole benches: those that are shipped, and some whose unit
// and faults come from a seed.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "support/sweep_stride.h"
#include "unit/virtual_instrument/bench/random_benches.h"
#include "unit/virtual_instrument/measurement/figures.h"
#include "virtual_instrument/bench/bench_unit.h"
#include "virtual_instrument/measurement/single_phase_ratio.h"
#include "virtual_instrument/vocabulary/code_names.h"

namespace virtual_instrument {
namespace {

namespace fs = std::filesystem;

const fs::path kTests = KVR_TEST_DATA_DIR;
const fs::path kGoldenFigures = kTests / "golden" / "figures";
const fs::path kShippedBenches = kTests / ".." / "virtual_instrument" / "bench";

std::string whole_file(const fs::path& path) {
  std::ifstream file(path);
  EXPECT_TRUE(file.good()) << path << " is missing; scripts/rebuild-goldens makes it, for review";
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

/// Over the built-in bench.
const std::map<std::string, std::string> kOwnBenches = {
    {"faulty-tertiary",
     "[transformer]\nvector_group = \"Dyn11\"\n"
     "[tertiary]\ngroup = \"yn11\"\nvoltage = 120\nreactance = 0.02\nturns_deviation = 1.5\n"
     "[[shorted_turns]]\nwinding = \"YA\"\nshare = 3.0\nresistance = 0.002\n"},
    {"weak-source",
     "[instrument]\nsource_resistance = 40.0\nsource_inductance = 60.0\n"
     "[transformer]\nresidual_flux = [0.7, -0.4, -0.3]\nwinding_capacitance = 2.0\n"},
    {"weak-source-of-a-current-transformer",
     "[instrument]\nsource_resistance = 5.0\nsource_inductance = 1.0\n"
     "[transformer]\nvector_group = \"CT\"\nhigh_voltage = 100.0\nlow_voltage = 1.0\n"
     "[burden]\nresistance = 0.001\nreactance = 0.0005\n"},
    {"plain-burden",
     "[transformer]\nvector_group = \"PT\"\nhigh_voltage = 6000.0\nlow_voltage = 100.0\n"
     "[burden]\nresistance = 0.8\n"},
    {"small-voltages", "[measurement]\nsmallest_voltage = 15.0\n"},
};

std::vector<std::string> names_of_benches() {
  std::vector<std::string> names;
  for (const auto& [name, text] : kOwnBenches) {
    names.push_back(name);
  }
  for (const fs::directory_entry& entry : fs::directory_iterator(kShippedBenches)) {
    if (entry.path().extension() == ".toml") {
      names.push_back(entry.path().stem().string());
    }
  }
  std::sort(names.begin(), names.end());
  for (std::size_t seed = 1; seed <= 16; seed += sweep_stride(1)) {
    names.push_back("random-" + std::to_string(seed));
  }
  return names;
}

std::string text_of_bench(const std::string& name) {
  constexpr std::string_view kRandom = "random-";
  if (const auto own = kOwnBenches.find(name); own != kOwnBenches.end()) {
    return own->second;
  }
  if (name.starts_with(kRandom)) {
    return random_bench(static_cast<std::uint32_t>(std::stoul(name.substr(kRandom.size()))));
  }
  return whole_file(kShippedBenches / (name + ".toml"));
}

/// What a test found, or that its unit finds no steady state.
std::string found(const std::string& title, const std::function<std::string()>& figures) {
  try {
    return "== " + title + "\n" + figures();
  } catch (const std::runtime_error& error) {
    return "== " + title + "\n" + error.what() + "\n";
  }
}

std::string with_code(kvr_code code, const std::string& figures) {
  return "code " + std::to_string(code) + "\n" + (is_accepted_code(code) ? figures : "");
}

std::string three_phase_ratio(const TransformerUnit& unit, const Bench& bench, kvr_TestType type,
                              kvr_TestingMode mode, std::uint32_t connection) {
  kvr_Ratio3phRequest request{};
  request.setup = nameplate_setup(unit);
  request.setup.connection_type = connection;
  request.testing_mode = mode;
  request.test_type = type;
  request.tested_phase = kAllPhases;
  request.test_voltage = 100;
  if (const kvr_code code = check_three_phase_ratio(request, bench); code != KVR_RES_OK) {
    return with_code(code, "");
  }
  const ThreePhaseRatio test = measure_three_phase_ratio(unit, request, bench, 1);
  return with_code(test.code, figures_of(test.data) +
                                  (test.step_up ? figures_of(*test.step_up) : "") +
                                  (test.step_down ? figures_of(*test.step_down) : "") +
                                  figures_of(test.residual_flux));
}

std::string single_phase_ratio(const TransformerUnit& unit, const Bench& bench, kvr_TestType type,
                               std::int32_t pair, std::uint32_t connection) {
  kvr_Ratio1phRequest request{};
  request.setup = nameplate_setup(unit);
  request.setup.connection_type = connection;
  request.test_type = type;
  request.high_side_phase = request.low_side_phase = pair;
  request.test_voltage = 50;
  if (const kvr_code code = check_single_phase_ratio(request, bench); code != KVR_RES_OK) {
    return with_code(code, "");
  }
  const SinglePhaseRatio test = measure_single_phase_ratio(unit, request, bench, 1);
  return with_code(test.code, figures_of(test.data) + figures_of(test.residual_flux));
}

std::string ratio_tests(const TransformerUnit& unit, const Bench& bench) {
  std::string text;
  for (const std::uint32_t connection : {kConnectionHToX, kConnectionHToY, kConnectionXToY}) {
    const std::string winding = " of connection " + std::to_string(connection) + ", ";
    for (const kvr_TestType type : {KVR_TEST_RATIO_DOWN, KVR_TEST_RATIO_UP, KVR_TEST_RATIO_AUTO,
                                    KVR_TEST_RATIO_CT, KVR_TEST_RATIO_PT_VT}) {
      const std::string kind = winding + "type " + std::to_string(type) + ", ";
      for (const std::int32_t pair : {1, 3, 5}) {
        text += found("single-phase ratio" + kind + "pair " + std::to_string(pair),
                      [&] { return single_phase_ratio(unit, bench, type, pair, connection); });
      }
      for (const kvr_TestingMode mode :
           {KVR_TESTING_MODE_3PH_3_3, KVR_TESTING_MODE_3PH_1_1, KVR_TESTING_MODE_3PH_3_1}) {
        if (is_three_phase(unit.group.high)) {
          text += found("three-phase ratio" + kind + "mode " + std::to_string(mode),
                        [&] { return three_phase_ratio(unit, bench, type, mode, connection); });
        }
      }
    }
    if (!is_led_out(bench.tertiary)) {
      break;
    }
  }
  return text;
}

std::string other_tests(const TransformerUnit& unit) {
  FamilySettings settings = family_settings(unit.frequency);
  settings.measurement.noise = 0;
  std::string text;
  if (is_three_phase(unit.group.high)) {
    text += found("excitation", [&] {
      const ThreePhaseRatio test = excitation_test(unit, settings);
      return with_code(test.code, figures_of(test.data) + figures_of(test.residual_flux));
    });
  }
  text += found("excitation of one winding",
                [&] { return figures_of(single_phase_excitation_test(unit, settings)); });
  text += found("demagnetisation", [&] {
    const DemagTest test = demag_test(unit, settings);
    return with_code(test.code, figures_of(test));
  });
  text += found("resistance", [&] { return figures_of(resistance_test(unit, settings)); });
  text += found("continuous resistance",
                [&] { return figures_of(continuous_resistance_test(unit, settings, 4, 2)); });
  text += found("heat run", [&] {
    return figures_of(heat_run_test(unit, settings, {20, 60, 600}, 3, 30));
  });
  text += found("dynamic resistance", [&] {
    const DynamicResistanceTest test = dynamic_resistance_test(unit, settings);
    return with_code(test.code, figures_of(test));
  });
  text +=
      found("impedance", [&] { return figures_of(short_circuit_impedance_test(unit, settings)); });
  text += found("stray loss", [&] {
    return figures_of(stray_loss_response_test(unit, settings, {unit.frequency, 200}));
  });
  text += found("efficiency", [&] { return figures_of(efficiency_test(unit, settings)); });
  text += found("magnetic balance", [&] {
    const MagneticBalanceTest test = magnetic_balance_test(unit, settings);
    return with_code(test.code, figures_of(test.data));
  });
  return text + found("go/no-go", [&] {
           const kvr_TestData_GoNoGo test = go_no_go_test(unit, settings);
           return figures(test.status_open_circuit + 0, test.status_short_circuit + 0,
                          test.status_minimum_inductance + 0);
         });
}

bool is_number(const std::string& word, double& number) {
  char* end = nullptr;
  number = std::strtod(word.c_str(), &end);
  return !word.empty() && *end == '\0';
}

/// `word`, or `expected` if that is as good as the same number: platforms round functions such as
/// the sine differently, and what is a difference of large numbers shows that.
std::string settled(const std::string& word, const std::string& expected) {
  double number = 0;
  double wanted = 0;
  const bool are_numbers = is_number(word, number) && is_number(expected, wanted);
  return are_numbers && std::abs(number - wanted) <= 1e-4 * std::abs(wanted) + 1e-8 ? expected
                                                                                    : word;
}

std::string settled_line(const std::string& line, const std::string& expected) {
  std::istringstream words(line);
  std::istringstream expected_words(expected);
  std::string result;
  for (std::string word; std::getline(words, word, ' ');) {
    std::string expected_word;
    std::getline(expected_words, expected_word, ' ');
    result += settled(word, expected_word) + (words.eof() ? "" : " ");
  }
  return result;
}

std::string settled_text(const std::string& text, const std::string& expected) {
  std::istringstream lines(text);
  std::istringstream expected_lines(expected);
  std::string result;
  for (std::string line; std::getline(lines, line);) {
    std::string expected_line;
    std::getline(expected_lines, expected_line);
    result += settled_line(line, expected_line) + "\n";
  }
  return result;
}

class BenchFigures : public testing::TestWithParam<std::string> {};

TEST_P(BenchFigures, AreAsTheyWere) {
  const Bench bench = bench_of(text_of_bench(GetParam()));
  const TransformerUnit unit = make_unit(bench);
  const std::string figures = ratio_tests(unit, bench) + other_tests(unit);
  const fs::path path = kGoldenFigures / (GetParam() + ".txt");
  if (std::getenv("KVR_REBUILD_GOLDENS") != nullptr) {
    std::ofstream(path, std::ios::binary) << figures;
    ADD_FAILURE() << "rebuilt, not compared: " << path;
    return;
  }
  const std::string expected = whole_file(path);
  EXPECT_EQ(settled_text(figures, expected), expected)
      << path << "; if the change is wanted: scripts/rebuild-goldens, and review it";
}

INSTANTIATE_TEST_SUITE_P(All, BenchFigures, testing::ValuesIn(names_of_benches()),
                         [](const auto& bench) {
                           std::string name = bench.param;
                           std::replace(name.begin(), name.end(), '-', '_');
                           return name;
                         });

}  // namespace
}  // namespace virtual_instrument
