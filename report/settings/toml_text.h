#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

// The keys and values of a TOML text, with their lines. The one place that knows the parser.

namespace report {

using TomlContent = std::variant<std::monostate, bool, double, std::string, std::vector<double>,
                                 std::vector<std::string>>;

struct TomlLine {
  std::string key;  ///< with its table, as "nameplate.high_voltage"
  unsigned line;
  TomlContent content;  ///< nothing for a value of another kind
};

struct TomlMistake {
  unsigned line;
  std::string expected;
};

/// In the order of lines. Reads any bytes at all; not taken are texts of more than a megabyte, and
/// letters beyond ASCII outside quotes and comments.
std::variant<std::vector<TomlLine>, TomlMistake> read_toml(std::string_view text);

}  // namespace report
