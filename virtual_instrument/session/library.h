#pragma once

#include <condition_variable>
#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

#include "api/client_api.h"
#include "virtual_instrument/bench/bench_source.h"
#include "virtual_instrument/session/session.h"
#include "virtual_instrument/store/sqlite_store.h"
#include "virtual_instrument/vocabulary/code_names.h"

namespace virtual_instrument {

/// The library as a whole: at most one session at a time, the record store, and the answers that
/// the bench forces. A store in a file is closed with the session; one in memory outlives it.
class Library {
 public:
  /// Gives the bench file of the next session; an empty path is the built-in bench.
  using BenchFile = std::filesystem::path (*)();

  explicit Library(BenchFile bench_file);

  kvr_code initialize(const kvr_InitParams* params);
  kvr_code initialize_test_station(const char* port, const kvr_InitParams* params);
  kvr_code shut_down();

  /// Opens the bench of the next session, so that it can say what becomes of the call that begins
  /// one.
  void prepare();

  /// Closes the store, for when the process ends without a shutdown. Any thread may still be in
  /// here, or may have been stopped in here: what is busy for long is left, as a kill would.
  void close_store_at_process_end() noexcept;

  /// Answers `call` as the bench forces it, and else by `action`, a function of the fault that
  /// strikes, or of nothing. An exception becomes a code: none must reach a client.
  template <typename Action>
  kvr_code answer(std::string_view call, Action action) noexcept {
    try {
      const std::optional<Fault> fault = meet_fault(call);
      if (!fault) {
        return KVR_RES_OPERATION_CANCELLED;
      }
      if (fault->null || !is_accepted_code(fault->code)) {
        return fault->code;
      }
      const kvr_code code = call_with_fault(action, *fault);
      return code == KVR_RES_OK ? fault->code : code;
    } catch (...) {
      return KVR_RES_INTERNAL_ERROR;
    }
  }

  /// The same for a call that needs a session, which `action` takes by reference, in front of the
  /// fault if it takes that.
  template <typename Action>
  kvr_code answer_in_session(std::string_view call, Action action) noexcept {
    return answer(call, [&](const Fault& fault) {
      const std::shared_ptr<Session> current = session();
      return current ? call_with_fault(action, fault, *current) : KVR_RES_LIB_NOT_INITIALIZED;
    });
  }

  /// Counts a call that has no code to answer with. Whether the bench takes its answer away.
  bool gives_nothing(std::string_view call) noexcept;

  /// Ends the waiting of all calls that the bench holds back. Whether there were any.
  bool release_held();

 private:
  /// Calls `action`, which takes the fault last or not at all.
  template <typename Action, typename... Arguments>
  static kvr_code call_with_fault(Action& action, const Fault& fault, Arguments&... arguments) {
    if constexpr (std::is_invocable_v<Action&, Arguments&..., const Fault&>) {
      return action(arguments..., fault);
    } else {
      return action(arguments...);
    }
  }

  /// Counts a call, finds the fault that the bench has for it, or one that changes nothing, and
  /// lets the call wait as the fault says. None if it was released meanwhile.
  std::optional<Fault> meet_fault(std::string_view call);
  Fault next_fault_locked(std::string_view call);
  std::shared_ptr<Session> session();
  void prepare_locked();
  void release_held_locked();
  void open_store_locked(const StoreSettings& settings);
  void close_store_locked();

  const BenchFile bench_file_;
  std::mutex mutex_;
  std::shared_ptr<BenchSource> benches_;  ///< from just before a session until its end
  std::shared_ptr<Session> session_;
  std::shared_ptr<SqliteStore> store_;          ///< of the last session
  std::string store_file_;                      ///< as its bench named it
  std::shared_ptr<const Bench> counted_bench_;  ///< the one that the counts belong to
  std::map<std::string, std::int64_t, std::less<>> call_counts_;
  std::condition_variable released_;
  int held_ = 0;
  std::int64_t releases_ = 0;
};

/// The library behind the exported calls. It is never destroyed: the process may exit on any thread
/// while others are still in here.
Library& library();

}  // namespace virtual_instrument
