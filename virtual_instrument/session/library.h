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
  /// Returns the bench file of the next session; an empty path means the built-in bench.
  using BenchFile = std::filesystem::path (*)();

  explicit Library(BenchFile bench_file);

  kvr_code initialize(const kvr_InitParams* params);
  kvr_code initialize_test_station(const char* port, const kvr_InitParams* params);
  kvr_code shut_down();

  /// Opens the bench of the next session, so that its faults apply to the initialise call itself.
  void prepare();

  /// Closes the store when the process ends without a shutdown. Other threads may still be in the
  /// library, or have been stopped in it: if the store stays busy, it is left open, as by a kill.
  void close_store_at_process_end() noexcept;

  /// Runs `action` unless the bench forces another answer to `call`. `action` may take the active
  /// fault. An exception becomes a code, since none must reach a client.
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

  /// The same for a call that needs a session. `action` takes the session by reference, and after
  /// it the fault if it takes that.
  template <typename Action>
  kvr_code answer_in_session(std::string_view call, Action action) noexcept {
    return answer(call, [&](const Fault& fault) {
      const std::shared_ptr<Session> current = session();
      return current ? call_with_fault(action, fault, *current) : KVR_RES_LIB_NOT_INITIALIZED;
    });
  }

  /// Counts a call that returns no code. True if the bench suppresses its answer.
  bool gives_nothing(std::string_view call) noexcept;

  /// Releases all calls that the bench delays. True if there were any.
  bool release_held();

 private:
  /// Calls `action`, with the fault as last argument if it takes one.
  template <typename Action, typename... Arguments>
  static kvr_code call_with_fault(Action& action, const Fault& fault, Arguments&... arguments) {
    if constexpr (std::is_invocable_v<Action&, Arguments&..., const Fault&>) {
      return action(arguments..., fault);
    } else {
      return action(arguments...);
    }
  }

  /// Counts a call, finds the bench's fault for it, or one that changes nothing, and waits as long
  /// as the fault says. Returns nullopt if the call was released meanwhile.
  std::optional<Fault> meet_fault(std::string_view call);
  Fault next_fault_locked(std::string_view call);
  std::shared_ptr<Session> session();
  void prepare_locked();
  void release_held_locked();
  void open_store_locked(const StoreSettings& settings);
  void close_store_locked();

  const BenchFile bench_file_;
  std::mutex mutex_;
  std::shared_ptr<BenchSource> benches_;  ///< set from just before a session until its end
  std::shared_ptr<Session> session_;
  std::shared_ptr<SqliteStore> store_;          ///< of the last session
  std::string store_file_;                      ///< as its bench names it
  std::shared_ptr<const Bench> counted_bench_;  ///< the bench to which the counts belong
  std::map<std::string, std::int64_t, std::less<>> call_counts_;
  std::condition_variable released_;
  int held_ = 0;
  std::int64_t releases_ = 0;
};

/// The object that the exported calls use. Never destroyed: the process may exit on any thread
/// while others still use it.
Library& library();

}  // namespace virtual_instrument
