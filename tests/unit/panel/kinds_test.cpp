#include "panel/kinds.h"

#include <gtest/gtest.h>

#include <cmath>

#include "panel/order.h"
#include "unit/virtual_instrument/bench/random_benches.h"
#include "virtual_instrument/bench/bench_unit.h"
#include "virtual_instrument/vocabulary/code_names.h"

namespace {

using virtual_instrument::Bench;
using virtual_instrument::ImpedanceTest;
using virtual_instrument::ResistanceTest;
using virtual_instrument::TransformerUnit;

template <typename Result>
Result result_of(const char* name, const Bench& bench, const panel::MeasureOrder& order = {}) {
  TransformerUnit unit = make_unit(bench);
  const panel::Measured measured =
      panel::find_kind(name)->measure(unit, panel::settings_for(order, unit, bench));
  EXPECT_TRUE(virtual_instrument::is_accepted_code(measured.code)) << name << " " << measured.code;
  return std::get<Result>(measured.result);
}

TEST(PanelKinds, EachHasANameOfItsOwn) {
  for (const panel::Kind& kind : panel::kinds()) {
    EXPECT_EQ(panel::find_kind(kind.name), &kind);
  }
  EXPECT_EQ(panel::find_kind("Excitation"), nullptr);
}

/// The resistance in a short circuit is that of the windings: what the impedance test finds, the
/// resistance test explains.
TEST(PanelKinds, ImpedanceAgreesWithResistance) {
  const Bench bench = bench_of("[transformer]\nvector_group = 'YNyn0'\n");
  const auto resistance = result_of<ResistanceTest>("resistance", bench);
  const auto impedance = result_of<ImpedanceTest>("impedance", bench, {.corrected_to = 20});
  const double ratio = 10;
  const double star = resistance.sides[0][0].points[0].data.rm +
                      resistance.sides[1][0].points[0].data.rm * ratio * ratio;
  EXPECT_NEAR(impedance.tests[0].phases[0].rs, 2 * star, 0.01 * star);
}

/// Load losses are those of the rated current in that resistance.
TEST(PanelKinds, LossesAgreeWithImpedance) {
  const Bench bench = bench_of("");
  const auto efficiency = result_of<kvr_TestData_Efficiency>("efficiency", bench);
  const auto impedance = result_of<ImpedanceTest>("impedance", bench);
  const double current = 75000 / (std::sqrt(3.0) * 2400);
  EXPECT_NEAR(efficiency.total_load_losses,
              3 * current * current * impedance.tests[0].phases[0].rs / 2,
              0.005 * efficiency.total_load_losses);
}

/// Cold, a winding that cooled has the resistance that the resistance test finds.
TEST(PanelKinds, HeatRunEndsAtTheColdResistance) {
  const Bench bench = bench_of("");
  const auto cold = result_of<ResistanceTest>("resistance", bench);
  const auto cooled = result_of<ResistanceTest>(
      "heat-run", bench, {.readings = 2, .interval = 100000, .ambient = 20, .time_constant = 600});
  EXPECT_NEAR(cooled.sides[0][0].points.back().data.rm, cold.sides[0][0].points[0].data.rm,
              1e-4);  // that reading has settled to a ten thousandth
}

/// Excitation measures the ratio too; at the same voltage it is that of the turns, but for the drop
/// of the exciting current in the high winding.
TEST(PanelKinds, ExcitationAgreesWithTheTurns) {
  const Bench bench = bench_of("");
  const auto test = result_of<virtual_instrument::ThreePhaseRatio>("excitation", bench);
  EXPECT_NEAR(test.data.ratio_3ph, 10, 0.01);
}

}  // namespace
