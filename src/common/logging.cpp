#include "common/logging.h"

#include <plog/Log.h>

#include <cstdint>
#include <utility>

#include "common/clock.h"

ScopeLogger::ScopeLogger(std::string scope_name, bool log_end_at_info)
    : name(std::move(scope_name)), infoLevel(log_end_at_info) {
  PLOGD << name << " BEGIN";
}

ScopeLogger::~ScopeLogger() { PLOG(infoLevel ? plog::info : plog::debug) << name << " END"; }

namespace {

std::int32_t milliseconds_since(std::chrono::system_clock::time_point start) {
  const std::chrono::nanoseconds elapsed = program_clock.precise_now() - start;
  return static_cast<std::int32_t>(
      std::chrono::duration_cast<std::chrono::milliseconds>(elapsed).count());
}

}  // namespace

TimerSection::TimerSection(std::string section_name)
    : start(program_clock.precise_now()), name(std::move(section_name)) {
  PLOGI << "BEGIN " << name;
}

TimerSection::~TimerSection() {
  PLOGW << "END " << name << " time: " << milliseconds_since(start) << "ms";
}
