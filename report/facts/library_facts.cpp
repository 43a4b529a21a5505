#include "report/facts/library_facts.h"

#include <chrono>

#include "common/field_text.h"

namespace report {
namespace {

template <std::size_t size>
std::optional<std::string> stated_text(const char (&field)[size]) {
  const std::string_view text = field_text(field);
  return text.empty() ? std::nullopt : std::optional<std::string>(text);
}

std::string padded(unsigned number) { return (number < 10 ? "0" : "") + std::to_string(number); }

/// Of seconds since 1970, in UTC.
std::optional<std::string> date_of(std::int64_t seconds) {
  constexpr std::int64_t kDay = 86'400;
  constexpr std::int64_t kYear3000 = 32'503'680'000;
  if (seconds <= 0 || seconds >= kYear3000) {
    return std::nullopt;
  }
  const std::chrono::year_month_day date{
      std::chrono::sys_days(std::chrono::days(static_cast<int>(seconds / kDay)))};
  return std::to_string(static_cast<int>(date.year())) + "-" +
         padded(static_cast<unsigned>(date.month())) + "-" +
         padded(static_cast<unsigned>(date.day()));
}

}  // namespace

Instrument instrument_of(const kvr_DeviceInfo& device) {
  Instrument instrument;
  instrument.serial_number = stated_text(device.serial_number);
  instrument.hardware_version = stated_text(device.hardware_version);
  instrument.software_version = stated_text(device.software_version);
  instrument.firmware_version = stated_text(device.firmware_version);
  instrument.calibration_date = date_of(device.calibration_date);
  return instrument;
}

std::vector<std::string> calibration_remarks(const kvr_DeviceInfo& device) {
  std::vector<std::string> remarks;
  if (device.calibrated == 0) {
    remarks.emplace_back("The instrument reports that it is not calibrated.");
  }
  if (device.calibration_old != 0) {
    remarks.emplace_back("The instrument reports that its calibration is old.");
  }
  return remarks;
}

RecordNest joined_run(std::vector<RecordNest> parts) {
  RecordNest joined = join_records(std::move(parts));
  joined->test_count = joined->data_count;
  return joined;
}

}  // namespace report
