#include "virtual_instrument/session/failed_phases.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <string>

namespace virtual_instrument {
namespace {

/// A result in which no byte is zero.
template <typename Data>
Data full_data() {
  Data data;
  std::memset(&data, 0x3f, sizeof data);
  return data;
}

template <typename Data>
bool is_same(const Data& one, const Data& other) {
  return std::memcmp(&one, &other, sizeof one) == 0;
}

Fault fault_of(std::array<bool, 3> phases) {
  Fault fault;
  fault.failed_phases = phases;
  fault.phase_code = KVR_RES_OPEN_LEAD_X3;
  return fault;
}

/// Of a phase that failed only its names are left.
kvr_TestData_Ratio_Phase failed(const kvr_TestData_Ratio_Phase& phase) {
  kvr_TestData_Ratio_Phase result{};
  result.status = KVR_RES_OPEN_LEAD_X3;
  constexpr std::size_t kNames = offsetof(kvr_TestData_Ratio_Phase, phase_name);
  std::memcpy(result.phase_name, reinterpret_cast<const char*>(&phase) + kNames, 3 * kNameSize);
  return result;
}

kvr_TestData_Ratio_3ph failed(kvr_TestData_Ratio_3ph data, const std::array<bool, 3>& phases) {
  for (std::size_t phase = 0; phase < phases.size(); ++phase) {
    if (phases[phase]) {
      data.phases[phase] = failed(data.phases[phase]);
    }
  }
  // What is made of three phases lies between these two.
  constexpr std::size_t kFirst = offsetof(kvr_TestData_Ratio_3ph, zero_seq_hi);
  constexpr std::size_t kEnd = offsetof(kvr_TestData_Ratio_3ph, reserved_1688);
  std::memset(reinterpret_cast<char*>(&data) + kFirst, 0, kEnd - kFirst);
  data.ratio_3ph = 0;
  data.ratio_3ph_error = 0;
  data.phase_3ph = 0;
  data.health_state = KVR_HEALTH_BAD;
  return data;
}

TEST(FailedPhases, OfAThreePhaseResultTakeAlongWhatIsMadeOfAllThree) {
  for (const std::array<bool, 3> phases :
       {std::array{true, false, false}, std::array{false, true, false},
        std::array{false, false, true}, std::array{true, true, true}}) {
    ThreePhaseRatio result{};
    result.data = full_data<kvr_TestData_Ratio_3ph>();
    result.step_up = full_data<kvr_TestData_Ratio_3ph>();
    result.step_down = full_data<kvr_TestData_Ratio_3ph>();
    const kvr_TestData_Ratio_3ph expected = failed(result.data, phases);
    fail_phases(fault_of(phases), result);
    EXPECT_TRUE(is_same(result.data, expected));
    EXPECT_TRUE(is_same(*result.step_up, expected));
    EXPECT_TRUE(is_same(*result.step_down, expected));
  }
}

TEST(FailedPhases, ThatAreNoneLeaveAResultAlone) {
  ThreePhaseRatio result{};
  result.data = full_data<kvr_TestData_Ratio_3ph>();
  fail_phases(fault_of({}), result);
  EXPECT_TRUE(is_same(result.data, full_data<kvr_TestData_Ratio_3ph>()));
  EXPECT_FALSE(result.step_up);
  EXPECT_FALSE(result.step_down);
}

TEST(FailedPhases, OfASinglePhaseResultAreFoundByItsName) {
  for (const std::string names = "ABCX"; const char name : names) {
    for (const std::array<bool, 3> phases :
         {std::array{true, false, false}, std::array{false, true, false},
          std::array{false, false, true}}) {
      SinglePhaseRatio result{};
      result.data = full_data<kvr_TestData_Ratio_1ph>();
      result.data.phase.phase_name[0] = name;
      kvr_TestData_Ratio_1ph expected = result.data;
      if (const std::size_t phase = names.find(name); phase < 3 && phases[phase]) {
        expected.phase = failed(expected.phase);
      }
      fail_phases(fault_of(phases), result);
      EXPECT_TRUE(is_same(result.data, expected)) << name;
    }
  }
}

}  // namespace
}  // namespace virtual_instrument
