#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "unit/virtual_instrument/session/client.h"
#include "virtual_instrument/bench/bench_reader.h"
#include "virtual_instrument/bench/bench_unit.h"
#include "virtual_instrument/measurement/single_phase_ratio.h"

namespace virtual_instrument {
namespace {

/// Receives progress callbacks and runs a reaction within them.
struct ProgressLog {
  std::vector<std::pair<int, int>> steps;
  std::thread::id thread;
  std::function<void(const kvr_Progress&)> reaction;

  static void callback(void* context, const kvr_Progress* progress) {
    ProgressLog& log = *static_cast<ProgressLog*>(context);
    log.steps.emplace_back(progress->current, progress->total);
    log.thread = std::this_thread::get_id();
    if (log.reaction) {
      log.reaction(*progress);
    }
  }

  kvr_ProgressHandler handler() { return {callback, this}; }
};

/// A test that takes an hour, so that only the event under test ends it.
constexpr const char* kLong = "[measurement]\nduration = 3600\nsteps = 1000000\n";

class TestRun : public ClientTest {
 protected:
  TestAnswer run() {
    kvr_ProgressHandler handler = progress_.handler();
    return test("T1", KVR_SAVE_NEW_RECORD, &handler);
  }

  static bool stored(const char* id) {
    bool exists = false;
    EXPECT_EQ(kvr_CheckRecordExists(id, &exists), KVR_RES_OK);
    return exists;
  }

