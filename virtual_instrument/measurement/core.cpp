#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>

#include "virtual_instrument/measurement/measurements.h"
#include "virtual_instrument/measurement/phase_result.h"
#include "virtual_instrument/measurement/ratio_setup.h"
#include "virtual_instrument/measurement/unit_waveforms.h"
#include "virtual_instrument/model/index.h"
#include "virtual_instrument/vocabulary/text_field.h"

namespace virtual_instrument {
namespace {

/// The swings of the flux.
constexpr double kFirstSwing = 1.2;  ///< as a multiple of the knee
constexpr double kNextSwing = 0.7;   ///< as a multiple of the swing before
constexpr double kLastSwing = 0.01;  ///< as a multiple of the knee

/// The fraction of a swing that remains in steel whose hysteresis is no loop.
constexpr double kRetention = 0.5;

struct LimbDemag {
  double residual;  ///< Vs
  double seconds;
};

/// Swings of decreasing size in alternating directions; each lasts until the direct voltage has
/// reversed the flux. Then the current ends, and the flux settles where its loop holds it.
LimbDemag demagnetise(const Core& core, std::size_t limb, double voltage) {
  const double knee = core.limb.knee_flux;
  const StopElements elements = stop_elements(core.loop);
  StopState state = residual_state(core, static_cast<int>(limb));
  double flux = core.residual_flux[limb];
  double swing = kFirstSwing * knee;
  double sign = flux > 0 ? -1 : 1;
  double seconds = 0;
  while (swing > kLastSwing * knee) {
    const double change = sign * swing - flux;
    seconds += std::abs(change) / voltage;
    if (has_loop(core)) {
      move(elements, state, change);
      flux = sign * swing;
    } else {
      flux = sign * swing * kRetention;
    }
    swing *= kNextSwing;
    sign = -sign;
  }
  return {has_loop(core) ? flux_without_force(core, state, flux) : flux, seconds};
}

/// The side whose limb windings each lie between two terminals.
std::optional<Side> reachable_side(const WindingGroup& group) {
  if (group.high == KVR_WINDING_D || group.high == KVR_WINDING_YN) {
    return Side::high;
  }
  if (group.low == KVR_WINDING_D || group.low == KVR_WINDING_YN) {
    return Side::low;
  }
  return std::nullopt;
}

double volts(const Network& network, const FamilySettings& settings, Side side,
             TerminalPair excited, TerminalPair measured, Noise& noise) {
  // The voltage channel of the other side reads the second pair of this side.
  return magnitude(other_voltage(sample_pair(
      network, {side, excited, settings.test_voltage, settings.line_frequency, side, measured},
      settings.measurement, noise)));
}

/// The difference between limbs that are symmetrical to each other.
double imbalance(const kvr_TestData_MagneticBalance& data) {
  const auto cell = [&data](int row, int column) {
    return static_cast<double>(data.rows[row].cell[column].value);
  };
  return std::max({std::abs(cell(0, 1) - cell(2, 1)), std::abs(cell(1, 0) - cell(1, 2)),
                   std::abs(cell(0, 2) - cell(2, 0))});
}

/// A bench with limits that no excitation test reaches.
Bench open_bench(const FamilySettings& settings) {
  Bench bench{};
  bench.instrument.maximum_current = 1e6;
  bench.instrument.maximum_induced_voltage = 1e9;
  bench.instrument.voltage_range = 1e9;
  bench.instrument.current_range = 1e9;
  bench.measurement = settings.measurement;
  return bench;
}

bool conducts(const TransformerUnit& unit, Side side) {
  const Network network = unit_network(unit, kInputResistance);
  constexpr double kOpen = 1e6;
  for (const TerminalPair& pair : phase_pairs(unit, side)) {
    if (!lead_connected(unit, side, pair.plus) || !lead_connected(unit, side, pair.minus) ||
        dc_resistance(network, terminal_node(side, pair.plus), terminal_node(side, pair.minus)) >
            kOpen) {
      return false;
    }
  }
  return true;
}

/// No code names an open circuit of Y.
kvr_code open_circuit_code(const TransformerUnit& unit, Side side) {
  constexpr std::array<kvr_code, 3> kCodes{KVR_RES_OPEN_CIRCUIT_H, KVR_RES_OPEN_CIRCUIT_X,
                                           KVR_RES_OPEN_LEAD};
  return kCodes[winding_index(unit.pair, side)];
}

kvr_code short_circuit_code(const TransformerUnit& unit) {
  return unit.pair == WindingPair::x_y ? KVR_RES_SHORT_CIRCUIT_X : KVR_RES_SHORT_CIRCUIT_H;
}

/// Smallest impedance of a phase of the high side, with the low side open or its lines joined.
Complex smallest_impedance(const TransformerUnit& unit, const FamilySettings& settings, bool joined,
                           Noise& noise) {
  Network network = unit_network(unit, kInputResistance);
  if (joined) {
    join_lines(network, unit, Side::low);
  }
  std::optional<Complex> smallest;
  for (const TerminalPair& pair : line_pairs(unit)) {
    const Complex z = measured_impedance(
        sample_pair(network,
                    {Side::high, pair, settings.test_voltage, settings.line_frequency, Side::low,
                     line_pairs(unit).front()},
                    settings.measurement, noise));
    smallest = !smallest || magnitude(z) < magnitude(*smallest) ? z : *smallest;
  }
  return *smallest;
}

}  // namespace

FamilySettings family_settings(double line_frequency) {
  FamilySettings settings{};
  settings.measurement.samples_per_period = 64;
  settings.measurement.periods = 10;
  settings.line_frequency = line_frequency;
  settings.test_voltage = 100;
  settings.direct_voltage = 50;
  settings.direct_current = 10;
  settings.corrected_to = 75;
  settings.minimum_inductance = 0.1;
  settings.seed = 1;
  return settings;
}

DemagTest demag_test(const TransformerUnit& unit, const FamilySettings& settings) {
  const double knee = unit.core.limb.knee_flux;
  DemagTest test{KVR_RES_OK, 0, {}, unit.core.residual_flux};
  if (!std::isfinite(knee)) {
    test.code = KVR_RES_DEMAG_CANNOT_SATURATE;
    return test;
  }
  double seconds = 0;
  const auto pairs = limb_pairs(unit, Side::high);
  for (std::size_t limb = 0; limb < pairs.size(); ++limb) {
    const LimbDemag result = demagnetise(unit.core, limb, settings.direct_voltage);
    kvr_TestData_Demag_Phase phase{};
    fill_field(phase.demag_phase, pair_name(Side::high, pairs[limb], unit.pair));
    phase.remanence_initial = static_cast<float>(std::abs(unit.core.residual_flux[limb]) / knee);
    phase.remanence_after_demag = static_cast<float>(std::abs(result.residual) / knee);
    test.phases.push_back(phase);
    test.residual_flux[limb] = result.residual;
    seconds += result.seconds;
  }
  test.duration_ms = static_cast<std::uint32_t>(std::lround(seconds * 1000));
  return test;
}

MagneticBalanceTest magnetic_balance_test(const TransformerUnit& unit,
                                          const FamilySettings& settings) {
  MagneticBalanceTest test{KVR_RES_TESTING_METHOD_NOT_SUPPORTED, {}};
  const std::optional<Side> side = reachable_side(unit.group);
  if (!side) {
    return test;
  }
  test.code = KVR_RES_OK;
  test.data.side = *side == Side::low ? 0 : 1;
  Noise noise(settings.seed);
  const Network network = unit_network(unit, kInputResistance);
  const auto pairs = limb_pairs(unit, *side);
  const auto high_pairs = limb_pairs(unit, Side::high);
  const auto low_pairs = limb_pairs(unit, Side::low);
  for (int row = 0; row < 3; ++row) {
    kvr_TestData_MagneticBalance_Row& result = test.data.rows[row];
    fill_field(result.high_label, pair_name(Side::high, high_pairs[index(row)], unit.pair));
    fill_field(result.low_label, pair_name(Side::low, low_pairs[index(row)], unit.pair));
    for (int column = 0; column < 3; ++column) {
      result.cell[column].value = static_cast<float>(
          volts(network, settings, *side, pairs[index(row)], pairs[index(column)], noise));
      result.total += result.cell[column].value;
    }
  }
  test.data.max_imbalance = static_cast<float>(imbalance(test.data) / settings.test_voltage * 100);
  return test;
}

ThreePhaseRatio excitation_test(const TransformerUnit& unit, const FamilySettings& settings) {
  kvr_Ratio3phRequest request{};
  request.setup = nameplate_setup(unit);
  request.setup.line_frequency = static_cast<std::int32_t>(std::lround(settings.line_frequency));
  request.testing_mode = KVR_TESTING_MODE_3PH_1_1;
  request.test_type = KVR_TEST_RATIO_DOWN;
  request.tested_phase = kAllPhases;
  request.test_voltage = static_cast<float>(settings.test_voltage);
  ThreePhaseRatio result =
      measure_three_phase_ratio(unit, request, open_bench(settings), settings.seed);
  result.data.test_type = KVR_TEST_EXCITATION;
  return result;
}

kvr_TestData_Ratio_1ph single_phase_excitation_test(const TransformerUnit& unit,
                                                    const FamilySettings& settings) {
  Noise noise(settings.seed);
  kvr_TestData_Ratio_1ph data{};
  data.direction = KVR_TEST_RATIO_DOWN;
  data.high_side_phase = 1;
  data.low_side_phase = 1;
  data.setup = nameplate_setup(unit);
  data.test_voltage = static_cast<float>(settings.test_voltage);
  data.reference_ratio = nameplate_ratio(data.setup);
  const SampledTest test = sample_pair(
      unit_network(unit, kInputResistance),
      {Side::high, {1, 2}, settings.test_voltage, settings.line_frequency, Side::low, {1, 2}},
      settings.measurement, noise);
  const std::string high = pair_name(Side::high, {1, 2}, unit.pair);
  const std::string low = pair_name(Side::low, {1, 2}, unit.pair);
  data.phase =
      phase_result(test, {"A", high, low}, {false, 1, data.reference_ratio, std::nullopt, 0});
  return data;
}

kvr_TestData_GoNoGo go_no_go_test(const TransformerUnit& unit, const FamilySettings& settings) {
  Noise noise(settings.seed);
  kvr_TestData_GoNoGo data{};
  data.status_open_circuit = !conducts(unit, Side::high)  ? open_circuit_code(unit, Side::high)
                             : !conducts(unit, Side::low) ? open_circuit_code(unit, Side::low)
                                                          : KVR_RES_OK;
  if (data.status_open_circuit != KVR_RES_OK) {
    data.status_short_circuit = KVR_RES_NOT_TESTED;
    data.status_minimum_inductance = KVR_RES_NOT_TESTED;
    return data;
  }
  // If the impedance of an open unit is near that of its windings alone, turns form a closed loop.
  constexpr double kNear = 10;
  const Complex open = smallest_impedance(unit, settings, false, noise);
  const Complex joined = smallest_impedance(unit, settings, true, noise);
  data.status_short_circuit =
      magnitude(open) < kNear * magnitude(joined) ? short_circuit_code(unit) : KVR_RES_OK;
  const double inductance = open.imag() / (2 * std::numbers::pi * settings.line_frequency);
  data.status_minimum_inductance =
      inductance < settings.minimum_inductance ? KVR_RES_INDUCTANCE_TOO_LOW : KVR_RES_OK;
  return data;
}

}  // namespace virtual_instrument
