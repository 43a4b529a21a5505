#include "report/sections/section.h"

#include "report/figures/numbers.h"
#include "report/figures/statistics.h"
#include "text/degrees.h"
#include "text/text_output.h"

namespace report {
namespace {

constexpr int kOperatorDecimals = 8;

}  // namespace

Cell text_cell(std::string_view text) { return {std::string(text), {}}; }

Cell number_cell(double value, int decimals) {
  return {fixed(value, decimals), operator_notation(value, kOperatorDecimals)};
}

Cell significant_cell(double value, int digits) {
  return {significant(value, digits), operator_notation(value, kOperatorDecimals)};
}

double degrees_of(float radians) { return static_cast<double>(folded_degrees(radians)); }

Cell degrees_cell(float radians) {
  return {fixed(degrees_of(radians), 3), KVR_Text_Output::RadToDegText(radians)};
}

Cell count_cell(double value) { return {fixed(value, 0), {}}; }

std::string stated(const std::optional<std::string>& text) {
  return text && !text->empty() ? *text : std::string(kNotStated);
}

Finding judge(const Judged& judged, const Settings& settings) {
  std::optional<double> uncertainty;
  if (judged.type_b) {
    uncertainty = expanded_uncertainty(settings.coverage_factor(), judged.type_a, *judged.type_b);
  }
  const std::string unit = judged.unit.empty() ? "" : " " + judged.unit;
  Finding finding;
  finding.quantity = judged.quantity;
  finding.value = fixed(judged.value, judged.decimals) + unit;
  finding.limit = judged.limit_text;
  finding.uncertainty =
      uncertainty ? fixed(*uncertainty, judged.decimals) + unit : std::string(kNotStated);
  finding.verdict = decide(judged.value, judged.limits, uncertainty, settings.rule());
  finding.source = judged.source;
  return finding;
}

}  // namespace report
