#include "plan/plan_reader.h"

#include <algorithm>
#include <set>
#include <variant>

#include "plan/plan_keys.h"
#include "plan/plan_replacements.h"
#include "plan/record_ids.h"
#include "plan/verdict.h"
#include "toml/toml_document.h"
#include "toml/toml_problems.h"

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
  explicit Reader(const std::string& name) : problems_(name) { reading_.plan.file = name; }

  PlanReading read(std::string_view text, const std::vector<std::string>& replacements) {
    auto document = read_toml(text);
    if (const auto* mistake = std::get_if<TomlMistake>(&document)) {
      problems_.add(mistake->line, "", mistake->expected);
    } else {
      auto& tables = std::get<TomlTable>(document);
      for (const std::string& replacement : replacements) {
        if (const auto wrong = replace_value(tables, replacement)) {
          problems_.add(0, replacement, *wrong);
        }
      }
      read_tables(tables);
    }
    reading_.problems = problems_.in_order();
    return std::move(reading_);
  }

 private:
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
        problems_.add(entry.value.line, entry.key,
                      "expected one of the tables connection, item, run, limits, test");
      }
    }
    if (tests == nullptr) {
      problems_.add(1, "test", "missing; expected tables [[test]]");
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
        problems_.add(value.line, full, "no such key; expected one of " + names_in(name, keys));
      } else if (!known->take(value)) {
        problems_.add(value.line, full, "expected " + known->expected);
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
        problems_.add(value.line, "item." + key,
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
      problems_.add(value.line, "test", "expected 1 to 10000 tables [[test]]");
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
      problems_.add(said == nullptr ? line : said->line, "test.kind",
                    (said == nullptr ? "missing; expected " : "expected ") + kind.expected);
      return;
    }
    test.voltages = voltage_plan_of("");
    TomlTable others = given;
    std::erase_if(others, [](const TomlEntry& entry) {
      return entry.key == "kind" || entry.key == "limits";
    });
    const std::size_t before = problems_.size();
    read_table("test", others, keys_of(test));
    const TomlValue* const own_limits = find(given, "limits");
    const TomlTable* limits = common_limits_;
    if (own_limits != nullptr) {
      limits = own_limits->as<TomlTable>();
      if (limits == nullptr) {
        problems_.add(own_limits->line, "test.limits", "expected a table");
      }
    }
    if (limits != nullptr) {
      read_limits(test, *limits, own_limits == nullptr, own_limits ? own_limits->line : line);
    }
    if (problems_.size() == before) {
      check_agreements(test, given, line);
    }
  }

  /// Of the limits of all tests a test takes those that it has.
  void read_limits(PlannedTest& test, const TomlTable& limits, bool common, unsigned line) {
    const std::vector<std::string> known = quantities(test.three_phase);
    for (const auto& [name, value] : limits) {
      if (std::find(known.begin(), known.end(), name) == known.end()) {
        if (!common) {
          problems_.add(value.line, "test.limits." + name,
                        "no such number of a result; expected one of " + joined(known));
        }
        continue;
      }
      Limit limit{name, 0, 0};
      const Key key = limit_key(limit);
      if (!key.take(value)) {
        problems_.add(value.line, (common ? "limits." : "test.limits.") + name,
                      "expected " + key.expected);
      } else if (needs_nameplate_ratio(name) && test.nameplate_ratio == 0) {
        problems_.add(line, "test.nameplate_ratio", "missing; the limit of " + name + " needs it");
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
        problems_.add(value.line, "limits." + name,
                      "no such number of a result; expected one of " + joined(known));
      }
    }
  }

  void check_agreements(PlannedTest& test, const TomlTable& given, unsigned line) {
    if (find(given, "clock") != nullptr && find(given, "shift") != nullptr) {
      problems_.add(line, "test.shift", "expected a clock or a shift, not both");
    }
    const TomlValue* const method = find(given, "method");
    if (method != nullptr && test.direction == KVR_TEST_RATIO_AUTO && text_in(*method) != "auto") {
      problems_.add(method->line, "test.method",
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
        problems_.add(lines_[i], "test.id", kExpectedId);
      } else if (!used.insert(*id).second) {
        problems_.add(lines_[i], "test.id", "another test of the plan has the ID " + *id);
      } else {
        test.id = *id;
      }
    }
  }

  PlanReading reading_;
  Problems problems_;
  std::vector<unsigned> lines_;  ///< of the tests
  const TomlTable* common_limits_ = nullptr;
};

}  // namespace

PlanReading read_plan(std::string_view text, const std::string& name,
                      const std::vector<std::string>& replacements) {
  return Reader(name).read(text, replacements);
}
