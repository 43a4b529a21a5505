#pragma once

#include <optional>
#include <string>

#include "plan/plan.h"

/// The ID of a record that a pattern makes: {item} is the item's name, {test} the number of the
/// test, {date} and {time} are those of now. Nothing for an unknown word in braces, and for an ID
/// that is empty, has more than 16 bytes or control characters.
std::optional<std::string> made_record_id(const std::string& pattern, const Plan& plan,
                                          std::size_t number);

/// What a pattern has to be, in words.
extern const char* const kExpectedId;
