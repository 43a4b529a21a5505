#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <numbers>
#include <string>

#include "unit/virtual_instrument/requests.h"
#include "virtual_instrument/bench/bench_reader.h"
#include "virtual_instrument/bench/bench_unit.h"
#include "virtual_instrument/measurement/phase_result.h"
#include "virtual_instrument/measurement/single_phase_ratio.h"

namespace virtual_instrument {
namespace {

constexpr double kDegrees = 180 / std::numbers::pi;

/// A linear transformer of 8000/240 V on an instrument without noise and without limits.
Bench textbook_bench() {
  Bench bench = built_in_bench();
  bench.instrument.maximum_voltage = 10000;
  bench.instrument.maximum_induced_voltage = 1e6;
  bench.instrument.voltage_range = 1e6;
  bench.transformer.vector_group = {KVR_WINDING_1P, KVR_WINDING_1P, 0};
  bench.transformer.high_voltage = 8000;
  bench.transformer.low_voltage = 240;
  bench.transformer.high_resistance = 15;
  bench.transformer.high_reactance = 120;
  bench.transformer.low_resistance = 0.02;
  bench.transformer.low_reactance = 0.15;
  bench.transformer.core_resistance = 200e3;
  bench.transformer.magnetizing_reactance = 30e3;
  bench.transformer.low_flux_excess = 0;
  bench.transformer.saturation = false;
  bench.measurement.noise = 0;
  return bench;
}

SinglePhaseRatio measure_on_bench(const kvr_Ratio1phRequest& request, const Bench& bench,
                                  std::uint64_t seed) {
  return measure_single_phase_ratio(make_unit(bench), request, bench, seed);
}

constexpr float kRatio = 8000.0F / 240.0F;

kvr_TestData_Ratio_1ph measure(const kvr_Ratio1phRequest& request, const Bench& bench) {
  EXPECT_EQ(check_single_phase_ratio(request, bench), KVR_RES_OK);
  const auto outcome = measure_on_bench(request, bench, 1);
  EXPECT_EQ(outcome.code, KVR_RES_OK);
  return outcome.data;
}

TEST(SinglePhaseRatio, StepDownReadsTheTextbookCircuit) {
  const kvr_TestData_Ratio_1ph data =
      measure(ratio_1ph_request(KVR_TEST_RATIO_DOWN, 8000, kRatio), textbook_bench());
  const kvr_TestData_Ratio_Phase& phase = data.phase;
  EXPECT_EQ(data.direction, KVR_TEST_RATIO_DOWN);
  EXPECT_NEAR(data.reference_ratio, 8000.0 / 240, 1e-5);
  EXPECT_EQ(phase.status, KVR_RES_OK);
  EXPECT_NEAR(phase.tnr, 8000.0 / 240 * 1.004075, 1e-3);
  EXPECT_NEAR(phase.tnr_error, 0.4075, 0.0005);
  EXPECT_EQ(phase.tvr, phase.tnr);
  EXPECT_NEAR(phase.true_ratio, phase.tnr, 1e-9);
  EXPECT_NEAR(phase.true_ratio_error, phase.tnr_error, 1e-9);
  EXPECT_NEAR(phase.phase_shift_absolute * kDegrees, 0.0057, 0.0001);
  EXPECT_NEAR(phase.phase_deviation_from_user_phasing * kDegrees, 0.0057, 0.0001);
  EXPECT_NEAR(phase.phase_high, 0, 1e-9);
  EXPECT_NEAR(phase.phase_low * kDegrees, -0.0057, 0.0001);
  EXPECT_NEAR(phase.voltage_h, 8000, 1e-3);
  EXPECT_NEAR(phase.voltage_x, 240 / 1.004075, 1e-3);
  EXPECT_NEAR(phase.vol_rms_high, 8000, 1e-3);
  EXPECT_NEAR(phase.vol_rms_low, 240 / 1.004075, 1e-3);
  EXPECT_NEAR(phase.voltage_rms, 8000, 1e-3);
  EXPECT_NEAR(phase.current_rms, 0.26856, 0.26856e-3);
  EXPECT_NEAR(phase.curr_h, 0.26856, 0.26856e-3);
  EXPECT_EQ(phase.curr_x, 0);
  EXPECT_NEAR(phase.induced_voltage, phase.vol_rms_low, 1e-6);
  EXPECT_NEAR(phase.frequency, 60, 1e-4);
  // The exciting current lags by the angle of the whole circuit: 15 + j120 in series with 200k
  // parallel to j30k.
  EXPECT_NEAR(phase.efi * kDegrees, 81.4, 0.1);
}

TEST(SinglePhaseRatio, CurrentFollowsTheVoltage) {
  const kvr_TestData_Ratio_1ph data =
      measure(ratio_1ph_request(KVR_TEST_RATIO_DOWN, 100), textbook_bench());
  EXPECT_NEAR(data.phase.current_rms, 3.357e-3, 3.357e-6);
}

TEST(SinglePhaseRatio, StepUpExcitesTheLowSide) {
  const kvr_TestData_Ratio_1ph data =
      measure(ratio_1ph_request(KVR_TEST_RATIO_UP, 24, kRatio), textbook_bench());
  const kvr_TestData_Ratio_Phase& phase = data.phase;
  EXPECT_EQ(data.direction, KVR_TEST_RATIO_UP);
  EXPECT_NEAR(phase.voltage_x, 24, 1e-5);
  EXPECT_NEAR(phase.voltage_rms, 24, 1e-5);
  EXPECT_NEAR(phase.phase_low, 0, 1e-9);
  EXPECT_LT(phase.voltage_h, 800);
  EXPECT_GT(phase.voltage_h, 790);
  EXPECT_EQ(phase.curr_h, 0);
  EXPECT_NEAR(phase.curr_x, phase.current_rms, 1e-6);
  EXPECT_NEAR(phase.induced_voltage, phase.vol_rms_high, 1e-3);
  // The drop is now on the low side, so the ratio reads too low: x2 = 0.15 ohm against 27 ohm.
  EXPECT_NEAR(phase.tnr_error, -0.5635, 0.0005);
}

TEST(SinglePhaseRatio, CurrentTransformerTestExcitesTheLowSideAndReadsTheInverse) {
  const kvr_TestData_Ratio_1ph data =
      measure(ratio_1ph_request(KVR_TEST_RATIO_CT, 24, 240.0F / 8000.0F), textbook_bench());
  EXPECT_EQ(data.direction, KVR_TEST_RATIO_CT);
  EXPECT_NEAR(data.phase.voltage_x, 24, 1e-5);
  EXPECT_NEAR(data.phase.tnr, 0.03 * 1.005667, 0.03 * 5e-6);
  EXPECT_NEAR(data.phase.tnr_error, 0.5667, 0.0005);
}

TEST(SinglePhaseRatio, AutomaticTestStepsDownWhileTheLowSideGivesEnough) {
  Bench bench = textbook_bench();
  bench.measurement.smallest_voltage = 0.05;
  const auto direction = [&bench](float voltage) {
    return measure(ratio_1ph_request(KVR_TEST_RATIO_AUTO, voltage), bench).direction;
  };
  EXPECT_EQ(direction(8), KVR_TEST_RATIO_DOWN);
  EXPECT_EQ(direction(1), KVR_TEST_RATIO_UP);
  bench.instrument.maximum_induced_voltage = 20;
  EXPECT_EQ(direction(1), KVR_TEST_RATIO_DOWN);
}

TEST(SinglePhaseRatio, RepeatsTheBodyOfTheRequest) {
  const kvr_Ratio1phRequest request = ratio_1ph_request(KVR_TEST_RATIO_DOWN, 8, 33);
  const kvr_TestData_Ratio_1ph data = measure(request, textbook_bench());
  std::array<std::byte, sizeof(data)> bytes{};
  std::memcpy(bytes.data(), &data, sizeof(data));
  EXPECT_EQ(std::memcmp(bytes.data() + 128, &request, sizeof(request)), 0);
  const auto is_zero = [](std::byte byte) { return byte == std::byte{}; };
  EXPECT_TRUE(std::all_of(bytes.begin(), bytes.begin() + 128, is_zero));
}

TEST(SinglePhaseRatio, ASettledDirectionIsAllThatDiffersFromTheBodyOfAnAutomaticTest) {
  const kvr_Ratio1phRequest request = ratio_1ph_request(KVR_TEST_RATIO_AUTO, 8, 33);
  const kvr_TestData_Ratio_1ph data = measure(request, textbook_bench());
  std::array<std::byte, sizeof(data)> bytes{};
  std::memcpy(bytes.data(), &data, sizeof(data));
  EXPECT_EQ(data.direction, KVR_TEST_RATIO_DOWN);
  EXPECT_EQ(std::memcmp(bytes.data() + 132, &request.high_side_phase, sizeof(request) - 4), 0);
}

TEST(SinglePhaseRatio, NamesTheTerminalsOfTheSelections) {
  struct Row {
    std::int32_t selection;
    const char* phase;
    const char* high;
    const char* low;
  };
  for (const Row& row : {Row{1, "A", "H1-H2", "X1-X2"}, Row{2, "B", "H2-H3", "X2-X3"},
                         Row{3, "C", "H3-H1", "X3-X1"}, Row{4, "A", "H1-H0", "X1-X0"},
                         Row{5, "B", "H2-H0", "X2-X0"}, Row{6, "C", "H3-H0", "X3-X0"}}) {
    kvr_Ratio1phRequest request = ratio_1ph_request(KVR_TEST_RATIO_DOWN, 8);
    request.high_side_phase = row.selection;
    request.low_side_phase = row.selection % 6 + 1;
    const kvr_TestData_Ratio_Phase high = measure(request, built_in_bench()).phase;
    EXPECT_STREQ(high.phase_name, row.phase);
    EXPECT_STREQ(high.high_side_phase, row.high);
    EXPECT_STREQ(high.tvr_name, row.phase);
    EXPECT_STREQ(high.tvr_high, row.high);
    request.low_side_phase = row.selection;
    const kvr_TestData_Ratio_Phase low = measure(request, built_in_bench()).phase;
    EXPECT_STREQ(low.low_side_phase, row.low);
    EXPECT_STREQ(low.tvr_low, row.low);
  }
}

TEST(SinglePhaseRatio, WithoutANameplateThereIsNoError) {
  const kvr_TestData_Ratio_1ph data =
      measure(ratio_1ph_request(KVR_TEST_RATIO_DOWN, 8), textbook_bench());
  EXPECT_EQ(data.reference_ratio, 0);
  EXPECT_EQ(data.phase.tnr_error, 0);
  EXPECT_EQ(data.phase.true_ratio_error, 0);
}

TEST(SinglePhaseRatio, NoiseLooksLikeAGoodInstrument) {
  Bench bench = textbook_bench();
  const double quiet = measure(ratio_1ph_request(KVR_TEST_RATIO_DOWN, 47), bench).phase.tnr;
  bench.measurement.noise = built_in_bench().measurement.noise;
  double squares = 0;
  constexpr int kTests = 30;
  for (std::uint64_t seed = 0; seed < kTests; ++seed) {
    const auto outcome = measure_on_bench(ratio_1ph_request(KVR_TEST_RATIO_DOWN, 47), bench, seed);
    squares += std::pow(outcome.data.phase.tnr / quiet - 1, 2);
  }
  const double deviation = std::sqrt(squares / kTests) * 100;
  EXPECT_GT(deviation, 0.003);
  EXPECT_LT(deviation, 0.02);
}

TEST(SinglePhaseRatio, TheSameSeedMeasuresTheSameBytes) {
  const kvr_Ratio1phRequest request = ratio_1ph_request(KVR_TEST_RATIO_AUTO, 12, 10);
  const auto one = measure_on_bench(request, built_in_bench(), 5);
  const auto two = measure_on_bench(request, built_in_bench(), 5);
  const auto other = measure_on_bench(request, built_in_bench(), 6);
  EXPECT_EQ(std::memcmp(&one.data, &two.data, sizeof(one.data)), 0);
  EXPECT_EQ(one.raw_data, two.raw_data);
  EXPECT_NE(std::memcmp(&one.data, &other.data, sizeof(one.data)), 0);
}

TEST(SinglePhaseRatio, RawDataHoldsEverySample) {
  Bench bench = textbook_bench();
  bench.measurement.samples_per_period = 16;
  bench.measurement.periods = 2;
  kvr_Ratio1phRequest request = ratio_1ph_request(KVR_TEST_RATIO_DOWN, 100);
  const std::string text = measure_on_bench(request, bench, 1).raw_data;
  const std::string begin =
      "# RAW samples of phase A: H1-H2 and X1-X2, excited H1-H2\n"
      "# 960 samples per second, 32 samples\n"
      "Time s;Voltage H V;Voltage X V;Current H A;Current X A\n"
      "0.00104167;5.411961e+01;";
  EXPECT_EQ(text.substr(0, begin.size()), begin);
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 3 + 32);
  EXPECT_EQ(text.back(), '\n');

