#include "console/stop_handling.h"

#include <plog/Log.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <iostream>

#include "api/client_api.h"
#include "common/clock.h"
#include "platform/platform.h"

std::function<void(int)> stop_handler;
bool stop_signal_seen = false;

namespace {

constexpr std::chrono::seconds kLongestOrderlyEnd{5};
constexpr std::int32_t kLookAgainMs = 20;

std::atomic<bool> ending = false;
std::atomic<int> awaited_answers = 0;
std::atomic<int> cancels_under_way = 0;

}  // namespace

bool SignalHandler::RegisterStopHandler(const std::function<void(int)>& handler) {
  std::function<void(int)>(handler).swap(stop_handler);
  if (platform::install_console_handler(CtrlHandler, end_after_event)) {
    return true;
  }
  PLOGE << "ERROR: could not set control handler.";
  return false;
}

namespace {

struct StopEvent {
  unsigned long event;
  const char* log_text;
};

// 16 is the number of the WM_CLOSE window message. No console event has it; it is handled like one.
constexpr StopEvent kStopEvents[] = {{0, "CTRL-C event"},        {1, "CTRL-BREAK event"},
                                     {2, "CTRL-CLOSE event"},    {5, "CTRL-LOGOFF event"},
                                     {6, "CTRL-SHUTDOWN event"}, {16, "WM_CLOSE event"}};

}  // namespace

int CtrlHandler(unsigned long event) {
  for (const StopEvent& stop_event : kStopEvents) {
    if (stop_event.event != event) {
      continue;
    }
    PLOGI << stop_event.log_text;
    if (stop_handler) {
      stop_handler(static_cast<int>(event));
    }
    return 1;
  }
  return 0;
}

namespace {

[[noreturn]] void terminate_immediately(int event) {
  std::cout << " second signal - terminate immediately\n" << std::flush;
  platform::end_process(event);
}

void cancel_operation() {
  std::cout << "BEFORE kvr_CancelOperation\n" << std::flush;
  kvr_code code = kvr_CancelOperation();
  std::cout << "AFTER kvr_CancelOperation\n" << std::flush;
  // When the program ends, a test that was just about to begin must not go on.
  while (ending && code != KVR_RES_OK && awaited_answers == 0) {
    sleep_ms(kLookAgainMs);
    code = kvr_CancelOperation();
  }
  --cancels_under_way;
}

}  // namespace

void stop_or_terminate(int event) {
  if (stop_signal_seen) {
    terminate_immediately(event);
  }
  std::cout << "Cancelling current operation...\n" << std::flush;
  ++cancels_under_way;
  platform::run_detached(cancel_operation);
  stop_signal_seen = true;  // last: an event that comes in before still counts as a first one
}

void end_after_event(unsigned long event) {
  const auto latest = std::chrono::steady_clock::now() + kLongestOrderlyEnd;
  ending = true;
  CtrlHandler(event);
  while ((awaited_answers == 0 || cancels_under_way > 0) &&
         std::chrono::steady_clock::now() < latest) {
    sleep_ms(kLookAgainMs);
  }
  terminate_immediately(static_cast<int>(event));
}

bool is_ending() { return ending; }

AwaitingAnswer::AwaitingAnswer() { ++awaited_answers; }

AwaitingAnswer::~AwaitingAnswer() { --awaited_answers; }

void sleep_ms(std::int32_t milliseconds) {
  if (milliseconds <= 0) {
    return;
  }
  timespec left{};
  left.tv_sec = milliseconds / 1000;
  left.tv_nsec = milliseconds % 1000 * 1'000'000L;
  while (program_clock.nanosleep(&left, &left) != 0 && errno == EINTR) {
  }
}
