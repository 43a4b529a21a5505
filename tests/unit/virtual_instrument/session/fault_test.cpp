#include <gtest/gtest.h>

#include <string>

#include "unit/virtual_instrument/session/client.h"
#include "virtual_instrument/vocabulary/call_names.h"

namespace virtual_instrument {
namespace {

class Faults : public ClientTest {
 protected:
  static std::string fault(std::string_view call, const std::string& rest) {
    return "[[faults]]\ncall = \"" + std::string(call) + "\"\n" + rest + "\n";
  }
};

TEST_F(Faults, EveryCallWithACodeCanBeForcedForEver) {
  std::string bench;
  for (const std::string_view call : kCallNames) {
    if (!call.starts_with("kvr_Lib_") && call != "kvr_ConnectAPI") {
      bench += fault(call, "code = \"KVR_RES_DISK_FULL\"");
    }
  }
  start();
  set_bench(bench);
  kvr_DeviceInfo info{};
  kvr_Status status{};
  kvr_ClientAPIInfo api_info{};
  bool exists = true;
  kvr_TestLabelsList* list = nullptr;
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(kvr_CancelOperation(), KVR_RES_DISK_FULL);
    EXPECT_EQ(kvr_CheckConnection(), KVR_RES_DISK_FULL);
    EXPECT_EQ(kvr_CheckRecordExists("T1", &exists), KVR_RES_DISK_FULL);
    EXPECT_EQ(kvr_ClearTestDatabase(), KVR_RES_DISK_FULL);
    EXPECT_EQ(kvr_DeleteRecord("T1"), KVR_RES_DISK_FULL);
    EXPECT_EQ(kvr_FreeTestLabelsList(nullptr), KVR_RES_DISK_FULL);
    EXPECT_EQ(kvr_FreeTestRecord(nullptr), KVR_RES_DISK_FULL);
    EXPECT_EQ(kvr_GetClientAPIInfo(&api_info), KVR_RES_DISK_FULL);
    EXPECT_EQ(kvr_GetDeviceInfo(&info), KVR_RES_DISK_FULL);
    EXPECT_EQ(kvr_GetStatus(&status), KVR_RES_DISK_FULL);
    EXPECT_EQ(kvr_ListRecords(&list, nullptr, 0, 1), KVR_RES_DISK_FULL);
    EXPECT_EQ(kvr_LockAPI(), KVR_RES_DISK_FULL);
    EXPECT_EQ(read("T1").code, KVR_RES_DISK_FULL);
    EXPECT_EQ(kvr_SetClientKey("key"), KVR_RES_DISK_FULL);
    EXPECT_EQ(test().code, KVR_RES_DISK_FULL);
    EXPECT_EQ(test_3ph().code, KVR_RES_DISK_FULL);
    EXPECT_EQ(kvr_UnlockAPI(), KVR_RES_DISK_FULL);
    EXPECT_STREQ(kvr_CodeToString(KVR_RES_OK), "Done");
  }
  EXPECT_TRUE(exists);
  EXPECT_EQ(list, nullptr);
  set_bench("");
  EXPECT_EQ(kvr_CheckConnection(), KVR_RES_OK);
  EXPECT_EQ(kvr_UnlockAPI(), KVR_RES_API_UNLOCKED);
}

TEST_F(Faults, BeginningAndEndingCanBeRefused) {
  set_bench(fault("kvr_Lib_Initialize", "code = 63\ntimes = 1") +
            fault("kvr_Lib_InitializeTestStation", "code = 18\ntimes = 1") +
            fault("kvr_ConnectAPI", "code = 6\ntimes = 1") +
            fault("kvr_Lib_Shutdown", "code = 48\ntimes = 1"));
  EXPECT_EQ(initialize(), KVR_RES_ANOTHER_INSTANCE_RUNNING);
  EXPECT_EQ(kvr_CheckConnection(), KVR_RES_LIB_NOT_INITIALIZED);
  EXPECT_EQ(kvr_Lib_InitializeTestStation("COM3", &params_), KVR_RES_USB_ACCESS_ERROR);
  EXPECT_EQ(initialize(), KVR_RES_OK);
  EXPECT_EQ(connect(), KVR_RES_COMMUNICATION_TIMEOUT);
  EXPECT_EQ(kvr_CheckConnection(), KVR_RES_DEVICE_NOT_CONNECTED);
  EXPECT_EQ(connect(), KVR_RES_OK);
  EXPECT_EQ(kvr_Lib_Shutdown(), KVR_RES_TESTING_IN_PROGRESS);
  EXPECT_EQ(kvr_CheckConnection(), KVR_RES_OK);
  EXPECT_EQ(kvr_Lib_Shutdown(), KVR_RES_OK);
}

TEST_F(Faults, StrikeFromTheNthCallOnAsOftenAsAsked) {
  start();
  set_bench(fault("kvr_LockAPI", "code = 20\nfrom = 3\ntimes = 2"));
  EXPECT_EQ(kvr_LockAPI(), KVR_RES_OK);
  EXPECT_EQ(kvr_LockAPI(), KVR_RES_API_LOCKED);
  EXPECT_EQ(kvr_LockAPI(), KVR_RES_USB_ERROR);
  EXPECT_EQ(kvr_LockAPI(), KVR_RES_USB_ERROR);
  EXPECT_EQ(kvr_LockAPI(), KVR_RES_API_LOCKED);
}

TEST_F(Faults, CallsAreCountedFromTheReadingOfTheBench) {
  start();
  EXPECT_EQ(kvr_LockAPI(), KVR_RES_OK);
  set_bench(fault("kvr_LockAPI", "code = 20\ntimes = 1"));
  EXPECT_EQ(kvr_LockAPI(), KVR_RES_USB_ERROR);
  set_bench(fault("kvr_LockAPI", "code = 20\ntimes = 1") + "# once more\n");
  EXPECT_EQ(kvr_LockAPI(), KVR_RES_USB_ERROR);
}

TEST_F(Faults, AnAcceptedCodeReplacesSuccessOnly) {
  start(fault("kvr_Test_Ratio_1ph", "code = \"KVR_RES_CHECK_ERROR_STATUS\"") +
        fault("kvr_UnlockAPI", "code = \"KVR_RES_CHECK_ERROR_STATUS\""));
  const TestAnswer answer = test();
  EXPECT_EQ(answer.code, KVR_RES_CHECK_ERROR_STATUS);
  ASSERT_NE(answer.record, nullptr);
  EXPECT_EQ(answer.record->data_count, 1U);
  EXPECT_EQ(kvr_UnlockAPI(), KVR_RES_API_UNLOCKED);
}

TEST_F(Faults, AnAcceptedCodeCanComeWithoutARecord) {
  start(fault("kvr_Test_Ratio_1ph", "code = \"KVR_RES_PARTIAL_RESULT_CHECK_STATUS\"\nnull = true") +
        fault("kvr_ReadRecord", "null = true"));
  const TestAnswer answer = test("T1", KVR_SAVE_NEW_RECORD);
  EXPECT_EQ(answer.code, KVR_RES_PARTIAL_RESULT_CHECK_STATUS);
  EXPECT_EQ(answer.record, nullptr);
  EXPECT_EQ(read("T1").code, KVR_RES_OK);
  EXPECT_EQ(read("T1").record, nullptr);
}

TEST_F(Faults, ATextCanBeNull) {
  start(fault("kvr_CodeToString", "null = true\nfrom = 2\ntimes = 1"));
  EXPECT_STREQ(kvr_CodeToString(KVR_RES_OK), "Done");
  EXPECT_EQ(kvr_CodeToString(KVR_RES_OK), nullptr);
  EXPECT_STREQ(kvr_CodeToString(KVR_RES_OK), "Done");
}

}  // namespace
}  // namespace virtual_instrument
