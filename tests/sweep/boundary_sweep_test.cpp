#include "sweep/boundary_sweep.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <limits>
#include <thread>
#include <vector>

#include "console/stop_handling.h"
#include "support/sweep_stride.h"

namespace {

constexpr std::int32_t kCodes[] = {
#define KVR_CODE_NUMBER(number, name) (number),
    KVR_CODE_LIST(KVR_CODE_NUMBER)
#undef KVR_CODE_NUMBER
    // and some without a name
    std::numeric_limits<std::int32_t>::min(),
    -1,
    180,
    999,
    1009,
    std::numeric_limits<std::int32_t>::max()};

constexpr std::size_t kNamedCodes = 189;
static_assert(std::size(kCodes) == kNamedCodes + 6);

/// Each fault that a session of `calls` calls can have, except a lost connection.
std::vector<Fault> all_faults(std::size_t calls) {
  std::vector<Fault> faults;
  for (std::size_t call = 0; call < calls; ++call) {
    for (const bool for_ever : {false, true}) {
      for (const std::int32_t code : kCodes) {
        faults.push_back({call, Wrong::kCode, code, for_ever});
        faults.push_back({call, Wrong::kCodeAndReply, code, for_ever});
      }
      for (const Wrong wrong :
           {Wrong::kDelay, Wrong::kNotFinite, Wrong::kFullTexts, Wrong::kNullRecord}) {
        faults.push_back({call, wrong, 0, for_ever});
      }
    }
    faults.push_back({call, Wrong::kHang, 0, false});  // a second cancel would end the program
  }
  return faults;
}

std::string without(std::string text, const std::string& line) {
  if (const std::size_t at = text.find(line); at != std::string::npos) {
    text.erase(at, line.size());
  }
  return text;
}

/// The operator's answer to a call that hangs.
class StopSignal {
 public:
  void send() {
    thread_ = std::thread([] { CtrlHandler(0); });
  }
  /// Waits until the signal has been handled. Returns the output without the lines about it.
  std::string finish(const Console& console) {
    if (!thread_.joinable()) {
      return console.output();
    }
    thread_.join();
    EXPECT_TRUE(console.wait_for_output("AFTER kvr_CancelOperation\n"));
    std::string output = without(console.output(), "Cancelling current operation...\n");
    output = without(std::move(output), "BEFORE kvr_CancelOperation\n");
    return without(std::move(output), "AFTER kvr_CancelOperation\n");
  }

 private:
  std::thread thread_;
};

class Sweep : public BoundarySweep {
 protected:
  /// One run. False, and a failed test, when it differs from the expected session.
  bool check(Program program, const Fault& fault) {
    ExpectedSession expected = expected_session(program, fault, results);
    StopSignal stop;
    if (fault.wrong == Wrong::kHang) {
      expected.calls[fault.call].answer.meanwhile = [&stop] { stop.send(); };
    }
    prepare(expected);
    const Console console(expected.answers);
    int exit_status = 0;
    const bool threw = run_program(program, exit_status);
    EXPECT_EQ(stop.finish(console), expected.output);
    EXPECT_EQ(lines_of(api.log()), lines_of(expected.calls));
    EXPECT_EQ(files(), expected.files);
    EXPECT_EQ(exit_status, expected.exit_status);
    EXPECT_EQ(threw, expected.throws);
    EXPECT_EQ(console.unread(), "");
    expect_nothing_kept(expected);
    EXPECT_EQ(api.count(ApiCall::CancelOperation), fault.wrong == Wrong::kHang ? 1U : 0U);
    return !HasFailure();
  }

  /// Checks that each lock is followed by its release, and that each record is freed once or
  /// deliberately kept.
  void expect_nothing_kept(const ExpectedSession& expected) const {
    bool locked = false;
    for (const SeenCall& seen : api.log()) {
      if (seen.call == ApiCall::LockAPI || seen.call == ApiCall::UnlockAPI) {
        EXPECT_EQ(locked, seen.call == ApiCall::UnlockAPI);
        locked = seen.call == ApiCall::LockAPI;
      }
    }
    EXPECT_FALSE(locked);
    EXPECT_EQ(api.records_handed_out() - api.records_given_back(), expected.kept_records);
    EXPECT_EQ(api.complaints().size(), expected.kept_records + expected.missing_lists);
  }

  void check_all(Program program) {
    const std::size_t calls = expected_session(program, {.call = SIZE_MAX}, results).calls.size();
    const std::vector<Fault> faults = all_faults(calls);
    const auto begin = std::chrono::steady_clock::now();
    std::size_t runs = 0;
    for (std::size_t i = 0; i < faults.size(); i += sweep_stride(8)) {
      ++runs;
      if (!check(program, faults[i])) {
        FAIL() << faults[i].text();
      }
    }
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - begin;
    std::printf("%zu calls, %zu runs in %.1f s\n", calls, runs, seconds.count());
  }
};

TEST_F(Sweep, SessionsWithoutAFaultAreAsExpected) {
  EXPECT_TRUE(check(Program::kConsoleTester, {}));
  EXPECT_TRUE(check(Program::kWorkbench, {}));
}

TEST_F(Sweep, OfTheConsoleTester) { check_all(Program::kConsoleTester); }

TEST_F(Sweep, OfTheWorkbench) { check_all(Program::kWorkbench); }

}  // namespace
