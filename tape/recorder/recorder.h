#pragma once

#include <new>
#include <string_view>
#include <utility>

#include "tape/recorder/real_library.h"
#include "tape/recorder/tape_writer.h"
#include "tape/vocabulary/names.h"

// The recorder of a process: the real library, the tape, and the names of what the client holds.
namespace tape {

class Recorder {
 public:
  /// Loads the library and begins the tape.
  Recorder();

  const ClientApiTable& calls() const { return real_.calls; }

  /// The lines of a call or callback; both do nothing but stop the tape when memory runs out.
  std::uint64_t enter(EventKind kind, std::string_view name, Fields fields);
  void leave(EventKind kind, std::string_view name, std::uint64_t number, Fields fields);

  void sync() { writer_.sync(); }
  void stop(const char* reason) { writer_.stop(reason); }
  void close(bool patient) { writer_.close(patient); }

  /// What an output pointer is after a call. A refused one is never followed.
  Value record_output(bool accepted, const kvr_TestRecord* record, bool is_stored);
  Value list_output(bool accepted, const kvr_TestLabelsList* list);

  Names records;
  Names lists;

 private:
  RealLibrary real_;
  TapeWriter writer_;
};

/// Made at the first call and never destroyed, since other threads may be in a call at the end.
Recorder& recorder();

/// Counts how deep this thread is in the library, so that calls that the library makes of itself
/// pass unrecorded.
class Depth {
 public:
  static bool is_outside() { return depth == 0; }

  /// One level deeper for the lifetime of this, or outside again while a callback runs.
  explicit Depth(int now) : before_(std::exchange(depth, now)) {}
  ~Depth() { depth = before_; }
  Depth(const Depth&) = delete;
  Depth& operator=(const Depth&) = delete;

 private:
  static thread_local int depth;
  int before_;
};

/// The fields that `make` gives. Without memory for them the tape ends and the call goes on.
template <class Make>
Fields fields_or_stop(Make make) {
  try {
    return make();
  } catch (const std::bad_alloc&) {
    recorder().stop("no memory");
    return {};
  }
}

/// Forwards a call with its two lines. `in` gives its fields, `outputs` adds what came out.
template <class In, class Forward, class Outputs>
auto record_call(std::string_view name, In in, Forward forward, Outputs outputs) {
  Recorder& now = recorder();
  if (!Depth::is_outside()) {
    return forward(now.calls());
  }
  const std::uint64_t number = now.enter(EventKind::kCall, name, fields_or_stop(in));
  const auto result = [&] {
    const Depth inside(1);
    return forward(now.calls());
  }();
  now.leave(EventKind::kReturn, name, number, fields_or_stop([&] { return outputs(result); }));
  return result;
}

}  // namespace tape
