#include "panel/order.h"

#include <algorithm>

namespace panel {
namespace {

using virtual_instrument::Bench;
using virtual_instrument::TransformerUnit;

/// Without another wish, the voltage that the unit and the source can both bear.
double usual_voltage(const TransformerUnit& unit, const Bench& bench) {
  return std::min({default_settings(unit.frequency).family.test_voltage,
                   unit.rated_voltage[virtual_instrument::Side::high],
                   bench.instrument.maximum_voltage});
}

}  // namespace

Settings settings_for(const MeasureOrder& order, const TransformerUnit& unit, const Bench& bench) {
  Settings settings = default_settings(order.frequency.value_or(unit.frequency));
  auto& family = settings.family;
  family.measurement = bench.measurement;
  family.seed = static_cast<std::uint64_t>(bench.measurement.seed);
  family.test_voltage = order.voltage.value_or(usual_voltage(unit, bench));
  family.direct_voltage = order.direct_voltage.value_or(family.direct_voltage);
  family.direct_current = order.direct_current.value_or(family.direct_current);
  family.corrected_to = order.corrected_to.value_or(family.corrected_to);
  family.minimum_inductance = order.minimum_inductance.value_or(family.minimum_inductance);
  settings.readings = order.readings.value_or(settings.readings);
  settings.interval = order.interval.value_or(settings.interval);
  settings.cooling = {order.ambient.value_or(settings.cooling.ambient),
                      order.rise.value_or(settings.cooling.rise),
                      order.time_constant.value_or(settings.cooling.time_constant)};
  if (!order.frequencies.empty()) {
    settings.frequencies = order.frequencies;
  }
  return settings;
}

}  // namespace panel
