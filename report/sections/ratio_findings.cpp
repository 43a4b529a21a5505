#include "report/sections/ratio_findings.h"

#include <algorithm>
#include <cmath>
#include <map>

#include "report/figures/limits.h"
#include "report/figures/numbers.h"
#include "report/figures/ratio.h"
#include "report/figures/statistics.h"

namespace report {
namespace {

double displacement_of(const RatioReading& reading) {
  return degrees_of(reading.data->phase_deviation_from_user_phasing) * 60;
}

/// Readings with an error against something: a ratio that was entered.
bool has_error(const RatioReading& reading) {
  return reading.is_good() && (reading.reference_ratio != 0 || reading.data->tnr_error != 0) &&
         std::isfinite(reading.data->tnr_error);
}

const RatioReading* worst_of(const std::vector<RatioReading>& readings, const std::string& phase) {
  const RatioReading* worst = nullptr;
  for (const RatioReading& reading : readings) {
    if (reading.phase == phase && has_error(reading) &&
        (worst == nullptr ||
         std::abs(reading.data->tnr_error) > std::abs(worst->data->tnr_error))) {
      worst = &reading;
    }
  }
  return worst;
}

/// The largest of the standard uncertainties that repeated readings show.
double readings_uncertainty(const std::vector<RepeatedErrors>& groups, const std::string& phase) {
  double largest = 0;
  for (const RepeatedErrors& group : groups) {
    const auto summary = summarize(group.errors);
    if (group.phase == phase && summary && summary->spread) {
      largest = std::max(largest, summary->spread->mean_deviation);
    }
  }
  return largest;
}

void add_error_findings(Section& section, const std::vector<RatioReading>& readings,
                        const Settings& settings) {
  const auto [limit, source] = ratio_limit(settings);
  const auto groups = repeated_errors(readings);
  for (const std::string& phase : phases_in(readings)) {
    if (const RatioReading* const worst = worst_of(readings, phase)) {
      section.findings.push_back(judge(
          {"ratio error " + phase + ", largest, at " + significant(worst->test_voltage, 4) + " V",
           worst->data->tnr_error, "%", 3, Limits::symmetric(limit),
           "\xc2\xb1" + shortest(limit) + " %", source, readings_uncertainty(groups, phase),
           settings.number("uncertainty.ratio")},
          settings));
      section.findings.back().deviation = fixed(worst->data->tnr_error, 3) + " %";
    }
  }
}

/// "Within the limits of class 0.5 at the points tested": no more is tested here.
void add_class_finding(Section& section, const std::vector<RatioReading>& readings,
                       const Settings& settings, bool is_current) {
  const auto name = settings.text("nameplate.accuracy_class");
  const auto rated = settings.number("nameplate.rated_voltage");
  const auto classes = is_current ? current_classes() : voltage_classes();
  const AccuracyClass* const accuracy = name ? find_class(classes, *name) : nullptr;
  if (accuracy == nullptr || !rated) {
    section.notes.emplace_back(
        "Class or rated voltage not stated: no comparison with an accuracy class.");
    return;
  }
  std::vector<ClassReading> points;
  for (const RatioReading& reading : readings) {
    if (has_error(reading)) {
      points.push_back({reading.test_voltage / *rated * 100,
                        {reading.data->tnr_error, displacement_of(reading)}});
    }
  }
  const auto within = is_within(*accuracy, points);
  Finding finding;
  finding.quantity = "ratio error and displacement at the points tested";
  finding.value = !within   ? "no point within the range of the class"
                  : *within ? "within the limits of class " + *name + " at the points tested"
                            : "outside the limits of class " + *name;
  finding.limit = "class " + *name;
  finding.uncertainty = kNotStated;
  const bool has_band = settings.rule().has_guard_band;
  finding.verdict = !within || has_band ? Verdict::kNone
                    : *within           ? Verdict::kPass
                                        : Verdict::kFail;
  finding.source = is_current ? "IEC 61869-2, on a straight line between its points"
                              : "IEC 61869-3, 80 to 120 % of rated voltage";
  section.findings.push_back(finding);
  if (is_current) {
    section.notes.emplace_back(
        "Tested by voltage, on open circuit, without burden and rated current: indicative, no "
        "proof "
        "of the class.");
  }
}

/// Exciting currents of a core with three limbs: the outer phases alike, the middle one lower.
void add_excitation_findings(Section& section, const std::vector<RatioReading>& readings,
                             const Settings& settings) {
  std::map<std::string, std::array<double, 3>> currents;
  for (const RatioReading& reading : readings) {
    if (reading.is_three_phase && reading.is_good()) {
      currents[reading.test][reading.index] = static_cast<double>(reading.data->current_rms);
    }
  }
  const auto [limit, source] = settings.limit("excitation_percent");
  for (const auto& [test, phases] : currents) {
    const auto [a, b, c] = phases;
    if (!(a > 0 && b > 0 && c > 0)) {
      continue;
    }
    section.findings.push_back(
        judge({"exciting current, outer phases against each other, test " + test,
               (a - c) / ((a + c) / 2) * 100, "%", 2, Limits::symmetric(limit),
               "\xc2\xb1" + shortest(limit) + " %", source},
              settings));
    Finding pattern;
    pattern.quantity = "exciting current of the middle phase, test " + test;
    pattern.value = fixed(b / ((a + c) / 2) * 100, 1) + " % of the outer ones";
    pattern.limit = "lower";
    pattern.uncertainty = kNotStated;
    pattern.verdict = b < std::min(a, c) ? Verdict::kPass : Verdict::kFail;
    pattern.source = "field practice, comparative; core with three limbs";
    section.findings.push_back(pattern);
  }
}

void add_comparables(Section& section, const std::vector<RatioReading>& readings,
                     const Settings& settings, bool is_excitation) {
  for (const RepeatedErrors& group : repeated_errors(readings)) {
    const std::string at = " at " + significant(group.voltage, 4) + " V";
    const auto add = [&](const std::string& quantity, const std::string& unit,
                         const std::vector<double>& values, double limit) {
      const auto summary = summarize(values);
      if (summary) {
        section.comparables.push_back(
            {quantity + " " + group.phase + at, unit, mean_of(values),
             summary->spread ? std::optional(summary->spread->deviation) : std::nullopt, limit,
             quantity + at, group.phase});
      }
    };
    if (!is_excitation) {
      add("turns ratio", "", group.ratios, settings.limit("ratio_percent").value);
    }
    add("current", "A", group.currents, settings.limit("excitation_percent").value);
  }
}

}  // namespace

std::vector<RepeatedErrors> repeated_errors(const std::vector<RatioReading>& readings) {
  std::vector<RepeatedErrors> groups;
  std::map<std::pair<std::string, double>, std::size_t> index;
  for (const RatioReading& reading : readings) {
    if (!reading.is_good() || std::isnan(reading.test_voltage)) {
      continue;
    }
    const auto [at, is_new] =
        index.try_emplace({reading.phase, reading.test_voltage}, groups.size());
    if (is_new) {
      groups.push_back({reading.phase, reading.test_voltage, {}, {}, {}});
    }
    RepeatedErrors& group = groups[at->second];
    group.errors.push_back(reading.data->tnr_error);
    group.ratios.push_back(reading.data->tnr);
    group.currents.push_back(static_cast<double>(reading.data->current_rms));
  }
  return groups;
}

Settings::StatedLimit ratio_limit(const Settings& settings) {
  const Settings::StatedLimit stated = settings.limit("ratio_percent");
  const auto impedance = settings.number("nameplate.impedance");
  if (settings.number("limits.ratio_percent")) {
    return stated;
  }
  if (!impedance) {
    return {stated.value, stated.source + "; impedance not stated, so 0.5 %"};
  }
  return {ratio_limit_percent(*impedance), stated.source};
}

void add_ratio_findings(Section& section, const Record& record,
                        const std::vector<RatioReading>& readings, const Settings& settings) {
  const kvr_TestType type = record.nest->test_type;
  const auto kind = settings.text("nameplate.kind");
  const bool is_current = type == KVR_TEST_RATIO_CT || kind == "current";
  const bool is_voltage = type == KVR_TEST_RATIO_PT_VT || kind == "voltage";
  const bool is_excitation = type == KVR_TEST_EXCITATION;
  if (is_current || is_voltage) {
    add_class_finding(section, readings, settings, is_current);
  } else if (is_excitation) {
    add_excitation_findings(section, readings, settings);
  } else {
    add_error_findings(section, readings, settings);
  }
  add_comparables(section, readings, settings, is_excitation);
}

}  // namespace report
