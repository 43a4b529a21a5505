// All figures of results at once. The other tests say why figures are right; these notice when one
// that no rule of theirs reaches changes.

#include <gtest/gtest.h>

#include "unit/virtual_instrument/measurement/figures.h"
#include "unit/virtual_instrument/measurement/three_phase_measuring.h"
#include "unit/virtual_instrument/requests.h"
#include "virtual_instrument/demonstration/demonstration.h"
#include "virtual_instrument/measurement/single_phase_ratio.h"

namespace virtual_instrument {
namespace {

/// A core that saturates and holds flux, and a tap changer for load, away from its middle.
TransformerUnit unit_under_test() {
  TransformerUnit unit = demonstration_unit();
  unit.taps.position = 2;
  unit.temperature = 35;
  unit.capacitance = 2e-9;
  unit.turns_deviation = 0.3;
  return unit;
}

FamilySettings noisy_settings() {
  FamilySettings settings = family_settings(50);
  settings.measurement.noise = 0.5;
  settings.seed = 7;
  return settings;
}

Bench noisy_bench() {
  Bench bench = quiet_bench();
  bench.measurement.noise = 0.5;
  return bench;
}

TEST(Figures, OfAResistanceTest) {
  EXPECT_EQ(figures_of(resistance_test(unit_under_test(), noisy_settings())), R"(100768 ms
1 H1-H3 4 5847 0.01 2.62432 2.62501 7.05999 2.68951
1 H2-H1 4 5847 0.01 2.62432 2.62386 7.06211 2.69149
1 H3-H2 4 5847 0.01 2.62432 2.6247 7.0609 2.69018
2 H1-H3 4 5962 0.01 2.62432 2.62426 6.89387 2.62698
2 H2-H1 4 5962 0.01 2.62432 2.62521 6.89516 2.62651
2 H3-H2 4 5962 0.01 2.62432 2.62393 6.8948 2.62767
3 H1-H3 4 6083 0.01 2.62432 2.62372 6.72648 2.56372
3 H2-H1 4 6083 0.01 2.62432 2.62534 6.72321 2.56089
3 H3-H2 4 6083 0.01 2.62432 2.62399 6.72408 2.56254
4 H1-H3 4 6210 0.01 2.62432 2.62429 6.55609 2.49823
4 H2-H1 4 6210 0.01 2.62432 2.62352 6.55579 2.49885
4 H3-H2 4 6210 0.01 2.62432 2.62417 6.55664 2.49856
5 H1-H3 4 6343 0.01 2.62432 2.62445 6.39059 2.43502
5 H2-H1 4 6343 0.01 2.62432 2.62403 6.38907 2.43483
5 H3-H2 4 6343 0.01 2.62432 2.62463 6.38959 2.43448
1 X1-X0 4 3144 0.01 10 9.99579 0.0198457 0.0019854
1 X2-X0 4 3144 0.01 10 10.0045 0.0198525 0.00198436
1 X3-X0 4 3144 0.01 10 10.0028 0.0198516 0.00198459
)");
}

TEST(Figures, OfContinuousReadings) {
  EXPECT_EQ(figures_of(continuous_resistance_test(unit_under_test(), noisy_settings(), 8, 1.5)),
            R"(12000 ms
2 H1-H3 3 1500 50.1817 2.62432 2.62501 10.3493 3.94258
2 H1-H3 3 3000 2.86167 2.62432 2.62386 7.09054 2.70233
2 H1-H3 3 4500 0.16319 2.62432 2.6247 6.90335 2.63015
2 H1-H3 4 6000 0.00930608 2.62432 2.62426 6.89382 2.62696
2 H1-H3 4 7500 0.000530689 2.62432 2.62521 6.8945 2.62626
2 H1-H3 4 9000 3.02631e-05 2.62432 2.62393 6.89411 2.6274
2 H1-H3 4 10500 1.72579e-06 2.62432 2.62372 6.89395 2.62755
2 H1-H3 4 12000 9.8415e-08 2.62432 2.62534 6.8906 2.62465
)");
}

TEST(Figures, OfAHeatRun) {
  EXPECT_EQ(figures_of(heat_run_test(unit_under_test(), noisy_settings(), {22, 55, 700}, 3, 90)),
            R"(270000 ms
2 H1-H3 8 90000 8.54265e-08 2.62432 2.62501 7.79548 2.96969
2 H1-H3 8 180000 8.95452e-08 2.62432 2.62386 7.64857 2.915
2 H1-H3 8 270000 9.33306e-08 2.62432 2.6247 7.51605 2.86359
1 X1-X0 8 90000 9.19324e-07 10 9.99976 0.0224588 0.00224594
1 X1-X0 8 180000 9.20806e-07 10 10.0034 0.0220331 0.00220256
1 X1-X0 8 270000 9.2211e-07 10 9.9985 0.0216539 0.00216571
)");
}

TEST(Figures, OfADemagnetisation) {
  TransformerUnit unit = unit_under_test();
  unit.core.residual_flux[2] = 0;
  EXPECT_EQ(figures_of(demag_test(unit, noisy_settings())), R"(28000 ms
H1-H2 0.478261 0.00268646 0.152981
H2-H3 0.304348 0.00268646 -0.152981
H3-H1 0 0.00268646 -0.152981
)");
}

TEST(Figures, OfADynamicResistanceTest) {
  EXPECT_EQ(figures_of(dynamic_resistance_test(unit_under_test(), noisy_settings())), R"(200 308
400 508
600 709
800 910
)");
}

TEST(Figures, OfAnImpedanceTest) {
  EXPECT_EQ(figures_of(short_circuit_impedance_test(unit_under_test(), noisy_settings())),
            R"(0 28.1953 23.1962 4.7926
A H1-H3 X1-X2-X3 0 1 26.1174 50
  6.53213 22.2501 28.169 0.0708242 23.1891 4.79114 6.46968 4.34832
B H2-H1 X1-X2-X3 0 1 26.1174 50
  6.54575 22.2595 28.212 0.0708542 23.202 4.7938 6.52892 4.34677
C H3-H2 X1-X2-X3 0 1 26.1174 50
  6.54283 22.2556 28.205 0.0708418 23.1974 4.79285 6.50788 4.34836
)");
}

TEST(Figures, OfStrayLosses) {
  EXPECT_EQ(figures_of(stray_loss_response_test(unit_under_test(), noisy_settings(), {60, 300})),
            R"(0 21.9937 27.3733 5.65564
A H1-H3 X1-X2-X3 0 0 26.1174 60
  6.00658 26.6994 21.9485 0.0708224 27.3667 5.65428 25.6508 3.65343
B H2-H1 X1-X2-X3 0 0 26.1174 60
  6.02619 26.6961 22.0193 0.0708136 27.3678 5.65451 25.6557 3.65443
C H3-H2 X1-X2-X3 0 0 26.1174 60
  6.0284 26.7136 22.0133 0.0708599 27.3853 5.65812 25.7361 3.65187
0 16.5958 135.476 27.9909
A H1-H3 X1-X2-X3 0 0 26.1174 300
  22.4635 133.58 16.5837 0.0708664 135.456 27.9867 521.927 0.738138
B H2-H1 X1-X2-X3 0 0 26.1174 300
  22.5087 133.598 16.6139 0.070876 135.481 27.9919 522.043 0.738276
C H3-H2 X1-X2-X3 0 0 26.1174 300
  22.4781 133.614 16.59 0.0708846 135.492 27.9942 522.093 0.738152
)");
}

TEST(Figures, OfEfficiency) {
  EXPECT_EQ(figures_of(efficiency_test(unit_under_test(), noisy_settings())),
            R"(11000 433
3600 6759.18 946.087 365.98 580.032 7705.27 98.4823
A H1-H3 X1-X0 0 1 45.2366
  3.27393 3.06309 2109.57 145.207 2254.77
  426.172 2680.95 280.155 145.981 0.0359387 265666 276292
B H2-H1 X2-X0 0 1 45.2366
  3.2703 3.05997 2107.42 144.854 2252.27
  115.239 2367.51 5.21653 110 0.0216562 352563 366666
C H3-H2 X3-X0 0 1 45.2366
  3.2701 3.06004 2107.47 144.67 2252.14
  404.677 2656.81 294.66 109.999 0.0177334 352568 366671
)");
}

TEST(Figures, OfAMagneticBalance) {
  EXPECT_EQ(figures_of(magnetic_balance_test(unit_under_test(), noisy_settings()).data),
            R"(1 9.39197
H1-H2 X1-X0 99.9996 69.6006 30.4153 200.015
H2-H3 X2-X0 45.3118 100.01 54.7038 200.025
H3-H1 X3-X0 29.0465 70.9687 100.003 200.018
)");
}

TEST(Figures, OfAnExcitation) {
  EXPECT_EQ(figures_of(excitation_test(unit_under_test(), noisy_settings()).data),
            R"(16 3 100 25.4042 1.73205
0 A H1-H3 X0-X3 A H1-H3 X1-X3
  99.9813 2.20973 45.246 2.82885 26.1228 45.2459 2.82868 49.9938
  0 0.523233 -0.523233 0.000365613 1.40787
  99.9825 0.00309054 99.9825 2.20976 0.00308981 0 2.20976
0 B H2-H1 X0-X1 B H2-H1 X2-X1
  100.013 2.20931 45.2688 2.88059 26.1359 45.2687 2.88039 50.0089
  -2.0944 -1.5709 -0.523499 9.953e-05 1.42496
  100.014 0.00345062 100.014 2.20934 0.00344994 0 2.20934
0 C H3-H2 X0-X2 C H3-H2 X3-X2
  100.006 2.21 45.2516 2.8415 26.126 45.2516 2.84156 49.9992
  2.0944 2.61835 -0.523953 -0.000354593 1.4189
  100.007 0.00248277 100.007 2.21003 0.00248224 0 2.21003
0.00956341 0.00054015 -2.94525 -2.07131 0.000141132 -2.59487
0.00956341 0.00111783 2.94525 -0.540862 0.00038655 -1.1085
100 3.82728 0 0.523562
45.2555 2.85032 -0.523562 4
)");
}

TEST(Figures, OfASinglePhaseExcitation) {
  const kvr_TestData_Ratio_1ph data =
      single_phase_excitation_test(single_phase_unit(), noisy_settings());
  EXPECT_EQ(figures_of(data.phase), R"(0 A H1-H2 X1-X2 A H1-H2 X1-X2
  99.9813 2.99211 33.415 0.244978 33.415 33.4149 0.244815 49.9938
  0.00017117 -0.000195318 0.000366488 0.000366488 1.35429
  99.9825 0.00319612 99.9825 2.99215 0.00319608 0 2.99215
)");
}

TEST(Figures, OfATestOfAllPhasesAtOnce) {
  const TransformerUnit unit = unit_under_test();
  const ThreePhaseRatio result = measure(
      unit, request_for(unit, KVR_TEST_RATIO_DOWN, KVR_TESTING_MODE_3PH_3_1), noisy_bench());
  EXPECT_EQ(figures_of(result.data) + figures_of(result.residual_flux), R"(1 4 100 25.4042 1.73205
0 A H1-H3 X0-X3 A H1-H3 X1-X3
  99.9659 2.2105 45.2232 2.77703 26.1186 45.2229 2.7764 50.002
  -0.000242212 0.523561 -0.523803 -0.000204215 1.37349
  99.9667 0.00426851 99.9667 2.21053 0.00426839 0 2.21053
0 B H2-H1 X0-X1 B H2-H1 X2-X1
  99.9807 2.21009 45.2383 2.81132 26.1191 45.2381 2.8109 50.0052
  -2.09416 -1.57037 -0.523795 -0.000195746 1.64036
  99.9815 0.00335852 99.9815 2.21012 0.00335835 0 2.21012
0 C H3-H2 X0-X2 C H3-H2 X3-X2
  99.9968 2.20926 45.2627 2.86667 26.1254 45.2625 2.86638 49.9958
  2.09437 2.61731 -0.522939 0.000660216 1.22478
  99.9977 0.00302445 99.9977 2.20928 0.00302427 0 2.20928
0.000516368 0.000579104 2.20703 0.178056 0.000262084 -0.345444
0.0163278 0.000933831 -2.14298 -2.97832 0.000176239 2.26647
57.7212 2.20962 -1.15515e-05 0.523501
45.2459 2.82853 -0.523512 4
27.2346 -17.3311 -9.90348
)");
}

TEST(Figures, OfATestOfOnePhaseAfterTheOther) {
  const TransformerUnit unit = unit_under_test();
  kvr_Ratio3phRequest request = request_for(unit, KVR_TEST_RATIO_UP, KVR_TESTING_MODE_3PH_1_1);
  request.test_voltage = 20;
  const ThreePhaseRatio result = measure(unit, request, noisy_bench());
  EXPECT_EQ(figures_of(result.data) + figures_of(result.residual_flux), R"(2 3 20 25.4042 1.73205
0 A H1-H3 X0-X3 A H1-H3 X1-X3
  903.973 19.9984 45.2022 2.72933 26.0975 45.2023 2.72952 50.0001
  0 0.52369 -0.52369 -9.12614e-05 1.31644
  19.9986 0.816845 903.985 19.9986 0 0.816488 903.985
0 B H2-H1 X0-X1 B H2-H1 X2-X1
  903.849 20.0124 45.1643 2.6432 26.0756 45.1642 2.64298 49.989
  -2.0944 -1.57079 -0.523601 -1.81407e-06 1.34965
  20.0127 0.933871 903.86 20.0127 0 0.933507 903.86
0 C H3-H2 X0-X2 C H3-H2 X3-X2
  904.65 19.9971 45.2391 2.81314 26.1188 45.239 2.81291 49.984
  2.0944 2.61856 -0.524163 -0.000564588 1.34035
  19.9973 0.676339 904.66 19.9973 0 0.676102 904.66
0.248762 0.0135744 1.94913 -1.8 0.000391808 -2.32382
0.248762 0.00581909 -1.94913 1.74846 0.000384036 0.540785
904.157 34.6456 0 0.523818
45.2019 2.72854 -0.523818 4
20.4308 -17.3311 -9.90348
)");
}

TEST(Figures, OfAnAutomaticTest) {
  const TransformerUnit unit = unit_under_test();
  Bench bench = noisy_bench();
  bench.instrument.maximum_induced_voltage = 1000;
  const ThreePhaseRatio result =
      measure(unit, request_for(unit, KVR_TEST_RATIO_AUTO, KVR_TESTING_MODE_3PH_AUTO), bench);
  ASSERT_TRUE(result.step_up && result.step_down);
  EXPECT_EQ(figures_of(result.data), figures_of(*result.step_down));
  EXPECT_EQ(figures_of(*result.step_up) + figures_of(result.residual_flux),
            R"(2 2 19.8856 25.4042 1.73205
0 A H1-H3 X0-X3 A H1-H3 X1-X3
  899.421 19.8932 45.2124 2.7524 26.1143 45.2122 2.75205 50.0119
  -0.523596 0.000248158 -0.523844 -0.000245103 1.20327
  19.8935 0.566852 899.428 19.8935 0 0.566736 899.428
0 B H2-H1 X0-X1 B H2-H1 X2-X1
  899.209 19.8878 45.2141 2.7564 26.109 45.214 2.75598 49.9937
  -2.61793 -2.09402 -0.523904 -0.000305461 1.40615
  19.888 0.657957 899.216 19.888 0 0.657824 899.216
0 C H3-H2 X0-X2 C H3-H2 X3-X2
  899.315 19.8822 45.2321 2.79722 26.0992 45.232 2.79688 49.9997
  1.57055 2.09367 -0.523111 0.000487637 1.37256
  19.8825 0.352676 899.323 19.8825 0 0.352657 899.323
0.137772 0.00873691 0.307732 0.757341 0.000439311 0.757376
0.0706993 0.00633049 -2.09658 -3.0859 0.000205934 2.89586
519.22 19.8877 -0.523656 -3.5926e-05
45.2195 2.76868 -0.52362 4
20.4881 -17.3311 -9.90348
)");
}

TEST(Figures, OfASinglePhaseTest) {
  kvr_Ratio1phRequest request = ratio_1ph_request(KVR_TEST_RATIO_DOWN, 100, 44);
  request.high_side_phase = 2;
  request.low_side_phase = 5;
  request.setup.line_frequency = 50;
  const SinglePhaseRatio result =
      measure_single_phase_ratio(unit_under_test(), request, noisy_bench(), 3);
  EXPECT_EQ(result.code, KVR_RES_OK);
  EXPECT_EQ(figures_of(result.data.phase) + figures_of(result.residual_flux),
            R"(0 B H2-H3 X2-X0 B H2-H3 X2-X0
  100.068 2.20956 45.2884 2.92829 45.2884 45.2885 2.92839 50.0007
  0.000851924 5.89108e-05 0.000793014 0.000793014 1.41857
  100.069 0.00247876 100.069 2.20959 0.00247824 0 2.20959
27.2346 -17.3311 -9.90348
)");
}

}  // namespace
}  // namespace virtual_instrument
