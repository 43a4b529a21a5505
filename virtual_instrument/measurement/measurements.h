#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

#include "api/result_records.h"
#include "virtual_instrument/measurement/three_phase_ratio.h"
#include "virtual_instrument/model/transformer_unit.h"

// The tests other than ratio tests, each from a unit to the result that a record stores. All
// measure the same unit, so their figures agree with each other. Results are values here;
// nested_records.h makes the structs with pointers that cross the boundary.

namespace virtual_instrument {

/// Settings of these tests.
struct FamilySettings {
  MeasurementSettings measurement;
  double line_frequency;      ///< Hz
  double test_voltage;        ///< V r.m.s., of tests with alternating voltage
  double direct_voltage;      ///< V, the most of the direct current source
  double direct_current;      ///< A, the most of that source
  double corrected_to;        ///< degrees C, to which impedance and losses are corrected
  double minimum_inductance;  ///< H, below which go/no-go reports a failure
  std::uint64_t seed;         ///< fixes the noise
};

/// A demonstration instrument's settings at a line frequency, without noise.
FamilySettings family_settings(double line_frequency);

/// One measured point and the tap change before it.
struct ResistancePoint {
  kvr_TestData_Point data;  ///< with nothing nested
  std::optional<kvr_TestData_Transition> transition;
};

struct ResistanceTap {
  std::int32_t tap;
  std::vector<ResistancePoint> points;
};

/// Resistance, continuous resistance or heat run: taps by side, in the order H, X, Y.
struct ResistanceTest {
  std::uint32_t duration_ms;
  std::array<std::vector<ResistanceTap>, 3> sides;
};

/// Each phase of both sides, on each tap of a tap changer. The current saturates the core first;
/// how long that takes, and the current to settle, is the point's stabilization.
ResistanceTest resistance_test(const TransformerUnit& unit, const FamilySettings& settings);

/// Reads phase A of the high side `count` times, `interval` s apart, from the switching on of the
/// source: readings fall while the current settles.
ResistanceTest continuous_resistance_test(const TransformerUnit& unit,
                                          const FamilySettings& settings, int count,
                                          double interval);

/// How a winding cools after the load is switched off.
struct CoolingCurve {
  double ambient;        ///< degrees C
  double rise;           ///< K above it at the moment of switching off
  double time_constant;  ///< s
};

double temperature_at(const CoolingCurve& curve, double seconds);

/// Phase A of both sides along a cooling curve, `count` readings `interval` s apart; each point's
/// stabilization is the time since switching off.
ResistanceTest heat_run_test(TransformerUnit unit, const FamilySettings& settings,
                             const CoolingCurve& curve, int count, double interval);

struct DemagTest {
  kvr_code code;  ///< a failure without saturation, which demagnetising needs
  std::uint32_t duration_ms;
  std::vector<kvr_TestData_Demag_Phase> phases;
  std::array<double, 3> residual_flux;  ///< Vs, what remains in the limbs
};

/// Drives each limb into saturation by direct voltage, reverses the voltage, and repeats this with
/// less and less flux. Remanence is a multiple of the flux at the knee.
DemagTest demag_test(const TransformerUnit& unit, const FamilySettings& settings);

struct ImpedanceTest {
  kvr_TestData_Impedance data;  ///< with nothing nested
  std::vector<kvr_TestData_Impedance_SingleTest> tests;
};

/// Short-circuit impedance at line frequency, phase by phase, the lines of the low side joined.
/// Phase impedances are those between two lines; percents are of the equivalent star. Power factors
/// are percents.
ImpedanceTest short_circuit_impedance_test(const TransformerUnit& unit,
                                           const FamilySettings& settings);

/// The same over frequencies, where stray losses show, without temperature correction.
ImpedanceTest stray_loss_response_test(const TransformerUnit& unit, const FamilySettings& settings,
                                       const std::vector<double>& frequencies);

/// Load losses at rated current and no-load losses at rated voltage, each separated into parts by a
/// second reading at half the frequency.
kvr_TestData_Efficiency efficiency_test(const TransformerUnit& unit,
                                        const FamilySettings& settings);

struct MagneticBalanceTest {
  kvr_code code;  ///< not supported if neither side has terminals for each limb winding
  kvr_TestData_MagneticBalance data;
};

/// Excites the winding of one limb after the other and reads all three. A row holds volts and their
/// sum; the imbalance is the largest difference between the readings of two limbs that mirror each
/// other, in percent of the test voltage.
MagneticBalanceTest magnetic_balance_test(const TransformerUnit& unit,
                                          const FamilySettings& settings);

/// Exciting currents, limb by limb, with the low side open; of one winding in the second of these.
/// REQUIRES of the first: a three-phase unit.
ThreePhaseRatio excitation_test(const TransformerUnit& unit, const FamilySettings& settings);
kvr_TestData_Ratio_1ph single_phase_excitation_test(const TransformerUnit& unit,
                                                    const FamilySettings& settings);

/// Whether each winding conducts, none is shorted, and the core gives enough inductance.
kvr_TestData_GoNoGo go_no_go_test(const TransformerUnit& unit, const FamilySettings& settings);

struct DynamicResistanceTest {
  kvr_code code;          ///< a failure without an on-load tap changer
  kvr_TestData_Drm data;  ///< with nothing nested
  std::vector<kvr_TestData_Drm_Transition> transitions;  ///< ms since the test began
};

/// Steps the tap changer from end to end under direct current and finds each transition by the dip
/// of the current.
DynamicResistanceTest dynamic_resistance_test(const TransformerUnit& unit,
                                              const FamilySettings& settings);

}  // namespace virtual_instrument
