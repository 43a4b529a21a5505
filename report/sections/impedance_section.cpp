#include <cmath>
#include <map>
#include <utility>

#include "common/field_text.h"
#include "report/figures/limits.h"
#include "report/figures/numbers.h"
#include "report/figures/ratio.h"
#include "report/sections/sections.h"
#include "utils/utils.h"

namespace report {
namespace {

using ImpedancePhase = kvr_TestData_Impedance_Phase;

struct Reading {
  std::string test;
  std::string phase;
  const ImpedancePhase* data;
};

std::string phase_name(const ImpedancePhase& phase, std::size_t index) {
  const std::string_view name = field_text(phase.phase_name);
  return name.empty() ? std::string(1, static_cast<char>('A' + index)) : std::string(name);
}

struct Tests {
  std::vector<Reading> readings;
  std::vector<std::pair<std::string, const kvr_TestData_Impedance_SingleTest*>> averages;
};

Tests tests_of(const kvr_TestRecord& record) {
  Tests tests;
  std::uint32_t number = 0;
  for (std::uint32_t i = 0; record.data_impedance != nullptr && i < record.data_count; ++i) {
    const kvr_TestData_Impedance* const data = record.data_impedance[i];
    if (data == nullptr || data->tests == nullptr || data->tests->tests == nullptr) {
      continue;
    }
    for (std::uint32_t k = 0; k < data->tests->count; ++k) {
      const kvr_TestData_Impedance_SingleTest& test = data->tests->tests[k];
      const std::string label = std::to_string(++number);
      const std::size_t phases = test.phase_mode == 1 ? 1 : 3;
      for (std::size_t p = 0; p < phases; ++p) {
        tests.readings.push_back({label, phase_name(test.phases[p], p), &test.phases[p]});
      }
      if (phases == 3) {
        tests.averages.emplace_back(label, &test);
      }
    }
  }
  return tests;
}

Table impedance_table(const Tests& tests) {
  Table table{"Impedances",
              {{"test", "", false},
               {"phase", "", false},
               {"terminals", "", false},
               {"frequency", "Hz"},
               {"Z", "\xce\xa9"},
               {"Z", "%"},
               {"error", "%"},
               {"R", "\xce\xa9"},
               {"X", "\xce\xa9"}},
              {},
              {}};
  for (const auto& [test, name, phase] : tests.readings) {
    std::vector<Cell> row{text_cell(test), text_cell(name),
                          text_cell("(" + std::string(field_text(phase->high_side_phase)) + ")/(" +
                                    std::string(field_text(phase->low_side_phase)) + ")")};
    if (phase->status != KVR_RES_OK) {
      row.push_back(text_cell(CodeToText(phase->status)));
    }
    row.push_back(number_cell(number_of(phase->test_frequency), 2));
    row.push_back(significant_cell(phase->z, 6));
    row.push_back(number_cell(phase->z_percent, 4));
    row.push_back(number_cell(phase->z_percent_error, 3));
    row.push_back(significant_cell(number_of(phase->rs), 6));
    row.push_back(significant_cell(number_of(phase->xs), 6));
    if (phase->status != KVR_RES_OK) {
      row.erase(row.begin() + 4);  // the code stands in place of the frequency
    }
    table.rows.push_back(std::move(row));
  }
  return table;
}

Table parts_table(const Tests& tests) {
  Table table{"Parts of the impedances",
              {{"test", "", false},
               {"phase", "", false},
               {"inductance", "H"},
               {"capacitance",
                "\xc2\xb5"
                "F"},
               {"power factor"},
               {"ratio"},
               {"current r.m.s.", "A"}},
              {},
              {}};
  for (const auto& [test, name, phase] : tests.readings) {
    table.rows.push_back(
        {text_cell(test), text_cell(name), significant_cell(number_of(phase->inductance), 5),
         significant_cell(number_of(phase->capacitance) * 1000000, 5),
         number_cell(number_of(phase->power_factor), 4), number_cell(phase->v_ratio, 5),
         significant_cell(number_of(phase->curr_rms), 5)});
  }
  return table;
}

Table average_table(const Tests& tests) {
  Table table{"Averages of the phases",
              {{"test", "", false}, {"Z", "\xce\xa9"}, {"Z", "%"}, {"power factor"}},
              {},
              {}};
  for (const auto& [label, test] : tests.averages) {
    table.rows.push_back({text_cell(label), significant_cell(test->avg_z, 6),
                          number_cell(test->avg_z_percent, 4),
                          number_cell(number_of(test->avg_power_factor), 4)});
  }
  return table;
}

void add_finding(Section& section, const std::string& where, double percent,
                 const Settings& settings) {
  const auto nameplate = settings.number("nameplate.impedance");
  if (!nameplate) {
    section.notes.emplace_back("Nameplate impedance not stated: no verdict.");
    return;
  }
  const auto [limit, source] = settings.limit("impedance_percent");
  const double deviation = ratio_error_percent(percent, *nameplate);
  section.findings.push_back(judge(
      {"impedance against the nameplate, " + where, deviation, "%", 2, Limits::symmetric(limit),
       "\xc2\xb1" + shortest(limit) + " %", source, 0, settings.number("uncertainty.impedance")},
      settings));
  section.findings.back().deviation =
      fixed(percent, 3) + " % against " + shortest(*nameplate) + " %";
}

/// R and X over the frequency, where more than one was tested.
void add_frequency_chart(Section& section, const Tests& tests) {
  Chart chart{"R and X against frequency", "frequency, Hz", "R, X, \xce\xa9", true, true, {}};
  std::map<std::string, std::pair<Series, Series>> series;
  std::map<double, int> frequencies;
  for (const auto& [test, name, phase] : tests.readings) {
    if (phase->status != KVR_RES_OK) {
      continue;
    }
    const double frequency = number_of(phase->test_frequency);
    ++frequencies[frequency];
    const auto point = [&, label = name](std::string part, float value) {
      part.append(" ").append(label).append(", ").append(significant(frequency, 4));
      part.append(" Hz: ").append(significant(number_of(value), 5)).append(" \xce\xa9");
      return ChartPoint{frequency, number_of(value), std::move(part)};
    };
    auto& [r, x] = series[name];
    r = {"R " + name, SeriesStyle::kPointsAndLine, std::move(r.points)};
    x = {"X " + name, SeriesStyle::kPointsAndLine, std::move(x.points)};
    r.points.push_back(point("R", phase->rs));
    x.points.push_back(point("X", phase->xs));
  }
  if (frequencies.size() < 2) {
    return;
  }
  for (auto& [name, parts] : series) {
    chart.series.push_back(std::move(parts.first));
    chart.series.push_back(std::move(parts.second));
  }
  section.pictures.emplace_back(std::move(chart));
}

void add_phase_chart(Section& section, const Tests& tests) {
  Chart chart{"Impedance by phase", "phase (1 first)", "impedance, %", false, false, {}};
  Series series{"Z of each reading", SeriesStyle::kBars, {}};
  for (std::size_t i = 0; i < tests.readings.size(); ++i) {
    const Reading& reading = tests.readings[i];
    series.points.push_back({static_cast<double>(i + 1), reading.data->z_percent,
                             reading.phase + ": " + fixed(reading.data->z_percent, 4) + " %"});
  }
  chart.series.push_back(std::move(series));
  section.pictures.emplace_back(std::move(chart));
}

void add_ratings(Section& section, const kvr_TestRecord& record) {
  for (const auto* const data : entries_of(record.data_impedance, record.data_count)) {
    if (data->test_type != KVR_TEST_SCI && data->test_type != KVR_TEST_FRSL) {
      section.facts.emplace_back("Kind of impedance test",
                                 "unknown, " + std::to_string(data->test_type));
    }
    if (data->setup.connection_type > kConnectionXToY) {
      continue;
    }
    const kvr_WindingSetup& high = Utils::winding_h(data->setup);
    const kvr_WindingSetup& low = Utils::winding_x(data->setup);
    const bool is_current = high.winding_type == KVR_WINDING_CT;
    section.facts.emplace_back(
        is_current ? "Rated currents of the test, A" : "Rated voltages of the test, V",
        shortest(number_of(is_current ? high.current : high.voltage)) + " / " +
            shortest(number_of(is_current ? low.current : low.voltage)));
    if (data->tests != nullptr && data->tests->tests != nullptr && data->tests->count > 0 &&
        data->tests->tests[0].phases[0].corrected != 0) {
      section.facts.emplace_back("Corrections applied",
                                 "from " + shortest(number_of(data->setup.temperature_from)) +
                                     " \xc2\xb0"
                                     "C to " +
                                     shortest(number_of(data->setup.temperature_to)) +
                                     " \xc2\xb0"
                                     "C, by the instrument");
    }
  }
}

}  // namespace

void add_impedance(Section& section, const Record& record, const Settings& settings) {
  const Tests tests = tests_of(*record.nest);
  add_ratings(section, *record.nest);
  if (tests.readings.empty()) {
    return;
  }
  section.tables.push_back(impedance_table(tests));
  if (!tests.averages.empty()) {
    section.tables.push_back(average_table(tests));
  }
  section.tables.push_back(parts_table(tests));
  const bool is_response = record.nest->test_type == KVR_TEST_FRSL;
  if (is_response) {
    add_frequency_chart(section, tests);
  } else {
    add_phase_chart(section, tests);
    for (const auto& [label, test] : tests.averages) {
      add_finding(section, "mean of the phases, test " + label, test->avg_z_percent, settings);
    }
    if (tests.averages.empty()) {
      for (const auto& [label, name, phase] : tests.readings) {
        std::string what = name;
        add_finding(section, what.append(", test ").append(label), phase->z_percent, settings);
      }
    }
  }
  for (const auto& [label, name, phase] : tests.readings) {
    std::string at = ", ";
    at.append(significant(number_of(phase->test_frequency), 4)).append(" Hz");
    std::string what = "impedance ";
    what.append(name).append(at);
    section.comparables.push_back({std::move(what), "\xce\xa9", phase->z, std::nullopt,
                                   settings.limit("impedance_percent").value, "impedance" + at,
                                   name});
  }
}

}  // namespace report
