#include "virtual_instrument/bench/bench_agreements.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "virtual_instrument/model/index.h"

namespace virtual_instrument {
namespace {

bool is_between(int low, int value, int high) { return low <= value && value <= high; }

/// Whether every limb that bears a defect is there.
bool has_limbs_of_defects(const Bench& bench) {
  if (is_three_phase(bench.transformer.vector_group.high)) {
    return true;
  }
  for (const auto& windings : bench.defects.reversed_winding) {
    if (windings[1] || windings[2]) {
      return false;
    }
  }
  return std::all_of(bench.defects.shorted_turns.begin(), bench.defects.shorted_turns.end(),
                     [](const ShortedTurns& turns) { return turns.limb == 0; });
}

/// Whether only windings that have halves have a reversed half.
bool has_halves_of_defects(const Bench& bench) {
  return std::all_of(kSides.begin(), kSides.end(), [&bench](Side side) {
    return is_zigzag(winding_type(bench.transformer.vector_group, side)) ||
           bench.defects.reversed_half[side] == std::array<std::array<bool, 2>, 3>{};
  });
}

/// Whether each winding keeps some turns that are not shorted.
bool has_sound_turns(const Bench& bench) {
  BySide<std::array<double, 3>> shorted{};
  for (const ShortedTurns& turns : bench.defects.shorted_turns) {
    double& share = shorted[turns.side][index(turns.limb)];
    share += turns.fraction;
    if (share > 0.9) {
      return false;
    }
  }
  return true;
}

/// Whether phases fail in nothing but tests.
bool fails_phases_of_tests(const Bench& bench) {
  return std::all_of(bench.faults.begin(), bench.faults.end(), [](const Fault& fault) {
    return fault.failed_phases == std::array<bool, 3>{} || fault.call.starts_with("kvr_Test_");
  });
}

constexpr double kLeastTapFactor = 0.1;

const Agreement kAgreements[] = {
    {{"instrument.maximum_voltage", "instrument.minimum_voltage"},
     "expected a maximum_voltage of at least the minimum_voltage",
     [](const Bench& bench) {
       return bench.instrument.minimum_voltage <= bench.instrument.maximum_voltage;
     }},
    {{"taps.position", "taps.first", "taps.last"},
     "expected a position from first to last",
     [](const Bench& bench) {
       return is_between(bench.taps.first, bench.taps.position, bench.taps.last);
     }},
    {{"taps.middle", "taps.first", "taps.last"},
     "expected a middle from first to last",
     [](const Bench& bench) {
       return is_between(bench.taps.first, bench.taps.middle, bench.taps.last);
     }},
    {{"taps.step", "taps.first", "taps.last"},
     "expected steps that leave a tenth of the turns at each position",
     [](const Bench& bench) {
       const auto turns = [&bench](int position) {
         return 1 + (position - bench.taps.middle) * bench.taps.step / 100;
       };
       return std::min(turns(bench.taps.first), turns(bench.taps.last)) >= kLeastTapFactor;
     }},
    {{"leads.reversed", "shorted_turns", "transformer.vector_group"},
     "expected limb A alone in a single-phase unit",
     has_limbs_of_defects},
    {{"leads.reversed", "transformer.vector_group"},
     "expected halves, such as XA1, of a zigzag winding alone",
     has_halves_of_defects},
    {{"faults.failed_phases"},
     "expected with kvr_Test_Ratio_1ph or kvr_Test_Ratio_3ph alone",
     fails_phases_of_tests},
    {{"shorted_turns"}, "expected at most 90 percent of a winding in all", has_sound_turns},
};

}  // namespace

std::span<const Agreement> agreements() { return kAgreements; }

}  // namespace virtual_instrument
