#pragma once

#include <array>
#include <cmath>
#include <cstdio>
#include <string>
#include <type_traits>
#include <vector>

#include "virtual_instrument/measurement/measurements.h"

// Results as texts of few digits, so that a test can compare all figures of a result at once.

namespace virtual_instrument {

/// Six digits: more than a change of the platform's rounding leaves alone. What is nothing but
/// rounding is zero.
inline std::string figure(double value) {
  constexpr double kRounding = 1e-9;
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%.6g", std::abs(value) < kRounding ? 0.0 : value);
  return text.data();
}

inline std::string figures() { return "\n"; }

template <typename First, typename... Others>
std::string figures(const First& first, const Others&... others) {
  std::string text;
  if constexpr (std::is_arithmetic_v<First>) {
    text = figure(static_cast<double>(first));
  } else {
    text = first;
  }
  return text + (sizeof...(others) > 0 ? " " : "") + figures(others...);
}

inline std::string figures_of(const ResistanceTest& test) {
  std::string text = figures(test.duration_ms, "ms");
  for (const std::vector<ResistanceTap>& side : test.sides) {
    for (const ResistanceTap& tap : side) {
      for (const ResistancePoint& point : tap.points) {
        const kvr_TestData_Point& data = point.data;
        text += figures(tap.tap, data.name, data.state + 0, data.stabilization_ms, data.stability,
                        data.ii, data.ia, data.ua, data.rm);
      }
    }
  }
  return text;
}

inline std::string figures_of(const DemagTest& test) {
  std::string text = figures(test.duration_ms, "ms");
  for (std::size_t phase = 0; phase < test.phases.size(); ++phase) {
    const kvr_TestData_Demag_Phase& data = test.phases[phase];
    text += figures(data.demag_phase, data.remanence_initial, data.remanence_after_demag,
                    test.residual_flux[phase]);
  }
  return text;
}

inline std::string figures_of(const DynamicResistanceTest& test) {
  std::string text;
  for (const kvr_TestData_Drm_Transition& transition : test.transitions) {
    text += figures(transition.start_time, transition.end_time);
  }
  return text;
}

inline std::string figures_of(const ImpedanceTest& test) {
  std::string text;
  for (const kvr_TestData_Impedance_SingleTest& single : test.tests) {
    text +=
        figures(single.phase_mode + 0, single.avg_power_factor, single.avg_z, single.avg_z_percent);
    for (const kvr_TestData_Impedance_Phase& phase : single.phases) {
      text += figures(phase.phase_name, phase.high_side_phase, phase.low_side_phase,
                      phase.status + 0, phase.corrected + 0, phase.v_ratio, phase.test_frequency);
      text += figures(" ", phase.rs, phase.xs, phase.power_factor, phase.inductance, phase.z,
                      phase.z_percent, phase.z_percent_error, phase.curr_rms);
    }
  }
  return text;
}

inline std::string figures_of(const kvr_TestData_Efficiency& data) {
  std::string text = figures(data.setup.windings[0].voltage, data.setup.windings[1].voltage) +
                     figures(data.duration_ms, data.total_load_losses, data.total_no_load_losses,
                             data.total_eddy_current, data.total_hysteresis, data.total_losses,
                             data.efficiency_percent);
  for (const kvr_TestData_Efficiency_Phase& phase : data.phases) {
    text += figures(phase.phase_name, phase.high_side_phase, phase.low_side_phase, phase.status + 0,
                    phase.corrected + 0, phase.ratio_tnr);
    text += figures(" ", phase.load_rs_line, phase.load_rs_zero, phase.load_i2r,
                    phase.load_stray_eddy, phase.load_losses);
    text += figures(" ", phase.no_load_losses, phase.total_losses, phase.hysteresis,
                    phase.eddy_current, phase.i2r_no_load, phase.noload_eddy_resistance_measured,
                    phase.noload_eddy_resistance_corrected);
  }
  return text;
}

inline std::string figures_of(const kvr_TestData_MagneticBalance& data) {
  std::string text = figures(data.side, data.max_imbalance);
  for (const kvr_TestData_MagneticBalance_Row& row : data.rows) {
    text += figures(row.high_label, row.low_label, row.cell[0].value, row.cell[1].value,
                    row.cell[2].value, row.total);
  }
  return text;
}

inline std::string figures_of(const kvr_TestData_Ratio_Phase& phase) {
  return figures(phase.status + 0, phase.phase_name, phase.high_side_phase, phase.low_side_phase,
                 phase.tvr_name, phase.tvr_high, phase.tvr_low) +
         figures(" ", phase.voltage_h, phase.voltage_x, phase.tnr, phase.tnr_error, phase.tvr,
                 phase.true_ratio, phase.true_ratio_error, phase.frequency) +
         figures(" ", phase.phase_high, phase.phase_low, phase.phase_shift_absolute,
                 phase.phase_deviation_from_user_phasing, phase.efi) +
         figures(" ", phase.voltage_rms, phase.current_rms, phase.vol_rms_high, phase.vol_rms_low,
                 phase.curr_h, phase.curr_x, phase.induced_voltage);
}

inline std::string figures_of(const kvr_TestData_Ratio_3ph& data) {
  std::string text = figures(data.test_type + 0, data.testing_mode + 0, data.test_voltage,
                             data.reference_ratio, data.tvr_multiplier);
  for (const kvr_TestData_Ratio_Phase& phase : data.phases) {
    text += figures_of(phase);
  }
  return text +
         figures(data.zero_seq_hi, data.zero_seq_lo, data.zero_phase_hi, data.zero_phase_lo,
                 data.zero_distortion_index, data.zero_distortion_phase) +
         figures(data.negative_seq_hi, data.negative_seq_lo, data.negative_phase_hi,
                 data.negative_phase_lo, data.negative_distortion_index,
                 data.negative_distortion_phase) +
         figures(data.positive_seq_hi, data.positive_seq_lo, data.positive_phase_hi,
                 data.positive_phase_lo) +
         figures(data.ratio_3ph, data.ratio_3ph_error, data.phase_3ph, data.health_state + 0);
}

inline std::string figures_of(const kvr_TestData_Ratio_1ph& data) {
  return figures(data.direction + 0, data.high_side_phase, data.low_side_phase, data.test_voltage,
                 data.reference_ratio) +
         figures_of(data.phase);
}

inline std::string figures_of(const std::array<double, 3>& residual_flux) {
  return figures(residual_flux[0], residual_flux[1], residual_flux[2]);
}

}  // namespace virtual_instrument
