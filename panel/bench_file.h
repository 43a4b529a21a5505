#pragma once

#include <filesystem>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>

#include "virtual_instrument/bench/bench.h"
#include "virtual_instrument/store/sqlite_store.h"

// The bench that the panel works on, and the store it names.

namespace panel {

/// A name in UTF-8 as the system has it.
std::filesystem::path path_of(const std::string& utf8);

/// The bench of a file in UTF-8, or the built-in one without a name; none, with `words` for each
/// problem, if the file can't be used.
std::optional<virtual_instrument::Bench> open_bench(const std::string& bench_file,
                                                    std::ostream& words);

/// The store of a bench, filled if the bench wants a demonstration. One that can't be used answers
/// with the code that says why.
std::unique_ptr<virtual_instrument::SqliteStore> open_store(
    const virtual_instrument::StoreSettings& settings);

}  // namespace panel
