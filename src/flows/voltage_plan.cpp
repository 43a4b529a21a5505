#include "flows/voltage_plan.h"

#include <iostream>
#include <new>
#include <string>

#include "console/prompts.h"

namespace {

constexpr double kDefaultVoltage = 8.0;
constexpr float kAscendingVoltages[] = {3.0F, 6.0F, 12.0F, 24.0F, 36.0F, 47.0F};
constexpr float kDescendingVoltages[] = {47.0F, 36.0F, 24.0F, 12.0F, 6.0F, 3.0F};

/// A longer plan counts as one that can't be allocated. At a second a test it would run for half a
/// year, and a system that overcommits memory would fail while the plan is filled.
constexpr int kLongestPlan = 1 << 24;

template <std::size_t size>
VoltagePlan sequence(const float (&voltages)[size]) {
  VoltagePlan plan;
  for (const float voltage : voltages) {
    plan.push_back({0, voltage});
  }
  return plan;
}

VoltagePlan repeated(float voltage, int count) {
  if (count > kLongestPlan) {
    throw std::bad_alloc();
  }
  return VoltagePlan(count > 0 ? static_cast<std::size_t>(count) : 0, {0, voltage});
}

bool is_letter(const std::string& answer, char upper, char lower) {
  return answer.size() == 1 && (answer[0] == upper || answer[0] == lower);
}

}  // namespace

VoltagePlan voltage_plan_of(const std::string& answer) {
  if (answer.empty()) {
    return {{0, static_cast<float>(kDefaultVoltage)}};
  }
  if (is_letter(answer, 'A', 'a')) {
    return sequence(kAscendingVoltages);
  }
  if (is_letter(answer, 'Z', 'z')) {
    return sequence(kDescendingVoltages);
  }
  // The voltage is read from the whole answer, not from the part before the x, so 0x10 is ten tests
  // at 16 V: deliberate.
  const float voltage = std::stof(answer);
  const std::size_t x = answer.find_first_of("xX");
  if (x == std::string::npos) {
    return {{0, voltage}};
  }
  return repeated(voltage, std::stoi(answer.substr(x + 1)));
}

VoltagePlan for_all_methods(const VoltagePlan& plan) {
  VoltagePlan all;
  for (const std::int32_t method : {2, 4, 3}) {
    for (const VoltagePlanEntry& entry : plan) {
      all.push_back({method, entry.voltage});
    }
  }
  return all;
}

VoltagePlan prompt_voltage_plan() {
  static std::string& line = make_kept_line();
  return ask_until_it_converts(
      [] {
        std::cout.precision(2);  // stays: the run shows its voltages so
        std::cout << "Enter Test Voltage \n"
                  << " empty for " << kDefaultVoltage << "V,\n"
                  << "'A' - ascending  test, Z - descending auto test\n"
                     "10x5 - auto repeating (VxN - test N times at V voltage))\n";
      },
      line, voltage_plan_of);
}
