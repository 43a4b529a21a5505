#include <algorithm>
#include <array>
#include <cmath>

#include "common/field_text.h"
#include "report/facts/raw_samples.h"
#include "report/figures/numbers.h"
#include "report/figures/ratio.h"
#include "report/figures/waveform.h"
#include "report/sections/sections.h"

namespace report {
namespace {

constexpr std::size_t kDrawnSampleSets = 3;

std::string label_of(const kvr_TestData_MagneticBalance& test, std::size_t row) {
  const auto& each = test.rows[row];
  const std::string_view label =
      test.side == 0 ? field_text(each.low_label) : field_text(each.high_label);
  return label.empty() ? "limb " + std::to_string(row + 1) : std::string(label);
}

void add_balance_findings(Section& section, const kvr_TestData_MagneticBalance& test,
                          const Settings& settings) {
  const auto [limit, source] = settings.limit("balance_percent");
  for (std::size_t row = 0; row < 3; ++row) {
    std::array<double, 3> limbs{};
    for (std::size_t i = 0; i < 3; ++i) {
      limbs[i] = number_of(test.rows[row].cell[i].value);
    }
    const BalanceSum sum = balance_sum(limbs, row);
    const std::string label = label_of(test, row);
    section.findings.push_back(
        judge({"sum of the other limbs against the excited one, " + label + " excited",
               sum.deviation_percent, "%", 2, Limits::symmetric(limit),
               "\xc2\xb1" + shortest(limit) + " %", source},
              settings));
    section.findings.back().deviation = fixed(sum.sum_percent, 2) + " % of the excited limb";
    Finding pattern;
    pattern.quantity = "pattern, " + label + " excited";
    pattern.value = is_balance_pattern(limbs, row) ? "as expected" : "not as expected";
    pattern.limit = row == 1 ? "outer limbs alike" : "nearer above farther";
    pattern.uncertainty = kNotStated;
    pattern.verdict = is_balance_pattern(limbs, row) ? Verdict::kPass : Verdict::kFail;
    pattern.source = "field practice, comparative; core with three limbs";
    section.findings.push_back(pattern);
  }
}

Table balance_table(const kvr_TestData_MagneticBalance& test, std::size_t number) {
  Table table{"Magnetic balance, test " + std::to_string(number),
              {{"excited", "", false}},
              {},
              "Rows: the excited limb; columns: what each limb shows."};
  for (std::size_t row = 0; row < 3; ++row) {
    table.columns.push_back({label_of(test, row), ""});
  }
  table.columns.push_back({"total", ""});
  for (std::size_t row = 0; row < 3; ++row) {
    std::vector<Cell> cells{text_cell(label_of(test, row))};
    for (const auto& cell : test.rows[row].cell) {
      cells.push_back(number_cell(number_of(cell.value), 3));
    }
    cells.push_back(number_cell(number_of(test.rows[row].total), 3));
    table.rows.push_back(std::move(cells));
  }
  return table;
}

Chart balance_chart(const kvr_TestData_MagneticBalance& test) {
  Chart chart{"Magnetic balance", "limb (1 to 3)", "share of the excited limb", false, false, {}};
  for (std::size_t row = 0; row < 3; ++row) {
    Series series{label_of(test, row) + " excited", SeriesStyle::kBars, {}};
    for (std::size_t i = 0; i < 3; ++i) {
      const double value = number_of(test.rows[row].cell[i].value);
      series.points.push_back(
          {static_cast<double>(i + 1), value,
           series.name + ", limb " + std::to_string(i + 1) + ": " + fixed(value, 3)});
    }
    chart.series.push_back(std::move(series));
  }
  return chart;
}

/// Time of a dynamic resistance test: unsigned, as the operator's text has it.
double span_of(const kvr_TestData_Drm_Transition& transition) {
  return static_cast<double>(transition.end_time - transition.start_time);
}

struct Channel {
  std::string_view name;
  std::string_view unit;
  std::vector<double> SampleSet::*samples;
};

constexpr Channel kChannels[] = {{"voltage H", "V", &SampleSet::voltage_high},
                                 {"voltage X", "V", &SampleSet::voltage_low},
                                 {"current H", "A", &SampleSet::current_high},
                                 {"current X", "A", &SampleSet::current_low}};

bool is_flat(const std::vector<double>& samples) {
  return std::all_of(samples.begin(), samples.end(), [](double value) { return value == 0; });
}

Chart waveform_chart(const SampleSet& set, std::string_view unit) {
  Chart chart{(unit == "V" ? "Voltages, " : "Currents, ") + set.title,
              "time, s",
              unit == "V" ? "voltage, V" : "current, A",
              false,
              false,
              {}};
  for (const Channel& channel : kChannels) {
    const std::vector<double>& samples = set.*channel.samples;
    if (channel.unit != unit || is_flat(samples)) {
      continue;
    }
    Series series{std::string(channel.name), SeriesStyle::kLine, {}};
    for (std::size_t i = 0; i < samples.size(); ++i) {
      series.points.push_back({set.times[i], samples[i], {}});
    }
    chart.series.push_back(std::move(series));
  }
  return chart;
}

void add_harmonics(Section& section, const SampleSet& set) {
  Table table{"Harmonics, " + set.title,
              {{"channel", "", false},
               {"frequency", "Hz"},
               {"r.m.s."},
               {"fundamental"},
               {"distortion", "%"}},
              {},
              "R.m.s. values, over the whole periods that the samples hold."};
  Chart chart{"Harmonics, " + set.title,
              "order of the harmonic",
              "percent of the fundamental",
              false,
              false,
              {}};
  for (const Channel& channel : kChannels) {
    const auto harmonics = harmonics_of(set.*channel.samples, set.sample_rate);
    if (!harmonics || is_flat(set.*channel.samples)) {
      continue;
    }
    table.rows.push_back({text_cell(std::string(channel.name) + ", " + std::string(channel.unit)),
                          number_cell(harmonics->frequency, 2), significant_cell(harmonics->rms, 5),
                          significant_cell(harmonics->fundamental, 5),
                          number_cell(harmonics->distortion_percent, 3)});
    Series series{std::string(channel.name), SeriesStyle::kBars, {}};
    for (std::size_t i = 1; i < harmonics->percent.size(); ++i) {
      const double percent = harmonics->percent[i];
      series.points.push_back(
          {static_cast<double>(i + 1), percent,
           series.name + ", harmonic " + std::to_string(i + 1) + ": " + fixed(percent, 3) + " %"});
    }
    chart.series.push_back(std::move(series));
  }
  if (table.rows.empty()) {
    section.notes.push_back("No whole periods in the samples of " + set.title + ": no harmonics.");
    return;
  }
  section.pictures.emplace_back(std::move(chart));
  section.tables.push_back(std::move(table));
}

}  // namespace

void add_magnetic_balance(Section& section, const Record& record, const Settings& settings) {
  const kvr_TestRecord& nest = *record.nest;
  std::size_t number = 0;
  for (const auto* const test : entries_of(nest.data_mbalance, nest.data_count)) {
    section.facts.emplace_back("Largest imbalance", fixed(number_of(test->max_imbalance), 8));
    section.tables.push_back(balance_table(*test, ++number));
    section.pictures.emplace_back(balance_chart(*test));
    add_balance_findings(section, *test, settings);
    for (std::size_t row = 0; row < 3; ++row) {
      for (std::size_t i = 0; i < 3; ++i) {
        section.comparables.push_back(
            {"balance, " + label_of(*test, row) + " excited, limb " + std::to_string(i + 1), "",
             number_of(test->rows[row].cell[i].value), std::nullopt,
             settings.limit("balance_percent").value});
      }
    }
  }
}

void add_demagnetisation(Section& section, const Record& record) {
  const kvr_TestRecord& nest = *record.nest;
  Table table{"Remanence",
              {{"test", "", false}, {"phase", "", false}, {"before", "%"}, {"after", "%"}},
              {},
              {}};
  std::size_t number = 0;
  for (const auto* const test : entries_of(nest.data_demag, nest.data_count)) {
    ++number;
    section.facts.emplace_back("Duration", std::to_string(test->duration_ms) + " ms");
    for (const auto* const phase : entries_of(test->phases, test->phase_count)) {
      // In single precision, as the operator's text has it.
      table.rows.push_back({text_cell(std::to_string(number)),
                            text_cell(field_text(phase->demag_phase)),
                            number_cell(number_of(phase->remanence_initial * 100.0F), 2),
                            number_cell(number_of(phase->remanence_after_demag * 100.0F), 2)});
    }
  }
  if (!table.rows.empty()) {
    section.tables.push_back(std::move(table));
  }
}

void add_dynamic_resistance(Section& section, const Record& record) {
  const kvr_TestRecord& nest = *record.nest;
  Table table{
      "Transitions of the tap changer",
      {{"test", "", false}, {"transition"}, {"begins", "ms"}, {"ends", "ms"}, {"takes", "ms"}},
      {},
      "The result holds the times of transitions, no trace of the current."};
  Chart chart{"Transitions of the tap changer", "time, ms", "transition", false, false, {}};
  std::size_t number = 0;
  for (const auto* const test : entries_of(nest.data_drm, nest.data_count)) {
    ++number;
    section.facts.emplace_back("Transitions", std::to_string(test->transition_count));
    // The first one is there even where the count is zero, and the operator's text reads it.
    const std::uint32_t count =
        test->first_transition == nullptr ? 0 : std::max(test->transition_count, 1U);
    Series series{"test " + std::to_string(number), SeriesStyle::kSpans, {}};
    for (std::uint32_t i = 0; i < count; ++i) {
      const kvr_TestData_Drm_Transition& each = test->first_transition[i];
      table.rows.push_back({text_cell(std::to_string(number)), count_cell(i + 1),
                            count_cell(each.start_time), count_cell(each.end_time),
                            count_cell(span_of(each))});
      const std::string title = "transition " + std::to_string(i + 1) + ": " +
                                std::to_string(each.start_time) + " to " +
                                std::to_string(each.end_time) + " ms";
      series.points.push_back({static_cast<double>(each.start_time), i + 1.0, title});
      series.points.push_back({static_cast<double>(each.end_time), i + 1.0, {}});
      section.comparables.push_back(
          {"transition " + std::to_string(i + 1), "ms", span_of(each), std::nullopt, std::nullopt});
    }
    chart.series.push_back(std::move(series));
  }
  if (!table.rows.empty()) {
    section.tables.push_back(std::move(table));
    section.pictures.emplace_back(std::move(chart));
  }
}

void add_go_no_go(Section& section, const Record& record) {
  const kvr_TestRecord& nest = *record.nest;
  Table table{
      "Go/no-go", {{"test", "", false}, {"check", "", false}, {"status", "", false}}, {}, {}};
  std::size_t number = 0;
  for (const auto* const test : entries_of(nest.data_gonogo, nest.data_count)) {
    ++number;
    for (const auto& [name, code] :
         {std::pair{"minimum inductance", test->status_minimum_inductance},
          std::pair{"open circuit", test->status_open_circuit},
          std::pair{"short circuit", test->status_short_circuit}}) {
      table.rows.push_back(
          {text_cell(std::to_string(number)), text_cell(name), text_cell(CodeToText(code))});
    }
  }
  if (!table.rows.empty()) {
    section.tables.push_back(std::move(table));
  }
}

void add_samples(Section& section, const Record& record) {
  if (record.nest->raw_data == nullptr) {
    return;
  }
  const std::vector<SampleSet> sets = samples_in(record.nest->raw_data);
  if (sets.empty()) {
    section.notes.emplace_back("The RAW data is in a form that is not known here: not drawn.");
    return;
  }
  for (std::size_t i = 0; i < std::min(sets.size(), kDrawnSampleSets); ++i) {
    for (const std::string_view unit : {"V", "A"}) {
      if (Chart chart = waveform_chart(sets[i], unit); !chart.series.empty()) {
        section.pictures.emplace_back(std::move(chart));
      }
    }
    add_harmonics(section, sets[i]);
  }
  if (sets.size() > kDrawnSampleSets) {
    section.notes.push_back("The RAW data holds " + std::to_string(sets.size()) +
                            " sets of samples; the first " + std::to_string(kDrawnSampleSets) +
                            " are drawn.");
  }
}

}  // namespace report
