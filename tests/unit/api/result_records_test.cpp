#include "api/result_records.h"

#include <gtest/gtest.h>

#include "record_bytes.h"

namespace {

// Sizes matter too: these records stand in arrays, or inside others.
TEST(ResultRecords, Strides) {
  EXPECT_EQ(sizeof(kvr_TestLabel), 580U);
  EXPECT_EQ(sizeof(kvr_TestData_Ratio_Phase), 344U);
  EXPECT_EQ(sizeof(kvr_TestData_Impedance_SingleTest), 824U);
  EXPECT_EQ(sizeof(kvr_TestData_Impedance_Phase), 248U);
  EXPECT_EQ(sizeof(kvr_TestData_Efficiency_Phase), 168U);
  EXPECT_EQ(sizeof(kvr_TestData_MagneticBalance_Row), 384U);
  EXPECT_EQ(sizeof(kvr_TestData_MagneticBalance_Cell), 8U);
}

TEST(ResultRecords, HoldAllTheirFields) {
  EXPECT_GE(sizeof(kvr_TestRecord), 688U);
  EXPECT_GE(sizeof(kvr_TestData_Ratio_3ph), 1744U);
  EXPECT_GE(sizeof(kvr_TestData_Ratio_1ph), 936U);
  EXPECT_GE(sizeof(kvr_TestData_Impedance), 664U);
  EXPECT_GE(sizeof(kvr_TestData_Efficiency), 1096U);
  EXPECT_GE(sizeof(kvr_TestData_Resistance), 632U);
  EXPECT_GE(sizeof(kvr_TestData_Tap), 20U);
  EXPECT_GE(sizeof(kvr_TestData_Point), 112U);
  EXPECT_GE(sizeof(kvr_TestData_Transition), 12U);
  EXPECT_GE(sizeof(kvr_TestData_Demag), 572U);
  EXPECT_GE(sizeof(kvr_TestData_MagneticBalance), 1720U);
  EXPECT_GE(sizeof(kvr_TestData_Drm), 652U);
  EXPECT_GE(sizeof(kvr_TestData_GoNoGo), 668U);
}

TEST(TestRecord, Fields) {
  const auto record = record_of<kvr_TestRecord>({
      text_at(0, filling(30, 'a')),
      text_at(30, filling(30, 'b')),
      text_at(60, filling(30, 'c')),
      i32(92, 1004),
      i32(124, 1005),
      i32(132, 1006),
      i32(136 + 308, 2),
      i32(136 + 372, 50),
      text_at(557, filling(35, 't')),
      pointer_at(592, 0x109),
      pointer_at(600, 0x110),
      pointer_at(608, 0x111),
      pointer_at(616, 0x112),
      pointer_at(624, 0x113),
      pointer_at(632, 0x114),
      pointer_at(640, 0x115),
      pointer_at(648, 0x116),
      pointer_at(656, 0x117),
      pointer_at(664, 0x118),
      i32(672, 1019),
      pointer_at(680, 0x120),
  });
  EXPECT_EQ(whole(record.asset_id), filled(30, 'a'));
  EXPECT_EQ(whole(record.group_id), filled(30, 'b'));
  EXPECT_EQ(whole(record.record_id), filled(30, 'c'));
  EXPECT_EQ(record.save_mode, 1004);
  EXPECT_EQ(record.test_count, 1005U);
  EXPECT_EQ(record.test_type, 1006U);
  EXPECT_EQ(record.setup.connection_type, kConnectionXToY);
  EXPECT_EQ(record.setup.line_frequency, 50);
  EXPECT_EQ(whole(record.timestamp), filled(35, 't'));
  EXPECT_EQ(address(record.data_ratio_3ph), 0x109U);
  EXPECT_EQ(address(record.data_ratio_1ph), 0x110U);
  EXPECT_EQ(address(record.data_mbalance), 0x111U);
  EXPECT_EQ(address(record.data_resistance), 0x112U);
  EXPECT_EQ(address(record.data_demag), 0x113U);
  EXPECT_EQ(address(record.data_efficiency), 0x114U);
  EXPECT_EQ(address(record.data_impedance), 0x115U);
  EXPECT_EQ(address(record.data_drm), 0x116U);
  EXPECT_EQ(address(record.data_heatrun), 0x117U);
  EXPECT_EQ(address(record.data_gonogo), 0x118U);
  EXPECT_EQ(record.data_count, 1019U);
  EXPECT_EQ(address(record.raw_data), 0x120U);
}

TEST(RatioPhase, Fields) {
  const auto record = record_of<kvr_TestData_Ratio_Phase>({
      i32(4, 1001),
      text_at(20, filling(20, 'b')),
      text_at(40, filling(20, 'c')),
      text_at(60, filling(20, 'd')),
      text_at(116, filling(20, 'e')),
      text_at(136, filling(20, 'f')),
      text_at(156, filling(20, 'g')),
      f32(208, 8.5F),
      f32(212, 9.5F),
      f64(216, 10.25),
      f64(224, 11.25),
      f64(232, 12.25),
      f64(240, 13.25),
      f64(248, 14.25),
      f32(256, 15.5F),
      f32(268, 16.5F),
      f32(272, 17.5F),
      f32(276, 18.5F),
      f32(280, 19.5F),
      f32(284, 20.5F),
      f32(288, 21.5F),
      f32(292, 22.5F),
      f32(296, 23.5F),
      f32(300, 24.5F),
      f32(304, 25.5F),
      f32(308, 26.5F),
      f32(336, 27.5F),
  });
  EXPECT_EQ(record.status, 1001);
  EXPECT_EQ(whole(record.phase_name), filled(20, 'b'));
  EXPECT_EQ(whole(record.high_side_phase), filled(20, 'c'));
  EXPECT_EQ(whole(record.low_side_phase), filled(20, 'd'));
  EXPECT_EQ(whole(record.tvr_name), filled(20, 'e'));
  EXPECT_EQ(whole(record.tvr_high), filled(20, 'f'));
  EXPECT_EQ(whole(record.tvr_low), filled(20, 'g'));
  EXPECT_EQ(record.voltage_h, 8.5F);
  EXPECT_EQ(record.voltage_x, 9.5F);
  EXPECT_EQ(record.tnr, 10.25);
  EXPECT_EQ(record.tnr_error, 11.25);
  EXPECT_EQ(record.tvr, 12.25);
  EXPECT_EQ(record.true_ratio, 13.25);
  EXPECT_EQ(record.true_ratio_error, 14.25);
  EXPECT_EQ(record.frequency, 15.5F);
  EXPECT_EQ(record.phase_high, 16.5F);
  EXPECT_EQ(record.phase_low, 17.5F);
  EXPECT_EQ(record.phase_shift_absolute, 18.5F);
  EXPECT_EQ(record.phase_deviation_from_user_phasing, 19.5F);
  EXPECT_EQ(record.efi, 20.5F);
  EXPECT_EQ(record.voltage_rms, 21.5F);
  EXPECT_EQ(record.current_rms, 22.5F);
  EXPECT_EQ(record.vol_rms_high, 23.5F);
  EXPECT_EQ(record.vol_rms_low, 24.5F);
  EXPECT_EQ(record.curr_h, 25.5F);
  EXPECT_EQ(record.curr_x, 26.5F);
  EXPECT_EQ(record.induced_voltage, 27.5F);
}

TEST(Ratio3ph, Fields) {
  const auto record = record_of<kvr_TestData_Ratio_3ph>({
      i32(548, 1001),
      i32(552, 1002),
      i32(556, 1003),
      f64(576, 4.25),
      f64(584, 5.25),
      i32(592 + 4, 156),
      f64(592 + 216, 16.5),
      i32(592 + 344 + 4, 7),
      f64(592 + 344 + 216, 17.5),
      i32(592 + 688 + 4, 70),
      f64(592 + 688 + 216, 18.5),
      f32(1624, 7.5F),
      f32(1628, 8.5F),
      f32(1632, 9.5F),
      f32(1636, 10.5F),
      f32(1640, 11.5F),
      f32(1644, 12.5F),
      f32(1648, 13.5F),
      f32(1652, 14.5F),
      f32(1656, 15.5F),
      f32(1660, 16.5F),
      f32(1664, 17.5F),
      f32(1668, 18.5F),
      f32(1672, 19.5F),
      f32(1676, 20.5F),
      f32(1680, 21.5F),
      f32(1684, 22.5F),
      f64(1704, 23.25),
      f64(1712, 24.25),
      f32(1720, 25.5F),
      i32(1724, 1026),
      pointer_at(1728, 0x127),
      pointer_at(1736, 0x128),
  });
  EXPECT_EQ(record.testing_mode, 1001U);
  EXPECT_EQ(record.test_type, 1002U);
  EXPECT_EQ(record.tested_phase, 1003);
  EXPECT_EQ(record.reference_ratio, 4.25);
  EXPECT_EQ(record.tvr_multiplier, 5.25);
  EXPECT_EQ(record.phases[0].status, KVR_RES_NOT_TESTED);
  EXPECT_EQ(record.phases[0].tnr, 16.5);
  EXPECT_EQ(record.phases[1].status, KVR_RES_OPERATION_CANCELLED);
  EXPECT_EQ(record.phases[1].tnr, 17.5);
  EXPECT_EQ(record.phases[2].status, KVR_RES_EMERGENCY_STOP_PRESSED);
  EXPECT_EQ(record.phases[2].tnr, 18.5);
  EXPECT_EQ(record.zero_seq_hi, 7.5F);
  EXPECT_EQ(record.zero_seq_lo, 8.5F);
  EXPECT_EQ(record.zero_phase_hi, 9.5F);
  EXPECT_EQ(record.zero_phase_lo, 10.5F);
  EXPECT_EQ(record.zero_distortion_index, 11.5F);
  EXPECT_EQ(record.zero_distortion_phase, 12.5F);
  EXPECT_EQ(record.negative_seq_hi, 13.5F);
  EXPECT_EQ(record.negative_seq_lo, 14.5F);
  EXPECT_EQ(record.negative_phase_hi, 15.5F);
  EXPECT_EQ(record.negative_phase_lo, 16.5F);
  EXPECT_EQ(record.negative_distortion_index, 17.5F);
  EXPECT_EQ(record.negative_distortion_phase, 18.5F);
  EXPECT_EQ(record.positive_seq_hi, 19.5F);
  EXPECT_EQ(record.positive_seq_lo, 20.5F);
  EXPECT_EQ(record.positive_phase_hi, 21.5F);
  EXPECT_EQ(record.positive_phase_lo, 22.5F);
  EXPECT_EQ(record.ratio_3ph, 23.25);
  EXPECT_EQ(record.ratio_3ph_error, 24.25);
  EXPECT_EQ(record.phase_3ph, 25.5F);
  EXPECT_EQ(record.health_state, 1026U);
  EXPECT_EQ(address(record.step_up), 0x127U);
  EXPECT_EQ(address(record.step_down), 0x128U);
}

TEST(Ratio1ph, Fields) {
  const auto record = record_of<kvr_TestData_Ratio_1ph>({
      i32(128, 1001),
      f64(584, 2.25),
      i32(592 + 4, 156),
      f32(592 + 336, 2.5F),
  });
  EXPECT_EQ(record.direction, 1001U);
  EXPECT_EQ(record.reference_ratio, 2.25);
  EXPECT_EQ(record.phase.status, KVR_RES_NOT_TESTED);
  EXPECT_EQ(record.phase.induced_voltage, 2.5F);
}

TEST(Impedance, Fields) {
  const auto record = record_of<kvr_TestData_Impedance>({
      i32(128, 1001),
      i32(144 + 308, 2),
      i32(144 + 372, 50),
      f32(540, 3.5F),
      f32(544, 4.5F),
      pointer_at(656, 0x105),
  });
  EXPECT_EQ(record.test_type, 1001U);
  EXPECT_EQ(record.setup.connection_type, kConnectionXToY);
  EXPECT_EQ(record.setup.line_frequency, 50);
  EXPECT_EQ(record.setup.temperature_from, 3.5F);
  EXPECT_EQ(record.setup.temperature_to, 4.5F);
  EXPECT_EQ(address(record.tests), 0x105U);
}

TEST(ImpedanceSingleTest, Fields) {
  const auto record = record_of<kvr_TestData_Impedance_SingleTest>({
      i32(8 + 4, 7),
      i32(8 + 248 + 4, 70),
      i32(8 + 496 + 4, 156),
      f32(8 + 496 + 200, 3.5F),
      i32(752, 1002),
      f32(764, 3.5F),
      f64(776, 4.25),
      f64(792, 5.25),
  });
  EXPECT_EQ(record.phases[0].status, KVR_RES_OPERATION_CANCELLED);
  EXPECT_EQ(record.phases[1].status, KVR_RES_EMERGENCY_STOP_PRESSED);
  EXPECT_EQ(record.phases[2].status, KVR_RES_NOT_TESTED);
  EXPECT_EQ(record.phases[2].curr_rms, 3.5F);
  EXPECT_EQ(record.phase_mode, 1002);
  EXPECT_EQ(record.avg_power_factor, 3.5F);
  EXPECT_EQ(record.avg_z, 4.25);
  EXPECT_EQ(record.avg_z_percent, 5.25);
}

TEST(ImpedancePhase, Fields) {
  const auto record = record_of<kvr_TestData_Impedance_Phase>({
      u8(0, 101),
      i32(4, 1002),
      text_at(20, filling(20, 'c')),
      text_at(40, filling(20, 'd')),
      text_at(60, filling(20, 'e')),
      f64(112, 6.25),
      f32(124, 7.5F),
      f32(128, 8.5F),
      f32(132, 9.5F),
      f32(136, 10.5F),
      f32(140, 11.5F),
      f32(144, 12.5F),
      f64(152, 13.25),
      f64(168, 14.25),
      f64(176, 15.25),
      f32(200, 16.5F),
  });
  EXPECT_EQ(record.corrected, 101);
  EXPECT_EQ(record.status, 1002);
  EXPECT_EQ(whole(record.phase_name), filled(20, 'c'));
  EXPECT_EQ(whole(record.high_side_phase), filled(20, 'd'));
  EXPECT_EQ(whole(record.low_side_phase), filled(20, 'e'));
  EXPECT_EQ(record.v_ratio, 6.25);
  EXPECT_EQ(record.test_frequency, 7.5F);
  EXPECT_EQ(record.rs, 8.5F);
  EXPECT_EQ(record.xs, 9.5F);
  EXPECT_EQ(record.power_factor, 10.5F);
  EXPECT_EQ(record.inductance, 11.5F);
  EXPECT_EQ(record.capacitance, 12.5F);
  EXPECT_EQ(record.z, 13.25);
  EXPECT_EQ(record.z_percent, 14.25);
  EXPECT_EQ(record.z_percent_error, 15.25);
  EXPECT_EQ(record.curr_rms, 16.5F);
}

TEST(Efficiency, Fields) {
  const auto record = record_of<kvr_TestData_Efficiency>({
      i32(112, 1001),
      i32(128 + 308, 2),
      i32(500, 1003),
      f32(524, 4.5F),
      f32(528, 5.5F),
      u8(548, 106),
      i32(568 + 4, 7),
      i32(568 + 168 + 4, 70),
      i32(568 + 336 + 4, 156),
      f32(568 + 336 + 164, 3.5F),
      f32(1072, 8.5F),
      f32(1076, 9.5F),
      f32(1080, 10.5F),
      f32(1084, 11.5F),
      f32(1088, 12.5F),
      f32(1092, 13.5F),
  });
  EXPECT_EQ(record.duration_ms, 1001U);
  EXPECT_EQ(record.setup.connection_type, kConnectionXToY);
  EXPECT_EQ(record.setup.line_frequency, 1003);
  EXPECT_EQ(record.setup.temperature_from, 4.5F);
  EXPECT_EQ(record.setup.temperature_to, 5.5F);
  EXPECT_EQ(record.fast_mode, 106);
  EXPECT_EQ(record.phases[0].status, KVR_RES_OPERATION_CANCELLED);
  EXPECT_EQ(record.phases[1].status, KVR_RES_EMERGENCY_STOP_PRESSED);
  EXPECT_EQ(record.phases[2].status, KVR_RES_NOT_TESTED);
  EXPECT_EQ(record.phases[2].noload_eddy_resistance_corrected, 3.5F);
  EXPECT_EQ(record.total_load_losses, 8.5F);
  EXPECT_EQ(record.total_no_load_losses, 9.5F);
  EXPECT_EQ(record.total_eddy_current, 10.5F);
  EXPECT_EQ(record.total_hysteresis, 11.5F);
  EXPECT_EQ(record.total_losses, 12.5F);
  EXPECT_EQ(record.efficiency_percent, 13.5F);
}

TEST(EfficiencyPhase, Fields) {
  const auto record = record_of<kvr_TestData_Efficiency_Phase>({
      u8(0, 101),
      i32(4, 1002),
      text_at(12, filling(20, 'c')),
      text_at(32, filling(20, 'd')),
      text_at(52, filling(20, 'e')),
      f32(116, 6.5F),
      f32(120, 7.5F),
      f32(124, 8.5F),
      f32(128, 9.5F),
      f32(132, 10.5F),
      f32(136, 11.5F),
      f32(140, 12.5F),
      f32(144, 13.5F),
      f32(148, 14.5F),
      f32(152, 15.5F),
      f32(156, 16.5F),
      f32(160, 17.5F),
      f32(164, 18.5F),
  });
  EXPECT_EQ(record.corrected, 101);
  EXPECT_EQ(record.status, 1002);
  EXPECT_EQ(whole(record.phase_name), filled(20, 'c'));
  EXPECT_EQ(whole(record.high_side_phase), filled(20, 'd'));
  EXPECT_EQ(whole(record.low_side_phase), filled(20, 'e'));
  EXPECT_EQ(record.ratio_tnr, 6.5F);
  EXPECT_EQ(record.load_rs_line, 7.5F);
  EXPECT_EQ(record.load_rs_zero, 8.5F);
  EXPECT_EQ(record.load_i2r, 9.5F);
  EXPECT_EQ(record.load_stray_eddy, 10.5F);
  EXPECT_EQ(record.load_losses, 11.5F);
  EXPECT_EQ(record.no_load_losses, 12.5F);
  EXPECT_EQ(record.total_losses, 13.5F);
  EXPECT_EQ(record.hysteresis, 14.5F);
  EXPECT_EQ(record.eddy_current, 15.5F);
  EXPECT_EQ(record.i2r_no_load, 16.5F);
  EXPECT_EQ(record.noload_eddy_resistance_measured, 17.5F);
  EXPECT_EQ(record.noload_eddy_resistance_corrected, 18.5F);
}

TEST(Resistance, Fields) {
  const auto record = record_of<kvr_TestData_Resistance>({
      i32(112, 1001),
      pointer_at(624, 0x102),
  });
  EXPECT_EQ(record.duration_ms, 1001U);
  EXPECT_EQ(address(record.sides), 0x102U);
}

TEST(Tap, Fields) {
  const auto record = record_of<kvr_TestData_Tap>({
      i32(0, 1001),
      pointer_at(8, 0x102),
      i32(16, 1003),
  });
  EXPECT_EQ(record.tap, 1001);
  EXPECT_EQ(address(record.points), 0x102U);
  EXPECT_EQ(record.point_count, 1003U);
}

TEST(Point, Fields) {
  const auto record = record_of<kvr_TestData_Point>({
      text_at(16, filling(20, 'a')),
      i32(36, 1002),
      i32(40, 1003),
      i32(44, 1004),
      f32(52, 5.5F),
      f32(56, 6.5F),
      f32(60, 7.5F),
      f32(72, 8.5F),
      f64(88, 9.25),
      pointer_at(104, 0x110),
  });
  EXPECT_EQ(whole(record.name), filled(20, 'a'));
  EXPECT_EQ(record.state, 1002U);
  EXPECT_EQ(record.error, 1003);
  EXPECT_EQ(record.stabilization_ms, 1004U);
  EXPECT_EQ(record.ii, 5.5F);
  EXPECT_EQ(record.ua, 6.5F);
  EXPECT_EQ(record.ia, 7.5F);
  EXPECT_EQ(record.stability, 8.5F);
  EXPECT_EQ(record.rm, 9.25);
  EXPECT_EQ(address(record.transition), 0x110U);
}

TEST(Demag, Fields) {
  const auto record = record_of<kvr_TestData_Demag>({
      i32(112, 1001),
      pointer_at(560, 0x102),
      i32(568, 1003),
  });
  EXPECT_EQ(record.duration_ms, 1001U);
  EXPECT_EQ(address(record.phases), 0x102U);
  EXPECT_EQ(record.phase_count, 1003U);
}

TEST(GoNoGo, Fields) {
  const auto record = record_of<kvr_TestData_GoNoGo>({
      i32(656, 1001),
      i32(660, 1002),
      i32(664, 1003),
  });
  EXPECT_EQ(record.status_open_circuit, 1001);
  EXPECT_EQ(record.status_short_circuit, 1002);
  EXPECT_EQ(record.status_minimum_inductance, 1003);
}

// From 128 on a ratio result repeats the body of its request.
TEST(Ratio3ph, RepeatsTheRequestAt128) {
  Bytes bytes(sizeof(kvr_TestData_Ratio_3ph));
  const auto request = record_of<kvr_Ratio3phRequest>({
      i32(308, 1),
      i32(420, 3),
      i32(424, 2),
      i32(428, 100),
      f32(432, 47.0F),
      u8(436, 1),
      u8(438, 2),
      f32(440, 0.5F),
      f32(444, 0.25F),
  });
  std::memcpy(bytes.data() + 128, &request, sizeof request);
  kvr_TestData_Ratio_3ph record;
  std::memcpy(&record, bytes.data(), bytes.size());
  EXPECT_EQ(record.setup.connection_type, kConnectionHToY);
  EXPECT_EQ(record.testing_mode, KVR_TESTING_MODE_3PH_1_1);
  EXPECT_EQ(record.test_type, KVR_TEST_RATIO_UP);
  EXPECT_EQ(record.tested_phase, kAllPhases);
  EXPECT_EQ(record.test_voltage, 47.0F);
  EXPECT_EQ(record.request_flag_a, 1);
  EXPECT_EQ(record.request_flag_b, 2);
  EXPECT_EQ(record.limit_a, 0.5F);
  EXPECT_EQ(record.limit_b, 0.25F);
}

TEST(Ratio3ph, TestVoltageLiesAt560) {
  const auto record = record_of<kvr_TestData_Ratio_3ph>({f32(560, 12.5F)});
  EXPECT_EQ(record.test_voltage, 12.5F);
}

TEST(Ratio1ph, RepeatsTheRequestAt128) {
  Bytes bytes(sizeof(kvr_TestData_Ratio_1ph));
  const auto request = record_of<kvr_Ratio1phRequest>({
      i32(0, 5),
      i32(4, 6),
      i32(8, 4),
      i32(12, 7),
      i32(16, 8),
      i32(20 + 308, 1),
      f32(440, 47.0F),
      u8(444, 1),
      u8(445, 2),
      f32(448, 0.5F),
      f32(452, 0.25F),
  });
  std::memcpy(bytes.data() + 128, &request, sizeof request);
  kvr_TestData_Ratio_1ph record;
  std::memcpy(&record, bytes.data(), bytes.size());
  EXPECT_EQ(record.direction, KVR_TEST_RATIO_CT);
  EXPECT_EQ(record.high_side_phase, 6);
  EXPECT_EQ(record.low_side_phase, 4);
  EXPECT_EQ(record.high_side_extra, 7);
  EXPECT_EQ(record.low_side_extra, 8);
  EXPECT_EQ(record.setup.connection_type, kConnectionHToY);
  EXPECT_EQ(record.test_voltage, 47.0F);
  EXPECT_EQ(record.request_flag_a, 1);
  EXPECT_EQ(record.request_flag_b, 2);
  EXPECT_EQ(record.limit_a, 0.5F);
  EXPECT_EQ(record.limit_b, 0.25F);
}

TEST(Ratio1ph, TestVoltageLiesAt568) {
  const auto record = record_of<kvr_TestData_Ratio_1ph>({f32(568, 12.5F)});
  EXPECT_EQ(record.test_voltage, 12.5F);
}

TEST(ImpedanceList, Fields) {
  const auto list = record_of<kvr_TestData_Impedance_List>({pointer_at(0, 0x40), i32(8, 3)});
  EXPECT_EQ(address(list.tests), 0x40U);
  EXPECT_EQ(list.count, 3U);
}

TEST(Sides, Fields) {
  const auto sides = record_of<kvr_TestData_Sides>(
      {pointer_at(0, 0x10), pointer_at(8, 0x20), pointer_at(16, 0x30)});
  EXPECT_EQ(address(sides.primary), 0x10U);
  EXPECT_EQ(address(sides.secondary), 0x20U);
  EXPECT_EQ(address(sides.tertiary), 0x30U);
}

TEST(Taps, Fields) {
  const auto taps = record_of<kvr_TestData_Taps>({pointer_at(0, 0x10), i32(8, 17)});
  EXPECT_EQ(address(taps.taps), 0x10U);
  EXPECT_EQ(taps.count, 17U);
}

TEST(Transition, Fields) {
  const auto transition = record_of<kvr_TestData_Transition>({i32(0, 72), i32(4, -1), i32(8, 2)});
  EXPECT_EQ(transition.status, KVR_RES_TAPCHANGER_UP);
  EXPECT_EQ(transition.from, -1);
  EXPECT_EQ(transition.to, 2);
}

TEST(DemagPhase, Fields) {
  const auto phase = record_of<kvr_TestData_Demag_Phase>(
      {text_at(16, filling(32, 'd')), f32(48, 0.75F), f32(52, 0.125F)});
  EXPECT_EQ(whole(phase.demag_phase), filled(32, 'd'));
  EXPECT_EQ(phase.remanence_initial, 0.75F);
  EXPECT_EQ(phase.remanence_after_demag, 0.125F);
}

TEST(MagneticBalance, Fields) {
  const auto record = record_of<kvr_TestData_MagneticBalance>({
      i32(556, 2),
      text_at(696, filling(20, 'a')),
      text_at(716, filling(20, 'b')),
      f32(904, 1.5F),
      f32(912, 2.5F),
      f32(920, 3.5F),
      f32(928, 4.5F),
      text_at(696 + 384, filling(20, 'c')),
      text_at(716 + 384, filling(20, 'd')),
      f32(904 + 384, 5.5F),
      f32(912 + 384, 6.5F),
      f32(920 + 384, 7.5F),
      f32(928 + 384, 8.5F),
      text_at(696 + 768, filling(20, 'e')),
      text_at(716 + 768, filling(20, 'f')),
      f32(904 + 768, 9.5F),
      f32(912 + 768, 10.5F),
      f32(920 + 768, 11.5F),
      f32(928 + 768, 12.5F),
      f32(1716, 13.5F),
  });
  EXPECT_EQ(record.side, 2U);
  EXPECT_EQ(whole(record.rows[0].high_label), filled(20, 'a'));
  EXPECT_EQ(whole(record.rows[0].low_label), filled(20, 'b'));
  EXPECT_EQ(record.rows[0].cell[0].value, 1.5F);
  EXPECT_EQ(record.rows[0].cell[1].value, 2.5F);
  EXPECT_EQ(record.rows[0].cell[2].value, 3.5F);
  EXPECT_EQ(record.rows[0].total, 4.5F);
  EXPECT_EQ(whole(record.rows[1].high_label), filled(20, 'c'));
  EXPECT_EQ(whole(record.rows[1].low_label), filled(20, 'd'));
  EXPECT_EQ(record.rows[1].cell[0].value, 5.5F);
  EXPECT_EQ(record.rows[1].cell[1].value, 6.5F);
  EXPECT_EQ(record.rows[1].cell[2].value, 7.5F);
  EXPECT_EQ(record.rows[1].total, 8.5F);
  EXPECT_EQ(whole(record.rows[2].high_label), filled(20, 'e'));
  EXPECT_EQ(whole(record.rows[2].low_label), filled(20, 'f'));
  EXPECT_EQ(record.rows[2].cell[0].value, 9.5F);
  EXPECT_EQ(record.rows[2].cell[1].value, 10.5F);
  EXPECT_EQ(record.rows[2].cell[2].value, 11.5F);
  EXPECT_EQ(record.rows[2].total, 12.5F);
  EXPECT_EQ(record.max_imbalance, 13.5F);
}

TEST(Drm, Fields) {
  const auto record = record_of<kvr_TestData_Drm>({pointer_at(632, 0x10), i32(648, 12)});
  EXPECT_EQ(address(record.first_transition), 0x10U);
  EXPECT_EQ(record.transition_count, 12U);
}

TEST(DrmTransition, Fields) {
  const auto transition = record_of<kvr_TestData_Drm_Transition>({i32(12, 250), i32(16, 310)});
  EXPECT_EQ(transition.start_time, 250U);
  EXPECT_EQ(transition.end_time, 310U);
}

// An entry of the list of stored records begins like the record it stands for.
TEST(TestLabel, Fields) {
  const auto label = record_of<kvr_TestLabel>({
      text_at(0, filling(30, 'a')),
      text_at(30, filling(30, 'g')),
      text_at(60, filling(30, 'r')),
      i32(92, 2),
      i32(124, 6),
      i32(132, 14),
      i32(136 + 308, 1),
      text_at(557, filling(23, 't')),
  });
  EXPECT_EQ(whole(label.asset_id), filled(30, 'a'));
  EXPECT_EQ(whole(label.group_id), filled(30, 'g'));
  EXPECT_EQ(whole(label.record_id), filled(30, 'r'));
  EXPECT_EQ(label.save_mode, KVR_SAVE_ADD_TO_RECORD);
  EXPECT_EQ(label.test_count, 6U);
  EXPECT_EQ(label.test_type, KVR_TEST_MBALANCE);
  EXPECT_EQ(label.setup.connection_type, kConnectionHToY);
  EXPECT_EQ(whole(label.timestamp), filled(23, 't'));
}

TEST(TestLabel, EntriesArePacked) {
  const kvr_TestLabel entries[2] = {};
  EXPECT_EQ(address(&entries[1]) - address(&entries[0]), 580U);
  EXPECT_EQ(alignof(kvr_TestLabel), 4U);
}

TEST(ProgressRecord, Fields) {
  const auto progress = record_of<kvr_TestData_Progress>({
      i32(4, 3),
      i32(28, 5),
      i32(32, 17),
      pointer_at(96, 0x10),
      i32(104, 2),
      i32(108, 7),
  });
  EXPECT_EQ(progress.saved, 3U);
  EXPECT_EQ(progress.tap, 5);
  EXPECT_EQ(progress.tap_count, 17);
  EXPECT_EQ(address(progress.points), 0x10U);
  EXPECT_EQ(progress.point_count, 2U);
  EXPECT_EQ(progress.status, KVR_RES_OPERATION_CANCELLED);
}

TEST(TerminalPair, Fields) {
  const auto pair = record_of<kvr_TerminalPair>({i32(0, 5), i32(4, 9)});
  EXPECT_EQ(pair.first, KVR_TERMINAL_X0);
  EXPECT_EQ(pair.second, KVR_TERMINAL_Y0);
}

}  // namespace
