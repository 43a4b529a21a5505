#include "virtual_instrument/measurement/current_errors.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstddef>
#include <numbers>
#include <string>
#include <vector>

#include "unit/virtual_instrument/bench/units_of_benches.h"

namespace virtual_instrument {
namespace {

/// 100/5 A: a core of 4800 ohm parallel to j2400 ohm, seen from the secondary of 0.08 + j0.02 ohm.
const std::string kCurrentTransformer =
    "[transformer]\nvector_group = \"CT\"\nhigh_voltage = 5\nlow_voltage = 100\nkva = 0.5\n"
    "frequency = 60\nhigh_resistance = 1e-4\nhigh_reactance = 0\nlow_resistance = 0.08\n"
    "low_reactance = 0.02\ncore_resistance = 12\nmagnetizing_reactance = 6\n";

TransformerUnit transformer_with(const std::string& more) {
  return unit_of_bench(kCurrentTransformer + more);
}

TEST(CurrentErrors, OfALinearCoreAreThoseOfItsCircuit) {
  const std::vector<CurrentErrors> errors = current_errors(
      transformer_with("saturation = false\n[burden]\nresistance = 0.8\nreactance = 0.6\n"));
  ASSERT_EQ(errors.size(), 5U);
  const std::complex<double> core = 1.0 / (1 / 4800.0 + 1.0 / std::complex<double>(0, 2400));
  const std::complex<double> loop(0.88, 0.62);
  const std::complex<double> expected = 1.0 / (1.0 + loop / core);
  const double shares[] = {0.01, 0.05, 0.2, 1, 1.2};
  for (std::size_t row = 0; row < errors.size(); ++row) {
    EXPECT_EQ(errors[row].share, shares[row]);
    EXPECT_NEAR(errors[row].ratio, (std::abs(expected) - 1) * 100, 1e-4);
    EXPECT_NEAR(errors[row].displacement, std::arg(expected) * 60 * 180 / std::numbers::pi, 1e-3);
  }
}

TEST(CurrentErrors, AreWorseWithMoreBurdenAndAtLowCurrent) {
  const std::string curve = "low_flux_excess = 1\nlow_flux = 0.05\n";
  const auto light = current_errors(transformer_with(curve + "[burden]\nresistance = 0.5\n"));
  const auto heavy = current_errors(transformer_with(curve + "[burden]\nresistance = 2\n"));
  for (std::size_t row = 0; row < light.size(); ++row) {
    EXPECT_LT(heavy[row].ratio, light[row].ratio);
    EXPECT_LT(light[row].ratio, 0);
    EXPECT_GT(light[row].displacement, 0);
  }
  EXPECT_GT(light[0].displacement, light[3].displacement);
}

TEST(CurrentErrors, AreCompensatedByTurns) {
  const std::string burden = "[burden]\nresistance = 0.8\n";
  const double plain = current_errors(transformer_with(burden))[3].ratio;
  const double less = current_errors(transformer_with("turns_deviation = 1\n" + burden))[3].ratio;
  EXPECT_NEAR(less - plain, 1, 0.05);
}

TEST(CurrentErrors, OfASaturatedCoreAreLarge) {
  EXPECT_LT(
      current_errors(transformer_with("saturated_reactance = 0.01\n[burden]\nresistance = 25\n"))[4]
          .ratio,
      -10);
}

}  // namespace
}  // namespace virtual_instrument
