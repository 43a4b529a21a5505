#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iostream>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "api/client_api.h"
#include "unit/virtual_instrument/requests.h"

// A client of the library, linked as the console tester is, that stores tests and ends in one way
// of many. The bench, which names the store, comes from KVR_BENCH_FILE; "saved ID" follows each
// test that the library says it has stored.
//
//   store-client WAY COUNT    stores COUNT tests and ends as WAY says, with status 3 if by exit()
//   store-client list 0       "ID" for each stored record that can be read

namespace {

using namespace virtual_instrument;

constexpr int kExitStatus = 3;

/// Deliberately no C++ stream: another thread may end the process meanwhile.
void say(const std::string& line) {
  std::fputs((line + "\n").c_str(), stdout);
  std::fflush(stdout);
}

void require_ok(kvr_code code, const std::string& what) {
  if (code != KVR_RES_OK) {
    say(what + " gives code " + std::to_string(code));
    std::_Exit(1);
  }
}

[[noreturn]] void leave() { std::exit(kExitStatus); }

kvr_code run_test(const std::string& id, kvr_ProgressHandler* progress = nullptr) {
  kvr_TestRequestHeader header = request_header(id, KVR_SAVE_NEW_RECORD);
  kvr_Ratio1phRequest request = ratio_1ph_request(KVR_TEST_RATIO_DOWN, 8, 10);
  kvr_TestRecord* record = nullptr;
  const kvr_code code = kvr_Test_Ratio_1ph(&header, &request, progress, &record);
  if (code == KVR_RES_OK) {
    say("saved " + id);
    kvr_FreeTestRecord(record);
  }
  return code;
}

void save(int number) {
  const std::string id = "T" + std::to_string(number);
  require_ok(run_test(id), "saving " + id);
}

void save_all(int count) {
  for (int number = 0; number < count; ++number) {
    save(number);
  }
}

void initialize(kvr_StatusCallback callback = nullptr) {
  kvr_InitParams params{};
  params.status_callback = callback;
  require_ok(kvr_Lib_Initialize(&params), "kvr_Lib_Initialize");
  require_ok(kvr_SetClientKey("key"), "kvr_SetClientKey");
  kvr_ConnectionType type = KVR_CONNECTION_USB_WIFI;
  std::array<char, kFirmwareTextSize> firmware{};
  require_ok(kvr_ConnectAPI(&type, 5, "store-client", firmware.data()), "kvr_ConnectAPI");
}

void wait_for_input() { std::cin.get(); }

// ---- The ways ------------------------------------------------------------------------------

void shut_down(int count) {
  initialize();
  save_all(count);
  require_ok(kvr_Lib_Shutdown(), "kvr_Lib_Shutdown");
}

void shut_down_after_each(int count) {
  for (int number = 0; number < count; ++number) {
    initialize();
    save(number);
    require_ok(kvr_Lib_Shutdown(), "kvr_Lib_Shutdown");
  }
}

void return_from_main(int count) {
  initialize();
  save_all(count);
}

void shut_down_and_begin_again(int count) {
  shut_down(count);
  initialize();
  save(count);
}

void exit_while_main_reads(int count) {
  initialize();
  save_all(count);
  std::thread([] {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));  // by then main is probably reading
    leave();
  }).detach();
  wait_for_input();
}

void exit_in_status_callback(int count) {
  initialize([](void*, kvr_code, const char*) { leave(); });
  save_all(count);
  std::ofstream(std::getenv("KVR_BENCH_FILE"), std::ios::app) << "[connection]\nlost = true\n";
  wait_for_input();
}

void exit_in_progress_callback(int count) {
  initialize();
  save_all(count);
  kvr_ProgressHandler handler{[](void*, const kvr_Progress*) { leave(); }, nullptr};
  run_test("unfinished", &handler);
}

/// Calls exit() at any moment while another thread stores tests.
void exit_while_another_saves(int count) {
  initialize();
  static std::atomic<int> saved = 0;
  std::thread([] {
    while (run_test("T" + std::to_string(saved)) == KVR_RES_OK) {
      ++saved;
    }
  }).detach();
  while (saved < count) {
    std::this_thread::sleep_for(std::chrono::microseconds(100));
  }
  leave();
}

/// A static object whose destructor runs after main and still uses the library.
struct LateUser {
  int number = -1;
  ~LateUser() {
    if (number >= 0) {
      save(number);
    }
  }
};
LateUser late_user;

void save_in_static_destructor(int count) {
  initialize();
  save_all(count);
  late_user.number = count;
}

/// Waits, so that the process can be killed or the file inspected.
void wait(int count) {
  initialize();
  save_all(count);
  say("ready");
  wait_for_input();
}

void shut_down_and_wait(int count) {
  shut_down(count);
  say("ready");
  wait_for_input();
}

void list(int /*count*/) {
  initialize();
  kvr_TestLabelsList* labels = nullptr;
  require_ok(kvr_ListRecords(&labels, nullptr, kSortByTestId, 1), "kvr_ListRecords");
  for (std::uint32_t i = 0; i < labels->count; ++i) {
    kvr_TestRecord* record = nullptr;
    const char* const id = labels->entries[i].record_id;
    require_ok(kvr_ReadRecord(id, 1, &record), std::string("reading ") + id);
    say(record->record_id);
    kvr_FreeTestRecord(record);
  }
  kvr_FreeTestLabelsList(labels);
}

const std::map<std::string, void (*)(int)> kWays = {
    {"shut-down", shut_down},
    {"shut-down-after-each", shut_down_after_each},
    {"return-from-main", return_from_main},
    {"shut-down-and-begin-again", shut_down_and_begin_again},
    {"exit-while-main-reads", exit_while_main_reads},
    {"exit-in-status-callback", exit_in_status_callback},
    {"exit-in-progress-callback", exit_in_progress_callback},
    {"exit-while-another-saves", exit_while_another_saves},
    {"save-in-static-destructor", save_in_static_destructor},
    {"wait", wait},
    {"shut-down-and-wait", shut_down_and_wait},
    {"list", list},
};

}  // namespace

int main(int argc, char** argv) {
  // exit() need not wait for a C stream that is being read.
  std::ios::sync_with_stdio(false);
  const std::vector<std::string> words(argv + 1, argv + argc);
  if (words.size() != 2 || !kWays.contains(words[0])) {
    std::cerr << "usage: store-client WAY COUNT\n";
    return 2;
  }
  kWays.at(words[0])(std::stoi(words[1]));
  return 0;
}
