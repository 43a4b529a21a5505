#pragma once

#include <array>
#include <optional>
#include <string>

#include "panel/kinds.h"
#include "virtual_instrument/bench/bench.h"
#include "virtual_instrument/measurement/single_phase_ratio.h"

// What every kind of test finds on one bench, without noise, and the ratio tests at the same
// voltages. Each test meets the core as the bench describes it.

struct BenchFigures {
  std::string text;  ///< of the bench
  virtual_instrument::Bench bench;
  virtual_instrument::TransformerUnit unit;
  panel::Settings settings;

  std::optional<virtual_instrument::ThreePhaseRatio> excitation;  ///< of a three-phase unit
  kvr_TestData_Ratio_1ph excitation_1ph;
  virtual_instrument::DemagTest demagnetisation;
  virtual_instrument::ResistanceTest resistance;
  virtual_instrument::ResistanceTest continuous;
  virtual_instrument::ResistanceTest heat_run;
  virtual_instrument::DynamicResistanceTest dynamic;
  virtual_instrument::ImpedanceTest impedance;
  virtual_instrument::ImpedanceTest stray_loss;  ///< at half, once and twice the line frequency
  kvr_TestData_Efficiency efficiency;
  std::optional<kvr_TestData_MagneticBalance> balance;
  kvr_TestData_GoNoGo go_no_go;

  /// The single-phase ratio test of H1-H2 and X1-X2 at the voltage of the excitation tests.
  virtual_instrument::SinglePhaseRatio first_pair;
  /// The same on the pairs of each phase of `excitation`; none without a figure or a like circuit.
  std::array<std::optional<virtual_instrument::SinglePhaseRatio>, 3> phases;
  /// The ratio test at rated voltage, from a three-phase source without a neutral.
  std::optional<virtual_instrument::ThreePhaseRatio> rated;
  /// The same of a single-phase unit.
  std::optional<virtual_instrument::SinglePhaseRatio> rated_1ph;
  /// The excitation test after demagnetising; none of steel that has no residual flux to lose.
  std::optional<virtual_instrument::ThreePhaseRatio> excitation_after;
  /// A second demagnetising after the first.
  virtual_instrument::DemagTest demagnetisation_after;
};

/// Makes all of them. Fails the test if one leaves no number in the core.
BenchFigures measure_all(const std::string& text);
