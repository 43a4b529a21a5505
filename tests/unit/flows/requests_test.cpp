#include "flows/requests.h"

#include <gtest/gtest.h>

#include <string>

#include "common/errors.h"
#include "console/session.h"
#include "support/byte_rows.h"
#include "support/session_test.h"

namespace {

class Requests : public SessionTest {
 protected:
  Requests() { device_status = healthy_status(); }
};

TEST_F(Requests, OfASinglePhaseTestBeginWithTheseBytes) {
  const kvr_Ratio1phRequest request = make_ratio_1ph_request();
  EXPECT_EQ(byte_rows(bytes_of(request)),
            byte_rows(bytes_of(456, {
                                        i32(4, 1),                // high_side_phase
                                        i32(8, 1),                // low_side_phase
                                        i32(20 + 84, 1),          // of windings[0]
                                        f32(20 + 92 + 40, 1.0F),  // windings[1].voltage
                                        i32(20 + 92 + 84, 1),     // of windings[1]
                                        i32(20 + 184 + 84, 1),    // of windings[2]
                                        i32(20 + 312, 100),       // connections[0].clock
                                        i32(20 + 372, 60),        // line_frequency
                                        i32(20 + 388, 1),         // setup_value_b
                                        f32(20 + 396, 20.0F),     // temperature_from
                                        f32(20 + 400, 75.0F),     // temperature_to
                                        f32(20 + 404, 100.0F),    // setup_value_c
                                        f32(20 + 408, 1.0F),      // setup_value_d
                                        u8(20 + 412, 1),          // setup_flag_a
                                        u8(20 + 416, 1),          // setup_flag_b
                                        f32(440, 250.0F),         // test_voltage
                                        u8(444, 1),               // request_flag_a
                                        f32(448, 0.5F),           // limit_a
                                        f32(452, 0.00872665F),    // limit_b
                                    })));
}

TEST_F(Requests, OfAThreePhaseTestBeginWithTheseBytes) {
  const kvr_Ratio3phRequest request = make_ratio_3ph_request();
  EXPECT_EQ(byte_rows(bytes_of(request)),
            byte_rows(bytes_of(448, {
                                        i32(84, 1),             // of windings[0]
                                        f32(92 + 40, 1.0F),     // windings[1].voltage
                                        i32(92 + 84, 1),        // of windings[1]
                                        i32(184 + 84, 1),       // of windings[2]
                                        i32(312, 100),          // connections[0].clock
                                        i32(372, 60),           // line_frequency
                                        i32(388, 1),            // setup_value_b
                                        f32(396, 20.0F),        // temperature_from
                                        f32(400, 75.0F),        // temperature_to
                                        f32(404, 100.0F),       // setup_value_c
                                        f32(408, 1.0F),         // setup_value_d
                                        u8(412, 1),             // setup_flag_a
                                        u8(416, 1),             // setup_flag_b
                                        i32(420, 5),            // testing_mode
                                        i32(424, 4),            // test_type
                                        i32(428, 100),          // tested_phase
                                        f32(432, 250.0F),       // test_voltage
                                        u8(436, 1),             // request_flag_a
                                        f32(440, 0.5F),         // limit_a
                                        f32(444, 0.00872665F),  // limit_b
                                    })));
}

TEST_F(Requests, CarryANameplateRatioAsRatedVoltages) {
  kvr_TestSetup setup{};
  set_nameplate_ratio(setup, 12.1);
  EXPECT_EQ(setup.windings[0].voltage, 12.1F);
  EXPECT_EQ(setup.windings[1].voltage, 1.0F);
  set_nameplate_ratio(setup, 0.0);
  EXPECT_EQ(setup.windings[0].voltage, 0.0F);
  EXPECT_EQ(setup.windings[1].voltage, 1.0F);
}

std::string head_rows(const std::string& test_id, kvr_SaveMode save_mode) {
  return byte_rows(bytes_of(make_request_header(test_id, save_mode)));
}

TEST_F(Requests, HaveAHeadOfTestIdAndSaveMode) {
  EXPECT_EQ(head_rows("T1", KVR_SAVE_ADD_TO_RECORD),
            byte_rows(bytes_of(100, {text_at(60, "T1"), i32(92, 2)})));
}

TEST_F(Requests, WithoutAnIdAreNotToBeKept) {
  const std::string expected = byte_rows(bytes_of(100, {i32(92, 3)}));
  EXPECT_EQ(head_rows("", KVR_SAVE_NEW_RECORD), expected);
  EXPECT_EQ(head_rows("", KVR_SAVE_ADD_TO_RECORD), expected);
  EXPECT_EQ(head_rows("", KVR_SAVE_NOTHING), expected);
}

TEST_F(Requests, KeepTheIdOfATestThatIsNotKept) {
  EXPECT_EQ(head_rows("T1", KVR_SAVE_NOTHING),
            byte_rows(bytes_of(100, {text_at(60, "T1"), i32(92, 3)})));
}

TEST_F(Requests, TakeAnIdOf29Bytes) {
  EXPECT_EQ(head_rows(std::string(29, 'T'), KVR_SAVE_NEW_RECORD),
            byte_rows(bytes_of(100, {text_at(60, std::string(29, 'T')), i32(92, 1)})));
}

TEST_F(Requests, RefuseAnIdOf30Bytes) {
  try {
    make_request_header(std::string(30, 'T'), KVR_SAVE_NEW_RECORD);
    FAIL() << "no exception";
  } catch (const kvr_exception& error) {
    EXPECT_EQ(error.code, KVR_RES_TEXT_TOO_LONG);
    EXPECT_NE(error.message.find("generic2"), std::string::npos) << error.message;
    EXPECT_NE(error.message.find("30"), std::string::npos) << error.message;
  }
}

TEST_F(Requests, AreKeptInANewRecordFirst) {
  EXPECT_EQ(save_mode_for(true, false), KVR_SAVE_NEW_RECORD);
  EXPECT_EQ(save_mode_for(true, true), KVR_SAVE_NEW_RECORD);
}

TEST_F(Requests, AreAddedToTheRecordLaterInASeries) {
  EXPECT_EQ(save_mode_for(false, true), KVR_SAVE_ADD_TO_RECORD);
  EXPECT_EQ(save_mode_for(false, false), KVR_SAVE_NEW_RECORD);
}

TEST_F(Requests, AreNotKeptWhereTheStoreCannotBeWritten) {
  for (const bool first : {false, true}) {
    for (const bool series : {false, true}) {
      device_status = healthy_status();
      device_status.secondary_sd_read_only = 2;
      EXPECT_EQ(save_mode_for(first, series), KVR_SAVE_NOTHING);
      device_status.database_loaded = 0;
      EXPECT_EQ(save_mode_for(first, series), KVR_SAVE_NOTHING);
      device_status.secondary_sd_read_only = 0;
      EXPECT_EQ(save_mode_for(first, series), KVR_SAVE_NOTHING);
    }
  }
}

TEST_F(Requests, AreKeptWhateverElseTheStatusSays) {
  device_status.device_status_code = KVR_RES_HARDWARE_ERROR;
  device_status.api_locked = 1;
  device_status.measurement_board_connected = 0;
  device_status.emergency_button_pressed = 1;
  device_status.secondary_sd_mounted = 0;
  device_status.primary_sd_error = 1;
  device_status.secondary_sd_error = 1;
  EXPECT_EQ(save_mode_for(true, false), KVR_SAVE_NEW_RECORD);
  EXPECT_EQ(save_mode_for(false, true), KVR_SAVE_ADD_TO_RECORD);
}

}  // namespace
