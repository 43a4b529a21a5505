#pragma once

#include <cstdint>
#include <sstream>
#include <string>
#include <string_view>

#include "api/result_records.h"

/// Turns result records into the text that the operator reads. All text goes into a stream of the
/// caller; only ResultsToReportFile writes elsewhere. Operations keep no state.
///
/// Numbers follow the notation and precision of the stream, which the operations for whole records
/// set to fixed and 8. Lines with a precision of their own restore 8. A null array or entry gives
/// no lines. A bad connection_type in a setup throws as Utils::winding_h
/// does, with the text written so far left in the stream.
class KVR_Text_Output {
 public:
  // Whole records (text_output.cpp).

  /// The whole text of a record. Leaves `out` in fixed notation with precision 8.
  static void ResultsToText(const kvr_TestRecord* record, std::ostringstream& out);
  /// The same, and appends a report to the file `file_name`, unless that is null. If the file can't
  /// be opened, a warning goes to standard output; if it can't be written, nothing does. `out` gets
  /// the text in any case. False when the report could not be written.
  static bool ResultsToReportFile(const kvr_TestRecord* record, std::ostringstream& out,
                                  const std::string& serial, const std::string& sw_version,
                                  const char* file_name);
  static std::string ResultsToString(const kvr_TestRecord* record);
  /// The header line, without a line end.
  static std::string RecordHeaderToText(const kvr_TestRecord* record);
  static std::string RecordHeaderToText(const kvr_TestLabel* record);
  /// Degrees, folded once into -180 to 180, with six decimals.
  static std::string RadToDegText(float radians);

  // Ratio results (ratio_text.cpp). Without `detailed` the angles are left out, and of a
  // three-phase result all that follows them.

  static void ResultsToText_3ph_VR(const kvr_TestData_Ratio_3ph* record, std::ostringstream& out,
                                   bool detailed);
  /// A `reference_ratio` of 0 means that there is none to compare against.
  static void ResultsToText_Phase_VR(const kvr_TestData_Ratio_Phase* phase, double reference_ratio,
                                     std::ostringstream& out, bool detailed);

  // Impedance results (impedance_text.cpp).

  static void ResultsToText_Impedance_Single_3ph(const kvr_TestData_Impedance_SingleTest* test,
                                                 std::ostringstream& out);

  // Resistance results (resistance_text.cpp).

  /// One measured point, and the tap change seen meanwhile on a line of its own.
  static void PointToText(const kvr_TestData_Point* point, std::ostringstream& out);
  static void TapsToText(const kvr_TestData_Taps* taps, std::ostringstream& out);
  static void SidesToText(const kvr_TestData_Sides* sides, std::ostringstream& out);
  /// The points that a running test has saved so far. Leaves `out` in fixed notation with
  /// precision 8.
  static void ProgressToText(const kvr_TestData_Progress* record, std::ostringstream& out);

  // DRM results (drm_text.cpp).

  static void DrmSummaryToText(const kvr_TestData_Drm* record, std::ostringstream& out);

  // The words of the enumerations (enumeration_text.cpp), by the 32-bit value, since a record may
  // hold any. The views live as long as the process; none takes memory.

  static std::string_view TestTypeText(std::uint32_t test_type);
  static std::string_view WindingTextUpper(std::uint32_t winding_type);
  static std::string_view WindingTextLower(std::uint32_t winding_type);
  static std::string_view TestingModeText(std::uint32_t testing_mode);
  static std::string_view HealthStateText(std::uint32_t health_state);
  static std::string_view PointStateText(std::uint32_t point_state);
  static std::string_view TapChangerText(std::uint32_t tap_changer_type);
  static std::string_view NumberingSchemeText(std::uint32_t numbering_scheme);
  static std::string_view LetterLabelText(std::uint32_t letter_label);
  static std::string_view MaterialText(std::uint32_t conductor_material);
  static std::string_view RecordOriginText(std::uint32_t record_origin);
  static std::string_view TerminalText(std::uint32_t terminal);
  /// With the terminals of a tertiary winding.
  static std::string_view TerminalTextY(std::uint32_t terminal);
  /// REQUIRES: `index` is 0 to 6.
  static std::string_view TerminalPairText(std::uint32_t index, bool high_side);
  /// The second terminal, followed by the first in parentheses.
  static std::string TerminalsText(const kvr_TerminalPair& terminals);
};
