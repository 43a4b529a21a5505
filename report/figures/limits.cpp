#include "report/figures/limits.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

namespace report {
namespace {

constexpr double kNone = std::numeric_limits<double>::infinity();

constexpr LimitRow kRows[] = {
    {"ratio_percent", "ratio error, principal tapping", 0.5, "%",
     "IEC 60076-1: the lower of 0.5 % and a tenth of the short-circuit impedance"},
    {"ratio_ieee_percent", "ratio error", 0.5, "%", "IEEE C57.12.00: 0.5 % of the nameplate ratio"},
    {"total_losses_percent", "total losses above the nameplate", 10, "%", "IEC 60076-1"},
    {"component_losses_percent", "load losses, no-load losses above the nameplate", 15, "%",
     "IEC 60076-1: each component, while the total holds"},
    {"impedance_percent", "impedance against the nameplate, two windings", 7.5, "%",
     "IEEE C57.12.00"},
    {"resistance_spread_percent", "resistance, (largest - smallest) / mean of the phases", 2, "%",
     "field practice"},
    {"balance_percent", "magnetic balance, sum of the other limbs against the excited one", 5, "%",
     "field practice, comparative; the rule has no number of its own"},
    {"excitation_percent", "exciting current, outer phases against each other", 10, "%",
     "field practice, comparative; the rule has no number of its own"},
    {"displacement_degrees", "phase shift against the vector group", 1, "degrees",
     "field practice"},
};

constexpr ClassPoint k01[] = {{5, 0.4, 15}, {20, 0.2, 8}, {100, 0.1, 5}, {120, 0.1, 5}};
constexpr ClassPoint k02[] = {{5, 0.75, 30}, {20, 0.35, 15}, {100, 0.2, 10}, {120, 0.2, 10}};
constexpr ClassPoint k02S[] = {
    {1, 0.75, 30}, {5, 0.35, 15}, {20, 0.2, 10}, {100, 0.2, 10}, {120, 0.2, 10}};
constexpr ClassPoint k05[] = {{5, 1.5, 90}, {20, 0.75, 45}, {100, 0.5, 30}, {120, 0.5, 30}};
constexpr ClassPoint k05S[] = {
    {1, 1.5, 90}, {5, 0.75, 45}, {20, 0.5, 30}, {100, 0.5, 30}, {120, 0.5, 30}};
constexpr ClassPoint k1[] = {{5, 3, 180}, {20, 1.5, 90}, {100, 1, 60}, {120, 1, 60}};

constexpr AccuracyClass kCurrentClasses[] = {{"0.1", k01},   {"0.2S", k02S}, {"0.2", k02},
                                             {"0.5S", k05S}, {"0.5", k05},   {"1", k1}};

constexpr ClassPoint kV01[] = {{80, 0.1, 5}, {120, 0.1, 5}};
constexpr ClassPoint kV02[] = {{80, 0.2, 10}, {120, 0.2, 10}};
constexpr ClassPoint kV05[] = {{80, 0.5, 20}, {120, 0.5, 20}};
constexpr ClassPoint kV1[] = {{80, 1, 40}, {120, 1, 40}};
constexpr ClassPoint kV3[] = {{80, 3, kNone}, {120, 3, kNone}};

constexpr AccuracyClass kVoltageClasses[] = {
    {"0.1", kV01}, {"0.2", kV02}, {"0.5", kV05}, {"1", kV1}, {"3", kV3}};

double between(double share, double low, double high) {
  return low == high ? low : low + share * (high - low);
}

}  // namespace

std::span<const LimitRow> limit_rows() { return kRows; }

const LimitRow& limit_row(std::string_view key) {
  return *std::find_if(std::begin(kRows), std::end(kRows),
                       [key](const LimitRow& row) { return row.key == key; });
}

std::span<const AccuracyClass> current_classes() { return kCurrentClasses; }

std::span<const AccuracyClass> voltage_classes() { return kVoltageClasses; }

const AccuracyClass* find_class(std::span<const AccuracyClass> classes, std::string_view name) {
  const auto found = std::find_if(classes.begin(), classes.end(),
                                  [name](const AccuracyClass& each) { return each.name == name; });
  return found == classes.end() ? nullptr : &*found;
}

std::optional<ErrorPair> class_limit(const AccuracyClass& accuracy, double percent) {
  const std::span<const ClassPoint> points = accuracy.points;
  for (std::size_t i = 0; i + 1 < points.size(); ++i) {
    const ClassPoint& low = points[i];
    const ClassPoint& high = points[i + 1];
    if (percent >= low.percent_of_rated && percent <= high.percent_of_rated) {
      const double share =
          (percent - low.percent_of_rated) / (high.percent_of_rated - low.percent_of_rated);
      return ErrorPair{between(share, low.ratio_error, high.ratio_error),
                       between(share, low.displacement, high.displacement)};
    }
  }
  return std::nullopt;
}

std::optional<bool> is_within(const AccuracyClass& accuracy,
                              std::span<const ClassReading> readings) {
  std::optional<bool> within;
  for (const ClassReading& reading : readings) {
    if (const auto limit = class_limit(accuracy, reading.percent_of_rated)) {
      const bool holds = std::abs(reading.errors.ratio_error) <= limit->ratio_error &&
                         std::abs(reading.errors.displacement) <= limit->displacement;
      within = within.value_or(true) && holds;
    }
  }
  return within;
}

const AccuracyClass* best_class(std::span<const AccuracyClass> classes,
                                std::span<const ClassReading> readings) {
  const auto found = std::find_if(
      classes.begin(), classes.end(),
      [readings](const AccuracyClass& each) { return is_within(each, readings).value_or(false); });
  return found == classes.end() ? nullptr : &*found;
}

}  // namespace report
