#include "virtual_instrument/store/vector_group_name.h"

#include <gtest/gtest.h>

#include <limits>

#include "api/enumerations.h"

namespace virtual_instrument {
namespace {

struct NameCase {
  std::uint32_t high;
  std::uint32_t low;
  int clock;
  float phase_shift;
  const char* name;
};

kvr_TestSetup setup_of(const NameCase& name_case) {
  kvr_TestSetup setup{};
  setup.windings[0].winding_type = kvr_WindingType{name_case.high};
  setup.windings[1].winding_type = kvr_WindingType{name_case.low};
  setup.windings[1].phase_shift = name_case.phase_shift;
  setup.connections[0].clock = name_case.clock;
  return setup;
}

TEST(VectorGroupName, HasLettersClockAndShift) {
  constexpr float kHuge = std::numeric_limits<float>::max();
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  const NameCase cases[] = {
      {3, 1, 1, 0, "YNd1"},
      {1, 3, 11, 0, "Dyn11"},
      {2, 5, 5, 0, "Yzn5"},
      {4, 2, 0, 0, "Zy0"},
      {5, 4, -3, 0, "ZNz-3"},
      {6, 6, 100, 0, "1PhX"},
      {8, 8, 0, 0, "MHmx0"},
      {11, 11, 100, 0, "CTX"},
      {12, 12, 100, 0, "PTX"},
      {13, 13, 0, 0, "aa0"},
      {7, 99, 0, 0, "??0"},
      {0, 0, 100, 0, "X"},
      {1, 2, 1, 0.5235988F, "Dy1+30"},
      {1, 2, 1, -0.5235988F, "Dy1"},
      {1, 2, 1, 0.0698131F, "Dy1"},
      {1, 2, 1, 0.0872665F, "Dy1+5"},
      {1, 2, 1, 0.06981317F, "Dy1"},  // 4 degrees
      {1, 2, 1, 3.1415927F, "Dy1+180"},
      {1, 2, 1, -3.1415927F, "Dy1"},
      {1, 2, 1, -5.7595863F, "Dy130"},
      {1, 2, 1, 6.0F, "Dy1"},
      {1, 2, 1, std::numeric_limits<float>::quiet_NaN(), "Dy1"},
      {1, 2, 1, kHuge, "Dy1+1000000"},
      {1, 2, 1, kInfinity, "Dy1+1000000"},
      {1, 2, 1, -kInfinity, "Dy1"},
  };
  for (const NameCase& name_case : cases) {
    EXPECT_EQ(vector_group_name(setup_of(name_case)), name_case.name);
  }
}

TEST(VectorGroupName, IsThatOfThePairThatTheTestJoins) {
  kvr_TestSetup setup{};
  setup.windings[0].winding_type = KVR_WINDING_D;
  setup.windings[1].winding_type = KVR_WINDING_Y;
  setup.windings[2].winding_type = KVR_WINDING_Z;
  setup.connections[0].clock = 1;
  setup.connections[1].clock = 2;
  setup.connections[2].clock = 3;

  const char* const names[] = {"Dy1", "Dz2", "Yz3", ""};
  for (std::uint32_t connection = 0; connection < 4; ++connection) {
    setup.connection_type = connection;
    EXPECT_EQ(vector_group_name(setup), names[connection]);
  }
}

}  // namespace
}  // namespace virtual_instrument
