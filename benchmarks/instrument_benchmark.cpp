// The virtual instrument. An item is one test of an instrument whose tests take no simulated time,
// one stored test, or one record of a list. Its tests have no floor: no simpler code does the same.

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "api/client_api.h"
#include "unit/record_form/sample_records.h"
#include "unit/virtual_instrument/model/units.h"
#include "unit/virtual_instrument/requests.h"
#include "unit/virtual_instrument/store/store_files.h"
#include "virtual_instrument/bench/bench_reader.h"
#include "virtual_instrument/bench/bench_unit.h"
#include "virtual_instrument/measurement/measurements.h"
#include "virtual_instrument/store/sqlite_connection.h"
#include "virtual_instrument/store/sqlite_store.h"

namespace virtual_instrument {
namespace {

namespace fs = std::filesystem;

/// A folder for this run, removed at its end.
class WorkFolder {
 public:
  WorkFolder() { fs::create_directories(path_); }
  ~WorkFolder() { fs::remove_all(path_); }
  WorkFolder(const WorkFolder&) = delete;
  WorkFolder& operator=(const WorkFolder&) = delete;

  fs::path operator/(const char* name) const { return path_ / name; }

 private:
  fs::path path_ = fs::temp_directory_path() / "kvr-benchmark-instrument";
};

void require(kvr_code code) {
  if (code != KVR_RES_OK) {
    throw std::runtime_error("refused with code " + std::to_string(code));
  }
}

// Ratio tests through the calls of the library.

void connect(const fs::path& bench_file) {
  std::ofstream(bench_file) << "[measurement]\nduration = 0\n";
  setenv("KVR_BENCH_FILE", bench_file.c_str(), 1);
  kvr_InitParams params{};
  require(kvr_Lib_Initialize(&params));
  require(kvr_SetClientKey("key"));
  kvr_ConnectionType type = KVR_CONNECTION_USB_WIFI;
  char firmware[kFirmwareTextSize] = {};
  require(kvr_ConnectAPI(&type, 5, "benchmark", firmware));
}

void test_single_phase() {
  kvr_TestRequestHeader header = request_header("", KVR_SAVE_NOTHING);
  kvr_Ratio1phRequest request = ratio_1ph_request(KVR_TEST_RATIO_DOWN, 8, 10);
  kvr_TestRecord* record = nullptr;
  require(kvr_Test_Ratio_1ph(&header, &request, nullptr, &record));
  kvr_FreeTestRecord(record);
}

void test_three_phase() {
  kvr_TestRequestHeader header = request_header("", KVR_SAVE_NOTHING);
  kvr_Ratio3phRequest request =
      ratio_3ph_request(KVR_TEST_RATIO_DOWN, 8, KVR_WINDING_D, KVR_WINDING_YN, 17.32F);
  kvr_TestRecord* record = nullptr;
  require(kvr_Test_Ratio_3ph(&header, &request, nullptr, &record));
  kvr_FreeTestRecord(record);
}

// The other tests, directly from a unit to a result.

/// With a tap changer, and flux left in its core.
TransformerUnit unit_under_test() {
  TransformerUnit unit = saturating_three_phase_unit();
  const double flux = 0.8 * unit.core.limb.knee_flux;
  unit.core.residual_flux = {flux, -flux / 2, -flux / 2};
  unit.taps = {KVR_TAP_CHANGER_OLTC, 1, 5, 3, 3, -2.5, 5};
  return unit;
}

template <typename Test>
void register_family(const char* name, Test test) {
  benchmark::RegisterBenchmark(name, [test](benchmark::State& state) {
    const TransformerUnit unit = unit_under_test();
    const FamilySettings settings = family_settings(50);
    for (auto _ : state) {
      benchmark::DoNotOptimize(test(unit, settings));
    }
    state.SetItemsProcessed(state.iterations());
  });
}

void register_ratio_test(const char* name, void (*test)()) {
  benchmark::RegisterBenchmark(name, [test](benchmark::State& state) {
    for (auto _ : state) {
      test();
    }
    state.SetItemsProcessed(state.iterations());
  });
}

/// The unit of the built-in bench at rated voltage, where its loops and its knee count, on a
/// three-phase source or with one phase after the other.
void register_rated_ratio(const char* name, kvr_TestingMode mode) {
  benchmark::RegisterBenchmark(name, [mode](benchmark::State& state) {
    Bench bench = built_in_bench();
    bench.instrument.maximum_voltage = 5000;
    const TransformerUnit unit = make_unit(bench);
    kvr_Ratio3phRequest request =
        ratio_3ph_request(KVR_TEST_RATIO_DOWN, 1385.64F, KVR_WINDING_YN, KVR_WINDING_YN, 10);
    request.testing_mode = mode;
    for (auto _ : state) {
      const ThreePhaseRatio result = measure_three_phase_ratio(unit, request, bench, 1);
      require(result.code);
      benchmark::DoNotOptimize(result);
    }
    state.SetItemsProcessed(state.iterations());
  });
}

void register_tests() {
  register_rated_ratio("instrument_ratio_rated/program", KVR_TESTING_MODE_3PH_3_3);
  register_rated_ratio("instrument_ratio_rated_1_1/program", KVR_TESTING_MODE_3PH_1_1);
  register_ratio_test("instrument_ratio_1ph/program", test_single_phase);
  register_ratio_test("instrument_ratio_3ph/program", test_three_phase);
  register_family("instrument_resistance/program", resistance_test);
  register_family("instrument_resistance_cont/program", [](const auto& unit, const auto& settings) {
    return continuous_resistance_test(unit, settings, 20, 1);
  });
  register_family("instrument_heatrun/program", [](const auto& unit, const auto& settings) {
    return heat_run_test(unit, settings, {20, 50, 3600}, 20, 60);
  });
  register_family("instrument_demag/program", demag_test);
  register_family("instrument_sci/program", short_circuit_impedance_test);
  register_family("instrument_frsl/program", [](const auto& unit, const auto& settings) {
    return stray_loss_response_test(unit, settings, {20, 50, 100, 200, 400, 600});
  });
  register_family("instrument_efficiency/program", efficiency_test);
  register_family("instrument_mbalance/program", magnetic_balance_test);
  register_family("instrument_excitation/program", excitation_test);
  register_family("instrument_gonogo/program", go_no_go_test);
  register_family("instrument_drm/program", dynamic_resistance_test);
}

// The store.

/// Its raw data are 640 samples, ten periods of 64.
OwnedRecord stored_test() {
  std::string raw_data;
  for (int sample = 0; sample < 640; ++sample) {
    raw_data += "0.0001302;-338.99999;12.345678\\n";
  }
  return ratio_record("T1", 10, raw_data);
}

void store_tests(benchmark::State& state, const fs::path& file) {
  fs::remove(file);
  SqliteStore store({.path = file});
  OwnedRecord record = stored_test();
  std::int64_t number = 0;
  for (auto _ : state) {
    const std::string id = "T" + std::to_string(number);
    record.get()->record_id[id.copy(record.get()->record_id, kIdSize - 1)] = '\0';
    require(store.save_new(*record.get(), number++));
  }
  state.SetItemsProcessed(state.iterations());
}

/// The same bytes in a transaction of SQLite's own.
void store_plain_bytes(benchmark::State& state, const fs::path& file) {
  fs::remove(file);
  { SqliteStore made({.path = file}); }
  const SqliteConnection database(file, SqliteAccess::kExisting, std::chrono::seconds(5));
  const OwnedRecord record = stored_test();
  const std::vector<std::byte> bytes = form_of(*record.get());
  std::int64_t number = 0;
  for (auto _ : state) {
    SqliteTransaction transaction(database);
    database.prepare("INSERT INTO tests (record, data, data_checksum) VALUES (?, ?, 0)")
        .bind(number++)
        .bind(std::span(bytes))
        .run();
    transaction.commit();
  }
  state.SetItemsProcessed(state.iterations());
}

void list_records(benchmark::State& state, const fs::path& file) {
  fs::remove(file);
  const auto count = static_cast<int>(state.range(0));
  fill_store(file, count, *ratio_record("R").get(), false);
  SqliteStore store({.path = file});
  for (auto _ : state) {
    Labels labels;
    require(store.list(SortKey::kTestId, true, labels));
    benchmark::DoNotOptimize(labels->entries);
  }
  state.SetItemsProcessed(state.iterations() * count);
}

/// Reads the same rows and keeps the heads, in the order of the file and unchecked.
void read_plain_rows(benchmark::State& state, const fs::path& file) {
  fs::remove(file);
  const auto count = static_cast<int>(state.range(0));
  fill_store(file, count, *ratio_record("R").get(), false);
  const SqliteConnection database(file, SqliteAccess::kExisting, std::chrono::seconds(5));
  for (auto _ : state) {
    std::vector<kvr_TestLabel> labels(static_cast<std::size_t>(count));
    std::size_t i = 0;
    SqliteStatement rows = database.prepare("SELECT head, time FROM records ORDER BY number");
    while (rows.step()) {
      std::memcpy(&labels[i++], rows.bytes(0).data(), sizeof(kvr_TestLabel));
    }
    benchmark::DoNotOptimize(labels.data());
  }
  state.SetItemsProcessed(state.iterations() * count);
}

void register_store(const fs::path& file) {
  constexpr std::int64_t kRecords = 100'000;
  benchmark::RegisterBenchmark("store_test/program", store_tests, file);
  benchmark::RegisterBenchmark("store_test/floor", store_plain_bytes, file);
  benchmark::RegisterBenchmark("list_records/program", list_records, file)->Arg(kRecords);
  benchmark::RegisterBenchmark("list_records/floor", read_plain_rows, file)->Arg(kRecords);
  benchmark::RegisterBenchmark("list_records/growth", list_records, file)
      ->RangeMultiplier(10)
      ->Range(1'000, kRecords);
}

}  // namespace

int run_benchmarks(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
    return 1;
  }
  const WorkFolder folder;
  connect(folder / "bench.toml");
  register_tests();
  register_store(folder / "records.db");
  benchmark::RunSpecifiedBenchmarks();
  kvr_Lib_Shutdown();
  return 0;
}

}  // namespace virtual_instrument

int main(int argc, char** argv) { return virtual_instrument::run_benchmarks(argc, argv); }
