#include <gmock/gmock.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <streambuf>
#include <string>
#include <vector>

#include "records/record_export.h"
#include "support/counted_new.h"
#include "support/flow_test.h"

namespace {

namespace fs = std::filesystem;

/// Standard output that drops all text: its memory must not count.
class NoOutput : public std::streambuf {
 public:
  NoOutput() : before_(std::cout.rdbuf(this)) {}
  ~NoOutput() override { std::cout.rdbuf(before_); }
  NoOutput(const NoOutput&) = delete;
  NoOutput& operator=(const NoOutput&) = delete;

 protected:
  int_type overflow(int_type character) override { return traits_type::not_eof(character); }
  std::streamsize xsputn(const char* /*characters*/, std::streamsize count) override {
    return count;
  }

 private:
  std::streambuf* before_;
};

/// A store of `count` records: three-phase, single-phase and empty ones in turn.
class Store {
 public:
  explicit Store(std::size_t count) : count_(count) {}

  std::vector<kvr_TestLabel> labels() const {
    std::vector<kvr_TestLabel> labels(count_);
    for (std::size_t i = 0; i < count_; ++i) {
      std::snprintf(labels[i].record_id, sizeof labels[i].record_id, "T%06d", static_cast<int>(i));
    }
    return labels;
  }
  std::size_t list_bytes() const {
    return count_ * sizeof(kvr_TestLabel) + sizeof(kvr_TestLabelsList);
  }
  static bool is_three_phase(std::size_t index) { return index % 3 == 0; }
  static std::shared_ptr<kvr_TestRecord> record(std::size_t index) {
    const std::string record_id = "record";
    if (is_three_phase(index)) {
      return ratio_3ph_record(record_id);
    }
    std::shared_ptr<kvr_TestRecord> record = ratio_1ph_record(record_id);
    if (index % 3 == 2) {
      record->data_ratio_1ph = nullptr;
    }
    return record;
  }

 private:
  std::size_t count_;
};

std::size_t lines_of(const fs::path& file) {
  std::ifstream in(file);
  std::size_t lines = 0;
  for (std::string line; std::getline(in, line);) {
    ++lines;
  }
  return lines;
}

class RecordExportMemory : public FlowTest {
 protected:
  RecordExportMemory() { start_anew(); }

  void start_anew() {
    api.reset();
    api.keeps_log = false;
  }

  /// The bytes that the library holds for a three-phase record until it is freed.
  std::size_t bytes_of_a_kept_record() {
    const auto bytes_of_one_read = [] {
      kvr_TestRecord* record = nullptr;
      const std::size_t before = counted_new::live_bytes();
      kvr_ReadRecord("T000000", 1, &record);
      const std::size_t bytes = counted_new::live_bytes() - before;
      kvr_FreeTestRecord(record);
      return bytes;
    };
    api.answer_always(ApiCall::ReadRecord, {.record = [] { return Store::record(0); }});
    bytes_of_one_read();  // the first call of a kind allocates more than the record
    return bytes_of_one_read();
  }
  static constexpr std::size_t kReadsBeforeExport = 2;

  /// The bytes that the program itself holds during an export, without the list and the three-phase
  /// records, from the first record to the last.
  struct OwnBytes {
    std::size_t lowest = SIZE_MAX;
    std::size_t highest = 0;
  };
  OwnBytes export_store(const Store& store) {
    const std::size_t bytes_of_a_record = bytes_of_a_kept_record();
    const std::size_t before = counted_new::live_bytes();
    std::size_t reads = 0;
    std::size_t kept = 0;
    api.answer(ApiCall::ListRecords, {.labels = store.labels()});
    api.answer_always(ApiCall::ReadRecord, {.record = [&] {
                        kept += Store::is_three_phase(reads) ? 1U : 0U;
                        return Store::record(reads++);
                      }});
    OwnBytes own;
    api.on_call = [&](const SeenCall& seen) {
      if (seen.call == ApiCall::ReadRecord) {
        // The library's log line of the call says whether the record pointer is null.
        const std::size_t bytes = counted_new::live_bytes() - before - store.list_bytes() -
                                  kept * bytes_of_a_record - seen.line.size();
        own = {std::min(own.lowest, bytes), std::max(own.highest, bytes)};
      }
    };
    export_records();
    api.on_call = nullptr;
    return own;
  }

  /// By the library's count of the records that it returns.
  static std::vector<std::size_t> numbers_of_three_phase_records(std::size_t count) {
    std::vector<std::size_t> numbers;
    for (std::size_t index = 0; index < count; ++index) {
      if (Store::is_three_phase(index)) {
        numbers.push_back(kReadsBeforeExport + index + 1);
      }
    }
    return numbers;
  }

  std::size_t rows_of(const std::string& file) const {
    return lines_of(results.path() / "20210315_12_00_00" / file) - 1;
  }
};

// After an export the library still holds all three-phase records, and nothing else.
TEST_F(RecordExportMemory, GrowsOnlyByThreePhaseRecords) {
  const NoOutput no_output;
  export_store(Store(1));  // the first export makes containers of the library grow
  start_anew();
  const std::size_t of_one = export_store(Store(1)).lowest;
  for (const std::size_t count : {1'000U, 10'000U, 100'000U}) {
    start_anew();
    const std::size_t blocks_before = counted_new::live_blocks();
    const OwnBytes own = export_store(Store(count));
    EXPECT_EQ(own.lowest, of_one) << count;
    EXPECT_EQ(own.highest, of_one) << count;
    EXPECT_EQ(rows_of("3ph_export.csv"), (count + 2) / 3);
    EXPECT_EQ(rows_of("1ph_export.csv"), (count + 1) / 3);
    EXPECT_EQ(api.records_kept(), numbers_of_three_phase_records(count));
    start_anew();
    EXPECT_EQ(counted_new::live_blocks(), blocks_before) << count;
  }
}

}  // namespace
