#include "plan/plan_reader.h"

#include <algorithm>
#include <set>
#include <variant>

#include "plan/plan_keys.h"
#include "plan/plan_replacements.h"
#include "plan/record_ids.h"
#include "plan/verdict.h"
#include "toml/toml_document.h"

using namespace toml_file;

namespace {

constexpr std::size_t kMostTestsOfAPlan = 10000;
constexpr std::size_t kLongestItemText = 1000;

std::string joined(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) {
    text += (text.empty() ? "" : ", ") + name;
  }
  return text;
}

/// Collects what is read of one document.
class Reader {
 public:
  explicit Reader(const std::string& name) { reading_.plan.file = name; }

  PlanReading read(std::string_view text, const std::vector<std::string>& replacements) {
    auto document = read_toml(text);
    if (const auto* mistake = std::get_if<TomlMistake>(&document)) {
      problem(mistake->line, "", mistake->expected);
    } else {
      auto& tables = std::get<TomlTable>(document);
      for (const std::string& replacement : replacements) {
        if (const auto wrong = replace_value(tables, replacement)) {
          problem(0, replacement, *wrong);
        }
      }
      read_tables(tables);
    }
    // Tables come in the order of their names, people read from the top.
    std::stable_sort(found_.begin(), found_.end(),
                     [](const Found& a, const Found& b) { return a.line < b.line; });
    for (Found& found : found_) {
      reading_.problems.push_back(std::move(found.text));
    }
    return std::move(reading_);
  }

 private:
  struct Found {
    unsigned line;
    std::string text;
  };

  void read_tables(const TomlTable& document) {
    const TomlEntry* tests = nullptr;
    for (const TomlEntry& entry : document) {
      const auto* table = entry.value.as<TomlTable>();
      if (entry.key == "test") {
        tests = &entry;
      } else if (table != nullptr && (entry.key == "connection" || entry.key == "run")) {
        read_table(entry.key, *table, keys_of(reading_.plan));
      } else if (table != nullptr && entry.key == "item") {
        read_item(*table);
      } else if (table != nullptr && entry.key == "limits") {
        common_limits_ = table;
      } else {
        problem(entry.value.line, entry.key,
                "expected one of the tables connection, item, run, limits, test");
      }
    }
    if (tests == nullptr) {
      problem(1, "test", "missing; expected tables [[test]]");
      return;
    }
    read_tests(tests->value);
    check_common_limits();
    check_ids();
  }

  /// `keys` are those of this table and of others.
  void read_table(const std::string& name, const TomlTable& table, const std::vector<Key>& keys) {
    for (const auto& [key, value] : table) {
      std::string full = name;
      full.append(".").append(key);
      const auto known = std::find_if(keys.begin(), keys.end(),
                                      [&full](const Key& each) { return each.name == full; });
      if (known == keys.end()) {
        problem(value.line, full, "no such key; expected one of " + names_in(name, keys));
      } else if (!known->take(value)) {
        problem(value.line, full, "expected " + known->expected);
      }
    }
  }

  static std::string names_in(const std::string& table, const std::vector<Key>& keys) {
    std::vector<std::string> names;
    for (const Key& key : keys) {
      if (key.name.starts_with(table + ".")) {
        names.push_back(key.name.substr(table.size() + 1));
      }
    }
    return joined(names);
  }

  void read_item(const TomlTable& table) {
    for (const auto& [key, value] : table) {
      const auto number = number_in(value);
      const auto text = number ? number_text(*number) : text_in(value);
      if (!text || text->size() > kLongestItemText) {
        problem(value.line, "item." + key,
                "expected a text of at most 1000 characters, or a number");
      } else {
        reading_.plan.item.emplace_back(key, *text);
      }
    }
  }

  void read_tests(const TomlValue& value) {
    const auto* list = value.as<TomlList>();
    if (list == nullptr || list->empty() || list->size() > kMostTestsOfAPlan ||
        !std::all_of(list->begin(), list->end(),
                     [](const TomlValue& entry) { return entry.as<TomlTable>() != nullptr; })) {
      problem(value.line, "test", "expected 1 to 10000 tables [[test]]");
      return;
    }
    for (const TomlValue& entry : *list) {
      lines_.push_back(entry.line);
      PlannedTest& test = reading_.plan.tests.emplace_back();
      test.name = "test " + std::to_string(reading_.plan.tests.size());
      read_test(test, *entry.as<TomlTable>(), entry.line);
    }
  }

  static const TomlValue* find(const TomlTable& table, std::string_view key) {
    const auto found = std::find_if(table.begin(), table.end(),
                                    [key](const TomlEntry& entry) { return entry.key == key; });
    return found == table.end() ? nullptr : &found->value;
  }

