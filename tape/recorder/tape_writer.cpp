#include "tape/recorder/tape_writer.h"

#include <chrono>

#include "tape/format/line_text.h"

namespace tape {
namespace {

/// Room kept below the limit for the line that says that it is reached.
constexpr std::uint64_t kRoomForLastLine = 200;

std::int64_t steady_now() {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(
             std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

const std::int64_t began = steady_now();

}  // namespace

std::int64_t TapeWriter::now() const { return steady_now() - began; }

void TapeWriter::begin(const std::filesystem::path& file, const TapeHeader& header,
                       std::uint64_t limit) {
  const std::lock_guard lock(mutex_);
  name_ = file.string();
  limit_ = limit;
  if (const std::string error = file_.create(file); !error.empty()) {
    platform::complain("kvr-tape: nothing is recorded: " + name_ + ": " + error);
    return;
  }
  const std::string line = line_of(header);
  if (!file_.append(line)) {
    platform::complain("kvr-tape: nothing is recorded: " + name_ + ": no room");
    return;
  }
  size_ = line.size();
  open_ = true;
}

std::uint64_t TapeWriter::add(Event event) {
  const std::lock_guard lock(mutex_);
  if (event.number == 0) {
    event.number = ++numbers_;
  }
  if (!open_) {
    return event.number;
  }
  event.time = now();
  const std::string line = line_of(event);
  if (size_ + line.size() + kRoomForLastLine > limit_) {
    stop_locked("limit");
  } else if (!file_.append(line)) {
    stop_locked("no room");
  } else {
    size_ += line.size();
  }
  return event.number;
}

void TapeWriter::sync() {
  const std::lock_guard lock(mutex_);
  if (open_) {
    file_.sync();
  }
}

void TapeWriter::close(bool patient) {
  std::unique_lock lock(mutex_, std::defer_lock);
  if (patient) {
    lock.lock();
  } else if (!lock.try_lock()) {
    return;
  }
  if (open_) {
    open_ = false;
    Event last;
    last.kind = EventKind::kClose;
    last.name = "exit";
    last.time = now();
    file_.append(line_of(last));
  }
}

void TapeWriter::stop(const std::string& reason) {
  const std::lock_guard lock(mutex_);
  stop_locked(reason);
}

void TapeWriter::stop_locked(const std::string& reason) {
  if (!open_) {
    return;
  }
  open_ = false;
  Event last;
  last.kind = EventKind::kFull;
  last.name = reason;
  last.time = now();
  file_.append(line_of(last));
  platform::complain("kvr-tape: recording has stopped (" + reason + "): " + name_);
}

}  // namespace tape
