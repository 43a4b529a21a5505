#include "shell/label_menu.h"

#include <algorithm>
#include <iostream>
#include <optional>
#include <string>

#include "common/errors.h"
#include "console/menu.h"
#include "console/prompts.h"
#include "standards/standards.h"
#include "text/vector_group_text.h"
#include "utils/utils.h"

namespace {

void show_labels(const char* of, const LabelTriple& labels) {
  std::cout << of << ": primary " << labels.primary << ", secondary " << labels.secondary
            << ", tertiary " << labels.tertiary << '\n';
}

/// The name of the row that a vector group's labels come from.
const std::string& row_name(kvr_StandardType standard, const VectorLabels& labels) {
  const auto& rows = Standards::getStandard(standard).groups;
  return std::find_if(rows.begin(), rows.end(),
                      [&](const auto& row) { return &row.second == &labels; })
      ->first;
}

void show_group_labels(kvr_StandardType standard, const kvr_VectorGroup& group) {
  const std::string name = VectorGroupText(group);
  try {
    const VectorLabels& labels = Standards::getVectorLabels(standard, group);
    const std::string& found = row_name(standard, labels);
    if (found != name) {
      std::cout << name << " has no labels of its own, the nearest name in the alphabet is "
                << found << ".\n";
    }
    std::cout << "Labels of " << found << ":\n";
    show_labels("Phase A", labels.phaseA);
    show_labels("Phase B", labels.phaseB);
    show_labels("Phase C", labels.phaseC);
  } catch (const kvr_exception&) {
    std::cout << name << " has no labels, it comes after all names that have.\n";
  }
}

/// The labels of a measurement between two terminals, whatever the vector group.
void show_pair_labels(kvr_StandardType standard) {
  struct Pair {
    Measure measure;
    const char* text;
  };
  constexpr Pair kPairs[] = {{MEASURE_AB, "Pair AB"}, {MEASURE_BC, "Pair BC"},
                             {MEASURE_CA, "Pair CA"}, {MEASURE_AN, "Pair AN"},
                             {MEASURE_BN, "Pair BN"}, {MEASURE_CN, "Pair CN"}};
  std::cout << "Labels of terminal pairs:\n";
  for (const Pair& pair : kPairs) {
    const auto label = [&](SideOfPair side, std::uint32_t connection_type) -> std::string {
      const auto connection = static_cast<int>(connection_type);
      return Utils::connection_label({side, pair.measure}, connection, standard).label;
    };
    show_labels(pair.text, {label(kSideH, kConnectionHToX), label(kSideX, kConnectionHToX),
                            label(kSideX, kConnectionHToY)});
  }
}

void look_up_labels(kvr_StandardType standard) {
  static std::string& line = make_kept_line();
  const char* question = "Vector group, such as Dyn11 (leave empty for terminal pairs): ";
  const auto group = ask_until_it_converts(
      [&] {
        std::cout << question;
        question = "Wrong value, Please enter again: ";
      },
      line,
      [](const std::string& answer) {
        return answer.empty() ? std::nullopt : std::optional(vector_group_from_text(answer));
      });
  if (group) {
    show_group_labels(standard, *group);
  } else {
    show_pair_labels(standard);
  }
}

}  // namespace

void label_menu() {
  constexpr MenuItem kItems[] = {
      {1, "H1 H2 H3, X1 X2 X3, Y1 Y2 Y3", [] { look_up_labels(KVR_STANDARD_H1H2); }},
      {2, "1U 1V 1W, 2U 2V 2W, 3U 3V 3W", [] { look_up_labels(KVR_STANDARD_1U1V); }},
      {3, "A2 B2 C2, a2 b2 c2", [] { look_up_labels(KVR_STANDARD_A2B2); }},
      {4, "A B C, a b c", [] { look_up_labels(KVR_STANDARD_AB); }}};
  do {
    show_menu(kItems, "Cancel");
  } while (run_menu_choice(kItems));
}
