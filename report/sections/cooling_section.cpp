#include <algorithm>
#include <cmath>

#include "report/figures/fit.h"
#include "report/figures/numbers.h"
#include "report/figures/temperature.h"
#include "report/sections/sections.h"

namespace report {
namespace {

constexpr int kCurvePoints = 60;

// What is left of numbers after a fit holds rounding in its last digits, which another system
// rounds otherwise: it is shown without them.
constexpr double kRounding = 1e-10;

/// A small number beside the one that it belongs to.
double above_rounding(double value, double whole) {
  return std::abs(value) <= kRounding * std::abs(whole) ? 0 : value;
}

std::string beside(double value, double whole, int digits) {
  return significant(above_rounding(value, whole), digits);
}

/// Three readings determine a curve, but no deviation from it.
std::string error_text(double error, double value) {
  return std::isfinite(error) ? beside(error, value, 2) : std::string(kNotStated);
}

Cell error_cell(double error, double value) {
  return {error_text(error, value), std::isfinite(error) ? beside(error, value, 4) : ""};
}

Cell fitted_cell(double value) { return {significant(value, 8), significant(value, 9)}; }

Chart fit_chart(const HeatRun& run, const std::optional<CoolingFit>& fit) {
  Chart chart{"Cooling curve, " + run.winding,
              "time after shut-down, s",
              "resistance, \xce\xa9",
              false,
              false,
              {}};
  Series readings{"readings", SeriesStyle::kPoints, {}};
  for (std::size_t i = 0; i < run.times.size(); ++i) {
    readings.points.push_back(
        {run.times[i], run.resistances[i],
         shortest(run.times[i]) + " s: " + significant(run.resistances[i], 6) + " \xce\xa9"});
  }
  chart.series.push_back(std::move(readings));
  if (fit) {
    const double last = *std::max_element(run.times.begin(), run.times.end());
    Series curve{"fit, extrapolated to shut-down", SeriesStyle::kLine, {}};
    for (int i = 0; i <= kCurvePoints; ++i) {
      const double time = last * i / kCurvePoints;
      curve.points.push_back({time, fit->at(time), {}});
    }
    chart.series.push_back(std::move(curve));
    const std::string name = "at shut-down " + significant(fit->at_shut_down, 6) +
                             " \xce\xa9, standard error " +
                             error_text(fit->standard_error, fit->at_shut_down) +
                             (std::isfinite(fit->standard_error) ? " \xce\xa9" : "");
    chart.series.push_back({name, SeriesStyle::kPoints, {{0, fit->at_shut_down, name}}});
  }
  return chart;
}

Chart residual_chart(const HeatRun& run, const CoolingFit& fit) {
  Chart chart{"Residuals of the cooling curve, " + run.winding,
              "time after shut-down, s",
              "reading less fit, \xce\xa9",
              false,
              false,
              {}};
  Series series{"residuals", SeriesStyle::kPoints, {}};
  for (std::size_t i = 0; i < run.times.size(); ++i) {
    series.points.push_back({run.times[i], above_rounding(fit.fit.residuals[i], run.resistances[i]),
                             shortest(run.times[i]) +
                                 " s: " + beside(fit.fit.residuals[i], run.resistances[i], 3) +
                                 " \xce\xa9"});
  }
  chart.series.push_back(std::move(series));
  return chart;
}

Table fit_table(const HeatRun& run, const CoolingFit& fit) {
  Table table{
      "Cooling curve, " + run.winding,
      {{"time", "s"}, {"resistance", "\xce\xa9"}, {"fit", "\xce\xa9"}, {"residual", "\xce\xa9"}},
      {},
      "R(t) = final + rise exp(-t / time constant), by least squares."};
  for (std::size_t i = 0; i < run.times.size(); ++i) {
    table.rows.push_back({{shortest(run.times[i]), {}},
                          significant_cell(run.resistances[i], 7),
                          significant_cell(fit.at(run.times[i]), 7),
                          {beside(fit.fit.residuals[i], run.resistances[i], 3),
                           beside(fit.fit.residuals[i], run.resistances[i], 6)}});
  }
  return table;
}

/// The winding's temperature at shut-down, if the cold resistance is given.
void add_temperature(Section& section, Table& results, const HeatRun& run, const CoolingFit& fit,
                     const Settings& settings) {
  const auto conductor = settings.conductor();
  const auto cold = settings.number("heat_run.cold_temperature");
  if (!conductor || !cold || !run.cold_resistance) {
    section.notes.push_back(
        "Cold resistance, its temperature or the conductor is not stated: no "
        "winding temperature, " +
        run.winding + ".");
    return;
  }
  const double temperature =
      temperature_of(fit.at_shut_down, *run.cold_resistance, *cold, *conductor);
  const double per_ohm = (conductor->constant + *cold) / *run.cold_resistance;
  results.rows.push_back({text_cell("winding temperature at shut-down"),
                          number_cell(temperature, 2),
                          error_cell(per_ohm * fit.standard_error, temperature),
                          text_cell("\xc2\xb0"
                                    "C")});
  if (const auto ambient = settings.number("heat_run.ambient_temperature")) {
    results.rows.push_back({text_cell("rise above ambient"), number_cell(temperature - *ambient, 2),
                            error_cell(per_ohm * fit.standard_error, temperature), text_cell("K")});
  }
  results.note = "Temperature by " + std::string(conductor->name) +
                 ", T = " + shortest(conductor->constant) + ", from " +
                 shortest(*run.cold_resistance) + " \xce\xa9 at " + shortest(*cold) +
                 " \xc2\xb0"
                 "C.";
}

}  // namespace

void add_cooling_curve(Section& section, const HeatRun& run, const Settings& settings) {
  const auto fit = fit_cooling(run.times, run.resistances);
  section.pictures.emplace_back(fit_chart(run, fit));
  if (!fit) {
    section.notes.push_back(
        "The readings don't determine a cooling curve, so nothing is "
        "extrapolated, " +
        run.winding + ".");
    return;
  }
  Table results{"Result of the heat run, " + run.winding,
                {{"quantity", "", false}, {"value"}, {"standard error"}, {"unit", "", false}},
                {},
                {}};
  const auto add = [&](std::string_view name, double value, double error, std::string_view unit) {
    results.rows.push_back(
        {text_cell(name), fitted_cell(value), error_cell(error, value), text_cell(unit)});
  };
  add("resistance at shut-down", fit->at_shut_down, fit->standard_error, "\xce\xa9");
  add("final resistance", fit->final, fit->fit.standard_errors[0], "\xce\xa9");
  add("rise", fit->rise, fit->fit.standard_errors[1], "\xce\xa9");
  add("time constant", fit->time_constant, fit->fit.standard_errors[2], "s");
  if (std::isfinite(fit->fit.residual_deviation)) {
    results.rows.push_back({text_cell("residual standard deviation"),
                            {beside(fit->fit.residual_deviation, fit->at_shut_down, 3),
                             beside(fit->fit.residual_deviation, fit->at_shut_down, 6)},
                            {},
                            text_cell("\xce\xa9")});
  }
  add_temperature(section, results, run, *fit, settings);
  section.tables.push_back(std::move(results));
  section.tables.push_back(fit_table(run, *fit));
  section.pictures.emplace_back(residual_chart(run, *fit));
  section.comparables.push_back({"resistance at shut-down, " + run.winding, "\xce\xa9",
                                 fit->at_shut_down, std::nullopt, std::nullopt});
}

}  // namespace report
