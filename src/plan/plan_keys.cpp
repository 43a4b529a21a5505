#include "plan/plan_keys.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <iterator>
#include <limits>
#include <string_view>
#include <tuple>

using namespace toml_file;

namespace {

constexpr std::size_t kLongestText = 200;
constexpr double kHighestVoltage = 10000;
constexpr std::size_t kMostTestsOfASeries = 100000;
constexpr double kHighestRatio = 1e9;

template <class Value>
using Words = std::vector<std::pair<std::string, Value>>;

/// One word of a list, each of which has a value.
template <class Value>
Key word(std::string name, Value& target, Words<Value> words) {
  std::string expected;
  for (const auto& [text, value] : words) {
    expected += (expected.empty() ? "" : ", ") + ("\"" + text + "\"");
  }
  return {std::move(name), "one of " + expected,
          [&target, words = std::move(words)](const TomlValue& value) {
            const std::string given = text_in(value).value_or("");
            const auto found = std::find_if(words.begin(), words.end(),
                                            [&](const auto& word) { return word.first == given; });
            if (found != words.end()) {
              target = found->second;
            }
            return found != words.end();
          }};
}

std::optional<double> voltage_of(const TomlValue& value) {
  const std::optional<double> voltage = number_in(value);
  return voltage && *voltage > 0 && *voltage <= kHighestVoltage ? voltage : std::nullopt;
}

/// A text such as 10x5, with nothing around its two numbers: the dialogue is more generous.
bool is_repetition(const std::string& text) {
  const char* const end = text.data() + text.size();
  double voltage = 0;
  const auto [x, error] = std::from_chars(text.data(), end, voltage);
  if (error != std::errc() || x == end || (*x != 'x' && *x != 'X') || !(voltage > 0) ||
      voltage > kHighestVoltage) {
    return false;
  }
  std::size_t count = 0;
  const auto [stop, bad] = std::from_chars(x + 1, end, count);
  return bad == std::errc() && stop == end && count > 0 && count <= kMostTestsOfASeries;
}

/// Nothing for a value that is no plan of voltages.
VoltagePlan voltages_in(const TomlValue& value) {
  if (const auto voltage = voltage_of(value)) {
    return {{0, static_cast<float>(*voltage)}};
  }
  if (const auto* list = value.as<TomlList>()) {
    VoltagePlan plan;
    for (const TomlValue& entry : *list) {
      const auto voltage = voltage_of(entry);
      if (!voltage) {
        return {};
      }
      plan.push_back({0, static_cast<float>(*voltage)});
    }
    return plan;
  }
  const std::string text = text_in(value).value_or("");
  if (text == "ascending" || text == "descending") {
    return voltage_plan_of(text == "ascending" ? "A" : "Z");
  }
  return is_repetition(text) ? voltage_plan_of(text) : VoltagePlan{};
}

Key voltages(std::string name, VoltagePlan& target) {
  return {
      std::move(name),
      "a voltage above 0 and up to 10000 V, a list of them, a text like \"10x5\" for five tests "
      "at 10 V, \"ascending\" or \"descending\"",
      [&target](const TomlValue& value) {
        target = voltages_in(value);
        return !target.empty();
      }};
}

Key terminal_pair(std::string name, std::int32_t& target, const std::string& letter) {
  Words<std::int32_t> words;
  for (const char* const pair : {"12", "23", "31", "10", "20", "30"}) {
    std::string text = letter;
    text.append(1, pair[0]).append("-").append(letter).append(1, pair[1]);
    words.emplace_back(std::move(text), static_cast<std::int32_t>(words.size()) + 1);
  }
  return word(std::move(name), target, std::move(words));
}

std::string lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

std::optional<kvr_WindingType> winding_of(const std::string& name) {
  constexpr std::pair<std::string_view, kvr_WindingType> kWindings[] = {{"d", KVR_WINDING_D},
                                                                        {"y", KVR_WINDING_Y},
                                                                        {"yn", KVR_WINDING_YN},
                                                                        {"z", KVR_WINDING_Z},
                                                                        {"zn", KVR_WINDING_ZN}};
  const std::string wanted = lower(name);
  for (const auto& [text, winding] : kWindings) {
    if (text == wanted) {
      return winding;
    }
  }
  return std::nullopt;
}

Key windings(std::string name, PlannedTest& test) {
  return {std::move(name), "two of D, Y, Yn, Z, Zn, like \"Yn-yn\"",
          [&test](const TomlValue& value) {
            const std::string text = text_in(value).value_or("");
            const std::size_t dash = std::min(text.find('-'), text.size());
            const auto high = winding_of(text.substr(0, dash));
            const auto low = winding_of(dash < text.size() ? text.substr(dash + 1) : "");
            test.high_winding = high.value_or(KVR_WINDING_D);
            test.low_winding = low.value_or(KVR_WINDING_D);
            return high && low;
          }};
}

Key shift(std::string name, std::optional<double>& target) {
  return {std::move(name), "a number from -360 to 360 degrees", [&target](const TomlValue& value) {
            target = number_in(value);
            return target && std::abs(*target) <= 360;
          }};
}

Key pause(std::string name, std::int32_t& target) {
  return {std::move(name), "a number from 0 to 3600 s", [&target](const TomlValue& value) {
            const double seconds = number_in(value).value_or(-1);
            const bool good = seconds >= 0 && seconds <= 3600;
            target = good ? static_cast<std::int32_t>(std::lround(seconds * 1000)) : 0;
            return good;
          }};
}

constexpr std::pair<std::string_view, bool Plan::*> kReasonsToStop[] = {
    {"refused", &Plan::stop_on_refused},
    {"outside", &Plan::stop_on_outside},
    {"partial", &Plan::stop_on_partial}};

Key stop_on(std::string name, Plan& plan) {
  return {std::move(name), R"(a list of "refused", "outside", "partial")",
          [&plan](const TomlValue& value) {
            plan.stop_on_refused = plan.stop_on_outside = plan.stop_on_partial = false;
            return take_texts(value, [&plan](const std::string& text) {
              for (const auto& [reason, member] : kReasonsToStop) {
                if (text == reason) {
                  plan.*member = true;
                  return true;
                }
              }
              return false;
            });
          }};
}

Key nameplate_ratio(std::string name, double& target) {
  return {std::move(name), "a number above 0 and up to 1e+09", [&target](const TomlValue& value) {
            target = number_in(value).value_or(0);
            return target > 0 && target <= kHighestRatio;
          }};
}

/// How a three-phase test excites and measures.
Key method(std::string name, PlannedTest& test) {
  using Method = std::pair<kvr_TestingMode, bool>;
  static constexpr std::pair<std::string_view, Method> kMethods[] = {
      {"auto", {KVR_TESTING_MODE_3PH_AUTO, false}},
      {"3-1", {KVR_TESTING_MODE_3PH_3_1, false}},
      {"1-1", {KVR_TESTING_MODE_3PH_1_1, false}},
      {"3-3", {KVR_TESTING_MODE_3PH_3_3, false}},
      {"all", {KVR_TESTING_MODE_3PH_AUTO, true}}};
  return {
      std::move(name), R"(one of "auto", "3-1", "1-1", "3-3", "all")",
      [&test](const TomlValue& value) {
        Method chosen{};
        const bool known =
            word("", chosen, Words<Method>(std::begin(kMethods), std::end(kMethods))).take(value);
        if (known) {
          std::tie(test.method, test.all_methods) = chosen;
        }
        return known;
      }};
}

}  // namespace

