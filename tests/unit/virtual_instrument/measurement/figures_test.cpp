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
  EXPECT_EQ(figures_of(demag_test(unit, noisy_settings())), R"(21233 ms
H1-H3 0.478261 0.00581334 0.331041
H2-H1 0.304348 0.00581334 -0.331041
H3-H2 0 0.00581334 -0.331041
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
            R"(0 28.1959 23.1971 4.79279
A H1-H3 X1-X2-X3 0 1 26.1174 50
  6.53236 22.2507 28.1692 0.0708261 23.1897 4.79127 6.47266 4.3482
B H2-H1 X1-X2-X3 0 1 26.1174 50
  6.54678 22.2617 28.2136 0.070861 23.2043 4.79429 6.53967 4.34634
C H3-H2 X1-X2-X3 0 1 26.1174 50
  6.54278 22.2554 28.205 0.0708411 23.1972 4.79281 6.50697 4.34839
)");
}

TEST(Figures, OfStrayLosses) {
  EXPECT_EQ(figures_of(stray_loss_response_test(unit_under_test(), noisy_settings(), {60, 300})),
            R"(0 21.9943 27.3745 5.65588
A H1-H3 X1-X2-X3 0 0 26.1174 60
  6.00686 26.7003 21.9488 0.0708246 27.3676 5.65446 25.6548 3.65332
B H2-H1 X1-X2-X3 0 0 26.1174 60
  6.02716 26.6988 22.0205 0.0708208 27.3707 5.6551 25.6688 3.65405
C H3-H2 X1-X2-X3 0 0 26.1174 60
  6.02846 26.7134 22.0136 0.0708594 27.3852 5.65809 25.7353 3.65189
0 16.598 135.486 27.9931
A H1-H3 X1-X2-X3 0 0 26.1174 300
  22.4679 133.589 16.5857 0.070871 135.465 27.9886 521.969 0.738088
B H2-H1 X1-X2-X3 0 0 26.1174 300
  22.5139 133.617 16.6153 0.0708862 135.501 27.996 522.134 0.738168
C H3-H2 X1-X2-X3 0 0 26.1174 300
  22.4825 133.615 16.593 0.0708852 135.494 27.9946 522.102 0.738142
)");
}

TEST(Figures, OfEfficiency) {
  EXPECT_EQ(figures_of(efficiency_test(unit_under_test(), noisy_settings())),
            R"(3600 6759.6 937.617 367.165 570.073 7697.22 98.4839
A H1-H3 X1-X0 0 1 45.2366
  3.27405 3.06315 2109.61 145.247 2254.85
  -278.742 1976.11 -388.843 109.945 0.156014 352741 366850
B H2-H1 X2-X0 0 1 45.2366
  3.27082 3.06043 2107.73 144.893 2252.63
  436.037 2688.66 325.961 110.05 0.0256218 352403 366499
C H3-H2 X3-X0 0 1 45.2366
  3.27008 3.05995 2107.4 144.716 2252.12
  780.322 3032.44 632.955 147.17 0.197254 263519 274059
)");
}

TEST(Figures, OfAMagneticBalance) {
  EXPECT_EQ(figures_of(magnetic_balance_test(unit_under_test(), noisy_settings()).data),
            R"(1 6.96254
H1-H3 X1-X0 99.9996 66.0535 33.9576 200.011
H2-H1 X2-X0 46.5239 100.01 53.4865 200.02
H3-H2 X3-X0 28.4411 71.5762 100.003 200.02
)");
}

TEST(Figures, OfAnExcitation) {
  EXPECT_EQ(figures_of(excitation_test(unit_under_test(), noisy_settings()).data),
            R"(16 3 100 25.4042 1.73205
0 A H1-H3 X0-X3 A H1-H3 X1-X3
  99.9813 2.20984 45.2437 2.82357 26.1215 45.2436 2.8234 49.9938
  0 0.523237 -0.523237 0.000361676 1.42614
  99.9825 0.00290407 99.9825 2.20987 0.00290312 0 2.20987
0 B H2-H1 X0-X1 B H2-H1 X2-X1
  100.013 2.20977 45.2593 2.85912 26.1305 45.2592 2.85891 50.0089
  -2.0944 -1.57092 -0.523475 0.000123743 1.41614
  100.014 0.00205383 100.014 2.2098 0.00205325 0 2.2098
0 C H3-H2 X0-X2 C H3-H2 X3-X2
  100.006 2.20979 45.2559 2.8514 26.1285 45.256 2.85146 49.9992
  2.0944 2.61836 -0.523962 -0.000362776 1.406
  100.007 0.00256938 100.007 2.20982 0.00256825 0 2.20982
0.00956341 0.000785163 -2.94525 -1.74332 0.000205138 -2.26688
0.00956341 0.000847255 2.94525 -0.306677 0.000311323 -0.953906
100 3.82749 0 0.523558
45.253 2.8447 -0.523558 4
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
  99.9659 2.21062 45.2208 2.77157 26.1146 45.2205 2.77095 50.002
  -0.000242212 0.52355 -0.523792 -0.000193548 1.64472
  99.9667 0.00286041 99.9667 2.21065 0.00286017 0 2.21065
0 B H2-H1 X0-X1 B H2-H1 X2-X1
  99.9807 2.21058 45.2283 2.78866 26.1174 45.2282 2.78824 50.0052
  -2.09416 -1.57042 -0.523742 -0.00014334 1.22806
  99.9815 0.00254192 99.9815 2.2106 0.00254167 0 2.2106
0 C H3-H2 X0-X2 C H3-H2 X3-X2
  99.9968 2.209 45.2678 2.87845 26.127 45.2677 2.87816 49.9958
  2.09437 2.61736 -0.522988 0.000610699 1.3709
  99.9977 0.00362268 99.9977 2.20903 0.00362256 0 2.20903
0.000516368 0.000671675 2.20703 0.380189 0.000303962 -0.143307
0.0163278 0.000660101 -2.14298 -2.95067 8.38448e-05 1.56856
57.7212 2.20973 -1.15515e-05 0.523496
45.2435 2.82308 -0.523508 4
27.0246 -17.1975 -9.82713
)");
}

