#pragma once

#include <string>
#include <vector>

#include "report/sections/ratio_readings.h"
#include "report/sections/section.h"

// What ratio and excitation tests show: verdicts on errors and exciting currents, and pictures.

namespace report {

/// The good readings of one phase at one voltage.
struct RepeatedErrors {
  std::string phase;
  double voltage;
  std::vector<double> errors;
  std::vector<double> ratios;
  std::vector<double> currents;
};
std::vector<RepeatedErrors> repeated_errors(const std::vector<RatioReading>& readings);

/// The limit of a ratio error in percent, and where it comes from.
Settings::StatedLimit ratio_limit(const Settings& settings);

void add_ratio_findings(Section& section, const Record& record,
                        const std::vector<RatioReading>& readings, const Settings& settings);
std::size_t different_voltages(const std::vector<RatioReading>& readings);

/// U(I) with its knees, where three voltages were tested.
void add_excitation_curve(Section& section, const std::vector<RatioReading>& readings);

void add_ratio_pictures(Section& section, const Record& record,
                        const std::vector<RatioReading>& readings, const Settings& settings);

}  // namespace report
