#include "standards/standard_tables.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "standards/standards.h"
#include "unit/standards/label_rows.h"

namespace {

/// All rows of one table as text, each under its name.
std::map<std::string, std::string> rows_of(kvr_StandardType standard) {
  std::map<std::string, std::string> rows;
  for (const auto& [name, labels] : Standards::getStandard(standard).groups) {
    rows.emplace(name, labels_text(labels));
  }
  return rows;
}

std::string row_text(kvr_StandardType standard, const std::string& name) {
  return labels_text(Standards::getStandard(standard).groups.at(name));
}

// --- Content -------------------------------------------------------------------------------------

TEST(StandardTables, HoldEveryExpectedRowAndNoOther) {
  std::map<std::string, std::map<std::string, std::string>> expected;
  std::size_t count = 0;
  std::set<std::string> names;
  for (const ExpectedLine& line : expected_lines("terminal_labels.csv")) {
    expected[line.standard][line.key] = line.labels;
    names.insert(line.key);
    ++count;
  }
  EXPECT_EQ(count, 214U);
  EXPECT_EQ(names.size(), 85U);
  for (const kvr_StandardType standard : kStandards) {
    EXPECT_EQ(rows_of(standard), expected[standard_name(standard)]) << standard_name(standard);
  }
}

TEST(StandardTables, HaveTheirNumbersOfRows) {
  EXPECT_EQ(table_h1h2().groups.size(), 59U);
  EXPECT_EQ(table_1u1v().groups.size(), 67U);
  EXPECT_EQ(table_a2b2().groups.size(), 44U);
  EXPECT_EQ(table_ab().groups.size(), 44U);
}

TEST(StandardTables, HoldEveryExpectedManualLabel) {
  std::size_t count = 0;
  for (const ExpectedLine& line : expected_lines("manual_labels.csv")) {
    const auto standard = std::find_if(
        std::begin(kStandards), std::end(kStandards),
        [&](kvr_StandardType candidate) { return standard_name(candidate) == line.standard; });
    ASSERT_NE(standard, std::end(kStandards));
    const std::size_t measure = std::stoul(line.key);
    EXPECT_EQ(labels_text(Standards::getStandard(*standard).manual.at(measure - 1)), line.labels)
        << line.standard << ' ' << measure;
    ++count;
  }
  EXPECT_EQ(count, 24U);
}

TEST(StandardTables, HoldTheWorkedRows) {
  EXPECT_EQ(row_text(KVR_STANDARD_H1H2, "Dyn1"),
            "H1-H3,X1-X0,Y1-Y0,H2-H1,X2-X0,Y2-Y0,H3-H2,X3-X0,Y3-Y0");
  EXPECT_EQ(row_text(KVR_STANDARD_H1H2, "YNyn6"),
            "H1-H0,X0-X1,Y0-Y1,H2-H0,X0-X2,Y0-Y2,H3-H0,X0-X3,Y0-Y3");
  EXPECT_EQ(row_text(KVR_STANDARD_1U1V, "ZNy11"),
            "1U-N,2U-2W,3U-3W,1V-N,2V-2U,3V-3U,1W-N,2W-2V,3W-3V");
  EXPECT_EQ(row_text(KVR_STANDARD_A2B2, "Dz6"),
            "A2-B2,b3-a3,b3-a3,B2-C2,c3-b3,c3-b3,C2-A2,a3-c3,a3-c3");
  EXPECT_EQ(row_text(KVR_STANDARD_AB, "YNyn6"), "A-N,n-a,n-a,B-N,n-b,n-b,C-N,n-c,n-c");
}

TEST(StandardTables, HoldTheExceptionsOfTheHStandard) {
  EXPECT_EQ(row_text(KVR_STANDARD_H1H2, "3P Auto"), row_text(KVR_STANDARD_H1H2, "YNyn0"));
  EXPECT_EQ(row_text(KVR_STANDARD_H1H2, "3P Auto"), row_text(KVR_STANDARD_H1H2, "YNzn1"));
  EXPECT_EQ(row_text(KVR_STANDARD_H1H2, "YNz7"), row_text(KVR_STANDARD_H1H2, "YNzn7"));
  EXPECT_EQ(row_text(KVR_STANDARD_H1H2, "YNz7"), row_text(KVR_STANDARD_H1H2, "YNyn6"));
  EXPECT_EQ(row_text(KVR_STANDARD_H1H2, "Yd3"),
            "H1-H2,X3-X2,Y3-Y2,H2-H3,X1-X3,Y1-Y3,H3-H1,X2-X1,Y2-Y1");
  EXPECT_EQ(row_text(KVR_STANDARD_H1H2, "Yd9"),
            "H1-H2,X2-X3,Y2-Y3,H2-H3,X3-X1,Y3-Y1,H3-H1,X1-X2,Y1-Y2");
  EXPECT_EQ(row_text(KVR_STANDARD_H1H2, "YNy6"),
            "H2-H0,X1-X2,Y1-Y2,H3-H0,X2-X3,Y2-Y3,H1-H0,X3-X1,Y3-Y1");
  EXPECT_EQ(row_text(KVR_STANDARD_H1H2, "YNd3"),
            "H1-H0,X3-X2,Y3-Y2,H2-H0,X1-X3,Y1-Y3,H3-H0,X1-X2,Y1-Y2");
}

TEST(StandardTables, KeepARowsLabelsPerStandard) {
  const auto secondary = [](kvr_StandardType standard, const char* name) {
    return Standards::getStandard(standard).groups.at(name).phaseA.secondary;
  };
  EXPECT_EQ(secondary(KVR_STANDARD_H1H2, "Dy1"), "X1-X3");
  EXPECT_EQ(secondary(KVR_STANDARD_1U1V, "Dy1"), "2W-2V");
  EXPECT_EQ(secondary(KVR_STANDARD_A2B2, "Dy1"), "c2-b2");
  EXPECT_EQ(secondary(KVR_STANDARD_AB, "Dy1"), "c-b");
  EXPECT_EQ(secondary(KVR_STANDARD_H1H2, "Dy11"), "X2-X3");
  EXPECT_NE(secondary(KVR_STANDARD_H1H2, "Dy11"), secondary(KVR_STANDARD_H1H2, "Dd0"));
  for (const kvr_StandardType standard : {KVR_STANDARD_1U1V, KVR_STANDARD_A2B2, KVR_STANDARD_AB}) {
    EXPECT_EQ(secondary(standard, "Dy11"), secondary(standard, "Dd0"));
  }
  EXPECT_EQ(secondary(KVR_STANDARD_A2B2, "Dd6"), "b1-a1");
  EXPECT_EQ(secondary(KVR_STANDARD_A2B2, "Dz6"), "b3-a3");
  EXPECT_EQ(secondary(KVR_STANDARD_A2B2, "Dz0"), "a4-b4");
  EXPECT_EQ(secondary(KVR_STANDARD_A2B2, "Dd0"), "a2-b2");
}

TEST(StandardTables, FillOnePhaseOfSinglePhaseRows) {
  EXPECT_EQ(row_text(KVR_STANDARD_H1H2, "VREG"), "H1-H2,X2-X1,Y2-Y1,-,-,-,-,-,-");
  EXPECT_EQ(row_text(KVR_STANDARD_1U1V, "PT0"), "1U-1V,2U-2V,3V-3U,-,-,-,-,-,-");
  EXPECT_EQ(row_text(KVR_STANDARD_A2B2, "1Ph0"), "A1-B1,a1-b1,a1-b1,-,-,-,-,-,-");
  EXPECT_EQ(row_text(KVR_STANDARD_A2B2, "1Pa0"), "A2-B2,a2-b2,a2-b2,-,-,-,-,-,-");
  EXPECT_EQ(row_text(KVR_STANDARD_AB, "1Ph6"), "A-B,b-a,b-a,-,-,-,-,-,-");
}

// --- What holds for all rows ---------------------------------------------------------------------

std::vector<std::string> all_labels(const StandardTable& table) {
  std::vector<std::string> labels;
  const auto add = [&](const LabelTriple& triple) {
    labels.insert(labels.end(), {triple.primary, triple.secondary, triple.tertiary});
  };
  std::for_each(table.manual.begin(), table.manual.end(), add);
  for (const auto& [name, row] : table.groups) {
    add(row.phaseA);
    add(row.phaseB);
    add(row.phaseC);
  }
  return labels;
}

TEST(StandardTables, HaveShortAsciiLabelsAndNames) {
  for (const kvr_StandardType standard : kStandards) {
    for (const std::string& label : all_labels(Standards::getStandard(standard))) {
      EXPECT_LE(label.size(), 5U) << label;
      EXPECT_FALSE(label.empty());
      EXPECT_TRUE(std::all_of(label.begin(), label.end(), [](char mark) {
        return mark > ' ' && mark <= '~';
      })) << label;
    }
    for (const auto& [name, row] : Standards::getStandard(standard).groups) {
      EXPECT_LE(name.size(), 7U) << name;
      EXPECT_TRUE(std::all_of(name.begin(), name.end(), [](char character) {
        return character >= ' ' && character <= '~';
      })) << name;
    }
  }
}

TEST(StandardTables, MoveEveryPhaseOnButOne) {
  const auto moved_on = [](std::string text) {
    const std::map<char, char> next = {{'1', '2'}, {'2', '3'}, {'3', '1'}};
    for (char& mark : text) {
      mark = next.count(mark) != 0 ? next.at(mark) : mark;
    }
    return text;
  };
  std::vector<std::string> others;
  for (const auto& [name, row] : table_h1h2().groups) {
    const bool is_single_phase = row.phaseB.primary == "-";
    if (!is_single_phase && (labels_text(row.phaseB) != moved_on(labels_text(row.phaseA)) ||
                             labels_text(row.phaseC) != moved_on(labels_text(row.phaseB)))) {
      others.push_back(name);
    }
  }
  EXPECT_EQ(others, std::vector<std::string>{"YNd3"});
}

TEST(StandardTables, MirrorTheSecondaryLabelInTheTertiaryButOnce) {
  std::vector<std::string> others;
  for (const kvr_StandardType standard : kStandards) {
    for (const auto& [name, row] : Standards::getStandard(standard).groups) {
      for (const LabelTriple* labels : {&row.phaseA, &row.phaseB, &row.phaseC}) {
        std::string image = labels->secondary;
        if (standard == KVR_STANDARD_H1H2) {
          std::replace(image.begin(), image.end(), 'X', 'Y');
        } else if (standard == KVR_STANDARD_1U1V) {
          std::replace(image.begin(), image.end(), '2', '3');
        }
        if (labels->tertiary != image) {
          others.push_back(std::string(standard_name(standard)) + ' ' + name);
        }
      }
    }
  }
  EXPECT_EQ(others, std::vector<std::string>{"1U1V PT0"});
}

TEST(StandardTables, DifferInTheLetterStandardsByDigitsButOnce) {
  std::vector<std::string> others;
  for (auto& [name, labels] : rows_of(KVR_STANDARD_A2B2)) {
    std::string letters = labels;
    letters.erase(std::remove_if(letters.begin(), letters.end(),
                                 [](unsigned char mark) { return std::isdigit(mark) != 0; }),
                  letters.end());
    if (row_text(KVR_STANDARD_AB, name) != letters) {
      others.push_back(name);
    }
  }
  EXPECT_EQ(others, std::vector<std::string>{"Zyn1"});
  EXPECT_EQ(table_a2b2().groups.at("Zyn1").phaseA.secondary, "n2-b2");
  EXPECT_EQ(table_ab().groups.at("Zyn1").phaseA.secondary, "a-n");
}

// --- Order ---------------------------------------------------------------------------------------

TEST(StandardTables, AreInAlphabeticalOrderWhateverTheCase) {
  for (const kvr_StandardType standard : kStandards) {
    std::vector<std::string> names;
    for (const auto& [name, row] : Standards::getStandard(standard).groups) {
      names.push_back(name);
      std::transform(name.begin(), name.end(), names.back().begin(), [](unsigned char character) {
        return static_cast<char>(std::tolower(character));
      });
    }
    EXPECT_TRUE(std::is_sorted(names.begin(), names.end()));
    EXPECT_EQ(names.back(), "zyn1");
    EXPECT_EQ(names.front(),
              standard == KVR_STANDARD_A2B2 || standard == KVR_STANDARD_AB ? "1pa0" : "1ph0");
  }
}

TEST(StandardTables, FindANameInAnyMixOfCases) {
  for (const kvr_StandardType standard : kStandards) {
    const StandardTable& table = Standards::getStandard(standard);
    for (const auto& [name, row] : table.groups) {
      for (unsigned upper = 0; upper < 1U << name.size(); ++upper) {
        std::string mixed = name;
        for (std::size_t i = 0; i < mixed.size(); ++i) {
          const auto character = static_cast<unsigned char>(mixed[i]);
          mixed[i] = static_cast<char>((upper >> i & 1U) != 0 ? std::toupper(character)
                                                              : std::tolower(character));
        }
        const auto found = table.groups.find(mixed);
        ASSERT_NE(found, table.groups.end()) << mixed;
        ASSERT_EQ(&found->second, &row) << mixed;
      }
    }
  }
}

TEST(CaseInsensitiveLess, ComparesCharacterByCharacter) {
  const CaseInsensitiveLess less;
  EXPECT_TRUE(less("Dyn11", "Dyn3"));
  EXPECT_FALSE(less("Dyn3", "Dyn11"));
  EXPECT_TRUE(less("dYN1", "DyN11"));
  EXPECT_FALSE(less("Dyn11", "dYN1"));
  EXPECT_FALSE(less("Dyn11", "dYN11"));
  EXPECT_FALSE(less("dYN11", "Dyn11"));
  EXPECT_TRUE(less("", "0"));
  EXPECT_FALSE(less("", ""));
  EXPECT_TRUE(less("Yd11", "YNa0"));
  EXPECT_TRUE(less("yD11", "Yna0"));
  EXPECT_TRUE(less("Dyn11+6", "Dyn3"));
}

TEST(StandardTables, StayWhereTheyAre) {
  for (const kvr_StandardType standard : kStandards) {
    EXPECT_EQ(&Standards::getStandard(standard), &Standards::getStandard(standard));
  }
  EXPECT_EQ(&Standards::getStandard(KVR_STANDARD_H1H2), &table_h1h2());
  EXPECT_EQ(&Standards::getStandard(KVR_STANDARD_1U1V), &table_1u1v());
  EXPECT_EQ(&Standards::getStandard(KVR_STANDARD_A2B2), &table_a2b2());
  EXPECT_EQ(&Standards::getStandard(KVR_STANDARD_AB), &table_ab());
}

}  // namespace
