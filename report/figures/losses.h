#pragma once

#include <optional>
#include <span>

// Core losses in their two parts. At equal flux the loss by hysteresis is proportional to the
// frequency and that by eddy currents to its square, so tests at two frequencies separate them.

namespace report {

struct CoreLossReading {
  double frequency;  ///< Hz
  double loss;       ///< W
  double flux = 1;   ///< relative to the flux at which the parts are wanted
};

struct CoreLosses {
  double hysteresis_per_hertz;    ///< W / Hz
  double eddy_per_hertz_squared;  ///< W / Hz^2

  double hysteresis(double frequency) const { return hysteresis_per_hertz * frequency; }
  double eddy(double frequency) const { return eddy_per_hertz_squared * frequency * frequency; }
  double total(double frequency) const { return hysteresis(frequency) + eddy(frequency); }
};

/// The exponent of the flux in the loss by hysteresis, where readings differ in flux.
constexpr double kSteinmetzExponent = 1.6;

/// Exact for two readings; for more the least squares of loss over frequency. Nothing for fewer
/// than two frequencies.
std::optional<CoreLosses> separate_core_losses(std::span<const CoreLossReading> readings,
                                               double exponent = kSteinmetzExponent);

}  // namespace report
