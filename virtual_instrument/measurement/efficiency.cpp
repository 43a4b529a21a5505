#include <array>
#include <cmath>
#include <cstddef>
#include <numbers>

#include "virtual_instrument/measurement/measurements.h"
#include "virtual_instrument/measurement/phase_result.h"
#include "virtual_instrument/measurement/winding_losses.h"
#include "virtual_instrument/model/equivalent_circuit.h"

namespace virtual_instrument {
namespace {

/// Growth of the resistance of the core's steel per kelvin, as a fraction.
constexpr double kSteelCoefficient = 1e-3;

/// The high side at rated flux, the low side open.
struct NoLoad {
  std::array<double, 3> power;   ///< W, by line
  std::array<double, 3> copper;  ///< W, the part in the high side's resistance
};

/// Direct-current resistance of one branch of the equivalent star.
double star_resistance(const TransformerUnit& unit) {
  const TerminalPair pair = line_pairs(unit).front();
  return dc_resistance(unit_network(unit, kInputResistance), terminal_node(Side::high, pair.plus),
                       terminal_node(Side::high, pair.minus)) /
         pairs_per_star(unit);
}

NoLoad no_load(const TransformerUnit& unit, const FamilySettings& settings, double frequency,
               Noise& noise) {
  const double voltage = unit.rated_voltage[Side::high] * frequency / settings.line_frequency;
  const std::vector<VoltageSource> sources = balanced_sources(unit, Side::high, voltage);
  const PeriodicState state =
      solve_network(unit_network(unit, kInputResistance), sources, frequency);
  NoLoad result{};
  for (std::size_t line = 0; line < line_pairs(unit).size(); ++line) {
    const auto node = static_cast<std::size_t>(sources[line].node);
    const auto current = terminal_waveform(state.source_current[line]);
    const Waveforms waveforms{{{terminal_waveform(state.node_voltage[node]), current}},
                              {{current, current}}};
    const SampledTest test = sample(waveforms, Side::high, frequency, settings.measurement, noise);
    for (std::size_t number = 0; number < test.voltage[Side::high].size(); ++number) {
      result.power[line] += test.voltage[Side::high][number] * test.current[Side::high][number] /
                            static_cast<double>(test.voltage[Side::high].size());
    }
    const double amperes = rms(test.current[Side::high]);
    result.copper[line] = amperes * amperes * star_resistance(unit);
  }
  return result;
}

/// Voltage of a line against the star point, V r.m.s.
double star_voltage(const TransformerUnit& unit) {
  return unit.rated_voltage[Side::high] /
         (is_three_phase(unit.group.high) ? std::numbers::sqrt3 : 1);
}

void fill_load(kvr_TestData_Efficiency_Phase& result, const ResistanceParts& parts,
               double current) {
  result.load_rs_line = static_cast<float>(parts.total());
  result.load_rs_zero = static_cast<float>(parts.copper);
  const double square = current * current;
  result.load_i2r = static_cast<float>(square * parts.copper);
  result.load_stray_eddy = static_cast<float>(square * parts.stray);
  result.load_losses = static_cast<float>(square * parts.total());
}

/// Hysteresis losses are proportional to the frequency, eddy losses to its square: half the
/// frequency at the same flux leaves a half and a quarter of them.
void fill_no_load(kvr_TestData_Efficiency_Phase& result, const NoLoad& full, const NoLoad& half,
                  std::size_t phase, double voltage, double warming) {
  const double iron = full.power[phase] - full.copper[phase];
  const double half_iron = half.power[phase] - half.copper[phase];
  const double eddies = 2 * (iron - 2 * half_iron);
  const double resistance = voltage * voltage / eddies;
  const double steel = 1 + kSteelCoefficient * warming;
  result.hysteresis = static_cast<float>(iron - eddies);
  result.eddy_current = static_cast<float>(eddies / steel);
  result.i2r_no_load = static_cast<float>(full.copper[phase]);
  result.no_load_losses = static_cast<float>(iron - eddies + eddies / steel + full.copper[phase]);
  result.noload_eddy_resistance_measured = static_cast<float>(resistance);
  result.noload_eddy_resistance_corrected = static_cast<float>(resistance * steel);
}

void fill_totals(kvr_TestData_Efficiency& data, std::size_t phases, double power) {
  for (std::size_t phase = 0; phase < phases; ++phase) {
    kvr_TestData_Efficiency_Phase& each = data.phases[phase];
    each.total_losses = each.load_losses + each.no_load_losses;
    data.total_load_losses += each.load_losses;
    data.total_no_load_losses += each.no_load_losses;
    data.total_eddy_current += each.eddy_current;
    data.total_hysteresis += each.hysteresis;
    data.total_losses += each.total_losses;
  }
  data.efficiency_percent = static_cast<float>(power / (power + data.total_losses) * 100);
}

}  // namespace

kvr_TestData_Efficiency efficiency_test(const TransformerUnit& unit,
                                        const FamilySettings& settings) {
  Noise noise(settings.seed);
  kvr_TestData_Efficiency data{};
  data.setup = nameplate_setup(unit);
  data.setup.line_frequency = static_cast<std::int32_t>(std::lround(settings.line_frequency));
  data.setup.temperature_to = static_cast<float>(settings.corrected_to);
  const NoLoad full = no_load(unit, settings, settings.line_frequency, noise);
  const NoLoad half = no_load(unit, settings, settings.line_frequency / 2, noise);
  const bool correcting = settings.corrected_to != unit.temperature;
  const std::size_t phases = line_pairs(unit).size();
  const double warming = settings.corrected_to - unit.temperature;
  for (std::size_t phase = 0; phase < 3; ++phase) {
    kvr_TestData_Efficiency_Phase& result = data.phases[phase];
    if (phase >= phases) {
      result.status = KVR_RES_NOT_TESTED;
      continue;
    }
    result.corrected = correcting ? 1 : 0;
    fill_field(result.phase_name, kPhaseNames[phase]);
    fill_field(result.high_side_phase,
               pair_name(Side::high, phase_pairs(unit, Side::high)[phase], unit.pair));
    fill_field(result.low_side_phase,
               pair_name(Side::low, phase_pairs(unit, Side::low)[phase], unit.pair));
    result.ratio_tnr = static_cast<float>(turns_ratio(unit));
    const SeriesImpedance between =
        series_impedance(unit, settings, phase, settings.line_frequency, noise);
    const ResistanceParts parts =
        corrected(part_losses(unit, settings, phase, between.resistance, noise), unit.conductor,
                  unit.temperature, settings.corrected_to);
    fill_load(result, {parts.copper / pairs_per_star(unit), parts.stray / pairs_per_star(unit)},
              rated_current(unit, Side::high));
    fill_no_load(result, full, half, phase, star_voltage(unit), warming);
  }
  fill_totals(data, phases, unit.kva * 1000);
  // Two readings of each kind, each over the periods of a measurement.
  data.duration_ms = static_cast<std::uint32_t>(
      std::lround(settings.measurement.periods / settings.line_frequency * 1000 * 6 *
                  static_cast<double>(phases)));
  return data;
}

}  // namespace virtual_instrument
