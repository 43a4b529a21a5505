#include <algorithm>
#include <cmath>
#include <future>
#include <iterator>
#include <string>
#include <thread>
#include <utility>

#include "contract/contract.h"

// Rules of tests: their results, that a result belongs to its request, progress and cancelling.

namespace contract {
namespace {

void check_texts(Check& check, const kvr_TestData_Ratio_Phase& phase) {
  check.text(phase.phase_name, "phase_name");
  check.text(phase.high_side_phase, "high_side_phase");
  check.text(phase.low_side_phase, "low_side_phase");
  check.text(phase.tvr_name, "tvr_name");
  check.text(phase.tvr_high, "tvr_high");
  check.text(phase.tvr_low, "tvr_low");
}

void check_texts(Check& check, const kvr_TestRecord& record) {
  check.text(record.asset_id, "asset_id");
  check.text(record.group_id, "group_id");
  check.text(record.record_id, "record_id");
  check.text(record.timestamp, "timestamp");
  for (std::uint32_t number = 0; number < record.data_count; ++number) {
    if (record.data_ratio_1ph != nullptr && record.data_ratio_1ph[number] != nullptr) {
      check_texts(check, record.data_ratio_1ph[number]->phase);
    }
    if (record.data_ratio_3ph != nullptr && record.data_ratio_3ph[number] != nullptr) {
      for (const kvr_TestData_Ratio_Phase& phase : record.data_ratio_3ph[number]->phases) {
        check_texts(check, phase);
      }
    }
  }
}

/// For a record of one test that was not stored, or stored in a new record.
void check_head(Check& check, const kvr_TestRecord& record, kvr_TestType type) {
  check.that(record.test_type == type, "test_type is not that of the request");
  check.that(record.test_count == 1, "test_count is not 1");
  check.that(record.data_count == 1, "data_count is not 1");
  check.that(record.timestamp[0] != '\0', "timestamp is empty");
  check.that(record.data_mbalance == nullptr && record.data_resistance == nullptr &&
                 record.data_demag == nullptr && record.data_efficiency == nullptr &&
                 record.data_impedance == nullptr && record.data_drm == nullptr &&
                 record.data_heatrun == nullptr && record.data_gonogo == nullptr,
             "a ratio record has results of another family");
  check.that(record.raw_data == nullptr, "raw data came without being asked for");
}

void check_phase(Check& check, const kvr_TestData_Ratio_Phase& phase, bool is_three_phase) {
  const std::string name =
      "phase " +
      std::string(phase.phase_name, std::find(phase.phase_name, std::end(phase.phase_name), '\0'));
  check.answer("status of " + name + ": it", phase.status, KVR_RES_OK);
  check.that(phase.voltage_h > 0 && phase.voltage_x > 0,
             name + " has a voltage that is not above 0");
  check.that(phase.voltage_rms > 0 && phase.current_rms > 0,
             name + " has an r.m.s. value that is not above 0");
  check.that(phase.frequency > 10 && phase.frequency < 1000,
             name + " has a frequency of " + std::to_string(phase.frequency));
  check.that(std::isfinite(phase.tnr) && phase.tnr > 0, name + " has no ratio");
  // Three-phase voltages may be between line and neutral; the ratios then differ by a factor that
  // depends on the vector group and is less than 2.
  const double factor = phase.tvr * double{phase.voltage_x} / double{phase.voltage_h};
  const double most = is_three_phase ? 2 : 1.001;
  check.that(factor < most && factor > 1 / most,
             name + " has a tvr other than the ratio of its voltages");
  for (const float angle : {phase.phase_high, phase.phase_low, phase.phase_shift_absolute,
                            phase.phase_deviation_from_user_phasing, phase.efi}) {
    check.that(std::abs(angle) < 6.3F, name + " has an angle that is not in radians");
  }
}

const kvr_TestData_Ratio_1ph& single_result(Check& check, const kvr_TestRecord& record) {
  check.require(record.data_ratio_1ph != nullptr && record.data_ratio_1ph[0] != nullptr,
                "a single-phase record has no single-phase result");
  return *record.data_ratio_1ph[0];
}

void single_phase_test(Check& check) {
  const Session session(check);
  const Record record = measured(check, "", KVR_SAVE_NOTHING);
  check_head(check, *record, KVR_TEST_RATIO_DOWN);
  check.that(record->data_ratio_3ph == nullptr, "a single-phase record has a three-phase result");
  const kvr_TestData_Ratio_1ph& result = single_result(check, *record);
  check_phase(check, result.phase, false);
  check.that(std::abs(result.reference_ratio - 10) < 1e-6,
             "reference_ratio is not that of the request");
  check.that(std::abs(result.phase.tnr_error - (result.phase.tnr / 10 - 1) * 100) < 1e-3,
             "tnr_error is not the error of tnr in percent");
}

void three_phase_test(Check& check) {
  const Session session(check);
  const kvr_Ratio3phRequest request = request_3ph(kUsualVoltage);
  const TestReply reply = run(check, request_header("", KVR_SAVE_NOTHING), request);
  check.require(accepted(reply.code) && reply.record != nullptr,
                "kvr_Test_Ratio_3ph answered " + code_text(reply.code));
  check_head(check, *reply.record, KVR_TEST_RATIO_DOWN);
  check.that(reply.record->data_ratio_1ph == nullptr,
             "a three-phase record has a single-phase result");
  check.require(
      reply.record->data_ratio_3ph != nullptr && reply.record->data_ratio_3ph[0] != nullptr,
      "a three-phase record has no three-phase result");
  const kvr_TestData_Ratio_3ph& result = *reply.record->data_ratio_3ph[0];
  check.that(std::memcmp(&result.setup, &request, sizeof request) == 0,
             "the result does not repeat the request from 128 on");
  for (const kvr_TestData_Ratio_Phase& phase : result.phases) {
    check_phase(check, phase, true);
  }
  check.that(result.ratio_3ph > 0, "ratio_3ph is not above 0");
  check.that(result.positive_seq_hi > result.negative_seq_hi &&
                 result.positive_seq_hi > result.zero_seq_hi,
             "the positive sequence is not the greatest of the high side");
  check.that(result.step_up == nullptr && result.step_down == nullptr,
             "a test in one direction has nested results");
}

void texts_terminated(Check& check) {
  const Session session(check);
  check_texts(check, *measured(check, "", KVR_SAVE_NOTHING));
  const TestReply reply =
      run(check, request_header("", KVR_SAVE_NOTHING), request_3ph(kUsualVoltage));
  check.require(reply.record != nullptr, "kvr_Test_Ratio_3ph gave no record");
  check_texts(check, *reply.record);
}

void own_request(Check& check) {
  const Session session(check);
  for (const float voltage : {4.0F, 6.0F, 8.0F, 6.0F}) {
    const std::string id = "contract-" + std::to_string(static_cast<int>(voltage));
    const Record record = measured(check, id, KVR_SAVE_NOTHING, voltage);
    const kvr_Ratio1phRequest request = request_1ph(voltage);
    const kvr_TestData_Ratio_1ph& result = single_result(check, *record);
    check.that(std::memcmp(&result.direction, &request, sizeof request) == 0,
               "the result does not repeat its own request from 128 on");
    check.that(std::memcmp(&record->setup, &request.setup, sizeof record->setup) == 0,
               "the record does not repeat the setup of its own request");
    check.that(std::abs(result.phase.voltage_h / voltage - 1) < 0.05F,
               "the measured voltage is not that of the request");
    check.that(record->record_id == id, "the record bears another ID than its request");
  }
}

void raw_data(Check& check) {
  const Session session(check);
  kvr_Ratio1phRequest request = request_1ph(kUsualVoltage);
  request.setup.raw_data_requested = 1;
  const TestReply reply = run(check, request_header("", KVR_SAVE_NOTHING), request);
  check.require(reply.record != nullptr, "kvr_Test_Ratio_1ph gave no record");
  check.that(reply.record->raw_data != nullptr && *reply.record->raw_data != '\0',
             "no raw data came although it was asked for");
}

/// Receives progress callbacks and runs a reaction within them.
struct ProgressLog {
  std::vector<std::pair<int, int>> steps;
  std::function<void(const kvr_Progress&)> reaction;

