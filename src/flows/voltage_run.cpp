#include "flows/voltage_run.h"

#include <cstdint>
#include <exception>
#include <fstream>
#include <iostream>
#include <sstream>

#include "common/c_text.h"
#include "common/field_text.h"
#include "console/callbacks.h"
#include "console/prompts.h"
#include "console/replies.h"
#include "console/session.h"
#include "console/stop_handling.h"
#include "flows/requests.h"
#include "flows/run_files.h"
#include "text/text_output.h"

namespace {

constexpr std::int32_t kPauseBetweenTestsMs = 1000;

/// One run in progress.
class VoltageRun {
 public:
  VoltageRun(const VoltagePlan& plan, const RatioTestKind& test, const RunConduct& conduct)
      : plan_(plan),
        test_(test),
        conduct_(conduct),
        series_(plan.size() > 1),
        tests_left_(plan.size()),
        test_id_(conduct.test_id) {}

  void prepare() {
    if (series_) {
      use_file(series_file_name(test_id_));
      series_file_ = open_series_file(files_.name, test_.columns);
    }
  }

  void run_tests() {
    for (const VoltagePlanEntry& entry : plan_) {
      if (!conduct_.goes_on()) {
        return;
      }
      announce(entry.voltage);
      kvr_TestRecord* const record = run_one(entry.voltage);
      if (record == nullptr) {
        std::cout << "ERROR in last test";
        return;
      }
      std::cout << '\n';
      test_id_ = field_text(record->record_id);
      show_result(*record);
      if (raw_data_enabled) {
        write_c_text(raw_text_, record->raw_data);
      }
      kvr_FreeTestRecord(record);
      std::cout << '\n';
      if (series_) {
        std::cout.flush();
        sleep_ms(conduct_.pause_ms);
      }
      first_ = false;
    }
  }

  void finish() {
    if (raw_data_enabled) {
      files_.has_raw_file = true;
      note(write_raw_file(files_.name, raw_text_.str()));
    }
    run_file_name = "kvr";  // as before the first run, see console/session.h
  }

  void close_series_file() {
    if (series_) {
      series_file_.close();
      note(series_file_.good());
    }
  }

  const RunFiles& files() const { return files_; }

 private:
  void note(bool written) { files_.are_complete = files_.are_complete && written; }

  void use_file(const std::string& name) {
    files_.name = name;
    run_file_name = name;
  }

  void announce(float voltage) {
    std::cout.precision(2);
    std::cout << "Testing at voltage: " << voltage << '\n' << std::flush;
    --tests_left_;
    std::cout << "Tests left: " << tests_left_ << '\n' << std::flush;
  }

  /// The record of an accepted test; null when the test was refused or gave none. A record that
  /// comes with a refusal is deliberately not freed.
  kvr_TestRecord* run_one(float voltage) {
    kvr_TestRequestHeader header = make_request_header(
        test_id_, test_.may_be_stored ? save_mode_for(first_, series_) : KVR_SAVE_NOTHING);
    kvr_ProgressHandler progress{on_progress, nullptr};
    kvr_TestRecord* record = nullptr;
    const kvr_code code = test_.run(voltage, header, progress, record);
    if (!is_accepted(code)) {
      record = nullptr;
    }
    conduct_.tested(code, voltage, record);
    return record;
  }

  /// A single test is shown and reported at once. A series fills its file, and shows no more than
  /// the result of its last test.
  void show_result(const kvr_TestRecord& record) {
    std::ostringstream text;
    if (!series_) {
      use_file(report_file_name(test_id_));
      note(render(record, text, files_.name.c_str()));
    } else {
      test_.write_rows(series_file_, record);
      if (tests_left_ == 0) {
        render(record, text, nullptr);
      }
    }
    std::cout << text.str();
  }

  static bool render(const kvr_TestRecord& record, std::ostringstream& text,
                     const char* file_name) {
    return KVR_Text_Output::ResultsToReportFile(&record, text, device_serial,
                                                device_software_version, file_name);
  }

  const VoltagePlan& plan_;
  const RatioTestKind& test_;
  const RunConduct& conduct_;
  const bool series_;
  std::uint64_t tests_left_;
  bool first_ = true;
  std::string test_id_;  ///< as given, then that of the last record
  RunFiles files_;
  std::ofstream series_file_;
  std::ostringstream raw_text_;
};

}  // namespace

RunFiles run_voltage_plan(const VoltagePlan& plan, const RatioTestKind& test,
                          const RunConduct& conduct) {
  VoltageRun run(plan, test, conduct);
  run.prepare();
  kvr_LockAPI();
  try {
    run.run_tests();
    run.finish();
  } catch (...) {
    // Nothing above catches it, and the stack need not be unwound before the program ends.
    kvr_UnlockAPI();
    run.close_series_file();
    std::cout.flush();
    // Not "throw;": that of GCC's library for Windows skips std::terminate and its message.
    std::rethrow_exception(std::current_exception());
  }
  kvr_UnlockAPI();
  run.close_series_file();
  return run.files();
}

void run_voltage_plan(const VoltagePlan& plan, const RatioTestKind& test) {
  const auto nobody_has_gone = [] { return !is_ending(); };
  run_voltage_plan(plan, test,
                   {prompt_test_id(), kPauseBetweenTestsMs, nobody_has_gone,
                    [](kvr_code, float, const kvr_TestRecord*) {}});
}
