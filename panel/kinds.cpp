#include "panel/kinds.h"

#include <algorithm>
#include <array>
#include <iomanip>
#include <sstream>
#include <stdexcept>
#include <utility>

#include "virtual_instrument/vocabulary/code_names.h"

namespace panel {
namespace {

using virtual_instrument::TestResult;
using virtual_instrument::TransformerUnit;

Measured excitation(TransformerUnit& unit, const Settings& settings) {
  if (!virtual_instrument::is_three_phase(unit.group.high)) {
    return {KVR_RES_TESTING_METHOD_NOT_SUPPORTED, {}};
  }
  const auto test = excitation_test(unit, settings.family);
  if (virtual_instrument::is_accepted_code(test.code)) {
    unit.core.residual_flux = test.residual_flux;
  }
  return {test.code, test};
}

Measured excitation_single_phase(TransformerUnit& unit, const Settings& settings) {
  const auto data = single_phase_excitation_test(unit, settings.family);
  return {data.phase.status, data};
}

Measured demagnetisation(TransformerUnit& unit, const Settings& settings) {
  const auto test = demag_test(unit, settings.family);
  unit.core.residual_flux = test.residual_flux;
  return {test.code, test};
}

Measured resistance(TransformerUnit& unit, const Settings& settings) {
  return {KVR_RES_OK, resistance_test(unit, settings.family)};
}

Measured continuous(TransformerUnit& unit, const Settings& settings) {
  return {KVR_RES_OK,
          continuous_resistance_test(unit, settings.family, settings.readings, settings.interval)};
}

Measured heat_run(TransformerUnit& unit, const Settings& settings) {
  return {KVR_RES_OK, heat_run_test(unit, settings.family, settings.cooling, settings.readings,
                                    settings.interval)};
}

Measured dynamic_resistance(TransformerUnit& unit, const Settings& settings) {
  const auto test = dynamic_resistance_test(unit, settings.family);
  return {test.code, test};
}

Measured impedance(TransformerUnit& unit, const Settings& settings) {
  return {KVR_RES_OK, short_circuit_impedance_test(unit, settings.family)};
}

Measured stray_loss(TransformerUnit& unit, const Settings& settings) {
  return {KVR_RES_OK, stray_loss_response_test(unit, settings.family, settings.frequencies)};
}

Measured efficiency(TransformerUnit& unit, const Settings& settings) {
  return {KVR_RES_OK, efficiency_test(unit, settings.family)};
}

Measured magnetic_balance(TransformerUnit& unit, const Settings& settings) {
  const auto test = magnetic_balance_test(unit, settings.family);
  return {test.code, test.data};
}

Measured go_no_go(TransformerUnit& unit, const Settings& settings) {
  return {KVR_RES_OK, go_no_go_test(unit, settings.family)};
}

constexpr std::array<Kind, 12> kKinds{{
    {"excitation", "exciting currents of the three phases, the low side open", KVR_TEST_EXCITATION,
     "ratio_3ph", excitation},
    {"excitation-1ph", "exciting current of one winding", KVR_TEST_EXCITATION, "ratio_1ph",
     excitation_single_phase},
    {"demagnetisation", "removes the residual flux of each limb", KVR_TEST_DEMAG, "demag",
     demagnetisation},
    {"resistance", "resistance of each winding, on each tap", KVR_TEST_RESISTANCE, "resistance",
     resistance},
    {"continuous", "resistance of one winding, again and again", KVR_TEST_RESISTANCE_CONT,
     "resistance", continuous},
    {"heat-run", "resistances while the windings cool", KVR_TEST_HEATRUN, "heatrun", heat_run},
    {"dynamic", "transitions of an on-load tap changer", KVR_TEST_DRM, "drm", dynamic_resistance},
    {"impedance", "short-circuit impedance", KVR_TEST_SCI, "impedance", impedance},
    {"stray-loss", "short-circuit impedance over frequencies", KVR_TEST_FRSL, "impedance",
     stray_loss},
    {"efficiency", "losses at no load and under load", KVR_TEST_EFFICIENCY, "efficiency",
     efficiency},
    {"magnetic-balance", "how the flux of one limb divides among the others", KVR_TEST_MBALANCE,
     "mbalance", magnetic_balance},
    {"go-no-go", "open and shorted windings, enough inductance", KVR_TEST_GONOGO, "gonogo",
     go_no_go},
}};

}  // namespace

Settings default_settings(double frequency) {
  return {.family = virtual_instrument::family_settings(frequency),
          .readings = 12,
          .interval = 2,
          .cooling = {.ambient = 20, .rise = 60, .time_constant = 600},
          .frequencies = {25, 50, 100, 200, 400}};
}

Measured carry_out(const Kind& kind, TransformerUnit& unit, const Settings& settings) {
  try {
    return kind.measure(unit, settings);
  } catch (const std::runtime_error&) {
    return {KVR_RES_INTERNAL_ERROR, {}};
  }
}

std::span<const Kind> kinds() { return kKinds; }

std::string list_of_kinds() {
  std::ostringstream list;
  for (const Kind& kind : kKinds) {
    list << "  " << std::left << std::setw(18) << kind.name << kind.help << '\n';
  }
  return list.str();
}

const Kind* find_kind(std::string_view name) {
  const auto found = std::find_if(kKinds.begin(), kKinds.end(),
                                  [name](const Kind& kind) { return kind.name == name; });
  return found == kKinds.end() ? nullptr : &*found;
}

}  // namespace panel
