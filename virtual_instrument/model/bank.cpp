#include "virtual_instrument/model/bank.h"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <numbers>
#include <vector>

namespace virtual_instrument {
namespace {

using Period = std::vector<double>;
using ThreePeriods = std::array<Period, 3>;

/// The same for three phases, each a third of a period behind the one before it.
ThreePeriods three_phases(const Period& first) {
  ThreePeriods phases;
  for (std::size_t k = 0; k < 3; ++k) {
    phases[k] = first;
    std::rotate(phases[k].rbegin(),
                phases[k].rbegin() + static_cast<std::ptrdiff_t>(k * first.size() / 3),
                phases[k].rend());
  }
  return phases;
}

Period difference(const Period& a, const Period& b) {
  Period result(a.size());
  std::transform(a.begin(), a.end(), b.begin(), result.begin(), std::minus<>());
  return result;
}

/// Coils in the places that they have on the low side.
ThreePeriods placed(const ThreePeriods& coils, const CoilPlacing& placing) {
  ThreePeriods places;
  for (std::size_t k = 0; k < 3; ++k) {
    places[k] = coils[(k + static_cast<std::size_t>(placing.shift)) % 3];
    for (double& value : places[k]) {
      value *= placing.sign;
    }
  }
  return places;
}

/// From coils to lines: a delta's coil lies between two terminals, a star's before one.
ThreePeriods line_voltages(const ThreePeriods& coils, kvr_WindingType winding) {
  if (!is_star(winding)) {
    return coils;
  }
  return {difference(coils[0], coils[1]), difference(coils[1], coils[2]),
          difference(coils[2], coils[0])};
}

ThreePeriods line_currents(const ThreePeriods& coils, kvr_WindingType winding) {
  if (is_star(winding)) {
    return coils;
  }
  return {difference(coils[0], coils[2]), difference(coils[1], coils[0]),
          difference(coils[2], coils[1])};
}

}  // namespace

std::array<Waveforms, 3> excite_bank(const Transformer& transformer, const VectorGroup& group,
                                     const Excitation& line) {
  Excitation coil = line;
  if (is_star(line.side == Side::high ? group.high : group.low)) {
    coil.voltage /= std::numbers::sqrt3;
  }
  const Waveforms first = excite(transformer, coil);
  const CoilPlacing low_side = low_side_placing(group);
  const ThreePeriods voltage_high = line_voltages(three_phases(first.voltage_high), group.high);
  const ThreePeriods current_high = line_currents(three_phases(first.current_high), group.high);
  const ThreePeriods voltage_low =
      line_voltages(placed(three_phases(first.voltage_low), low_side), group.low);
  const ThreePeriods current_low =
      line_currents(placed(three_phases(first.current_low), low_side), group.low);

  std::array<Waveforms, 3> terminals;
  for (std::size_t k = 0; k < 3; ++k) {
    terminals[k] = {voltage_high[k], voltage_low[k], current_high[k], current_low[k]};
  }
  return terminals;
}

}  // namespace virtual_instrument
