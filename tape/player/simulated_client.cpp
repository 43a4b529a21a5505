#include "tape/player/simulated_client.h"

#include <map>
#include <mutex>
#include <thread>

#include "tape/player/player.h"

namespace tape {
namespace {

/// A call, or a callback with the calls that the client makes within it.
struct Step {
  const Event* entered = nullptr;
  const Event* left = nullptr;  ///< null where the recording ended within it
  std::vector<Step> within;
};

/// What each thread did, in order.
std::map<int, std::vector<Step>> steps_of(const Tape& tape) {
  std::map<int, std::vector<Step>> done;
  std::map<int, std::vector<Step>> open;
  const auto close = [&](int thread) {
    Step step = std::move(open[thread].back());
    open[thread].pop_back();
    auto& target = open[thread].empty() ? done[thread] : open[thread].back().within;
    target.push_back(std::move(step));
  };
  for (const Event& event : tape.events) {
    if (event.kind == EventKind::kCall || event.kind == EventKind::kCallback) {
      open[event.thread].push_back({&event, nullptr, {}});
    } else if (event.kind == EventKind::kReturn || event.kind == EventKind::kEnd) {
      open[event.thread].back().left = &event;
      close(event.thread);
    }
  }
  for (auto& [thread, steps] : open) {
    while (!steps.empty()) {
      close(thread);
    }
  }
  return done;
}

class Simulation {
 public:
  Simulation(const Tape& tape, const Tape& client, std::chrono::milliseconds patience)
      : steps_(steps_of(client)) {
    for (const auto& [thread, steps] : steps_) {
      note_callbacks(steps);
    }
    PlayerOptions options;
    options.patience = patience;
    options.on_divergence = [this](const Divergence& divergence) {
      note(divergence.text());
      throw PlayEnded{};
    };
    options.on_callback = [this](const Event& event) { run_callback(event); };
    player_.emplace(tape, std::move(options));
  }

  std::vector<std::string> run() {
    std::vector<std::thread> threads;
    for (const auto& [thread, steps] : steps_) {
      if (steps.front().entered->kind == EventKind::kCall) {
        threads.emplace_back([this, &steps = steps] {
          try {
            run_steps(steps);
          } catch (const PlayEnded&) {
            // noted where it happened
          }
        });
      }
    }
    for (std::thread& thread : threads) {
      thread.join();
    }
    try {
      player_->leave(true);
    } catch (const PlayEnded&) {
      // noted
    }
    player_.reset();
    return std::move(wrong_);
  }

 private:
  void note_callbacks(const std::vector<Step>& steps) {
    for (const Step& step : steps) {
      if (step.entered->kind == EventKind::kCallback) {
        callbacks_[step.entered->number] = &step;
      }
      note_callbacks(step.within);
    }
  }

  void run_steps(const std::vector<Step>& steps) {
    for (const Step& step : steps) {
      if (step.entered->kind != EventKind::kCall || step.left == nullptr) {
        continue;  // a callback comes by itself; a call without an answer would wait for ever
      }
      const Event& answer = player_->call(step.entered->name, step.entered->fields);
      compare(*step.left, answer);
    }
  }

  void run_callback(const Event& event) {
    const auto found = callbacks_.find(event.number);
    if (found == callbacks_.end()) {
      note("the " + event.name + " callback of line " + std::to_string(event.line) +
           " was not recorded");
      return;
    }
    if (found->second->entered->name != event.name) {
      note("another callback comes: " + event.name);
    }
    compare(*found->second->entered, event);
    run_steps(found->second->within);
  }

  void compare(const Event& recorded, const Event& now) {
    for (const Difference& each : differences(recorded.fields, now.fields)) {
      note("line " + std::to_string(now.line) + ", " + now.name + ", " + each.field + ": " +
           each.first + ", " + each.second);
    }
  }

  void note(std::string what) {
    const std::lock_guard lock(mutex_);
    wrong_.push_back(std::move(what));
  }

  const std::map<int, std::vector<Step>> steps_;
  std::map<std::uint64_t, const Step*> callbacks_;
  std::mutex mutex_;
  std::vector<std::string> wrong_;
  std::optional<Player> player_;
};

}  // namespace

std::vector<std::string> simulate(const Tape& tape, const Tape& client,
                                  std::chrono::milliseconds patience) {
  return Simulation(tape, client, patience).run();
}

}  // namespace tape
