#include "plan/plan_replacements.h"

#include <algorithm>
#include <charconv>

using namespace toml_file;

namespace {

constexpr std::string_view kTest = "test";

TomlValue value_of(const std::string& text) {
  const auto read = read_toml("value = " + text);
  const auto* table = std::get_if<TomlTable>(&read);
  if (table == nullptr || table->size() != 1) {
    return {0, text};
  }
  return {0, table->front().value.content};
}

void set(TomlTable& table, const std::string& key, const TomlValue& value) {
  const auto found = std::find_if(table.begin(), table.end(),
                                  [&key](const TomlEntry& entry) { return entry.key == key; });
  if (found == table.end()) {
    table.push_back({key, value});
  } else {
    found->value = value;
  }
}

TomlValue* find(TomlTable& table, std::string_view key) {
  const auto found = std::find_if(table.begin(), table.end(),
                                  [key](const TomlEntry& entry) { return entry.key == key; });
  return found == table.end() ? nullptr : &found->value;
}

/// The tests of a document that are tables.
std::vector<TomlTable*> tests_of(TomlTable& document) {
  std::vector<TomlTable*> tests;
  TomlValue* const value = find(document, kTest);
  if (auto* list = value == nullptr ? nullptr : std::get_if<TomlList>(&value->content)) {
    for (TomlValue& entry : *list) {
      if (auto* table = std::get_if<TomlTable>(&entry.content)) {
        tests.push_back(table);
      }
    }
  }
  return tests;
}

/// `key` is "id" for all tests or "2.id" for one.
std::optional<std::string> replace_in_tests(TomlTable& document, const std::string& key,
                                            const TomlValue& value) {
  const std::vector<TomlTable*> tests = tests_of(document);
  std::size_t number = 0;
  const char* const end = key.data() + key.size();
  const auto [stop, error] = std::from_chars(key.data(), end, number);
  if (error != std::errc()) {
    for (TomlTable* test : tests) {
      set(*test, key, value);
    }
    return std::nullopt;
  }
  if (stop == end || *stop != '.' || number == 0 || number > tests.size()) {
    return "the plan has no such test";
  }
  set(*tests[number - 1], {stop + 1, end}, value);
  return std::nullopt;
}

}  // namespace

std::optional<std::string> replace_value(TomlTable& document, const std::string& words) {
  const std::size_t equals = words.find('=');
  const std::size_t dot = words.find('.');
  if (equals == std::string::npos || dot > equals || dot == 0 || dot + 1 == equals) {
    return "expected TABLE.KEY=VALUE";
  }
  const std::string table = words.substr(0, dot);
  const std::string key = words.substr(dot + 1, equals - dot - 1);
  const TomlValue value = value_of(words.substr(equals + 1));
  if (table == kTest) {
    return replace_in_tests(document, key, value);
  }
  TomlValue* found = find(document, table);
  if (found == nullptr) {
    document.push_back({table, {0, TomlTable{}}});
    found = &document.back().value;
  }
  if (auto* entries = std::get_if<TomlTable>(&found->content)) {
    set(*entries, key, value);
    return std::nullopt;
  }
  return table + " is no table";
}
