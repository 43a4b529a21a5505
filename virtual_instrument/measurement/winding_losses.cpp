#include "virtual_instrument/measurement/winding_losses.h"

namespace virtual_instrument {

SeriesImpedance series_impedance(const TransformerUnit& unit, const FamilySettings& settings,
                                 std::size_t phase, double frequency, Noise& noise) {
  Network network = unit_network(unit, kInputResistance);
  join_lines(network, unit, Side::low);
  const TerminalPair pair = line_pairs(unit)[phase];
  const SampledTest test = sample_pair(
      network, {Side::high, pair, settings.test_voltage, frequency, Side::low, line_pairs(unit)[0]},
      settings.measurement, noise);
  const Complex z = measured_impedance(test);
  return {z.real(), z.imag(), rms(test.current[Side::high])};
}

ResistanceParts part_losses(const TransformerUnit& unit, const FamilySettings& settings,
                            std::size_t phase, double resistance, Noise& noise) {
  const double at_half =
      series_impedance(unit, settings, phase, settings.line_frequency / 2, noise).resistance;
  const double copper = (4 * at_half - resistance) / 3;
  return {copper, resistance - copper};
}

ResistanceParts corrected(const ResistanceParts& parts, Conductor conductor, double from,
                          double to) {
  const double factor = heating_factor(conductor, from, to);
  return {parts.copper * factor, parts.stray / factor};
}

double pairs_per_star(const TransformerUnit& unit) {
  return is_three_phase(unit.group.high) ? 2 : 1;
}

double base_impedance(const TransformerUnit& unit) {
  return unit.rated_voltage[Side::high] * unit.rated_voltage[Side::high] / (unit.kva * 1000);
}

}  // namespace virtual_instrument
