#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>

#include "api/call_table.h"
#include "contract/shared_library.h"
#include "unit/virtual_instrument/requests.h"

// What the recorder of kvr-tape adds to a call, in one process: the same calls of the same session,
// straight to the virtual instrument and through the recorder in turn. The fastest round counts,
// since slower ones include other work of the machine.
//
//   tape-cost RECORDER INSTRUMENT FOLDER [ROUNDS]     FOLDER takes the tape and a bench

namespace {

ClientApiTable calls_of(const SharedLibrary& library) {
  ClientApiTable calls{};
#define KVR_FIND(call) calls.call = reinterpret_cast<decltype(calls.call)>(library.find(#call));
  KVR_EACH_CALL(KVR_FIND)
#undef KVR_FIND
  return calls;
}

double microseconds_each(int count, const std::function<void()>& work) {
  const auto begin = std::chrono::steady_clock::now();
  for (int i = 0; i < count; ++i) {
    work();
  }
  const std::chrono::duration<double, std::micro> taken = std::chrono::steady_clock::now() - begin;
  return taken.count() / count;
}

void connect(const ClientApiTable& calls) {
  static kvr_InitParams params{};
  params.init_mode = 2;
  params.status_callback = [](void*, kvr_code, const char*) {};
  calls.kvr_Lib_Initialize(&params);
  calls.kvr_SetClientKey("benchmark");
  kvr_ConnectionType type = KVR_CONNECTION_USB_WIFI;
  char firmware[kFirmwareTextSize]{};
  calls.kvr_ConnectAPI(&type, 5, "benchmark", firmware);
  calls.kvr_LockAPI();
}

void test_with_raw_data(const ClientApiTable& calls) {
  kvr_Ratio1phRequest request = virtual_instrument::ratio_1ph_request(KVR_TEST_RATIO_DOWN, 8, 10);
  kvr_TestRequestHeader header = virtual_instrument::request_header("", KVR_SAVE_NOTHING);
  kvr_TestRecord* record = nullptr;
  if (calls.kvr_Test_Ratio_1ph(&header, &request, nullptr, &record) != KVR_RES_OK) {
    std::fputs("a test is refused\n", stderr);
    std::exit(1);
  }
  calls.kvr_FreeTestRecord(record);
}

struct Row {
  const char* name;
  int count;  ///< in a round
  void (*work)(const ClientApiTable&);
};

constexpr Row kRows[] = {
    {"kvr_CodeToString", 1000,
     [](const ClientApiTable& calls) { calls.kvr_CodeToString(KVR_RES_OK); }},
    {"kvr_GetStatus", 1000,
     [](const ClientApiTable& calls) {
       kvr_Status status{};
       calls.kvr_GetStatus(&status);
     }},
    {"test with RAW data, and its free", 20, test_with_raw_data},
};

}  // namespace

int main(int argc, char** argv) {
  if (argc < 4) {
    std::fputs("tape-cost RECORDER INSTRUMENT FOLDER [ROUNDS]\n", stderr);
    return 2;
  }
  const int rounds = argc > 4 ? std::atoi(argv[4]) : 20;
  const std::filesystem::path tape = std::filesystem::path(argv[3]) / "cost.kvrtape";
  const std::filesystem::path bench = std::filesystem::path(argv[3]) / "bench.toml";
  std::ofstream(bench) << "[measurement]\nduration = 0.0\n";
  setenv("KVR_BENCH_FILE", bench.c_str(), 1);
  setenv("KVR_TAPE_LIBRARY", std::filesystem::absolute(argv[2]).c_str(), 1);
  setenv("KVR_TAPE_FILE", tape.c_str(), 1);
  const SharedLibrary recorder(argv[1]);
  const SharedLibrary instrument(argv[2]);
  const ClientApiTable recorded = calls_of(recorder);
  const ClientApiTable bare = calls_of(instrument);
  connect(recorded);
  for (const Row& row : kRows) {
    double fastest[2] = {1e9, 1e9};
    for (int round = 0; round < rounds; ++round) {
      fastest[0] = std::min(fastest[0], microseconds_each(row.count, [&] { row.work(bare); }));
      fastest[1] = std::min(fastest[1], microseconds_each(row.count, [&] { row.work(recorded); }));
    }
    std::printf("%-34s %9.2f us bare %9.2f us recorded %9.2f us more\n", row.name, fastest[0],
                fastest[1], fastest[1] - fastest[0]);
  }
  const auto before = std::filesystem::file_size(tape);
  constexpr int kTests = 100;
  for (int i = 0; i < kTests; ++i) {
    test_with_raw_data(recorded);
  }
  std::printf("%-34s %9ju bytes each\n", "a test with RAW data on the tape",
              static_cast<std::uintmax_t>((std::filesystem::file_size(tape) - before) / kTests));
  recorded.kvr_UnlockAPI();
  recorded.kvr_Lib_Shutdown();
  return 0;
}
