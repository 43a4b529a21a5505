#include "plan/record_ids.h"

#include <algorithm>
#include <chrono>

#include "common/clock.h"

const char* const kExpectedId =
    "expected a text that makes 1 to 16 bytes without control characters; in braces it may have "
    "item, test, date and time";

namespace {

constexpr std::size_t kLongestTestId = 16;

/// Not program_clock.now(): to look at that one may change it.
std::string now_as(const char* format) {
  return local_time_text(std::chrono::system_clock::to_time_t(program_clock.precise_now()), format);
}

std::string item_name(const Plan& plan) {
  const auto found = std::find_if(plan.item.begin(), plan.item.end(),
                                  [](const auto& entry) { return entry.first == "name"; });
  return found == plan.item.end() ? std::string() : found->second;
}

std::optional<std::string> meaning_of(const std::string& word, const Plan& plan,
                                      std::size_t number) {
  if (word == "item") {
    return item_name(plan);
  }
  if (word == "test") {
    return std::to_string(number);
  }
  if (word == "date" || word == "time") {
    return now_as(word == "date" ? "%Y%m%d" : "%H%M%S");
  }
  return std::nullopt;
}

}  // namespace

std::optional<std::string> made_record_id(const std::string& pattern, const Plan& plan,
                                          std::size_t number) {
  std::string id;
  for (std::size_t at = 0; at < pattern.size(); ++at) {
    if (pattern[at] != '{') {
      id += pattern[at];
      continue;
    }
    const std::size_t end = pattern.find('}', at);
    const auto meaning = end == std::string::npos
                             ? std::nullopt
                             : meaning_of(pattern.substr(at + 1, end - at - 1), plan, number);
    if (!meaning) {
      return std::nullopt;
    }
    id += *meaning;
    at = end;
  }
  const bool printable =
      std::none_of(id.begin(), id.end(), [](unsigned char c) { return c < 0x20 || c == 0x7f; });
  return !id.empty() && id.size() <= kLongestTestId && printable ? std::optional(id) : std::nullopt;
}
