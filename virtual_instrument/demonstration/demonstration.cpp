#include "virtual_instrument/demonstration/demonstration.h"

#include <stdexcept>
#include <string>
#include <utility>

#include "virtual_instrument/bench/bench_reader.h"
#include "virtual_instrument/measurement/measurements.h"
#include "virtual_instrument/measurement/single_phase_ratio.h"
#include "virtual_instrument/model/equivalent_circuit.h"
#include "virtual_instrument/model/iron_shape.h"
#include "virtual_instrument/recording/record.h"
#include "virtual_instrument/vocabulary/code_names.h"

namespace virtual_instrument {
namespace {

constexpr std::int64_t kMorning = 1709625600;  // 2024-03-05 08:00 UTC
constexpr std::int64_t kBetweenTests = 1200;   // 20 minutes
constexpr double kFrequency = 50;

void require_result(kvr_code code, const char* record_id) {
  if (!is_accepted_code(code)) {
    throw std::runtime_error(std::string("no result for ") + record_id);
  }
}

/// The demonstration's transformer in its state after the tests so far, and their records.
class DemonstrationSet {
 public:
  std::vector<DemonstrationRecord> make() {
    excitation("demo-excitation");
    demagnetisation();
    excitation("demo-excitation2");
    single_phase_excitation();
    go_no_go();
    three_phase_ratio("demo-ratio-auto", KVR_TEST_RATIO_AUTO, KVR_TESTING_MODE_3PH_AUTO);
    three_phase_ratio("demo-ratio-down", KVR_TEST_RATIO_DOWN, KVR_TESTING_MODE_3PH_1_1);
    single_phase_ratio();
    magnetic_balance();
    keep("demo-resistance", KVR_TEST_RESISTANCE, resistance_test(unit_, settings()));
    keep("demo-continuous", KVR_TEST_RESISTANCE_CONT,
         continuous_resistance_test(unit_, settings(), 12, 2));
    dynamic_resistance();
    keep("demo-impedance", KVR_TEST_SCI, short_circuit_impedance_test(unit_, settings()));
    keep("demo-stray-loss", KVR_TEST_FRSL,
         stray_loss_response_test(unit_, settings(), {25, 50, 100, 200, 400}));
    efficiency();
    heat_run();
    return std::move(records_);
  }

 private:
  /// Each test has noise of its own.
  FamilySettings settings() const {
    FamilySettings settings = family_settings(kFrequency);
    settings.measurement.noise = 0.02;
    settings.seed = records_.size() + 1;
    return settings;
  }

  void keep(const char* record_id, kvr_TestType type, const TestResult& result) {
    keep(record_id, type, nameplate_setup(unit_), result);
  }

  void keep(const char* record_id, kvr_TestType type, const kvr_TestSetup& setup,
            const TestResult& result) {
    const std::int64_t time = kMorning + kBetweenTests * std::ssize(records_);
    records_.push_back({make_record({"T-500-11", "Demonstration", record_id, KVR_SAVE_NEW_RECORD,
                                     type, setup, time},
                                    {result, ""}, false),
                        time});
  }

  void excitation(const char* record_id) {
    const ThreePhaseRatio result = excitation_test(unit_, settings());
    require_result(result.code, record_id);
    keep(record_id, KVR_TEST_EXCITATION, result);
  }

  void single_phase_excitation() {
    const kvr_TestData_Ratio_1ph result = single_phase_excitation_test(unit_, settings());
    keep("demo-excite-1ph", KVR_TEST_EXCITATION, result);
  }

  void demagnetisation() {
    const DemagTest result = demag_test(unit_, settings());
    require_result(result.code, "demo-demag");
    unit_.core.residual_flux = result.residual_flux;
    keep("demo-demag", KVR_TEST_DEMAG, result);
  }

  void go_no_go() {
    const kvr_TestData_GoNoGo result = go_no_go_test(unit_, settings());
    keep("demo-go-no-go", KVR_TEST_GONOGO, result);
  }

  /// The built-in instrument, with this test's noise.
  Bench bench() const {
    Bench bench = built_in_bench();
    bench.measurement = settings().measurement;
    return bench;
  }

  void three_phase_ratio(const char* record_id, kvr_TestType type, kvr_TestingMode mode) {
    kvr_Ratio3phRequest request{};
    request.setup = nameplate_setup(unit_);
    request.testing_mode = mode;
    request.test_type = type;
    request.tested_phase = kAllPhases;
    request.test_voltage = 100;
    require_result(check_three_phase_ratio(request, bench()), record_id);
    const ThreePhaseRatio result =
        measure_three_phase_ratio(unit_, request, bench(), settings().seed);
    require_result(result.code, record_id);
    unit_.core.residual_flux = result.residual_flux;
    keep(record_id, type, result);
  }