  request.setup.raw_data_requested = 0;
  EXPECT_EQ(measure_on_bench(request, bench, 1).raw_data, "");
}

TEST(SinglePhaseRatio, RefusesTestsItDoesNotKnow) {
  for (const std::uint32_t type : {0U, 3U, 8U, 16U, 19U, 0xffffffffU}) {
    EXPECT_EQ(check_single_phase_ratio(ratio_1ph_request(static_cast<kvr_TestType>(type), 8),
                                       built_in_bench()),
              KVR_RES_TESTING_METHOD_NOT_SUPPORTED)
        << type;
  }
}

TEST(SinglePhaseRatio, RefusesVoltagesThatTheSourceCantGive) {
  const auto check = [](float voltage) {
    return check_single_phase_ratio(ratio_1ph_request(KVR_TEST_RATIO_DOWN, voltage),
                                    built_in_bench());
  };
  for (const float voltage :
       {0.0F, -5.0F, 0.09F, 250.1F, 1000.0F, 1e30F, std::numeric_limits<float>::infinity(),
        -std::numeric_limits<float>::infinity(), std::numeric_limits<float>::quiet_NaN()}) {
    EXPECT_EQ(check(voltage), KVR_RES_UNSUPPORTED_VOLTAGE) << voltage;
  }
  for (const float voltage : {0.11F, 8.0F, 250.0F}) {
    EXPECT_EQ(check(voltage), KVR_RES_OK) << voltage;
  }
}

TEST(SinglePhaseRatio, RefusesParametersThatMakeNoSense) {
  const auto check = [](auto change) {
    kvr_Ratio1phRequest request = ratio_1ph_request(KVR_TEST_RATIO_DOWN, 8, 10);
    change(request);
    return check_single_phase_ratio(request, built_in_bench());
  };
  const float nan = std::numeric_limits<float>::quiet_NaN();
  for (const std::int32_t pair : {0, 7, -1}) {
    EXPECT_EQ(check([pair](auto& r) { r.high_side_phase = pair; }), KVR_RES_INCORRECT_PARAMETERS);
    EXPECT_EQ(check([pair](auto& r) { r.low_side_phase = pair; }), KVR_RES_INCORRECT_PARAMETERS);
  }
  EXPECT_EQ(check([](auto& r) { r.setup.connection_type = 3; }), KVR_RES_INCORRECT_PARAMETERS);
  EXPECT_EQ(check([](auto& r) { r.setup.connection_type = kConnectionHToY; }),
            KVR_RES_TEST_CONFIG_INCOMPATIBLE);
  EXPECT_EQ(check([](auto& r) { r.setup.windings[0].voltage = -10; }),
            KVR_RES_INCORRECT_PARAMETERS);
  EXPECT_EQ(check([nan](auto& r) { r.setup.windings[0].voltage = nan; }),
            KVR_RES_INCORRECT_PARAMETERS);
  EXPECT_EQ(check([](auto& r) { r.setup.windings[1].voltage = 0; }), KVR_RES_INCORRECT_PARAMETERS);
  EXPECT_EQ(check([nan](auto& r) { r.setup.windings[1].phase_shift = nan; }),
            KVR_RES_INCORRECT_PARAMETERS);
  EXPECT_EQ(check([](auto& r) { r.setup.line_frequency = 55; }), KVR_RES_FREQUENCY_NOT_SUPPORTED);
  EXPECT_EQ(check([](auto& r) { r.setup.line_frequency = 50; }), KVR_RES_OK);
}

TEST(SinglePhaseRatio, GivesUpAtTheInstrumentsLimits) {
  Bench bench = textbook_bench();
  bench.instrument.maximum_current = 0.25;
  const auto code = [&bench](kvr_TestType type, float voltage) {
    return measure_on_bench(ratio_1ph_request(type, voltage), bench, 1).code;
  };
  EXPECT_EQ(code(KVR_TEST_RATIO_DOWN, 8000), KVR_RES_EXCITATION_CURRENT_TOO_HIGH);
  EXPECT_EQ(code(KVR_TEST_RATIO_DOWN, 7000), KVR_RES_OK);
  bench.instrument.maximum_current = 100;
  bench.instrument.maximum_induced_voltage = 700;
  EXPECT_EQ(code(KVR_TEST_RATIO_UP, 24), KVR_RES_INDUCED_VOLTAGE_TOO_HIGH);
  EXPECT_EQ(code(KVR_TEST_RATIO_UP, 20), KVR_RES_OK);
}

TEST(SinglePhaseRatio, StepUpIsRefusedForAHighRatio) {
  Bench bench = textbook_bench();
  bench.instrument.maximum_current = 100;
  bench.transformer.low_voltage = 15;
  bench.transformer.low_resistance = bench.transformer.low_reactance = 1e-4;
  const auto code = [&bench](kvr_TestType type) {
    return measure_on_bench(ratio_1ph_request(type, 1), bench, 1).code;
  };
  EXPECT_EQ(code(KVR_TEST_RATIO_UP), KVR_STEPUP_1PH_RATIO_TOO_HIGH);
  EXPECT_EQ(code(KVR_TEST_RATIO_DOWN), KVR_RES_OK);
  EXPECT_EQ(code(KVR_TEST_RATIO_AUTO), KVR_RES_OK);  // so it steps down
}

TEST(SinglePhaseRatio, ASampleBeyondTheConvertersEndsTheTest) {
  Bench bench = textbook_bench();
  const auto code = [&bench] {
    return measure_on_bench(ratio_1ph_request(KVR_TEST_RATIO_DOWN, 100), bench, 1).code;
  };
  bench.instrument.voltage_range = 141;
  EXPECT_EQ(code(), KVR_RES_ADC_OVERFLOW);
  bench.instrument.voltage_range = 142;
  EXPECT_EQ(code(), KVR_RES_OK);
  bench.instrument.current_range = 4.7e-3;  // of 3.357 mA r.m.s.
  EXPECT_EQ(code(), KVR_RES_ADC_OVERFLOW);
}

TEST(SinglePhaseRatio, ACapacitiveObjectIsReported) {
  Bench bench = textbook_bench();
  const auto code = [&bench](kvr_TestType type) {
    return measure_on_bench(ratio_1ph_request(type, 10), bench, 1).code;
  };
  bench.transformer.capacitance = 50;  // 53 kohm parallel to a reactance of 30 kohm
  EXPECT_EQ(code(KVR_TEST_RATIO_DOWN), KVR_RES_OK);
  bench.transformer.capacitance = 1000;
  EXPECT_EQ(code(KVR_TEST_RATIO_DOWN), KVR_RES_DETECTED_CAPACITANCE);
  EXPECT_EQ(code(KVR_TEST_RATIO_UP), KVR_RES_DETECTED_CAPACITANCE);
}

TEST(SinglePhaseRatio, AnOpenLeadIsNamed) {
  Bench bench = textbook_bench();
  const auto code = [&bench](std::int32_t high, std::int32_t low) {
    kvr_Ratio1phRequest request = ratio_1ph_request(KVR_TEST_RATIO_DOWN, 10);
    request.high_side_phase = high;
    request.low_side_phase = low;
    return measure_on_bench(request, bench, 1).code;
  };
  EXPECT_EQ(code(1, 1), KVR_RES_OK);
  EXPECT_EQ(code(2, 1), KVR_RES_OPEN_LEAD_H3);  // the unit has no third terminal
  EXPECT_EQ(code(1, 4), KVR_RES_OPEN_LEAD_X0);
  bench.defects.open_lead[Side::high][2] = true;
  EXPECT_EQ(code(1, 1), KVR_RES_OPEN_LEAD_H2);
  bench.defects.open_lead = {};
  bench.defects.open_lead[Side::low][1] = true;
  EXPECT_EQ(code(1, 1), KVR_RES_OPEN_LEAD_X1);
}

TEST(SinglePhaseRatio, ALowSideTurnedRoundShowsAsHalfATurn) {
  Bench bench = textbook_bench();
  const auto shift = [&bench] {
    return measure(ratio_1ph_request(KVR_TEST_RATIO_DOWN, 10), bench).phase.phase_shift_absolute *
           kDegrees;
  };
  EXPECT_NEAR(shift(), 0, 0.01);
  bench.defects.reversed_winding[Side::low][0] = true;
  EXPECT_NEAR(std::abs(shift()), 180, 0.01);
  bench.transformer.vector_group.clock = 6;
  EXPECT_NEAR(shift(), 0, 0.01);
}

TEST(SinglePhaseRatio, ATapOffTheMiddleShowsAsRatioError) {
  Bench bench = textbook_bench();
  bench.taps = {KVR_TAP_CHANGER_DETC, 1, 5, 3, 4, 2.5, 0};
  const double error =
      measure(ratio_1ph_request(KVR_TEST_RATIO_DOWN, 8000, kRatio), bench).phase.tnr_error;
  EXPECT_NEAR(error, 2.5 + 0.4075 * 1.025, 0.02);
}

TEST(SinglePhaseRatio, AVoltageTransformerIsExcitedOnItsHighSide) {
  const kvr_TestData_Ratio_1ph data =
      measure(ratio_1ph_request(KVR_TEST_RATIO_PT_VT, 8000, kRatio), textbook_bench());
  EXPECT_EQ(data.direction, KVR_TEST_RATIO_PT_VT);
  EXPECT_NEAR(data.phase.voltage_h, 8000, 1e-3);
  EXPECT_NEAR(data.phase.tnr_error, 0.4075, 0.0005);
}

TEST(SinglePhaseRatio, EachPhaseOfAThreePhaseUnitGivesTheRatioOfItsTurns) {
  Bench bench = built_in_bench();
  bench.measurement.noise = 0;
  for (std::int32_t selection = 1; selection <= 6; ++selection) {
    kvr_Ratio1phRequest request = ratio_1ph_request(KVR_TEST_RATIO_DOWN, 100, 10);
    request.high_side_phase = request.low_side_phase = selection;
    const kvr_TestData_Ratio_Phase phase = measure(request, bench).phase;
    EXPECT_NEAR(phase.tnr, 10, 0.005) << selection;
    EXPECT_NEAR(phase.phase_shift_absolute * kDegrees, 0, 0.01) << selection;
  }
}

// With yokes as short as limbs, the flux of an outer limb divides 2 : 1 between the others.
TEST(SinglePhaseRatio, AnotherPhaseSeesItsShareOfTheFlux) {
  Bench bench = built_in_bench();
  bench.measurement.noise = 0;
  bench.transformer.yoke_ratio = 1;
  bench.transformer.zero_sequence_impedance = 0;  // no flux leaves the core
  bench.transformer.low_flux_excess = 0;
  bench.transformer.saturation = false;
  kvr_Ratio1phRequest request = ratio_1ph_request(KVR_TEST_RATIO_DOWN, 84);
  request.high_side_phase = 4;
  request.low_side_phase = 5;
  const kvr_TestData_Ratio_Phase middle = measure(request, bench).phase;
  EXPECT_NEAR(middle.voltage_x, 5.6, 0.006);
  EXPECT_NEAR(std::abs(middle.phase_shift_absolute) * kDegrees, 180, 0.01);
  request.low_side_phase = 6;
  EXPECT_NEAR(measure(request, bench).phase.voltage_x, 2.8, 0.003);
}

TEST(SinglePhaseRatio, ShortedTurnsRaiseTheCurrent) {
  Bench bench = textbook_bench();
  const auto current = [&bench] {
    return measure(ratio_1ph_request(KVR_TEST_RATIO_DOWN, 100), bench).phase.current_rms;
  };
  const double sound = current();
  bench.defects.shorted_turns = {{Side::low, 0, 0.05, 1e-3}};
  EXPECT_GT(current(), 10 * sound);
}

TEST(SinglePhaseRatio, LeavesLessResidualFlux) {
  Bench bench = built_in_bench();
  bench.transformer.residual_flux = {0.8, -0.4, -0.4};
  const TransformerUnit unit = make_unit(bench);
  const SinglePhaseRatio result =
      measure_on_bench(ratio_1ph_request(KVR_TEST_RATIO_DOWN, 250), bench, 1);
  ASSERT_EQ(result.code, KVR_RES_OK);
  EXPECT_LT(result.residual_flux[0], 0.95 * unit.core.residual_flux[0]);
  EXPECT_GT(result.residual_flux[0], 0.5 * unit.core.residual_flux[0]);
  EXPECT_EQ(result.residual_flux[2], unit.core.residual_flux[2]);  // hardly any flux there
}

TEST(SinglePhaseRatio, WithoutASteadyStateThereIsNoExcitation) {
  Bench bench = textbook_bench();
  bench.instrument.maximum_current = 1e9;
  bench.transformer.saturation = true;
  bench.transformer.knee_flux = 1.15;
  bench.transformer.knee_width = 0.001;
  bench.transformer.low_reactance = 0;
  bench.transformer.saturated_reactance = 0.003;
  EXPECT_EQ(measure_on_bench(ratio_1ph_request(KVR_TEST_RATIO_UP, 600), bench, 1).code,
            KVR_RES_NO_EXCITATION);
}

TEST(PhaseResult, DeviationIsFromWhatWasEnteredOrTheNearestHour) {
  EXPECT_NEAR(phase_deviation(0.01, std::nullopt), 0.01, 1e-12);
  EXPECT_NEAR(phase_deviation(std::numbers::pi / 6 - 0.01, std::nullopt), -0.01, 1e-12);
  EXPECT_NEAR(phase_deviation(0.01, std::numbers::pi / 6), 0.01 - std::numbers::pi / 6, 1e-12);
  EXPECT_NEAR(phase_deviation(-3.1, 11 * std::numbers::pi / 6), -3.1 + std::numbers::pi / 6, 1e-12);
}

TEST(PhaseResult, DeviationAtHalfATurnIsTheSameFromEitherSide) {
  for (const double shift : {std::numbers::pi, -std::numbers::pi}) {
    EXPECT_NEAR(phase_deviation(shift, std::nullopt), 0, 1e-15);
    EXPECT_NEAR(phase_deviation(shift, std::numbers::pi), 0, 1e-15);
  }
  EXPECT_NEAR(phase_deviation(std::numbers::pi - 0.01, std::numbers::pi), -0.01, 1e-12);
  EXPECT_NEAR(phase_deviation(-std::numbers::pi + 0.01, std::numbers::pi), 0.01, 1e-12);
}

}  // namespace
}  // namespace virtual_instrument
