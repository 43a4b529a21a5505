#pragma once

#include <string>

/// The lines around the first one in which two texts differ, as "-" for expected and "+" for
/// actual; empty for equal texts.
std::string text_difference(const std::string& expected, const std::string& actual);
