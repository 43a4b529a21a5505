#include "text/vector_group_text.h"

#include <limits>

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

std::string SetupVectorText(const kvr_TestSetup* setup) {
  const kvr_WindingSetup& high = Utils::winding_h(*setup);
  const kvr_WindingSetup& low = Utils::winding_x(*setup);
  return VectorGroupText(high.winding_type, low.winding_type, Utils::connection(*setup).clock,
                         low.phase_shift);
}
