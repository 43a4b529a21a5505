#include "api/request_records.h"

#include <gtest/gtest.h>

#include "record_bytes.h"

namespace {

TEST(RequestRecords, Sizes) {
  EXPECT_EQ(sizeof(kvr_TestRequestHeader), 100U);
  EXPECT_EQ(sizeof(kvr_Ratio1phRequest), 456U);
  EXPECT_EQ(sizeof(kvr_Ratio3phRequest), 448U);
  EXPECT_EQ(sizeof(kvr_TestSetup), 420U);
  EXPECT_EQ(sizeof(kvr_WindingSetup), 92U);
  EXPECT_EQ(sizeof(kvr_ConnectionSetup), 20U);
}

TEST(TestRequestHeader, Fields) {
  const auto header = record_of<kvr_TestRequestHeader>({
      text_at(0, filling(30, 'a')),
      text_at(30, filling(30, 'g')),
      text_at(60, filling(30, 'r')),
      i32(92, 2),
      i32(96, -1),
  });
  EXPECT_EQ(whole(header.asset_id), filled(30, 'a'));
  EXPECT_EQ(whole(header.group_id), filled(30, 'g'));
  EXPECT_EQ(whole(header.record_id), filled(30, 'r'));
  EXPECT_EQ(header.save_mode, KVR_SAVE_ADD_TO_RECORD);
  EXPECT_EQ(header.save_reserved, -1);
}

TEST(WindingSetup, Fields) {
  const auto winding = record_of<kvr_WindingSetup>({
      i32(0, 5),
      f32(40, 1.5F),
      f32(44, 2.5F),
      f32(48, 3.5F),
      i32(80, 2),
      i32(84, 1),
  });
  EXPECT_EQ(winding.winding_type, KVR_WINDING_ZN);
  EXPECT_EQ(winding.voltage, 1.5F);
  EXPECT_EQ(winding.current, 2.5F);
  EXPECT_EQ(winding.phase_shift, 3.5F);
  EXPECT_EQ(winding.tap_changer, KVR_TAP_CHANGER_OLTC);
  EXPECT_EQ(winding.winding_setting, 1);
}

TEST(ConnectionSetup, Fields) {
  const auto connection = record_of<kvr_ConnectionSetup>({i32(0, 100), f32(8, 2500.0F)});
  EXPECT_EQ(connection.clock, 100);
  EXPECT_EQ(connection.kva, 2500.0F);
}

TEST(TestSetup, Fields) {
  const auto setup = record_of<kvr_TestSetup>({
      i32(0, 1),
      i32(92, 2),
      i32(184, 3),
      i32(308, 2),
      i32(312, 11),
      i32(332, 5),
      i32(352, 7),
      i32(372, 60),
      i32(376, 13),
      i32(388, 17),
      f32(396, 20.0F),
      f32(400, 75.0F),
      f32(404, 100.0F),
      f32(408, 1.0F),
      u8(412, 1),
      u8(413, 2),
      u8(416, 3),
  });
  EXPECT_EQ(setup.windings[0].winding_type, KVR_WINDING_D);
  EXPECT_EQ(setup.windings[1].winding_type, KVR_WINDING_Y);
  EXPECT_EQ(setup.windings[2].winding_type, KVR_WINDING_YN);
  EXPECT_EQ(setup.connection_type, kConnectionXToY);
  EXPECT_EQ(setup.connections[0].clock, 11);
  EXPECT_EQ(setup.connections[1].clock, 5);
  EXPECT_EQ(setup.connections[2].clock, 7);
  EXPECT_EQ(setup.line_frequency, 60);
  EXPECT_EQ(setup.setup_value_a, 13);
  EXPECT_EQ(setup.setup_value_b, 17);
  EXPECT_EQ(setup.temperature_from, 20.0F);
  EXPECT_EQ(setup.temperature_to, 75.0F);
  EXPECT_EQ(setup.setup_value_c, 100.0F);
  EXPECT_EQ(setup.setup_value_d, 1.0F);
  EXPECT_EQ(setup.setup_flag_a, 1);
  EXPECT_EQ(setup.raw_data_requested, 2);
  EXPECT_EQ(setup.setup_flag_b, 3);
}

TEST(Ratio1phRequest, Fields) {
  const auto request = record_of<kvr_Ratio1phRequest>({
      i32(0, 5),
      i32(4, 6),
      i32(8, 4),
      i32(12, 21),
      i32(16, 22),
      i32(20, 3),         // windings[0].winding_type
      i32(20 + 372, 50),  // line_frequency
      u8(20 + 413, 1),    // raw_data_requested
      f32(440, 250.0F),
      u8(444, 1),
      u8(445, 2),
      f32(448, 0.5F),
      f32(452, 0.25F),
  });
  EXPECT_EQ(request.test_type, KVR_TEST_RATIO_CT);
  EXPECT_EQ(request.high_side_phase, 6);
  EXPECT_EQ(request.low_side_phase, 4);
  EXPECT_EQ(request.high_side_extra, 21);
  EXPECT_EQ(request.low_side_extra, 22);
  EXPECT_EQ(request.setup.windings[0].winding_type, KVR_WINDING_YN);
  EXPECT_EQ(request.setup.line_frequency, 50);
  EXPECT_EQ(request.setup.raw_data_requested, 1);
  EXPECT_EQ(request.test_voltage, 250.0F);
  EXPECT_EQ(request.request_flag_a, 1);
  EXPECT_EQ(request.request_flag_b, 2);
  EXPECT_EQ(request.limit_a, 0.5F);
  EXPECT_EQ(request.limit_b, 0.25F);
}

TEST(Ratio3phRequest, Fields) {
  const auto request = record_of<kvr_Ratio3phRequest>({
      i32(0, 3),
      i32(372, 50),
      u8(413, 1),
      i32(420, 5),
      i32(424, 4),
      i32(428, 100),
      f32(432, 250.0F),
      u8(436, 1),
      u8(438, 2),
      f32(440, 0.5F),
      f32(444, 0.25F),
  });
  EXPECT_EQ(request.setup.windings[0].winding_type, KVR_WINDING_YN);
  EXPECT_EQ(request.setup.line_frequency, 50);
  EXPECT_EQ(request.setup.raw_data_requested, 1);
  EXPECT_EQ(request.testing_mode, KVR_TESTING_MODE_3PH_AUTO);
  EXPECT_EQ(request.test_type, KVR_TEST_RATIO_AUTO);
  EXPECT_EQ(request.tested_phase, kAllPhases);
  EXPECT_EQ(request.test_voltage, 250.0F);
  EXPECT_EQ(request.request_flag_a, 1);
  EXPECT_EQ(request.request_flag_b, 2);
  EXPECT_EQ(request.limit_a, 0.5F);
  EXPECT_EQ(request.limit_b, 0.25F);
}

TEST(SaveModes, Numbers) {
  EXPECT_EQ(sizeof(kvr_SaveMode), 4U);
  EXPECT_EQ(KVR_SAVE_NEW_RECORD, 1);
  EXPECT_EQ(KVR_SAVE_ADD_TO_RECORD, 2);
  EXPECT_EQ(KVR_SAVE_NOTHING, 3);
}

}  // namespace
