#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "tape/format/reader.h"
#include "tape/format/tolerance.h"
#include "tape/player/divergence.h"

// Plays the library's side of a tape. Each thread's calls have to come in the recorded order with
// the recorded arguments. A return or a callback is released once every earlier line has come to
// pass.
namespace tape {

struct PlayerOptions {
  std::chrono::milliseconds patience{10000};  ///< after which a waiting call counts as stuck
  bool recorded_speed = false;                ///< waits as long as the recording did
  Tolerance tolerance;                        ///< arguments that may differ

  /// Takes a divergence; must not return but may throw PlayEnded. The lock of the player is held.
  std::function<void(const Divergence&)> on_divergence;
  /// Runs a callback of the client.
  std::function<void(const Event&)> on_callback;
  /// Called once the last line is served.
  std::function<void()> on_complete;
};

/// Thrown out of calls after a divergence, where that does not end the process.
struct PlayEnded {};

class Player {
 public:
  Player(Tape tape, PlayerOptions options);
  ~Player();
  Player(const Player&) = delete;
  Player& operator=(const Player&) = delete;

  /// A call of the client on this thread: returns the line with its outputs when its time has come.
  const Event& call(std::string_view name, const Fields& fields);

  /// The client leaves: a divergence unless everything was served. `patient` waits for callbacks
  /// that are about to come.
  void leave(bool patient);

  std::size_t expected() const { return expected_; }
  std::size_t served() const { return served_; }

 private:
  /// The lines of one thread.
  struct Track {
    std::vector<std::size_t> lines;
    std::size_t next = 0;
    bool taken = false;  ///< a thread of this process stands for it

    bool at_end() const { return next == lines.size(); }
  };
  bool is_same_call(const Event& event, std::string_view name, const Fields& fields) const;
  using Lock = std::unique_lock<std::mutex>;

  Track& track_of_this_thread(std::string_view name, const Fields& fields);
  const Event& next_of(const Track& track) const { return tape_.events[track.lines[track.next]]; }
  void accept_call(Track& track, std::string_view name, const Fields& fields);
  void pass(Track& track);
  void skip_passed();
  void run_library_thread(int number);
  void deliver(Track& track, Lock& lock);
  bool is_due(const Track& track) const;
  bool rest_is_of_library() const;
  std::chrono::steady_clock::time_point release_time(std::size_t line) const;
  [[noreturn]] void diverge(Divergence divergence);
  [[noreturn]] void diverge_at_call(Track* track, std::string_view name, const Fields& fields);
  [[noreturn]] void diverge_stuck(const Track& track);

  Tape tape_;
  PlayerOptions options_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::map<int, Track> tracks_;
  std::vector<bool> passed_;
  std::size_t due_ = 0;  ///< the first line that has not come to pass
  std::size_t expected_ = 0;
  std::size_t served_ = 0;
  bool over_ = false;
  std::vector<std::thread> threads_;  ///< of the library
  std::chrono::steady_clock::time_point last_pass_;
};

}  // namespace tape
