#pragma once

#include <ostream>

#include "api/result_records.h"

// The export of stored ratio records to comma-separated files. No item of the console tester's main
// menu leads here; the workbench's menu does.
//
// Nothing is quoted. In the three-phase file, header and rows differ after column 27: deliberate,
// since spreadsheets that read these files count columns.

/// Exports all stored records to 3ph_export.csv and 1ph_export.csv in a new folder of the results
/// folder, named from date and time. A file that can't be opened is not reported.
void export_records();

/// The header rows of the two files.
extern const char* const kThreePhaseExportHeader;
extern const char* const kSinglePhaseExportHeader;

/// Write the rows of a record: one for each of its test_count results, cut short at the first phase
/// whose status is not KVR_RES_OK, or one that says that there are no results.
void write_three_phase_export(std::ostream& file, const kvr_TestRecord& record);
void write_single_phase_export(std::ostream& file, const kvr_TestRecord& record);
