#pragma once

#include <string_view>

// Winding temperatures: resistance and losses at another temperature, and the temperature that a
// resistance shows. All by the constant T of the conductor, at which its resistance would be zero.

namespace report {

struct Conductor {
  std::string_view name;
  double constant;  ///< T: the resistance is proportional to T + t, degrees C
};

constexpr Conductor kCopper{"copper", 234.5};
constexpr Conductor kAluminium{"aluminium", 225};

/// (T + to) / (T + from).
double temperature_factor(const Conductor& conductor, double from, double to);

/// R2 = R1 (T + t2) / (T + t1).
double resistance_at(double resistance, const Conductor& conductor, double from, double to);

/// t2 = R2 / R1 (T + t1) - T.
double temperature_of(double hot_resistance, double cold_resistance, double cold_temperature,
                      const Conductor& conductor);

/// Losses under load: the part of the resistance grows with temperature, the stray part falls.
struct LoadLosses {
  double i2r;
  double stray;

  double total() const { return i2r + stray; }
};
LoadLosses load_losses_at(const LoadLosses& losses, const Conductor& conductor, double from,
                          double to);

/// An impedance of which `direct` is the resistance to direct current; the rest of `resistance` is
/// due to stray losses. The reactance does not change with temperature.
struct SeriesImpedance {
  double resistance;
  double reactance;

  double magnitude() const;
};
SeriesImpedance impedance_at(const SeriesImpedance& impedance, double direct,
                             const Conductor& conductor, double from, double to);

}  // namespace report