  void read_test(PlannedTest& test, const TomlTable& given, unsigned line) {
    const Key kind = kind_key(test);
    const TomlValue* const said = find(given, "kind");
    if (said == nullptr || !kind.take(*said)) {
      // Which keys the others may be depends on it, so they wait.
      problem(said == nullptr ? line : said->line, "test.kind",
              (said == nullptr ? "missing; expected " : "expected ") + kind.expected);
      return;
    }
    test.voltages = voltage_plan_of("");
    TomlTable others = given;
    std::erase_if(others, [](const TomlEntry& entry) {
      return entry.key == "kind" || entry.key == "limits";
    });
    const std::size_t before = found_.size();
    read_table("test", others, keys_of(test));
    const TomlValue* const own_limits = find(given, "limits");
    const TomlTable* limits = common_limits_;
    if (own_limits != nullptr) {
      limits = own_limits->as<TomlTable>();
      if (limits == nullptr) {
        problem(own_limits->line, "test.limits", "expected a table");
      }
    }
    if (limits != nullptr) {
      read_limits(test, *limits, own_limits == nullptr, own_limits ? own_limits->line : line);
    }
    if (found_.size() == before) {
      check_agreements(test, given, line);
    }
  }

  /// Of the limits of all tests a test takes those that it has.
  void read_limits(PlannedTest& test, const TomlTable& limits, bool common, unsigned line) {
    const std::vector<std::string> known = quantities(test.three_phase);
    for (const auto& [name, value] : limits) {
      if (std::find(known.begin(), known.end(), name) == known.end()) {
        if (!common) {
          problem(value.line, "test.limits." + name,
                  "no such number of a result; expected one of " + joined(known));
        }
        continue;
      }
      Limit limit{name, 0, 0};
      const Key key = limit_key(limit);
      if (!key.take(value)) {
        problem(value.line, (common ? "limits." : "test.limits.") + name,
                "expected " + key.expected);
      } else if (needs_nameplate_ratio(name) && test.nameplate_ratio == 0) {
        problem(line, "test.nameplate_ratio", "missing; the limit of " + name + " needs it");
      }
      test.limits.push_back(limit);
    }
  }

  void check_common_limits() {
    if (common_limits_ == nullptr) {
      return;
    }
    std::vector<std::string> known = quantities(true);
    for (const auto& [name, value] : *common_limits_) {
      if (std::find(known.begin(), known.end(), name) == known.end()) {
        problem(value.line, "limits." + name,
                "no such number of a result; expected one of " + joined(known));
      }
    }
  }

  void check_agreements(PlannedTest& test, const TomlTable& given, unsigned line) {
    if (find(given, "clock") != nullptr && find(given, "shift") != nullptr) {
      problem(line, "test.shift", "expected a clock or a shift, not both");
    }
    const TomlValue* const method = find(given, "method");
    if (method != nullptr && test.direction == KVR_TEST_RATIO_AUTO && text_in(*method) != "auto") {
      problem(method->line, "test.method",
              "a test of the direction \"auto\" chooses its method itself");
    }
    if (test.all_methods) {
      test.voltages = for_all_methods(test.voltages);
    }
  }

  void check_ids() {
    std::set<std::string> used;
    for (std::size_t i = 0; i < reading_.plan.tests.size(); ++i) {
      PlannedTest& test = reading_.plan.tests[i];
      if (test.id.empty()) {
        continue;
      }
      const auto id = made_record_id(test.id, reading_.plan, i + 1);
      if (!id) {
        problem(lines_[i], "test.id", kExpectedId);
      } else if (!used.insert(*id).second) {
        problem(lines_[i], "test.id", "another test of the plan has the ID " + *id);
      } else {
        test.id = *id;
      }
    }
  }

  void problem(unsigned line, const std::string& key, const std::string& what) {
    const std::string where = line == 0 ? "-e" : reading_.plan.file + ":" + std::to_string(line);
    const std::string text = where + ": " + (key.empty() ? "" : key + ": ") + what;
    const std::string shown = on_one_line(text);
    if (std::none_of(found_.begin(), found_.end(),
                     [&shown](const Found& found) { return found.text == shown; })) {
      found_.push_back({line, shown});
    }
  }

  PlanReading reading_;
  std::vector<Found> found_;
  std::vector<unsigned> lines_;  ///< of the tests
  const TomlTable* common_limits_ = nullptr;
};

}  // namespace

PlanReading read_plan(std::string_view text, const std::string& name,
                      const std::vector<std::string>& replacements) {
  return Reader(name).read(text, replacements);
}
