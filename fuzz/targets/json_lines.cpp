#include <cmath>
#include <nlohmann/json.hpp>

#include "fuzz/fuzz_target.h"
#include "fuzz/random_input.h"
#include "plan/json_lines.h"
#include "plan/verdict.h"
#include "unit/text/random_records.h"

// Draws a record from the input: its JSON is one line that another program can read, in which each
// result stands, and it can be judged by any limit.

namespace {

/// The numbers of a JSON document are finite, so that nobody has to guess.
void check_numbers(const nlohmann::json& json) {
  if (json.is_number_float()) {
    demand(std::isfinite(json.get<double>()), "a number is finite");
  } else if (json.is_structured()) {
    for (const auto& part : json) {
      check_numbers(part);
    }
  }
}

template <class Result>
std::size_t results_in(Result* const* results, std::uint32_t count) {
  std::size_t found = 0;
  for (std::uint32_t i = 0; results != nullptr && i < count; ++i) {
    found += results[i] != nullptr ? 1 : 0;
  }
  return found;
}

/// The arrays of a random record are valid where its type names them.
bool is_of_ratios(const kvr_TestRecord& record) {
  const auto type = static_cast<std::uint32_t>(record.test_type);
  return type == 1 || type == 2 || (type >= 4 && type <= 6) || type == 16;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  RandomInput input(data, size);
  RandomRecords records([&input] { return input.next(); });
  const OwnedRecord owned = records.next();
  kvr_TestRecord& record = *owned.get();
  if (!is_of_ratios(record)) {
    record.data_ratio_1ph = nullptr;
    record.data_ratio_3ph = nullptr;
  }
  const std::string line = record_json(record);
  demand(line.find('\n') == std::string::npos, "a record is one line");
  const auto json = nlohmann::json::parse(line, nullptr, false);
  demand(!json.is_discarded(), "a line is JSON");
  check_numbers(json);
  demand(json["ratio_1ph"].size() == results_in(record.data_ratio_1ph, record.data_count),
         "each single-phase result is there");
  demand(json["ratio_3ph"].size() == results_in(record.data_ratio_3ph, record.data_count),
         "each three-phase result is there");
  PlannedTest test;
  test.three_phase = size % 2 == 0;
  test.limits = {{"tnr", -1, 1}, {"ratio_3ph", -1, 1}};
  for (const Check& check : judge(KVR_RES_OK, &record, test).checks) {
    demand(check.holds() == (check.value >= -1 && check.value <= 1), "a check is right");
  }
  return 0;
}
