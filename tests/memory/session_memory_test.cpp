#include <gtest/gtest.h>
#include <sqlite3.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "api/client_api.h"
#include "support/counted_new.h"
#include "support/process.h"
#include "support/temporary_folder.h"
#include "unit/virtual_instrument/requests.h"
#include "unit/virtual_instrument/store/watched_disk.h"

namespace virtual_instrument {
namespace {

/// Slow builds run fewer tests, which are enough to show growth.
int tests_of_a_session() {
#ifdef NDEBUG
  constexpr int kUsual = 10'000;
#else
  constexpr int kUsual = 500;
#endif
  const char* wanted = std::getenv("KVR_MEMORY_TESTS");
  return wanted == nullptr ? kUsual : std::stoi(wanted);
}

/// Number of tests whose lowest reading counts: the library's own thread allocates now and then.
constexpr int kWindow = 50;

/// The library remembers the first call of each name, since benches can count calls.
constexpr int kOfEachKind = 2;

class SessionMemory : public testing::Test {
 protected:
  SessionMemory() { set_environment("KVR_BENCH_FILE", (folder_.path() / "bench.toml").string()); }
  ~SessionMemory() override {
    kvr_Lib_Shutdown();
    set_environment("KVR_BENCH_FILE", "");
  }

  void start(const std::string& store) {
    folder_.write(
        "bench.toml",
        "[measurement]\nduration = 0\nsteps = 1\nsamples_per_period = 16\nperiods = 2\n" + store);
    kvr_InitParams params{};
    ASSERT_EQ(kvr_Lib_Initialize(&params), KVR_RES_OK);
    kvr_ConnectionType type = KVR_CONNECTION_USB_WIFI;
    std::array<char, kFirmwareTextSize> firmware{};
    ASSERT_EQ(kvr_ConnectAPI(&type, 5, "memory", firmware.data()), KVR_RES_OK);
  }

  /// Single-phase and three-phase tests by turns. Returns the fewest bytes that were allocated
  /// after any of them.
  static std::size_t lowest_after(int tests, kvr_SaveMode save_mode) {
    std::size_t lowest = SIZE_MAX;
    for (int number = 0; number < tests; ++number) {
      kvr_TestRecord* record = nullptr;
      if (number % 2 == 0) {
        kvr_TestRequestHeader header = request_header("single", save_mode);
        kvr_Ratio1phRequest request = ratio_1ph_request(KVR_TEST_RATIO_DOWN, 8, 10);
        EXPECT_EQ(kvr_Test_Ratio_1ph(&header, &request, nullptr, &record), KVR_RES_OK);
      } else {
        kvr_TestRequestHeader header = request_header("triple", save_mode);
        kvr_Ratio3phRequest request =
            ratio_3ph_request(KVR_TEST_RATIO_DOWN, 8, KVR_WINDING_YN, KVR_WINDING_YN, 10);
        EXPECT_EQ(kvr_Test_Ratio_3ph(&header, &request, nullptr, &record), KVR_RES_OK);
      }
      kvr_FreeTestRecord(record);
      lowest = std::min(lowest, counted_new::live_bytes());
    }
    return lowest;
  }

  TemporaryFolder folder_;
};

TEST_F(SessionMemory, IsFlatOverTests) {
  start("");
  lowest_after(kOfEachKind, KVR_SAVE_NOTHING);
  const std::size_t at_first = lowest_after(kWindow, KVR_SAVE_NOTHING);
  lowest_after(tests_of_a_session() - 2 * kWindow, KVR_SAVE_NOTHING);
  EXPECT_EQ(lowest_after(kWindow, KVR_SAVE_NOTHING), at_first);
}

TEST_F(SessionMemory, IsFlatOverStoredTestsExceptForTheCacheOfTheStore) {
  const WatchedDisk disk;
  start("[store]\nfile = '" + (folder_.path() / "records.db").generic_string() + "'\n");
  lowest_after(kOfEachKind, KVR_SAVE_ADD_TO_RECORD);
  const std::size_t at_first = lowest_after(kWindow, KVR_SAVE_ADD_TO_RECORD);
  lowest_after(tests_of_a_session() / 10, KVR_SAVE_ADD_TO_RECORD);
  EXPECT_EQ(lowest_after(kWindow, KVR_SAVE_ADD_TO_RECORD), at_first);
  constexpr std::int64_t kCache = 2'000 * 1024;  // SQLite's own limit
  EXPECT_LT(sqlite3_memory_used(), 2 * kCache);
  // The store uses the disk until shutdown, so shut down before the disk is destroyed.
  kvr_Lib_Shutdown();
  start("");
}

}  // namespace
}  // namespace virtual_instrument
