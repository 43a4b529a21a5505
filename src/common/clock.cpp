#include "common/clock.h"

#include <array>
#include <cstddef>

namespace {

std::time_t system_time() { return std::time(nullptr); }

}  // namespace

Clock program_clock = {system_time, nanosleep};

std::string local_time_text(std::time_t time, const char* format) {
  const std::tm* const calendar_time = std::localtime(&time);
  if (calendar_time == nullptr) {
    return {};
  }
  std::array<char, 128> buffer;
  const std::size_t length = std::strftime(buffer.data(), buffer.size(), format, calendar_time);
  return {buffer.data(), length};
}
