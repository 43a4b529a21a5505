#include "virtual_instrument/bench/bench_unit.h"

#include <cstddef>
#include <limits>
#include <numbers>

namespace virtual_instrument {
namespace {

Core make_core(const TransformerSettings& settings, double omega, double rated_flux) {
  Core core{};
  core.limbs = is_three_phase(settings.vector_group.high) ? 3 : 1;
  core.limb.core_conductance = 1 / settings.core_resistance;
  core.limb.inductance = settings.magnetizing_reactance / omega;
  core.limb.low_flux_excess = settings.low_flux_excess;
  core.limb.low_flux = settings.low_flux * rated_flux;
  core.limb.knee_flux = settings.saturation ? settings.knee_flux * rated_flux
                                            : std::numeric_limits<double>::infinity();
  core.limb.knee_width = settings.knee_width * rated_flux;
  core.limb.saturated_inductance = settings.saturated_reactance / omega;
  core.yoke_ratio = settings.yoke_ratio;
  for (std::size_t limb = 0; limb < static_cast<std::size_t>(core.limbs); ++limb) {
    core.residual_flux[limb] = settings.residual_flux[limb] * rated_flux;
  }
  core.remanence_excess = settings.remanence_excess;
  core.hysteresis_share = settings.hysteresis_share;
  core.reference_frequency = settings.frequency;
  return core;
}

}  // namespace

TransformerUnit make_unit(const Bench& bench) {
  const TransformerSettings& settings = bench.transformer;
  const double omega = 2 * std::numbers::pi * settings.frequency;
  TransformerUnit unit{};
  unit.group = settings.vector_group;
  unit.rated_voltage = {settings.high_voltage, settings.low_voltage};
  unit.kva = settings.kva;
  unit.frequency = settings.frequency;
  unit.turns_deviation = settings.turns_deviation;
  unit.windings[Side::high] = {settings.high_resistance, settings.high_reactance / omega,
                               settings.stray_share};
  unit.windings[Side::low] = {settings.low_resistance, settings.low_reactance / omega,
                              settings.stray_share};
  unit.reference_temperature = settings.reference_temperature;
  unit.temperature = settings.temperature;
  unit.impedance_percent = settings.impedance;
  unit.taps = bench.taps;
  unit.core = make_core(settings, omega, rated_flux(unit));
  unit.capacitance = settings.capacitance * 1e-9;
  unit.faults = bench.defects;
  return unit;
}

}  // namespace virtual_instrument
