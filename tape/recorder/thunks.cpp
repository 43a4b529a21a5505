#include "tape/recorder/thunks.h"

#include <cstring>
#include <deque>
#include <map>
#include <mutex>
#include <utility>

#include "tape/recorder/recorder.h"
#include "tape/vocabulary/call_fields.h"

namespace tape {
namespace {

template <class Callback>
struct Thunk {
  Callback callback;
  void* context;
};

/// One for each pair of callback and context, so that a long series of tests keeps no more of them.
template <class Callback>
Thunk<Callback>* thunk_of(Callback callback, void* context) {
  static std::mutex& mutex = *new std::mutex;
  static auto& thunks = *new std::map<std::pair<Callback, void*>, Thunk<Callback>>;
  const std::lock_guard lock(mutex);
  return &thunks.try_emplace({callback, context}, Thunk<Callback>{callback, context}).first->second;
}

template <class Describe, class Run>
void record_callback(std::string_view name, Describe describe, Run run) {
  Recorder& now = recorder();
  const std::uint64_t number = now.enter(EventKind::kCallback, name, fields_or_stop(describe));
  {
    const Depth outside(0);
    run();
  }
  now.leave(EventKind::kEnd, name, number, {});
}

void on_status(void* context, kvr_code code, const char* text) {
  const auto* thunk = static_cast<Thunk<kvr_StatusCallback>*>(context);
  record_callback(
      "status", [&] { return status_callback_fields(code, text); },
      [&] { thunk->callback(thunk->context, code, text); });
}

void on_progress(void* context, const kvr_Progress* progress) {
  const auto* thunk = static_cast<Thunk<kvr_ProgressCallback>*>(context);
  record_callback(
      "progress", [&] { return progress_callback_fields(progress); },
      [&] { thunk->callback(thunk->context, progress); });
}

}  // namespace

kvr_InitParams* recorded(const kvr_InitParams* params) {
  if (params == nullptr) {
    return nullptr;
  }
  // Deliberately kept as long as the process: a library may keep the pointer.
  static std::mutex& mutex = *new std::mutex;
  static auto& copies = *new std::deque<kvr_InitParams>;
  const std::lock_guard lock(mutex);
  kvr_InitParams* const copy = &copies.emplace_back();
  std::memcpy(copy, params, sizeof *copy);
  if (copy->status_callback != nullptr) {
    copy->status_context = thunk_of(copy->status_callback, copy->status_context);
    copy->status_callback = on_status;
  }
  return copy;
}

kvr_ProgressHandler* recorded(const kvr_ProgressHandler* handler) {
  if (handler == nullptr) {
    return nullptr;
  }
  static std::mutex& mutex = *new std::mutex;
  static auto& copies = *new std::map<void*, kvr_ProgressHandler>;
  if (handler->progress_callback == nullptr) {
    const std::lock_guard lock(mutex);
    return &copies.try_emplace(handler->progress_context, *handler).first->second;
  }
  auto* thunk = thunk_of(handler->progress_callback, handler->progress_context);
  const std::lock_guard lock(mutex);
  return &copies.try_emplace(thunk, kvr_ProgressHandler{on_progress, thunk}).first->second;
}

void copy_back(const kvr_InitParams* copy, kvr_InitParams* params) {
  if (params != nullptr &&
      std::memcmp(params, copy, offsetof(kvr_InitParams, status_callback)) != 0) {
    std::memcpy(params, copy, offsetof(kvr_InitParams, status_callback));
  }
}

}  // namespace tape
