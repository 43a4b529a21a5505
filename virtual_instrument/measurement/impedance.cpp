#include <cmath>
#include <cstddef>
#include <numbers>
#include <string>

#include "virtual_instrument/measurement/measurements.h"
#include "virtual_instrument/measurement/phase_result.h"
#include "virtual_instrument/measurement/winding_losses.h"

namespace virtual_instrument {
namespace {

std::string joined_lines(const TransformerUnit& unit) {
  const std::string pair = pair_name(Side::low, {1, 2}, unit.pair);
  return is_three_phase(unit.group.high) ? pair + "-" + terminal_name(Side::low, 3, unit.pair)
                                         : pair;
}

kvr_TestData_Impedance_Phase phase_of(const TransformerUnit& unit, std::size_t phase,
                                      const SeriesImpedance& measured, double resistance,
                                      double frequency) {
  kvr_TestData_Impedance_Phase result{};
  result.status = KVR_RES_OK;
  fill_field(result.phase_name, kPhaseNames[phase]);
  fill_field(result.high_side_phase, pair_name(Side::high, line_pairs(unit)[phase], unit.pair));
  fill_field(result.low_side_phase, joined_lines(unit));
  const Complex z(resistance, measured.reactance);
  const double omega = 2 * std::numbers::pi * frequency;
  result.v_ratio = turns_ratio(unit) / turns_factor(unit.group);
  result.test_frequency = static_cast<float>(frequency);
  result.rs = static_cast<float>(z.real());
  result.xs = static_cast<float>(z.imag());
  result.z = magnitude(z);
  result.power_factor = static_cast<float>(z.real() / result.z * 100);
  result.inductance = static_cast<float>(z.imag() > 0 ? z.imag() / omega : 0);
  result.capacitance = static_cast<float>(z.imag() < 0 ? -1 / (omega * z.imag()) : 0);
  result.z_percent = result.z / pairs_per_star(unit) / base_impedance(unit) * 100;
  result.z_percent_error = error_percent(result.z_percent, unit.impedance_percent);
  result.curr_rms = static_cast<float>(measured.current);
  return result;
}

void fill_averages(kvr_TestData_Impedance_SingleTest& test, std::size_t phases) {
  const auto count = static_cast<double>(phases);
  double power_factor = 0;
  for (std::size_t phase = 0; phase < phases; ++phase) {
    power_factor += test.phases[phase].power_factor / count;
    test.avg_z += test.phases[phase].z / count;
    test.avg_z_percent += test.phases[phase].z_percent / count;
  }
  test.avg_power_factor = static_cast<float>(power_factor);
}

kvr_TestData_Impedance empty_data(const TransformerUnit& unit, kvr_TestType type,
                                  const FamilySettings& settings) {
  kvr_TestData_Impedance data{};
  data.test_type = type;
  data.setup = nameplate_setup(unit);
  data.setup.line_frequency = static_cast<std::int32_t>(std::lround(settings.line_frequency));
  data.setup.temperature_to = static_cast<float>(settings.corrected_to);
  return data;
}

template <typename Resistance>
kvr_TestData_Impedance_SingleTest single_test(const TransformerUnit& unit,
                                              const FamilySettings& settings, double frequency,
                                              Noise& noise, Resistance resistance) {
  kvr_TestData_Impedance_SingleTest test{};
  const std::size_t phases = line_pairs(unit).size();
  test.phase_mode = phases == 1 ? 1 : 0;
  for (kvr_TestData_Impedance_Phase& phase : test.phases) {
    phase.status = KVR_RES_NOT_TESTED;
  }
  for (std::size_t phase = 0; phase < phases; ++phase) {
    const SeriesImpedance measured = series_impedance(unit, settings, phase, frequency, noise);
    test.phases[phase] = phase_of(unit, phase, measured, resistance(phase, measured), frequency);
  }
  fill_averages(test, phases);
  return test;
}

}  // namespace

ImpedanceTest short_circuit_impedance_test(const TransformerUnit& unit,
                                           const FamilySettings& settings) {
  Noise noise(settings.seed);
  ImpedanceTest test{empty_data(unit, KVR_TEST_SCI, settings), {}};
  const bool correcting = settings.corrected_to != unit.temperature;
  kvr_TestData_Impedance_SingleTest single = single_test(
      unit, settings, settings.line_frequency, noise,
      [&](std::size_t phase, const SeriesImpedance& measured) {
        return correcting
                   ? corrected(part_losses(unit, settings, phase, measured.resistance, noise),
                               unit.conductor, unit.temperature, settings.corrected_to)
                         .total()
                   : measured.resistance;
      });
  for (std::size_t phase = 0; phase < line_pairs(unit).size(); ++phase) {
    single.phases[phase].corrected = correcting ? 1 : 0;
  }
  test.tests.push_back(single);
  return test;
}

ImpedanceTest stray_loss_response_test(const TransformerUnit& unit, const FamilySettings& settings,
                                       const std::vector<double>& frequencies) {
  Noise noise(settings.seed);
  ImpedanceTest test{empty_data(unit, KVR_TEST_FRSL, settings), {}};
  for (const double frequency : frequencies) {
    test.tests.push_back(single_test(
        unit, settings, frequency, noise,
        [](std::size_t, const SeriesImpedance& measured) { return measured.resistance; }));
  }
  return test;
}

}  // namespace virtual_instrument
