#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "api/request_records.h"
#include "api/result_records.h"
#include "api/standard_type.h"
#include "utils/entry_records.h"

/// A side of the pair of windings that a test joins.
enum SideOfPair : std::int32_t { kSideH = 0, kSideX = 1 };

/// Index of the winding on each side, by connection_type: H to X, H to Y, X to Y.
constexpr std::array<std::array<std::size_t, 2>, 3> kWindingOfSide{{{0, 1}, {0, 2}, {1, 2}}};

/// Which end of a manual measurement to label.
struct ConnectionRequest {
  std::int32_t side;     ///< a SideOfPair
  std::int32_t measure;  ///< a Measure
};

static_assert(offsetof(ConnectionRequest, measure) == 4);

struct ConnectionLabel {
  std::int32_t status;   ///< always 0
  std::int32_t side;     ///< as requested
  std::int32_t measure;  ///< as requested
  std::int32_t winding;  ///< 1 H, 2 X, 3 Y; 0 when the pair is bad
  char label[kNameSize];
};

static_assert(offsetof(ConnectionLabel, side) == 4);
static_assert(offsetof(ConnectionLabel, measure) == 8);
static_assert(offsetof(ConnectionLabel, winding) == 12);
static_assert(offsetof(ConnectionLabel, label) == 16);
static_assert(sizeof(ConnectionLabel) == 36);

/// Static helpers for files, windings, test setups and copies of records. Each either returns a
/// result, throws kvr_exception, or stays silent; its comment says which.
class Utils {
 public:
  // Files and processes (files.cpp). Paths go to the system as they are.

  /// Logs and does nothing else.
  static void SyncFS();
  /// Removes a file; silent when it can't.
  static void UtilDeleteFile(const std::string& path);
  /// Makes one folder. False, and an error in the log, when it can't or when it exists.
  static bool CreateDir(const std::string& path);
  /// Copies a file over `target`. False only after an exception of the streams, which keep their
  /// default settings: a file that can't be opened by itself still gives true.
  static bool UtilCopyFile(const std::string& source, const std::string& target);
  /// Appends `text` to a file. False, and a warning in the log, when it can't be opened.
  static bool WriteToDevice(const std::string& path, const std::string& text);
  /// The whole file without white space at its ends; empty when it can't be read.
  static std::string ReadTextFile(const std::string& path);
  /// Size in bytes. Throws KVR_RES_FILE_NOT_FOUND. Deliberately a signed 32-bit number, so wrong
  /// from 2 GiB on.
  static std::int64_t GetFileSize(const std::string& path);
  /// Runs a command. True when it ends with 0; otherwise false, or KVR_RES_INTERNAL_ERROR is thrown
  /// unless `noThrow`.
  static bool ExecSystem(const std::string& command, bool noThrow);
  /// Replaces the content of a file. Throws KVR_RES_INTERNAL_ERROR when it can't be opened.
  static void WriteFileData(const std::string& path, const std::string& text);

  // The pair of windings that a test joins (windings.cpp). All throw
  // KVR_RES_INCORRECT_PARAMETERS for a connection_type outside 0 to 2. "H" and "X" are the high and
  // the low side of the pair, not terminal marks.

  static const kvr_WindingSetup& winding_h(const kvr_TestSetup& setup);
  static const kvr_WindingSetup& winding_x(const kvr_TestSetup& setup);
  static kvr_WindingSetup& winding_x_mutable(kvr_TestSetup& setup);
  static const kvr_ConnectionSetup& connection(const kvr_TestSetup& setup);

  // Questions about a setup (setup_questions.cpp). They throw as the resolvers above do.

  /// Clock number of the pair's connection.
  static std::int32_t clock_number(const kvr_TestSetup& setup);
  /// Phase shift of the low side, rad.
  static float phase_shift_x(const kvr_TestSetup& setup);
  /// Ratio of the ratings: currents when the high side is a CT, else voltages; 0 without ratings.
  static double nameplate_ratio(const kvr_TestSetup& setup);
  static bool has_oltc(const kvr_TestSetup& setup);
  static bool has_voltages(const kvr_TestSetup& setup);
  /// The SideOfPair with the on-load tap changer. Throws KVR_RES_OLTC_TAPCHANGER_MISSING.
  static std::int32_t oltc_side(const kvr_TestSetup& setup);
  /// The phases that a tested phase code stands for. Throws KVR_RES_INTERNAL_ERROR.
  static std::vector<std::int32_t> GetTestPhaseIndexes(int phase);

  // Labels of a setup's terminals (standards/connection_labels.cpp).

  /// The label of one end of a manual measurement. Throws as Standards does for a bad measure or
  /// standard; a bad side or connection type gives an empty label.
  static ConnectionLabel connection_label(const ConnectionRequest& request, int connection_type,
                                          kvr_StandardType standard);
  /// The low-side terminal pair `measure` while the pair `shorted` is shorted together.
  static std::string short_label(int measure, int shorted);

