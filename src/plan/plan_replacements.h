#pragma once

#include <optional>
#include <string>

#include "toml/toml_document.h"

/// Puts a value of the command line, "table.key=value", into a plan's document in place of the one
/// that is there, if any. Its line is 0. Gives what is wrong with it, if anything.
std::optional<std::string> replace_value(toml_file::TomlTable& document, const std::string& words);