std::vector<Key> keys_of(Plan& plan) {
  Words<kvr_ConnectionType> connections{{"usb", KVR_CONNECTION_USB_WIFI}};
  connections.emplace_back("service", KVR_CONNECTION_SERVICE);
  return {word("connection.method", plan.connection, connections),
          text("connection.serial_port", plan.serial_port, kLongestText),
          flag("connection.debug", plan.debug),
          flag("connection.quiet", plan.quiet),
          stop_on("run.stop_on", plan),
          pause("run.pause", plan.pause_ms),
          flag("run.raw_data", plan.raw_data)};
}

Key kind_key(PlannedTest& test) {
  return word("test.kind", test.three_phase, {{"single-phase", false}, {"three-phase", true}});
}

std::vector<Key> keys_of(PlannedTest& test) {
  Words<kvr_TestType> directions{
      {"auto", KVR_TEST_RATIO_AUTO}, {"down", KVR_TEST_RATIO_DOWN}, {"up", KVR_TEST_RATIO_UP}};
  std::vector<Key> keys{text("test.name", test.name, kLongestText),
                        voltages("test.voltages", test.voltages),
                        nameplate_ratio("test.nameplate_ratio", test.nameplate_ratio),
                        text("test.id", test.id, kLongestText), flag("test.stored", test.stored)};
  if (test.three_phase) {
    keys.push_back(word("test.direction", test.direction, directions));
    keys.push_back(method("test.method", test));
    keys.push_back(windings("test.windings", test));
    keys.push_back(whole("test.clock", test.clock, 0, 11));
    keys.push_back(shift("test.shift", test.shift));
  } else {
    directions.emplace_back("ct", KVR_TEST_RATIO_CT);
    keys.push_back(word("test.direction", test.direction, directions));
    keys.push_back(terminal_pair("test.high", test.high_side, "H"));
    keys.push_back(terminal_pair("test.low", test.low_side, "X"));
  }
  return keys;
}

Key limit_key(Limit& limit) {
  return {limit.quantity, "a number for a limit on both sides of 0, or a list [low, high]",
          [&limit](const TomlValue& value) {
            const auto* list = value.as<TomlList>();
            if (list != nullptr && list->size() == 2) {
              const double nothing = std::numeric_limits<double>::quiet_NaN();
              limit.low = number_in(list->front()).value_or(nothing);
              limit.high = number_in(list->back()).value_or(nothing);
            } else {
              limit.high = number_in(value).value_or(-1);
              limit.low = -limit.high;
            }
            return limit.low <= limit.high;
          }};
}
