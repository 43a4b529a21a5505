#include "plan/stops.h"

#include <atomic>
#include <chrono>
#include <iostream>

#include "api/client_api.h"
#include "console/stop_handling.h"
#include "plan/verdict.h"
#include "platform/platform.h"

namespace {

constexpr std::chrono::milliseconds kLongestOrderlyEnd{5000};
constexpr std::chrono::milliseconds kLongestUnlock{500};
constexpr std::int32_t kLookAgainMs = 20;
/// A cancel that came a moment before its test is lost, so it is repeated while the call blocks.
constexpr std::int32_t kCancelAgainMs = 1000;

std::atomic<int> stops = 0;
std::atomic<bool> lost = false;
std::atomic<int> calls = 0;
std::atomic<bool> may_be_locked = false;
std::atomic<bool> is_unlocked = false;

template <class Condition>
void wait_for(Condition condition, std::chrono::milliseconds longest) {
  const auto latest = std::chrono::steady_clock::now() + longest;
  while (!condition() && std::chrono::steady_clock::now() < latest) {
    sleep_ms(kLookAgainMs);
  }
}

/// The one call that comes from another thread than the library wants: the main one may never
/// return from a test. Again and again, since a library refuses it while the cancelled test ends.
void unlock() {
  while (true) {
    const kvr_code code = kvr_UnlockAPI();
    if (code == KVR_RES_OK || code == KVR_RES_API_UNLOCKED) {
      is_unlocked = true;
      return;
    }
    sleep_ms(kLookAgainMs);
  }
}

[[noreturn]] void end_at_once(int status) {
  if (may_be_locked) {
    platform::run_detached(unlock);
    wait_for([] { return is_unlocked.load(); }, kLongestUnlock);
  }
  platform::end_process(status);
}

/// Goes on until the process ends: the main thread may be just about to begin a call.
void cancel() {
  while (true) {
    const bool cancelled = calls > 0 && kvr_CancelOperation() == KVR_RES_OK;
    sleep_ms(cancelled ? kCancelAgainMs : kLookAgainMs);
  }
}

void stop() {
  if (stops++ > 0) {
    std::cerr << "Second stop: ends at once.\n";
    end_at_once(exit_status_of(Verdict::cancelled));
  }
  std::cerr << "Stop: cancels what runs and ends the plan. A second stop ends it at once.\n";
  platform::run_detached(cancel);
}

/// The system ends the process after such an event.
[[noreturn]] void stop_and_end(unsigned long /*event*/) {
  stop();
  wait_for([] { return false; }, kLongestOrderlyEnd);  // the main thread ends the process meanwhile
  std::cerr << "The plan has not ended in time: ends at once.\n";
  end_at_once(exit_status_of(Verdict::cancelled));
}

void end_without_connection() {
  wait_for([] { return false; }, kLongestOrderlyEnd);
  end_at_once(exit_status_of(Verdict::refused));
}

}  // namespace

/// Events from 2 on are a closed console, logging off and shutting down.
int take_stop_event(unsigned long event) {
  if (event >= 2) {
    stop_and_end(event);
  }
  stop();
  return 1;
}

bool listen_for_stops() { return platform::install_console_handler(take_stop_event, stop_and_end); }

bool stop_was_asked_for() { return stops > 0; }

void note_lost_connection() {
  if (!lost.exchange(true)) {
    std::cerr << "The connection to the instrument is lost.\n";
    platform::run_detached(end_without_connection);
  }
}

bool connection_is_lost() { return lost; }

CancellableCall::CancellableCall() { ++calls; }

CancellableCall::~CancellableCall() { --calls; }

LockedRun::LockedRun() { may_be_locked = true; }

LockedRun::~LockedRun() { may_be_locked = false; }
