#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <numbers>
#include <string>

#include "unit/virtual_instrument/requests.h"
#include "virtual_instrument/bench/bench_reader.h"
#include "virtual_instrument/measurement/phase_result.h"
#include "virtual_instrument/measurement/ratio_test.h"

namespace virtual_instrument {
namespace {

constexpr double kHour = std::numbers::pi / 6;

/// Three ideal enough transformers of 2400/240 V, so that what is left is how they are joined.
Bench ideal_bench(const std::string& group) {
  Bench bench = built_in_bench();
  bench.transformer.vector_group = parse_vector_group(group).value();
  bench.transformer.high_resistance = bench.transformer.low_resistance = 1e-6;
  bench.transformer.high_reactance = bench.transformer.low_reactance = 0;
  bench.measurement.noise = 0;
  return bench;
}

kvr_Ratio3phRequest request_for(const VectorGroup& group, kvr_TestType type = KVR_TEST_RATIO_DOWN,
                                float ratio = 0) {
  kvr_Ratio3phRequest request = ratio_3ph_request(type, 24, group.high, group.low, ratio);
  request.setup.connections[0].clock = group.clock;
  return request;
}

kvr_TestData_Ratio_3ph measure(const kvr_Ratio3phRequest& request, const Bench& bench) {
  EXPECT_EQ(check_ratio_3ph(request, bench), KVR_RES_OK);
  const auto outcome = measure_ratio_3ph(request, bench, 1);
  EXPECT_EQ(outcome.code, KVR_RES_OK);
  return outcome.data;
}

double line_ratio(const VectorGroup& group) {
  return 10 / *turns_per_line_ratio(group.high, group.low);
}

TEST(Ratio3ph, EveryGroupShowsItsClockAndRatioFromEitherSide) {
  for (const char* high : {"D", "YN"}) {
    for (const char* low : {"d", "y"}) {
      for (int clock = 0; clock < 12; ++clock) {
        const std::string name = std::string(high) + low + std::to_string(clock);
        const std::optional<VectorGroup> group = parse_vector_group(name);
        if (!group) {
          continue;
        }
        for (const kvr_TestType type : {KVR_TEST_RATIO_DOWN, KVR_TEST_RATIO_UP}) {
          SCOPED_TRACE(name + " " + std::to_string(type));
          const kvr_TestData_Ratio_3ph data = measure(request_for(*group, type), ideal_bench(name));
          for (const kvr_TestData_Ratio_Phase& phase : data.phases) {
            EXPECT_NEAR(phase.tnr, 10, 1e-6);
            EXPECT_NEAR(phase.tvr, line_ratio(*group), 1e-6);
            EXPECT_NEAR(folded(phase.phase_shift_absolute - clock * kHour), 0, 1e-6);
            EXPECT_NEAR(phase.phase_deviation_from_user_phasing, 0, 1e-6);
            EXPECT_NEAR(type == KVR_TEST_RATIO_DOWN ? phase.voltage_h : phase.voltage_x, 24, 1e-4);
          }
          EXPECT_NEAR(data.ratio_3ph, 10, 1e-6);
          EXPECT_NEAR(folded(data.phase_3ph - clock * kHour), 0, 1e-6);
        }
      }
    }
  }
}

TEST(Ratio3ph, LinesLieAThirdOfATurnApart) {
  const VectorGroup group = parse_vector_group("Dyn1").value();
  const kvr_TestData_Ratio_3ph data = measure(request_for(group), ideal_bench("Dyn1"));
  for (int k = 0; k < 3; ++k) {
    EXPECT_NEAR(folded(data.phases[k].phase_high + k * 4 * kHour), 0, 1e-6);
    EXPECT_NEAR(folded(data.phases[k].phase_low + (k * 4 + 1) * kHour), 0, 1e-6);
  }
  EXPECT_STREQ(data.phases[0].phase_name, "A");
  EXPECT_STREQ(data.phases[1].high_side_phase, "H2-H3");
  EXPECT_STREQ(data.phases[2].low_side_phase, "X3-X1");
}

TEST(Ratio3ph, SequencesOfASoundBankArePositive) {
  const VectorGroup group = parse_vector_group("Dyn1").value();
  const kvr_TestData_Ratio_3ph data = measure(request_for(group), ideal_bench("Dyn1"));
  EXPECT_NEAR(data.positive_seq_hi, 24, 1e-4);
  EXPECT_NEAR(data.positive_phase_hi, 0, 1e-6);
  EXPECT_NEAR(data.positive_seq_lo, 24 / line_ratio(group), 1e-4);
  EXPECT_NEAR(data.positive_phase_lo, -kHour, 1e-6);
  for (const float nothing :
       {data.negative_seq_hi, data.negative_seq_lo, data.zero_seq_hi, data.zero_seq_lo,
        data.negative_distortion_index, data.zero_distortion_index}) {
    EXPECT_NEAR(nothing, 0, 1e-6);
  }
  EXPECT_EQ(data.health_state, KVR_HEALTH_EXCELLENT);
}

TEST(Ratio3ph, CurrentsAreThoseOfTheLines) {
  const auto current = [](const std::string& name, kvr_TestType type) {
    const VectorGroup group = parse_vector_group(name).value();
    return measure(request_for(group, type), ideal_bench(name)).phases[1];
  };
  const Bench bench = ideal_bench("Dd0");
  const auto single =
      measure_ratio_1ph(ratio_1ph_request(KVR_TEST_RATIO_DOWN, 24), bench, 1).data.phase;
  // A delta puts the line voltage on the coil and draws a root of three times its current.
  EXPECT_NEAR(current("Dd0", KVR_TEST_RATIO_DOWN).current_rms,
              single.current_rms * std::numbers::sqrt3, single.current_rms * 1e-2);
  EXPECT_NEAR(current("Dd0", KVR_TEST_RATIO_DOWN).efi, single.efi, 1e-3);
  EXPECT_EQ(current("Dd0", KVR_TEST_RATIO_DOWN).curr_x, 0);
  EXPECT_LT(current("Yy0", KVR_TEST_RATIO_DOWN).current_rms, single.current_rms);
  EXPECT_EQ(current("Yy0", KVR_TEST_RATIO_UP).curr_h, 0);
  EXPECT_GT(current("Yy0", KVR_TEST_RATIO_UP).curr_x, 0);
  for (const kvr_TestType type : {KVR_TEST_RATIO_DOWN, KVR_TEST_RATIO_UP}) {
    EXPECT_NEAR(current("Yd5", type).efi, current("Yy0", type).efi, 0.2);
    EXPECT_NEAR(current("Dy7", type).efi, current("Dd6", type).efi, 0.2);
  }
}

TEST(Ratio3ph, AWrongWindingEntryShowsAsARootOfThree) {
  kvr_Ratio3phRequest request = request_for(parse_vector_group("Yyn0").value());
  request.setup.windings[0].voltage = 10;
  const kvr_TestData_Ratio_3ph data = measure(request, ideal_bench("Dyn1"));
  EXPECT_NEAR(data.phases[0].tnr, 10 / std::numbers::sqrt3, 1e-6);
  EXPECT_NEAR(data.phases[0].phase_deviation_from_user_phasing, kHour, 1e-6);
  EXPECT_EQ(data.health_state, KVR_HEALTH_BAD);
}

TEST(Ratio3ph, ErrorsCompareLineVoltagesWithTheNameplate) {
  const VectorGroup group = parse_vector_group("Dyn1").value();
  const kvr_TestData_Ratio_3ph data =
      measure(request_for(group, KVR_TEST_RATIO_DOWN, static_cast<float>(line_ratio(group) / 1.01)),
              ideal_bench("Dyn1"));
  EXPECT_NEAR(data.reference_ratio, line_ratio(group) / 1.01, 1e-5);
  EXPECT_NEAR(data.tvr_multiplier, std::numbers::sqrt3, 1e-12);
  EXPECT_NEAR(data.phases[0].tnr_error, 1, 1e-4);
  EXPECT_NEAR(data.phases[0].true_ratio_error, 1, 1e-3);
  EXPECT_NEAR(data.ratio_3ph_error, 1, 1e-4);
  EXPECT_EQ(data.health_state, KVR_HEALTH_MODERATE);
}

TEST(Ratio3ph, OnePhaseAloneLeavesTheOthersUntested) {
  kvr_Ratio3phRequest request = request_for(parse_vector_group("Dyn1").value());
  request.tested_phase = 1;
  const kvr_TestData_Ratio_3ph data = measure(request, ideal_bench("Dyn1"));
  EXPECT_EQ(data.phases[0].status, KVR_RES_NOT_TESTED);
  EXPECT_EQ(data.phases[1].status, KVR_RES_OK);
  EXPECT_NEAR(data.phases[1].tnr, 10, 1e-6);
  EXPECT_EQ(data.phases[2].status, KVR_RES_NOT_TESTED);
  EXPECT_EQ(data.positive_seq_hi, 0);
  EXPECT_EQ(data.health_state, KVR_HEALTH_UNKNOWN);
}

TEST(Ratio3ph, RepeatsTheBodyOfTheRequestWithWhatWasSettled) {
  const kvr_Ratio3phRequest request =
      request_for(parse_vector_group("Dyn1").value(), KVR_TEST_RATIO_AUTO);
  const kvr_TestData_Ratio_3ph data = measure(request, ideal_bench("Dyn1"));
  EXPECT_EQ(data.testing_mode, KVR_TESTING_MODE_3PH_3_3);
  EXPECT_EQ(data.test_type, KVR_TEST_RATIO_DOWN);
  EXPECT_EQ(data.tested_phase, kAllPhases);
  EXPECT_EQ(data.test_voltage, 24);
  EXPECT_EQ(data.limit_b, request.limit_b);
  EXPECT_EQ(std::memcmp(&data.setup, &request.setup, sizeof(request.setup)), 0);
  EXPECT_EQ(data.step_up, nullptr);
  EXPECT_EQ(data.step_down, nullptr);
}

TEST(Ratio3ph, AutomaticTestStepsUpWhereTheLowSideGivesTooLittle) {
  Bench bench = ideal_bench("Dyn1");
  bench.measurement.smallest_voltage = 20;
  EXPECT_EQ(
      measure(request_for(bench.transformer.vector_group, KVR_TEST_RATIO_AUTO), bench).test_type,
      KVR_TEST_RATIO_UP);
}

TEST(Ratio3ph, RawDataHoldsAllTestedPhases) {
  kvr_Ratio3phRequest request = request_for(parse_vector_group("Dyn1").value());
  const std::string text = measure_ratio_3ph(request, ideal_bench("Dyn1"), 1).raw_data;
  for (const char* heading : {"# RAW samples of phase A: H1-H2 and X1-X2, excited H1-H2\n",
                              "# RAW samples of phase B: H2-H3 and X2-X3, excited H2-H3\n",
                              "# RAW samples of phase C: H3-H1 and X3-X1, excited H3-H1\n"}) {
    EXPECT_NE(text.find(heading), std::string::npos) << heading;
  }
  request.setup.raw_data_requested = 0;
  EXPECT_EQ(measure_ratio_3ph(request, ideal_bench("Dyn1"), 1).raw_data, "");
}

TEST(Ratio3ph, RefusesWhatItCantDo) {
  const auto check = [](auto change) {
    kvr_Ratio3phRequest request = request_for(parse_vector_group("Dyn1").value());
    change(request);
    return check_ratio_3ph(request, built_in_bench());
  };
  EXPECT_EQ(check([](auto&) {}), KVR_RES_OK);
  EXPECT_EQ(check([](auto& r) { r.test_type = KVR_TEST_RATIO_CT; }),
            KVR_RES_TESTING_METHOD_NOT_SUPPORTED);
  EXPECT_EQ(check([](auto& r) { r.testing_mode = KVR_TESTING_MODE_3PH_3_1; }), KVR_RES_OK);
  EXPECT_EQ(check([](auto& r) { r.testing_mode = KVR_TESTING_MODE_3PH_1_1; }),
            KVR_RES_NOT_IMPLEMENTED);
  EXPECT_EQ(check([](auto& r) { r.testing_mode = KVR_TESTING_MODE_1PH; }),
            KVR_RES_INCORRECT_PARAMETERS);
  EXPECT_EQ(check([](auto& r) { r.tested_phase = 3; }), KVR_RES_INCORRECT_PARAMETERS);
  EXPECT_EQ(check([](auto& r) { r.tested_phase = -1; }), KVR_RES_INCORRECT_PARAMETERS);
  EXPECT_EQ(check([](auto& r) { r.setup.windings[0].winding_type = KVR_WINDING_Z; }),
            KVR_RES_NOT_IMPLEMENTED);
  EXPECT_EQ(check([](auto& r) { r.test_voltage = 0; }), KVR_RES_UNSUPPORTED_VOLTAGE);
}

TEST(Ratio3ph, GivesUpAtTheInstrumentsLimits) {
  Bench bench = ideal_bench("Dyn1");
  bench.instrument.maximum_current = 1e-4;
  EXPECT_EQ(measure_ratio_3ph(request_for(bench.transformer.vector_group), bench, 1).code,
            KVR_RES_EXCITATION_CURRENT_TOO_HIGH);
}

}  // namespace
}  // namespace virtual_instrument
