#include "support/scripted_client_api.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <future>
#include <thread>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ScriptedApi : public testing::Test {
 protected:
  void SetUp() override { api.reset(); }
  void TearDown() override { api.reset(); }

  /// Runs a test with requests of zeros.
  kvr_code run_test(kvr_TestRecord*& record) {
    return kvr_Test_Ratio_1ph(&header, &request, &handler, &record);
  }

  static void note_progress(void* context, const kvr_Progress* progress) {
    auto& seen = *static_cast<std::vector<std::string>*>(context);
    seen.push_back(std::to_string(progress->current) + "/" + std::to_string(progress->total));
  }

  static void note_status(void* context, kvr_code code, const char* text) {
    auto& seen = *static_cast<std::vector<std::string>*>(context);
    seen.push_back(std::to_string(code) + " " + (text == nullptr ? "null" : text));
    status_thread = std::this_thread::get_id();
  }

  void initialize() {
    kvr_InitParams params{};
    params.status_callback = note_status;
    params.status_context = &seen_status;
    kvr_Lib_Initialize(&params);
  }

  ScriptedClientApi& api = scripted_api();
  std::vector<std::string> seen_progress;
  std::vector<std::string> seen_status;
  static inline std::thread::id status_thread;
  kvr_TestRequestHeader header{};
  kvr_Ratio1phRequest request{};
  kvr_ProgressHandler handler{note_progress, &seen_progress};
};

TEST_F(ScriptedApi, AnswersInOrderThenAlwaysThenByDefault) {
  EXPECT_EQ(kvr_LockAPI(), KVR_RES_OK);
  api.answer(ApiCall::LockAPI, {.result = 5});
  api.answer(ApiCall::LockAPI, {.result = 6});
  api.answer_always(ApiCall::LockAPI, {.result = 7});
  EXPECT_EQ(kvr_LockAPI(), 5);
  EXPECT_EQ(kvr_LockAPI(), 6);
  EXPECT_EQ(kvr_LockAPI(), 7);
  EXPECT_EQ(kvr_LockAPI(), 7);
  EXPECT_EQ(kvr_UnlockAPI(), KVR_RES_OK);
}

TEST_F(ScriptedApi, LogsCallsWithTheirArguments) {
  initialize();
  bool exists = true;
  kvr_CheckRecordExists("T\n1", &exists);
  kvr_ConnectionType type = KVR_CONNECTION_SERVICE;
  char firmware[kFirmwareTextSize] = "old";
  kvr_ConnectAPI(&type, 5, "me", firmware);
  std::vector<std::string> lines;
  for (const SeenCall& seen : api.log()) {
    lines.push_back(seen.text());
  }
  EXPECT_THAT(
      lines,
      ElementsAre("kvr_Lib_Initialize init_mode=0 debug_mode=0 quiet_mode=0 init_setting_a=0 "
                  "init_setting_b=0 status_callback=set status_context=set\n",
                  "kvr_CheckRecordExists \"T\\x0a1\" exists=true\n",
                  "kvr_ConnectAPI type=3 setting=5 client_name=\"me\" firmware=\"old\"\n"));
  EXPECT_FALSE(exists);
  EXPECT_STREQ(firmware, "3.1.4");
  EXPECT_THAT(api.calls({ApiCall::Lib_Initialize}),
              ElementsAre("kvr_CheckRecordExists", "kvr_ConnectAPI"));
}

TEST_F(ScriptedApi, KeepsTheBytesOfATest) {
  std::strcpy(header.record_id, "T1");
  request.test_voltage = 8;
  kvr_TestRecord* record = nullptr;
  run_test(record);
  kvr_FreeTestRecord(record);
  const std::vector<SeenCall> tests = api.seen(ApiCall::Test_Ratio_1ph);
  ASSERT_EQ(tests.size(), 1);
  EXPECT_EQ(bytes_of(tests[0].head), bytes_of(100, {text_at(60, "T1")}));
  EXPECT_EQ(tests[0].body, bytes_of(456, {f32(440, 8.0F)}));
  EXPECT_EQ(tests[0].handler.progress_context, &seen_progress);
  EXPECT_TRUE(tests[0].record_was_null);
  EXPECT_EQ(tests[0].text(),
            "kvr_Test_Ratio_1ph progress_callback=set progress_context=set record=null\n"
            "  head 100 bytes\n"
            "    060: 54 31 00 00\n"
            "  body 456 bytes\n"
            "    440: 00 00 00 41\n");
}

TEST_F(ScriptedApi, RefusedCallsFillNothing) {
  for (const ApiCall call : {ApiCall::GetDeviceInfo, ApiCall::GetStatus, ApiCall::Test_Ratio_1ph}) {
    api.answer(call, {.result = KVR_RES_RPC_ERROR});
  }
  kvr_DeviceInfo info{};
  kvr_GetDeviceInfo(&info);
  EXPECT_EQ(info.model_tier, 0);
  kvr_Status status{};
  kvr_GetStatus(&status);
  EXPECT_EQ(status.database_loaded, 0);
  kvr_TestRecord* record = nullptr;
  EXPECT_EQ(run_test(record), KVR_RES_RPC_ERROR);
  EXPECT_EQ(record, nullptr);
  EXPECT_EQ(api.records_handed_out(), 0);
}

TEST_F(ScriptedApi, FillsGivenValuesEvenWhenItRefuses) {
  kvr_DeviceInfo told{};
  told.model_tier = 50;
  api.answer(ApiCall::GetDeviceInfo, {.result = 1, .device_info = told});
  kvr_DeviceInfo info{};
  EXPECT_EQ(kvr_GetDeviceInfo(&info), 1);
  EXPECT_EQ(info.model_tier, 50);
  api.answer(ApiCall::Test_Ratio_1ph,
             {.result = 1, .record = [] { return ratio_1ph_record("R"); }});
  kvr_TestRecord* record = nullptr;
  run_test(record);
  ASSERT_NE(record, nullptr);
  EXPECT_STREQ(record->record_id, "R");
}

