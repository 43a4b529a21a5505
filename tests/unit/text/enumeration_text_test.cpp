#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "support/counted_new.h"
#include "text/text_output.h"

namespace {

using Text = KVR_Text_Output;
using Words = std::vector<std::string_view>;

/// Expects `words` for 0 and what follows it, and `other` for all beyond, as far as 32 bits go.
void expect_words(std::string_view (*word)(std::uint32_t), const Words& words,
                  std::string_view other) {
  for (std::uint32_t value = 0; value < words.size(); ++value) {
    EXPECT_EQ(word(value), words[value]) << value;
  }
  for (const std::uint32_t value :
       {static_cast<std::uint32_t>(words.size()), 100U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
    EXPECT_EQ(word(value), other) << value;
  }
}

TEST(EnumerationText, TestType) {
  expect_words(Text::TestTypeText,
               {"undefined", "ratio_down", "ratio_up", "unknown", "ratio_auto", "ratio_ct",
                "ratio_pt_vt", "unknown", "resistance", "resistance_cont", "demag", "sci", "frsl",
                "efficiency", "mbalance", "heatrun", "excitation", "gonogo", "drm"},
               "unknown");
}

TEST(EnumerationText, Winding) {
  expect_words(Text::WindingTextUpper,
               {"", "D", "Y", "YN", "Z", "ZN", "1P", "?", "MH", "?", "?", "CT", "PT", "a"}, "?");
  expect_words(Text::WindingTextLower,
               {"", "d", "y", "yn", "z", "zn", "h", "?", "mx", "?", "?", "", "", "a"}, "?");
}

TEST(EnumerationText, TestingMode) {
  expect_words(Text::TestingModeText,
               {"unknown", "1ph", "3ph-3-3", "3ph-1-1", "3ph-3-1", "3ph-auto"}, "unknown");
}

TEST(EnumerationText, HealthState) {
  expect_words(Text::HealthStateText, {"UNKNOWN", "EXCELLENT", "GOOD", "MODERATE", "BAD"},
               "UNKNOWN");
}

TEST(EnumerationText, PointState) {
  expect_words(
      Text::PointStateText,
      {"IDLE", "CHARGING", "CHARGING&MEASURING", "STABILIZING", "STABLE", "HEATING", "DISCHARGING",
       "MANUAL SAVED", "AUTO SAVED", "MONITORING", "ERROR", "MEASURING ONLY"},
      "UNKNOWN");
}

TEST(EnumerationText, TapChanger) {
  expect_words(Text::TapChangerText, {"", "DETC", "OLTC", "N/A"}, "");
}

TEST(EnumerationText, NumberingScheme) {
  expect_words(Text::NumberingSchemeText,
               {"Sequential", "ABC", "RNL", "ZeroInitial", "Custom", "Connection"}, "undefined");
}

TEST(EnumerationText, LetterLabel) {
  expect_words(Text::LetterLabelText, {"undefined", "U", "V", "W", "X", "Y", "Z", "Custom"},
               "undefined");
}

TEST(EnumerationText, Material) { expect_words(Text::MaterialText, {"", "cu", "al"}, "unknown"); }

TEST(EnumerationText, RecordOrigin) {
  expect_words(Text::RecordOriginText, {"quicktest", "test_from_template", "template"}, "unknown");
}

TEST(EnumerationText, Terminal) {
  const Words without_tertiary = {"undefined", "H0", "H1", "H2", "H3", "X0", "X1", "X2", "X3"};
  expect_words(Text::TerminalText, without_tertiary, "unknown");
  Words with_tertiary = without_tertiary;
  with_tertiary.insert(with_tertiary.end(), {"Y0", "Y1", "Y2", "Y3"});
  expect_words(Text::TerminalTextY, with_tertiary, "unknown");
}

TEST(EnumerationText, TerminalPair) {
  const Words high = {"0", "H1-H2", "H2-H3", "H1-H3", "H1-H0", "H2-H0", "H3-H0"};
  const Words low = {"0", "X1-X2", "X2-X3", "X1-X3", "X1-X0", "X2-X0", "X3-X0"};
  for (std::uint32_t index = 0; index < 7; ++index) {
    EXPECT_EQ(Text::TerminalPairText(index, true), high[index]);
    EXPECT_EQ(Text::TerminalPairText(index, false), low[index]);
  }
}

TEST(EnumerationText, Terminals) {
  const auto terminal = [](int value) { return static_cast<kvr_Terminal>(value); };
  EXPECT_EQ(Text::TerminalsText({terminal(2), terminal(6)}), "X1(H1)");
  EXPECT_EQ(Text::TerminalsText({terminal(9), terminal(9)}), "Y0(unknown)");
  EXPECT_EQ(Text::TerminalsText({terminal(0), terminal(13)}), "unknown(undefined)");
}

TEST(EnumerationText, AllocatesNothing) {
  const std::size_t before = counted_new::allocations();
  for (std::uint32_t value = 0; value < 20; ++value) {
    for (const auto word :
         {Text::TestTypeText, Text::WindingTextUpper, Text::WindingTextLower, Text::TestingModeText,
          Text::HealthStateText, Text::PointStateText, Text::TapChangerText,
          Text::NumberingSchemeText, Text::LetterLabelText, Text::MaterialText,
          Text::RecordOriginText, Text::TerminalText, Text::TerminalTextY}) {
      word(value);
    }
    Text::TerminalPairText(value % 7, value % 2 == 0);
  }
  EXPECT_EQ(counted_new::allocations(), before);
}

}  // namespace
