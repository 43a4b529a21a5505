#include "text/vector_group_text.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <limits>
#include <numbers>
#include <optional>

#include "common/errors.h"
#include "text/degrees.h"
#include "text/text_output.h"
#include "utils/utils.h"

namespace {

/// Cut towards zero. A value out of range gives INT32_MIN, as the conversion of x86 processors
/// does.
std::int32_t whole_number(float value) {
  constexpr float kEnd = 2147483648.0F;
  return value < kEnd ? static_cast<std::int32_t>(value) : std::numeric_limits<std::int32_t>::min();
}

/// A negative shift never shows, unless it folds to a positive one: that has no sign.
std::string phase_shift_suffix(float phase_shift) {
  const float degrees = folded_degrees(phase_shift);
  if (!(degrees > 4.0F)) {
    return {};
  }
  return (phase_shift < 0 ? "" : "+") + std::to_string(whole_number(degrees + 0.1F));
}

}  // namespace

std::string VectorGroupText(kvr_WindingType h_type, kvr_WindingType x_type, std::int32_t clock,
                            float phase_shift) {
  std::string text(KVR_Text_Output::WindingTextUpper(h_type));
  text += KVR_Text_Output::WindingTextLower(x_type);
  text += clock == kClockUnknown ? "X" : std::to_string(clock);
  text += phase_shift_suffix(phase_shift);
  return text;
}

std::string VectorGroupText(const kvr_VectorGroup& group) {
  return VectorGroupText(group.h_type, group.x_type, group.clock, group.phase_shift);
}

namespace {

constexpr kvr_WindingType kWindings[] = {
    KVR_WINDING_D,  KVR_WINDING_Y,  KVR_WINDING_YN, KVR_WINDING_Z,  KVR_WINDING_ZN,
    KVR_WINDING_1P, KVR_WINDING_MH, KVR_WINDING_CT, KVR_WINDING_PT, KVR_WINDING_A};
constexpr std::int32_t kClocks[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, kClockUnknown};

bool is_equal_in_any_case(std::string_view a, std::string_view b) {
  const auto is_equal = [](unsigned char one, unsigned char other) {
    return std::tolower(one) == std::tolower(other);
  };
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), is_equal);
}

/// The shift in radians that a name ends in. Nothing when `end` is not the end of a name.
std::optional<float> phase_shift_from_suffix(std::string_view end) {
  if (end.empty()) {
    return 0.0F;
  }
  std::uint8_t degrees = 0;
  const auto read = std::from_chars(end.data() + 1, end.data() + end.size(), degrees);
  const bool is_whole = read.ec == std::errc() && read.ptr == end.data() + end.size();
  if (end.front() != '+' || !is_whole || degrees > 180) {
    return std::nullopt;
  }
  return static_cast<float>(degrees * std::numbers::pi / 180);
}

std::optional<kvr_VectorGroup> group_of_windings(kvr_WindingType high, kvr_WindingType low,
                                                 std::string_view text) {
  for (const std::int32_t clock : kClocks) {
    const std::string name = VectorGroupText(high, low, clock, 0);
    if (!is_equal_in_any_case(text.substr(0, name.size()), name)) {
      continue;
    }
    if (const auto shift = phase_shift_from_suffix(text.substr(name.size()))) {
      return kvr_VectorGroup{high, low, clock, *shift};
    }
  }
  return std::nullopt;
}

}  // namespace

kvr_VectorGroup vector_group_from_text(std::string_view text) {
  for (const kvr_WindingType high : kWindings) {
    for (const kvr_WindingType low : kWindings) {
      // A CT or PT has no letters on its low side: it goes with itself alone.
      const bool is_pair = high == low || !KVR_Text_Output::WindingTextLower(low).empty();
      const auto group = is_pair ? group_of_windings(high, low, text) : std::nullopt;
      if (group) {
        return *group;
      }
    }
  }
  throw kvr_exception(KVR_RES_VECTOR_GROUP_INCORRECT,
                      "vector_group_from_text - no vector group " + std::string(text), kLogged,
                      "vector_group_from_text");
}

std::string SetupVectorText(const kvr_TestSetup* setup) {
  const kvr_WindingSetup& high = Utils::winding_h(*setup);
  const kvr_WindingSetup& low = Utils::winding_x(*setup);
  return VectorGroupText(high.winding_type, low.winding_type, Utils::connection(*setup).clock,
                         low.phase_shift);
}
