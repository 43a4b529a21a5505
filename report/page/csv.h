#pragma once

#include <string>

#include "report/sections/section.h"
#include "report/settings/settings.h"

namespace report {

/// A table as CSV with the exact values. A text is in quotes where it holds what separates; with a
/// decimal comma the separator is a semicolon.
std::string csv_text(const Table& table, const Settings& settings);

}  // namespace report
