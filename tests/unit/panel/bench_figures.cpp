#include "unit/panel/bench_figures.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <string_view>

#include "panel/order.h"
#include "unit/virtual_instrument/bench/random_benches.h"
#include "virtual_instrument/bench/bench_unit.h"
#include "virtual_instrument/vocabulary/code_names.h"

namespace {

using virtual_instrument::Bench;
using virtual_instrument::is_three_phase;
using virtual_instrument::SinglePhaseRatio;
using virtual_instrument::ThreePhaseRatio;
using virtual_instrument::TransformerUnit;

/// The result of a kind on the unit as it is now; none if the instrument refuses the test.
template <typename Result>
std::optional<Result> result_of(const char* name, TransformerUnit& unit,
                                const panel::Settings& settings) {
  const panel::Measured measured = panel::find_kind(name)->measure(unit, settings);
  for (const double flux : unit.core.residual_flux) {
    EXPECT_TRUE(std::isfinite(flux)) << name;
  }
  return virtual_instrument::is_accepted_code(measured.code)
             ? std::optional(std::get<Result>(measured.result))
             : std::nullopt;
}

/// Of a kind that no unit is refused, on a fresh unit.
template <typename Result>
Result figures_of(const char* name, const BenchFigures& figures) {
  TransformerUnit unit = figures.unit;
  const panel::Measured measured = panel::find_kind(name)->measure(unit, figures.settings);
  return std::get<Result>(measured.result);
}

/// The bench with an instrument that supplies and reads everything.
Bench without_limits(Bench bench) {
  bench.instrument.maximum_voltage = 1e9;
  bench.instrument.maximum_current = 1e9;
  bench.instrument.maximum_induced_voltage = 1e12;
  bench.instrument.voltage_range = 1e12;
  bench.instrument.current_range = 1e9;
  return bench;
}

/// The number of a pair such as "H3-H1" or "X1-X0" in a request, in either order of its terminals.
std::int32_t selection_of(std::string_view pair) {
  constexpr std::string_view kPairs[] = {"1-2", "2-3", "3-1", "1-0", "2-0", "3-0"};
  for (std::size_t number = 0; number < std::size(kPairs); ++number) {
    const bool same = pair[1] == kPairs[number][0] && pair[4] == kPairs[number][2];
    const bool reversed = pair[1] == kPairs[number][2] && pair[4] == kPairs[number][0];
    if (same || reversed) {
      return static_cast<std::int32_t>(number + 1);
    }
  }
  ADD_FAILURE() << "no pair " << pair;
  return 1;
}

SinglePhaseRatio single_phase_ratio(const BenchFigures& figures, std::string_view high,
                                    std::string_view low, double voltage) {
  kvr_Ratio1phRequest request{};
  request.test_type = KVR_TEST_RATIO_DOWN;
  request.high_side_phase = selection_of(high);
  request.low_side_phase = selection_of(low);
  request.setup = nameplate_setup(figures.unit);
  request.test_voltage = static_cast<float>(voltage);
  return measure_single_phase_ratio(figures.unit, request, without_limits(figures.bench), 1);
}

/// The source has no neutral, as that of the efficiency test.
ThreePhaseRatio rated_ratio(const BenchFigures& figures) {
  kvr_Ratio3phRequest request{};
  request.setup = nameplate_setup(figures.unit);
  kvr_WindingType& high = request.setup.windings[0].winding_type;
  high = high == KVR_WINDING_YN ? KVR_WINDING_Y : high == KVR_WINDING_ZN ? KVR_WINDING_Z : high;
  request.testing_mode = KVR_TESTING_MODE_3PH_3_3;
  request.test_type = KVR_TEST_RATIO_DOWN;
  request.tested_phase = kAllPhases;
  request.test_voltage = request.setup.windings[0].voltage;
  return measure_three_phase_ratio(figures.unit, request, without_limits(figures.bench), 1);
}

void add_ratio_tests(BenchFigures& figures) {
  const double voltage = figures.settings.family.test_voltage;
  figures.first_pair = single_phase_ratio(figures, "H1-H2", "X1-X2", voltage);
  if (!is_three_phase(figures.unit.group.high)) {
    figures.rated_1ph =
        single_phase_ratio(figures, "H1-H2", "X1-X2", figures.bench.transformer.high_voltage);
    return;
  }
  figures.rated = rated_ratio(figures);
  const auto wirings = phase_connections(figures.unit.group);
  for (std::size_t phase = 0; figures.excitation && phase < 3; ++phase) {
    const kvr_TestData_Ratio_Phase& read = figures.excitation->data.phases[phase];
    if (read.status == KVR_RES_OK && !wirings[phase].shorted) {
      figures.phases[phase] =
          single_phase_ratio(figures, read.high_side_phase, read.low_side_phase, voltage);
    }
  }
}

void add_tests_after_demagnetising(BenchFigures& figures) {
  TransformerUnit unit = figures.unit;
  unit.core.residual_flux = figures.demagnetisation.residual_flux;
  if (figures.demagnetisation.code == KVR_RES_OK && is_three_phase(unit.group.high)) {
    TransformerUnit excited = unit;
    figures.excitation_after = result_of<ThreePhaseRatio>("excitation", excited, figures.settings);
  }
  figures.demagnetisation_after = demag_test(unit, figures.settings.family);
}

}  // namespace

BenchFigures measure_all(const std::string& text) {
  SCOPED_TRACE(text);
  using namespace virtual_instrument;
  BenchFigures figures{};
  figures.text = text;
  figures.bench = bench_of(text);
  figures.unit = make_unit(figures.bench);
  const double line = figures.unit.frequency;
  // At a tenth of the rated voltage no core saturates, at half the frequency and shorted too.
  figures.settings =
      panel::settings_for({.voltage = std::min(100.0, figures.bench.transformer.high_voltage / 10),
                           .frequencies = {line / 2, line, line * 2}},
                          figures.unit, figures.bench);
  TransformerUnit unit = figures.unit;
  figures.excitation = result_of<ThreePhaseRatio>("excitation", unit, figures.settings);
  unit = figures.unit;
  figures.balance =
      result_of<kvr_TestData_MagneticBalance>("magnetic-balance", unit, figures.settings);
  figures.excitation_1ph = figures_of<kvr_TestData_Ratio_1ph>("excitation-1ph", figures);
  figures.demagnetisation = figures_of<DemagTest>("demagnetisation", figures);
  figures.resistance = figures_of<ResistanceTest>("resistance", figures);
  figures.continuous = figures_of<ResistanceTest>("continuous", figures);
  figures.heat_run = figures_of<ResistanceTest>("heat-run", figures);
  figures.dynamic = figures_of<DynamicResistanceTest>("dynamic", figures);
  figures.impedance = figures_of<ImpedanceTest>("impedance", figures);
  figures.stray_loss = figures_of<ImpedanceTest>("stray-loss", figures);
  figures.efficiency = figures_of<kvr_TestData_Efficiency>("efficiency", figures);
  figures.go_no_go = figures_of<kvr_TestData_GoNoGo>("go-no-go", figures);
  add_ratio_tests(figures);
  add_tests_after_demagnetising(figures);
  return figures;
}
