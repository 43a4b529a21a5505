#include "virtual_instrument/measurement/clock_search.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "virtual_instrument/measurement/leads.h"
#include "virtual_instrument/measurement/unit_waveforms.h"
#include "virtual_instrument/model/index.h"
#include "virtual_instrument/model/sequence.h"

namespace virtual_instrument {
namespace {

using Likeness = std::array<double, 12>;  ///< by clock

/// KVR_RES_OK if all leads that finding the clock takes make contact.
kvr_code detection_code(const TestCircuit& circuit, TerminalPair pair) {
  kvr_code code = lead_code(circuit.unit, Side::high, pair);
  for (int line = 1; line <= 3 && code == KVR_RES_OK; ++line) {
    code = lead_code(circuit.unit, Side::low, line);
  }
  return code;
}

/// The lines of the low side if the flux of the excited limbs returns evenly through the others.
std::array<double, 3> expected_lines(const WindingGroup& candidate, TerminalPair pair) {
  const auto windings = phase_windings(candidate);
  const std::array<double, 3> turns = turns_between(windings[Side::high], pair).value();
  const double mean = (turns[0] + turns[1] + turns[2]) / 3;
  const auto lines =
      line_phasors(windings[Side::low], {turns[0] - mean, turns[1] - mean, turns[2] - mean});
  return {lines[0].real(), lines[1].real(), lines[2].real()};
}

double cosine(const std::array<double, 3>& a, const std::array<double, 3>& b) {
  double product = 0;
  double square_a = 0;
  double square_b = 0;
  for (std::size_t i = 0; i < 3; ++i) {
    product += a[i] * b[i];
    square_a += a[i] * a[i];
    square_b += b[i] * b[i];
  }
  return square_a * square_b == 0 ? 0 : product / std::sqrt(square_a * square_b);
}

/// Adds, for each clock, how well it explains what shows while `pair` is excited.
void add_likeness(TestCircuit& circuit, const WindingGroup& windings, TerminalPair pair,
                  Likeness& likeness) {
  const PeriodicState state =
      circuit.solve(circuit.network, pair_sources(Side::high, pair, circuit.test_voltage));
  std::array<double, 3> shown{};
  for (int line = 1; line <= 3; ++line) {
    shown[index(line - 1)] = line_voltage_to_mean(state, Side::low, line)[1].real();
  }
  for (int clock = 0; clock < 12; ++clock) {
    const WindingGroup candidate{windings.high, windings.low, clock};
    if (exists(candidate)) {
      likeness[index(clock)] += cosine(shown, expected_lines(candidate, pair));
    }
  }
}

FoundClock entered_or(kvr_code otherwise, const WindingGroup& windings, int entered_clock) {
  return exists({windings.high, windings.low, entered_clock})
             ? FoundClock{KVR_RES_OK, entered_clock}
             : FoundClock{otherwise, 0};
}

}  // namespace

WindingGroup first_group(const WindingGroup& windings) {
  const WindingGroup even{windings.high, windings.low, 0};
  return exists(even) ? even : WindingGroup{windings.high, windings.low, 1};
}

FoundClock find_clock_with_one_source(TestCircuit& circuit, const WindingGroup& windings,
                                      int entered_clock) {
  constexpr double kClear = 0.95;
  constexpr double kLikeEnough = 0.85;
  const std::vector<TerminalPair> pairs = terminal_pairs(windings.high);
  const std::size_t first = pairs.size() - 3;
  Likeness likeness{};
  FoundClock found{KVR_RES_OK, 0};
  double best = 0;
  for (std::size_t phase = 0; phase < 3 && best <= kClear; ++phase) {
    const TerminalPair pair = pairs[first + phase];
    if (const kvr_code code = detection_code(circuit, pair); code != KVR_RES_OK) {
      // Phases that don't need the open lead can still be measured, if the clock is known.
      return entered_or(code, windings, entered_clock);
    }
    add_likeness(circuit, windings, pair, likeness);
    const auto* const likeliest = std::max_element(likeness.begin(), likeness.end());
    found.clock = static_cast<int>(likeliest - likeness.begin());
    best = *likeliest / static_cast<double>(phase + 1);
  }
  return best < kLikeEnough ? entered_or(KVR_RES_CANNOT_DETECT_PHASING, windings, entered_clock)
                            : found;
}

FoundClock find_clock_of_lines(const WindingGroup& windings,
                               const BySide<std::array<Complex, 3>>& lines) {
  const Complex high = sequence_components(lines[Side::high]).positive;
  const Complex low = sequence_components(lines[Side::low]).positive;
  const double hours = degrees(angle(high * std::conj(low))) / 30;
  const int parity = first_group(windings).clock;
  const int clock = parity + 2 * static_cast<int>(std::lround((hours - parity) / 2));
  constexpr double kSmallestShare = 1e-6;
  const bool both_show = magnitude(low) > kSmallestShare * magnitude(high) &&
                         magnitude(high) > kSmallestShare * magnitude(low);
  return {both_show ? KVR_RES_OK : KVR_RES_CANNOT_DETECT_PHASING, (clock + 12) % 12};
}

}  // namespace virtual_instrument
