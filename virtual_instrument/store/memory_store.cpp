#include <functional>
#include <map>
#include <mutex>
#include <string>

#include "virtual_instrument/store/record_store.h"

namespace virtual_instrument {
namespace {

class MemoryStore : public RecordStore {
 public:
  bool exists(std::string_view record_id) override {
    const std::lock_guard lock(mutex_);
    return records_.find(record_id) != records_.end();
  }

  kvr_code add(const Record& record) override {
    const std::lock_guard lock(mutex_);
    const bool is_new = records_.emplace(record.head.record_id, record).second;
    return is_new ? KVR_RES_OK : KVR_RES_TESTID_EXISTS;
  }

  kvr_code append(std::string_view record_id, kvr_TestType type, const RecordedTest& test,
                  RecordHead& head) override {
    const std::lock_guard lock(mutex_);
    const auto found = records_.find(record_id);
    if (found == records_.end()) {
      return KVR_RES_RECORD_NOT_FOUND;
    }
    Record& record = found->second;
    if (record.head.test_type != type || record.tests.front().data.index() != test.data.index()) {
      return KVR_RES_TEST_CONFIG_INCOMPATIBLE;
    }
    record.tests.push_back(test);
    ++record.head.test_count;
    head = record.head;
    return KVR_RES_OK;
  }

  std::optional<Record> read(std::string_view record_id) override {
    const std::lock_guard lock(mutex_);
    const auto found = records_.find(record_id);
    return found == records_.end() ? std::nullopt : std::optional(found->second);
  }

  kvr_code remove(std::string_view record_id) override {
    const std::lock_guard lock(mutex_);
    const auto found = records_.find(record_id);
    if (found == records_.end()) {
      return KVR_RES_RECORD_NOT_FOUND;
    }
    records_.erase(found);
    return KVR_RES_OK;
  }

  kvr_code clear() override {
    const std::lock_guard lock(mutex_);
    records_.clear();
    return KVR_RES_OK;
  }

  std::vector<RecordHead> heads() override {
    const std::lock_guard lock(mutex_);
    std::vector<RecordHead> heads;
    for (const auto& [id, record] : records_) {
      heads.push_back(record.head);
    }
    return heads;
  }

 private:
  std::mutex mutex_;
  std::map<std::string, Record, std::less<>> records_;
};

}  // namespace

std::unique_ptr<RecordStore> make_memory_store() { return std::make_unique<MemoryStore>(); }

}  // namespace virtual_instrument
