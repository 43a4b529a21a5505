#include <map>
#include <tuple>

#include "common/field_text.h"
#include "report/sections/ratio_findings.h"
#include "report/sections/sections.h"

namespace report {
namespace {

/// What the records of one unit have in common, as far as they state it.
using Unit = std::tuple<std::string, std::string, bool>;

Unit unit_of(const kvr_TestRecord& record) {
  return {std::string(field_text(record.group_id)), std::string(field_text(record.asset_id)),
          record.data_ratio_3ph != nullptr};
}

}  // namespace

std::vector<Section> excitation_sections(const std::vector<Record>& records) {
  std::map<Unit, std::vector<const Record*>> units;
  for (const Record& record : records) {
    if (record.nest->test_type == KVR_TEST_EXCITATION) {
      units[unit_of(*record.nest)].push_back(&record);
    }
  }
  std::vector<Section> sections;
  for (const auto& [unit, of_unit] : units) {
    std::vector<RatioReading> readings;
    std::string names;
    for (const Record* const record : of_unit) {
      const std::string id(field_text(record->nest->record_id));
      for (RatioReading& reading : ratio_readings(*record->nest)) {
        reading.test = reading.test + " of " + stated(id);
        readings.push_back(std::move(reading));
      }
      names += (names.empty() ? "" : ", ") + stated(id);
    }
    if (of_unit.size() > 1 && different_voltages(readings) >= 3) {
      Section section;
      section.title = "Excitation across records";
      section.facts.emplace_back("Records", names);
      section.facts.emplace_back("Group", stated(std::get<0>(unit)));
      section.facts.emplace_back("Asset", stated(std::get<1>(unit)));
      add_excitation_curve(section, readings);
      sections.push_back(std::move(section));
    }
  }
  return sections;
}

}  // namespace report
