#pragma once

#include <span>
#include <string>

#include "plan/json_lines.h"
#include "plan/plan.h"

/// A plan's results as JUnit XML, which test servers read: a case for each measurement. One outside
/// its limits, or a partial one, is a failure; a refused or cancelled one is an error; one that was
/// not made is skipped.
std::string junit_text(const Plan& plan, std::span<const Measurement> measurements);
