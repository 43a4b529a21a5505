#include <cmath>

#include "report/figures/limits.h"
#include "report/figures/losses.h"
#include "report/figures/numbers.h"
#include "report/figures/ratio.h"
#include "report/figures/statistics.h"
#include "report/figures/temperature.h"
#include "report/sections/sections.h"

namespace report {
namespace {

double value_at(const std::vector<double>& values, std::size_t i, double other) {
  return i < values.size() ? values[i] : other;
}

/// Errors against a standard, with those of the standard added, and the classes they lie within.
Section comparison_with_standard(const Settings& settings) {
  Section section;
  section.title = "Comparison with a standard, values of report.toml";
  const auto percents = settings.numbers("errors.percent_of_rated");
  const auto ratio = settings.numbers("errors.ratio");
  const auto displacement = settings.numbers("errors.displacement");
  const auto of_standard = settings.numbers("errors.standard_ratio");
  const auto angle_of_standard = settings.numbers("errors.standard_displacement");
  const bool is_voltage = settings.text("nameplate.kind") == "voltage";
  const auto classes = is_voltage ? voltage_classes() : current_classes();
  Table table{"Errors",
              {{"of rated", "%"},
               {"read", "%"},
               {"read", "minutes"},
               {"standard", "%"},
               {"standard", "minutes"},
               {"error", "%"},
               {"displacement", "minutes"}},
              {},
              of_standard.empty() ? "The errors of the standard are not stated and counted as 0."
                                  : "Error: what was read, and the error of the standard."};
  std::vector<ClassReading> readings;
  for (std::size_t i = 0; i < percents.size(); ++i) {
    const ErrorPair against{value_at(ratio, i, 0), value_at(displacement, i, 0)};
    const ErrorPair standard{value_at(of_standard, i, 0), value_at(angle_of_standard, i, 0)};
    const ErrorPair sum = sum_of_errors(against, standard);
    readings.push_back({percents[i], sum});
    table.rows.push_back({{shortest(percents[i]), {}},
                          number_cell(against.ratio_error, 3),
                          number_cell(against.displacement, 1),
                          number_cell(standard.ratio_error, 3),
                          number_cell(standard.displacement, 1),
                          number_cell(sum.ratio_error, 3),
                          number_cell(sum.displacement, 1)});
  }
  section.tables.push_back(std::move(table));
  for (const AccuracyClass& accuracy : classes) {
    const auto within = is_within(accuracy, readings);
    Finding finding;
    finding.quantity = "errors at the points tested";
    finding.limit = "class " + std::string(accuracy.name);
    finding.value = !within   ? "no point within the range of the class"
                    : *within ? "within the limits of class " + std::string(accuracy.name) +
                                    " at the points tested"
                              : "outside the limits of class " + std::string(accuracy.name);
    finding.uncertainty = kNotStated;
    // Only the class of the nameplate has to be met.
    const bool is_stated = settings.text("nameplate.accuracy_class") == accuracy.name;
    finding.verdict = !within || !is_stated || settings.rule().has_guard_band ? Verdict::kNone
                      : *within                                               ? Verdict::kPass
                                                                              : Verdict::kFail;
    finding.source =
        is_voltage ? "IEC 61869-3" : "IEC 61869-2, on a straight line between its points";
    section.findings.push_back(finding);
  }
  return section;
}

/// The exciting current is given as a whole or by its parts, and the loss current by its loss too.
CurrentTransformer stated_transformer(const Settings& settings) {
  const auto number = [&](std::string_view key, double other = std::nan("")) {
    return settings.number("current_transformer." + std::string(key)).value_or(other);
  };
  const double nominal = number("nominal_ratio");
  CurrentTransformer ct = current_transformer(nominal, number("secondary_current", 5),
                                              number("exciting_current"), number("power_factor"));
  ct.turns_ratio = number("turns_ratio", nominal);
  ct.burden_angle = std::atan2(number("reactance", 0), number("resistance", 1));
  const double voltage =
      ct.secondary_current * std::hypot(number("resistance"), number("reactance", 0));
  const double of_loss = number("core_loss") / (voltage / ct.turns_ratio);
  ct.magnetizing = number("magnetizing_current", ct.magnetizing);
  ct.loss = number("loss_current", std::isnan(of_loss) ? ct.loss : of_loss);
  return ct;
}

Section current_transformer_section(const Settings& settings) {
  Section section;
  section.title = "Current transformer from its exciting current, values of report.toml";
  const CurrentTransformer ct = stated_transformer(settings);
  const double nominal = ct.nominal_ratio;
  Table table{"Errors",
              {{"method", "", false}, {"ratio"}, {"error", "%"}, {"displacement", "minutes"}},
              {},
              "Turns ratio " + shortest(ct.turns_ratio) + ", nominal ratio " + shortest(nominal) +
                  ", magnetizing current " + significant(ct.magnetizing, 5) + " A, loss current " +
                  significant(ct.loss, 5) + " A."};
  for (const auto& [name, errors] : {std::pair{"formulas of the first order", current_errors(ct)},
                                     std::pair{"phasors", exact_current_errors(ct)}}) {
    table.rows.push_back({text_cell(name), number_cell(errors.ratio, 4),
                          number_cell(errors.ratio_error, 4), number_cell(errors.displacement, 3)});
  }
  section.tables.push_back(std::move(table));
  return section;
}

Section core_loss_section(const Settings& settings) {
  Section section;
  section.title = "Core losses in their parts, values of report.toml";
  const auto frequencies = settings.numbers("core_losses.frequencies");
  const auto losses = settings.numbers("core_losses.losses");
  const auto flux = settings.numbers("core_losses.flux");
  std::vector<CoreLossReading> readings;
  for (std::size_t i = 0; i < frequencies.size(); ++i) {
    readings.push_back({frequencies[i], value_at(losses, i, std::nan("")), value_at(flux, i, 1)});
  }
  const auto parts = separate_core_losses(
      readings, settings.number("core_losses.exponent").value_or(kSteinmetzExponent));
  if (!parts) {
    section.notes.emplace_back("Two frequencies are needed to separate the losses.");
    return section;
  }
  Table table{"Losses at equal flux",
              {{"frequency", "Hz"},
               {"measured", "W"},
               {"hysteresis", "W"},
               {"eddy currents", "W"},
               {"together", "W"},
               {"share of hysteresis", "%"}},
              {},
              "P = " + significant(parts->hysteresis_per_hertz, 6) + " W/Hz f + " +
                  significant(parts->eddy_per_hertz_squared, 6) + " W/Hz\xc2\xb2 f\xc2\xb2."};
  for (const CoreLossReading& reading : readings) {
    const double f = reading.frequency;
    table.rows.push_back({{shortest(f), {}},
                          number_cell(reading.loss, 3),
                          number_cell(parts->hysteresis(f), 3),
                          number_cell(parts->eddy(f), 3),
                          number_cell(parts->total(f), 3),
                          number_cell(parts->hysteresis(f) / parts->total(f) * 100, 2)});
  }
  section.tables.push_back(std::move(table));
  return section;
}

Section load_loss_section(const Settings& settings) {
  Section section;
  section.title = "Load losses in their parts, values of report.toml";
  const double measured = settings.number("load_losses.measured").value_or(0);
  const auto i2r = settings.number("load_losses.i2r");
  if (!i2r) {
    section.notes.emplace_back("The losses by resistance are not stated: no parts.");
    return section;
  }
  Table table{"Load losses",
              {{"temperature",
                "\xc2\xb0"
                "C"},
               {"by resistance", "W"},
               {"stray", "W"},
               {"together", "W"}},
              {},
              {}};
  const auto add = [&table](const std::optional<double>& temperature, const LoadLosses& losses) {
    table.rows.push_back({{temperature ? shortest(*temperature) : std::string(kNotStated), {}},
                          number_cell(losses.i2r, 2),
                          number_cell(losses.stray, 2),
                          number_cell(losses.total(), 2)});
  };
  const LoadLosses losses{*i2r, measured - *i2r};
  const auto from = settings.number("load_losses.temperature");
  const auto to = settings.number("conditions.correct_to");
  const auto conductor = settings.conductor();
  add(from, losses);
  if (from && to && conductor) {
    add(to, load_losses_at(losses, *conductor, *from, *to));
    table.note = "Loss by resistance grows with (T + t), stray loss falls with it; " +
                 std::string(conductor->name) + ", T = " + shortest(conductor->constant) + ".";
  } else {
    table.note =
        "Not corrected: their temperature, conditions.correct_to or the conductor is not stated.";
  }
  section.tables.push_back(std::move(table));
  return section;
}

Section reading_section(const Settings& settings) {
  Section section;
  const std::string quantity = stated(settings.text("readings.quantity"));
  section.title = "Repeated readings of report.toml: " + quantity;
  const auto values = settings.numbers("readings.values");
  const auto summary = summarize(values);
  if (!summary) {
    return section;
  }
  Table table{"Statistics", {{"quantity", "", false}, {"value"}, {"unit", "", false}}, {}, {}};
  const std::string unit = settings.text("readings.unit").value_or("");
  const auto add = [&](std::string_view name, double value) {
    table.rows.push_back(
        {text_cell(name), {significant(value, 8), shortest(value)}, text_cell(unit)});
  };
  table.rows.push_back({text_cell("n"), count_cell(static_cast<double>(summary->count)), {}});
  add("smallest", summary->smallest);
  add("largest", summary->largest);
  if (const auto& spread = summary->spread) {
    add("mean", spread->mean);
    add("s", spread->deviation);
    add("s / \xe2\x88\x9an", spread->mean_deviation);
    add("2.8 s", spread->repeatability);
    if (const auto type_b = settings.number("readings.uncertainty")) {
      add("U, k = " + shortest(settings.coverage_factor()),
          expanded_uncertainty(settings.coverage_factor(), spread->mean_deviation, *type_b));
    } else {
      section.notes.emplace_back("Uncertainty not stated.");
    }
  }
  section.tables.push_back(std::move(table));
  return section;
}

}  // namespace

std::vector<Section> entered_sections(const Settings& settings) {
  std::vector<Section> sections;
  if (!settings.numbers("errors.percent_of_rated").empty()) {
    sections.push_back(comparison_with_standard(settings));
  }
  if (settings.number("current_transformer.nominal_ratio")) {
    sections.push_back(current_transformer_section(settings));
  }
  if (!settings.numbers("core_losses.frequencies").empty()) {
    sections.push_back(core_loss_section(settings));
  }
  if (settings.number("load_losses.measured")) {
    sections.push_back(load_loss_section(settings));
  }
  if (const auto resistances = settings.numbers("heat_run.resistances"); !resistances.empty()) {
    Section section;
    section.title = "Heat run, values of report.toml";
    add_cooling_curve(section,
                      {"readings of report.toml", settings.numbers("heat_run.times"), resistances,
                       settings.number("heat_run.cold_resistance")},
                      settings);
    sections.push_back(std::move(section));
  }
  if (!settings.numbers("readings.values").empty()) {
    sections.push_back(reading_section(settings));
  }
  return sections;
}

}  // namespace report
