#pragma once

#include <array>
#include <string>

#include "standards/standards.h"

// docs/terminal-labels.md, made from the tables.

namespace terminal_label_listing {

inline std::string cells(const LabelTriple& labels) {
  return " | " + labels.primary + " | " + labels.secondary + " | " + labels.tertiary;
}

inline std::string section(const std::string& title, const StandardTable& table) {
  std::string text = "\n## " + title +
                     "\n\n### Manual connections\n\n"
                     "| Pair | Primary | Secondary | Tertiary |\n|---|---|---|---|\n";
  constexpr std::array kPairs = {"1 AB", "2 BC", "3 CA", "4 AN", "5 BN", "6 CN"};
  for (std::size_t i = 0; i < kPairs.size(); ++i) {
    text += std::string("| ") + kPairs[i] + cells(table.manual.at(i)) + " |\n";
  }
  text += "\n### Vector groups (" + std::to_string(table.groups.size()) +
          ")\n\n"
          "| Row | A primary | A secondary | A tertiary | B primary | B secondary | B tertiary "
          "| C primary | C secondary | C tertiary |\n"
          "|---|---|---|---|---|---|---|---|---|---|\n";
  for (const auto& [name, row] : table.groups) {
    text += "| " + name + cells(row.phaseA) + cells(row.phaseB) + cells(row.phaseC) + " |\n";
  }
  return text;
}

inline std::string text() {
  return "# Terminal labels\n"
         "\n"
         "What each labelling standard calls the terminals that a phase is measured between. The "
         "rows are in\nthe order of the look-up. A row of one measurable phase has - in the "
         "others.\n"
         "\n"
         "This file is written by the target `terminal-labels`; the tests compare it with the "
         "tables.\n" +
         section("H1 H2 H3, X1 X2 X3, Y1 Y2 Y3", table_h1h2()) +
         section("1U 1V 1W, 2U 2V 2W, 3U 3V 3W", table_1u1v()) +
         section("A2 B2 C2, a2 b2 c2", table_a2b2()) + section("A B C, a b c", table_ab());
}

}  // namespace terminal_label_listing
