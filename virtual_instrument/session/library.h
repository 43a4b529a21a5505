#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "api/client_api.h"
#include "virtual_instrument/bench/bench_source.h"
#include "virtual_instrument/session/session.h"
#include "virtual_instrument/store/sqlite_store.h"
#include "virtual_instrument/vocabulary/code_names.h"

namespace virtual_instrument {

/// The library as a whole: at most one session at a time, the record store, which outlives
/// sessions, and the answers that the bench forces.
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

  /// Answers `call` as the bench forces it, and else by `action`, a function without arguments. An
  /// exception becomes a code: none must reach a client.
  template <typename Action>
  kvr_code answer(std::string_view call, Action action) noexcept {
    try {
      const std::optional<Fault> fault = next_fault(call);
      if (fault && (fault->null || !is_accepted_code(fault->code))) {
        return fault->code;
      }
      const kvr_code code = action();
      return fault && code == KVR_RES_OK ? fault->code : code;
    } catch (...) {
      return KVR_RES_INTERNAL_ERROR;
    }
  }

  /// The same for a call that needs a session, which `action` takes by reference.
  template <typename Action>
  kvr_code answer_in_session(std::string_view call, Action action) noexcept {
    return answer(call, [&] {
      const std::shared_ptr<Session> current = session();
      return current ? action(*current) : KVR_RES_LIB_NOT_INITIALIZED;
    });
  }

  /// Counts a call that has no code to answer with. Whether the bench takes its answer away.
  bool gives_nothing(std::string_view call) noexcept;

 private:
  /// Counts a call and gives the answer that the bench forces on it, if any.
  std::optional<Fault> next_fault(std::string_view call);
  std::shared_ptr<Session> session();
  void prepare_locked();

  const BenchFile bench_file_;
  SqliteStore store_;
  std::mutex mutex_;
  std::shared_ptr<BenchSource> benches_;  ///< from just before a session until its end
  std::shared_ptr<Session> session_;
  std::shared_ptr<const Bench> counted_bench_;  ///< the one that the counts belong to
  std::map<std::string, std::int64_t, std::less<>> call_counts_;
};

/// The library behind the exported calls. It is never destroyed: the process may exit on any thread
/// while others are still in here.
Library& library();

}  // namespace virtual_instrument