  // Text and values (values.cpp).

  /// The metric prefix for `value` and the factor that scales it to that prefix.
  static void toPhisValue(double value, std::string& prefix, double& multiplier);
  /// Without white space at both ends.
  static std::string trim(std::string text);
  /// Every `from` replaced; the search goes on after each inserted text. `from` must not be empty.
  static std::string replace_all(std::string text, const std::string& from, const std::string& to);
  /// Without a last "_" and what follows it, if a digit follows it.
  static std::string strip_numeric_suffix(const std::string& text);
  /// CRC-16/ARC of a byte run; 0 for a null or empty one.
  static std::uint16_t crc16(const ByteRun& bytes);

  // Deep copies of results and their disposal (record_copies.cpp). A clone owns all that it
  // reaches and nothing in it points into the source; a null source gives null. Counts in the
  // source are trusted. Allocation failures pass to the caller and leak nothing.

  static kvr_TestData_Ratio_3ph* clone_record(const kvr_TestData_Ratio_3ph* source);
  static kvr_TestData_Impedance* clone_record(const kvr_TestData_Impedance* source);
  static kvr_TestData_Impedance_List* clone_record(const kvr_TestData_Impedance_List* source);
  static kvr_TestData_MagneticBalance* clone_record(const kvr_TestData_MagneticBalance* source);
  static kvr_TestData_Resistance* clone_record(const kvr_TestData_Resistance* source);
  static kvr_TestData_Sides* clone_record(const kvr_TestData_Sides* source);
  static kvr_TestData_Taps* clone_record(const kvr_TestData_Taps* source);
  static kvr_TestData_Tap* clone_record(const kvr_TestData_Tap* source);
  static kvr_TestData_Point* clone_record(const kvr_TestData_Point* source);

  // Free a record with all that hangs from it; null is allowed. Arrays and texts are freed by
  // delete[], all other blocks by delete: allocate accordingly. The arrays of a record's families
  // have data_count entries; `first_transition` is an array. An array of pointers is freed too.

  static void free_record(kvr_TestData_Ratio_3ph* record);
  static void free_record(kvr_TestData_Impedance* record);
  static void free_record(kvr_TestData_Impedance_List* record);
  static void free_record(kvr_TestData_MagneticBalance* record);
  static void free_record(kvr_TestData_Resistance* record);
  static void free_record(kvr_TestData_Sides* record);
  static void free_record(kvr_TestData_Taps* record);
  static void free_record(kvr_TestData_Tap* record);
  static void free_record(kvr_TestData_Point* record);
  static void free_record(kvr_TestLabelsList* list);
  static void free_record(kvr_TestRecord* record);
  static void free_record(kvr_TestRecord** records, std::uint32_t count);

  // Flat copies, source first (record_copies.cpp).

  /// Copies the first 392 bytes of a setup: the temperatures and flags after them stay.
  static void copy_setup(const kvr_TestSetup& source, kvr_TestSetup& target);
  static void copy_winding(const kvr_WindingSetup& source, kvr_WindingSetup& target);

  // Entry records (entry_records.cpp). Filling a list does not free what it held. When filling
  // fails the list stays as it was. A negative or huge count fails as an allocation.

  static kvr_EntryRecord* clone_entry_record(const kvr_EntryRecord* source);
  static void free_record(kvr_EntryRecord* record);
  static void copy_entry_list(const kvr_NamedEntryList& source, kvr_NamedEntryList& target);
  static void copy_entries(const std::vector<kvr_NamedEntry>& source, kvr_NamedEntryList& target);
  /// Throws KVR_RES_TEXT_TOO_LONG for a name without its terminator in its field.
  static void copy_entry(const kvr_NamedEntry& source, kvr_NamedEntry& target);

  // Comparisons (comparisons.cpp).

  static bool near_equal(double a, double b);
  static bool near_equal(float a, float b);
  static bool equal_name(const char (&a)[31], const char (&b)[31]);
  static bool equal_block(const ComparedBlock& a, const ComparedBlock& b);
  static bool equal_limits(const ComparedLimits& a, const ComparedLimits& b);
  static bool equal_settings(const ComparedSettings& a, const ComparedSettings& b);
};

/// Whether a file can be opened for reading. A folder counts as not existing.
bool FileExists(const std::string& path);
/// Whether the text of a file begins with "1", white space aside.
bool ReadFlagFile(const std::string& path);
/// Removes a path and all below it, or as much of it as can be. True if anything was removed.
bool RemoveAll(const std::string& path);
/// Removes all that a folder holds, if it exists; silent about what it can't remove.
void ClearDirectory(const std::string& path);
/// The system's temporary folder, UTF-8; empty when there is none.
std::string TempDirectoryText();
/// The environment's APPDATA; empty when unset or longer than 259 bytes.
std::string AppDataPath();
