#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "record_form/record_nest.h"

// The facts that a report is made from, whatever they were read from. Results keep the form of the
// client library, so that no number passes through a second form on its way to the page; what the
// source can't state has no value here, and the page says so.

namespace report {

/// A file that facts were read from. The name has no folder: that says nothing about the facts.
struct SourceFile {
  std::string name;
  std::uint64_t size = 0;
  std::string sha256;
};

struct Instrument {
  std::optional<std::string> type;
  std::optional<std::string> serial_number;
  std::optional<std::string> hardware_version;
  std::optional<std::string> software_version;
  std::optional<std::string> firmware_version;
  std::optional<std::string> client_version;
  std::optional<std::string> calibration_date;  ///< YYYY-MM-DD
};

enum class Origin {
  kStore,   ///< everything that the client library returned
  kTape,    ///< the same
  kSeries,  ///< rows of a series file: no setup, and few of a result's fields
  kText,    ///< the text that the operator read
};

using NamedText = std::pair<std::string, std::string>;

struct Record {
  RecordNest nest;  ///< never null
  Origin origin = Origin::kStore;
  std::string file;              ///< name of the file that it was read from
  std::vector<NamedText> lines;  ///< of a text, name and value
  bool has_results = true;       ///< false for a text that holds results of a form only shown

  bool has_setup() const { return origin == Origin::kStore || origin == Origin::kTape; }
};

struct Facts {
  Instrument instrument;
  std::vector<Record> records;
  std::vector<SourceFile> files;
  std::vector<std::string> remarks;  ///< on what could not be read
};

/// Why no facts could be read; the text names the file.
struct ReadFailure : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// The bytes of a file. Throws ReadFailure.
std::string read_bytes(const std::filesystem::path& path);

/// The file's name without its folder.
std::string name_of(const std::filesystem::path& path);

/// "file:///...", with every byte but letters and digits as its number.
std::string file_uri(const std::filesystem::path& path);

SourceFile source_file(const std::filesystem::path& path, std::string_view bytes);

/// Every record of a store, or those with the IDs in `only`, in the order in which they began. The
/// store does not change. Throws ReadFailure, also for an ID that is not there; a damaged record is
/// left out with a remark.
Facts read_store(const std::filesystem::path& path, const std::vector<std::string>& only = {});

/// The tests that were made while a tape was recorded, those of a run as one record, and the
/// records that were read, in their order. Of two with one ID the one with more tests stays. Throws
/// ReadFailure, also for an ID that is not there.
Facts read_tape(const std::filesystem::path& path, const std::vector<std::string>& only = {});

/// The series, reports and RAW data in a folder of run files, in the order of their names; other
/// files are not looked at. Throws ReadFailure.
Facts read_runs(const std::filesystem::path& folder, const std::vector<std::string>& only = {});

}  // namespace report