  /// The setup that an operator enters for a pair of windings: no group, and the ratio to 1.
  kvr_TestSetup pair_setup() const {
    kvr_TestSetup setup = nameplate_setup(unit_);
    for (const Side side : kSides) {
      setup.windings[index(side)].winding_type = KVR_WINDING_UNDEFINED;
    }
    setup.windings[index(Side::high)].voltage = static_cast<float>(rated_turns_ratio(unit_));
    setup.windings[index(Side::low)].voltage = 1;
    setup.connections[0].clock = kClockUnknown;
    return setup;
  }

  void single_phase_ratio() {
    constexpr const char* kId = "demo-ratio-1ph";
    kvr_Ratio1phRequest request{};
    request.test_type = KVR_TEST_RATIO_DOWN;
    request.high_side_phase = 3;  // H3-H1, the winding of the limb of X3-X0
    request.low_side_phase = 6;
    request.setup = pair_setup();
    request.test_voltage = 100;
    require_result(check_single_phase_ratio(request, bench()), kId);
    const SinglePhaseRatio result =
        measure_single_phase_ratio(unit_, request, bench(), settings().seed);
    require_result(result.code, kId);
    unit_.core.residual_flux = result.residual_flux;
    keep(kId, KVR_TEST_RATIO_DOWN, request.setup, result.data);
  }

  void magnetic_balance() {
    const MagneticBalanceTest result = magnetic_balance_test(unit_, settings());
    require_result(result.code, "demo-balance");
    keep("demo-balance", KVR_TEST_MBALANCE, result.data);
  }

  void dynamic_resistance() {
    const DynamicResistanceTest result = dynamic_resistance_test(unit_, settings());
    require_result(result.code, "demo-drm");
    keep("demo-drm", KVR_TEST_DRM, result);
  }

  void efficiency() {
    const kvr_TestData_Efficiency result = efficiency_test(unit_, settings());
    keep("demo-efficiency", KVR_TEST_EFFICIENCY, result);
  }

  void heat_run() {
    constexpr CoolingCurve kCurve{20, 60, 600};
    const ResistanceTest result = heat_run_test(unit_, settings(), kCurve, 8, 60);
    keep("demo-heat-run", KVR_TEST_HEATRUN, result);
  }

  TransformerUnit unit_ = demonstration_unit();
  std::vector<DemonstrationRecord> records_;
};

}  // namespace

TransformerUnit demonstration_unit() {
  TransformerUnit unit = unit_from_tests(
      {{KVR_WINDING_D, KVR_WINDING_YN, 11}, 11000, 433, 500, kFrequency, 1, 0.1, 0.6},
      {Side::low, 433, 4, 1000}, {Side::high, 495, 26.243, 5500});
  unit.impedance_percent = 4.5;
  unit.taps = {KVR_TAP_CHANGER_OLTC, 1, 5, 3, 3, -2.5, 5};
  const double rated = rated_flux(unit);
  MagnetizingBranch& limb = unit.core.limb;
  limb.knee_flux = 1.15 * rated;
  limb.knee_width = 0.08 * rated;
  limb.saturated_inductance = limb.inductance / 500;
  unit.core.remanence_excess = 2;
  // 0.9 times the rated impedance of a limb winding between its ends.
  unit.core.outside = {true, tank_reluctance(0.9 * 3 * 11000 * 11000 / 500e3, kFrequency), 0, 1};
  shape_iron(unit.core, rated);
  unit.core.residual_flux = {0.55 * rated, -0.35 * rated, -0.2 * rated};
  return unit;
}

std::vector<DemonstrationRecord> demonstration_records() { return DemonstrationSet().make(); }

kvr_code fill_with_demonstration(SqliteStore& store) {
  Labels labels;
  if (const kvr_code code = store.list(SortKey::kTestId, true, labels);
      code != KVR_RES_OK || labels->count > 0) {
    return code;
  }
  for (const DemonstrationRecord& each : demonstration_records()) {
    if (const kvr_code code = store.save_new(*each.record, each.time); code != KVR_RES_OK) {
      return code;
    }
  }
  return KVR_RES_OK;
}

}  // namespace virtual_instrument
