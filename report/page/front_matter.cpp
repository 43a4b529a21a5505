#include "report/page/front_matter.h"

#include <algorithm>
#include <charconv>
#include <chrono>

#include "report/figures/numbers.h"

namespace report {
namespace {

class FrontMatter {
 public:
  FrontMatter(const PageContent& content, const Settings& settings)
      : content_(content), settings_(settings) {}

  std::vector<NamedText> facts() const {
    const Instrument& device = content_.instrument;
    const auto instrument = [&](const std::optional<std::string>& fact, std::string_view key) {
      return fact ? *fact : setting(key);
    };
    return {{"Report", setting("report.number")},
            {"Date of issue", setting("report.date")},
            {"Laboratory", setting("laboratory.name")},
            {"Place", setting("laboratory.place")},
            {"Customer", setting("customer.name")},
            {"Address", setting("customer.address")},
            {"Order", setting("customer.order")},
            {"Item", setting("item.description")},
            {"Manufacturer", setting("item.manufacturer")},
            {"Serial number of the item", setting("item.serial_number")},
            {"Year", setting("item.year")},
            {"Condition of the item", setting("item.condition")},
            {"Method", setting("report.method")},
            {"Deviations from the method", setting("report.deviations")},
            {"Nameplate", nameplate()},
            {"Conductor", setting("nameplate.conductor")},
            {"Ambient temperature", number("conditions.ambient_temperature",
                                           "\xc2\xb0"
                                           "C")},
            {"Winding temperature", number("conditions.winding_temperature",
                                           "\xc2\xb0"
                                           "C")},
            {"Humidity", number("conditions.humidity", "%")},
            {"Instrument", instrument(device.type, "instrument.type")},
            {"Serial number of the instrument",
             instrument(device.serial_number, "instrument.serial_number")},
            {"Versions", versions()},
            {"Calibration", calibration()},
            {"Rule of decision", settings_.rule().text()},
            {"Uncertainty", uncertainty()},
            {"Remarks", setting("report.remarks")}};
  }

 private:
  std::string setting(std::string_view key) const { return stated(settings_.text(key)); }

  std::string number(std::string_view key, std::string_view unit) const {
    const auto value = settings_.number(key);
    return value ? localized(shortest(*value)) + " " + std::string(unit) : std::string(kNotStated);
  }

  std::string nameplate() const {
    return number("nameplate.high_voltage", "V") + " / " + number("nameplate.low_voltage", "V") +
           ", " + number("nameplate.power", "kVA") + ", " + setting("nameplate.vector_group") +
           ", impedance " + number("nameplate.impedance", "%");
  }

  std::string versions() const {
    const Instrument& device = content_.instrument;
    return "hardware " + stated(device.hardware_version) + ", software " +
           stated(device.software_version) + ", firmware " + stated(device.firmware_version) +
           ", client library " + stated(device.client_version);
  }

  std::string uncertainty() const {
    const bool has_any =
        std::any_of(settings_.values.begin(), settings_.values.end(), [](const auto& value) {
          return value.first.starts_with("uncertainty.") && value.first != "uncertainty.k";
        });
    return has_any ? "U = k sqrt(uA\xc2\xb2 + uB\xc2\xb2), k = " +
                         localized(shortest(settings_.coverage_factor()))
                   : "uncertainty not stated";
  }

  static std::optional<std::chrono::sys_days> day_of(const std::optional<std::string>& text) {
    int year = 0;
    unsigned month = 0;
    unsigned day = 0;
    if (!text || text->size() < 10) {
      return std::nullopt;
    }
    const char* const begin = text->data();
    std::from_chars(begin, begin + 4, year);
    std::from_chars(begin + 5, begin + 7, month);
    std::from_chars(begin + 8, begin + 10, day);
    const std::chrono::year_month_day date{std::chrono::year(year), std::chrono::month(month),
                                           std::chrono::day(day)};
    return date.ok() ? std::optional(std::chrono::sys_days(date)) : std::nullopt;
  }

  /// The date, its age at the date of the report, and a flag for one that is too old.
  std::string calibration() const {
    auto date = content_.instrument.calibration_date;
    if (!date) {
      date = settings_.text("instrument.calibration_date");
    }
    const auto calibrated = day_of(date);
    const auto issued = day_of(settings_.text("report.date"));
    if (!calibrated || !issued) {
      return stated(date) + (date ? ", age not stated: the report has no date" : "");
    }
    const auto days = (*issued - *calibrated).count();
    const double months = settings_.number("instrument.calibration_months").value_or(12);
    const bool is_old = static_cast<double>(days) > months * 365.25 / 12;
    return *date + ", " + std::to_string(days) + " days before this report" +
           (is_old ? ": OLDER THAN " + localized(shortest(months)) + " MONTHS" : "");
  }

  std::string localized(std::string number) const {
    return report::localized(std::move(number), settings_);
  }

  const PageContent& content_;
  const Settings& settings_;
};

}  // namespace

std::string localized(std::string number, const Settings& settings) {
  if (settings.has_decimal_comma()) {
    std::replace(number.begin(), number.end(), '.', ',');
  }
  return number;
}

std::vector<NamedText> front_matter(const PageContent& content, const Settings& settings) {
  std::vector<NamedText> facts = FrontMatter(content, settings).facts();
  facts.insert(facts.begin() + 1, {"Identification", identification_of(content.files)});
  return facts;
}

}  // namespace report
