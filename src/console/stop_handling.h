#pragma once

#include <atomic>
#include <cstdint>
#include <functional>

/// Called with the number of a console event. Empty until one is registered.
extern std::function<void(int)> stop_handler;

/// Whether a stop signal came since the main menu was last shown. A plain flag on purpose: of two
/// events that come at nearly the same time, both may count as the first.
extern bool stop_signal_seen;

class SignalHandler {
 public:
  /// Makes `handler` the stop handler and delivers console events to it. When the system refuses:
  /// false, and an error in the log; the handler stays registered.
  static bool RegisterStopHandler(const std::function<void(int)>& handler);
};

/// Handles a console event: calls the stop handler for those that mean stop and returns 1; leaves
/// any other to the system and returns 0. The types are those of a Windows console control handler.
int CtrlHandler(unsigned long event);

/// The program's answer to a stop event: the first since the main menu was shown cancels the
/// running operation, on a thread of its own because that call can block; the next one ends the
/// process with the event's number as its exit status.
void stop_or_terminate(int event);

/// Ends the program for an event after which Windows would end it: a closed terminal or a request
/// to terminate. Delivers the event as any other, waits until the cancelled test has ended and
/// the program waits for an answer, five seconds at most, and then does what a second event does.
[[noreturn]] void end_after_event(unsigned long event);

/// Whether the program is ending after such an event, so that no further test may begin.
bool is_ending();

/// The main thread waits for an answer of the operator while one of these lives.
class AwaitingAnswer {
 public:
  AwaitingAnswer();
  ~AwaitingAnswer();
  AwaitingAnswer(const AwaitingAnswer&) = delete;
  AwaitingAnswer& operator=(const AwaitingAnswer&) = delete;
};

/// Sleeps, whatever signals come in between; returns at once for 0 and less.
void sleep_ms(std::int32_t milliseconds);
