#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

// A TOML document as values with their lines. The one place that knows which parser is used.

namespace toml_file {

struct TomlValue;
struct TomlEntry;
using TomlList = std::vector<TomlValue>;
using TomlTable = std::vector<TomlEntry>;

/// A date and time with its offset.
struct TomlMoment {
  std::int64_t seconds;  ///< since 1970
};

/// A date or a time of which TOML does not say where it holds.
struct TomlLocalTime {};

struct TomlValue {
  unsigned line;
  std::variant<bool, std::int64_t, double, std::string, TomlMoment, TomlLocalTime, TomlList,
               TomlTable>
      content;

  /// What the value holds, or null if it holds something else.
  template <typename Content>
  const Content* as() const {
    return std::get_if<Content>(&content);
  }
};

struct TomlEntry {
  std::string key;
  TomlValue value;
};

/// Why a text is no TOML document.
struct TomlMistake {
  unsigned line;
  std::string expected;
};

/// Reads any bytes at all. Not taken, although TOML has them: texts that are not well-formed UTF-8,
/// lines of more than a thousand dots and values within more than a dozen others, since keys of
/// many parts and values within values take stack.
std::variant<TomlTable, TomlMistake> read_toml(std::string_view text);

}  // namespace toml_file
