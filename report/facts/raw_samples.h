#pragma once

#include <string>
#include <string_view>
#include <vector>

// The samples of RAW data. Their form belongs to the client library: only the one that the virtual
// instrument writes is known here, and any other text has no samples.

namespace report {

struct SampleSet {
  std::string title;  ///< what the first comment says
  double sample_rate = 0;
  std::vector<double> times;         ///< s
  std::vector<double> voltage_high;  ///< V
  std::vector<double> voltage_low;   ///< V
  std::vector<double> current_high;  ///< A
  std::vector<double> current_low;   ///< A
};

std::vector<SampleSet> samples_in(std::string_view raw_text);

}  // namespace report
