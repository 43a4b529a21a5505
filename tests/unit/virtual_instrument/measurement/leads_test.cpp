#include "virtual_instrument/measurement/leads.h"

#include <gtest/gtest.h>

#include "unit/virtual_instrument/model/units.h"

namespace virtual_instrument {
namespace {

TEST(Leads, NameTheTerminalThatMakesNoContact) {
  TransformerUnit unit = three_phase_unit();
  EXPECT_EQ(lead_code(unit, Side::high, 1), KVR_RES_OK);
  EXPECT_EQ(lead_code(unit, Side::low, 0), KVR_RES_OK);
  EXPECT_EQ(lead_code(unit, Side::high, 0), KVR_RES_OPEN_LEAD_H0) << "a delta has no neutral";
  unit.faults.open_lead[Side::high][2] = true;
  unit.faults.open_lead[Side::low] = {true, true, true, true};
  EXPECT_EQ(lead_code(unit, Side::high, 1), KVR_RES_OK);
  EXPECT_EQ(lead_code(unit, Side::high, 2), KVR_RES_OPEN_LEAD_H2);
  const kvr_code low[] = {KVR_RES_OPEN_LEAD_X0, KVR_RES_OPEN_LEAD_X1, KVR_RES_OPEN_LEAD_X2,
                          KVR_RES_OPEN_LEAD_X3};
  for (int terminal = 0; terminal < 4; ++terminal) {
    EXPECT_EQ(lead_code(unit, Side::low, terminal), low[terminal]);
  }
}

TEST(Leads, OfASinglePhaseUnitAreTwoOnASide) {
  const TransformerUnit unit = single_phase_unit();
  EXPECT_EQ(lead_code(unit, Side::high, 2), KVR_RES_OK);
  EXPECT_EQ(lead_code(unit, Side::high, 3), KVR_RES_OPEN_LEAD_H3);
}

TEST(Leads, OfAPairAreNamedInItsOrder) {
  TransformerUnit unit = three_phase_unit();
  unit.faults.open_lead[Side::high][2] = true;
  unit.faults.open_lead[Side::high][3] = true;
  EXPECT_EQ(lead_code(unit, Side::high, TerminalPair{1, 2}), KVR_RES_OPEN_LEAD_H2);
  EXPECT_EQ(lead_code(unit, Side::high, TerminalPair{3, 2}), KVR_RES_OPEN_LEAD_H3);
  EXPECT_EQ(lead_code(unit, Side::low, TerminalPair{1, 0}), KVR_RES_OK);
}

TEST(Leads, WithoutContactShowNoVoltage) {
  TransformerUnit unit = three_phase_unit();
  unit.faults.open_lead[Side::low][2] = true;
  PeriodicState state{};
  state.node_voltage.resize(8);
  for (Spectrum& voltage : state.node_voltage) {
    voltage[1] = 7;
  }
  blind_open_leads(unit, state);
  for (int terminal = 0; terminal < 4; ++terminal) {
    const auto shown = [&](Side side) {
      return state.node_voltage[static_cast<std::size_t>(terminal_node(side, terminal))][1].real();
    };
    EXPECT_EQ(shown(Side::high), terminal == 0 ? 0 : 7) << terminal;
    EXPECT_EQ(shown(Side::low), terminal == 2 ? 0 : 7) << terminal;
  }
}

}  // namespace
}  // namespace virtual_instrument
