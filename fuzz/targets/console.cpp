#include <filesystem>
#include <string>

#include "common/errors.h"
#include "flows/single_phase.h"
#include "flows/three_phase.h"
#include "fuzz/fuzz_target.h"
#include "fuzz/typed_session.h"
#include "records/record_menu.h"
#include "shell/label_menu.h"
#include "shell/main_menu.h"
#include "shell/start_up.h"
#include "support/process.h"
#include "support/scripted_client_api_script.h"
#include "support/temporary_folder.h"

// The whole program, with the menus of both, on a scripted library. An input is the script (see
// tests/support/scripted_client_api_script.h), a line "---", and what the operator types.
//
// Left out: status events, since a lost connection ends the process, and pauses in real time.

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kMostCalls = 100;

void all_menus() {
  constexpr MenuItem kItems[] = {{1, "Three Phase Test", three_phase_menu},
                                 {2, "Single Phase Test", Single_Phase},
                                 {3, "Records", record_menu},
                                 {4, "Terminal labels", label_menu}};
  run_main_menu(kItems);
}

bool can_be_run(const std::string& script) {
  for (const char* const word : {"status=", "delay", "until_cancelled", "progress=", "record "}) {
    // A record of the script can have counts beyond its arrays; no record of a library has.
    if (script.find(word) != std::string::npos) {
      return false;
    }
  }
  return true;
}

/// A folder that is both home and working folder.
class Home {
 public:
  Home() : in_folder_(folder_.path()) { set_environment("HOME", folder_.path().string()); }

  void clear() const {
    for (const fs::directory_entry& entry : fs::directory_iterator(folder_.path())) {
      fs::remove_all(entry);
    }
  }

 private:
  TemporaryFolder folder_;
  WorkingFolder in_folder_;
};

/// Queues the script's answers, up to its first mistake.
void answer_from(const std::string& script) {
  std::istringstream lines(script);
  try {
    load_script(lines, "script", scripted_api());
  } catch (const ScriptError&) {
  }
}

void check_calls() {
  ScriptedClientApi& api = scripted_api();
  for (const std::string& complaint : api.complaints()) {
    demand(complaint.find("what is not handed out") == std::string::npos, complaint.c_str());
  }
  demand(api.count(ApiCall::LockAPI) == api.count(ApiCall::UnlockAPI),
         "what is locked is unlocked");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const Home home;

  const std::string input(as_text(data, size));
  const std::size_t middle = input.find("\n---\n");
  const std::string script = middle == std::string::npos ? "" : input.substr(0, middle + 1);
  if (!can_be_run(script)) {
    return 0;
  }
  const TypedSession typed(
      harmless(middle == std::string::npos ? input : input.substr(middle + 5)));
  answer_from(script);
  std::size_t calls = 0;
  scripted_api().on_call = [&calls](const SeenCall&) {
    if (++calls == kMostCalls) {
      throw WaitedForEver();
    }
  };
  bool ended = false;
  try {
    run_session({}, all_menus);
    ended = true;
  } catch (const WaitedForEver&) {        // the answers have ended, or there were too many calls
  } catch (const kvr_exception& error) {  // undefined instrument type, or a record ID too long
    demand(
        error.code == KVR_RES_INSTRUMENT_TYPE_NOT_SUPPORTED || error.code == KVR_RES_TEXT_TOO_LONG,
        error.what());
  }
  scripted_api().on_call = nullptr;
  if (ended) {
    check_calls();
    // A null text silences standard output.
    demand(
        !std::cout || typed.output().ends_with("END\n") || typed.output().ends_with("failed!!!\n"),
        "the last line is the program's");
  }
  home.clear();
  return 0;
}
