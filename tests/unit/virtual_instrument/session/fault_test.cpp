#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <future>
#include <string>
#include <thread>

#include "unit/virtual_instrument/session/client.h"
#include "virtual_instrument/measurement/noise.h"
#include "virtual_instrument/vocabulary/call_names.h"

namespace virtual_instrument {
namespace {

class Faults : public ClientTest {
 protected:
  static std::string fault(std::string_view call, const std::string& rest) {
    return "[[faults]]\ncall = \"" + std::string(call) + "\"\n" + rest + "\n";
  }

  // What the API's lock should come to by a call that no fault strikes.
  kvr_code lock() {
    is_locked_ = true;
    return KVR_RES_OK;
  }
  kvr_code unlock() {
    is_locked_ = false;
    return KVR_RES_OK;
  }
  bool is_locked_ = false;
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

TEST_F(Faults, StrikeByChanceAndTheSameEachTime) {
  start();
  const auto struck = [] {
    std::string calls;
    for (int i = 0; i < 200; ++i) {
      calls += kvr_LockAPI() == KVR_RES_USB_ERROR ? '1' : '0';
    }
    return calls;
  };
  const auto bench = [](double chance, int seed) {
    return "[measurement]\nseed = " + std::to_string(seed) + "\n" +
           fault("kvr_LockAPI", "code = 20\nchance = " + std::to_string(chance));
  };
  set_bench(bench(25, 1));
  const std::string once = struck();
  const auto count = std::count(once.begin(), once.end(), '1');
  EXPECT_GT(count, 30);
  EXPECT_LT(count, 70);
  set_bench("");
  EXPECT_EQ(struck(), std::string(200, '0'));
  set_bench(bench(25, 1));
  EXPECT_EQ(struck(), once);
  set_bench(bench(25, 2));
  EXPECT_NE(struck(), once);
  set_bench(bench(0, 1));
  EXPECT_EQ(struck(), std::string(200, '0'));
  set_bench(bench(100, 1));
  EXPECT_EQ(struck(), std::string(200, '1'));
}

// Each call draws once for each fault of the bench, in their order: a bench with one fault more at
// its end strikes the same calls.
TEST_F(Faults, ChancesAreDrawnFromTheSeedTheCallAndThePlaceOfTheFault) {
  start();
  set_bench("[measurement]\nseed = 3\n" + fault("kvr_UnlockAPI", "code = 19\nchance = 50") +
            fault("kvr_LockAPI", "code = 20\nchance = 30") +
            fault("kvr_LockAPI", "code = 22\nchance = 40") +
            fault("kvr_UnlockAPI", "code = 23\nchance = 60"));
  for (std::uint64_t call = 1; call <= 100; ++call) {
    Noise draws((std::uint64_t{3} << 32) + call);
    const double first = draws.uniform() * 100;
    const double second = draws.uniform() * 100;
    const double third = draws.uniform() * 100;
    const double fourth = draws.uniform() * 100;
    EXPECT_EQ(kvr_LockAPI(), second < 30  ? 20
                             : third < 40 ? 22
                             : is_locked_ ? KVR_RES_API_LOCKED
                                          : lock())
        << call;
    EXPECT_EQ(kvr_UnlockAPI(), first < 50    ? 19
                               : fourth < 60 ? 23
                               : is_locked_  ? unlock()
                                             : KVR_RES_API_UNLOCKED)
        << call;
  }
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

TEST_F(Faults, ADelayComesBeforeTheAnswer) {
  start();
  set_bench(fault("kvr_LockAPI", "delay = 0.05\ntimes = 1") +
            fault("kvr_CodeToString", "delay = 0.05\ntimes = 1") +
            fault("kvr_Lib_Shutdown", "delay = 0.05"));
  const auto took_its_time = [](auto call) {
    const auto begin = std::chrono::steady_clock::now();
    call();
    return std::chrono::steady_clock::now() - begin >= std::chrono::milliseconds(50);
  };
  EXPECT_TRUE(took_its_time([] { EXPECT_EQ(kvr_LockAPI(), KVR_RES_OK); }));
  EXPECT_TRUE(took_its_time([] { EXPECT_STREQ(kvr_CodeToString(KVR_RES_OK), "Done"); }));
  EXPECT_TRUE(took_its_time([] { EXPECT_EQ(kvr_Lib_Shutdown(), KVR_RES_OK); }));
}

TEST_F(Faults, AHangEndsWithACancel) {
  start();
  set_bench(fault("kvr_Test_Ratio_1ph", "hang = true"));
  std::future<kvr_code> hanging = std::async(std::launch::async, [] { return test().code; });
  // Nothing shows whether the call hangs already; a cancel fails until it does.
  while (kvr_CancelOperation() != KVR_RES_OK) {
    std::this_thread::yield();
  }
  EXPECT_EQ(hanging.get(), KVR_RES_OPERATION_CANCELLED);
  EXPECT_EQ(kvr_CancelOperation(), KVR_RES_TEST_NOT_RUNNING);
}

TEST_F(Faults, AHangEndsWithAShutdown) {
  start();
  set_bench(fault("kvr_GetStatus", "hang = true") + fault("kvr_LockAPI", "delay = 3600"));
  kvr_Status status{};
  std::future<kvr_code> hanging =
      std::async(std::launch::async, [&] { return kvr_GetStatus(&status); });
  std::future<kvr_code> delayed = std::async(std::launch::async, [] { return kvr_LockAPI(); });
  // A call that comes only after the shutdown does not hang.
  EXPECT_EQ(kvr_Lib_Shutdown(), KVR_RES_OK);
  for (std::future<kvr_code>* call : {&hanging, &delayed}) {
    const kvr_code code = call->get();
    EXPECT_TRUE(code == KVR_RES_OPERATION_CANCELLED || code == KVR_RES_LIB_NOT_INITIALIZED) << code;
  }
}

// A hang looks at the bench again and again, but only a word wakes a delay.
TEST_F(Faults, ACancelWakesACallThatIsDelayed) {
  start();
  set_bench(fault("kvr_LockAPI", "delay = 30"));
  std::future<kvr_code> delayed = std::async(std::launch::async, [] { return kvr_LockAPI(); });
  while (kvr_CancelOperation() != KVR_RES_OK) {
    std::this_thread::yield();
  }
  EXPECT_EQ(delayed.wait_for(std::chrono::seconds(15)), std::future_status::ready)
      << "the cancel did not wake the call: it waits for the end of its delay";
  EXPECT_EQ(delayed.get(), KVR_RES_OPERATION_CANCELLED);
}

TEST_F(Faults, AHangEndsWithTheBenchThatHasIt) {
  start();
  set_bench(fault("kvr_GetStatus", "hang = true"));
  kvr_Status status{};
  std::future<kvr_code> hanging =
      std::async(std::launch::async, [&] { return kvr_GetStatus(&status); });
  EXPECT_EQ(hanging.wait_for(std::chrono::milliseconds(20)), std::future_status::timeout);
  set_bench("[status]\napi_locked = true\n");
  EXPECT_EQ(hanging.get(), KVR_RES_OK);
  EXPECT_EQ(status.api_locked, 1);
}

TEST_F(Faults, PhasesOfAResultCanFail) {
  start(fault("kvr_Test_Ratio_3ph",
              "code = 76\nfailed_phases = [\"A\", \"C\"]\nphase_code = \"KVR_RES_OPEN_LEAD_X3\""));
  const TestAnswer answer = test_3ph("P1", KVR_SAVE_NEW_RECORD);
  EXPECT_EQ(answer.code, KVR_RES_PARTIAL_RESULT_CHECK_STATUS);
  ASSERT_NE(answer.record, nullptr);
  const kvr_TestData_Ratio_3ph& data = *answer.record->data_ratio_3ph[0];
  EXPECT_EQ(data.phases[0].status, KVR_RES_OPEN_LEAD_X3);
  EXPECT_STREQ(data.phases[0].high_side_phase, "H1-H0");
  EXPECT_EQ(data.phases[0].tnr, 0);
  EXPECT_EQ(data.phases[1].status, KVR_RES_OK);
  EXPECT_GT(data.phases[1].tnr, 9);
  EXPECT_EQ(data.phases[2].status, KVR_RES_OPEN_LEAD_X3);
  EXPECT_EQ(data.ratio_3ph, 0);
  EXPECT_EQ(data.health_state, KVR_HEALTH_BAD);
  const TestAnswer stored = read("P1");
  ASSERT_EQ(stored.code, KVR_RES_OK);
  EXPECT_EQ(stored.record->data_ratio_3ph[0]->phases[2].status, KVR_RES_OPEN_LEAD_X3);
}

TEST_F(Faults, TheOnlyPhaseOfAResultCanFail) {
  start(fault("kvr_Test_Ratio_1ph", "code = 44\nfailed_phases = [\"A\"]"));
  const TestAnswer answer = test();
  EXPECT_EQ(answer.code, KVR_RES_CHECK_ERROR_STATUS);
  ASSERT_NE(answer.record, nullptr);
  EXPECT_EQ(answer.record->data_ratio_1ph[0]->phase.status, KVR_RES_OPEN_LEAD);
  EXPECT_EQ(answer.record->data_ratio_1ph[0]->phase.tnr, 0);
}

TEST_F(Faults, ATextCanBeNull) {
  start(fault("kvr_CodeToString", "null = true\nfrom = 2\ntimes = 1"));
  EXPECT_STREQ(kvr_CodeToString(KVR_RES_OK), "Done");
  EXPECT_EQ(kvr_CodeToString(KVR_RES_OK), nullptr);
  EXPECT_STREQ(kvr_CodeToString(KVR_RES_OK), "Done");
}

}  // namespace
}  // namespace virtual_instrument
