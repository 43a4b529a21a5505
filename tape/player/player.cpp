#include "tape/player/player.h"

#include <algorithm>
#include <thread>

namespace tape {
namespace {

/// How long a callback keeps its distance from what a client's thread does unwatched.
constexpr std::chrono::milliseconds kLongestDistance{50};
constexpr std::chrono::seconds kPatienceAtEnd{2};
constexpr std::size_t kLinesBefore = 5;

/// The number on the tape of the thread that runs; 0 for one that has made no call yet.
thread_local int thread_on_tape = 0;

}  // namespace

bool Player::is_same_call(const Event& event, std::string_view name, const Fields& fields) const {
  if (event.kind != EventKind::kCall || event.name != name) {
    return false;
  }
  if (event.fields == fields || options_.tolerance.is_empty()) {
    return event.fields == fields;
  }
  const std::vector<Difference> found = differences(event.fields, fields);
  return std::all_of(found.begin(), found.end(), [&](const Difference& each) {
    return options_.tolerance.allows(name, each.field);
  });
}

Player::Player(Tape tape, PlayerOptions options)
    : tape_(std::move(tape)),
      options_(std::move(options)),
      passed_(tape_.events.size()),
      last_pass_(std::chrono::steady_clock::now()) {
  for (std::size_t i = 0; i < tape_.events.size(); ++i) {
    const Event& event = tape_.events[i];
    if (is_of_client(event.kind) || is_of_library(event.kind)) {
      tracks_[event.thread].lines.push_back(i);
      ++expected_;
    } else {
      passed_[i] = true;
    }
  }
  const Lock lock(mutex_);
  skip_passed();
}

Player::~Player() {
  {
    const Lock lock(mutex_);
    over_ = true;
  }
  changed_.notify_all();
  for (std::thread& thread : threads_) {
    thread.join();
  }
}

const Event& Player::call(std::string_view name, const Fields& fields) {
  Lock lock(mutex_);
  if (over_) {
    throw PlayEnded{};
  }
  Track& track = track_of_this_thread(name, fields);
  accept_call(track, name, fields);
  for (;;) {
    if (over_) {
      throw PlayEnded{};
    }
    if (is_due(track)) {
      const auto release = release_time(due_);
      if (std::chrono::steady_clock::now() < release) {
        changed_.wait_until(lock, release);
      } else if (next_of(track).kind == EventKind::kReturn) {
        const Event& answer = next_of(track);
        pass(track);
        return answer;
      } else {
        deliver(track, lock);
      }
    } else if (changed_.wait_until(lock, last_pass_ + options_.patience) ==
                   std::cv_status::timeout &&
               std::chrono::steady_clock::now() >= last_pass_ + options_.patience) {
      diverge_stuck(track);
    }
  }
}

/// A thread that is new here stands for the first recorded one that is free and begins with the
/// same call.
Player::Track& Player::track_of_this_thread(std::string_view name, const Fields& fields) {
  if (thread_on_tape != 0) {
    return tracks_[thread_on_tape];
  }
  const auto found = std::find_if(tracks_.begin(), tracks_.end(), [&](const auto& each) {
    return !each.second.taken && is_same_call(next_of(each.second), name, fields);
  });
  if (found == tracks_.end()) {
    const auto first = std::find_if(tracks_.begin(), tracks_.end(), [&](const auto& each) {
      return !each.second.taken && next_of(each.second).kind == EventKind::kCall;
    });
    diverge_at_call(first == tracks_.end() ? nullptr : &first->second, name, fields);
  }
  found->second.taken = true;
  thread_on_tape = found->first;
  return found->second;
}

void Player::accept_call(Track& track, std::string_view name, const Fields& fields) {
  if (track.at_end() || !is_same_call(next_of(track), name, fields)) {
    diverge_at_call(&track, name, fields);
  }
  pass(track);
}

/// Whether this thread's next line is one of the library, and nothing stands before it.
bool Player::is_due(const Track& track) const {
  return !over_ && !track.at_end() && track.lines[track.next] == due_ &&
         is_of_library(next_of(track).kind);
}

void Player::pass(Track& track) {
  passed_[track.lines[track.next++]] = true;
  ++served_;
  last_pass_ = std::chrono::steady_clock::now();
  skip_passed();
  changed_.notify_all();
}

/// Goes on to the first line that has not come to pass. Where that is the first of a thread of the
/// library, the thread begins.
void Player::skip_passed() {
  while (due_ < passed_.size() && passed_[due_]) {
    ++due_;
  }
  if (served_ == expected_ && options_.on_complete) {
    options_.on_complete();
  }
  if (due_ == passed_.size() || tape_.events[due_].kind != EventKind::kCallback) {
    return;
  }
  const int number = tape_.events[due_].thread;
  Track& track = tracks_[number];
  if (!track.taken && track.next == 0) {
    track.taken = true;
    threads_.emplace_back([this, number] {
      try {
        run_library_thread(number);
      } catch (const PlayEnded&) {
        // said by the thread that has diverged
      }
    });
  }
}

void Player::run_library_thread(int number) {
  thread_on_tape = number;
  Lock lock(mutex_);
  Track& track = tracks_[number];
  while (!track.at_end() && !over_) {
    if (!is_due(track)) {
      changed_.wait(lock);
      continue;
    }
    const auto release = release_time(due_);
    if (std::chrono::steady_clock::now() < release) {
      changed_.wait_until(lock, release);
    } else {
      deliver(track, lock);
    }
  }
}

void Player::deliver(Track& track, Lock& lock) {
  const Event& event = next_of(track);
  pass(track);
  lock.unlock();
  options_.on_callback(event);
  lock.lock();
  if (over_ || track.at_end()) {
    return;  // the recorded process ended within this callback
  }
  const Event& next = next_of(track);
  if (next.kind != EventKind::kEnd) {
    Divergence divergence;
    divergence.form = "missing call";
    divergence.line = next.line;
    divergence.recorded = in_words(next);
    divergence.present = "the " + event.name + " callback returns";
    diverge(std::move(divergence));
  }
  pass(track);
}

/// A callback that came while the client was doing something else keeps a distance from the line
/// before it. All other waiting is of the instrument, and nobody needs it.
std::chrono::steady_clock::time_point Player::release_time(std::size_t line) const {
  if (line == 0) {
    return last_pass_;
  }
  const Event& event = tape_.events[line];
  const Event& before = tape_.events[line - 1];
  const std::chrono::nanoseconds gap(std::max<std::int64_t>(event.time - before.time, 0));
  const auto gap_here = std::chrono::duration_cast<std::chrono::steady_clock::duration>(gap);
  if (options_.recorded_speed) {
    return last_pass_ + gap_here;
  }
  const bool client_runs = before.kind == EventKind::kReturn || before.kind == EventKind::kEnd;
  if (event.kind == EventKind::kCallback && client_runs && before.thread != event.thread) {
    return last_pass_ + std::min<std::chrono::steady_clock::duration>(gap_here, kLongestDistance);
  }
  return last_pass_;
}

void Player::leave(bool patient) {
  Lock lock(mutex_, std::defer_lock);
  if (patient) {
    lock.lock();
  } else if (!lock.try_lock()) {
    return;
  }
  if (over_) {
    return;
  }
  if (patient) {
    changed_.wait_for(lock, kPatienceAtEnd, [&] { return !rest_is_of_library() || over_; });
  }
  if (!over_ && due_ < passed_.size()) {
    Divergence divergence;
    divergence.form = "early end";
    divergence.line = tape_.events[due_].line;
    divergence.recorded = in_words(tape_.events[due_]);
    divergence.present = "the process ends";
    diverge(std::move(divergence));
  }
}

/// Whether the first line that is missing is one that the player is about to make happen.
bool Player::rest_is_of_library() const {
  if (due_ == passed_.size()) {
    return false;
  }
  const EventKind kind = tape_.events[due_].kind;
  return is_of_library(kind) || kind == EventKind::kEnd;
}

void Player::diverge(Divergence divergence) {
  over_ = true;
  changed_.notify_all();
  std::vector<std::string> lines;
  for (std::size_t i = 0; i < passed_.size(); ++i) {
    if (passed_[i] && tape_.events[i].thread != 0) {
      lines.push_back(in_words(tape_.events[i]));
      if (lines.size() > kLinesBefore) {
        lines.erase(lines.begin());
      }
    }
  }
  divergence.before = std::move(lines);
  options_.on_divergence(divergence);
  std::terminate();
}

void Player::diverge_at_call(Track* track, std::string_view name, const Fields& fields) {
  Divergence divergence;
  divergence.present = call_text(name, fields) + " is called";
  const auto later = [&](const Track& other, std::size_t from) {
    return std::any_of(
        other.lines.begin() + static_cast<std::ptrdiff_t>(from), other.lines.end(),
        [&](std::size_t line) { return is_same_call(tape_.events[line], name, fields); });
  };
  const bool elsewhere = std::any_of(tracks_.begin(), tracks_.end(), [&](const auto& each) {
    return &each.second != track && !each.second.at_end() &&
           is_same_call(next_of(each.second), name, fields);
  });
  if (track == nullptr || track->at_end()) {
    divergence.form = elsewhere ? "wrong thread" : "extra call";
    divergence.recorded = "nothing more on this thread";
    if (!tape_.events.empty() && tape_.events.back().kind == EventKind::kFull) {
      divergence.recorded += "; the recording had stopped: " + tape_.events.back().name;
    }
    diverge(std::move(divergence));
  }
  const Event& next = next_of(*track);
  divergence.line = next.line;
  divergence.recorded = in_words(next);
  if (next.kind == EventKind::kCall && next.name == name) {
    divergence.form = "wrong call";
    divergence.fields = differences(next.fields, fields, 10);
  } else if (elsewhere) {
    divergence.form = "wrong thread";
  } else if (later(*track, track->next)) {
    divergence.form = "missing call";
  } else {
    divergence.form = "extra call";
  }
  diverge(std::move(divergence));
}

void Player::diverge_stuck(const Track& track) {
  Divergence divergence;
  const Event& entered = tape_.events[track.lines[track.next - 1]];
  divergence.present = "nothing happens while a thread waits in " + entered.name;
  if (due_ == passed_.size()) {
    divergence.form = "unanswered call";
    divergence.recorded = "the tape ends within it";
  } else {
    divergence.form = "stuck";
    divergence.line = tape_.events[due_].line;
    divergence.recorded = in_words(tape_.events[due_]);
  }
  diverge(std::move(divergence));
}

}  // namespace tape
