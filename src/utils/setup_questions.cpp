#include <map>
#include <string>
#include <vector>

#include "common/errors.h"
#include "utils/utils.h"

namespace {

bool has_oltc_changer(const kvr_WindingSetup& winding) {
  return winding.tap_changer == KVR_TAP_CHANGER_OLTC;
}

}  // namespace

std::int32_t Utils::clock_number(const kvr_TestSetup& setup) { return connection(setup).clock; }

float Utils::phase_shift_x(const kvr_TestSetup& setup) { return winding_x(setup).phase_shift; }

double Utils::nameplate_ratio(const kvr_TestSetup& setup) {
  const kvr_WindingSetup& high_side = winding_h(setup);
  const kvr_WindingSetup& low_side = winding_x(setup);
  const bool is_current_transformer = high_side.winding_type == KVR_WINDING_CT;
  const auto rating =
      is_current_transformer ? &kvr_WindingSetup::current : &kvr_WindingSetup::voltage;
  const float high = high_side.*rating;
  const float low = low_side.*rating;
  return high > 0 && low > 0 ? static_cast<double>(high / low) : 0.0;
}

bool Utils::has_oltc(const kvr_TestSetup& setup) {
  const kvr_WindingSetup& high_side = winding_h(setup);
  const kvr_WindingSetup& low_side = winding_x(setup);
  return has_oltc_changer(high_side) || has_oltc_changer(low_side);
}

// The voltages, even where the pair is rated by its currents.
bool Utils::has_voltages(const kvr_TestSetup& setup) {
  const kvr_WindingSetup& high_side = winding_h(setup);
  const kvr_WindingSetup& low_side = winding_x(setup);
  return high_side.voltage > 0 && low_side.voltage > 0;
}

std::int32_t Utils::oltc_side(const kvr_TestSetup& setup) {
  const kvr_WindingSetup& high_side = winding_h(setup);
  const kvr_WindingSetup& low_side = winding_x(setup);
  if (has_oltc_changer(high_side)) {
    return kSideH;
  }
  if (has_oltc_changer(low_side)) {
    return kSideX;
  }
  throw kvr_exception(KVR_RES_OLTC_TAPCHANGER_MISSING, "OLTC not detected. Cannot run DRM.",
                      kLogged, "oltc_side");
}

std::vector<std::int32_t> Utils::GetTestPhaseIndexes(int phase) {
  static const std::map<int, std::vector<std::int32_t>> indexes_of_phase = {
      {0, {0}}, {1, {1}}, {2, {2}}, {3, {0, 1}}, {4, {0, 2}}, {5, {1, 2}}, {100, {0, 1, 2}}};
  const auto row = indexes_of_phase.find(phase);
  if (row == indexes_of_phase.end()) {
    throw kvr_exception(KVR_RES_INTERNAL_ERROR,
                        "GetTestPhaseIndexes - wrong phase: " + std::to_string(phase), kLogged,
                        "GetTestPhaseIndexes");
  }
  return row->second;
}
