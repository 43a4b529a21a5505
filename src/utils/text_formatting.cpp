#include "utils/text_formatting.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <limits>
#include <unordered_map>

namespace {

struct NamedNumber {
  const char* name;
  std::int32_t number;
};

// KAU3 and KWAU3 share a type: a type can't be turned back into a name.
constexpr NamedNumber kModelFamilies[] = {
    {"KVRU3", 0}, {"KAU3", 1}, {"KWAU3", 1}, {"KVRU1", 2}, {"KAU1", 3}};

constexpr NamedNumber kModelTiers[] = {
    {"BSC", 10}, {"ADV", 20}, {"PRO", 30}, {"EXP", 40}, {"TEST", 50}};

using ModelTable = std::unordered_map<std::string, ModelInfo>;

ModelTable make_model_table() {
  ModelTable table;
  for (const NamedNumber& family : kModelFamilies) {
    for (const NamedNumber& tier : kModelTiers) {
      table.emplace(std::string(family.name) + "-" + tier.name,
                    ModelInfo{family.number, tier.number});
    }
  }
  return table;
}

using PairTexts = std::array<std::string_view, 6>;

constexpr PairTexts kPairTextsH = {"H1-H2", "H2-H3", "H1-H3", "H0-H1", "H0-H2", "H0-H3"};
constexpr PairTexts kPairTextsX = {"X1-X2", "X2-X3", "X1-X3", "X0-X1", "X0-X2", "X0-X3"};

std::string_view pair_text(const PairTexts& texts, Measure measure) {
  const bool is_known = measure >= MEASURE_AB && measure <= MEASURE_CN;
  return is_known ? texts[static_cast<std::size_t>(measure - MEASURE_AB)] : "unknown";
}

}  // namespace

ModelInfo ModelFromName(std::string_view name) {
  static const ModelTable table = make_model_table();
  const auto row = table.find(std::string(name));
  return row == table.end() ? ModelInfo{} : row->second;
}

const char* model_tier_text(std::int32_t tier) {
  const auto* const row =
      std::find_if(std::begin(kModelTiers), std::end(kModelTiers),
                   [tier](const NamedNumber& each) { return each.number == tier; });
  return row == std::end(kModelTiers) ? "UNKNOWN" : row->name;
}

std::string_view PairTextH(Measure measure) { return pair_text(kPairTextsH, measure); }

std::string_view PairTextX(Measure measure) { return pair_text(kPairTextsX, measure); }

std::int32_t ClockFromAngle(float angle) {
  constexpr double kPi = 3.141592653589793;
  constexpr double kGuard = 0.0001;  // so that cutting keeps a whole number of hours
  constexpr std::int32_t kHours = 12;
  const double hours = std::round(static_cast<double>(angle * 6.0F) / kPi);
  if (!(std::abs(hours) < std::numeric_limits<std::int32_t>::max())) {
    return 0;
  }
  const auto clock =
      static_cast<std::int32_t>(hours < 0 ? hours - kGuard : hours + kGuard) % kHours;
  return clock < 0 ? clock + kHours : clock;
}

std::string ByteToText(std::uint8_t value) { return std::to_string(value); }
