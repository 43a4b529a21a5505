#include "report/figures/temperature.h"

#include <cmath>

namespace report {

double temperature_factor(const Conductor& conductor, double from, double to) {
  return (conductor.constant + to) / (conductor.constant + from);
}

double resistance_at(double resistance, const Conductor& conductor, double from, double to) {
  return resistance * temperature_factor(conductor, from, to);
}

double temperature_of(double hot_resistance, double cold_resistance, double cold_temperature,
                      const Conductor& conductor) {
  return hot_resistance / cold_resistance * (conductor.constant + cold_temperature) -
         conductor.constant;
}

LoadLosses load_losses_at(const LoadLosses& losses, const Conductor& conductor, double from,
                          double to) {
  const double factor = temperature_factor(conductor, from, to);
  return {losses.i2r * factor, losses.stray / factor};
}

double SeriesImpedance::magnitude() const { return std::hypot(resistance, reactance); }

SeriesImpedance impedance_at(const SeriesImpedance& impedance, double direct,
                             const Conductor& conductor, double from, double to) {
  const LoadLosses parts =
      load_losses_at({direct, impedance.resistance - direct}, conductor, from, to);
  return {parts.total(), impedance.reactance};
}

}  // namespace report
