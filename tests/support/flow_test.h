#pragma once

#include <memory>
#include <string>

#include "console/session.h"
#include "support/record_text.h"
#include "support/session_test.h"
#include "support/temporary_folder.h"
#include "text/text_output.h"

/// A session with a connected, healthy instrument. The results folder and the working folder are
/// two new ones.
class FlowTest : public SessionTest {
 protected:
  FlowTest() : in_working_folder_(working_folder.path()) {
    results_folder = results.prefix();
    client_version = "5.6.7";
    device_serial = "SN-0042";
    device_software_version = "1.2";
    device_info = default_device_info();
    device_status = healthy_status();
  }

  /// A record as the library returns it, from the notation of support/record_text.h.
  static std::shared_ptr<kvr_TestRecord> record_of(const std::string& text) {
    const auto owned = std::make_shared<OwnedRecord>(parse_record(text, "record"));
    return {owned, owned->get()};
  }
  static RecordMaker gives(const std::string& text) {
    return [text] { return record_of(text); };
  }

  static std::string text_of(const kvr_TestRecord& record) {
    return KVR_Text_Output::ResultsToString(&record);
  }

  const TemporaryFolder results;
  const TemporaryFolder working_folder;

 private:
  const WorkingFolder in_working_folder_;
};

/// The head of a series file at the time of the tests.
inline std::string series_head(const std::string& columns) {
  return "sep=;\n"
         "KVRU3 client version;5.6.7\n"
         "KVRU3 software version;1.2\n"
         "Date & Time;Mon Mar 15 12:00:00 2021\n"
         "\n"
         "\n" +
         columns + "\n";
}
