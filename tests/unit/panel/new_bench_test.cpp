#include "panel/new_bench.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

#include "panel/commands.h"
#include "support/temporary_folder.h"
#include "virtual_instrument/bench/bench_reader.h"
#include "virtual_instrument/bench/bench_unit.h"

namespace {

using ::testing::HasSubstr;
using virtual_instrument::CircuitTest;
using virtual_instrument::Side;
using virtual_instrument::TransformerUnit;

/// The unit of the text that new-bench writes.
TransformerUnit unit_of(const panel::NewBenchOrder& order) {
  std::istringstream answers;
  std::ostringstream text;
  std::ostringstream words;
  EXPECT_EQ(panel::new_bench(order, answers, text, words), panel::kDone) << words.str();
  const virtual_instrument::BenchReading reading =
      virtual_instrument::read_bench(text.str(), "new", virtual_instrument::built_in_bench());
  EXPECT_EQ(reading.problems, std::vector<std::string>()) << text.str();
  return make_unit(reading.bench);
}

void expect_reads(const CircuitTest& reading, const CircuitTest& given) {
  EXPECT_NEAR(reading.voltage / given.voltage, 1, 1e-3);
  EXPECT_NEAR(reading.current / given.current, 1, 1e-3);
  EXPECT_NEAR(reading.power / given.power, 1, 1e-3);
}

void expect_reads_back(const panel::NewBenchOrder& order) {
  const TransformerUnit unit = unit_of(order);
  const CircuitTest open{order.open_circuit_side == "low" ? Side::low : Side::high,
                         order.open_circuit[0], order.open_circuit[1], order.open_circuit[2]};
  const CircuitTest shorted{order.short_circuit_side == "low" ? Side::low : Side::high,
                            order.short_circuit[0], order.short_circuit[1], order.short_circuit[2]};
  expect_reads(open_circuit_test(unit, open.side, open.voltage, unit.frequency), open);
  expect_reads(short_circuit_test(unit, shorted.side, shorted.current, unit.frequency), shorted);
}

TEST(NewBench, ReadsBackTestsOnEitherSide) {
  expect_reads_back({.group = "Dyn11",
                     .high_voltage = 11000,
                     .low_voltage = 433,
                     .kva = 500,
                     .open_circuit = {433, 4, 1000},
                     .short_circuit = {495, 26.243, 5500}});
  expect_reads_back({.group = "YNyn0",
                     .high_voltage = 2400,
                     .low_voltage = 240,
                     .kva = 75,
                     .frequency = 60,
                     .open_circuit = {2400, 0.25, 420},
                     .open_circuit_side = "high",
                     .short_circuit = {7.2, 180, 1100},
                     .short_circuit_side = "low"});
  expect_reads_back({.group = "Yzn11",
                     .high_voltage = 20000,
                     .low_voltage = 400,
                     .kva = 100,
                     .open_circuit = {400, 1.6, 210},
                     .short_circuit = {800, 2.887, 1750}});
  // A textbook's single-phase unit: 20 kVA, 8000/240 V, 60 Hz.
  expect_reads_back({.group = "Ii0",
                     .high_voltage = 8000,
                     .low_voltage = 240,
                     .kva = 20,
                     .frequency = 60,
                     .open_circuit = {8000, 0.214, 400},
                     .open_circuit_side = "high",
                     .short_circuit = {489, 2.5, 240}});
}

TEST(NewBench, ReadsBackResistances) {
  const panel::NewBenchOrder order{.group = "Dyn11",
                                   .high_voltage = 11000,
                                   .low_voltage = 433,
                                   .kva = 500,
                                   .open_circuit = {433, 4, 1000},
                                   .short_circuit = {495, 26.243, 5500},
                                   .high_resistance = 2.1,
                                   .low_resistance = 0.0016,
                                   .temperature = 31};
  const TransformerUnit unit = unit_of(order);
  expect_reads_back(order);
  EXPECT_GT(unit.windings[Side::high].stray_share, 0);
  EXPECT_EQ(unit.temperature, 31);
}

/// The nameplate alone: impedance as it says, the rest typical.
TEST(NewBench, OfANameplateHasItsImpedance) {
  for (const double kva : {5.0, 75.0, 500.0, 2000.0, 20000.0}) {
    const TransformerUnit unit = unit_of(
        {.group = "Dyn5", .high_voltage = 20000, .low_voltage = 400, .kva = kva, .impedance = 5});
    const CircuitTest test =
        short_circuit_test(unit, Side::high, rated_current(unit, Side::high), 50);
    EXPECT_NEAR(test.voltage, 1000, 1) << kva;
    const CircuitTest open = open_circuit_test(unit, Side::low, 400, 50);
    EXPECT_LT(open.current, 0.03 * rated_current(unit, Side::low)) << kva;
  }
}

TEST(NewBench, MarksWhatIsAssumed) {
  std::istringstream answers;
  std::ostringstream text;
  std::ostringstream words;
  ASSERT_EQ(panel::new_bench({.group = "Ii0",
                              .high_voltage = 8000,
                              .low_voltage = 240,
                              .kva = 20,
                              .frequency = 60,
                              .short_circuit = {489, 2.5, 240}},
                             answers, text, words),
            panel::kDone);
  EXPECT_THAT(text.str(), HasSubstr("# fits the short-circuit test\n"));
  EXPECT_THAT(text.str(), HasSubstr("# assumed\n"));
  EXPECT_THAT(text.str(), HasSubstr("vector_group = \"Ii0\""));
}

TEST(NewBench, AsksForWhatItNeeds) {
  std::istringstream answers("Dyn12\nDyn11\neleven\n-1\n11000\n433\n500\n");
  std::ostringstream text;
  std::ostringstream words;
  EXPECT_EQ(panel::new_bench({}, answers, text, words), panel::kDone);
  EXPECT_EQ(words.str(),
            "Vector group, as Dyn11 or Ii0: Vector group, as Dyn11 or Ii0: "
            "Rated voltage of the high side, V: Rated voltage of the high side, V: "
            "Rated voltage of the high side, V: Rated voltage of the low side, V: "
            "Rated power, kVA: ");
  EXPECT_THAT(text.str(), HasSubstr("kva = 500.0"));
  std::istringstream ended("Dyn11\n");
  EXPECT_EQ(panel::new_bench({}, ended, text, words), panel::kWrong);
}

TEST(NewBench, SaysWhatCannotBe) {
  const auto problem = [](panel::NewBenchOrder order) {
    std::istringstream answers;
    std::ostringstream text;
    std::ostringstream words;
    EXPECT_EQ(panel::new_bench(std::move(order), answers, text, words), panel::kWrong);
    EXPECT_EQ(text.str(), "");
    return words.str();
  };
  panel::NewBenchOrder order{.group = "Dyn11",
                             .high_voltage = 11000,
                             .low_voltage = 433,
                             .kva = 500,
                             .open_circuit = {433, 4, 10000}};
  EXPECT_EQ(problem(order),
            "instrument-panel: the open-circuit test has a power above the product of its voltage "
            "and current\n");
  order.open_circuit = {433, 4, 1000};
  order.high_resistance = 21;
  order.low_resistance = 0.016;
  EXPECT_EQ(problem(order),
            "instrument-panel: the short-circuit test has less power than the resistances take\n");
  order.group = "Dyn12";
  EXPECT_EQ(problem(order), "instrument-panel: no vector group 'Dyn12'\n");
}

TEST(NewBench, ReplacesNoFile) {
  const TemporaryFolder folder;
  const panel::NewBenchOrder order{.group = "Dyn11",
                                   .high_voltage = 11000,
                                   .low_voltage = 433,
                                   .kva = 500,
                                   .file = (folder.path() / "new.toml").string()};
  std::istringstream answers;
  std::ostringstream text;
  std::ostringstream words;
  EXPECT_EQ(panel::new_bench(order, answers, text, words), panel::kDone);
  const std::string made = folder.read("new.toml");
  EXPECT_EQ(panel::new_bench(order, answers, text, words), panel::kWrong);
  EXPECT_EQ(words.str(), "instrument-panel: " + order.file + " exists already\n");
  EXPECT_EQ(folder.read("new.toml"), made);
}

}  // namespace