TEST_F(ScriptedApi, CountsFreedRecords) {
  kvr_TestRecord* first = nullptr;
  kvr_TestRecord* second = nullptr;
  run_test(first);
  run_test(second);
  EXPECT_STREQ(first->record_id, "AUTO-1");
  EXPECT_STREQ(second->record_id, "AUTO-2");
  kvr_FreeTestRecord(second);
  EXPECT_EQ(api.records_handed_out(), 2);
  EXPECT_EQ(api.records_given_back(), 1);
  EXPECT_THAT(api.complaints(), ElementsAre("record 1 was not given back"));
  kvr_FreeTestRecord(first);
  EXPECT_THAT(api.complaints(), IsEmpty());
  kvr_FreeTestRecord(first);
  kvr_FreeTestRecord(nullptr);
  EXPECT_EQ(api.complaints().size(), 2);
}

TEST_F(ScriptedApi, CountsFreedLists) {
  kvr_TestLabel label{};
  std::strcpy(label.record_id, "T1");
  api.answer(ApiCall::ListRecords, {.labels = {{label, label}}});
  kvr_TestLabelsList* list = nullptr;
  kvr_ListRecords(&list, nullptr, kSortByTestId, 1);
  ASSERT_NE(list, nullptr);
  EXPECT_EQ(list->count, 2);
  EXPECT_STREQ(list->entries[1].record_id, "T1");
  EXPECT_EQ(api.lists_given_back(), 0);
  kvr_FreeTestLabelsList(list);
  EXPECT_EQ(api.lists_given_back(), 1);
  EXPECT_EQ(api.log().front().line, "kvr_ListRecords filter=null sort_key=1 ascending=1 list=null");
}

TEST_F(ScriptedApi, ReturnsNullWhenAnAnswerSaysSo) {
  api.answer(ApiCall::CodeToString, {.null = true});
  EXPECT_EQ(kvr_CodeToString(KVR_RES_OK), nullptr);
  EXPECT_STREQ(kvr_CodeToString(KVR_RES_RPC_ERROR), "wording of code 11");
  api.answer(ApiCall::Test_Ratio_1ph, {.null = true});
  kvr_TestRecord* record = nullptr;
  EXPECT_EQ(run_test(record), KVR_RES_OK);
  EXPECT_EQ(record, nullptr);
}

TEST_F(ScriptedApi, ReportsProgressAndStatusFromOtherThreads) {
  initialize();
  api.answer(ApiCall::Test_Ratio_1ph, {.progress = {{1, 2}, {2, 2}},
                                       .status = {{KVR_RES_OK, "text"}, {KVR_MSG_KEEP_ALIVE, {}}}});
  kvr_TestRecord* record = nullptr;
  run_test(record);
  kvr_FreeTestRecord(record);
  EXPECT_THAT(seen_progress, ElementsAre("1/2", "2/2"));
  EXPECT_THAT(seen_status, ElementsAre("0 text", "1005 null"));
  EXPECT_NE(status_thread, std::this_thread::get_id());
}

TEST_F(ScriptedApi, BlocksUntilCancelled) {
  api.answer(ApiCall::Test_Ratio_1ph,
             {.result = KVR_RES_OPERATION_CANCELLED, .until_cancelled = true});
  kvr_TestRecord* record = nullptr;
  auto result = std::async(std::launch::async, [&] { return run_test(record); });
  while (api.count(ApiCall::Test_Ratio_1ph) == 0) {
    std::this_thread::yield();
  }
  EXPECT_EQ(result.wait_for(std::chrono::milliseconds(20)), std::future_status::timeout);
  while (result.wait_for(std::chrono::milliseconds(1)) == std::future_status::timeout) {
    kvr_CancelOperation();
  }
  EXPECT_EQ(result.get(), KVR_RES_OPERATION_CANCELLED);
}

TEST_F(ScriptedApi, AltersRecords) {
  api.answer(ApiCall::ReadRecord,
             {.alterations = {[](kvr_TestRecord& record) { record.data_count = 0; }}});
  kvr_TestRecord* record = nullptr;
  kvr_ReadRecord("T1", 1, &record);
  EXPECT_EQ(record->data_count, 0);
  EXPECT_EQ(record->test_count, 1);
}

TEST_F(ScriptedApi, ComplainsAboutAnswersThatNoCallUsed) {
  api.answer(ApiCall::GetStatus, {});
  EXPECT_THAT(api.complaints(), ElementsAre("1 more answers to kvr_GetStatus than calls"));
}

TEST_F(ScriptedApi, RecordsRepeatTheirRequest) {
  request.test_type = KVR_TEST_RATIO_UP;
  request.low_side_phase = 6;
  request.test_voltage = 24;
  request.setup.windings[0].voltage = 10;
  request.setup.windings[1].voltage = 4;
  const auto record = ratio_1ph_record("T1", request);
  const kvr_TestData_Ratio_1ph& result = *record->data_ratio_1ph[0];
  EXPECT_EQ(result.direction, KVR_TEST_RATIO_UP);
  EXPECT_EQ(result.low_side_phase, 6);
  EXPECT_EQ(result.test_voltage, 24);
  EXPECT_EQ(result.reference_ratio, 2.5);
  kvr_Ratio3phRequest request_3ph{};
  request_3ph.tested_phase = kAllPhases;
  EXPECT_EQ(ratio_3ph_record("T1", request_3ph)->data_ratio_3ph[0]->tested_phase, kAllPhases);
}

}  // namespace
