#pragma once

#include <string>
#include <vector>

#include "toml/toml_keys.h"
#include "virtual_instrument/bench/bench.h"

// The keys of a bench file and what each of them takes.

namespace virtual_instrument {

using toml_file::Key;

/// Every key but those of lists of tables, table by table. They refer to `bench`.
std::vector<Key> keys_of(Bench& bench);

/// The keys of a table of the list "faults" or "shorted_turns". They refer to the argument.
std::vector<Key> keys_of(Fault& fault);
std::vector<Key> keys_of(ShortedTurns& turns);

}  // namespace virtual_instrument
