#include <algorithm>
#include <array>
#include <charconv>
#include <string_view>

#include "panel/new_bench.h"

namespace panel {
namespace {

using virtual_instrument::CircuitTest;
using virtual_instrument::Side;

/// The shortest number that reads back the same, with a point, as TOML wants it.
std::string number(double value) {
  std::array<char, 40> digits{};
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr;
  std::string text(digits.data(), end);
  return text.find_first_of(".e") == std::string::npos ? text + ".0" : text;
}

/// With nine significant digits: a fitted value means no more.
std::string fitted(double value) {
  std::array<char, 40> digits{};
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value,
                                 std::chars_format::general, 9)
                       .ptr;
  std::string text(digits.data(), end);
  return text.find_first_of(".e") == std::string::npos ? text + ".0" : text;
}

class BenchLines {
 public:
  void comment(const std::string& text) { text_ += "# " + text + "\n"; }
  void empty() { text_ += "\n"; }
  void table(const char* name) { text_ += "[" + std::string(name) + "]\n"; }

  void key(const char* name, const std::string& value, std::string_view origin) {
    std::string line = std::string(name) + " = " + value;
    line.resize(std::max<std::size_t>(line.size() + 1, 40), ' ');
    text_ += line + "# " + std::string(origin) + "\n";
  }

  const std::string& text() const { return text_; }

 private:
  std::string text_;
};

std::string test_text(const CircuitTest& test) {
  return number(test.voltage) + " V, " + number(test.current) + " A, " + number(test.power) +
         " W on the " + (test.side == Side::high ? "high" : "low") + " side";
}

constexpr std::string_view kGiven = "given";
constexpr std::string_view kAssumed = "assumed";

}  // namespace

std::string bench_text(const KnownUnit& unit, const virtual_instrument::Bench& bench) {
  const virtual_instrument::TransformerSettings& settings = bench.transformer;
  const std::string_view from_open = unit.open_circuit ? "fits the open-circuit test" : kAssumed;
  const std::string_view from_short = unit.short_circuit ? "fits the short-circuit test" : kAssumed;
  BenchLines lines;
  lines.comment(unit.group_name + ", " + number(unit.high_voltage) + "/" +
                number(unit.low_voltage) + " V, " + number(unit.kva) + " kVA.");
  lines.comment("Assumed values are typical of an oil-filled unit of this power.");
  if (unit.open_circuit) {
    lines.comment("Open-circuit test: " + test_text(*unit.open_circuit) + ".");
  }
  if (unit.short_circuit) {
    lines.comment("Short-circuit test: " + test_text(*unit.short_circuit) + ".");
  }
  lines.empty();
  lines.table("transformer");
  lines.key("vector_group", "\"" + unit.group_name + "\"", kGiven);
  lines.key("high_voltage", number(settings.high_voltage), "V, given");
  lines.key("low_voltage", number(settings.low_voltage), "V, given");
  lines.key("kva", number(settings.kva), kGiven);
  if (unit.impedance) {
    lines.key("impedance", number(settings.impedance), "percent, given");
  }
  lines.key("frequency", number(settings.frequency), "Hz, given");
  lines.key("reference_temperature", number(settings.reference_temperature),
            "degrees C, of the tests");
  lines.key("temperature", number(settings.temperature), "degrees C, the same");
  lines.key("high_resistance", fitted(settings.high_resistance),
            unit.high_resistance ? "ohm, fits the reading" : from_short);
  lines.key("low_resistance", fitted(settings.low_resistance),
            unit.low_resistance ? "ohm, fits the reading" : from_short);
  lines.key("high_reactance", fitted(settings.high_reactance), from_short);
  lines.key("low_reactance", fitted(settings.low_reactance), from_short);
  lines.key("stray_share", fitted(settings.stray_share),
            unit.high_resistance && unit.low_resistance ? from_short : kAssumed);
  lines.key("core_resistance", fitted(settings.core_resistance), from_open);
  lines.key("magnetizing_reactance", fitted(settings.magnetizing_reactance), from_open);
  lines.key("saturated_reactance", fitted(settings.saturated_reactance), kAssumed);
  return lines.text();
}

}  // namespace panel
