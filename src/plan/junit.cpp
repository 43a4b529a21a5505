#include "plan/junit.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "api/codes.h"
#include "toml/toml_keys.h"

namespace {

/// Characters that XML can't hold, and bytes beyond ASCII of no known encoding, become "?". Texts
/// of a plan are UTF-8; those of the library need not be.
std::string escaped(std::string_view text) {
  std::string result;
  for (const char character : text) {
    const auto byte = static_cast<unsigned char>(character);
    switch (character) {
      case '&':
        result += "&amp;";
        break;
      case '<':
        result += "&lt;";
        break;
      case '>':
        result += "&gt;";
        break;
      case '"':
        result += "&quot;";
        break;
      default:
        result += byte < 0x20 || byte >= 0x7f ? '?' : character;
    }
  }
  return result;
}

std::string number(double value, int digits) {
  std::array<char, 400> text{};
  return {text.data(), std::to_chars(text.data(), text.data() + text.size(), value,
                                     std::chars_format::fixed, digits)
                           .ptr};
}

std::string attribute(const char* name, std::string_view text) {
  return " " + std::string(name) + "=\"" + escaped(text) + "\"";
}

std::string failed_checks(const Measurement& measurement) {
  std::string text;
  for (const Check& check : measurement.judgement.checks) {
    if (!check.holds()) {
      text += (text.empty() ? "" : "; ") + check.quantity +
              (check.phase.empty() ? "" : " of " + check.phase) + " is " +
              toml_file::number_text(check.value) + ", limits " +
              toml_file::number_text(check.low) + " to " + toml_file::number_text(check.high);
    }
  }
  return text;
}

std::string code_text(const Measurement& measurement) {
  return std::string(CodeToText(measurement.code)) +
         (measurement.words.empty() ? "" : ": " + measurement.words);
}

/// What stands within the case of a measurement.
std::string outcome(const Measurement& measurement) {
  const Verdict verdict = measurement.judgement.verdict;
  switch (verdict) {
    case Verdict::within:
      return {};
    case Verdict::no_limits:
      return "<system-out>no limits were given</system-out>";
    case Verdict::outside:
    case Verdict::partial: {
      const std::string checks = failed_checks(measurement);
      return "<failure" + attribute("type", name_of(verdict)) +
             attribute("message", checks.empty() ? code_text(measurement) : checks) + "/>";
    }
    default:
      return "<error" + attribute("type", name_of(verdict)) +
             attribute("message", code_text(measurement)) + "/>";
  }
}

std::string case_text(const PlannedTest& test, std::size_t index, const std::string& time,
                      const std::string& content) {
  const std::string name =
      toml_file::number_text(static_cast<double>(test.voltages[index].voltage)) + " V, " +
      std::to_string(index + 1) + " of " + std::to_string(test.voltages.size());
  return "    <testcase" + attribute("classname", test.name) + attribute("name", name) + time +
         (content.empty() ? "/>\n" : ">" + content + "</testcase>\n");
}

}  // namespace

std::string junit_text(const Plan& plan, std::span<const Measurement> measurements) {
  std::string cases;
  std::size_t failures = 0;
  std::size_t errors = 0;
  double seconds = 0;
  std::size_t next = 0;
  for (std::size_t test = 0; test < plan.tests.size(); ++test) {
    const PlannedTest& planned = plan.tests[test];
    for (std::size_t i = 0; i < planned.voltages.size(); ++i) {
      if (next == measurements.size() || measurements[next].test != test + 1) {
        cases += case_text(planned, i, "", "<skipped/>");
        continue;
      }
      const Measurement& made = measurements[next++];
      const Verdict verdict = made.judgement.verdict;
      failures += verdict == Verdict::outside || verdict == Verdict::partial ? 1 : 0;
      errors += verdict == Verdict::refused || verdict == Verdict::cancelled ? 1 : 0;
      seconds += made.seconds;
      cases += case_text(planned, i, attribute("time", number(made.seconds, 3)), outcome(made));
    }
  }
  const std::size_t all = measurements_of(plan);
  const std::string counts = attribute("tests", std::to_string(all)) +
                             attribute("failures", std::to_string(failures)) +
                             attribute("errors", std::to_string(errors)) +
                             attribute("skipped", std::to_string(all - measurements.size())) +
                             attribute("time", number(seconds, 3));
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuites" + counts + ">\n  <testsuite" +
         attribute("name", plan.file) + counts + ">\n" + cases + "  </testsuite>\n</testsuites>\n";
}
