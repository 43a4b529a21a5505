#pragma once

#include <array>
#include <map>
#include <string>
#include <string_view>

// The terminal labels of the four labelling standards: which label each phase of a vector group,
// and each terminal pair of a manual measurement, carries on the primary, the secondary and the
// tertiary side. docs/terminal-labels.md shows every row.

struct LabelTriple {
  std::string primary;
  std::string secondary;
  std::string tertiary;
};

/// The labels of one vector group. A row of one measurable phase has "-" everywhere in the others.
struct VectorLabels {
  LabelTriple phaseA;
  LabelTriple phaseB;
  LabelTriple phaseC;
};

/// Orders names character by character in lower case; of a name and its prefix, the prefix first.
struct CaseInsensitiveLess {
  using is_transparent = void;
  bool operator()(std::string_view a, std::string_view b) const;
};

struct StandardTable {
  std::array<LabelTriple, 6> manual;  ///< by Measure, MEASURE_AB first
  std::map<std::string, VectorLabels, CaseInsensitiveLess> groups;  ///< by vector group name
};

/// The table of each standard. Built at the first call, on any thread; then constant until the
/// process ends.
const StandardTable& table_h1h2();
const StandardTable& table_1u1v();
const StandardTable& table_a2b2();
const StandardTable& table_ab();
