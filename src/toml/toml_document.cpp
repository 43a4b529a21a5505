#include "toml/toml_document.h"

#include <utf8cpp/utf8.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <optional>

#include "toml/ascii_copy.h"

// toml++ asserts that table headers and times begin as they should, and reports it right after if
// they don't. So its assertions are off, also as hints to the optimizer, which NDEBUG makes of
// them.
#undef NDEBUG
#define TOML_ASSERT(condition) static_cast<void>(0)
#define TOML_EXCEPTIONS 1
#define TOML_ENABLE_FORMATTERS 0
#define TOML_MAX_NESTED_VALUES 12
// Off by default for compilers older than ours; otherwise each number takes a stream of its own.
#define TOML_FLOAT_CHARCONV 1
#include <toml++/toml.h>

namespace toml_file {
namespace {

constexpr std::string_view kByteOrderMark = "\xef\xbb\xbf";
constexpr std::ptrdiff_t kMostDots = 200;

unsigned lines_in(std::string_view text) {
  return static_cast<unsigned>(std::count(text.begin(), text.end(), '\n'));
}

std::optional<TomlMistake> mistake_in_encoding(std::string_view text) {
  const auto* const stop = utf8::find_invalid(text.begin(), text.end());
  if (stop == text.end()) {
    return std::nullopt;
  }
  return TomlMistake{1 + lines_in({text.begin(), stop}), "expected UTF-8"};
}

std::optional<TomlMistake> mistake_in_dots(std::string_view text) {
  for (unsigned line = 1; !text.empty(); ++line) {
    const std::string_view here = text.substr(0, text.find('\n'));
    if (std::count(here.begin(), here.end(), '.') > kMostDots) {
      return TomlMistake{line, "expected at most " + std::to_string(kMostDots) + " dots in a line"};
    }
    text.remove_prefix(std::min(text.size(), here.size() + 1));
  }
  return std::nullopt;
}

std::string_view text_from(toml::source_position position, std::string_view text) {
  for (toml::source_index line = 1; line < position.line; ++line) {
    text.remove_prefix(text.find('\n') + 1);
  }
  return text.substr(std::min(text.size(), std::size_t{position.column} - 1));
}

TomlMistake mistake_of(const toml::parse_error& error, std::string_view copy) {
  const toml::source_position position = error.source().begin;
  if (begins_beyond_ascii(text_from(position, copy))) {
    return {position.line, "expected plain letters outside quotes and after a backslash"};
  }
  return {position.line, original_of(error.description())};
}

std::int64_t seconds_since_1970(const toml::date_time& moment) {
  const std::chrono::sys_days day =
      std::chrono::year{moment.date.year} / moment.date.month / moment.date.day;
  const std::int64_t minutes = std::int64_t{moment.time.hour} * 60 + moment.time.minute -
                               moment.offset.value_or(toml::time_offset{}).minutes;
  return std::int64_t{day.time_since_epoch().count()} * 86400 + minutes * 60 + moment.time.second;
}

TomlTable table_of(const toml::table& nodes);
TomlList list_of(const toml::array& nodes);

decltype(TomlValue::content) content_of(const toml::node& node) {
  switch (node.type()) {
    case toml::node_type::table:
      return table_of(*node.as_table());
    case toml::node_type::array:
      return list_of(*node.as_array());
    case toml::node_type::string:
      return original_of(node.as_string()->get());
    case toml::node_type::integer:
      return node.as_integer()->get();
    case toml::node_type::floating_point:
      return node.as_floating_point()->get();
    case toml::node_type::boolean:
      return node.as_boolean()->get();
    case toml::node_type::date_time:
      if (const toml::date_time& moment = node.as_date_time()->get(); moment.offset) {
        return TomlMoment{seconds_since_1970(moment)};
      }
      return TomlLocalTime{};
    default:
      return TomlLocalTime{};  // a date or a time alone
  }
}

TomlValue value_of(const toml::node& node) { return {node.source().begin.line, content_of(node)}; }

TomlList list_of(const toml::array& nodes) {
  TomlList list;
  for (const toml::node& node : nodes) {
    list.push_back(value_of(node));
  }
  return list;
}

TomlTable table_of(const toml::table& nodes) {
  TomlTable table;
  for (const auto& [key, node] : nodes) {
    table.push_back({original_of(key.str()), value_of(node)});
  }
  return table;
}

}  // namespace

std::variant<TomlTable, TomlMistake> read_toml(std::string_view text) {
  if (auto mistake = mistake_in_encoding(text)) {
    return *mistake;
  }
  if (auto mistake = mistake_in_dots(text)) {
    return *mistake;
  }
  if (text.starts_with(kByteOrderMark)) {
    text.remove_prefix(kByteOrderMark.size());
  }
  const std::string copy = ascii_copy(text);
  try {
    return table_of(toml::parse(copy));
  } catch (const toml::parse_error& error) {
    return mistake_of(error, copy);
  }
}

}  // namespace toml_file
