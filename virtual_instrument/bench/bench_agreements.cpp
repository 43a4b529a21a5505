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

/// Whether only a winding that is led out has defects of the winding Y.
bool has_winding_of_defects(const Bench& bench) {
  const TertiarySettings& tertiary = bench.tertiary;
  return is_led_out(tertiary) ||
         (tertiary.open_lead == std::array<bool, 4>{} &&
          tertiary.reversed_winding == std::array<bool, 3>{} &&
          std::none_of(bench.defects.shorted_turns.begin(), bench.defects.shorted_turns.end(),
                       [](const ShortedTurns& t) { return t.on_third; }));
}

/// Whether a winding that is led out is there, in a unit that can have it.
bool has_third_winding(const Bench& bench) {
  const WindingGroup& group = bench.transformer.vector_group;
  const ThirdConnection& third = bench.tertiary.connection;
  return !is_led_out(bench.tertiary) ||
         (bench.tertiary.voltage > 0 && exists({group.high, third.type, *third.clock}));
}

/// Whether each winding keeps some turns that are not shorted.
bool has_sound_turns(const Bench& bench) {
  std::array<std::array<double, 3>, 3> shorted{};
  for (const ShortedTurns& turns : bench.defects.shorted_turns) {
    double& share = shorted[turns.on_third ? 2 : index(turns.side)][index(turns.limb)];
    share += turns.fraction;
    if (share > 0.9) {
      return false;
    }
  }
  return true;
}

/// By how much the present tap, or another position, changes the turns of its side.
double tap_factor(const TapChanger& taps, int position) {
  return 1 + (position - taps.middle) * taps.step / 100;
}

constexpr double kLeastTapFactor = 0.1;

/// Whether a tenth of the high side's turns is left for the series winding at each position.
bool has_series_winding(const Bench& bench) {
  const TransformerSettings& settings = bench.transformer;
  if (!settings.autotransformer) {
    return true;
  }
  const double low =
      settings.low_voltage / settings.high_voltage / (1 + settings.turns_deviation / 100);
  const auto series = [&bench, low](int position) {
    const double factor = tap_factor(bench.taps, position);
    return bench.taps.side == Side::high ? factor - low : 1 - factor * low;
  };
  return can_be_autotransformer(settings.vector_group) &&
         std::min(series(bench.taps.first), series(bench.taps.last)) >= kLeastTapFactor;
}

/// Whether phases fail in nothing but tests.
bool fails_phases_of_tests(const Bench& bench) {
  return std::all_of(bench.faults.begin(), bench.faults.end(), [](const Fault& fault) {
    return fault.failed_phases == std::array<bool, 3>{} || fault.call.starts_with("kvr_Test_");
  });
}

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
       return std::min(tap_factor(bench.taps, bench.taps.first),
                       tap_factor(bench.taps, bench.taps.last)) >= kLeastTapFactor;
     }},
    {{"transformer.autotransformer", "transformer.vector_group", "transformer.high_voltage",
      "transformer.low_voltage", "taps.step"},
     "expected Ii0 or a star-star group with clock 0, and a series winding of a tenth of the turns "
     "or "
     "more at each tap, for an autotransformer",
     has_series_winding},
    {{"tertiary.voltage", "transformer.vector_group"},
     "expected a tertiary in a three-phase unit alone",
     [](const Bench& bench) {
       return bench.tertiary.voltage == 0 || is_three_phase(bench.transformer.vector_group.high);
     }},
    {{"tertiary.group", "tertiary.voltage", "transformer.vector_group"},
     "expected of a tertiary that is led out a voltage, and a clock number that its windings and "
     "those of the high side can have",
     has_third_winding},
    {{"tertiary.group", "transformer.autotransformer"},
     "expected no autotransformer with a tertiary that is led out",
     [](const Bench& bench) {
       return !is_led_out(bench.tertiary) || !bench.transformer.autotransformer;
     }},
    {{"tertiary.group", "burden.resistance", "burden.reactance"},
     "expected no burden with a tertiary that is led out",
     [](const Bench& bench) {
       return !is_led_out(bench.tertiary) ||
              (bench.burden.resistance == 0 && bench.burden.reactance == 0);
     }},
    {{"leads.open", "leads.reversed", "shorted_turns", "tertiary.group"},
     "expected leads and windings of Y with a tertiary that is led out alone",
     has_winding_of_defects},
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
