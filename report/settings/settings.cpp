#include "report/settings/settings.h"

#include <algorithm>
#include <cmath>

#include "toml/toml_keys.h"
#include "toml/toml_problems.h"

namespace report {
namespace {

using toml_file::TomlEntry;
using toml_file::TomlList;
using toml_file::TomlMistake;
using toml_file::TomlTable;
using toml_file::TomlValue;

constexpr std::size_t kLongestFile = 1 << 20;

template <typename Value>
std::optional<Value> found(const std::map<std::string, Value, std::less<>>& map,
                           std::string_view key) {
  const auto at = map.find(key);
  return at == map.end() ? std::nullopt : std::optional(at->second);
}

bool is_choice(std::string_view choices, std::string_view text) {
  while (!choices.empty()) {
    const std::string_view choice = choices.substr(0, choices.find('|'));
    if (choice == text) {
      return true;
    }
    choices.remove_prefix(std::min(choices.size(), choice.size() + 1));
  }
  return false;
}

std::string expectation(const SettingKey& key) {
  switch (key.kind) {
    case ValueKind::kText:
      return "expected a text in quotes";
    case ValueKind::kNumber:
      return "expected a number";
    case ValueKind::kPositive:
      return "expected a number above 0";
    case ValueKind::kNumbers:
      return "expected a list of numbers";
    default: {
      std::string text = "expected one of ";
      for (const char character : key.choices) {
        text += character == '|' ? "\", \"" : std::string(1, character);
      }
      return text.insert(16, "\"") + "\"";
    }
  }
}

bool are_finite(const std::vector<double>& numbers) {
  return std::all_of(numbers.begin(), numbers.end(),
                     [](double each) { return std::isfinite(each); });
}

/// Nothing for anything but a list of numbers.
std::optional<std::vector<double>> numbers_in(const TomlValue& value) {
  const auto* const list = value.as<TomlList>();
  if (list == nullptr) {
    return std::nullopt;
  }
  std::vector<double> numbers;
  for (const TomlValue& each : *list) {
    const auto number = toml_file::number_in(each);
    if (!number) {
      return std::nullopt;
    }
    numbers.push_back(*number);
  }
  return numbers;
}

/// Takes a value into the settings; false for one of another kind.
bool take(Settings& settings, const SettingKey& key, const TomlValue& value) {
  const std::string name(key.key);
  if (const auto* const text = value.as<std::string>()) {
    settings.texts[name] = *text;
    return key.kind == ValueKind::kText ||
           (key.kind == ValueKind::kChoice && is_choice(key.choices, *text));
  }
  if (const auto number = toml_file::number_in(value)) {
    settings.values[name] = *number;
    return std::isfinite(*number) &&
           (key.kind == ValueKind::kNumber || (key.kind == ValueKind::kPositive && *number > 0));
  }
  if (auto list = numbers_in(value)) {
    const bool is_taken = key.kind == ValueKind::kNumbers && are_finite(*list);
    settings.lists[name] = std::move(*list);
    return is_taken;
  }
  return false;
}

/// A value and its key with its table, as "nameplate.high_voltage".
struct KeyedValue {
  std::string key;
  const TomlValue* value;
};

void add_values(std::vector<KeyedValue>& values, const TomlTable& table,
                const std::string& prefix) {
  for (const TomlEntry& entry : table) {
    if (const auto* const inner = entry.value.as<TomlTable>()) {
      add_values(values, *inner, prefix + entry.key + ".");
    } else {
      values.push_back({prefix + entry.key, &entry.value});
    }
  }
}

/// In the order of their lines.
std::vector<KeyedValue> values_of(const TomlTable& document) {
  std::vector<KeyedValue> values;
  add_values(values, document, "");
  std::stable_sort(values.begin(), values.end(), [](const KeyedValue& a, const KeyedValue& b) {
    return a.value->line < b.value->line;
  });
  return values;
}

bool is_date(std::string_view text) {
  if (text.size() != 10 || text[4] != '-' || text[7] != '-') {
    return false;
  }
  for (const std::size_t digit : {0U, 1U, 2U, 3U, 5U, 6U, 8U, 9U}) {
    if (text[digit] < '0' || text[digit] > '9') {
      return false;
    }
  }
  const std::string_view month = text.substr(5, 2);
  const std::string_view day = text.substr(8, 2);
  return month >= "01" && month <= "12" && day >= "01" && day <= "31";
}

/// What a value of the right kind must hold beyond that; empty if it does.
std::string further_expectation(const Settings& settings, std::string_view key) {
  const std::string text = settings.text(key).value_or("");
  if ((key == "report.date" || key == "instrument.calibration_date") && !is_date(text)) {
    return "expected a date, YYYY-MM-DD";
  }
  if (key == "nameplate.accuracy_class" && find_class(current_classes(), text) == nullptr &&
      find_class(voltage_classes(), text) == nullptr) {
    return "expected a class: 0.1, 0.2, 0.2S, 0.5, 0.5S, 1 or 3";
  }
  if (key == "current_transformer.power_factor" &&
      std::abs(settings.number(key).value_or(0) - 0.5) > 0.5) {
    return "expected a number from 0 to 1";
  }
  return {};
}

/// Lists that stand beside each other need equal lengths.
constexpr std::pair<std::string_view, std::string_view> kEqualLengths[] = {
    {"errors.ratio", "errors.percent_of_rated"},
    {"errors.displacement", "errors.percent_of_rated"},
    {"errors.standard_ratio", "errors.percent_of_rated"},
    {"errors.standard_displacement", "errors.percent_of_rated"},
    {"core_losses.losses", "core_losses.frequencies"},
    {"core_losses.flux", "core_losses.frequencies"},
    {"heat_run.resistances", "heat_run.times"},
};

}  // namespace

std::optional<std::string> Settings::text(std::string_view key) const { return found(texts, key); }

std::optional<double> Settings::number(std::string_view key) const { return found(values, key); }

std::vector<double> Settings::numbers(std::string_view key) const {
  return found(lists, key).value_or(std::vector<double>{});
}

Settings::StatedLimit Settings::limit(std::string_view key) const {
  const LimitRow& row = limit_row(key);
  if (const auto stated = number("limits." + std::string(key))) {
    return {*stated, "report.toml"};
  }
  return {row.value, std::string(row.source)};
}

DecisionRule Settings::rule() const {
  return {text("decision.rule") == "guard band", number("decision.guard_factor").value_or(1)};
}

std::optional<Conductor> Settings::conductor() const {
  const auto name = text("nameplate.conductor");
  if (!name) {
    return std::nullopt;
  }
  return *name == kCopper.name ? kCopper : kAluminium;
}

SettingsResult read_settings(std::string_view text, std::string_view file_name) {
  SettingsResult result;
  std::map<std::string, unsigned, std::less<>> lines;
  toml_file::Problems problems(file_name);
  if (text.size() > kLongestFile) {
    problems.add(1, "", "expected at most 1 MiB");
    result.problems = problems.in_order();
    return result;
  }
  const auto parsed = toml_file::read_toml(text);
  if (const auto* const mistake = std::get_if<TomlMistake>(&parsed)) {
    problems.add(mistake->line, "", mistake->expected);
    result.problems = problems.in_order();
    return result;
  }
  for (const auto& [name, value] : values_of(std::get<TomlTable>(parsed))) {
    const auto key =
        std::find_if(setting_keys().begin(), setting_keys().end(),
                     [&name = name](const SettingKey& each) { return each.key == name; });
    if (key == setting_keys().end()) {
      problems.add(value->line, name, "no such key; kvr-report --example lists them");
    } else if (!take(result.settings, *key, *value)) {
      problems.add(value->line, name, expectation(*key));
    } else if (const std::string further = further_expectation(result.settings, key->key);
               !further.empty()) {
      problems.add(value->line, name, further);
    }
    lines[name] = value->line;
  }
  for (const auto& [key, other] : kEqualLengths) {
    if (lines.contains(key) &&
        result.settings.numbers(key).size() != result.settings.numbers(other).size()) {
      problems.add(lines.find(key)->second, key,
                   "expected as many values as " + std::string(other));
    }
  }
  result.problems = problems.in_order();
  return result;
}

std::string example_settings() {
  std::string text =
      "# What kvr-report can't know from records. Every key may be left out: the page then reads\n"
      "# \"not stated\", or uses the limit of its table.\n";
  std::string table;
  for (const SettingKey& key : setting_keys()) {
    const std::string_view of_table = key.key.substr(0, key.key.find('.'));
    if (of_table != table) {
      table = of_table;
      text += "\n[" + table + "]\n";
    }
    if (!key.meaning.empty()) {
      text += "# " + std::string(key.meaning) + "\n";
    }
    text += "# " + std::string(key.key.substr(key.key.find('.') + 1)) + " = " +
            std::string(key.example) + "\n";
  }
  return text;
}

}  // namespace report
