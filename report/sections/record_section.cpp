#include <array>
#include <string>

#include "common/field_text.h"
#include "report/figures/numbers.h"
#include "report/sections/sections.h"
#include "text/text_output.h"
#include "text/vector_group_text.h"
#include "utils/utils.h"

namespace report {
namespace {

using NameOfKind = std::pair<kvr_TestType, std::string_view>;

constexpr NameOfKind kKinds[] = {
    {KVR_TEST_RATIO_DOWN, "Ratio, stepping down"},
    {KVR_TEST_RATIO_UP, "Ratio, stepping up"},
    {KVR_TEST_RATIO_AUTO, "Ratio, automatic"},
    {KVR_TEST_RATIO_CT, "Current transformer"},
    {KVR_TEST_RATIO_PT_VT, "Voltage transformer"},
    {KVR_TEST_RESISTANCE, "Winding resistance"},
    {KVR_TEST_RESISTANCE_CONT, "Winding resistance, continuous"},
    {KVR_TEST_DEMAG, "Demagnetisation"},
    {KVR_TEST_SCI, "Short-circuit impedance"},
    {KVR_TEST_FRSL, "Frequency response of stray losses"},
    {KVR_TEST_EFFICIENCY, "Losses and efficiency"},
    {KVR_TEST_MBALANCE, "Magnetic balance"},
    {KVR_TEST_HEATRUN, "Heat run"},
    {KVR_TEST_EXCITATION, "Excitation"},
    {KVR_TEST_GONOGO, "Go/no-go"},
    {KVR_TEST_DRM, "Dynamic resistance"},
};

std::string name_of_kind(kvr_TestType type) {
  for (const auto& [kind, name] : kKinds) {
    if (kind == type) {
      return std::string(name);
    }
  }
  return "Test of an unknown kind";
}

std::string trimmed_number(double value) {
  std::string text = significant(value, 7);
  if (text.find('.') == std::string::npos || text.find('e') != std::string::npos) {
    return text;
  }
  const std::string kept = text.substr(0, text.find_last_not_of('0') + 1);
  return kept.ends_with('.') ? kept.substr(0, kept.size() - 1) : kept;
}

std::string vector_group(const kvr_TestSetup& setup) {
  if (setup.connection_type > kConnectionXToY) {
    return std::string(kNotStated);
  }
  const std::string name = SetupVectorText(&setup);
  return name.empty() ? std::string(kNotStated) : name;
}

void add_setup(Section& section, const kvr_TestSetup& setup) {
  section.facts.emplace_back("Vector group", vector_group(setup));
  if (setup.connection_type > kConnectionXToY) {
    section.facts.emplace_back("Windings", kNotStated);
    return;
  }
  const auto quantity = [](double value, std::string_view unit) {
    return value > 0 ? trimmed_number(value) + " " + std::string(unit) : std::string(kNotStated);
  };
  const kvr_WindingSetup& high = Utils::winding_h(setup);
  const kvr_WindingSetup& low = Utils::winding_x(setup);
  const auto voltages = quantity(static_cast<double>(high.voltage), "V") + " / " +
                        quantity(static_cast<double>(low.voltage), "V");
  section.facts.emplace_back("Rated voltages", voltages);
  if (high.current > 0 || low.current > 0) {
    section.facts.emplace_back("Rated currents",
                               quantity(static_cast<double>(high.current), "A") + " / " +
                                   quantity(static_cast<double>(low.current), "A"));
  }
  section.facts.emplace_back("Rated power",
                             quantity(static_cast<double>(Utils::connection(setup).kva), "kVA"));
  section.facts.emplace_back("Line frequency", quantity(setup.line_frequency, "Hz"));
  const std::string_view tap_changer = KVR_Text_Output::TapChangerText(high.tap_changer);
  section.facts.emplace_back("Tap changer, high side",
                             tap_changer.empty() ? kNotStated : tap_changer);
  section.facts.emplace_back("Winding temperature",
                             trimmed_number(static_cast<double>(setup.temperature_from)) +
                                 " \xc2\xb0"
                                 "C measured, " +
                                 trimmed_number(static_cast<double>(setup.temperature_to)) +
                                 " \xc2\xb0"
                                 "C reference");
}

void add_head(Section& section, const Record& record) {
  const kvr_TestRecord& nest = *record.nest;
  const auto add = [&](std::string_view name, std::string_view value) {
    section.facts.emplace_back(name, value.empty() ? kNotStated : value);
  };
  add("Record", field_text(nest.record_id));
  add("Group", field_text(nest.group_id));
  add("Asset", field_text(nest.asset_id));
  add("Date and time", field_text(nest.timestamp));
  const std::string_view kind = KVR_Text_Output::TestTypeText(nest.test_type);
  add("Kind of test",
      kind == "unknown" ? "unknown, " + std::to_string(nest.test_type) : std::string(kind));
  add("Tests in the record", std::to_string(nest.test_count));
  add("File", record.file);
  if (record.has_setup()) {
    add_setup(section, nest.setup);
  } else {
    add("Nameplate, connection, tap, temperature", {});
    section.notes.emplace_back(record.origin == Origin::kSeries
                                   ? "A series file states voltages, ratios, errors, currents and "
                                     "angles by their position, "
                                     "nothing else."
                                   : "The results are those of the operator's text.");
  }
}

void add_lines(Section& section, const Record& record) {
  Table table{"The operator's text", {{"line", "", false}, {"value", "", false}}, {}, {}};
  for (const auto& [name, value] : record.lines) {
    table.rows.push_back({text_cell(name), text_cell(value)});
  }
  section.tables.push_back(std::move(table));
}

bool is_empty(const Section& section) { return section.tables.empty() && section.pictures.empty(); }

}  // namespace

Section section_of(const Record& record, const Settings& settings) {
  const kvr_TestRecord& nest = *record.nest;
  Section section;
  const std::string_view id = field_text(nest.record_id);
  section.title = name_of_kind(nest.test_type) + (id.empty() ? "" : ": " + std::string(id));
  add_head(section, record);
  add_ratio(section, record, settings);
  add_resistance(section, record, settings);
  add_heat_run(section, record, settings);
  add_impedance(section, record, settings);
  add_efficiency(section, record, settings);
  add_magnetic_balance(section, record, settings);
  add_demagnetisation(section, record);
  add_dynamic_resistance(section, record);
  add_go_no_go(section, record);
  if (!record.has_results) {
    add_lines(section, record);
  }
  add_samples(section, record);
  if (is_empty(section)) {
    section.notes.emplace_back("The record holds no results.");
  }
  return section;
}

}  // namespace report
