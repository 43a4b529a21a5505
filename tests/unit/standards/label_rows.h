#pragma once

#include <array>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "api/standard_type.h"
#include "standards/standard_tables.h"

// The expected content of the label tables, from files in this folder that hold every label of
// every row.

constexpr kvr_StandardType kStandards[] = {KVR_STANDARD_H1H2, KVR_STANDARD_1U1V, KVR_STANDARD_A2B2,
                                           KVR_STANDARD_AB};

/// The name of each standard in the files.
inline const char* standard_name(kvr_StandardType standard) {
  constexpr std::array kNames = {"H1H2", "1U1V", "A2B2", "AB"};
  return kNames.at(static_cast<std::size_t>(standard));
}

/// A line of comma-separated values, its first two taken as its key.
struct ExpectedLine {
  std::string standard;
  std::string key;
  std::string labels;  ///< as in the file, separated by commas
};

/// The lines of a file in this folder, without its heading.
inline std::vector<ExpectedLine> expected_lines(const std::string& file) {
  std::ifstream input(KVR_TEST_DATA_DIR "/unit/standards/" + file);
  std::vector<ExpectedLine> lines;
  std::string text;
  std::getline(input, text);
  while (std::getline(input, text)) {
    std::istringstream values(text);
    ExpectedLine line;
    std::getline(values, line.standard, ',');
    std::getline(values, line.key, ',');
    std::getline(values, line.labels);
    lines.push_back(line);
  }
  return lines;
}

inline std::string labels_text(const LabelTriple& labels) {
  return labels.primary + ',' + labels.secondary + ',' + labels.tertiary;
}

inline std::string labels_text(const VectorLabels& labels) {
  return labels_text(labels.phaseA) + ',' + labels_text(labels.phaseB) + ',' +
         labels_text(labels.phaseC);
}
