#include "virtual_instrument/bench/bench_reader.h"

#include <algorithm>
#include <functional>
#include <initializer_list>
#include <map>
#include <stdexcept>
#include <utility>

#include "toml/toml_document.h"
#include "toml/toml_problems.h"
#include "virtual_instrument/bench/bench_agreements.h"
#include "virtual_instrument/bench/bench_keys.h"

namespace virtual_instrument {

using namespace toml_file;

namespace {

constexpr std::string_view kFaults = "faults";
constexpr std::string_view kShortedTurns = "shorted_turns";

std::string full_name(std::string_view table, std::string_view key) {
  return std::string(table) + "." + std::string(key);
}

bool is_in(const Key& key, std::string_view table) {
  return key.name.size() > table.size() && key.name[table.size()] == '.' &&
         key.name.starts_with(table);
}

bool is_table(std::string_view name, const std::vector<Key>& keys) {
  return std::any_of(keys.begin(), keys.end(), [name](const Key& key) { return is_in(key, name); });
}

const Key* find_key(const std::string& full_name, const std::vector<Key>& keys) {
  const auto found = std::find_if(keys.begin(), keys.end(),
                                  [&full_name](const Key& key) { return key.name == full_name; });
  return found == keys.end() ? nullptr : &*found;
}

std::string tables(const std::vector<Key>& keys) {
  std::string names;
  for (const Key& key : keys) {
    const std::string table = key.name.substr(0, key.name.find('.'));
    if (!names.ends_with(table + ", ")) {
      names += table + ", ";
    }
  }
  return names + std::string(kShortedTurns) + ", " + std::string(kFaults);
}

std::string keys_in(std::string_view table, const std::vector<Key>& keys) {
  std::string names;
  for (const Key& key : keys) {
    if (is_in(key, table)) {
      names += (names.empty() ? "" : ", ") + key.name.substr(table.size() + 1);
    }
  }
  return names;
}

bool has(const TomlTable& table, std::string_view key) {
  return std::any_of(table.begin(), table.end(),
                     [key](const TomlEntry& entry) { return entry.key == key; });
}

bool is_list_of_tables(const TomlValue& value) {
  const auto* list = value.as<TomlList>();
  return list != nullptr && !list->empty() &&
         std::all_of(list->begin(), list->end(),
                     [](const TomlValue& entry) { return entry.as<TomlTable>() != nullptr; });
}

/// Collects what is read of one document.
class Reader {
 public:
  Reader(std::string_view name, const Bench& base) : problems_(name) { reading_.bench = base; }

  BenchReading read(std::string_view text) {
    const auto document = read_toml(text);
    if (const auto* mistake = std::get_if<TomlMistake>(&document)) {
      problems_.add(mistake->line, "", mistake->expected);
    } else {
      read_tables(std::get<TomlTable>(document));
    }
    if (problems_.empty()) {
      check_agreements();
    }
    reading_.problems = problems_.in_order();
    return std::move(reading_);
  }

 private:
  void read_tables(const TomlTable& document) {
    reading_.bench.faults.clear();
    reading_.bench.defects.shorted_turns.clear();
    const std::vector<Key> keys = keys_of(reading_.bench);
    for (const auto& [name, value] : document) {
      if (name == kFaults) {
        read_list(kFaults, value, reading_.bench.faults, {"call"});
      } else if (name == kShortedTurns) {
        read_list(kShortedTurns, value, reading_.bench.defects.shorted_turns,
                  {"winding", "share", "resistance"});
      } else if (const auto* table = value.as<TomlTable>(); table && is_table(name, keys)) {
        read_table(name, *table, keys);
      } else {
        problems_.add(value.line, name, "expected one of the tables " + tables(keys));
      }
    }
  }

  void read_table(std::string_view name, const TomlTable& table, const std::vector<Key>& keys) {
    for (const auto& [key, value] : table) {
      const std::string full = full_name(name, key);
      const Key* known = find_key(full, keys);
      if (known == nullptr) {
        problems_.add(value.line, full, "no such key; expected one of " + keys_in(name, keys));
      } else if (!known->take(value)) {
        problems_.add(value.line, full, "expected " + known->expected);
      } else {
        reading_.given.push_back(full);
        lines_.emplace(full, value.line);
      }
    }
  }

  /// Reads the tables of a list, each of which has to hold the keys `required`.
  template <typename Entry>
  void read_list(std::string_view name, const TomlValue& value, std::vector<Entry>& entries,
                 std::initializer_list<std::string_view> required) {
    if (!is_list_of_tables(value)) {
      problems_.add(value.line, name, "expected tables [[" + std::string(name) + "]]");
      return;
    }
    const TomlList& list = *value.as<TomlList>();
    lines_.emplace(name, list.front().line);
    for (const TomlValue& entry : list) {
      const TomlTable& table = *entry.as<TomlTable>();
      const std::vector<Key> keys = keys_of(entries.emplace_back());
      read_table(name, table, keys);
      for (const std::string_view key : required) {
        if (!has(table, key)) {
          const std::string full = full_name(name, key);
          problems_.add(entry.line, full, "missing; expected " + find_key(full, keys)->expected);
        }
      }
    }
  }

  /// The base agrees with itself, so that only what is given can be at fault.
  void check_agreements() {
    for (const Agreement& agreement : agreements()) {
      if (agreement.holds(reading_.bench)) {
        continue;
      }
      for (const std::string_view key : agreement.keys) {
        if (const auto given = lines_.find(key); given != lines_.end()) {
          problems_.add(given->second, key, std::string(agreement.expected));
          break;
        }
      }
    }
  }

  BenchReading reading_;
  Problems problems_;
  std::map<std::string, unsigned, std::less<>> lines_;  ///< of the keys and lists that are given
};

}  // namespace

BenchReading read_bench(std::string_view text, std::string_view name, const Bench& base) {
  return Reader(name, base).read(text);
}

std::vector<std::string> bench_keys() {
  Bench bench{};
  std::vector<std::string> names;
  for (Key& key : keys_of(bench)) {
    names.push_back(std::move(key.name));
  }
  return names;
}

const Bench& built_in_bench() {
  static const Bench* const bench = [] {
    BenchReading reading = read_bench(kBuiltInBenchText, "default.toml", Bench{});
    if (!reading.problems.empty()) {
      throw std::logic_error(reading.problems.front());
    }
    return new Bench(std::move(reading.bench));
  }();
  return *bench;
}

}  // namespace virtual_instrument
