#pragma once

#include <cstdint>
#include <functional>
#include <random>
#include <utility>

#include "support/record_text.h"

/// Makes random records, valid ones and many invalid ones: every kind of test, random bits and
/// extremes in numbers and reserved bytes, texts that fill their fields, failed and untested
/// phases, unknown types and codes, null arrays and entries, nested results. Only pointers and the
/// counts of what they point to are always valid. The same seed makes the same records.
class RandomRecords {
 public:
  explicit RandomRecords(std::uint64_t seed) : random_(std::mt19937_64(seed)) {}
  /// Takes its numbers from any source.
  explicit RandomRecords(std::function<std::uint64_t()> numbers) : random_(std::move(numbers)) {}

  OwnedRecord next();

 private:
  bool one_in(std::uint32_t n) { return below(n) == 0; }
  std::uint32_t below(std::uint32_t end) { return static_cast<std::uint32_t>(random_() % end); }
  std::uint32_t word();
  kvr_code code();
  template <typename Enumeration>
  Enumeration up_to(std::uint32_t last);
  template <std::size_t size>
  void fill_text(char (&field)[size]);
  template <typename Record>
  void fill_words(Record& record);
  template <typename Record>
  Record* make();
  template <typename Record>
  Record** make_entries(std::uint32_t count, std::uint32_t null_one_in = 10);

  void fill(kvr_TestSetup& setup);
  void fill(kvr_TestData_Ratio_Phase& phase);
  void fill(kvr_TestData_Ratio_3ph& result);
  void fill(kvr_TestData_Ratio_1ph& result);
  void fill(kvr_TestData_Impedance_Phase& phase);
  void fill(kvr_TestData_Impedance_SingleTest& test);
  void fill(kvr_TestData_Impedance_List& list);
  void fill(kvr_TestData_Impedance& result);
  void fill(kvr_TestData_Efficiency& result);
  void fill(kvr_TestData_Transition& transition);
  void fill(kvr_TestData_Point& point);
  void fill(kvr_TestData_Tap& tap);
  void fill(kvr_TestData_Taps& list);
  void fill(kvr_TestData_Sides& sides);
  void fill(kvr_TestData_Resistance& result);
  void fill(kvr_TestData_Demag_Phase& phase);
  void fill(kvr_TestData_Demag& result);
  void fill(kvr_TestData_MagneticBalance& result);
  void fill(kvr_TestData_Drm_Transition&) {}
  void fill(kvr_TestData_Drm& result);
  void fill(kvr_TestData_GoNoGo& result);
  void fill(kvr_TestRecord& record);

  std::function<std::uint64_t()> random_;
  RecordArena* arena_ = nullptr;
  int nesting_ = 0;
};
