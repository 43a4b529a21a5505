#include "common/field_text.h"
#include "report/figures/numbers.h"
#include "report/figures/ratio.h"
#include "report/sections/sections.h"
#include "utils/utils.h"

namespace report {
namespace {

using EfficiencyPhase = kvr_TestData_Efficiency_Phase;
using Test = kvr_TestData_Efficiency;

struct Row {
  std::string_view name;
  std::string_view unit;
  float EfficiencyPhase::*value;
  float Test::*total;  ///< null for a quantity without a total
};

constexpr Row kRows[] = {
    {"turns ratio", "", &EfficiencyPhase::ratio_tnr, nullptr},
    {"load resistance, line", "\xce\xa9", &EfficiencyPhase::load_rs_line, nullptr},
    {"load resistance, zero", "\xce\xa9", &EfficiencyPhase::load_rs_zero, nullptr},
    {"no-load eddy resistance, measured", "\xce\xa9",
     &EfficiencyPhase::noload_eddy_resistance_measured, nullptr},
    {"no-load eddy resistance, corrected", "\xce\xa9",
     &EfficiencyPhase::noload_eddy_resistance_corrected, nullptr},
    {"load losses, I\xc2\xb2R", "W", &EfficiencyPhase::load_i2r, nullptr},
    {"load losses, stray and eddy", "W", &EfficiencyPhase::load_stray_eddy, nullptr},
    {"load losses", "W", &EfficiencyPhase::load_losses, &Test::total_load_losses},
    {"hysteresis losses", "W", &EfficiencyPhase::hysteresis, &Test::total_hysteresis},
    {"eddy current losses", "W", &EfficiencyPhase::eddy_current, &Test::total_eddy_current},
    {"I\xc2\xb2R without load", "W", &EfficiencyPhase::i2r_no_load, nullptr},
    {"no-load losses", "W", &EfficiencyPhase::no_load_losses, &Test::total_no_load_losses},
    {"total losses", "W", &EfficiencyPhase::total_losses, &Test::total_losses},
};

bool is_three_phase(const Test& test) {
  if (test.setup.connection_type > kConnectionXToY) {
    return false;
  }
  const kvr_WindingType winding = Utils::winding_h(test.setup).winding_type;
  return winding >= KVR_WINDING_D && winding <= KVR_WINDING_ZN;
}

Table loss_table(const Test& test, const std::string& label) {
  const bool has_phases = is_three_phase(test);
  Table table{"Losses, test " + label, {{"quantity", "", false}, {"unit", "", false}}, {}, {}};
  const std::size_t phases = has_phases ? 3 : 1;
  for (std::size_t i = 0; i < phases; ++i) {
    const std::string_view name = field_text(test.phases[i].phase_name);
    table.columns.push_back(
        {name.empty() ? std::string(1, static_cast<char>('A' + i)) : std::string(name), ""});
  }
  if (has_phases) {
    table.columns.push_back({"total", ""});
  }
  for (const Row& row : kRows) {
    std::vector<Cell> cells{text_cell(row.name), text_cell(row.unit)};
    for (std::size_t i = 0; i < phases; ++i) {
      const EfficiencyPhase& phase = test.phases[i];
      cells.push_back(phase.status == KVR_RES_OK || !has_phases
                          ? significant_cell(number_of(phase.*row.value), 6)
                          : text_cell(CodeToText(phase.status)));
    }
    if (has_phases) {
      cells.push_back(row.total == nullptr ? Cell{}
                                           : significant_cell(number_of(test.*row.total), 6));
    }
    table.rows.push_back(std::move(cells));
  }
  return table;
}

void add_loss(Section& section, const std::string& name, double value,
              std::optional<double> nameplate, const Settings::StatedLimit& limit,
              const Settings& settings) {
  if (!nameplate) {
    section.notes.push_back("Nameplate " + name + " not stated: no verdict.");
    return;
  }
  const double above = ratio_error_percent(value, *nameplate);
  section.findings.push_back(judge(
      {name + " above the nameplate", above, "%", 2, Limits::at_most(limit.value),
       "+" + shortest(limit.value) + " %", limit.source, 0, settings.number("uncertainty.losses")},
      settings));
  section.findings.back().deviation =
      significant(value, 5) + " W against " + shortest(*nameplate) + " W";
}

void add_findings(Section& section, const Test& test, const Settings& settings) {
  const auto load = settings.number("nameplate.load_losses");
  const auto no_load = settings.number("nameplate.no_load_losses");
  const bool has_phases = is_three_phase(test);
  const EfficiencyPhase& first = test.phases[0];
  const Settings::StatedLimit component = settings.limit("component_losses_percent");
  add_loss(section, "load losses",
           number_of(has_phases ? test.total_load_losses : first.load_losses), load, component,
           settings);
  add_loss(section, "no-load losses",
           number_of(has_phases ? test.total_no_load_losses : first.no_load_losses), no_load,
           component, settings);
  if (load && no_load) {
    add_loss(section, "total losses",
             number_of(has_phases ? test.total_losses : first.total_losses), *load + *no_load,
             settings.limit("total_losses_percent"), settings);
  }
}

void add_chart(Section& section, const Test& test, const std::string& label) {
  Chart chart{"Losses by part, test " + label, "phase (1 is A)", "losses, W", false, false, {}};
  const std::pair<std::string_view, float EfficiencyPhase::*> parts[] = {
      {"load, I\xc2\xb2R", &EfficiencyPhase::load_i2r},
      {"load, stray and eddy", &EfficiencyPhase::load_stray_eddy},
      {"no load, hysteresis", &EfficiencyPhase::hysteresis},
      {"no load, eddy currents", &EfficiencyPhase::eddy_current}};
  const std::size_t phases = is_three_phase(test) ? 3 : 1;
  for (const auto& [name, value] : parts) {
    Series series{std::string(name), SeriesStyle::kBars, {}};
    for (std::size_t i = 0; i < phases; ++i) {
      const double loss = number_of(test.phases[i].*value);
      series.points.push_back({static_cast<double>(i + 1), loss,
                               std::string(name) + ", phase " + std::to_string(i + 1) + ": " +
                                   significant(loss, 5) + " W"});
    }
    chart.series.push_back(std::move(series));
  }
  section.pictures.emplace_back(std::move(chart));
}

void add_conditions(Section& section, const Test& test) {
  const auto add = [&](std::string_view name, const std::string& value) {
    section.facts.emplace_back(name, value);
  };
  add("Mode", test.fast_mode != 0 ? "Fast" : "Full");
  const std::string from = shortest(number_of(test.setup.temperature_from));
  const std::string to = shortest(number_of(test.setup.temperature_to));
  if (test.phases[0].corrected != 0) {
    add("Corrections applied", "from " + from +
                                   " \xc2\xb0"
                                   "C to " +
                                   to +
                                   " \xc2\xb0"
                                   "C, by the instrument");
  } else {
    add("Object temperature", from +
                                  " \xc2\xb0"
                                  "C, no corrections");
  }
  if (test.setup.connection_type <= kConnectionXToY) {
    const kvr_WindingSetup& high = Utils::winding_h(test.setup);
    const bool is_current = high.winding_type == KVR_WINDING_CT;
    add(is_current ? "High side, A" : "High side, V",
        shortest(number_of(is_current ? high.current : high.voltage)));
    add("Power, kVA", shortest(number_of(Utils::connection(test.setup).kva)));
  }
  add("Power frequency, Hz", std::to_string(test.setup.line_frequency));
  add("Efficiency", fixed(number_of(test.efficiency_percent), 8) + " %");
  add("Time", std::to_string(test.duration_ms / 1000) + " s");
}

}  // namespace

void add_efficiency(Section& section, const Record& record, const Settings& settings) {
  const kvr_TestRecord& nest = *record.nest;
  std::size_t number = 0;
  for (const Test* const test : entries_of(nest.data_efficiency, nest.data_count)) {
    const std::string label = std::to_string(++number);
    add_conditions(section, *test);
    section.tables.push_back(loss_table(*test, label));
    add_findings(section, *test, settings);
    add_chart(section, *test, label);
    for (const auto& [name, value] : {std::pair{"load losses", test->total_load_losses},
                                      std::pair{"no-load losses", test->total_no_load_losses},
                                      std::pair{"total losses", test->total_losses}}) {
      section.comparables.push_back({name, "W", number_of(value), std::nullopt,
                                     settings.limit("total_losses_percent").value});
    }
  }
}

}  // namespace report
