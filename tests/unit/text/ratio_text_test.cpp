#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <sstream>
#include <string>

#include "support/record_text.h"
#include "text/result_bodies.h"
#include "text/text_output.h"
#include "unit/text/body_text.h"

namespace {

using Text = KVR_Text_Output;

std::string text_of(const kvr_TestData_Ratio_Phase& phase, double reference_ratio,
                    bool detailed = true) {
  std::ostringstream out = prepared_stream();
  Text::ResultsToText_Phase_VR(&phase, reference_ratio, out, detailed);
  EXPECT_EQ(out.precision(), 8);
  return out.str();
}

std::string text_of(const kvr_TestData_Ratio_3ph& result, bool detailed = true) {
  std::ostringstream out = prepared_stream();
  Text::ResultsToText_3ph_VR(&result, out, detailed);
  EXPECT_EQ(out.precision(), 8);
  return out.str();
}

std::string body_of(OwnedRecord record) {
  std::ostringstream out = prepared_stream();
  {
    TextWriter text(out);
    write_ratio_body(*record.get(), 0, text);
  }
  return out.str();
}

kvr_TestData_Ratio_Phase single_phase() {
  kvr_TestData_Ratio_Phase phase{};
  std::strcpy(phase.phase_name, "not shown");
  std::strcpy(phase.high_side_phase, "H1-H0");
  std::strcpy(phase.low_side_phase, "X1-X0");
  phase.voltage_h = 230.1F;
  phase.voltage_x = 23.0F;
  phase.tnr = 10.0043478;
  phase.tnr_error = 0.043478;
  phase.tvr = 17.328;
  phase.frequency = 50.04F;
  phase.phase_high = 1.0F;
  phase.phase_low = -1.0F;
  phase.phase_shift_absolute = 3.5F;
  phase.phase_deviation_from_user_phasing = -3.5F;
  phase.efi = 1.0F;
  phase.voltage_rms = 230.25F;
  phase.current_rms = 0.0078125F;
  phase.vol_rms_high = 1.0F;  // for the export alone
  phase.vol_rms_low = 2.0F;
  phase.curr_h = 0.015625F;
  phase.curr_x = 0.15625F;
  phase.induced_voltage = 12.26F;
  return phase;
}

TEST(SinglePhaseRatioText, HasAllLinesInOrder) {
  EXPECT_EQ(text_of(single_phase(), 10),
            "TNR = 10.00434780\n"
            "TNR error = 0.04347800%\n"
            "TVR = 17.32800000\n"
            "High side Phase = H1-H0\n"
            "Low side Phase = X1-X0\n"
            "Voltage H = 230.10000610\n"
            "Voltage X = 23.00000000\n"
            "curr H = 0.01562500\n"
            "curr X = 0.15625000\n"
            "eFi = 1.00000000 = 57.295780 deg\n"
            "Phase High = 57.295780\n"
            "Phase Low = -57.295780\n"
            "phase_shift_absolute = -159.464767\n"
            "phase_deviation_from_user_phasing = 159.464767\n"
            "Ratio Error,% = 0.0435\n"
            "Current_rms = 0.00781250\n"
            "Voltage_rms = 230.25000000\n"
            "Frequency = 50.0\n"
            "Induced voltage = 12.3\n");
}

TEST(SinglePhaseRatioText, ShowsAFailureFirstAndStillAllNumbers) {
  kvr_TestData_Ratio_Phase phase = single_phase();
  const std::string good = text_of(phase, 10);
  phase.status = KVR_RES_OPEN_CIRCUIT_H;
  EXPECT_EQ(text_of(phase, 10), "test_status = KVR_RES_OPEN_CIRCUIT_H\n" + good);
  phase.status = KVR_RES_NOT_TESTED;
  EXPECT_EQ(text_of(phase, 10), "test_status = KVR_RES_NOT_TESTED\n" + good);
}

TEST(SinglePhaseRatioText, LeavesOutErrorsAndVoltageRatioThatSayNothing) {
  kvr_TestData_Ratio_Phase phase = single_phase();
  phase.tnr_error = 0;
  phase.tvr = phase.tnr;
  const std::string text = text_of(phase, 0);
  EXPECT_TRUE(text.starts_with("TNR = 10.00434780\nHigh side Phase = H1-H0\n")) << text;
  EXPECT_EQ(text.find("Error"), std::string::npos) << text;
  phase.tvr = 0;
  EXPECT_EQ(text_of(phase, 0), text);
}

TEST(SinglePhaseRatioText, ErrorLinesDependOnErrorAndReferenceEachAlone) {
  kvr_TestData_Ratio_Phase phase = single_phase();
  EXPECT_NE(text_of(phase, 0).find("TNR error = 0.04347800%\n"), std::string::npos);
  EXPECT_EQ(text_of(phase, 0).find("Ratio Error,%"), std::string::npos);
  phase.tnr_error = 0;
  EXPECT_EQ(text_of(phase, 10).find("TNR error"), std::string::npos);
  EXPECT_NE(text_of(phase, 10).find("Ratio Error,% = 0.0000\n"), std::string::npos);
}

TEST(SinglePhaseRatioText, ShortFormDropsTheFourAngles) {
  const std::string angles =
      "Phase High = 57.295780\n"
      "Phase Low = -57.295780\n"
      "phase_shift_absolute = -159.464767\n"
      "phase_deviation_from_user_phasing = 159.464767\n";
  std::string expected = text_of(single_phase(), 10);
  const std::size_t at = expected.find(angles);
  ASSERT_NE(at, std::string::npos);
  expected.erase(at, angles.size());
  EXPECT_EQ(text_of(single_phase(), 10, false), expected);
}

TEST(SinglePhaseRatioText, FollowsTheCallersNotation) {
  const kvr_TestData_Ratio_Phase phase = single_phase();
  std::ostringstream out;
  Text::ResultsToText_Phase_VR(&phase, 0, out, true);
  EXPECT_TRUE(out.str().starts_with("TNR = 10.0043\nTNR error = 0.043478%\n")) << out.str();
  EXPECT_EQ(out.flags() & std::ios_base::floatfield, std::ios_base::fmtflags{});
}

void set_names(kvr_TestData_Ratio_Phase& phase, const std::string& name, const std::string& digit) {
  std::strcpy(phase.phase_name, name.c_str());
  std::strcpy(phase.high_side_phase, ("H" + digit).c_str());
  std::strcpy(phase.low_side_phase, ("X" + digit).c_str());
  std::strcpy(phase.tvr_name, ("tvr" + name).c_str());
  std::strcpy(phase.tvr_high, ("th" + digit).c_str());
  std::strcpy(phase.tvr_low, ("tx" + digit).c_str());
}

/// Each number differs from all that could be mistaken for it.
kvr_TestData_Ratio_3ph three_phase() {
  kvr_TestData_Ratio_3ph r{};
  r.test_type = KVR_TEST_RATIO_DOWN;
  r.tested_phase = kAllPhases;
  r.reference_ratio = 2;
  r.tvr_multiplier = 1.7320508;
  for (int i = 0; i < 3; ++i) {
    kvr_TestData_Ratio_Phase& phase = r.phases[i];
    const auto step = static_cast<float>(i);
    set_names(phase, std::string(1, static_cast<char>('A' + i)), std::to_string(i + 1));
    phase.tnr = 2.5 + i;
    phase.tnr_error = 0.03125 + i;
    phase.tvr = 4.25 + i;
    phase.true_ratio = 3.125 + i;
    phase.true_ratio_error = -0.25 - i;
    phase.voltage_h = 100 + step;
    phase.voltage_x = 50 + step;
    phase.current_rms = 0.125F + step;
    phase.voltage_rms = 200 + step;
    phase.phase_high = 0.1F + step;
    phase.phase_low = -0.1F - step;
    phase.phase_shift_absolute = 0.2F + step;
    phase.phase_deviation_from_user_phasing = -0.2F - step;
    phase.frequency = 60 + step;
    phase.induced_voltage = 7.5F + step;
  }
  r.ratio_3ph = 2.0625;
  r.ratio_3ph_error = 0.03135;
  r.phase_3ph = 3.5F;
  r.positive_seq_hi = 1.5F;
  r.positive_phase_hi = 1.0F;
  r.negative_seq_hi = 2.5F;
  r.negative_phase_hi = -1.0F;
  r.zero_seq_hi = 3.5F;
  r.zero_phase_hi = 3.5F;
  r.positive_seq_lo = 4.5F;
  r.positive_phase_lo = -3.5F;
  r.negative_seq_lo = 5.5F;
  r.negative_phase_lo = 0.1F;
  r.zero_seq_lo = 6.5F;
  r.zero_phase_lo = 20.0F;
  r.negative_distortion_phase = 3.5F;
  r.zero_distortion_phase = -0.1F;
  r.negative_distortion_index = 0.011F;
  r.zero_distortion_index = 0.07F;
  r.health_state = KVR_HEALTH_MODERATE;
  return r;
}

const char* const kThreePhaseRatios =
    "TNR Ratio A: (H1)/(X1) = 2.50000000\n"
    "TNR Ratio B: (H2)/(X2) = 3.50000000\n"
    "TNR Ratio C: (H3)/(X3) = 4.50000000\n"
    "TNR Ratio Error A % = 0.0312\n"
    "TNR Ratio Error B % = 1.0312\n"
    "TNR Ratio Error C % = 2.0312\n"
    "TVR Ratio tvrA: (th1)/(tx1) = 4.25000000\n"
    "TVR Ratio tvrB: (th2)/(tx2) = 5.25000000\n"
    "TVR Ratio tvrC: (th3)/(tx3) = 6.25000000\n"
    "true_KVR Ratio A: (H1)/(X1) = 3.12500000\n"
    "true_KVR Ratio B: (H2)/(X2) = 4.12500000\n"
    "true_KVR Ratio C: (H3)/(X3) = 5.12500000\n"
    "true_KVR Ratio Error A % = -0.2500\n"
    "true_KVR Ratio Error B % = -1.2500\n"
    "true_KVR Ratio Error C % = -2.2500\n"
    "Voltage H1 = 100.00000000\n"
    "Voltage H2 = 101.00000000\n"
    "Voltage H3 = 102.00000000\n"
    "Voltage X1 = 50.00000000\n"
    "Voltage X2 = 51.00000000\n"
    "Voltage X3 = 52.00000000\n"
    "Current_rms_A = 0.12500000\n"
    "Current_rms_B = 1.12500000\n"
    "Current_rms_C = 2.12500000\n"
    "Voltage_rms_A = 200.00000000\n"
    "Voltage_rms_B = 201.00000000\n"
    "Voltage_rms_C = 202.00000000\n";

// Products in single precision would print 1.10000002% and 7.00000000% at the end.
const char* const kThreePhaseDetails =
    "Phase A = 5.729578\n"
    "Phase B = 63.025360\n"
    "Phase C = 120.321129\n"
    "Phase a = -5.729578\n"
    "Phase b = -63.025360\n"
    "Phase c = -120.321129\n"
    "D_Fi a = 11.459156\n"
    "D_Fi b = 68.754936\n"
    "D_Fi c = 126.050720\n"
    "D_a_from_user_phasing = -11.459156\n"
    "D_b_from_user_phasing = -68.754936\n"
    "D_c_from_user_phasing = -126.050720\n"
    "TVR multiplier factor = 1.73205080\n"
    "Frequency = 60.00000000\n"
    "Induced voltage = 7.50000000\n"
    "Ratio 3PH: = 2.06250000\n"
    "Ratio 3PH error % = 0.0314\n"
    "Phase 3PH: = -159.464767\n"
    "Positive Seq Hi = 1.50000000\n"
    "Positive Phase Hi = 57.295780\n"
    "Negative Seq Hi = 2.50000000\n"
    "Negative Phase Hi = -57.295780\n"
    "Zero Seq Hi = 3.50000000\n"
    "Zero Phase Hi = -159.464767\n"
    "Positive Seq Lo = 4.50000000\n"
    "Positive Phase Lo = 159.464767\n"
    "Negative Seq Lo = 5.50000000\n"
    "Negative Phase Lo = 5.729578\n"
    "Zero Seq Lo = 6.50000000\n"
    "Zero Phase Lo = 785.915649\n"
    "Negative Distortion Phase = 200.53522830\n"
    "Zero Distortion Phase = -5.72957804\n"
    "Negative Distortion Index = 1.09999999%\n"
    "Zero Distortion Index = 7.00000003%\n"
    "Transformer health state: MODERATE\n";

TEST(ThreePhaseRatioText, HasAllLinesInOrder) {
  EXPECT_EQ(text_of(three_phase()), std::string(kThreePhaseRatios) + kThreePhaseDetails);
}

TEST(ThreePhaseRatioText, ShortFormEndsAfterTheRmsLines) {
  EXPECT_EQ(text_of(three_phase(), false), kThreePhaseRatios);
}

TEST(ThreePhaseRatioText, WithoutReferenceHasNoErrorLine) {
  kvr_TestData_Ratio_3ph r = three_phase();
  r.reference_ratio = 0;
  const std::string text = text_of(r);
  EXPECT_EQ(text.find("rror"), std::string::npos) << text;
  EXPECT_NE(text.find("true_KVR Ratio C: (H3)/(X3) = 5.12500000\nVoltage H1 = "), std::string::npos)
      << text;
  EXPECT_NE(text.find("Ratio 3PH: = 2.06250000\nPhase 3PH: = "), std::string::npos) << text;
}

TEST(ThreePhaseRatioText, TrueRatioOfPhaseASpeaksForAllThree) {
  kvr_TestData_Ratio_3ph r = three_phase();
  r.phases[0].true_ratio = 0.1;
  EXPECT_EQ(text_of(r).find("true_KVR"), std::string::npos);
  r.phases[0].true_ratio = std::nextafter(0.1, 1.0);
  r.phases[1].true_ratio = 0;
  EXPECT_NE(text_of(r).find("true_KVR Ratio A: (H1)/(X1) = 0.10000000\n"
                            "true_KVR Ratio B: (H2)/(X2) = 0.00000000\n"),
            std::string::npos);
}

TEST(ThreePhaseRatioText, FailedPhaseLosesItsFormulaLinesAndNoOthers) {
  kvr_TestData_Ratio_3ph r = three_phase();
  r.phases[1].status = KVR_RES_OPEN_LEAD;
  r.phases[2].status = KVR_RES_NOT_TESTED;
  EXPECT_EQ(text_of(r), std::string("TNR Ratio A: (H1)/(X1) = 2.50000000\n"
                                    "ERROR KVR_RES_OPEN_LEAD\n"
                                    "TNR Ratio Error A % = 0.0312\n"
                                    "ERROR KVR_RES_OPEN_LEAD\n"
                                    "TVR Ratio tvrA: (th1)/(tx1) = 4.25000000\n"
                                    "ERROR KVR_RES_OPEN_LEAD\n"
                                    "true_KVR Ratio A: (H1)/(X1) = 3.12500000\n"
                                    "ERROR KVR_RES_OPEN_LEAD\n"
                                    "true_KVR Ratio Error A % = -0.2500\n"
                                    "ERROR KVR_RES_OPEN_LEAD\n"
                                    "Voltage H1 = 100.00000000\n"
                                    "ERROR KVR_RES_OPEN_LEAD\n"
                                    "Voltage X1 = 50.00000000\n"
                                    "ERROR KVR_RES_OPEN_LEAD\n"
                                    "Current_rms_A = 0.12500000\n"
                                    "Current_rms_B = 1.12500000\n"
                                    "Current_rms_C = 2.12500000\n"
                                    "Voltage_rms_A = 200.00000000\n"
                                    "Voltage_rms_B = 201.00000000\n"
                                    "Voltage_rms_C = 202.00000000\n") +
                            kThreePhaseDetails);
}

TEST(ThreePhaseRatioText, HealthStateHasAWordForAnyValue) {
  const char* const words[] = {"UNKNOWN", "EXCELLENT", "GOOD", "MODERATE", "BAD", "UNKNOWN"};
  kvr_TestData_Ratio_3ph r = three_phase();
  for (std::uint32_t state = 0; state < 6; ++state) {
    r.health_state = static_cast<kvr_HealthState>(state);
    EXPECT_TRUE(
        text_of(r).ends_with("\nTransformer health state: " + std::string(words[state]) + "\n"));
  }
  r.health_state = static_cast<kvr_HealthState>(7);
  EXPECT_TRUE(text_of(r).ends_with("Transformer health state: UNKNOWN\n"));
}

TEST(ThreePhaseRatioText, OneTestedPhaseIsAPlainBlock) {
  kvr_TestData_Ratio_3ph r = three_phase();
  for (int tested = 0; tested < 3; ++tested) {
    r.tested_phase = tested;
    EXPECT_EQ(text_of(r), text_of(r.phases[tested], 2));
    EXPECT_EQ(text_of(r, false), text_of(r.phases[tested], 2, false));
  }
}

TEST(ThreePhaseRatioText, TestedPhaseThatDoesNotExistHasNoLines) {
  kvr_TestData_Ratio_3ph nested = three_phase();
  kvr_TestData_Ratio_3ph r = three_phase();
  for (const int tested : {-1, 3, 99, 101, -2147483647 - 1, 2147483647}) {
    r.tested_phase = tested;
    r.step_up = nullptr;
    EXPECT_EQ(text_of(r), "") << tested;
    r.step_up = &nested;
    EXPECT_EQ(text_of(r), "\nKVR UP:\n" + text_of(nested)) << tested;
  }
}

TEST(ThreePhaseRatioText, NestedResultsFollowUpThenDownAtAnyDepth) {
  kvr_TestData_Ratio_3ph innermost = three_phase();
  innermost.tested_phase = 2;
  kvr_TestData_Ratio_3ph down = three_phase();
  down.reference_ratio = 0;
  kvr_TestData_Ratio_3ph up = three_phase();
  up.health_state = KVR_HEALTH_GOOD;
  up.step_down = &innermost;
  kvr_TestData_Ratio_3ph r = three_phase();
  r.step_up = &up;
  r.step_down = &down;
  for (const bool detailed : {true, false}) {
    kvr_TestData_Ratio_3ph alone = three_phase();
    const std::string own = text_of(alone, detailed);
    alone.health_state = KVR_HEALTH_GOOD;
    const std::string own_of_up = text_of(alone, detailed);
    EXPECT_EQ(text_of(r, detailed), own + "\nKVR UP:\n" + own_of_up + "\nKVR DOWN:\n" +
                                        text_of(innermost, detailed) + "\nKVR DOWN:\n" +
                                        text_of(down, detailed));
  }
}

TEST(ThreePhaseRatioText, RestoresThePrecisionEvenAfterAPhaseThatHasNoLines) {
  kvr_TestData_Ratio_3ph r{};
  r.tested_phase = 7;
  std::ostringstream out;
  Text::ResultsToText_3ph_VR(&r, out, true);
  EXPECT_EQ(out.precision(), 8);
}

std::string headed(int record_type, int result_type) {
  const std::string text =
      body_of(parse_record("data_count = 1\ntest_type = " + std::to_string(record_type) +
                               "\ndata_ratio_3ph[0].tested_phase = -1"  // nothing below the heading
                               "\ndata_ratio_3ph[0].test_type = " +
                               std::to_string(result_type),
                           "record"));
  return text;
}

TEST(RatioBody, ThreePhaseHeadingGoesByTheTypeOfTheResult) {
  for (const int record_type : {1, 4, 16}) {
    EXPECT_EQ(headed(record_type, 1), "Ratio Test DOWN\n");
    EXPECT_EQ(headed(record_type, 2), "Ratio Test UP\n");
    EXPECT_EQ(headed(record_type, 4), "Voltage Ratio AUTO (DOWN)\n");
    EXPECT_EQ(headed(record_type, 5), "CT Test\n");
    EXPECT_EQ(headed(record_type, 6), "PT/VT Test\n");
    EXPECT_EQ(headed(record_type, 16), "Transfomer Excitation DOWN 3ph\n");
    EXPECT_EQ(headed(record_type, 0), "ResultsToText_Ratio_3ph - Test type not supported: 0\n");
    EXPECT_EQ(headed(record_type, 3), "ResultsToText_Ratio_3ph - Test type not supported: 3\n");
    EXPECT_EQ(headed(record_type, 8), "ResultsToText_Ratio_3ph - Test type not supported: 8\n");
  }
}

TEST(RatioBody, UnsupportedThreePhaseTypeRendersNothingOfItsNest) {
  EXPECT_EQ(body_of(parse_record("test_type = 1\n"
                                 "data_ratio_3ph[0].test_type = 4294967295\n"
                                 "data_ratio_3ph[0].tested_phase = 100\n"
                                 "data_ratio_3ph[0].step_up.tested_phase = 100\n",
                                 "record")),
            "ResultsToText_Ratio_3ph - Test type not supported: 4294967295\n");
}

/// The first line of a single-phase body.
std::string single_phase_heading(int record_type, int direction) {
  const std::string text =
      body_of(parse_record("test_type = " + std::to_string(record_type) +
                               "\ndata_ratio_1ph[0].direction = " + std::to_string(direction),
                           "record"));
  return text.substr(0, text.find('\n'));
}

TEST(RatioBody, SinglePhaseHeadingGoesByTheTypeOfTheRecord) {
  for (const int direction : {0, 1, 2, 5}) {
    EXPECT_EQ(single_phase_heading(1, direction), "Ratio Test DOWN");
    EXPECT_EQ(single_phase_heading(2, direction), "Ratio Test UP");
    EXPECT_EQ(single_phase_heading(5, direction), "CT Test");
    EXPECT_EQ(single_phase_heading(6, direction), "PT/VT Test");
    EXPECT_EQ(single_phase_heading(16, direction), "Transfomer Excitation 1ph");
    EXPECT_EQ(single_phase_heading(4, direction),
              direction == 2 ? "Voltage Ratio AUTO (UP)" : "Voltage Ratio AUTO (DOWN)");
  }
}

TEST(RatioBody, RecordTypeWithoutSinglePhaseHeadingHasAMessageAndNoResult) {
  EXPECT_EQ(body_of(parse_record("test_type = 8\ndata_ratio_1ph[0].phase.tnr = 2", "record")),
            "Testing mode not supported: 8\n");
}

TEST(RatioBody, SinglePhaseFollowsThreePhaseAlsoAfterAnUnsupportedType) {
  const std::string record =
      "test_type = 2\n"
      "data_ratio_1ph[0].phase.tnr = 2\n"
      "data_ratio_1ph[0].reference_ratio = 2\n"
      "data_ratio_3ph[0].tested_phase = 0\n"
      "data_ratio_3ph[0].test_type = ";
  kvr_TestData_Ratio_Phase phase{};
  const std::string empty_phase = text_of(phase, 0);
  phase.tnr = 2;
  const std::string single = "Ratio Test UP\n" + text_of(phase, 2);
  EXPECT_EQ(body_of(parse_record(record + "7", "record")),
            "ResultsToText_Ratio_3ph - Test type not supported: 7\n" + single);
  EXPECT_EQ(body_of(parse_record(record + "1", "record")),
            "Ratio Test DOWN\n" + empty_phase + single);
}

TEST(RatioBody, NothingThereGivesNothing) {
  EXPECT_EQ(body_of(parse_record("test_type = 1", "record")), "");
  EXPECT_EQ(body_of(parse_record("test_type = 1\ndata_ratio_3ph[0] = null\n"
                                 "data_ratio_1ph[0] = null",
                                 "record")),
            "");
}

}  // namespace
