#include "report/facts/raw_samples.h"

#include <cmath>
#include <cstddef>

#include "report/facts/text_lines.h"

namespace report {
namespace {

constexpr std::string_view kTitle = "# RAW samples of ";
constexpr std::string_view kHeading = "Time s;Voltage H V;Voltage X V;Current H A;Current X A";
constexpr std::size_t kColumns = 5;

void take_row(SampleSet& set, std::string_view line) {
  const auto values = split(line, ';');
  if (values.size() != kColumns) {
    return;
  }
  std::vector<double>* const columns[kColumns] = {&set.times, &set.voltage_high, &set.voltage_low,
                                                  &set.current_high, &set.current_low};
  for (std::size_t i = 0; i < kColumns; ++i) {
    columns[i]->push_back(number_in(values[i]));
  }
}

}  // namespace

std::vector<SampleSet> samples_in(std::string_view raw_text) {
  std::vector<SampleSet> sets;
  bool is_in_rows = false;
  for (const std::string_view line : lines_of(raw_text)) {
    if (line.starts_with(kTitle)) {
      sets.push_back({std::string(line.substr(kTitle.size())), 0, {}, {}, {}, {}, {}});
      is_in_rows = false;
    } else if (!sets.empty() && line.starts_with("# ")) {
      sets.back().sample_rate = number_in(line.substr(2, line.find(' ', 2) - 2));
    } else if (line == kHeading) {
      is_in_rows = !sets.empty();
    } else if (is_in_rows) {
      take_row(sets.back(), line);
    }
  }
  std::erase_if(sets, [](const SampleSet& set) {
    return set.times.empty() || !(set.sample_rate > 0) || !std::isfinite(set.sample_rate);
  });
  return sets;
}

}  // namespace report
