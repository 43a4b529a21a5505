#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "toml/toml_document.h"

// A kit of keys: each says in words what values it takes, and puts a value that it takes where it
// belongs. A target keeps no promise after a value that was not taken.

namespace toml_file {

struct Key {
  std::string name;                            ///< "table.key"
  std::string expected;                        ///< in words, for a problem
  std::function<bool(const TomlValue&)> take;  ///< false for a value other than expected
};

Key flag(std::string name, bool& target);

/// Also takes a whole number. `unit` is said in words, empty for none.
Key number(std::string name, double& target, double low, double high, const std::string& unit);

/// A number from `low` to `high`, of which a hundredth is the target's.
Key percent(std::string name, double& target, double low, double high);

Key whole(std::string name, std::int32_t& target, std::int32_t low, std::int32_t high);

Key power_of_two(std::string name, std::int32_t& target, std::int32_t low, std::int32_t high);

/// Without zero bytes.
Key text(std::string name, std::string& target, std::size_t longest);

/// A date and time in seconds since 1970, or "system" for none.
Key clock(std::string name, std::optional<std::int64_t>& target);

// For keys of other kinds.

std::string number_text(double value);

/// A key may hold any characters; a problem that names it stays on one line.
std::string on_one_line(const std::string& text);

/// What a text or a number says; none for another value.
std::optional<std::string> text_in(const TomlValue& value);
std::optional<double> number_in(const TomlValue& value);
std::optional<std::int32_t> whole_in(const TomlValue& value, std::int32_t low, std::int32_t high);

/// Hands each text of a list to `take`, which says whether it makes sense. False if one does not,
/// or if the value is no list of texts.
bool take_texts(const TomlValue& value, const std::function<bool(const std::string&)>& take);

}  // namespace toml_file
