#pragma once

// How an unattended run is stopped: by the keys of a terminal, by signals, by the end of the
// connection. The first stop cancels what runs and lets the plan end in order; a second one ends
// the process at once. A closed terminal and a request to terminate are stops like any other, with
// five seconds for the orderly end.

/// Takes the stops from now on. Call it from the main thread before there are others. False when
/// the system refuses.
bool listen_for_stops();

/// What a console event does: a stop. Does not return from an event after which the system ends
/// the process, as the closing of a console.
int take_stop_event(unsigned long event);

/// Whether a stop was asked for.
bool stop_was_asked_for();

/// The connection is gone, as the library's thread noticed. The plan ends in order if the call that
/// blocks returns within five seconds; else the process ends.
void note_lost_connection();

bool connection_is_lost();

/// While one lives, the main thread is in a call of the library that a stop cancels.
class CancellableCall {
 public:
  CancellableCall();
  ~CancellableCall();
  CancellableCall(const CancellableCall&) = delete;
  CancellableCall& operator=(const CancellableCall&) = delete;
};

/// While one lives, the API may be locked: an end at once tries to unlock it first.
class LockedRun {
 public:
  LockedRun();
  ~LockedRun();
  LockedRun(const LockedRun&) = delete;
  LockedRun& operator=(const LockedRun&) = delete;
};
