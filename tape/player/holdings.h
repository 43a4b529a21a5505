#pragma once

#include <map>
#include <mutex>
#include <set>
#include <string>

#include "api/client_api.h"
#include "tape/vocabulary/event.h"
#include "tape/vocabulary/names.h"

// The player's copies of the records and lists that the client holds, under their names on the
// tape.
namespace tape {

class Holdings {
 public:
  /// Makes, changes or finds the record that a line hands out; null for none. A record whose
  /// content is not on the tape is all zero.
  kvr_TestRecord* hand_out_record(const Value& value);
  kvr_TestLabelsList* hand_out_list(const Value& value);

  /// The name that a free takes away, see Names::release().
  std::int64_t release(const kvr_TestRecord* record) { return record_names_.release(record); }
  std::int64_t release(const kvr_TestLabelsList* list) { return list_names_.release(list); }

  void free_record(std::int64_t name);
  void free_list(std::int64_t name);

  /// A text that lives as long as the process.
  const char* keep(const std::string& text);

 private:
  std::mutex mutex_;
  Names record_names_;
  Names list_names_;
  struct Held {
    kvr_TestRecord* record = nullptr;
    std::uint32_t entries = 0;  ///< of its arrays, whatever its count says to the client
  };

  std::map<std::int64_t, Held> records_;
  std::map<std::int64_t, kvr_TestLabelsList*> lists_;
  std::set<std::string> texts_;
};

}  // namespace tape
