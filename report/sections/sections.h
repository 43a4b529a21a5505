#pragma once

#include <vector>

#include "report/sections/section.h"

// The sections of a report: one for each record, by its kind, and one for values that report.toml
// states.

namespace report {

/// REQUIRES: `record` has a nest.
Section section_of(const Record& record, const Settings& settings);

/// Evaluations of values in report.toml; one section for each table that has them.
std::vector<Section> entered_sections(const Settings& settings);

/// The values of two runs beside each other, with overlaid pictures where both have one of the same
/// title.
std::vector<Section> comparison_sections(const std::vector<Section>& first,
                                         const std::vector<Section>& second);

/// The phases of one unit beside each other, whether one record or one of each phase holds them: a
/// section for each kind of test in which a quantity stands for several phases.
std::vector<Section> phase_sections(const std::vector<Section>& sections, const Settings& settings);

/// Excitation curves of a unit whose points lie in several records: an excitation test has one.
std::vector<Section> excitation_sections(const std::vector<Record>& records);

// One builder for each kind of test; each adds to a section that has the record's head.

void add_ratio(Section& section, const Record& record, const Settings& settings);
void add_resistance(Section& section, const Record& record, const Settings& settings);
void add_heat_run(Section& section, const Record& record, const Settings& settings);
void add_impedance(Section& section, const Record& record, const Settings& settings);
void add_efficiency(Section& section, const Record& record, const Settings& settings);
void add_magnetic_balance(Section& section, const Record& record, const Settings& settings);
void add_demagnetisation(Section& section, const Record& record);
void add_dynamic_resistance(Section& section, const Record& record);
void add_go_no_go(Section& section, const Record& record);
void add_samples(Section& section, const Record& record);

/// The cooling curve of one winding, extrapolated to shut-down.
struct HeatRun {
  std::string winding;
  std::vector<double> times;
  std::vector<double> resistances;
  std::optional<double> cold_resistance;
};
void add_cooling_curve(Section& section, const HeatRun& run, const Settings& settings);

/// The entries of an array of results; null ones are left out.
template <typename Data>
std::vector<const Data*> entries_of(Data* const* data, std::uint32_t count) {
  std::vector<const Data*> entries;
  for (std::uint32_t i = 0; data != nullptr && i < count; ++i) {
    if (data[i] != nullptr) {
      entries.push_back(data[i]);
    }
  }
  return entries;
}

}  // namespace report
