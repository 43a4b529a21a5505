#include "api/session_records.h"

#include <gtest/gtest.h>

#include "api/result_records.h"
#include "record_bytes.h"

namespace {

TEST(SessionRecords, Sizes) {
  EXPECT_EQ(sizeof(kvr_InitParams), 32U);
  EXPECT_EQ(sizeof(kvr_ClientAPIInfo), 26U);
  EXPECT_EQ(sizeof(kvr_DeviceInfo), 464U);
  EXPECT_EQ(sizeof(kvr_Status), 28U);
  EXPECT_EQ(sizeof(kvr_Progress), 8U);
  EXPECT_EQ(sizeof(kvr_ProgressHandler), 16U);
  EXPECT_EQ(sizeof(kvr_TestLabelsList), 16U);
}

TEST(InitParams, BytesOfTheParametersOfTheProgram) {
  const unsigned char bytes[32] = {
      2,    0, 0, 0,  // init_mode
      1,              // debug_mode
      1,              // quiet_mode
      0,    0,        //
      0xE8, 3, 0, 0,  // init_setting_a, 1000
      50,   0, 0, 0,  // init_setting_b
      0x11, 0, 0, 0,  //
      0,    0, 0, 0,  // status_callback
      0x22, 0, 0, 0,  //
      0,    0, 0, 0,  // status_context
  };
  kvr_InitParams params;
  std::memcpy(&params, bytes, sizeof params);
  EXPECT_EQ(params.init_mode, 2);
  EXPECT_EQ(params.debug_mode, 1);
  EXPECT_EQ(params.quiet_mode, 1);
  EXPECT_EQ(params.init_setting_a, 1000);
  EXPECT_EQ(params.init_setting_b, 50);
  EXPECT_EQ(address(params.status_callback), 0x11U);
  EXPECT_EQ(address(params.status_context), 0x22U);
}

TEST(ClientApiInfo, Fields) {
  const auto info =
      record_of<kvr_ClientAPIInfo>({text_at(0, "head"), text_at(4, filling(22, 'v'))});
  EXPECT_EQ(whole(info.api_info_head), "head");
  EXPECT_EQ(whole(info.version), filled(22, 'v'));
}

TEST(DeviceInfo, Fields) {
  const auto info = record_of<kvr_DeviceInfo>({
      i32(0, 1000),
      text_at(11, filling(21, 's')),
      text_at(32, filling(21, 'h')),
      text_at(53, filling(21, 'w')),
      text_at(74, filling(21, 'f')),
      u8(116, 1),
      i64(120, 1614942000),
      u8(136, 2),
      u8(137, 3),
      i64(144, -1),
      i32(248, 30),
  });
  EXPECT_EQ(info.instrument_type, 1000);
  EXPECT_EQ(whole(info.serial_number), filled(21, 's'));
  EXPECT_EQ(whole(info.hardware_version), filled(21, 'h'));
  EXPECT_EQ(whole(info.software_version), filled(21, 'w'));
  EXPECT_EQ(whole(info.firmware_version), filled(21, 'f'));
  EXPECT_EQ(info.debug_mode, 1);
  EXPECT_EQ(info.device_date_time, 1614942000);
  EXPECT_EQ(info.calibrated, 2);
  EXPECT_EQ(info.calibration_old, 3);
  EXPECT_EQ(info.calibration_date, -1);
  EXPECT_EQ(info.model_tier, 30);
}

TEST(Status, Fields) {
  const auto status = record_of<kvr_Status>({
      i32(0, -5),
      u8(4, 1),
      u8(5, 2),
      u8(7, 3),
      u8(9, 4),
      u8(11, 5),
      u8(12, 6),
      u8(13, 7),
      u8(14, 8),
  });
  EXPECT_EQ(status.device_status_code, -5);
  EXPECT_EQ(status.api_locked, 1);
  EXPECT_EQ(status.database_loaded, 2);
  EXPECT_EQ(status.measurement_board_connected, 3);
  EXPECT_EQ(status.emergency_button_pressed, 4);
  EXPECT_EQ(status.secondary_sd_mounted, 5);
  EXPECT_EQ(status.secondary_sd_read_only, 6);
  EXPECT_EQ(status.primary_sd_error, 7);
  EXPECT_EQ(status.secondary_sd_error, 8);
}

TEST(Progress, Fields) {
  const auto progress = record_of<kvr_Progress>({i32(0, -3), i32(4, 12)});
  EXPECT_EQ(progress.current, -3);
  EXPECT_EQ(progress.total, 12);
}

TEST(ProgressHandler, Fields) {
  const auto handler =
      record_of<kvr_ProgressHandler>({pointer_at(0, 0x1000), pointer_at(8, 0x2000)});
  EXPECT_EQ(address(handler.progress_callback), 0x1000U);
  EXPECT_EQ(address(handler.progress_context), 0x2000U);
}

TEST(TestLabelsList, Fields) {
  const auto list = record_of<kvr_TestLabelsList>({pointer_at(0, 0x40), i32(8, 7)});
  EXPECT_EQ(address(list.entries), 0x40U);
  EXPECT_EQ(list.count, 7U);
}

// The library calls the callbacks, so their types are part of the boundary.
TEST(Callbacks, Types) {
  static_assert(std::is_same_v<kvr_StatusCallback, void (*)(void*, kvr_code, const char*)>);
  static_assert(std::is_same_v<kvr_ProgressCallback, void (*)(void*, const kvr_Progress*)>);
}

}  // namespace
