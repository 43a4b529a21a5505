#include "support/scripted_client_api_script.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

namespace {

using testing::StartsWith;

class Script : public testing::Test {
 protected:
  void SetUp() override { api.reset(); }
  void TearDown() override { api.reset(); }

  void load(const std::string& text) {
    std::istringstream script(text);
    load_script(script, "it", api);
  }

  /// The error message for a bad script.
  std::string error_of(const std::string& text) {
    try {
      load(text);
      return "nothing";
    } catch (const std::exception& error) {
      return error.what();
    }
  }

  kvr_TestRecord* run_test() {
    kvr_TestRequestHeader header{};
    kvr_Ratio1phRequest request{};
    kvr_ProgressHandler handler{};
    kvr_TestRecord* record = nullptr;
    kvr_Test_Ratio_1ph(&header, &request, &handler, &record);
    return record;
  }

  ScriptedClientApi& api = scripted_api();
};

TEST_F(Script, ResultsByNumberAndByName) {
  load(
      "# a comment\n"
      "\n"
      "kvr_LockAPI: 5   # another one\n"
      "kvr_LockAPI: KVR_RES_RPC_ERROR\r\n"
      "always kvr_LockAPI: -1\n");
  EXPECT_EQ(kvr_LockAPI(), 5);
  EXPECT_EQ(kvr_LockAPI(), KVR_RES_RPC_ERROR);
  EXPECT_EQ(kvr_LockAPI(), -1);
  EXPECT_EQ(kvr_LockAPI(), -1);
}

TEST_F(Script, Texts) {
  load(
      "kvr_CodeToString: \"a # \\\"b\\\" \\\\ \\n\\t\\xff\"\n"
      "kvr_CodeToString: null\n"
      "kvr_ConnectAPI: 0 firmware=\"9 = 8\"\n"
      "kvr_GetClientAPIInfo: 0 version=\"\"\n");
  EXPECT_STREQ(kvr_CodeToString(KVR_RES_OK), "a # \"b\" \\ \n\t\xff");
  EXPECT_EQ(kvr_CodeToString(KVR_RES_OK), nullptr);
  kvr_ConnectionType type = KVR_CONNECTION_USB_WIFI;
  char firmware[kFirmwareTextSize] = "";
  kvr_ConnectAPI(&type, 5, "", firmware);
  EXPECT_STREQ(firmware, "9 = 8");
  kvr_ClientAPIInfo info{};
  info.version[0] = 'x';
  kvr_GetClientAPIInfo(&info);
  EXPECT_STREQ(info.version, "");
}

TEST_F(Script, FieldsOfSessionRecords) {
  load(
      "kvr_GetDeviceInfo: 0 instrument_type=1000 serial_number=\"S 1\" "
      "calibration_date=4294967296\n"
      "kvr_GetStatus: 0 device_status_code=KVR_RES_DISK_FULL api_locked=2\n"
      "kvr_CheckRecordExists: 3 exists=1\n");
  kvr_DeviceInfo info{};
  kvr_GetDeviceInfo(&info);
  EXPECT_EQ(info.instrument_type, 1000);
  EXPECT_STREQ(info.serial_number, "S 1");
  EXPECT_EQ(info.calibration_date, 4294967296);
  EXPECT_STREQ(info.software_version, "1.2");
  kvr_Status status{};
  kvr_GetStatus(&status);
  EXPECT_EQ(status.device_status_code, KVR_RES_DISK_FULL);
  EXPECT_EQ(status.api_locked, 2);
  EXPECT_EQ(status.database_loaded, 1);
  bool exists = false;
  EXPECT_EQ(kvr_CheckRecordExists("", &exists), 3);
  EXPECT_TRUE(exists);
}

TEST_F(Script, RecordsByName) {
  load(
      "kvr_Test_Ratio_1ph: 0 record=second raw=\"new\"\n"
      "kvr_Test_Ratio_1ph: 0 record=first record_id=\"T9\"\n"
      "kvr_Test_Ratio_1ph: 0 record=null\n"
      "always kvr_Test_Ratio_1ph: 0 raw=null\n"
      "record first\n"
      "  record_id = T1\n"
      "  raw_data = old\n"
      "\n"
      "record second\n"
      "  # of another kind\n"
      "  test_type = 18\n");
  kvr_TestRecord* record = run_test();
  EXPECT_EQ(record->test_type, KVR_TEST_DRM);
  EXPECT_STREQ(record->raw_data, "new");
  record = run_test();
  EXPECT_STREQ(record->record_id, "T9");
  EXPECT_STREQ(record->raw_data, "old");
  EXPECT_EQ(run_test(), nullptr);
  for (int i = 0; i < 2; ++i) {
    record = run_test();
    EXPECT_EQ(record->data_count, 1);
    EXPECT_EQ(record->raw_data, nullptr);
  }
  EXPECT_EQ(api.records_handed_out(), 4);
}

TEST_F(Script, ListsShowTheHeadsOfRecords) {
  load(
      "kvr_ListRecords: 0 records=b,a,b\n"
      "kvr_ListRecords: 0\n"
      "record a\n"
      "  record_id = A\n"
      "record b\n"
      "  test_count = 7\n"
      "  timestamp = 1234567890123456789012\n");
  kvr_TestLabelsList* list = nullptr;
  kvr_ListRecords(&list, nullptr, 0, 0);
  ASSERT_EQ(list->count, 3);
  EXPECT_EQ(list->entries[0].test_count, 7);
  EXPECT_STREQ(list->entries[1].record_id, "A");
  EXPECT_STREQ(list->entries[2].timestamp, "1234567890123456789012");
  kvr_FreeTestLabelsList(list);
  kvr_ListRecords(&list, nullptr, 0, 0);
  EXPECT_EQ(list->count, 0);
  kvr_FreeTestLabelsList(list);
  EXPECT_EQ(error_of("kvr_ListRecords: 0 records=c\n"), "it:1: no record 'c'");
}

TEST_F(Script, RecordsMayHoldQuotes) {
  load(
      "kvr_Test_Ratio_1ph: 0 record=a\n"
      "record a\n"
      "  asset_id = 5\" pipe\n"
      "# between\n"
      "  record_id = T1\n");
  EXPECT_STREQ(run_test()->asset_id, "5\" pipe");
}

TEST_F(Script, RecordIdsMayFillTheirField) {
  load("kvr_Test_Ratio_1ph: 0 record_id=\"123456789012345678901234567890\"\n");
  const kvr_TestRecord* record = run_test();
  EXPECT_EQ(std::string(record->record_id, 31),
            "123456789012345678901234567890" + std::string(1, 0));
}

TEST_F(Script, Events) {
  load(
      "kvr_Test_Ratio_1ph: 0 progress=1/2,-3/4 status=83 status=KVR_RES_OK:\"a b\" delay=1ms\n"
      "kvr_GetStatus: 0\n");
  std::vector<std::string> seen;
  kvr_InitParams params{};
  params.status_context = &seen;
  params.status_callback = [](void* context, kvr_code code, const char* text) {
    static_cast<std::vector<std::string>*>(context)->push_back(std::to_string(code) + " " +
                                                               (text == nullptr ? "null" : text));
  };
  kvr_Lib_Initialize(&params);
  kvr_TestRequestHeader header{};
  kvr_Ratio1phRequest request{};
  kvr_ProgressHandler handler{
      [](void* context, const kvr_Progress* progress) {
        static_cast<std::vector<std::string>*>(context)->push_back(
            std::to_string(progress->current) + "/" + std::to_string(progress->total));
      },
      &seen};
  kvr_TestRecord* record = nullptr;
  kvr_Test_Ratio_1ph(&header, &request, &handler, &record);
  EXPECT_THAT(seen, testing::ElementsAre("1/2", "-3/4", "83 null", "0 a b"));
}

TEST_F(Script, ErrorsNameFileAndLine) {
  EXPECT_EQ(error_of("\nkvr_Connect: 0\n"), "it:2: 'kvr_Connect:' is no call followed by ':'");
  EXPECT_EQ(error_of("kvr_LockAPI 0\n"), "it:1: 'kvr_LockAPI' is no call followed by ':'");
  EXPECT_EQ(error_of("kvr_LockAPI:\n"), "it:1: '' is no number");
  EXPECT_EQ(error_of("kvr_LockAPI: KVR_RES_FINE\n"), "it:1: 'KVR_RES_FINE' is no number");
  EXPECT_EQ(error_of("kvr_LockAPI: 0 firmware=\"1\"\n"),
            "it:1: 'firmware=\"1\"' is nothing that kvr_LockAPI can do");
  EXPECT_EQ(error_of("kvr_GetStatus: 0 locked=1\n"),
            "it:1: 'locked=1' is nothing that kvr_GetStatus can do");
  EXPECT_EQ(error_of("kvr_ReadRecord: 0 progress=1/2\n"),
            "it:1: 'progress=1/2' is nothing that kvr_ReadRecord can do");
  EXPECT_EQ(error_of("kvr_ConnectAPI: 0 firmware=1\n"), "it:1: '1' is no text in quotes");
  EXPECT_EQ(error_of("kvr_ConnectAPI: 0 firmware=\"1\n"), "it:1: a text without its closing quote");
  EXPECT_EQ(error_of("\"kvr\n"), "it:1: a text without its closing quote");
  EXPECT_EQ(error_of("kvr_ConnectAPI: 0 firmware=\"\\q\"\n"), "it:1: unknown escape \\q");
  EXPECT_EQ(error_of("kvr_ConnectAPI: 0 firmware=\"\\x1\"\n"), "it:1: unknown escape \\x");
  EXPECT_EQ(error_of("kvr_ConnectAPI: 0 firmware=\"\\xAB\"\n"),
            "it:1: \\x wants two digits of 0-9a-f");
  EXPECT_EQ(error_of("kvr_GetDeviceInfo: 0 serial_number=\"1234567890123456789012\"\n"),
            "it:1: longer than the 21 bytes of the field");
  EXPECT_EQ(error_of("kvr_ReadRecord: 0 record_id=\"1234567890123456789012345678901\"\n"),
            "it:1: longer than the 30 bytes of the field");
  EXPECT_EQ(error_of("kvr_LockAPI: 0 delay=5\n"), "it:1: '5' is no time such as 200ms");
  EXPECT_THAT(error_of("kvr_LockAPI: 0 status=5:text\n"), StartsWith("it:1: status is CODE"));
  EXPECT_EQ(error_of("kvr_Test_Ratio_1ph: 0 record=none\n"), "it:1: no record 'none'");
  EXPECT_EQ(error_of("  record_id = T1\n"), "it:1: an indented line belongs to a record");
  EXPECT_EQ(error_of("record a\n  record_id = T1\nrecord a\n"),
            "it:3: a record wants a name of its own");
  EXPECT_EQ(error_of("record\n"), "it:1: a record wants a name of its own");
  EXPECT_THAT(error_of("kvr_LockAPI: 0\nrecord a\n  record_id = T1\n  nonsense = 1\n"),
              StartsWith("it:4: "));
}

}  // namespace
