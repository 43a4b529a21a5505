#include <algorithm>
#include <cmath>
#include <map>
#include <optional>

#include "common/field_text.h"
#include "report/figures/knee.h"
#include "report/figures/limits.h"
#include "report/figures/numbers.h"
#include "report/figures/ratio.h"
#include "report/figures/statistics.h"
#include "report/sections/ratio_findings.h"
#include "report/sections/ratio_readings.h"
#include "report/sections/sections.h"
#include "text/text_output.h"

namespace report {
namespace {

using Phase = kvr_TestData_Ratio_Phase;

/// Which fields the source of a record states.
struct Stated {
  bool details;  ///< all that the client library returns
  bool is_three_phase;
};

std::vector<Column> with_test(std::vector<Column> columns) {
  columns.insert(columns.begin(), {{"test", "", false}, {"phase", "", false}});
  return columns;
}

std::vector<Cell> row_head(const RatioReading& reading) {
  return {text_cell(reading.test), text_cell(reading.phase)};
}

Table ratio_table(const std::vector<RatioReading>& readings, const Stated& facts) {
  Table table{"Ratios",
              with_test({{"voltage", "V"},
                         {"terminals", "", false},
                         {"turns ratio"},
                         {"nameplate voltages"},
                         {"error", "%"}}),
              {},
              {}};
  if (facts.details) {
    for (const Column& column :
         {Column{"voltage ratio"}, Column{"true ratio"}, Column{"true ratio error", "%"}}) {
      table.columns.push_back(column);
    }
  }
  const bool has_failures = std::any_of(readings.begin(), readings.end(),
                                        [](const RatioReading& each) { return !each.is_good(); });
  const std::size_t width = table.columns.size();
  if (has_failures) {
    table.columns.push_back({"status", "", false});
  }
  for (const RatioReading& reading : readings) {
    const Phase& phase = *reading.data;
    std::vector<Cell> row = row_head(reading);
    row.push_back(number_cell(reading.test_voltage, 2));
    row.push_back(text_cell("(" + std::string(field_text(phase.high_side_phase)) + ")/(" +
                            std::string(field_text(phase.low_side_phase)) + ")"));
    // A failed phase of a three-phase test has no ratios; a single-phase test shows them all the
    // same.
    if (reading.is_good() || !reading.is_three_phase) {
      row.push_back(number_cell(phase.tnr, 5));
      row.push_back(reading.reference_ratio == 0 ? text_cell(kNotStated)
                                                 : number_cell(reading.reference_ratio, 5));
      row.push_back(number_cell(phase.tnr_error, 4));
      if (facts.details) {
        row.push_back(number_cell(phase.tvr, 5));
        row.push_back(number_cell(phase.true_ratio, 5));
        row.push_back(number_cell(phase.true_ratio_error, 4));
      }
    }
    row.resize(width);
    if (has_failures) {
      row.push_back(text_cell(reading.is_good() ? "ok" : CodeToText(phase.status)));
    }
    table.rows.push_back(std::move(row));
  }
  return table;
}

/// What the voltage ratio divides, where it is named.
std::string voltage_ratio_name(const Phase& phase) {
  const std::string_view high = field_text(phase.tvr_high);
  const std::string_view low = field_text(phase.tvr_low);
  if (high.empty() && low.empty()) {
    return {};
  }
  return std::string(field_text(phase.tvr_name)) + ": (" + std::string(high) + ")/(" +
         std::string(low) + ")";
}

Table voltage_table(const std::vector<RatioReading>& readings, const Stated& facts) {
  Table table{"Voltages and currents",
              with_test({{"high side", "V"},
                         {"low side", "V"},
                         {"voltage r.m.s.", "V"},
                         {"current r.m.s.", "A"}}),
              {},
              {}};
  if (facts.details) {
    for (const Column& column :
         {Column{"current H", "A"}, Column{"current X", "A"}, Column{"frequency", "Hz"},
          Column{"induced", "V"}, Column{"voltage ratio of", "", false}}) {
      table.columns.push_back(column);
    }
  }
  for (const RatioReading& reading : readings) {
    const Phase& phase = *reading.data;
    std::vector<Cell> row = row_head(reading);
    for (const float value : {phase.voltage_h, phase.voltage_x, phase.voltage_rms}) {
      row.push_back(significant_cell(number_of(value), 7));
    }
    row.push_back(significant_cell(number_of(phase.current_rms), 6));
    if (facts.details) {
      row.push_back(significant_cell(number_of(phase.curr_h), 6));
      row.push_back(significant_cell(number_of(phase.curr_x), 6));
      row.push_back(number_cell(number_of(phase.frequency), 3));
      row.push_back(significant_cell(number_of(phase.induced_voltage), 7));
      row.push_back(text_cell(voltage_ratio_name(phase)));
    }
    table.rows.push_back(std::move(row));
  }
  return table;
}

Table angle_table(const std::vector<RatioReading>& readings, const Stated& facts) {
  Table table{"Angles",
              with_test({{"high side", "degrees"},
                         {"low side", "degrees"},
                         {"shift", "degrees"},
                         {"off the phasing", "degrees"}}),
              {},
              {}};
  if (facts.details) {
    table.columns.push_back({"exciting current", "degrees"});
    table.columns.push_back({"exciting current", "rad"});
  }
  for (const RatioReading& reading : readings) {
    const Phase& phase = *reading.data;
    std::vector<Cell> row = row_head(reading);
    for (const float angle : {phase.phase_high, phase.phase_low, phase.phase_shift_absolute,
                              phase.phase_deviation_from_user_phasing}) {
      row.push_back(degrees_cell(angle));
    }
    if (facts.details) {
      row.push_back(degrees_cell(phase.efi));
      row.push_back(number_cell(number_of(phase.efi), 5));
    }
    table.rows.push_back(std::move(row));
  }
  return table;
}

Table three_phase_table(const std::vector<ThreePhaseResult>& results, const Stated& facts) {
  Table table{"Three phases together",
              {{"test", "", false}, {"ratio"}, {"error", "%"}, {"angle", "degrees"}},
              {},
              {}};
  if (facts.details) {
    for (const Column& column : {Column{"TVR multiplier"}, Column{"mode", "", false},
                                 Column{"state of health", "", false}}) {
      table.columns.push_back(column);
    }
  }
  for (const auto& [test, data] : results) {
    std::vector<Cell> row{text_cell(test), number_cell(data->ratio_3ph, 5),
                          number_cell(data->ratio_3ph_error, 4), degrees_cell(data->phase_3ph)};
    if (facts.details) {
      row.push_back(number_cell(data->tvr_multiplier, 5));
      row.push_back(text_cell(KVR_Text_Output::TestingModeText(data->testing_mode)));
      row.push_back(text_cell(KVR_Text_Output::HealthStateText(data->health_state)));
    }
    table.rows.push_back(std::move(row));
  }
  return table;
}

Table sequence_table(const std::vector<ThreePhaseResult>& results) {
  Table table{"Symmetrical components",
              {{"test", "", false},
               {"side", "", false},
               {"positive"},
               {"angle", "degrees"},
               {"negative"},
               {"angle", "degrees"},
               {"zero"},
               {"angle", "degrees"}},
              {},
              {}};
  for (const auto& [test, d] : results) {
    const auto add = [&, label = test](std::string_view side, std::array<float, 6> values) {
      std::vector<Cell> row{text_cell(label), text_cell(side)};
      for (std::size_t i = 0; i < values.size(); i += 2) {
        row.push_back(significant_cell(number_of(values[i]), 6));
        row.push_back(degrees_cell(values[i + 1]));
      }
      table.rows.push_back(std::move(row));
    };
    add("high", {d->positive_seq_hi, d->positive_phase_hi, d->negative_seq_hi, d->negative_phase_hi,
                 d->zero_seq_hi, d->zero_phase_hi});
    add("low", {d->positive_seq_lo, d->positive_phase_lo, d->negative_seq_lo, d->negative_phase_lo,
                d->zero_seq_lo, d->zero_phase_lo});
  }
  return table;
}

Table distortion_table(const std::vector<ThreePhaseResult>& results) {
  Table table{"Distortion",
              {{"test", "", false},
               {"negative", "%"},
               {"angle", "degrees"},
               {"zero", "%"},
               {"angle", "degrees"}},
              {},
              {}};
  const auto unfolded = [](float radians) { return number_of(radians) / std::numbers::pi * 180; };
  for (const auto& [test, d] : results) {
    table.rows.push_back({text_cell(test),
                          number_cell(number_of(d->negative_distortion_index) * 100, 4),
                          number_cell(unfolded(d->negative_distortion_phase), 3),
                          number_cell(number_of(d->zero_distortion_index) * 100, 4),
                          number_cell(unfolded(d->zero_distortion_phase), 3)});
  }
  return table;
}

Table statistics_table(const std::vector<RatioReading>& readings) {
  Table table{
      "Statistics of the ratio error",
      {{"phase", "", false},
       {"voltage", "V"},
       {"n"},
       {"mean", "%"},
       {"s", "%"},
       {"s / \xe2\x88\x9an", "%"},
       {"smallest", "%"},
       {"largest", "%"},
       {"2.8 s", "%"}},
      {},
      "s is the experimental standard deviation, 2.8 s the repeatability limit of ISO 5725. "
      "Of fewer than three readings only the smallest and the largest are given."};
  for (const RepeatedErrors& group : repeated_errors(readings)) {
    const auto summary = summarize(group.errors);
    if (group.errors.size() < 2 || !summary) {
      continue;
    }
    std::vector<Cell> row{text_cell(group.phase), number_cell(group.voltage, 2),
                          count_cell(static_cast<double>(summary->count))};
    const auto& spread = summary->spread;
    for (const auto member : {&Spread::mean, &Spread::deviation, &Spread::mean_deviation}) {
      row.push_back(spread ? number_cell((*spread).*member, 5) : Cell{});
    }
    row.push_back(number_cell(summary->smallest, 5));
    row.push_back(number_cell(summary->largest, 5));
    row.push_back(spread ? number_cell(spread->repeatability, 5) : Cell{});
    table.rows.push_back(std::move(row));
  }
  return table;
}

void add_tables(Section& section, const Record& record, const std::vector<RatioReading>& readings) {
  const auto results = three_phase_results(*record.nest);
  const Stated facts{record.origin != Origin::kSeries, !results.empty()};
  section.tables.push_back(ratio_table(readings, facts));
  if (Table statistics = statistics_table(readings); !statistics.rows.empty()) {
    section.tables.push_back(std::move(statistics));
  }
  section.tables.push_back(voltage_table(readings, facts));
  section.tables.push_back(angle_table(readings, facts));
  if (facts.is_three_phase) {
    section.tables.push_back(three_phase_table(results, facts));
    section.tables.push_back(sequence_table(results));
    section.tables.push_back(distortion_table(results));
  }
}

}  // namespace

void add_ratio(Section& section, const Record& record, const Settings& settings) {
  const std::vector<RatioReading> readings = ratio_readings(*record.nest);
  if (readings.empty()) {
    return;
  }
  add_ratio_findings(section, record, readings, settings);
  add_tables(section, record, readings);
  add_ratio_pictures(section, record, readings, settings);
}

}  // namespace report
