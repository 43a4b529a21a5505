#include "shell/label_menu.h"

#include <gtest/gtest.h>

#include <string>

#include "standards/standards.h"
#include "support/session_test.h"

namespace {

const std::string kMenu =
    "\n== Choose menu item ==\n\n"
    "1. H1 H2 H3, X1 X2 X3, Y1 Y2 Y3\n"
    "2. 1U 1V 1W, 2U 2V 2W, 3U 3V 3W\n"
    "3. A2 B2 C2, a2 b2 c2\n"
    "4. A B C, a b c\n"
    "0. Cancel\n";
const std::string kQuestion = "Vector group, such as Dyn11 (leave empty for terminal pairs): ";

class LabelMenu : public SessionTest {
 protected:
  ~LabelMenu() override { EXPECT_EQ(call_lines(), ""); }  // it needs no instrument

  /// All that is said to these answers and a last 0, between the first menu and the last one.
  static std::string said(const std::string& answers) {
    const Console console(answers + "0\n");
    label_menu();
    EXPECT_EQ(console.unread(), "");
    const std::string output = console.output();
    EXPECT_TRUE(output.starts_with(kMenu)) << output;
    EXPECT_TRUE(output.ends_with(kMenu)) << output;
    const std::size_t size = output.size() - std::min(2 * kMenu.size(), output.size());
    return output.substr(std::min(kMenu.size(), output.size()), size);
  }
};

TEST_F(LabelMenu, IsLeftByZero) {
  const Console console("0\nrest\n");
  label_menu();
  EXPECT_EQ(console.output(), kMenu);
  EXPECT_EQ(console.unread(), "rest\n");
}

TEST_F(LabelMenu, ShowsItselfAgainForOtherChoices) { EXPECT_EQ(said("5\n-1\n"), kMenu); }

TEST_F(LabelMenu, ShowsTheLabelsOfAGroup) {
  EXPECT_EQ(said("1\nDyn11\n"), kQuestion +
                                    "Labels of Dyn11:\n"
                                    "Phase A: primary H1-H3, secondary X0-X3, tertiary Y0-Y3\n"
                                    "Phase B: primary H2-H1, secondary X0-X1, tertiary Y0-Y1\n"
                                    "Phase C: primary H3-H2, secondary X0-X2, tertiary Y0-Y2\n");
}

TEST_F(LabelMenu, ShowsThemInEachStandard) {
  EXPECT_EQ(said("2\nznd6\n"), kQuestion +
                                   "Labels of ZNd6:\n"
                                   "Phase A: primary 1U-N, secondary 2V-2U, tertiary 3V-3U\n"
                                   "Phase B: primary 1V-N, secondary 2W-2V, tertiary 3W-3V\n"
                                   "Phase C: primary 1W-N, secondary 2U-2W, tertiary 3U-3W\n");
  EXPECT_EQ(said("3\nZyn1\n"), kQuestion +
                                   "Labels of Zyn1:\n"
                                   "Phase A: primary A4-B4, secondary n2-b2, tertiary n2-b2\n"
                                   "Phase B: primary B4-C4, secondary n2-c2, tertiary n2-c2\n"
                                   "Phase C: primary C4-A4, secondary n2-a2, tertiary n2-a2\n");
  EXPECT_EQ(said("4\n1pa0\n"), kQuestion +
                                   "Labels of 1Pa0:\n"
                                   "Phase A: primary A-B, secondary a-b, tertiary a-b\n"
                                   "Phase B: primary -, secondary -, tertiary -\n"
                                   "Phase C: primary -, secondary -, tertiary -\n");
}

TEST_F(LabelMenu, SaysWhichNameIsTheNearest) {
  const std::string dyn11 =
      "Labels of Dyn11:\n"
      "Phase A: primary A-B, secondary a-n, tertiary a-n\n"
      "Phase B: primary B-C, secondary b-n, tertiary b-n\n"
      "Phase C: primary C-A, secondary c-n, tertiary c-n\n";
  EXPECT_EQ(said("4\ndyn11+6\n"),
            kQuestion +
                "Dyn11+6 has no labels of its own, the nearest name in the alphabet is Dyn11.\n" +
                dyn11);
  EXPECT_EQ(said("1\nCT0\n"),
            kQuestion +
                "CT0 has no labels of its own, the nearest name in the alphabet is 3P Auto.\n"
                "Labels of 3P Auto:\n"
                "Phase A: primary H1-H0, secondary X1-X0, tertiary Y1-Y0\n"
                "Phase B: primary H2-H0, secondary X2-X0, tertiary Y2-Y0\n"
                "Phase C: primary H3-H0, secondary X3-X0, tertiary Y3-Y0\n");
}

TEST_F(LabelMenu, SaysSoWhenThereIsNoNearName) {
  EXPECT_EQ(said("3\nZz0\n"),
            kQuestion + "Zz0 has no labels, it comes after all names that have.\n");
}

TEST_F(LabelMenu, ShowsTheLabelsOfTerminalPairs) {
  EXPECT_EQ(said("1\n\n"), kQuestion +
                               "Labels of terminal pairs:\n"
                               "Pair AB: primary H2-H1, secondary X2-X1, tertiary Y2-Y1\n"
                               "Pair BC: primary H3-H2, secondary X3-X2, tertiary Y3-Y2\n"
                               "Pair CA: primary H1-H3, secondary X1-X3, tertiary Y1-Y3\n"
                               "Pair AN: primary H1-H0, secondary X1-X0, tertiary Y1-Y0\n"
                               "Pair BN: primary H2-H0, secondary X2-X0, tertiary Y2-Y0\n"
                               "Pair CN: primary H3-H0, secondary X3-X0, tertiary Y3-Y0\n");
}

TEST_F(LabelMenu, AsksAgainForWhatIsNoVectorGroup) {
  const std::string output = said("4\nnonsense\n \nDyn12\nDd0\n");
  EXPECT_TRUE(
      output.starts_with(kQuestion + kWrongValue + kWrongValue + kWrongValue + "Labels of Dd0:\n"))
      << output;
}

TEST_F(LabelMenu, AsksVisibly) {
  const Console console("1\nx\n\n0\n");
  label_menu();
  EXPECT_EQ(console.visible_output(), console.output());
}

// Every group with labels that can be named gets its own.
TEST_F(LabelMenu, FindsEveryRow) {
  for (const kvr_StandardType standard :
       {KVR_STANDARD_H1H2, KVR_STANDARD_1U1V, KVR_STANDARD_A2B2, KVR_STANDARD_AB}) {
    for (const auto& [name, labels] : Standards::getStandard(standard).groups) {
      if (name == "VREG" || name == "3P Auto") {
        continue;  // no names of vector groups
      }
      const std::string output = said(std::to_string(standard + 1) + "\n" + name + "\n");
      EXPECT_TRUE(output.starts_with(kQuestion + "Labels of " + name + ":\nPhase A: primary " +
                                     labels.phaseA.primary + ","))
          << output;
    }
  }
}

}  // namespace
