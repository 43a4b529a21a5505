#pragma once

#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "api/client_api.h"
#include "tape/player/holdings.h"
#include "tape/player/player.h"

// The player of a process: the tape that KVR_TAPE_FILE names, the callbacks of the client, and the
// receipt. KVR_TAPE_RECEIPT names the receipt's file; without it, it is the tape's name with
// ".receipt.json". KVR_TAPE_SPEED=1 keeps the recorded waiting, KVR_TAPE_PATIENCE is the number of
// seconds after which a call counts as stuck.
namespace tape {

class Stage {
 public:
  Stage();

  /// The outputs of a call, when their time has come.
  const Fields& call(std::string_view name, const Fields& fields);

  void set_status_callback(const kvr_InitParams* params);
  void set_progress_callback(const kvr_ProgressHandler* handler);

  void leave(bool patient);

  Holdings holdings;

 private:
  void run_callback(const Event& event);
  void write_receipt(const Divergence* divergence);

  std::string file_;
  std::string hash_;
  std::mutex mutex_;
  kvr_InitParams params_{};
  kvr_ProgressHandler progress_{};
  std::optional<Player> player_;
};

/// Made at the first call and never destroyed, since other threads may be in a call at the end.
Stage& stage();

inline constexpr int kNoTape = 97;
inline constexpr int kDiverged = 98;

}  // namespace tape
