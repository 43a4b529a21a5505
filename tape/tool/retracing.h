#pragma once

#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "api/call_table.h"
#include "tape/format/reader.h"
#include "tape/format/tolerance.h"

// Makes the calls of a tape's client of another library, each thread of the client on a thread of
// its own, and compares what comes back with the tape field by field.
namespace tape {

class Retracing {
 public:
  Retracing(const Tape& tape, const ClientApiTable& calls, const Tolerance& tolerance);

  /// All differences, in the order in which they were seen.
  std::vector<std::string> run();

 private:
  void run_thread(const std::vector<std::size_t>& lines);
  void wait_for_turn(std::size_t line);
  void happened(std::size_t line);
  Fields make_call(const Event& event);
  Fields call_test(const Event& event);
  Fields call_with_record(const Event& event);
  Fields call_with_output(const Event& event);
  void free_held(const Event& event, Fields& outputs);
  std::int64_t name_of(const void* pointer, const Value& recorded);
  void* pointer_before(const Value& recorded);
  Value record_output(const Event& event, kvr_code code, kvr_TestRecord* record, bool is_stored);
  const Value& recorded_output(const Event& event, std::string_view name) const;
  void compare(const Event& recorded, const Fields& now);
  void compare(const Event& recorded, const Fields& before, const Fields& now);
  void look_at_again(const Event& event, kvr_TestRecord* record);
  void give_up_callbacks(std::size_t end);
  void on_callback(const std::string& name, const Fields& fields);
  const Event* answer_to(std::size_t line) const;

  static void on_status(void* context, kvr_code code, const char* text);
  static void on_progress(void* context, const kvr_Progress* progress);

  const Tape& tape_;
  const ClientApiTable& calls_;
  const Tolerance& tolerance_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<bool> happened_;
  std::map<std::uint64_t, std::size_t> returns_;  ///< line of the return of a call
  std::vector<std::size_t> callbacks_;            ///< lines of callbacks that are still to come
  std::map<std::size_t, std::vector<std::size_t>> within_;  ///< calls made within a callback
  std::map<const void*, std::int64_t>
      names_;                           ///< what this library handed out, by its name on the tape
  std::map<std::int64_t, void*> held_;  ///< the same the other way round
  std::map<const void*, std::pair<Value, bool>>
      contents_;  ///< of records: as they were handed out, and whether they are stored ones
  std::vector<std::unique_ptr<char>>
      marks_;  ///< addresses that stand for what no library handed out
  std::vector<std::string> found_;
};

}  // namespace tape
