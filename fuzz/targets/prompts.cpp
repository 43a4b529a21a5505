#include <algorithm>
#include <iterator>

#include "console/prompts.h"
#include "flows/requests.h"
#include "flows/three_phase.h"
#include "flows/voltage_plan.h"
#include "fuzz/fuzz_target.h"
#include "fuzz/typed_session.h"

// Types any text at one prompt of the dialogue; the first byte chooses the prompt.

namespace {

bool typed_no_zero_byte;

bool is_sequence(const VoltagePlan& plan) {
  constexpr float kVoltages[] = {3, 6, 12, 24, 36, 47};
  const auto same = [](const VoltagePlanEntry& entry, float voltage) {
    return entry.voltage == voltage;
  };
  return std::equal(plan.begin(), plan.end(), std::begin(kVoltages), std::end(kVoltages), same) ||
         std::equal(plan.begin(), plan.end(), std::rbegin(kVoltages), std::rend(kVoltages), same);
}

void plan_voltages() {
  const VoltagePlan plan = prompt_voltage_plan();
  const bool equal = std::all_of(plan.begin(), plan.end(), [&](const VoltagePlanEntry& entry) {
    return entry.voltage == plan[0].voltage || entry.voltage != entry.voltage;
  });
  demand(equal || is_sequence(plan), "a plan is one voltage or a sequence");
  demand(std::all_of(plan.begin(), plan.end(),
                     [](const VoltagePlanEntry& entry) { return entry.test_method == 0; }),
         "a plan names no method");
}

void ask_phasing() {
  kvr_Ratio3phRequest request = make_ratio_3ph_request();
  prompt_phasing(&request);
}

void ask_phase() {
  std::int32_t phase = -1;
  std::int32_t extra = -1;
  choose_high_side_phase(phase, extra);
  demand(phase >= 1 && phase <= 6 && extra == 0, "a pair of the high side");
  phase = extra = -1;
  choose_low_side_phase(phase, extra);
  demand(phase >= 1 && phase <= 6 && extra == 0, "a pair of the low side");
}

void ask_winding() {
  const std::int32_t type = choose_winding_connection();
  demand(type >= 0 && type <= 12, "a winding type");
}

void ask_csv_name() {
  const std::string_view name = prompt_csv_name();
  // A zero byte in the answer ends the name for its user.
  demand(name.ends_with(".csv") || !typed_no_zero_byte, "a CSV file has its suffix");
}

void ask_id() { demand(prompt_test_id().size() <= 16, "a test ID fits"); }

constexpr void (*kPrompts[])() = {
    plan_voltages,
    ask_phasing,
    ask_phase,
    ask_winding,
    ask_id,
    [] { prompt_nameplate_ratio(); },
    [] { read_int(); },
    [] { choose_raw_data(); },
    ask_csv_name,
    [] { prompt_record_id(); },
};

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) {
    return 0;
  }
  const std::string answers = harmless(std::string(as_text(data + 1, size - 1)));
  typed_no_zero_byte = answers.find('\0') == std::string::npos;
  const TypedSession typed(answers);
  try {
    kPrompts[data[0] % std::size(kPrompts)]();
  } catch (const WaitedForEver&) {  // the answers ended before the question
  }
  return 0;
}
