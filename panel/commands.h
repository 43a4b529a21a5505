#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "panel/order.h"

// The commands of instrument-panel. Results go to `out`, words for the person to `words`; each
// returns the exit status.

namespace panel {

inline constexpr int kDone = 0;
inline constexpr int kWrong = 1;    ///< the command line or the bench can't be used
inline constexpr int kRefused = 2;  ///< by the instrument; its words say why

/// Makes tests of these kinds, one after the other on the same unit, and keeps each as a record of
/// its own in the bench's store if that has a file. Stops at the first that is refused.
int measure(const MeasureOrder& order, std::ostream& out, std::ostream& words);

/// Lists the records of the bench's store, or shows those with the given IDs.
int show_records(const std::string& bench_file, const std::vector<std::string>& ids,
                 std::ostream& out, std::ostream& words);

/// Finds all problems of bench files.
int check_benches(const std::vector<std::string>& bench_files, std::ostream& out,
                  std::ostream& words);

/// Shows the unit on a bench: nameplate, equivalent circuit, and what each test would find.
int show_bench(const std::string& bench_file, std::ostream& out, std::ostream& words);

}  // namespace panel