  ProgressLog progress_;
};

TEST_F(TestRun, ReportsItsProgressOnAThreadOfTheLibrary) {
  start("[measurement]\nduration = 0\nsteps = 3\n");
  EXPECT_EQ(run().code, KVR_RES_OK);
  const std::vector<std::pair<int, int>> expected{{1, 3}, {2, 3}, {3, 3}};
  EXPECT_EQ(progress_.steps, expected);
  EXPECT_NE(progress_.thread, std::this_thread::get_id());
}

TEST_F(TestRun, NeedsNoProgressCallback) {
  start();
  kvr_ProgressHandler handler{nullptr, nullptr};
  EXPECT_EQ(test("", KVR_SAVE_NOTHING, &handler).code, KVR_RES_OK);
}

TEST_F(TestRun, TakesItsTime) {
  start("[measurement]\nduration = 0.4\nsteps = 4\nsamples_per_period = 16\nperiods = 2\n");
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(test().code, KVR_RES_OK);
  EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(400));
}

TEST_F(TestRun, EndsOnCancelFromAnotherThread) {
  start(kLong);
  std::promise<void> running;
  std::once_flag once;
  progress_.reaction = [&](const kvr_Progress&) {
    std::call_once(once, [&] { running.set_value(); });
  };
  std::thread canceller([&] {
    running.get_future().wait();
    EXPECT_EQ(kvr_CancelOperation(), KVR_RES_OK);
  });
  const TestAnswer answer = run();
  canceller.join();
  EXPECT_EQ(answer.code, KVR_RES_OPERATION_CANCELLED);
  EXPECT_EQ(answer.record, nullptr);
  EXPECT_EQ(kvr_CancelOperation(), KVR_RES_TEST_NOT_RUNNING);
  EXPECT_FALSE(stored("T1"));
}

// One step only, an hour long: nothing but the stop itself can wake the test within it.
TEST_F(TestRun, AStopWakesATestThatWaits) {
  start("[measurement]\nduration = 3600\nsteps = 1\n");
  std::future<kvr_code> test_code = std::async(std::launch::async, [this] { return run().code; });
  while (kvr_UnlockAPI() != KVR_RES_TESTING_IN_PROGRESS) {
    std::this_thread::yield();
  }
  // Nothing shows whether the test waits already; it does after much less time than this.
  EXPECT_EQ(test_code.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
  EXPECT_EQ(kvr_CancelOperation(), KVR_RES_OK);
  if (test_code.wait_for(std::chrono::seconds(5)) != std::future_status::ready) {
    ADD_FAILURE() << "the stop did not wake the test: it waits for the end of its step";
    kvr_Lib_Shutdown();  // wakes it in another way
  }
  EXPECT_EQ(test_code.get(), KVR_RES_OPERATION_CANCELLED);
}

TEST_F(TestRun, TheFirstReasonToStopIsTheOneItEndsWith) {
  const std::string stopped = "[status]\nemergency_button_pressed = true\n";
  start(kLong);
  progress_.reaction = [&](const kvr_Progress&) {
    EXPECT_EQ(kvr_CancelOperation(), KVR_RES_OK);
    set_bench(kLong + stopped);
    EXPECT_EQ(kvr_CheckConnection(), KVR_RES_OK);  // by now the button has been seen
  };
  EXPECT_EQ(run().code, KVR_RES_OPERATION_CANCELLED) << "the button came after the cancel";
  set_bench(kLong);
  progress_.reaction = [&](const kvr_Progress&) {
    set_bench(kLong + stopped);
    EXPECT_EQ(kvr_CheckConnection(), KVR_RES_OK);
    EXPECT_EQ(kvr_CancelOperation(), KVR_RES_OK);
  };
  EXPECT_EQ(run().code, KVR_RES_EMERGENCY_STOP_PRESSED) << "the cancel came after the button";
}

TEST_F(TestRun, EndsOnCancelFromWithinEachProgressCallback) {
  for (const int step : {1, 2, 3}) {
    progress_ = {};
    start("[measurement]\nduration = 0\nsteps = 3\n");
    progress_.reaction = [step](const kvr_Progress& progress) {
      if (progress.current == step) {
        EXPECT_EQ(kvr_CancelOperation(), KVR_RES_OK);
        EXPECT_EQ(kvr_CancelOperation(), KVR_RES_OK);
      }
    };
    EXPECT_EQ(run().code, KVR_RES_OPERATION_CANCELLED);
    EXPECT_EQ(progress_.steps.size(), static_cast<std::size_t>(step));
    EXPECT_FALSE(stored("T1"));
    EXPECT_EQ(kvr_Lib_Shutdown(), KVR_RES_OK);
  }
}

TEST_F(TestRun, ACancelledTestLeavesTheNextOneAlone) {
  start("[measurement]\nduration = 0\nsteps = 2\n");
  progress_.reaction = [](const kvr_Progress&) { kvr_CancelOperation(); };
  EXPECT_EQ(run().code, KVR_RES_OPERATION_CANCELLED);
  progress_.reaction = nullptr;
  EXPECT_EQ(run().code, KVR_RES_OK);
  EXPECT_TRUE(stored("T1"));
}

TEST_F(TestRun, CallbacksMayCallTheLibrary) {
  start("[measurement]\nduration = 0\nsteps = 1\n");
  ASSERT_EQ(kvr_LockAPI(), KVR_RES_OK);
  progress_.reaction = [this](const kvr_Progress&) {
    kvr_Status status{};
    kvr_DeviceInfo info{};
    kvr_TestLabelsList* list = nullptr;
    EXPECT_EQ(kvr_CheckConnection(), 0);
    EXPECT_EQ(kvr_GetStatus(&status), KVR_RES_OK);
    EXPECT_EQ(kvr_GetDeviceInfo(&info), KVR_RES_OK);
    EXPECT_STREQ(kvr_CodeToString(KVR_RES_OK), "Done");
    EXPECT_EQ(kvr_ListRecords(&list, nullptr, 0, 1), KVR_RES_OK);
    EXPECT_EQ(kvr_FreeTestLabelsList(list), KVR_RES_OK);
    EXPECT_EQ(test().code, KVR_RES_TESTING_IN_PROGRESS);
    EXPECT_EQ(test_3ph().code, KVR_RES_TESTING_IN_PROGRESS);
    EXPECT_EQ(kvr_DeleteRecord("T1"), KVR_RES_TESTING_IN_PROGRESS);
    EXPECT_EQ(kvr_ClearTestDatabase(), KVR_RES_TESTING_IN_PROGRESS);
    EXPECT_EQ(kvr_UnlockAPI(), KVR_RES_TESTING_IN_PROGRESS);
    EXPECT_EQ(initialize(), KVR_RES_LIB_ALREADY_INITIALIZED);
    EXPECT_EQ(connect(), KVR_CLIENT_CONNECTED);
  };
  EXPECT_EQ(run().code, KVR_RES_OK);
}

TEST_F(TestRun, RefusalsEndATestBeforeItBegins) {
  start();
  kvr_ProgressHandler handler = progress_.handler();
  kvr_TestRequestHeader header = request_header("T1", KVR_SAVE_NEW_RECORD);
  kvr_Ratio1phRequest request = ratio_1ph_request(KVR_TEST_RATIO_DOWN, 1000);
  kvr_TestRecord* record = nullptr;
  EXPECT_EQ(kvr_Test_Ratio_1ph(&header, &request, &handler, &record), KVR_RES_UNSUPPORTED_VOLTAGE);
  request = ratio_1ph_request(KVR_TEST_SCI, 8);
  EXPECT_EQ(kvr_Test_Ratio_1ph(&header, &request, &handler, &record),
            KVR_RES_TESTING_METHOD_NOT_SUPPORTED);
  EXPECT_EQ(record, nullptr);
  EXPECT_TRUE(progress_.steps.empty());
  set_bench("[status]\nmeasurement_board_connected = false\n");
  EXPECT_EQ(run().code, KVR_RES_MEASUREMENT_BOARD_CONNECTION);
  set_bench("[status]\napi_locked = true\n");
  EXPECT_EQ(run().code, KVR_RES_API_LOCKED);
  EXPECT_TRUE(progress_.steps.empty());
  EXPECT_FALSE(stored("T1"));
}

// A test whose result could not be stored is refused before it begins.
TEST_F(TestRun, AnIdThatIsTakenOrOfAnotherKindEndsATestBeforeItBegins) {
  start();
  ASSERT_EQ(test("T1", KVR_SAVE_NEW_RECORD).code, KVR_RES_OK);
  kvr_ProgressHandler handler = progress_.handler();
  EXPECT_EQ(test("T1", KVR_SAVE_NEW_RECORD, &handler).code, KVR_RES_TESTID_EXISTS);
  EXPECT_TRUE(progress_.steps.empty()) << "the ID was found taken only after the test";
  kvr_TestRequestHeader header = request_header("T1", KVR_SAVE_ADD_TO_RECORD);
  kvr_Ratio1phRequest request = ratio_1ph_request(KVR_TEST_RATIO_UP, 8);
  kvr_TestRecord* record = nullptr;
  EXPECT_EQ(kvr_Test_Ratio_1ph(&header, &request, &handler, &record),
            KVR_RES_TEST_CONFIG_INCOMPATIBLE);
  EXPECT_TRUE(progress_.steps.empty()) << "the record was found unfit only after the test";
  EXPECT_EQ(test_3ph("T1", KVR_SAVE_ADD_TO_RECORD, &handler).code,
            KVR_RES_TEST_CONFIG_INCOMPATIBLE);
  EXPECT_TRUE(progress_.steps.empty()) << "the other family was found unfit only after the test";
  set_bench("[status]\nsecondary_sd_read_only = true\n");
  EXPECT_EQ(test("T2", KVR_SAVE_NEW_RECORD, &handler).code, KVR_RES_SECONDARY_SDCARD_READ_ONLY);
  EXPECT_TRUE(progress_.steps.empty()) << "the card was found unfit only after the test";
}

TEST_F(TestRun, LimitsOfTheInstrumentEndIt) {
  start("[instrument]\nmaximum_current = 1e-6\n");
  EXPECT_EQ(run().code, KVR_RES_EXCITATION_CURRENT_TOO_HIGH);
  EXPECT_FALSE(stored("T1"));
}

TEST_F(TestRun, TheEmergencyButtonEndsIt) {
  start(kLong);
  progress_.reaction = [this](const kvr_Progress& progress) {
    if (progress.current == 2) {
      set_bench(std::string(kLong) + "[status]\nemergency_button_pressed = true\n");
    }
  };
  EXPECT_EQ(run().code, KVR_RES_EMERGENCY_STOP_PRESSED);
  EXPECT_EQ(progress_.steps.size(), 2U);
  EXPECT_EQ(status_.wait_for(1)[0].code, KVR_RES_EMERGENCY_STOP_PRESSED);
}

TEST_F(TestRun, TheInterlockEndsIt) {
  start(kLong);
  progress_.reaction = [this](const kvr_Progress&) {
    set_bench(std::string(kLong) + "[status]\ninterlock_on = true\n");
  };
  EXPECT_EQ(run().code, KVR_RES_INTERLOCK_ON);
}

/// The turns ratios that tests of a session on this bench measure.
std::vector<double> ratios_on(const std::string& text, std::uint64_t first_seed, int count) {
  const Bench bench = read_bench(text, "bench", built_in_bench()).bench;
  TransformerUnit unit = make_unit(bench);
  std::vector<double> ratios;
  for (int number = 0; number < count; ++number) {
    const SinglePhaseRatio outcome =
        measure_single_phase_ratio(unit, ratio_1ph_request(KVR_TEST_RATIO_DOWN, 8, 10), bench,
                                   first_seed + static_cast<std::uint64_t>(number));
    unit.core.residual_flux = outcome.residual_flux;
    ratios.push_back(outcome.data.phase.tnr);
  }
  return ratios;
}

TEST_F(TestRun, NoiseIsThatOfTheSeedAndOfTheNumberOfTheTest) {
  for (const int seed : {1, 2}) {
    const std::string bench =
        "[measurement]\nduration = 0\nnoise = 1\nseed = " + std::to_string(seed) + "\n";
    start(bench);
    for (const double ratio : ratios_on(bench, static_cast<std::uint64_t>(seed) << 32, 3)) {
      const TestAnswer answer = test();
      ASSERT_EQ(answer.code, KVR_RES_OK);
      EXPECT_NEAR(answer.record->data_ratio_1ph[0]->phase.tnr, ratio, 1e-9) << "seed " << seed;
    }
    EXPECT_EQ(kvr_Lib_Shutdown(), KVR_RES_OK);
  }
}

TEST_F(TestRun, ALostConnectionEndsIt) {
  start("[connection]\nlost_at_step = 2\n[measurement]\nduration = 0\nsteps = 3\n");
  EXPECT_EQ(run().code, KVR_RES_PEER_DISCONNECTED);
  EXPECT_EQ(progress_.steps.size(), 1U);
  EXPECT_EQ(status_.wait_for(1)[0].code, KVR_RES_PEER_DISCONNECTED);
  EXPECT_EQ(kvr_CheckConnection(), KVR_RES_PEER_DISCONNECTED);
}

TEST_F(TestRun, ACardThatGoesMissingMeanwhileCostsTheResult) {
  start("[measurement]\nduration = 0\nsteps = 2\n");
  progress_.reaction = [this](const kvr_Progress&) {
    set_bench("[status]\nsecondary_sd_mounted = false\n");
  };
  const TestAnswer answer = run();
  EXPECT_EQ(answer.code, KVR_RES_SECONDARY_SDCARD_MISSING);
  EXPECT_EQ(answer.record, nullptr);
}

TEST_F(TestRun, ALeadThatComesLooseMeanwhileIsNoticed) {
  start("[measurement]\nduration = 0\nsteps = 2\n");
  progress_.reaction = [this](const kvr_Progress&) { set_bench("[leads]\nopen = [\"X2\"]\n"); };
  const TestAnswer answer = run();
  EXPECT_EQ(answer.code, KVR_RES_OPEN_LEAD_X2);
  EXPECT_EQ(answer.record, nullptr);
  EXPECT_FALSE(stored("T1"));
}

TEST_F(TestRun, AnInstrumentThatCantGiveTheVoltageAnyMoreIsNoticed) {
  start("[measurement]\nduration = 0\nsteps = 2\n");
  progress_.reaction = [this](const kvr_Progress&) {
    set_bench("[instrument]\nmaximum_voltage = 5\n");
  };
  EXPECT_EQ(run().code, KVR_RES_UNSUPPORTED_VOLTAGE);
}

TEST_F(TestRun, WhatChangesMeanwhileIsMeasured) {
  start("[measurement]\nduration = 0\nsteps = 2\nnoise = 0\n");
  progress_.reaction = [this](const kvr_Progress&) {
    set_bench("[transformer]\nturns_deviation = 5\n");
  };
  const TestAnswer answer = run();
  ASSERT_EQ(answer.code, KVR_RES_OK);
  EXPECT_NEAR(answer.record->data_ratio_1ph[0]->phase.tnr, 10.5, 0.01);
}

TEST_F(TestRun, AChangeMeanwhileMagnetisesNothingTwice) {
  const std::string magnetised = "[transformer]\nresidual_flux = [0.9, -0.5, -0.4]\n";
  start(magnetised);
  const double undisturbed = run().record->data_ratio_1ph[0]->phase.tnr;
  ASSERT_EQ(kvr_Lib_Shutdown(), KVR_RES_OK);
  start(magnetised);
  ASSERT_EQ(kvr_ClearTestDatabase(), KVR_RES_OK);
  progress_.reaction = [&](const kvr_Progress&) { set_bench(magnetised + "# saved again\n"); };
  EXPECT_EQ(run().record->data_ratio_1ph[0]->phase.tnr, undisturbed);
}

TEST_F(TestRun, ShutdownFromAnotherThreadEndsItAndWaitsForIt) {
  start(kLong);
  std::promise<void> running;
  std::once_flag once;
  std::atomic<bool> is_down = false;
  progress_.reaction = [&](const kvr_Progress&) {
    EXPECT_FALSE(is_down);
    std::call_once(once, [&] { running.set_value(); });
  };
  std::thread ending([&] {
    running.get_future().wait();
    EXPECT_EQ(kvr_Lib_Shutdown(), KVR_RES_OK);
    is_down = true;
  });
  EXPECT_EQ(run().code, KVR_RES_OPERATION_CANCELLED);
  ending.join();
  EXPECT_EQ(kvr_CheckConnection(), KVR_RES_LIB_NOT_INITIALIZED);
}

TEST_F(TestRun, ShutdownReturnsOnlyAfterTheCallbackThatRuns) {
  start(kLong);
  std::future<kvr_code> down;
  progress_.reaction = [&](const kvr_Progress&) {
    down = std::async(std::launch::async, kvr_Lib_Shutdown);
    while (kvr_CheckConnection() != KVR_RES_LIB_NOT_INITIALIZED) {
      std::this_thread::yield();
    }
    EXPECT_EQ(down.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout)
        << "the shutdown did not wait for the test, whose callback still runs";
  };
  EXPECT_EQ(run().code, KVR_RES_OPERATION_CANCELLED);
  EXPECT_EQ(progress_.steps.size(), 1U);
  EXPECT_EQ(down.get(), KVR_RES_OK);
}

TEST_F(TestRun, ShutdownFromItsProgressCallbackEndsIt) {
  start(kLong);
  progress_.reaction = [](const kvr_Progress&) {
    EXPECT_EQ(kvr_Lib_Shutdown(), KVR_RES_OK);
    EXPECT_EQ(kvr_Lib_Shutdown(), KVR_RES_LIB_NOT_INITIALIZED);
  };
  EXPECT_EQ(run().code, KVR_RES_OPERATION_CANCELLED);
  EXPECT_EQ(progress_.steps.size(), 1U);
}

TEST_F(TestRun, ANewSessionCanBeginWithinTheCallbackThatEndedTheOldOne) {
  start(kLong);
  progress_.reaction = [this](const kvr_Progress&) {
    progress_.reaction = nullptr;
    EXPECT_EQ(kvr_Lib_Shutdown(), KVR_RES_OK);
    EXPECT_EQ(initialize(), KVR_RES_OK);
    EXPECT_EQ(connect(), KVR_RES_OK);
  };
  EXPECT_EQ(run().code, KVR_RES_OPERATION_CANCELLED);
  EXPECT_EQ(kvr_CheckConnection(), KVR_RES_OK);
}

// As the console tester does on a lost connection: from within the status callback.
TEST_F(TestRun, ShutdownFromTheStatusCallbackWhileItRuns) {
  start("[connection]\nlost_at_step = 2\n[measurement]\nduration = 0\nsteps = 3\n");
  status_.reaction = [](kvr_code code) {
    EXPECT_STREQ(kvr_CodeToString(code), "The connection to the instrument was lost");
    EXPECT_NE(kvr_CheckConnection(), 0);
    EXPECT_EQ(kvr_Lib_Shutdown(), KVR_RES_OK);
    EXPECT_EQ(kvr_CheckConnection(), KVR_RES_LIB_NOT_INITIALIZED);
  };
  EXPECT_EQ(run().code, KVR_RES_PEER_DISCONNECTED);
  EXPECT_EQ(status_.wait_for(1).size(), 1U);
  EXPECT_EQ(kvr_CheckConnection(), KVR_RES_LIB_NOT_INITIALIZED);
}

TEST_F(TestRun, NoCallbackComesAfterShutdown) {
  start();
  for (int i = 0; i < 50; ++i) {
    set_bench(i % 2 == 0 ? "[status]\nemergency_button_pressed = true\n" : "");
    kvr_CheckConnection();
    EXPECT_EQ(kvr_Lib_Shutdown(), KVR_RES_OK);
    const std::size_t reported = status_.size();
    ASSERT_EQ(initialize(), KVR_RES_OK);
    ASSERT_EQ(connect(), KVR_RES_OK);
    EXPECT_EQ(status_.size(), reported);
  }
}

TEST_F(TestRun, ManyThreadsAtOnceStayOrderly) {
  start(
      "[measurement]\nduration = 0\nsteps = 2\nnoise = 0\nsamples_per_period = 16\nperiods = 2\n");
  std::vector<std::thread> threads;
  for (int number = 0; number < 4; ++number) {
    threads.emplace_back([&, number] {
      for (int i = 0; i < 10; ++i) {
        const std::string id = std::to_string(number) + "-" + std::to_string(i);
        const kvr_code code = test(id, KVR_SAVE_NEW_RECORD).code;
        EXPECT_TRUE(code == KVR_RES_OK || code == KVR_RES_TESTING_IN_PROGRESS ||
                    code == KVR_RES_OPERATION_CANCELLED)
            << code;
        kvr_CancelOperation();
        kvr_LockAPI();
        kvr_UnlockAPI();
        kvr_Status status{};
        EXPECT_EQ(kvr_GetStatus(&status), KVR_RES_OK);
        kvr_DeleteRecord(id.c_str());
        EXPECT_NE(kvr_CodeToString(static_cast<kvr_code>(500 + number)), nullptr);
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(test("alone", KVR_SAVE_NEW_RECORD).code, KVR_RES_OK);
}

}  // namespace
}  // namespace virtual_instrument
