#pragma once

#include <chrono>
#include <condition_variable>
#include <cstring>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "api/call_table.h"
#include "api/client_api.h"

// Helpers for writing the rules of the contract. The rules know the calls and the records, and
// nothing of the library that implements them.

namespace contract {

/// Thrown to end a rule that can't go on, after its fault has been noted.
struct Ended {};

/// Does what a person would do at the instrument: copies a scene, the file NAME.toml in `texts`, to
/// the bench file of the instrument. Without a folder and a file there are no scenes.
class Scenes {
 public:
  Scenes(std::filesystem::path texts, std::filesystem::path file);

  bool available() const { return !file_.empty(); }
  void set(std::string_view name) const;

 private:
  std::filesystem::path texts_;
  std::filesystem::path file_;
};

/// One rule being checked: the library, and the faults found so far.
class Check {
 public:
  Check(const ClientApiTable& calls, const Scenes& stage) : api(calls), scenes(stage) {}

  /// Notes `what` as a fault unless `holds`.
  bool that(bool holds, const std::string& what);

  /// Notes a fault unless the call returned `expected`.
  bool answer(std::string_view call, kvr_code got, kvr_code expected);

  /// As that(), but ends the rule if it does not hold.
  void require(bool holds, const std::string& what);

  template <std::size_t size>
  bool text(const char (&field)[size], const std::string& name) {
    return that(std::memchr(field, '\0', size) != nullptr, name + " is not terminated");
  }

  const ClientApiTable& api;
  const Scenes& scenes;
  std::vector<std::string> problems;
};

/// A code in a message: number and name.
std::string code_text(kvr_code code);

bool accepted(kvr_code code);

/// Upper limit for every wait, long enough for a busy machine.
inline constexpr std::chrono::seconds kPatience{60};

/// Collects the events that the library reports.
class Events {
 public:
  struct Event {
    kvr_code code;
    std::thread::id thread;
  };

  static void callback(void* context, kvr_code code, const char* text);

  /// Waits for `count` events; returns those that have come by then.
  std::vector<Event> wait_for(std::size_t count);
  std::size_t size();

  /// Runs within each callback.
  std::function<void(kvr_code)> reaction;

 private:
  std::mutex mutex_;
  std::condition_variable grown_;
  std::vector<Event> events_;
};

kvr_InitParams init_params(Events* events);

/// An initialised and connected library; shut down at the end.
class Session {
 public:
  /// Ends the rule if it can't connect.
  explicit Session(Check& check, Events* events = nullptr);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

 private:
  Check& check_;
};

kvr_code connect(const ClientApiTable& api);

struct FreeRecord {
  const ClientApiTable* api;
  void operator()(kvr_TestRecord* record) const { api->kvr_FreeTestRecord(record); }
};
using Record = std::unique_ptr<kvr_TestRecord, FreeRecord>;

struct FreeList {
  const ClientApiTable* api;
  void operator()(kvr_TestLabelsList* list) const { api->kvr_FreeTestLabelsList(list); }
};
using List = std::unique_ptr<kvr_TestLabelsList, FreeList>;

struct TestReply {
  kvr_code code;
  Record record;
};

inline constexpr float kUsualVoltage = 8;

kvr_TestRequestHeader request_header(std::string_view record_id, kvr_SaveMode save_mode);
kvr_Ratio1phRequest request_1ph(float voltage);
kvr_Ratio3phRequest request_3ph(float voltage);

TestReply run(Check& check, kvr_TestRequestHeader header, kvr_Ratio1phRequest request,
              kvr_ProgressHandler* progress = nullptr);
TestReply run(Check& check, kvr_TestRequestHeader header, kvr_Ratio3phRequest request,
              kvr_ProgressHandler* progress = nullptr);

/// Makes a single-phase test; ends the rule if it fails.
Record measured(Check& check, std::string_view record_id, kvr_SaveMode save_mode,
                float voltage = kUsualVoltage);

/// Reads a stored record; ends the rule if it can't be read.
Record read(Check& check, const char* record_id);
bool exists(Check& check, const char* record_id);
List list(Check& check, std::int32_t sort_key, bool ascending);

/// Position of the record in the list; -1 if it is not there.
int position(const kvr_TestLabelsList& list, std::string_view record_id);

/// Deletes stored records at the end, and at the start those that an earlier run has left.
class StoredRecords {
 public:
  StoredRecords(Check& check, std::vector<const char*> ids);
  ~StoredRecords();
  StoredRecords(const StoredRecords&) = delete;
  StoredRecords& operator=(const StoredRecords&) = delete;

 private:
  void remove() const;

  Check& check_;
  const std::vector<const char*> ids_;
};

/// All data of a ratio record as bytes, without its pointers.
std::string contents_of(const kvr_TestRecord& record);

struct Rule {
  const char* name;
  const char* sentence;
  void (*examine)(Check& check);
  enum Needs { kNothing, kScenes, kEmptyStore } needs = kNothing;
};

std::vector<Rule> session_rules();
std::vector<Rule> test_rules();
std::vector<Rule> record_rules();
std::vector<Rule> callback_rules();

}  // namespace contract
