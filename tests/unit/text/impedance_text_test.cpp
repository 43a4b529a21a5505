#include <gtest/gtest.h>

#include <cstring>
#include <sstream>
#include <string>

#include "support/thrown_exception.h"
#include "text/text_output.h"
#include "unit/text/body_text.h"

namespace {

std::string impedance_body(const std::string& record) {
  return body_text("test_type = 11\n" + record, write_impedance_body);
}

std::string impedance_phase(int i) {
  const std::string path = "data_impedance[0].tests.tests[0].phases[" + std::to_string(i) + "].";
  const std::string letter(1, static_cast<char>('A' + i));
  const std::string digit = std::to_string(i + 1);
  return path + "phase_name = " + letter + "\n" +             //
         path + "high_side_phase = H" + digit + "\n" +        //
         path + "low_side_phase = X" + digit + "\n" +         //
         path + "v_ratio = " + digit + "0.5\n" +              //
         path + "test_frequency = 50.0" + digit + "\n" +      //
         path + "rs = " + digit + ".125\n" +                  //
         path + "xs = " + digit + ".25\n" +                   //
         path + "power_factor = 0." + digit + "\n" +          //
         path + "inductance = 0.5" + digit + "\n" +           //
         path + "capacitance = 0.000001\n" +                  //
         path + "z = " + digit + ".75\n" +                    //
         path + "z_percent = " + digit + "1.5\n" +            //
         path + "z_percent_error = -" + digit + ".00005\n" +  //
         path + "curr_rms = " + digit + ".5\n";
}

const std::string kThreePhases =
    "data_impedance[0].test_type = 11\n"
    "data_impedance[0].setup.windings[0].winding_type = 3\n"
    "data_impedance[0].setup.windings[0].voltage = 110000\n"
    "data_impedance[0].setup.windings[0].current = 1\n"
    "data_impedance[0].setup.windings[1].voltage = 10500.5\n"
    "data_impedance[0].setup.windings[1].current = 2\n"
    "data_impedance[0].setup.temperature_from = 20.1\n"
    "data_impedance[0].setup.temperature_to = 75\n"
    "data_impedance[0].tests.count = 1\n"
    "data_impedance[0].tests.tests[0].avg_z = 2.75\n"
    "data_impedance[0].tests.tests[0].avg_z_percent = 21.5\n"
    "data_impedance[0].tests.tests[0].avg_power_factor = 0.2\n" +
    impedance_phase(0) + impedance_phase(1) + impedance_phase(2);

const std::string kThreePhaseLines =
    "Z % A: (H1)/(X1) = 11.50000000\n"
    "Z % B: (H2)/(X2) = 21.50000000\n"
    "Z % C: (H3)/(X3) = 31.50000000\n"
    "Z % error A % = -1.0001\n"
    "Z % error B % = -2.0000\n"
    "Z % error C % = -3.0000\n"
    "Z A: (H1)/(X1) = 1.75000000\n"
    "Z B: (H2)/(X2) = 2.75000000\n"
    "Z C: (H3)/(X3) = 3.75000000\n"
    "test_frequency A: (H1)/(X1) = 50.00999832\n"
    "test_frequency B: (H2)/(X2) = 50.02000046\n"
    "test_frequency C: (H3)/(X3) = 50.02999878\n"
    "Xs_h A: (H1)/(X1) = 1.25000000\n"
    "Xs_h B: (H2)/(X2) = 2.25000000\n"
    "Xs_h C: (H3)/(X3) = 3.25000000\n"
    "Rs A: (H1)/(X1) = 1.12500000\n"
    "Rs B: (H2)/(X2) = 2.12500000\n"
    "Rs C: (H3)/(X3) = 3.12500000\n"
    "Inductance H A: (H1)/(X1) = 0.50999999\n"
    "Inductance H B: (H2)/(X2) = 0.51999998\n"
    "Inductance H C: (H3)/(X3) = 0.52999997\n"
    "PF % A: (H1)/(X1) = 0.10000000\n"
    "PF % B: (H2)/(X2) = 0.20000000\n"
    "PF % C: (H3)/(X3) = 0.30000001\n"
    "V ratio A: (H1)/(X1) = 10.50000000\n"
    "V ratio B: (H2)/(X2) = 20.50000000\n"
    "V ratio C: (H3)/(X3) = 30.50000000\n"
    "curr_rms A A: (H1)/(X1) = 1.50000000\n"
    "curr_rms A B: (H2)/(X2) = 2.50000000\n"
    "curr_rms A C: (H3)/(X3) = 3.50000000\n";

const std::string kThreePhaseBlock =
    "VH = 110000.00000000\n"
    "VX = 10500.50000000\n"
    "avg_z = 2.75000000\n"
    "avg_z% = 21.50000000\n"
    "avg_power_factor = 0.20000000\n" +
    kThreePhaseLines + "\n";

TEST(ImpedanceBody, OfThreePhases) {
  EXPECT_EQ(impedance_body(kThreePhases), "sci\n" + kThreePhaseBlock);
}

TEST(ImpedanceBody, FirstPhaseOfTheFirstTestDecidesWhetherCorrectionsAreShown) {
  const std::string tests = "data_impedance[0].tests.tests";
  EXPECT_EQ(impedance_body(kThreePhases + tests + "[0].phases[0].corrected = 255\n"),
            "sci\nCorrections applied ( from 20.10000038 C to 75.00000000 C)\n" + kThreePhaseBlock);
  EXPECT_EQ(impedance_body(kThreePhases + tests + "[0].phases[1].corrected = 1\n"),
            "sci\n" + kThreePhaseBlock);
  const std::string two_tests = kThreePhases + "data_impedance[0].tests.count = 2\n";
  EXPECT_EQ(impedance_body(two_tests + tests + "[1].phases[0].corrected = 1\n"),
            impedance_body(two_tests + tests + "[1].phases[0].corrected = 0\n"));
}

TEST(ImpedanceBody, OfOnePhase) {
  EXPECT_EQ(impedance_body(kThreePhases + "data_impedance[0].tests.tests[0].phase_mode = 1\n"
                                          "data_impedance[0].test_type = 12\n"),
            "frsl\n"
            "VH = 110000.00000000\n"
            "VX = 10500.50000000\n"
            "Test Frequency = 50.00999832\n"
            "Ratio = 10.50000000\n"
            "Phase = A\n"
            "Z = 1.75000000\n"
            "Z% = 11.50000000\n"
            "Rs = 1.12500000\n"
            "Xs = 1.25000000\n"
            "inductance, H = 0.50999999\n"
            "capacitance, uF = 1.00000000\n"
            "PF = 0.10000000\n"
            "curr_rms = 1.50000000\n"
            "\n");
}

TEST(ImpedanceBody, CapacitanceIsScaledInDoublePrecision) {
  // In single precision it would be 123.00000763.
  const std::string text =
      impedance_body(kThreePhases +
                     "data_impedance[0].tests.tests[0].phase_mode = 1\n"
                     "data_impedance[0].tests.tests[0].phases[0].capacitance = 0.000123\n");
  EXPECT_NE(text.find("\ncapacitance, uF = 123.00000526\n"), std::string::npos) << text;
}

TEST(ImpedanceBody, PhaseModesOtherThanOneAreThreePhases) {
  for (const char* const mode : {"0", "2", "3", "-1"}) {
    EXPECT_EQ(
        impedance_body(kThreePhases + "data_impedance[0].tests.tests[0].phase_mode = " + mode),
        "sci\n" + kThreePhaseBlock);
  }
}

TEST(ImpedanceBody, SinglePhaseBlockPrintsTheNumbersOfAFailedPhase) {
  const std::string one = kThreePhases + "data_impedance[0].tests.tests[0].phase_mode = 1\n";
  EXPECT_EQ(impedance_body(one + "data_impedance[0].tests.tests[0].phases[0].status = 30"),
            impedance_body(one));
}

TEST(ImpedanceBody, CtWindingsShowTheirCurrents) {
  EXPECT_EQ(impedance_body(kThreePhases + "data_impedance[0].setup.windings[0].winding_type = 11"),
            "sci\nCH = 1.00000000\nCX = 2.00000000\n" +
                kThreePhaseBlock.substr(kThreePhaseBlock.find("avg_z = ")));
  EXPECT_EQ(impedance_body(kThreePhases + "data_impedance[0].setup.windings[1].winding_type = 11"),
            "sci\n" + kThreePhaseBlock);  // the high side decides
}

TEST(ImpedanceBody, RatingsAreThoseOfTheJoinedPair) {
  const std::string text = impedance_body(kThreePhases +
                                          "data_impedance[0].setup.connection_type = 2\n"
                                          "data_impedance[0].setup.windings[2].voltage = 400\n");
  EXPECT_TRUE(text.starts_with("sci\nVH = 10500.50000000\nVX = 400.00000000\n")) << text;
}

TEST(ImpedanceBody, EachTestHasABlockOfItsOwn) {
  const std::string text =
      impedance_body(kThreePhases + "data_impedance[0].tests.count = 3\n" +
                     "data_impedance[0].tests.tests[1].phase_mode = 1\n" +
                     "data_impedance[0].tests.tests[2].phases[0].status = 156\n" +
                     "data_impedance[0].tests.tests[2].phases[1].status = 156\n" +
                     "data_impedance[0].tests.tests[2].phases[2].status = 156\n");
  EXPECT_EQ(text, "sci\n" + kThreePhaseBlock +
                      "VH = 110000.00000000\n"
                      "VX = 10500.50000000\n"
                      "Test Frequency = 0.00000000\n"
                      "Ratio = 0.00000000\n"
                      "Phase = \n"
                      "Z = 0.00000000\n"
                      "Z% = 0.00000000\n"
                      "Rs = 0.00000000\n"
                      "Xs = 0.00000000\n"
                      "inductance, H = 0.00000000\n"
                      "capacitance, uF = 0.00000000\n"
                      "PF = 0.00000000\n"
                      "curr_rms = 0.00000000\n"
                      "\n"
                      "VH = 110000.00000000\n"
                      "VX = 10500.50000000\n"
                      "avg_z = 0.00000000\n"
                      "avg_z% = 0.00000000\n"
                      "avg_power_factor = 0.00000000\n"
                      "\n");
}

TEST(ImpedanceBody, FailedPhaseHasOneErrorLineInEachFamily) {
  const std::string text =
      impedance_body(kThreePhases + "data_impedance[0].tests.tests[0].phases[1].status = 30\n");
  std::string expected = "sci\n" + kThreePhaseBlock;
  for (std::size_t at = 0; (at = expected.find(" B: (H2)", at)) != std::string::npos;) {
    const std::size_t begin = expected.rfind('\n', at) + 1;
    expected.replace(begin, expected.find('\n', at) - begin, "ERROR KVR_RES_OPEN_LEAD");
  }
  const std::string error = "Z % error B % = -2.0000";
  expected.replace(expected.find(error), error.size(), "ERROR KVR_RES_OPEN_LEAD");
  EXPECT_EQ(text, expected);
}

TEST(ImpedanceBody, EmptyListHasNeitherTemperatureNorRatings) {
  // The pair is not used either.
  EXPECT_EQ(impedance_body("data_impedance[0].test_type = 11\n"
                           "data_impedance[0].setup.connection_type = 3\n"
                           "data_impedance[0].tests.count = 0\n"
                           "data_impedance[0].tests.tests[0].phases[0].corrected = 1\n"),
            "sci\nNo result");
}

TEST(ImpedanceBody, OtherTypesHaveAMessage) {
  for (const char* const type : {"0", "10", "13", "4294967295"}) {
    EXPECT_EQ(impedance_body(kThreePhases + "data_impedance[0].test_type = " + type),
              "ResultsToText_Impedance - Testing mode not supported: " + std::string(type) + "\n");
  }
}

TEST(ImpedanceBody, WhatIsMissingHasNoLines) {
  EXPECT_EQ(impedance_body(""), "");
  EXPECT_EQ(impedance_body("data_impedance[0] = null"), "");
  EXPECT_EQ(impedance_body("data_impedance[0].test_type = 11"), "sci\n");
  EXPECT_EQ(impedance_body("data_impedance[0].test_type = 11\ndata_impedance[0].tests.count = 2"),
            "sci\n");
}

TEST(ImpedanceBody, UnknownPairThrowsAfterTheCorrections) {
  OwnedRecord owned = parse_record("test_type = 11\ndata_count = 1\n" + kThreePhases +
                                       "data_impedance[0].tests.tests[0].phases[0].corrected = 1\n"
                                       "data_impedance[0].setup.connection_type = 3\n",
                                   "record");
  std::ostringstream out;
  expect_kvr_exception(KVR_RES_INCORRECT_PARAMETERS, "winding_h",
                       "Utils::winding_h - incorrect connection_type",
                       [&] { KVR_Text_Output::ResultsToText(owned.get(), out); });
  EXPECT_TRUE(out.str().ends_with(
      "\nTEST #1 \tsci\nCorrections applied ( from 20.10000038 C to 75.00000000 C)\n"))
      << out.str();
}

TEST(ImpedanceText, ThreePhaseLinesAlone) {
  OwnedRecord owned = parse_record(kThreePhases, "record");
  std::ostringstream out;
  out << std::fixed;
  out.precision(8);
  KVR_Text_Output::ResultsToText_Impedance_Single_3ph(
      &owned.get()->data_impedance[0]->tests->tests[0], out);
  EXPECT_EQ(out.str(), kThreePhaseLines);
  EXPECT_EQ(out.precision(), 8);
}

}  // namespace