TEST(Figures, OfATestOfOnePhaseAfterTheOther) {
  const TransformerUnit unit = unit_under_test();
  kvr_Ratio3phRequest request = request_for(unit, KVR_TEST_RATIO_UP, KVR_TESTING_MODE_3PH_1_1);
  request.test_voltage = 20;
  const ThreePhaseRatio result = measure(unit, request, noisy_bench());
  EXPECT_EQ(figures_of(result.data) + figures_of(result.residual_flux), R"(2 3 20 25.4042 1.73205
0 A H1-H3 X0-X3 A H1-H3 X1-X3
  904.055 19.9984 45.2063 2.73854 26.0999 45.2064 2.73873 50.0001
  0 0.523675 -0.523675 -7.66863e-05 1.36519
  19.9986 0.841691 904.066 19.9986 0 0.840501 904.066
0 B H2-H1 X0-X1 B H2-H1 X2-X1
  904.064 20.0124 45.1751 2.66762 26.0818 45.175 2.6674 49.989
  -2.0944 -1.57079 -0.523608 -9.077e-06 1.35039
  20.0127 0.595656 904.075 20.0127 0 0.594708 904.075
0 C H3-H2 X0-X2 C H3-H2 X3-X2
  904.769 19.9971 45.2451 2.82677 26.1223 45.245 2.82653 49.984
  2.0944 2.61857 -0.524171 -0.000572681 1.33019
  19.9973 0.725812 904.78 19.9973 0 0.724587 904.78
0.236778 0.0137686 2.10566 -1.78768 0.000397414 -2.3115
0.236778 0.00558101 -2.10566 1.73146 0.000351496 0.433099
904.296 34.6456 0 0.523818
45.2088 2.74429 -0.523818 4
25.3349 -16.1221 -9.21266
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
            R"(2 2 19.8883 25.4042 1.73205
0 A H1-H3 X0-X3 A H1-H3 X1-X3
  899.544 19.8959 45.2124 2.75252 26.1144 45.2123 2.75218 50.0119
  -0.523531 0.000248158 -0.52378 -0.000180854 1.47968
  19.8962 0.560234 899.551 19.8962 0 0.560056 899.551
0 B H2-H1 X0-X1 B H2-H1 X2-X1
  899.428 19.8905 45.219 2.76745 26.1118 45.2188 2.76703 49.9937
  -2.61801 -2.09402 -0.523987 -0.000388271 1.43693
  19.8907 0.363617 899.435 19.8907 0 0.36338 899.435
0 C H3-H2 X0-X2 C H3-H2 X3-X2
  899.401 19.8849 45.2303 2.79302 26.0982 45.2301 2.79267 49.9997
  1.57058 2.09367 -0.523084 0.000514875 1.12058
  19.8852 0.508024 899.409 19.8852 0 0.507864 899.409
0.137793 0.0087381 0.30772 0.757341 0.000439311 0.757376
0.0508697 0.00633135 -1.39266 -3.0859 0.00029422 2.8858
519.302 19.8905 -0.523653 -3.5926e-05
45.2206 2.771 -0.523617 4
25.1502 -16.0044 -9.14549
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
  100.068 2.20935 45.2929 2.93835 45.2929 45.2929 2.93845 50.0007
  0.000851924 6.75425e-05 0.000784382 0.000784382 1.40849
  100.069 0.002597 100.069 2.20937 0.00259589 0 2.20937
27.1713 -17.2377 -9.82712
)");
}

}  // namespace
}  // namespace virtual_instrument
