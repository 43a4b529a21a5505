#pragma once

#include <string>
#include <vector>

#include "report/page/page.h"

// What stands before the results: who, what, where, by which instrument and rule.

namespace report {

std::vector<NamedText> front_matter(const PageContent& content, const Settings& settings);

/// A number with the decimal sign that report.toml asks for.
std::string localized(std::string number, const Settings& settings);

}  // namespace report
