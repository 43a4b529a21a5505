#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "api/standard_type.h"
#include "utils/utils.h"

// Small conversions between values and their texts.

/// The type and tier of a model name; both zero for an unknown name.
struct ModelInfo {
  std::int32_t instrument_type;  ///< as in kvr_DeviceInfo
  std::int32_t tier;             ///< as in kvr_DeviceInfo
};

static_assert(offsetof(ModelInfo, tier) == 4);

/// The model of exactly that name.
ModelInfo ModelFromName(std::string_view name);

/// The word for a model tier; "UNKNOWN" for any other number.
const char* model_tier_text(std::int32_t tier);

/// The pair of high-side or low-side terminals of a code, such as "H1-H2"; "unknown" for any other
/// value. The pair of MEASURE_CA is written 1-3 here, while the label tables have it as 3-1.
std::string_view PairTextH(Measure measure);
std::string_view PairTextX(Measure measure);

/// The clock number, 0 to 11, that lies nearest to an angle in radians; 0 for an angle too large to
/// be counted in hours, and for NaN.
std::int32_t ClockFromAngle(float angle);

/// Replaces each key by its value, one entry after the other in the map's own order, so that later
/// entries also replace in what earlier ones inserted. Keys must not be empty.
template <class Map>
std::string ApplyReplacements(std::string text, const Map& replacements) {
  for (const auto& [key, value] : replacements) {
    text = Utils::replace_all(std::move(text), key, value);
  }
  return text;
}

/// In decimal.
std::string ByteToText(std::uint8_t value);
