#include <algorithm>
#include <array>
#include <cmath>
#include <map>

#include "common/field_text.h"
#include "report/figures/limits.h"
#include "report/figures/numbers.h"
#include "report/figures/ratio.h"
#include "report/figures/temperature.h"
#include "report/sections/resistance_readings.h"
#include "report/sections/sections.h"
#include "text/text_output.h"

namespace report {
namespace {

using ListOfReadings = std::vector<ResistanceReading>;

/// Resistances corrected to another temperature, where report.toml states all that takes.
struct Correction {
  Conductor conductor;
  double from;
  double to;
};

std::optional<Correction> correction_of(const Settings& settings) {
  const auto conductor = settings.conductor();
  const auto from = settings.number("conditions.winding_temperature");
  const auto to = settings.number("conditions.correct_to");
  if (!conductor || !from || !to) {
    return std::nullopt;
  }
  return Correction{*conductor, *from, *to};
}

std::string state_of(const kvr_TestData_Point& point) {
  std::string text(KVR_Text_Output::PointStateText(point.state));
  if (point.error != KVR_RES_OK) {
    text += ", " + std::string(CodeToText(point.error));
  }
  return text;
}

Table point_table(const ListOfReadings& readings, const std::optional<Correction>& correction) {
  Table table{"Resistances",
              {{"test", "", false},
               {"side", "", false},
               {"tap"},
               {"terminals", "", false},
               {"voltage", "V"},
               {"current", "A"},
               {"set current", "A"},
               {"resistance", "\xce\xa9"},
               {"stability", "%"},
               {"time", "ms"},
               {"state", "", false}},
              {},
              {}};
  if (correction) {
    table.columns.push_back({"at " + shortest(correction->to) +
                                 " \xc2\xb0"
                                 "C",
                             "\xce\xa9"});
    table.note = "Corrected from " + shortest(correction->from) +
                 " \xc2\xb0"
                 "C for " +
                 std::string(correction->conductor.name) +
                 ", T = " + shortest(correction->conductor.constant) + ".";
  }
  for (const ResistanceReading& reading : readings) {
    const kvr_TestData_Point& point = *reading.point;
    std::vector<Cell> row{text_cell(reading.test), text_cell(reading.side), count_cell(reading.tap),
                          text_cell(field_text(point.name))};
    for (const float value : {point.ua, point.ia, point.ii}) {
      row.push_back(significant_cell(static_cast<double>(value), 6));
    }
    if (point.state == KVR_POINT_DISCHARGING) {
      row.insert(row.end(), {Cell{}, Cell{}, Cell{}});
    } else {
      row.push_back(significant_cell(point.rm, 6));
      row.push_back(number_cell(static_cast<double>(point.stability), 4));
      row.push_back(count_cell(point.stabilization_ms));
    }
    row.push_back(text_cell(state_of(point)));
    if (correction) {
      row.push_back(significant_cell(
          resistance_at(point.rm, correction->conductor, correction->from, correction->to), 6));
    }
    table.rows.push_back(std::move(row));
  }
  return table;
}

Table transition_table(const ListOfReadings& readings) {
  Table table{
      "Tap changes",
      {{"test", "", false}, {"terminals", "", false}, {"from"}, {"to"}, {"status", "", false}},
      {},
      {}};
  for (const ResistanceReading& reading : readings) {
    if (const kvr_TestData_Transition* const change = reading.point->transition) {
      table.rows.push_back(
          {text_cell(reading.test), text_cell(field_text(reading.point->name)),
           count_cell(change->from), count_cell(change->to),
           text_cell(change->status == KVR_RES_OK ? "ok" : CodeToText(change->status))});
    }
  }
  return table;
}

bool counts(const ResistanceReading& reading) {
  return reading.point->error == KVR_RES_OK && reading.point->state != KVR_POINT_DISCHARGING;
}

/// Where the readings of one tap and side are of different terminals, each once.
void add_spreads(Section& section, const ListOfReadings& readings, const Settings& settings) {
  struct Group {
    std::string where;
    std::map<std::string, double> by_terminals;
    bool is_repeated = false;
  };
  std::vector<Group> groups;
  for (const ResistanceReading& reading : readings) {
    if (!counts(reading)) {
      continue;
    }
    const std::string where =
        reading.side + ", tap " + std::to_string(reading.tap) + ", test " + reading.test;
    if (groups.empty() || groups.back().where != where) {
      groups.push_back({where, {}, false});
    }
    Group& group = groups.back();
    const auto [at, is_new] = group.by_terminals.try_emplace(
        std::string(field_text(reading.point->name)), reading.point->rm);
    group.is_repeated = group.is_repeated || !is_new;
  }
  const auto [limit, source] = settings.limit("resistance_spread_percent");
  for (const Group& group : groups) {
    std::vector<double> values;
    for (const auto& [name, value] : group.by_terminals) {
      values.push_back(value);
    }
    const auto spread = phase_spread(values);
    if (values.size() < 2 || group.is_repeated || !spread) {
      continue;
    }
    section.findings.push_back(
        judge({"resistance between phases, (largest - smallest) / mean, " + group.where,
               spread->range_percent, "%", 2, Limits::at_most(limit), shortest(limit) + " %",
               source, 0, settings.number("uncertainty.resistance")},
              settings));
    section.findings.back().deviation =
        "largest from the mean " + fixed(spread->deviation_percent, 2) + " %";
  }
}

void add_tap_chart(Section& section, const ListOfReadings& readings) {
  std::map<std::pair<std::string, std::string>, Series> series;
  bool has_taps = false;
  for (const ResistanceReading& reading : readings) {
    if (!counts(reading)) {
      continue;
    }
    const std::string name(field_text(reading.point->name));
    Series& of = series[{reading.side, name}];
    of.name = reading.side + " " + name;
    of.style = SeriesStyle::kPointsAndLine;
    has_taps = has_taps || (!of.points.empty() && of.points.front().x != reading.tap);
    of.points.push_back({static_cast<double>(reading.tap), reading.point->rm,
                         of.name + ", tap " + std::to_string(reading.tap) + ": " +
                             significant(reading.point->rm, 6) + " \xce\xa9"});
  }
  if (!has_taps) {
    return;
  }
  for (const auto side : {"primary", "secondary", "tertiary"}) {
    Chart chart{"Resistance against tap, " + std::string(side),
                "tap",
                "resistance, \xce\xa9",
                false,
                false,
                {}};
    for (auto& [key, of] : series) {
      if (key.first == side && of.points.size() > 1) {
        chart.series.push_back(std::move(of));
      }
    }
    if (!chart.series.empty()) {
      section.pictures.emplace_back(std::move(chart));
    }
  }
}

/// The readings of a continuous test, one after the other.
void add_reading_chart(Section& section, const ListOfReadings& readings) {
  Chart chart{"Resistance reading by reading", "reading", "resistance, \xce\xa9", false, false, {}};
  for (const ResistanceReading& reading : readings) {
    const std::string name = reading.side + " " + std::string(field_text(reading.point->name));
    if (chart.series.empty() || chart.series.back().name != name) {
      chart.series.push_back({name, SeriesStyle::kPointsAndLine, {}});
    }
    auto& points = chart.series.back().points;
    const double number = static_cast<double>(points.size() + 1);
    points.push_back(
        {number, reading.point->rm,
         "reading " + fixed(number, 0) + ": " + significant(reading.point->rm, 6) + " \xce\xa9"});
  }
  section.pictures.emplace_back(std::move(chart));
}

void add_durations(Section& section, kvr_TestData_Resistance* const* data, std::uint32_t count) {
  for (const auto* const test : entries_of(data, count)) {
    section.facts.emplace_back("Duration", std::to_string(test->duration_ms) + " ms");
  }
}

}  // namespace

void add_resistance(Section& section, const Record& record, const Settings& settings) {
  const kvr_TestRecord& nest = *record.nest;
  const ListOfReadings readings = resistance_readings(nest.data_resistance, nest.data_count);
  add_durations(section, nest.data_resistance, nest.data_count);
  if (readings.empty()) {
    return;
  }
  section.tables.push_back(point_table(readings, correction_of(settings)));
  if (Table changes = transition_table(readings); !changes.rows.empty()) {
    section.tables.push_back(std::move(changes));
  }
  if (nest.test_type == KVR_TEST_RESISTANCE_CONT) {
    add_reading_chart(section, readings);
  } else {
    add_spreads(section, readings, settings);
    add_tap_chart(section, readings);
  }
  for (const ResistanceReading& reading : readings) {
    if (counts(reading)) {
      const std::string side = "resistance " + reading.side;
      const std::string name(field_text(reading.point->name));
      const std::string tap = ", tap " + std::to_string(reading.tap);
      section.comparables.push_back(
          {side + " " + name + tap, "\xce\xa9", reading.point->rm, std::nullopt,
           settings.limit("resistance_spread_percent").value, side + tap, name});
    }
  }
}

void add_heat_run(Section& section, const Record& record, const Settings& settings) {
  const kvr_TestRecord& nest = *record.nest;
  const ListOfReadings readings = resistance_readings(nest.data_heatrun, nest.data_count);
  add_durations(section, nest.data_heatrun, nest.data_count);
  if (readings.empty()) {
    return;
  }
  section.tables.push_back(point_table(readings, std::nullopt));
  if (Table changes = transition_table(readings); !changes.rows.empty()) {
    section.tables.push_back(std::move(changes));
  }
  const std::vector<double> stated = settings.numbers("heat_run.times");
  std::vector<std::string> notes;
  for (const auto side : {"primary", "secondary", "tertiary"}) {
    HeatRun run{side, {}, {}, std::nullopt};
    bool has_times = true;
    for (const ResistanceReading& reading : readings) {
      if (reading.side == side && counts(reading)) {
        const double time = reading.point->stabilization_ms / 1000.0;
        has_times = has_times && time > (run.times.empty() ? 0 : run.times.back());
        run.times.push_back(time);
        run.resistances.push_back(reading.point->rm);
      }
    }
    if (run.times.empty()) {
      continue;
    }
    if (stated.size() == run.times.size()) {
      run.times = stated;
      notes.emplace_back("The times of the readings are those that report.toml states.");
    } else if (!stated.empty()) {
      notes.push_back("report.toml states " + std::to_string(stated.size()) +
                      " times of readings, and the record has " + std::to_string(run.times.size()) +
                      " readings: no cooling curve.");
      continue;
    } else if (has_times) {
      notes.emplace_back(
          "The times after shut-down are those that the record holds with its readings.");
    } else {
      for (std::size_t i = 0; i < run.times.size(); ++i) {
        run.times[i] = 60.0 * static_cast<double>(i + 1);
      }
      notes.emplace_back(
          "No times of readings are stated: equal spacing, 60 s from shut-down on, "
          "was assumed.");
    }
    run.cold_resistance =
        settings.number(std::string(side) == "primary" ? "heat_run.cold_resistance"
                                                       : "heat_run.cold_resistance_low");
    add_cooling_curve(section, run, settings);
  }
  section.notes.insert(section.notes.end(), notes.begin(), std::unique(notes.begin(), notes.end()));
}

}  // namespace report
