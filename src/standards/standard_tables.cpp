#include "standards/standard_tables.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <span>

namespace {

constexpr const char* kNoLabel = "-";

/// Rows of one measurable phase. Row names are separated by blanks, here and below.
struct SinglePhaseRows {
  const char* names;
  LabelTriple labels;
};

/// The primary label of phase A for rows that begin with a high-side connection.
struct PrimaryRule {
  const char* high_side;
  const char* primary;
};

/// Rows with the same secondary label of phase A.
struct Family {
  const char* secondary;
  const char* names;
};

/// A row whose primary label is not that of its high-side connection.
struct ExceptionalRow {
  const char* name;
  const char* primary;
  const char* secondary;
};

/// What a table is expanded from. A phase's labels are those of the phase before with each mark
/// moved on in its cycle of three; a tertiary label is the secondary with one mark exchanged.
struct Chart {
  std::array<LabelTriple, 6> manual;
  const char* cycles;  ///< marks in groups of three, such as "ABCabc"
  char secondary_mark;
  char tertiary_mark;
  std::span<const SinglePhaseRows> single_phase;
  std::span<const PrimaryRule> primaries;
  std::span<const Family> families;
  std::span<const ExceptionalRow> exceptions;
};

// --- H1 H2 H3, X1 X2 X3, Y1 Y2 Y3 ----------------------------------------------------------------

// The manual labels run against the terminal numbers, those of single-phase rows with them.
Chart chart_h1h2() {
  static const SinglePhaseRows kSinglePhase[] = {
      {"1Ph0", {"H1-H2", "X1-X2", "Y1-Y2"}},
      {"1Ph6 VREG", {"H1-H2", "X2-X1", "Y2-Y1"}},
  };
  static constexpr PrimaryRule kPrimaries[] = {
      {"D", "H1-H3"}, {"Y", "H1-H3"}, {"Z", "H1-H3"}, {"YN", "H1-H0"}, {"ZN", "H1-H0"},
  };
  static constexpr Family kFamilies[] = {
      {"X1-X3", "Dd0 Dy1 Dz0 Yd11 Yy0 Yz11 YNd11 Zy11 ZNy11"},
      {"X3-X1", "Dd6 Dy7 Dz6 Yd5 Yy6 Yz5 YNd5 Zy5 ZNy5"},
      {"X1-X2", "Dy3 Yd1 Yz1 YNd1 YNy0"},
      {"X2-X1", "Dy9 Yd7 Yz7 YNd7"},
      {"X3-X2", "Dy5 YNd3"},
      {"X2-X3", "Dy11 YNd9"},
      {"X1-X0", "Dyn1 Yyn0 Yzn1 YNyn0 YNzn1 Zyn1"},
      {"X3-X0", "Dyn5 Yyn6 Yzn5"},
      {"X2-X0", "Dyn9 YNyn8"},
      {"X0-X1", "Dyn7 Yzn7 YNyn6 YNzn7 YNz7"},
      {"X0-X2", "Dyn3 YNyn2"},
      {"X0-X3", "Dyn11 Yzn11 YNzn11"},
  };
  static constexpr ExceptionalRow kExceptions[] = {
      {"3P Auto", "H1-H0", "X1-X0"},
      {"Yd3", "H1-H2", "X3-X2"},
      {"Yd9", "H1-H2", "X2-X3"},
      {"YNy6", "H2-H0", "X1-X2"},
  };
  return {{{{"H2-H1", "X2-X1", "Y2-Y1"},
            {"H3-H2", "X3-X2", "Y3-Y2"},
            {"H1-H3", "X1-X3", "Y1-Y3"},
            {"H1-H0", "X1-X0", "Y1-Y0"},
            {"H2-H0", "X2-X0", "Y2-Y0"},
            {"H3-H0", "X3-X0", "Y3-Y0"}}},
          "123",
          'X',
          'Y',
          kSinglePhase,
          kPrimaries,
          kFamilies,
          kExceptions};
}

// --- 1U 1V 1W, 2U 2V 2W, 3U 3V 3W ----------------------------------------------------------------

Chart chart_1u1v() {
  static const SinglePhaseRows kSinglePhase[] = {
      {"1Ph0 CT0", {"1U-1V", "2U-2V", "3U-3V"}},
      {"1Ph6", {"1U-1V", "2V-2U", "3V-3U"}},
      // The one row whose tertiary label is not the image of the secondary.
      {"PT0", {"1U-1V", "2U-2V", "3V-3U"}},
  };
  // The neutral of ZN has no winding digit, unlike that of YN.
  static constexpr PrimaryRule kPrimaries[] = {
      {"D", "1U-1V"}, {"Y", "1U-1V"}, {"Z", "1U-1V"}, {"YN", "1U-1N"}, {"ZN", "1U-N"},
  };
  static constexpr Family kFamilies[] = {
      {"2U-2V", "Dd0 Dy11 Dz0 Yd1 Yy0 Yz1 YNd1 YNy0 Zd0 Zy1 ZNd0 ZNy1"},
      {"2V-2U", "Ya0 Dd6 Dy5 Dz6 Yd7 Yy6 Yz7 YNd7 YNy6 Zd6 ZNd6"},
      {"2U-2W", "Dd10 Dz10 Yd11 Yz11 YNd11 Zy11 ZNy11 ZNyn11"},
      {"2W-2U", "Dd4 Dz4 Yd5 Yz5 YNd5"},
      {"2V-2W", "Dd8 Dy7 Dz8"},
      {"2W-2V", "Dd2 Dy1 Dz2"},
      {"2U-2N", "YNa0 Dyn11 Dzn0 Yyn0 Yzn11 YNyn0"},
      {"2V-2N", "Dyn7 Dzn8 Yyn6 Yzn7"},
      {"2W-2N", "Dzn4"},
      {"2N-2U", "Dyn5 Dzn6 Yzn5 YNyn6"},
      {"2N-2V", "Dyn1 Dzn2 Yzn1 Zyn1"},
      {"2N-2W", "Dyn3 Dzn10"},
  };
  return {{{{"1U-1V", "2U-2V", "3U-3V"},
            {"1V-1W", "2V-2W", "3V-3W"},
            {"1W-1U", "2W-2U", "3W-3U"},
            {"1U-1N", "2U-2N", "3U-3N"},
            {"1V-1N", "2V-2N", "3V-3N"},
            {"1W-1N", "2W-2N", "3W-3N"}}},
          "UVW",
          '2',
          '3',
          kSinglePhase,
          kPrimaries,
          kFamilies,
          {}};
}

// --- A2 B2 C2, a2 b2 c2 --------------------------------------------------------------------------

// Manual pairs with the neutral have it on the primary only: the other sides stay line to line.
Chart chart_a2b2() {
  static const SinglePhaseRows kSinglePhase[] = {
      {"1Ph0", {"A1-B1", "a1-b1", "a1-b1"}},
      {"1Ph6", {"A1-B1", "b1-a1", "b1-a1"}},
      {"1Pa0 CT0 PT0", {"A2-B2", "a2-b2", "a2-b2"}},
  };
  static constexpr PrimaryRule kPrimaries[] = {
      {"D", "A2-B2"}, {"Y", "A2-B2"}, {"Z", "A4-B4"}, {"YN", "A2-N2"}, {"ZN", "A4-N4"},
  };
  static constexpr Family kFamilies[] = {
      {"a2-b2", "Dd0 Dy11 Yd1 Yy0 YNd1 YNy0 Zd0 Zy1 ZNd0 ZNy1"},
      {"b1-a1", "Dd6 Yy6 YNy6 Zd6 ZNd6"},
      {"a2-c2", "Yd11 YNd11 Zy11 ZNy11 ZNyn11"},
      {"c2-b2", "Ya0 Dy1"},
      {"a2-n2", "YNa0 Dyn11 Yyn0 YNyn0"},
      {"b1-n1", "Yyn6"},
      {"n1-a1", "YNyn6"},
      {"n2-b2", "Dyn1 Zyn1"},
      {"n2-c2", "Dyn3"},
      {"a4-b4", "Dz0 Yz1"},
      {"a4-c4", "Yz11"},
      {"a4-n4", "Dzn0 Yzn11"},
      {"n4-b4", "Yzn1"},
      {"b3-a3", "Dz6"},
      {"n3-a3", "Dzn6"},
  };
  return {{{{"A2-B2", "a2-b2", "a2-b2"},
            {"B2-C2", "b2-c2", "b2-c2"},
            {"C2-A2", "c2-a2", "c2-a2"},
            {"A2-N2", "a2-b2", "a2-b2"},
            {"B2-N2", "b2-c2", "b2-c2"},
            {"C2-N2", "c2-a2", "c2-a2"}}},
          "ABCabc",
          'a',
          'a',
          kSinglePhase,
          kPrimaries,
          kFamilies,
          {}};
}

// --- Expansion -----------------------------------------------------------------------------------

/// The names of a list, in its order.
template <class Use>
void for_each_name(std::string_view names, Use use) {
  while (!names.empty()) {
    const std::size_t end = std::min(names.find(' '), names.size());
    use(std::string(names.substr(0, end)));
    names.remove_prefix(std::min(end + 1, names.size()));
  }
}

/// `label` with each phase mark moved on by one; marks outside the cycles, the neutral's, stay.
std::string moved_on(std::string label, std::string_view cycles) {
  for (char& mark : label) {
    const std::size_t at = cycles.find(mark);
    if (at != std::string_view::npos) {
      mark = at % 3 == 2 ? cycles[at - 2] : cycles[at + 1];
    }
  }
  return label;
}

LabelTriple moved_on(const LabelTriple& labels, std::string_view cycles) {
  return {moved_on(labels.primary, cycles), moved_on(labels.secondary, cycles),
          moved_on(labels.tertiary, cycles)};
}

VectorLabels three_phase_labels(const Chart& chart, const std::string& primary,
                                const std::string& secondary) {
  std::string tertiary = secondary;
  std::replace(tertiary.begin(), tertiary.end(), chart.secondary_mark, chart.tertiary_mark);
  const LabelTriple phase_a = {primary, secondary, tertiary};
  const LabelTriple phase_b = moved_on(phase_a, chart.cycles);
  return {phase_a, phase_b, moved_on(phase_b, chart.cycles)};
}

/// The high-side connection that a row name begins with: its capital letters.
std::string_view high_side_of(std::string_view name) {
  const auto* const end = std::find_if_not(name.begin(), name.end(), [](char character) {
    return std::isupper(static_cast<unsigned char>(character)) != 0;
  });
  return name.substr(0, static_cast<std::size_t>(end - name.begin()));
}

/// A chart has a rule for the high side of each of its rows.
const char* primary_of(const Chart& chart, const std::string& name) {
  const auto rule = std::find_if(chart.primaries.begin(), chart.primaries.end(),
                                 [side = high_side_of(name)](const PrimaryRule& candidate) {
                                   return candidate.high_side == side;
                                 });
  return rule->primary;
}

StandardTable expand(const Chart& chart) {
  StandardTable table;
  table.manual = chart.manual;
  const LabelTriple none = {kNoLabel, kNoLabel, kNoLabel};
  for (const SinglePhaseRows& rows : chart.single_phase) {
    for_each_name(rows.names, [&](const std::string& name) {
      table.groups.emplace(name, VectorLabels{rows.labels, none, none});
    });
  }
  for (const Family& family : chart.families) {
    for_each_name(family.names, [&](const std::string& name) {
      table.groups.emplace(name,
                           three_phase_labels(chart, primary_of(chart, name), family.secondary));
    });
  }
  for (const ExceptionalRow& row : chart.exceptions) {
    table.groups.emplace(row.name, three_phase_labels(chart, row.primary, row.secondary));
  }
  return table;
}

StandardTable make_table_h1h2() {
  StandardTable table = expand(chart_h1h2());
  // The one row of all whose last phase is not moved on from the one before.
  table.groups.at("YNd3").phaseC = {"H3-H0", "X1-X2", "Y1-Y2"};
  return table;
}

void erase_digits(LabelTriple& labels) {
  for (std::string* label : {&labels.primary, &labels.secondary, &labels.tertiary}) {
    std::erase_if(*label, [](char mark) { return mark >= '0' && mark <= '9'; });
  }
}

/// The second letter standard is the first without its digits, but for one row.
StandardTable make_table_ab() {
  const Chart chart = chart_a2b2();
  StandardTable table = expand(chart);
  table.groups.at("Zyn1") = three_phase_labels(chart, "A-B", "a-n");
  std::for_each(table.manual.begin(), table.manual.end(), erase_digits);
  for (auto& [name, labels] : table.groups) {
    erase_digits(labels.phaseA);
    erase_digits(labels.phaseB);
    erase_digits(labels.phaseC);
  }
  return table;
}

}  // namespace

bool CaseInsensitiveLess::operator()(std::string_view a, std::string_view b) const {
  const auto lower = [](unsigned char mark) {
    return mark >= 'A' && mark <= 'Z' ? mark - 'A' + 'a' : int{mark};
  };
  return std::lexicographical_compare(
      a.begin(), a.end(), b.begin(), b.end(),
      [&](unsigned char x, unsigned char y) { return lower(x) < lower(y); });
}

const StandardTable& table_h1h2() {
  static const StandardTable table = make_table_h1h2();
  return table;
}

const StandardTable& table_1u1v() {
  static const StandardTable table = expand(chart_1u1v());
  return table;
}

const StandardTable& table_a2b2() {
  static const StandardTable table = expand(chart_a2b2());
  return table;
}

const StandardTable& table_ab() {
  static const StandardTable table = make_table_ab();
  return table;
}
