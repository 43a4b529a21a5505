#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "plan/plan.h"

// Reads the text of a plan file, with a message for each mistake in it: file, line, key and what
// was expected. A misspelt key is a mistake too: a plan that silently ignored it would measure
// something else.

struct PlanReading {
  Plan plan;                          ///< valid only if there are no problems
  std::vector<std::string> problems;  ///< one line each, without line end
};

/// `name` stands for the text in problems. Each of `replacements` is as on the command line:
/// "table.key=value", "test.key=value" for all tests or "test.N.key=value" for one. A value is read
/// as TOML; what is none is a text.
PlanReading read_plan(std::string_view text, const std::string& name,
                      const std::vector<std::string>& replacements);

/// The contents of example.toml.
extern const char* const kExamplePlan;
