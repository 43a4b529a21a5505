#include <iterator>

#include "text/text_output.h"

namespace {

/// The word of `value` in a table that starts at 0.
template <std::size_t size>
std::string_view word(const std::string_view (&words)[size], std::uint32_t value,
                      std::string_view other) {
  return value < size ? words[value] : other;
}

}  // namespace

std::string_view KVR_Text_Output::TestTypeText(std::uint32_t test_type) {
  static constexpr std::string_view kWords[] = {
      "undefined", "ratio_down",  "ratio_up", "unknown",    "ratio_auto",
      "ratio_ct",  "ratio_pt_vt", "unknown",  "resistance", "resistance_cont",
      "demag",     "sci",         "frsl",     "efficiency", "mbalance",
      "heatrun",   "excitation",  "gonogo",   "drm"};
  return word(kWords, test_type, "unknown");
}

std::string_view KVR_Text_Output::WindingTextUpper(std::uint32_t winding_type) {
  static constexpr std::string_view kWords[] = {"",  "D",  "Y", "YN", "Z",  "ZN", "1P",
                                                "?", "MH", "?", "?",  "CT", "PT", "a"};
  return word(kWords, winding_type, "?");
}

std::string_view KVR_Text_Output::WindingTextLower(std::uint32_t winding_type) {
  static constexpr std::string_view kWords[] = {"",  "d",  "y", "yn", "z", "zn", "h",
                                                "?", "mx", "?", "?",  "",  "",   "a"};
  return word(kWords, winding_type, "?");
}

std::string_view KVR_Text_Output::TestingModeText(std::uint32_t testing_mode) {
  static constexpr std::string_view kWords[] = {"unknown", "1ph",     "3ph-3-3",
                                                "3ph-1-1", "3ph-3-1", "3ph-auto"};
  return word(kWords, testing_mode, "unknown");
}

std::string_view KVR_Text_Output::HealthStateText(std::uint32_t health_state) {
  static constexpr std::string_view kWords[] = {"UNKNOWN", "EXCELLENT", "GOOD", "MODERATE", "BAD"};
  return word(kWords, health_state, "UNKNOWN");
}

std::string_view KVR_Text_Output::PointStateText(std::uint32_t point_state) {
  static constexpr std::string_view kWords[] = {"IDLE",        "CHARGING",     "CHARGING&MEASURING",
                                                "STABILIZING", "STABLE",       "HEATING",
                                                "DISCHARGING", "MANUAL SAVED", "AUTO SAVED",
                                                "MONITORING",  "ERROR",        "MEASURING ONLY"};
  return word(kWords, point_state, "UNKNOWN");
}

std::string_view KVR_Text_Output::TapChangerText(std::uint32_t tap_changer_type) {
  static constexpr std::string_view kWords[] = {"", "DETC", "OLTC", "N/A"};
  return word(kWords, tap_changer_type, "");
}

std::string_view KVR_Text_Output::NumberingSchemeText(std::uint32_t numbering_scheme) {
  static constexpr std::string_view kWords[] = {"Sequential",  "ABC",    "RNL",
                                                "ZeroInitial", "Custom", "Connection"};
  return word(kWords, numbering_scheme, "undefined");
}

std::string_view KVR_Text_Output::LetterLabelText(std::uint32_t letter_label) {
  static constexpr std::string_view kWords[] = {"undefined", "U", "V", "W",
                                                "X",         "Y", "Z", "Custom"};
  return word(kWords, letter_label, "undefined");
}

std::string_view KVR_Text_Output::MaterialText(std::uint32_t conductor_material) {
  static constexpr std::string_view kWords[] = {"", "cu", "al"};
  return word(kWords, conductor_material, "unknown");
}

std::string_view KVR_Text_Output::RecordOriginText(std::uint32_t record_origin) {
  static constexpr std::string_view kWords[] = {"quicktest", "test_from_template", "template"};
  return word(kWords, record_origin, "unknown");
}

std::string_view KVR_Text_Output::TerminalText(std::uint32_t terminal) {
  return terminal < KVR_TERMINAL_Y0 ? TerminalTextY(terminal) : "unknown";
}

std::string_view KVR_Text_Output::TerminalTextY(std::uint32_t terminal) {
  static constexpr std::string_view kWords[] = {"undefined", "H0", "H1", "H2", "H3", "X0", "X1",
                                                "X2",        "X3", "Y0", "Y1", "Y2", "Y3"};
  return word(kWords, terminal, "unknown");
}

std::string_view KVR_Text_Output::TerminalPairText(std::uint32_t index, bool high_side) {
  static constexpr std::string_view kHigh[] = {"0",     "H1-H2", "H2-H3", "H1-H3",
                                               "H1-H0", "H2-H0", "H3-H0"};
  static constexpr std::string_view kLow[] = {"0",     "X1-X2", "X2-X3", "X1-X3",
                                              "X1-X0", "X2-X0", "X3-X0"};
  return (high_side ? kHigh : kLow)[index];
}

std::string KVR_Text_Output::TerminalsText(const kvr_TerminalPair& terminals) {
  std::string text(TerminalTextY(terminals.second));
  text += '(';
  text += TerminalText(terminals.first);
  text += ')';
  return text;
}
