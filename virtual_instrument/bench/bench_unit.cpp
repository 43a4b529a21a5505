#include "virtual_instrument/bench/bench_unit.h"

#include <cstddef>
#include <limits>
#include <numbers>
#include <vector>

#include "virtual_instrument/model/iron_shape.h"
#include "virtual_instrument/model/third_winding.h"

namespace virtual_instrument {
namespace {

std::array<double, 3> fractions(const std::array<double, 3>& percent) {
  return {percent[0] / 100, percent[1] / 100, percent[2] / 100};
}

/// Rated voltage over rated current of a limb winding of the high side, in ohm.
double rated_limb_impedance(const TransformerSettings& settings) {
  const double volts = settings.high_voltage / line_voltage_factor(settings.vector_group.high);
  return 3 * volts * volts / (settings.kva * 1000);
}

BuriedDelta buried_delta(const TertiarySettings& tertiary, const TransformerSettings& settings,
                         double omega) {
  const double high = settings.high_voltage / line_voltage_factor(settings.vector_group.high);
  return {tertiary.voltage / high, tertiary.resistance, tertiary.reactance / omega};
}

/// Flux outside the limbs of a three-phase core.
OutsidePath outside_path(const TransformerSettings& settings) {
  switch (settings.core_form) {
    case CoreForm::three_limb: {
      const double impedance =
          settings.zero_sequence_impedance / 100 * rated_limb_impedance(settings);
      return impedance > 0 ? OutsidePath{true, tank_reluctance(impedance, settings.frequency), 0, 1}
                           : OutsidePath{};
    }
    case CoreForm::five_limb:
      // A limb and the yokes to it on either side, each of half a limb's section.
      return {true, 0, 1 + settings.yoke_ratio, 1};
    case CoreForm::shell:
      return {true, 0, 1 + settings.yoke_ratio, 2};
    default:
      return {true, 0, 0, 1};
  }
}

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
  core.yoke_ratio = settings.core_form == CoreForm::bank ? 0 : settings.yoke_ratio;
  for (std::size_t limb = 0; limb < static_cast<std::size_t>(core.limbs); ++limb) {
    core.residual_flux[limb] = settings.residual_flux[limb] * rated_flux;
  }
  core.remanence_excess = settings.remanence_excess;
  core.hysteresis_share = settings.hysteresis_share;
  core.reference_frequency = settings.frequency;
  if (core.limbs == 3) {
    core.outside = outside_path(settings);
  }
  shape_iron(core, rated_flux);
  return core;
}

/// Puts shorted turns to the winding where they are; those of Y are on the low side of its pairs.
UnitFaults faults_of(UnitFaults faults, bool of_third) {
  std::erase_if(faults.shorted_turns,
                [of_third](const ShortedTurns& turns) { return turns.on_third != of_third; });
  return faults;
}

ThirdWinding third_winding(const Bench& bench, double omega) {
  const TertiarySettings& settings = bench.tertiary;
  ThirdWinding third{};
  third.type = settings.connection.type;
  third.clock = settings.connection.clock.value_or(0);
  third.rated_voltage = settings.voltage;
  third.kva = settings.kva > 0 ? settings.kva : bench.transformer.kva;
  third.turns_deviation = settings.turns_deviation;
  third.winding = {
      settings.resistance, settings.reactance / omega, bench.transformer.stray_share, {}};
  third.impedance_percent_h = settings.high_impedance;
  third.impedance_percent_x = settings.low_impedance;
  third.faults.shorted_turns = faults_of(bench.defects, true).shorted_turns;
  third.faults.open_lead[Side::low] = settings.open_lead;
  third.faults.reversed_winding[Side::low] = settings.reversed_winding;
  return third;
}

/// The windings H and X, with a tertiary only if that is buried.
TransformerUnit two_windings(const Bench& bench, double omega) {
  const TransformerSettings& settings = bench.transformer;
  TransformerUnit unit{};
  unit.group = settings.vector_group;
  unit.rated_voltage = {settings.high_voltage, settings.low_voltage};
  unit.kva = settings.kva;
  unit.frequency = settings.frequency;
  unit.turns_deviation = settings.turns_deviation;
  unit.windings[Side::high] = {settings.high_resistance, settings.high_reactance / omega,
                               settings.stray_share, fractions(settings.high_resistance_deviation)};
  unit.windings[Side::low] = {settings.low_resistance, settings.low_reactance / omega,
                              settings.stray_share, fractions(settings.low_resistance_deviation)};
  unit.conductor = settings.conductor;
  unit.reference_temperature = settings.reference_temperature;
  unit.temperature = settings.temperature;
  unit.impedance_percent = settings.impedance;
  unit.taps = bench.taps;
  unit.core = make_core(settings, omega, rated_flux(unit));
  unit.capacitance = settings.capacitance * 1e-9;
  unit.faults = faults_of(bench.defects, false);
  unit.is_autotransformer = settings.autotransformer;
  unit.winding_capacitance = settings.winding_capacitance * 1e-9;
  if (!is_led_out(bench.tertiary)) {
    unit.tertiary = buried_delta(bench.tertiary, settings, omega);
  }
  unit.burden = {bench.burden.resistance, bench.burden.reactance / omega};
  unit.source = {bench.instrument.source_resistance, bench.instrument.source_inductance * 1e-3};
  return unit;
}

}  // namespace

bool has_pair(const Bench& bench, WindingPair pair) {
  return pair == WindingPair::h_x || is_led_out(bench.tertiary);
}

TransformerUnit make_unit(const Bench& bench, WindingPair pair) {
  const double omega = 2 * std::numbers::pi * bench.transformer.frequency;
  const TransformerUnit h_x = two_windings(bench, omega);
  return is_led_out(bench.tertiary) ? unit_of_pair(h_x, third_winding(bench, omega), pair) : h_x;
}

}  // namespace virtual_instrument
