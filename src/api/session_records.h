#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "api/codes.h"

// The records of a session with the client library: start-up, connection, device, status, progress
// and the list of stored records. They are wire formats shared with a library compiled apart, so
// each offset is pinned below. Texts are NUL-terminated in their field, times are seconds
// since 1970, flags are one byte with 0 for false.

/// Told by the library on a thread of its own, at any time after initialisation. `text` may be
/// null.
using kvr_StatusCallback = void (*)(void* context, kvr_code code, const char* text);

/// Given to the initialise call.
struct kvr_InitParams {
  std::int32_t init_mode;
  std::uint8_t debug_mode;
  std::uint8_t quiet_mode;
  std::uint8_t reserved_6[2];
  std::int32_t init_setting_a;
  std::int32_t init_setting_b;
  kvr_StatusCallback status_callback;
  void* status_context;
};

static_assert(std::is_trivially_copyable_v<kvr_InitParams>);
static_assert(offsetof(kvr_InitParams, init_mode) == 0);
static_assert(offsetof(kvr_InitParams, debug_mode) == 4);
static_assert(offsetof(kvr_InitParams, quiet_mode) == 5);
static_assert(offsetof(kvr_InitParams, init_setting_a) == 8);
static_assert(offsetof(kvr_InitParams, init_setting_b) == 12);
static_assert(offsetof(kvr_InitParams, status_callback) == 16);
static_assert(offsetof(kvr_InitParams, status_context) == 24);
static_assert(sizeof(kvr_InitParams) == 32);

struct kvr_ClientAPIInfo {
  char api_info_head[4];
  char version[22];
};

static_assert(std::is_trivially_copyable_v<kvr_ClientAPIInfo>);
static_assert(offsetof(kvr_ClientAPIInfo, api_info_head) == 0);
static_assert(offsetof(kvr_ClientAPIInfo, version) == 4);
static_assert(sizeof(kvr_ClientAPIInfo) == 26);

/// What the instrument says about itself.
struct kvr_DeviceInfo {
  std::int32_t instrument_type;
  char reserved_4[7];
  char serial_number[21];
  char hardware_version[21];
  char software_version[21];
  char firmware_version[21];
  char reserved_95[21];
  std::uint8_t debug_mode;
  char reserved_117[3];
  std::int64_t device_date_time;
  char reserved_128[8];
  std::uint8_t calibrated;
  std::uint8_t calibration_old;
  char reserved_138[6];
  std::int64_t calibration_date;
  char reserved_152[96];
  std::int32_t model_tier;
  char reserved_252[212];
};

static_assert(std::is_trivially_copyable_v<kvr_DeviceInfo>);
static_assert(offsetof(kvr_DeviceInfo, instrument_type) == 0);
static_assert(offsetof(kvr_DeviceInfo, serial_number) == 11);
static_assert(offsetof(kvr_DeviceInfo, hardware_version) == 32);
static_assert(offsetof(kvr_DeviceInfo, software_version) == 53);
static_assert(offsetof(kvr_DeviceInfo, firmware_version) == 74);
static_assert(offsetof(kvr_DeviceInfo, debug_mode) == 116);
static_assert(offsetof(kvr_DeviceInfo, device_date_time) == 120);
static_assert(offsetof(kvr_DeviceInfo, calibrated) == 136);
static_assert(offsetof(kvr_DeviceInfo, calibration_old) == 137);
static_assert(offsetof(kvr_DeviceInfo, calibration_date) == 144);
static_assert(offsetof(kvr_DeviceInfo, model_tier) == 248);
static_assert(sizeof(kvr_DeviceInfo) == 464);

/// The instrument's state of health, asked for on each pass of the main menu.
struct kvr_Status {
  kvr_code device_status_code;
  std::uint8_t api_locked;
  std::uint8_t database_loaded;
  std::uint8_t reserved_6;
  std::uint8_t measurement_board_connected;
  std::uint8_t reserved_8;
  std::uint8_t emergency_button_pressed;
  std::uint8_t reserved_10;
  std::uint8_t secondary_sd_mounted;
  std::uint8_t secondary_sd_read_only;
  std::uint8_t primary_sd_error;
  std::uint8_t secondary_sd_error;
  std::uint8_t reserved_15[13];
};

static_assert(std::is_trivially_copyable_v<kvr_Status>);
static_assert(offsetof(kvr_Status, device_status_code) == 0);
static_assert(offsetof(kvr_Status, api_locked) == 4);
static_assert(offsetof(kvr_Status, database_loaded) == 5);
static_assert(offsetof(kvr_Status, measurement_board_connected) == 7);
static_assert(offsetof(kvr_Status, emergency_button_pressed) == 9);
static_assert(offsetof(kvr_Status, secondary_sd_mounted) == 11);
static_assert(offsetof(kvr_Status, secondary_sd_read_only) == 12);
static_assert(offsetof(kvr_Status, primary_sd_error) == 13);
static_assert(offsetof(kvr_Status, secondary_sd_error) == 14);
static_assert(sizeof(kvr_Status) == 28);

/// How the instrument is reached. The library takes it by pointer.
enum kvr_ConnectionType : std::int32_t {
  KVR_CONNECTION_USB_WIFI = 0,
  KVR_CONNECTION_SERVICE = 3,
};

/// Size of the text that `kvr_ConnectAPI` fills with the firmware version.
constexpr std::size_t kFirmwareTextSize = 22;

struct kvr_Progress {
  std::int32_t current;
  std::int32_t total;
};

static_assert(std::is_trivially_copyable_v<kvr_Progress>);
static_assert(offsetof(kvr_Progress, current) == 0);
static_assert(offsetof(kvr_Progress, total) == 4);
static_assert(sizeof(kvr_Progress) == 8);

/// Told by the library on a thread of its own while a test call blocks.
using kvr_ProgressCallback = void (*)(void* context, const kvr_Progress* progress);

struct kvr_ProgressHandler {
  kvr_ProgressCallback progress_callback;
  void* progress_context;
};

static_assert(std::is_trivially_copyable_v<kvr_ProgressHandler>);
static_assert(offsetof(kvr_ProgressHandler, progress_callback) == 0);
static_assert(offsetof(kvr_ProgressHandler, progress_context) == 8);
static_assert(sizeof(kvr_ProgressHandler) == 16);
