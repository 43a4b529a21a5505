#include <array>
#include <string>
#include <utility>

#include "standards/standards.h"
#include "utils/text_formatting.h"
#include "utils/text_utils.h"
#include "utils/utils.h"

namespace {

/// The look-up for the terminals of each winding.
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

}  // namespace

ConnectionLabel Utils::connection_label(const ConnectionRequest& request, int connection_type,
                                        kvr_StandardType standard) {
  ConnectionLabel result{};
  result.side = request.side;
  result.measure = request.measure;
  std::string label;
  if (connection_type >= 0 && connection_type <= 2) {
    const auto& windings = kWindingOfSide[static_cast<std::size_t>(connection_type)];
    const std::size_t winding = windings[request.side == kSideH ? kSideH : kSideX];
    result.winding = static_cast<std::int32_t>(winding) + 1;
    if (request.side == kSideH || request.side == kSideX) {
      label = kLabelOfWinding[winding](request.measure, standard);
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
  // Deliberate: the second terminal is replaced first, and the first one then also inside the text
  // inserted for it, so labels come out nested.
  const std::pair<std::string, std::string> in_order[] = {{second, combined}, {first, combined}};
  return ApplyReplacements(std::move(label), in_order);
}
