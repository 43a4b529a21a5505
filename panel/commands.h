#pragma once

#include <iosfwd>
#include <optional>
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

/// What was typed of a unit. A test is V, A, W and its side, "high" or "low".
struct NewBenchOrder {
  std::string group = {};
  std::optional<double> high_voltage = {};
  std::optional<double> low_voltage = {};
  std::optional<double> kva = {};
  double frequency = 50;
  std::optional<double> impedance = {};
  std::vector<double> open_circuit = {};
  std::string open_circuit_side = "low";
  std::vector<double> short_circuit = {};
  std::string short_circuit_side = "high";
  std::optional<double> high_resistance = {};
  std::optional<double> low_resistance = {};
  double temperature = 20;
  std::string file = {};  ///< to make; empty for `out`
};

/// Makes a bench from what is known of a unit. What it must know and was not typed it asks for, in
/// `words`, and reads from `answers`.
int new_bench(NewBenchOrder order, std::istream& answers, std::ostream& out, std::ostream& words);

}  // namespace panel
