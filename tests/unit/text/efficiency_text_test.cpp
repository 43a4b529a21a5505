#include "text/efficiency_text.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "support/thrown_exception.h"
#include "text/text_output.h"
#include "unit/text/body_text.h"

namespace {

std::string efficiency_body(const std::string& record) {
  return body_text("test_type = 13\n" + record, write_efficiency_body);
}

std::string efficiency_phase(int i) {
  const std::string path = "data_efficiency[0].phases[" + std::to_string(i) + "].";
  const std::string letter(1, static_cast<char>('A' + i));
  const std::string digit = std::to_string(i + 1);
  std::string text = path + "phase_name = " + letter + "\n" +       //
                     path + "high_side_phase = H" + digit + "\n" +  //
                     path + "low_side_phase = X" + digit + "\n";
  int value = 1;
  for (const char* const field :
       {"ratio_tnr", "load_rs_line", "load_rs_zero", "load_i2r", "load_stray_eddy", "load_losses",
        "no_load_losses", "total_losses", "hysteresis", "eddy_current", "i2r_no_load",
        "noload_eddy_resistance_measured", "noload_eddy_resistance_corrected"}) {
    text += path + field + " = " + std::to_string(value++) + digit + ".5\n";
  }
  return text;
}

const std::string kRecord =
    "data_efficiency[0].duration_ms = 1999\n"
    "data_efficiency[0].setup.windings[0].winding_type = 3\n"
    "data_efficiency[0].setup.windings[0].voltage = 110000\n"
    "data_efficiency[0].setup.windings[0].current = 1.5\n"
    "data_efficiency[0].setup.windings[1].voltage = 10500\n"
    "data_efficiency[0].setup.connections[0].kva = 25000.5\n"
    "data_efficiency[0].setup.connections[1].kva = 1\n"
    "data_efficiency[0].setup.line_frequency = 60\n"
    "data_efficiency[0].setup.temperature_from = 20.1\n"
    "data_efficiency[0].setup.temperature_to = 75\n" +
    efficiency_phase(0) + efficiency_phase(1) + efficiency_phase(2) +
    "data_efficiency[0].total_load_losses = 1.5\n"
    "data_efficiency[0].total_no_load_losses = 2.5\n"
    "data_efficiency[0].total_eddy_current = 3.5\n"
    "data_efficiency[0].total_hysteresis = 4.5\n"
    "data_efficiency[0].total_losses = 5.5\n"
    "data_efficiency[0].efficiency_percent = 98.7\n";

const std::string kThreePhaseTop =
    "Mode: Full\n"
    "Object temp = 20.10000038 C\n"
    "VH = 110000.00000000\n"
    "Power Frequency = 60\n"
    "kVA = 25000.50000000\n";

std::string family(const std::string& prefix, const std::string& value) {
  std::string lines;
  for (const char* const i : {"1", "2", "3"}) {
    const char letter = static_cast<char>('A' + i[0] - '1');
    lines += prefix + letter + ": (H" + i + ")/(X" + i + ") = " + value + i + ".50000000\n";
  }
  return lines;
}

const std::string kThreePhaseLosses =
    "ratio_tnr: A: (H1)/(X1) = 11.50000000\n"
    "ratio_tnr: B: (H2)/(X2) = 12.50000000\n"
    "ratio_tnr: C: (H3)/(X3) = 13.50000000\n" +
    family("load_rs_line: ", "2") +                       //
    family("load_rs_zero: ", "3") +                       //
    family("noload_eddy_resistance_measured: ", "12") +   //
    family("noload_eddy_resistance_corrected: ", "13") +  //
    family("Load losses I2R ", "4") +                     //
    family("Load losses Eddy&Stray ", "5") +              //
    family("Load losses ", "6") +                         //
    "Total Load losses = 1.50000000\n" +                  //
    family("Hysteresis losses ", "9") +                   //
    "Total Hysteresis = 4.50000000\n" +                   //
    family("Eddy current losses ", "10") +                //
    "Total Eddy current = 3.50000000\n" +                 //
    family("I^2R No Load ", "11") +                       //
    family("No Load losses ", "7") +                      //
    "Total No Load losses = 2.50000000\n" +               //
    family("Total losses ", "8") +                        //
    "Total losses = 5.50000000\n"
    "Tx Efficiency % = 98.69999695\n";

const std::string kSinglePhaseTop =
    "Transformer Losses Test\n"
    "Mode: Full\n"
    "Object temp = 20.10000038 C\n";

const std::string kSinglePhaseLosses =
    "VH = 110000.00000000\n"
    "Line Frequency = 60\n"
    "kVA = 25000.50000000\n"
    "ratio_tnr = 11.50000000\n"
    "load_rs_line = 21.50000000\n"
    "load_rs_zero = 31.50000000\n"
    "noload_eddy_resistance_measured = 121.50000000\n"
    "noload_eddy_resistance_corrected = 131.50000000\n"
    "Load losses, W = 61.50000000\n"
    "Load stray&eddy, W = 51.50000000\n"
    "Load i^2r, W = 41.50000000\n"
    "Hysteresis loss, W = 91.50000000\n"
    "Eddy current losses, W = 101.50000000\n"
    "I^2R No Load, W = 111.50000000\n"
    "No Load losses, W = 71.50000000\n"
    "Total losses, W = 81.50000000\n";

TEST(EfficiencyBody, OfThreePhases) {
  EXPECT_EQ(efficiency_body(kRecord),
            "Efficiency\n" + kThreePhaseTop + kThreePhaseLosses + "Time, sec = 1\n");
}

TEST(EfficiencyBody, OfOnePhase) {
  EXPECT_EQ(efficiency_body(kRecord + "data_efficiency[0].setup.windings[0].winding_type = 6\n"),
            "Efficiency\n" + kSinglePhaseTop + kSinglePhaseLosses + "Time, sec = 1\n");
}

TEST(EfficiencyBody, WindingOfTheHighSideDecidesWhich) {
  for (int winding = 0; winding < 16; ++winding) {
    const std::string text = efficiency_body(
        kRecord + "data_efficiency[0].setup.windings[0].winding_type = " + std::to_string(winding));
    const bool is_three_phase = winding >= 1 && winding <= 5;
    EXPECT_EQ(text.starts_with("Efficiency\nMode: Full\n"), is_three_phase) << winding;
    EXPECT_EQ(text.starts_with("Efficiency\nTransformer Losses Test\n"), !is_three_phase)
        << winding;
  }
  // The low side of the setup is the high side of the pair X to Y.
  const std::string text =
      efficiency_body(kRecord + "data_efficiency[0].setup.connection_type = 2\n" +
                      "data_efficiency[0].setup.windings[1].winding_type = 6\n" +
                      "data_efficiency[0].setup.connections[2].kva = 7\n");
  EXPECT_NE(text.find("Transformer Losses Test\n"), std::string::npos);
  EXPECT_NE(text.find("VH = 10500.00000000\nLine Frequency = 60\nkVA = 7.00000000\n"),
            std::string::npos)
      << text;
}

TEST(EfficiencyBody, ModeIsFastForAnyValueButZero) {
  for (const char* const mode : {"1", "2", "255"}) {
    const std::string fast = kRecord + "data_efficiency[0].fast_mode = " + mode + "\n";
    EXPECT_TRUE(efficiency_body(fast).starts_with("Efficiency\nMode: Fast\nObject temp = "));
    EXPECT_TRUE(efficiency_body(fast + "data_efficiency[0].setup.windings[0].winding_type = 12")
                    .starts_with("Efficiency\nTransformer Losses Test\nMode: Fast\nObject temp"));
  }
}

TEST(EfficiencyBody, FirstPhaseDecidesWhetherCorrectionsAreShown) {
  const std::string corrections = "Corrections applied ( from 20.10000038 C to 75.00000000 C)\n";
  const std::string corrected = kRecord + "data_efficiency[0].phases[0].corrected = 1\n";
  EXPECT_TRUE(
      efficiency_body(corrected).starts_with("Efficiency\nMode: Full\n" + corrections + "VH = "));
  EXPECT_TRUE(efficiency_body(corrected + "data_efficiency[0].setup.windings[0].winding_type = 6")
                  .starts_with("Efficiency\nTransformer Losses Test\nMode: Full\n" + corrections +
                               "VH = "));
  EXPECT_EQ(efficiency_body(kRecord + "data_efficiency[0].phases[1].corrected = 1\n"),
            efficiency_body(kRecord));
}

TEST(EfficiencyBody, TimeIsInWholeSeconds) {
  const auto time_of = [](const char* duration) {
    const std::string text =
        efficiency_body(kRecord + "data_efficiency[0].duration_ms = " + std::string(duration));
    return text.substr(text.rfind("Time, sec"));
  };
  EXPECT_EQ(time_of("0"), "Time, sec = 0\n");
  EXPECT_EQ(time_of("999"), "Time, sec = 0\n");
  EXPECT_EQ(time_of("1000"), "Time, sec = 1\n");
  EXPECT_EQ(time_of("1999"), "Time, sec = 1\n");
  EXPECT_EQ(time_of("4294967295"), "Time, sec = 4294967\n");
}

TEST(EfficiencyBody, FailedPhasesLoseTheirLinesAndTotalsStay) {
  const std::string text = efficiency_body(kRecord + "data_efficiency[0].phases[0].status = 156\n" +
                                           "data_efficiency[0].phases[1].status = 21\n" +
                                           "data_efficiency[0].phases[2].status = 156\n");
  const std::string error = "ERROR KVR_RES_SOCKET_ERROR\n";
  std::string errors;
  for (int i = 0; i < 8; ++i) {
    errors += error;
  }
  EXPECT_EQ(text, "Efficiency\n" + kThreePhaseTop + errors +        //
                      "Total Load losses = 1.50000000\n" + error +  //
                      "Total Hysteresis = 4.50000000\n" + error +   //
                      "Total Eddy current = 3.50000000\n" + error + error +
                      "Total No Load losses = 2.50000000\n" + error +  //
                      "Total losses = 5.50000000\n"
                      "Tx Efficiency % = 98.69999695\n"
                      "Time, sec = 1\n");
}

TEST(EfficiencyBody, WhatIsMissingHasNoLines) {
  EXPECT_EQ(efficiency_body(""), "");
  EXPECT_EQ(efficiency_body("data_efficiency[0] = null"), "");
}

TEST(EfficiencyBody, UnknownPairThrowsAfterTheFirstLine) {
  OwnedRecord owned = parse_record("test_type = 13\ndata_count = 1\n" + kRecord +
                                       "data_efficiency[0].setup.connection_type = 4294967295",
                                   "record");
  std::ostringstream out;
  expect_kvr_exception(KVR_RES_INCORRECT_PARAMETERS, "winding_h",
                       "Utils::winding_h - incorrect connection_type",
                       [&] { KVR_Text_Output::ResultsToText(owned.get(), out); });
  EXPECT_TRUE(out.str().ends_with("\nTEST #1 \tEfficiency\n")) << out.str();
}

TEST(EfficiencyTemplates, WriteThePartsOfTheBody) {
  OwnedRecord owned = parse_record(kRecord, "record");
  kvr_TestData_Efficiency* const record = owned.get()->data_efficiency[0];
  std::ostringstream three_phase = prepared_stream();
  ResultsToText_Efficiency_3ph(record, three_phase);
  EXPECT_EQ(three_phase.str(), kThreePhaseTop + kThreePhaseLosses);
  std::ostringstream single_phase = prepared_stream();
  ResultsToText_Efficiency_1ph(record, single_phase);
  EXPECT_EQ(single_phase.str(), kSinglePhaseTop + kSinglePhaseLosses);
  std::ostringstream chosen = prepared_stream();
  ResultsToText_Efficiency(record, chosen);
  EXPECT_EQ(chosen.str(), kThreePhaseTop + kThreePhaseLosses + "Time, sec = 1\n");
  record->setup.windings[0].winding_type = KVR_WINDING_1P;
  chosen.str("");
  ResultsToText_Efficiency(record, chosen);
  EXPECT_EQ(chosen.str(), kSinglePhaseTop + kSinglePhaseLosses + "Time, sec = 1\n");
}

TEST(EfficiencyTemplates, ThreePhaseLayoutShowsTheCurrentOfACt) {
  OwnedRecord owned = parse_record(kRecord, "record");
  kvr_TestData_Efficiency* const record = owned.get()->data_efficiency[0];
  record->setup.windings[0].winding_type = KVR_WINDING_CT;
  std::stringstream out;  // any output stream will do
  out << std::fixed;
  out.precision(8);
  ResultsToText_Efficiency_3ph(record, out);
  EXPECT_TRUE(
      out.str().starts_with("Mode: Full\n"
                            "Object temp = 20.10000038 C\n"
                            "CH = 1.50000000\n"
                            "Power Frequency = 60\n"))
      << out.str();
  out.str("");
  ResultsToText_Efficiency_1ph(record, out);
  EXPECT_TRUE(out.str().starts_with(kSinglePhaseTop + "VH = 110000.00000000\n")) << out.str();
}

}  // namespace
