#include <array>
#include <string>
#include <utility>

#include "standards/standards.h"
#include "utils/text_formatting.h"
#include "utils/text_utils.h"
#include "utils/utils.h"

namespace {

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

}  // namespace

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
