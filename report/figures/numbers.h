#pragma once

#include <string>
#include <string_view>

// Numbers as text by std::to_chars: the same characters on every system and in every locale.

namespace report {

/// With `decimals` digits after the point. Never "-0.00"; what is no finite number has words.
std::string fixed(double value, int decimals);

/// With `digits` significant digits, without an exponent where that is readable.
std::string significant(double value, int digits);

/// The shortest text that reads back as the same number.
std::string shortest(double value);

/// The fixed notation of the operator's text, with the sign of minus zero and of no number.
std::string operator_notation(double value, int decimals);

/// A text in which each number that stands alone has a decimal comma; "C57.13" is none.
std::string with_decimal_commas(std::string_view text);

}  // namespace report