  static void callback(void* context, const kvr_Progress* progress) {
    ProgressLog& log = *static_cast<ProgressLog*>(context);
    log.steps.emplace_back(progress->current, progress->total);
    if (log.reaction) {
      log.reaction(*progress);
    }
  }

  kvr_ProgressHandler handler() { return {callback, this}; }
};

TestReply run_with(Check& check, ProgressLog& log, const char* id, kvr_SaveMode save_mode) {
  kvr_ProgressHandler handler = log.handler();
  return run(check, request_header(id, save_mode), request_1ph(kUsualVoltage), &handler);
}

void progress(Check& check) {
  const Session session(check);
  ProgressLog log;
  run_with(check, log, "", KVR_SAVE_NOTHING);
  const std::vector<std::pair<int, int>> steps = log.steps;
  check.require(!steps.empty(), "no progress was reported");
  for (std::size_t step = 0; step < steps.size(); ++step) {
    check.that(steps[step].second == steps[0].second, "total changes during a test");
    check.that(step == 0 || steps[step].first > steps[step - 1].first, "current does not rise");
  }
  check.that(steps.back().first == steps.back().second, "the last progress is not the whole");
  kvr_ProgressHandler nobody{nullptr, nullptr};
  for (kvr_ProgressHandler* handler : {&nobody, static_cast<kvr_ProgressHandler*>(nullptr)}) {
    const kvr_code code =
        run(check, request_header("", KVR_SAVE_NOTHING), request_1ph(kUsualVoltage), handler).code;
    check.that(accepted(code), "a test without a progress callback answered " + code_text(code));
  }
  check.that(log.steps == steps, "progress was reported after the end of its test");
}

void cancel(Check& check) {
  constexpr const char* kId = "contract-cancel";
  const Session session(check);
  const StoredRecords stored(check, {kId});
  check.answer("kvr_CancelOperation without a test", check.api.kvr_CancelOperation(),
               KVR_RES_TEST_NOT_RUNNING);
  ProgressLog log;
  std::promise<void> running;
  std::promise<void> cancelled;
  log.reaction = [&, first = true](const kvr_Progress&) mutable {
    if (std::exchange(first, false)) {
      running.set_value();
      cancelled.get_future().wait_for(kPatience);
    }
  };
  std::thread other([&] {
    running.get_future().wait_for(kPatience);
    check.answer("kvr_CancelOperation", check.api.kvr_CancelOperation(), KVR_RES_OK);
    cancelled.set_value();
  });
  const TestReply reply = run_with(check, log, kId, KVR_SAVE_NEW_RECORD);
  other.join();
  check.answer("a cancelled test", reply.code, KVR_RES_OPERATION_CANCELLED);
  check.that(reply.record == nullptr, "a cancelled test gave a record");
  check.that(!exists(check, kId), "a cancelled test was stored");
  measured(check, kId, KVR_SAVE_NEW_RECORD);
}

void calls_within_progress(Check& check) {
  const Session session(check);
  check.answer("kvr_LockAPI", check.api.kvr_LockAPI(), KVR_RES_OK);
  ProgressLog log;
  log.reaction = [&](const kvr_Progress&) {
    kvr_Status status{};
    check.that(check.api.kvr_CheckConnection() == 0,
               "kvr_CheckConnection sees no connection within a progress callback");
    check.answer("kvr_GetStatus within a progress callback", check.api.kvr_GetStatus(&status),
                 KVR_RES_OK);
    check.that(check.api.kvr_CodeToString(KVR_RES_OK) != nullptr,
               "kvr_CodeToString has no text within a progress callback");
    check.answer("a test within a test",
                 run(check, request_header("", KVR_SAVE_NOTHING), request_1ph(kUsualVoltage)).code,
                 KVR_RES_TESTING_IN_PROGRESS);
    check.answer("kvr_DeleteRecord within a test", check.api.kvr_DeleteRecord("contract"),
                 KVR_RES_TESTING_IN_PROGRESS);
  };
  const kvr_code code = run_with(check, log, "", KVR_SAVE_NOTHING).code;
  check.that(accepted(code), "the test around them answered " + code_text(code));
  check.that(!log.steps.empty(), "no progress was reported");
}

void shutdown_within_progress(Check& check) {
  const Session session(check);
  ProgressLog log;
  log.reaction = [&](const kvr_Progress&) { check.api.kvr_Lib_Shutdown(); };
  const TestReply reply = run_with(check, log, "", KVR_SAVE_NOTHING);
  check.that(!accepted(reply.code), "a test was accepted although the library was shut down");
  check.that(reply.record == nullptr, "a test gave a record although the library was shut down");
  check.that(log.steps.size() == 1, "progress was reported after the library was shut down");
}

void shutdown_from_another_thread(Check& check) {
  check.scenes.set("long");
  const Session session(check);
  ProgressLog log;
  std::promise<void> running;
  log.reaction = [&, first = true](const kvr_Progress&) mutable {
    if (std::exchange(first, false)) {
      running.set_value();
    }
  };
  std::thread other([&] {
    running.get_future().wait_for(kPatience);
    check.answer("kvr_Lib_Shutdown during a test", check.api.kvr_Lib_Shutdown(), KVR_RES_OK);
  });
  const kvr_code code = run_with(check, log, "", KVR_SAVE_NOTHING).code;
  other.join();
  check.that(!accepted(code), "a test was accepted although the library was shut down");
}

void emergency_stop(Check& check) {
  check.scenes.set("long");
  const Session session(check);
  ProgressLog log;
  log.reaction = [&](const kvr_Progress&) { check.scenes.set("emergency"); };
  const TestReply reply = run_with(check, log, "", KVR_SAVE_NOTHING);
  check.answer("a test that the emergency button ended", reply.code,
               KVR_RES_EMERGENCY_STOP_PRESSED);
  check.that(reply.record == nullptr, "a stopped test gave a record");
  check.answer("a test under the pressed button",
               run(check, request_header("", KVR_SAVE_NOTHING), request_1ph(kUsualVoltage)).code,
               KVR_RES_EMERGENCY_STOP_PRESSED);
  check.scenes.set("healthy");
  measured(check, "", KVR_SAVE_NOTHING);
}

}  // namespace

std::vector<Rule> test_rules() {
  return {
      {"single-phase-test", "a single-phase record is laid out and filled as it should be",
       single_phase_test},
      {"three-phase-test", "a three-phase record is laid out and filled as it should be",
       three_phase_test},
      {"texts", "every text of a test record is terminated in its field", texts_terminated},
      {"own-request", "a test answers its own request, whatever was asked before", own_request},
      {"raw-data", "raw data comes when it is asked for", raw_data},
      {"progress", "progress rises to the whole and ends with its test", progress},
      {"cancel", "a test can be cancelled from another thread, and the next one is free of it",
       cancel},
      {"calls-within-progress", "a progress callback may call back, and finds a test in progress",
       calls_within_progress},
      {"shutdown-within-progress", "a progress callback may shut the library down",
       shutdown_within_progress},
      {"shutdown-from-another-thread", "shutting down ends the test that runs",
       shutdown_from_another_thread, Rule::kScenes},
      {"emergency-stop", "the emergency button ends a test and prevents the next", emergency_stop,
       Rule::kScenes},
  };
}

}  // namespace contract
