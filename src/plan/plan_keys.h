#pragma once

#include <vector>

#include "plan/plan.h"
#include "toml/toml_keys.h"

// The keys of a plan file and what each of them takes.

/// The keys of the tables "connection" and "run", as "table.key". They refer to `plan`.
std::vector<toml_file::Key> keys_of(Plan& plan);

/// The key that says which kind of test it is.
toml_file::Key kind_key(PlannedTest& test);

/// The other keys of a test of that kind. They refer to `test`.
std::vector<toml_file::Key> keys_of(PlannedTest& test);

/// One limit: its own name is the key's.
toml_file::Key limit_key(Limit& limit);
