#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "api/client_api.h"
#include "support/api_calls.h"
#include "support/byte_rows.h"

// A client library for tests: the 22 calls give the answers that a test has set, and each call is
// logged. A program that links the target scripted_client_api makes its calls here:
//
//   ScriptedClientApi& api = scripted_api();
//   api.reset();
//   api.answer(ApiCall::ConnectAPI, {.result = KVR_RES_USB_ERROR});
//   ... run the code under test ...
//   EXPECT_EQ(api.count(ApiCall::ConnectAPI), 2);
//
// A call without an answer of its own is accepted and filled with plausible values.

/// Makes the record that a call returns, a fresh one each time. May return null.
using RecordMaker = std::function<std::shared_ptr<kvr_TestRecord>()>;

struct ScriptedStatusEvent {
  kvr_code code = KVR_RES_OK;
  std::optional<std::string> text;            ///< null when absent
  std::chrono::milliseconds after_return{0};  ///< 0: reported before the call returns
};

/// What one call does. Fields that do not concern the call are ignored.
struct ScriptedAnswer {
  std::int32_t result = KVR_RES_OK;

  // While the call blocks, in this order. Callbacks come from a thread that is not the caller's.
  std::vector<kvr_Progress> progress = {};
  std::vector<ScriptedStatusEvent> status = {};
  std::function<void()> meanwhile = {};
  std::chrono::milliseconds delay{0};
  bool until_cancelled = false;  ///< block until kvr_CancelOperation, half a minute at most

  // What the call fills. Without a value an accepted call fills its default, a refused one nothing.
  std::optional<std::string> text = {};  ///< ConnectAPI, GetClientAPIInfo, CodeToString
  bool null = false;                     ///< CodeToString: null; others: no record or list
  std::optional<kvr_DeviceInfo> device_info = {};  ///< GetDeviceInfo
  std::optional<kvr_Status> device_status = {};    ///< GetStatus
  std::optional<bool> exists = {};                 ///< CheckRecordExists
  RecordMaker record = {};                         ///< test calls and ReadRecord
  std::vector<std::function<void(kvr_TestRecord&)>> alterations = {};  ///< of the record
  std::optional<std::vector<kvr_TestLabel>> labels = {};               ///< ListRecords
};

/// One call as it came in.
struct SeenCall {
  ApiCall call;
  std::string line;              ///< the call and its arguments in one line
  kvr_TestRequestHeader head{};  ///< test calls: the bytes as given
  Bytes body;                    ///< test calls: the bytes as given
  kvr_ProgressHandler handler{};
  bool record_was_null = false;  ///< calls with an out pointer: it was cleared before the call

  /// The line, and for a test call the rows of head and body below it.
  std::string text() const;
};

class ScriptedClientApi {
 public:
  /// Removes all answers and the log, and frees all records that calls have returned.
  void reset();

  /// Queues the answer to the next call that has none yet.
  void answer(ApiCall call, ScriptedAnswer answer);
  /// Answers every call for which no queued answer is left.
  void answer_always(ApiCall call, ScriptedAnswer answer);

  std::vector<SeenCall> log() const;
  /// The calls so far, by name, those of `except` left out.
  std::vector<std::string_view> calls(std::initializer_list<ApiCall> except = {}) const;
  std::size_t count(ApiCall call) const;
  /// The calls of one kind.
  std::vector<SeenCall> seen(ApiCall call) const;

  /// Faults of the program: it freed something that it does not have, or kept something. Also
  /// answers that no call has used.
  std::vector<std::string> complaints() const;
  std::size_t records_handed_out() const;
  std::size_t records_given_back() const;
  /// The records that were not freed, each by its number among those returned, from 1.
  std::vector<std::size_t> records_kept() const;
  std::size_t lists_handed_out() const;
  std::size_t lists_given_back() const;

  /// Calls the program's status callback from another thread, and waits until it returns.
  void tell_status(const ScriptedStatusEvent& event);

  /// Called with the text of every call, before it is answered, under a lock.
  std::function<void(const SeenCall&)> on_call;

  /// Whether calls are logged. Without the log, only what calls return uses memory.
  bool keeps_log = true;

  // The calls themselves, for the exported functions.
  kvr_code initialize(ApiCall call, const std::string& port, const kvr_InitParams& params);
  std::int32_t plain(ApiCall call, const std::string& arguments = {});
  kvr_code connect(kvr_ConnectionType type, std::int32_t setting, const char* client_name,
                   char* firmware);
  const char* code_to_string(kvr_code code);
  kvr_code get_client_api_info(kvr_ClientAPIInfo& info);
  kvr_code get_device_info(kvr_DeviceInfo& info);
  kvr_code get_status(kvr_Status& status);
  kvr_code cancel();
  kvr_code test(ApiCall call, const kvr_TestRequestHeader& head, Bytes body,
                const kvr_ProgressHandler& handler, kvr_TestRecord*& record,
                const std::function<std::shared_ptr<kvr_TestRecord>(const std::string&)>& ordinary);
  kvr_code free_record(const kvr_TestRecord* record);
  kvr_code check_record_exists(const char* record_id, bool& exists);
  kvr_code read_record(const char* record_id, std::int32_t setting, kvr_TestRecord*& record);
  kvr_code list_records(kvr_TestLabelsList*& list, const void* filter, std::int32_t sort_key,
                        std::int32_t ascending);
  kvr_code free_list(kvr_TestLabelsList* list);

 private:
  struct HandedOut {
    std::shared_ptr<kvr_TestRecord> record;
    std::size_t number;
    std::vector<std::function<void(kvr_TestRecord&)>> alterations;  // may own parts of the record
  };

  /// Logs the call and blocks as its answer says.
  ScriptedAnswer take_answer(SeenCall seen, const kvr_ProgressHandler* handler = nullptr);
  void block(ApiCall call, const ScriptedAnswer& answer, const kvr_ProgressHandler* handler);
  void hand_out(const ScriptedAnswer& answer, std::shared_ptr<kvr_TestRecord> made,
                kvr_TestRecord*& record);
  const char* keep_text(std::string text);

  mutable std::mutex mutex_;
  std::condition_variable cancelled_;
  std::map<ApiCall, std::deque<ScriptedAnswer>> queued_;
  std::map<ApiCall, ScriptedAnswer> always_;
  std::vector<SeenCall> log_;
  std::vector<std::string> complaints_;
  std::map<const kvr_TestRecord*, HandedOut> records_;
  std::vector<const kvr_TestLabelsList*> lists_;
  struct DeleteList {
    void operator()(kvr_TestLabelsList* list) const;
  };
  /// The program must not free these.
  std::vector<std::unique_ptr<kvr_TestLabelsList, DeleteList>> lists_of_refused_calls_;
  std::deque<std::string> texts_;  // texts that code_to_string has returned
  std::size_t records_handed_out_ = 0;
  std::size_t lists_handed_out_ = 0;
  std::size_t cancels_ = 0;
  kvr_StatusCallback status_callback_ = nullptr;
  void* status_context_ = nullptr;
};

/// The object that answers the calls. Lives until the process ends.
ScriptedClientApi& scripted_api();

// What calls fill by default.

kvr_DeviceInfo default_device_info();
kvr_Status healthy_status();

/// A record with one ratio result and a line of RAW text, as an accepted test call gives it.
std::shared_ptr<kvr_TestRecord> ratio_1ph_record(const std::string& record_id,
                                                 const kvr_Ratio1phRequest& request = {});
std::shared_ptr<kvr_TestRecord> ratio_3ph_record(const std::string& record_id,
                                                 const kvr_Ratio3phRequest& request = {});
