#include "text/formula_lines.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace {

template <typename Phase>
struct Phases {
  Phase phases[3]{};

  Phases() {
    for (int i = 0; i < 3; ++i) {
      phases[i].phase_name[0] = static_cast<char>('A' + i);
      phases[i].high_side_phase[0] = static_cast<char>('P' + i);
      phases[i].low_side_phase[0] = static_cast<char>('p' + i);
    }
  }
  template <typename Write>
  std::string text(Write write) {
    std::ostringstream out;
    out << std::fixed;
    out.precision(8);
    {
      TextWriter writer(out);
      write(writer);
    }
    EXPECT_EQ(out.precision(), 8);
    return out.str();
  }
  std::string walk() {
    return text([&](TextWriter& out) {
      ForEachPhase(out, phases, [&](const Phase& phase) { out << phase.phase_name << ';'; });
    });
  }
};

template <typename Phase>
class ForEachPhaseOf : public testing::Test, public Phases<Phase> {};

using PhaseTypes = testing::Types<kvr_TestData_Ratio_Phase, kvr_TestData_Impedance_Phase,
                                  kvr_TestData_Efficiency_Phase>;
TYPED_TEST_SUITE(ForEachPhaseOf, PhaseTypes);

TYPED_TEST(ForEachPhaseOf, GoesFromAToC) { EXPECT_EQ(this->walk(), "A;B;C;"); }

TYPED_TEST(ForEachPhaseOf, IsSilentAboutAPhaseThatWasNotTested) {
  this->phases[0].status = KVR_RES_NOT_TESTED;
  EXPECT_EQ(this->walk(), "B;C;");
}

TYPED_TEST(ForEachPhaseOf, NamesAnyOtherFailure) {
  this->phases[1].status = KVR_RES_CHECK_ERROR_STATUS;
  this->phases[2].status = static_cast<kvr_code>(-7);
  EXPECT_EQ(this->walk(), "A;ERROR KVR_RES_CHECK_ERROR_STATUS\nERROR Unknown error code -7\n");
}

TYPED_TEST(ForEachPhaseOf, KeepsTheOrderOnAStreamToo) {
  this->phases[0].status = KVR_RES_OPEN_LEAD;
  std::ostringstream out;
  ForEachPhase(out, this->phases, [&](const TypeParam& phase) { out << phase.phase_name << ';'; });
  EXPECT_EQ(out.str(), "ERROR KVR_RES_OPEN_LEAD\nB;C;");
}

TEST(FormulaLines, HaveNameBothSidesAndValue) {
  Phases<kvr_TestData_Ratio_Phase> three;
  three.phases[0].tnr = 2;
  three.phases[1].status = KVR_RES_NOT_TESTED;
  three.phases[2].status = KVR_RES_OPEN_LEAD;
  EXPECT_EQ(three.text([&](TextWriter& out) {
    write_formula_lines(out, three.phases, "TNR Ratio ", &kvr_TestData_Ratio_Phase::tnr);
  }),
            "TNR Ratio A: (P)/(p) = 2.00000000\nERROR KVR_RES_OPEN_LEAD\n");
}

TEST(FormulaLines, PrefixMayEndInAColonOfItsOwn) {
  Phases<kvr_TestData_Efficiency_Phase> three;
  EXPECT_EQ(three.text([&](TextWriter& out) {
    write_formula_lines(out, three.phases,
                        "ratio_tnr: ", &kvr_TestData_Efficiency_Phase::ratio_tnr);
  }),
            "ratio_tnr: A: (P)/(p) = 0.00000000\n"
            "ratio_tnr: B: (Q)/(q) = 0.00000000\n"
            "ratio_tnr: C: (R)/(r) = 0.00000000\n");
}

TEST(ErrorLines, HaveFourDecimalsAndRestoreEight) {
  Phases<kvr_TestData_Impedance_Phase> three;
  three.phases[0].z_percent_error = -1.00006;
  three.phases[1].status = KVR_RES_OPEN_LEAD;
  three.phases[2].z_percent_error = 2;
  EXPECT_EQ(three.text([&](TextWriter& out) {
    write_error_lines(out, three.phases, "Z % error ",
                      &kvr_TestData_Impedance_Phase::z_percent_error);
    out << 0.5;
  }),
            "Z % error A % = -1.0001\nERROR KVR_RES_OPEN_LEAD\nZ % error C % = 2.0000\n"
            "0.50000000");
}

}  // namespace
