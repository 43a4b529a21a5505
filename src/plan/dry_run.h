#pragma once

#include <string>

#include "plan/plan.h"

/// What a plan would do, in words, without an instrument.
std::string dry_run_text(const Plan& plan);
