#include <algorithm>
#include <cmath>
#include <set>

#include "report/figures/knee.h"
#include "report/figures/numbers.h"
#include "report/sections/ratio_findings.h"
#include "utils/utils.h"

namespace report {
namespace {

double voltage_of(const RatioReading& reading) {
  return static_cast<double>(reading.data->voltage_rms);
}

double current_of(const RatioReading& reading) {
  return static_cast<double>(reading.data->current_rms);
}

std::string title_of(const RatioReading& reading, const std::string& value) {
  return reading.phase + ", test " + reading.test + ": " + significant(voltage_of(reading), 5) +
         " V, " + value;
}

/// A line at a constant value, over the voltages of the readings.
Series limit_line(const std::string& name, double value,
                  const std::vector<RatioReading>& readings) {
  Series line{name, SeriesStyle::kLimit, {}};
  double lowest = 0;
  double highest = 0;
  bool is_first = true;
  for (const RatioReading& reading : readings) {
    const double voltage = voltage_of(reading);
    if (reading.is_good() && std::isfinite(voltage)) {
      lowest = is_first ? voltage : std::min(lowest, voltage);
      highest = is_first ? voltage : std::max(highest, voltage);
      is_first = false;
    }
  }
  if (highest - lowest < 0.01 * std::abs(highest)) {
    lowest *= 0.97;
    highest *= 1.03;
  }
  line.points = {{lowest, value, {}}, {highest, value, {}}};
  return line;
}

template <typename Value>
Chart chart_against_voltage(const std::string& title, const std::string& label,
                            const std::vector<RatioReading>& readings, Value value) {
  Chart chart{title, "voltage, V", label, false, false, {}};
  for (const std::string& phase : phases_in(readings)) {
    Series series{phase, SeriesStyle::kPoints, {}};
    for (const RatioReading& reading : readings) {
      if (reading.phase == phase && reading.is_good()) {
        const double y = value(reading);
        series.points.push_back(
            {voltage_of(reading), y, title_of(reading, fixed(y, 3) + " " + label)});
      }
    }
    chart.series.push_back(std::move(series));
  }
  return chart;
}

bool has_errors(const std::vector<RatioReading>& readings) {
  return std::any_of(readings.begin(), readings.end(), [](const RatioReading& reading) {
    return reading.is_good() && (reading.reference_ratio != 0 || reading.data->tnr_error != 0);
  });
}

void add_error_chart(Section& section, const std::vector<RatioReading>& readings,
                     const Settings& settings) {
  Chart chart =
      chart_against_voltage("Ratio error against voltage", "ratio error, %", readings,
                            [](const RatioReading& reading) { return reading.data->tnr_error; });
  const double limit = ratio_limit(settings).value;
  chart.series.push_back(limit_line("limit +" + shortest(limit) + " %", limit, readings));
  chart.series.push_back(limit_line("limit -" + shortest(limit) + " %", -limit, readings));
  section.pictures.emplace_back(std::move(chart));
}

std::vector<ExcitationPoint> points_of(const std::vector<RatioReading>& readings,
                                       const std::string& phase) {
  std::vector<ExcitationPoint> points;
  for (const RatioReading& reading : readings) {
    if (reading.phase == phase && reading.is_good()) {
      points.push_back({voltage_of(reading), current_of(reading)});
    }
  }
  return points;
}

/// The knees of one phase as a table's rows and as points of the chart.
void add_knees(Chart& chart, Table& table, const std::string& phase, const ExcitationCurve& curve) {
  for (const KneeRule& rule : kKneeRules) {
    const auto knee = knee_voltage(curve, rule);
    std::vector<Cell> row{text_cell(phase), text_cell(rule.name), text_cell(rule.text)};
    if (knee) {
      const double current = std::exp(curve.ln_current(std::log(*knee)));
      row.push_back(significant_cell(*knee, 5));
      row.push_back(significant_cell(current, 4));
      const std::string name = "knee " + phase + ", " + std::string(rule.name) + ": " +
                               significant(*knee, 5) + " V, " + significant(current, 4) + " A";
      chart.series.push_back({name, SeriesStyle::kPoints, {{current, *knee, name}}});
    } else {
      row.push_back(text_cell("none in this range"));
      row.push_back({});
    }
    table.rows.push_back(std::move(row));
  }
}

/// The first three-phase result as phasors, beside those of the nameplate's vector group.
void add_phasors(Section& section, const Record& record) {
  const auto results = three_phase_results(*record.nest);
  if (results.empty() || results.front().data->tested_phase != kAllPhases) {
    return;
  }
  const kvr_TestData_Ratio_3ph& data = *results.front().data;
  PhasorPicture picture{"Phasors, test " + results.front().test, {}, {}};
  const double reference = degrees_of(data.phases[0].phase_high);
  const auto turned = [reference](double degrees) { return 90 + degrees - reference; };
  for (std::size_t i = 0; i < 3; ++i) {
    const std::string letter(1, static_cast<char>('A' + i));
    const kvr_TestData_Ratio_Phase& phase = data.phases[i];
    const double degrees = degrees_of(phase.phase_high);
    picture.phasors.push_back({letter + " high " + fixed(degrees, 2) + "\xc2\xb0",
                               static_cast<double>(phase.voltage_h), turned(degrees), false});
  }
  for (std::size_t i = 0; i < 3; ++i) {
    const std::string letter(1, static_cast<char>('a' + i));
    const kvr_TestData_Ratio_Phase& phase = data.phases[i];
    const double degrees = degrees_of(phase.phase_low);
    picture.phasors.push_back({letter + " low " + fixed(degrees, 2) + "\xc2\xb0",
                               static_cast<double>(phase.voltage_x), turned(degrees), true});
  }
  const kvr_TestSetup& setup = record.nest->setup;
  if (record.has_setup() && setup.connection_type <= kConnectionXToY) {
    const std::int32_t clock = Utils::connection(setup).clock;
    if (clock >= 0 && clock < 12) {
      picture.phasors.push_back({"a of the nameplate, clock " + std::to_string(clock),
                                 static_cast<double>(data.phases[0].voltage_x), 90 - 30.0 * clock,
                                 true});
    }
  }
  section.pictures.emplace_back(std::move(picture));
}

}  // namespace

void add_excitation_curve(Section& section, const std::vector<RatioReading>& readings) {
  Chart chart{"Excitation", "current r.m.s., A", "voltage r.m.s., V", true, true, {}};
  Table knees{"Knee of the excitation curve",
              {{"phase", "", false},
               {"rule", "", false},
               {"meaning", "", false},
               {"voltage", "V"},
               {"current", "A"}},
              {},
              "Between the measured points the curve is interpolated, log over log."};
  bool has_curve = false;
  std::vector<std::pair<std::string, ExcitationCurve>> curves;
  for (const std::string& phase : phases_in(readings)) {
    Series series{phase, SeriesStyle::kPointsAndLine, {}};
    for (const RatioReading& reading : readings) {
      if (reading.phase == phase && reading.is_good()) {
        series.points.push_back({current_of(reading), voltage_of(reading),
                                 title_of(reading, significant(current_of(reading), 5) + " A")});
      }
    }
    std::stable_sort(series.points.begin(), series.points.end(),
                     [](const ChartPoint& a, const ChartPoint& b) { return a.y < b.y; });
    chart.series.push_back(std::move(series));
    if (auto curve = curve_through(points_of(readings, phase))) {
      curves.emplace_back(phase, std::move(*curve));
    }
  }
  for (const auto& [phase, curve] : curves) {
    add_knees(chart, knees, phase, curve);
    has_curve = true;
  }
  section.pictures.emplace_back(std::move(chart));
  if (has_curve) {
    section.tables.push_back(std::move(knees));
  } else {
    section.notes.emplace_back(
        "An excitation curve needs a series of voltages; fewer than three were tested.");
  }
}

std::size_t different_voltages(const std::vector<RatioReading>& readings) {
  std::set<double> voltages;
  for (const RatioReading& reading : readings) {
    voltages.insert(reading.test_voltage);
  }
  return voltages.size();
}

void add_ratio_pictures(Section& section, const Record& record,
                        const std::vector<RatioReading>& readings, const Settings& settings) {
  const bool is_excitation = record.nest->test_type == KVR_TEST_EXCITATION;
  if (!is_excitation) {
    if (has_errors(readings)) {
      add_error_chart(section, readings, settings);
    } else {
      section.notes.emplace_back("No ratio was entered to compare with: errors not stated.");
    }
    section.pictures.emplace_back(chart_against_voltage(
        "Phase displacement against voltage", "displacement, minutes", readings,
        [](const RatioReading& reading) {
          return degrees_of(reading.data->phase_deviation_from_user_phasing) * 60;
        }));
  }
  if (is_excitation || different_voltages(readings) >= 3) {
    add_excitation_curve(section, readings);
  }
  add_phasors(section, record);
}

}  // namespace report
