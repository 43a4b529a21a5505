#include <array>
#include <map>
#include <utility>

#include "common/errors.h"
#include "common/text_formatting.h"
#include "common/text_utils.h"
#include "common/utils.h"
#include "standards/standards.h"

namespace {

enum Side : std::int32_t { kSideH = 0, kSideX = 1 };

/// One-based winding that each side of the pair falls on, by connection type.
constexpr std::array<std::array<std::int32_t, 2>, 3> kWindingOfSide{{{1, 2}, {1, 3}, {2, 3}}};

/// What labels the terminals of each winding.
constexpr std::array kLabelOfWinding = {&Standards::labelPrimary, &Standards::labelSecondary,
                                        &Standards::labelTertiary};

struct TerminalsOfPair {
  const char* first;
  const char* second;
};

/// Low-side terminals by pair code.
constexpr std::array<TerminalsOfPair, 6> kLowSidePairs{
    {{"X1", "X2"}, {"X2", "X3"}, {"X1", "X3"}, {"X1", "X0"}, {"X2", "X0"}, {"X3", "X0"}}};

const TerminalsOfPair* low_side_pair(int code) {
  const bool is_known = code >= MEASURE_AB && code <= MEASURE_CN;
  return is_known ? &kLowSidePairs[static_cast<std::size_t>(code - MEASURE_AB)] : nullptr;
}

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

// Voltages are meant even where the pair is rated by its currents.
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

ConnectionLabel Utils::connection_label(const ConnectionRequest& request, int connection_type,
                                        kvr_StandardType standard) {
  ConnectionLabel result{};
  result.side = request.side;
  result.measure = request.measure;
  std::string label;
  if (connection_type >= 0 && connection_type <= 2) {
    const auto& windings = kWindingOfSide[static_cast<std::size_t>(connection_type)];
    result.winding = request.side == kSideH ? windings[kSideH] : windings[kSideX];
    if (request.side == kSideH || request.side == kSideX) {
      const auto label_of = kLabelOfWinding[static_cast<std::size_t>(result.winding - 1)];
      label = label_of(request.measure, standard);
    }
  }
  TextUtils::copy_safe("generic2", result.label, sizeof(result.label), label);
  return result;
}

std::string Utils::short_label(int measure, int shorted) {
  const TerminalsOfPair* const measured = low_side_pair(measure);
  std::string label =
      measured == nullptr ? "" : std::string(measured->first) + "-" + measured->second;
  const TerminalsOfPair* const pair = low_side_pair(shorted);
  if (pair == nullptr) {
    return label;
  }
  const std::string first = pair->first;
  const std::string second = pair->second;
  const std::string combined = "(" + first + "+" + second + ")";
  // The second terminal comes first, and the first is then also replaced inside what that put in:
  // labels known to users come out nested.
  const std::pair<std::string, std::string> in_order[] = {{second, combined}, {first, combined}};
  return ApplyReplacements(std::move(label), in_order);
}
