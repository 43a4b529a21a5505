#include <gtest/gtest.h>

#include <functional>

#include "support/thrown_exception.h"
#include "utils/utils.h"

namespace {

kvr_TestSetup setup_joined_by(std::uint32_t connection_type) {
  kvr_TestSetup setup{};
  setup.connection_type = connection_type;
  return setup;
}

struct Pair {
  std::uint32_t connection_type;
  std::size_t high;
  std::size_t low;
};

TEST(WindingResolvers, TakeHighAndLowSideByConnectionType) {
  for (const Pair pair : {Pair{0, 0, 1}, Pair{1, 0, 2}, Pair{2, 1, 2}}) {
    kvr_TestSetup setup = setup_joined_by(pair.connection_type);
    EXPECT_EQ(&Utils::winding_h(setup), &setup.windings[pair.high]) << pair.connection_type;
    EXPECT_EQ(&Utils::winding_x(setup), &setup.windings[pair.low]) << pair.connection_type;
    EXPECT_EQ(&Utils::winding_x_mutable(setup), &setup.windings[pair.low]) << pair.connection_type;
    EXPECT_EQ(&Utils::connection(setup), &setup.connections[pair.connection_type]);
  }
}

TEST(WindingResolvers, MutableWindingWritesThrough) {
  kvr_TestSetup setup = setup_joined_by(2);
  Utils::winding_x_mutable(setup).voltage = 11.0F;
  EXPECT_EQ(setup.windings[2].voltage, 11.0F);
}

struct Refusal {
  const char* where;
  std::function<void(kvr_TestSetup&)> resolve;
};

class BadConnectionType : public testing::TestWithParam<std::uint32_t> {};

TEST_P(BadConnectionType, IsRefusedByEachResolverInItsOwnWords) {
  const Refusal refusals[] = {
      {"winding_h", [](kvr_TestSetup& setup) { Utils::winding_h(setup); }},
      {"winding_x", [](kvr_TestSetup& setup) { Utils::winding_x(setup); }},
      {"winding_x_mutable", [](kvr_TestSetup& setup) { Utils::winding_x_mutable(setup); }},
      {"connection", [](kvr_TestSetup& setup) { Utils::connection(setup); }}};
  kvr_TestSetup setup = setup_joined_by(GetParam());
  for (const Refusal& refusal : refusals) {
    expect_kvr_exception(KVR_RES_INCORRECT_PARAMETERS, refusal.where,
                         std::string("Utils::") + refusal.where + " - incorrect connection_type",
                         [&] { refusal.resolve(setup); });
  }
}

INSTANTIATE_TEST_SUITE_P(, BadConnectionType, testing::Values(3U, 0xFFFFFFFFU, 0x80000000U));

}  // namespace
