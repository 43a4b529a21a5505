#pragma once

#include <fstream>
#include <sstream>
#include <string>

#include "api/result_records.h"

// The files that a run leaves in the results folder: a range-test CSV of a series, and the RAW data
// of any run. Failures of these files are silent. The columns line does not match the rows:
// deliberate, readers of the files rely on both.

/// The column lines of the two kinds of series.
extern const char* const kSinglePhaseColumns;
extern const char* const kThreePhaseColumns;

/// Path of a series file; without a test ID it is named from date and time.
std::string series_file_name(const std::string& test_id);

/// Path of the report of a single test, named after its record.
std::string report_file_name(const std::string& record_id);

/// Opens the CSV of a series and writes its head. On standard output it says where the data goes,
/// whether or not the file could be opened.
std::ofstream open_series_file(const std::string& file_name, const std::string& columns);

/// Write a row for each result of a record.
void write_single_phase_rows(std::ostream& file, const kvr_TestRecord& record);
void write_three_phase_rows(std::ostream& file, const kvr_TestRecord& record);

/// The name of the RAW file beside the file of a run; ".RAW.csv" for an empty name.
std::string raw_file_name(const std::string& run_file);

/// Writes the RAW data of a run beside the file of that run. With an empty `run_file` it goes to
/// ".RAW.csv" in the working folder. False when not all of it could be written.
bool write_raw_file(const std::string& run_file, const std::string& raw_text);
