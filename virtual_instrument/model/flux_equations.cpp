#include "virtual_instrument/model/flux_equations.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <span>
#include <tuple>

#include "virtual_instrument/model/index.h"

namespace virtual_instrument {
namespace {

/// A waveform over one period.
using Period = std::array<double, 128>;

Period period_of(const Spectrum& spectrum) {
  Period values{};
  add_waveform(values, spectrum);
  return values;
}

/// The harmonics that can differ from zero.
std::vector<int> harmonics_in(const Core& core) {
  const bool linear = is_linear(core);
  const bool symmetrical = is_symmetrical(core);
  const int last = linear ? 1 : kHighestHarmonic;
  std::vector<int> harmonics;
  for (int harmonic = linear || symmetrical ? 1 : 0; harmonic <= last;
       harmonic += symmetrical ? 2 : 1) {
    harmonics.push_back(harmonic);
  }
  return harmonics;
}

Spectrum held_harmonics(std::span<const double> values, const std::vector<int>& harmonics) {
  Spectrum spectrum{};
  for (const int harmonic : harmonics) {
    spectrum[index(harmonic)] = harmonic_of(values, index(harmonic));
  }
  return spectrum;
}

/// Adds the derivative of `row`'s residual by `column`, which is `plain` times the unknown plus
/// `mirrored` times its conjugate.
void add_derivative(SquareMatrix<double>& cells, const FreeFlux& row, const FreeFlux& column,
                    Complex plain, Complex mirrored) {
  const Complex by_real = plain + mirrored;
  const Complex by_imaginary = Complex(0, 1) * (plain - mirrored);
  cells(row.position, column.position) += by_real.real();
  if (column.parts() == 2) {
    cells(row.position, column.position + 1) += by_imaginary.real();
  }
  if (row.parts() == 2) {
    cells(row.position + 1, column.position) += by_real.imag();
    if (column.parts() == 2) {
      cells(row.position + 1, column.position + 1) += by_imaginary.imag();
    }
  }
}

}  // namespace

double largest(const std::vector<double>& values) {
  double most = 0;
  for (const double value : values) {
    most = std::max(most, std::abs(value));
  }
  return most;
}

FluxEquations::FluxEquations(const Network& network, const std::vector<VoltageSource>& sources,
                             double frequency)
    : core_(network.core),
      harmonics_(harmonics_in(network.core)),
      free_(network.core, harmonics_),
      start_{} {
  const double omega = 2 * std::numbers::pi * frequency;
  for (const int harmonic : harmonics_) {
    if (harmonic > 0) {
      circuits_.emplace_back(network, sources, harmonic, harmonic * omega);
    }
  }
  elements_ = stop_elements(core_.loop);
  for (int limb = 0; limb < core_.limbs; ++limb) {
    start_[index(limb)] = residual_state(core_, limb);
  }
  loss_ = loss_conductance(core_, frequency) * omega;
  outside_loss_ = outside_conductance(core_, frequency) * omega;
}

const HarmonicCircuit& FluxEquations::circuit(int harmonic) const {
  return circuits_[index(is_symmetrical(core_) ? harmonic / 2 : harmonic - 1)];
}

FluxBalance FluxEquations::balance_at(const std::vector<double>& fluxes) const {
  const PathFluxes flux = free_.path_fluxes(fluxes);
  FluxBalance balance{};
  balance.residual.resize(free_.size());
  for (const int path : free_.paths()) {
    const Period values = period_of(flux[index(path)]);
    Period force;
    for (std::size_t step = 0; step < values.size(); ++step) {
      force[step] = magnetizing_force(core_, path, values[step]);
    }
    if (has_loop(path)) {
      Period loop{};
      add_loop(elements_, start_[index(path)], values, loop);
      for (std::size_t step = 0; step < force.size(); ++step) {
        force[step] += path_length(core_, path) * loop[step];
      }
    }
    const Spectrum magnetizing = held_harmonics(force, harmonics_);
    for (const FreeFlux& free : free_) {
      const double share = free_.share(path, free.outer);
      if (share == 0) {
        continue;
      }
      const Complex given = circuit_force(path, free.harmonic, flux);
      const Complex taken =
          magnetizing[index(free.harmonic)] +
          loss_admittance(path, free.harmonic) * flux[index(path)][index(free.harmonic)];
      const Complex surplus = share * (given - taken);
      balance.residual[free.position] += surplus.real();
      if (free.harmonic > 0) {
        balance.residual[free.position + 1] += surplus.imag();
      }
      balance.scale = std::max(balance.scale, magnitude(taken));
    }
  }
  balance.size = largest(balance.residual);
  return balance;
}

SquareMatrix<double> FluxEquations::jacobian(const std::vector<double>& fluxes) const {
  const PathFluxes flux = free_.path_fluxes(fluxes);
  SquareMatrix<double> cells(free_.size());
  for (const int path : free_.paths()) {
    const Period values = period_of(flux[index(path)]);
    Period slope;
    for (std::size_t step = 0; step < values.size(); ++step) {
      slope[step] = magnetizing_slope(core_, path, values[step]);
    }
    if (has_loop(path)) {
      const LoopDerivatives loop = loop_derivatives(elements_, start_[index(path)], values);
      for (std::size_t step = 0; step < slope.size(); ++step) {
        slope[step] += path_length(core_, path) * loop.slope[step];
      }
      for (const SlipDependence& slip : loop.slips) {
        add_slip(cells, path, slip);
      }
    }
    // A symmetrical curve has the same slope half a period later.
    Slope harmonics{};
    for (std::size_t harmonic = 0; harmonic < harmonics.size();
         harmonic += is_symmetrical(core_) ? 2U : 1U) {
      harmonics[harmonic] = harmonic_of(slope, harmonic);
    }
    add_curve(cells, path, harmonics);
  }
  for (const FreeFlux& row : free_) {
    for (const FreeFlux& column : free_) {
      if (row.harmonic == column.harmonic && row.harmonic > 0) {
        add_derivative(cells, row, column, linear_part(row, column), 0);
      }
    }
  }
  return cells;
}

bool FluxEquations::has_loop(int path) const {
  return path != kOutside && virtual_instrument::has_loop(core_);
}

Complex FluxEquations::circuit_force(int path, int harmonic, const PathFluxes& flux) const {
  if (harmonic == 0 || path == kOutside) {
    return 0;
  }
  const HarmonicCircuit& electric = circuit(harmonic);
  Complex sum = electric.source_force(path);
  for (int by = 0; by < core_.limbs; ++by) {
    sum += electric.reaction(path, by) * flux[index(by)][index(harmonic)];
  }
  return sum;
}

Complex FluxEquations::loss_admittance(int path, int harmonic) const {
  return {0, harmonic * (path == kOutside ? outside_loss_ : loss_ * path_length(core_, path))};
}

Complex FluxEquations::linear_part(const FreeFlux& row, const FreeFlux& column) const {
  Complex sum = 0;
  for (const int path : free_.paths()) {
    sum -= free_.share(path, row.outer) * loss_admittance(path, row.harmonic) *
           free_.share(path, column.outer);
    for (int by = 0; path != kOutside && by < core_.limbs; ++by) {
      sum += free_.share(path, row.outer) * circuit(row.harmonic).reaction(path, by) *
             free_.share(by, column.outer);
    }
  }
  return sum;
}

/// Subtracts the derivative of a limb's force by the flux at one step, in which each harmonic has
/// its part.
void FluxEquations::add_slip(SquareMatrix<double>& cells, int path,
                             const SlipDependence& slip) const {
  const Spectrum force = held_harmonics(slip.slope, harmonics_);
  const double length = path_length(core_, path);
  for (const FreeFlux& column : free_) {
    const double by = -length * free_.share(path, column.outer);
    if (by == 0) {
      continue;
    }
    const Complex phasor =
        unit_phasor(index(column.harmonic) * slip.step, std::tuple_size_v<Period>);
    for (const FreeFlux& row : free_) {
      const Complex weight = by * free_.share(path, row.outer) * force[index(row.harmonic)];
      for (std::size_t part = 0; part < column.parts(); ++part) {
        const double change = part == 0 ? phasor.real() : -phasor.imag();
        cells(row.position, column.position + part) += weight.real() * change;
        if (row.parts() == 2) {
          cells(row.position + 1, column.position + part) += weight.imag() * change;
        }
      }
    }
  }
}

/// Subtracts the derivative of a path's curve. If a waveform is multiplied by a change of flux of
/// harmonic m, harmonic h of the product comes from the waveform's harmonics h - m and h + m.
void FluxEquations::add_curve(SquareMatrix<double>& cells, int path, const Slope& slope) const {
  for (const FreeFlux& row : free_) {
    for (const FreeFlux& column : free_) {
      const double weight = -free_.share(path, row.outer) * free_.share(path, column.outer);
      if (weight == 0) {
        continue;
      }
      const int h = row.harmonic;
      const int m = column.harmonic;
      Complex plain = 0;
      Complex mirrored = 0;
      if (m == 0) {
        plain = slope[index(h)];
      } else if (h == 0) {
        plain = std::conj(slope[index(m)]) / 4.0;
        mirrored = slope[index(m)] / 4.0;
      } else {
        plain = h == m  ? slope[0]
                : h > m ? slope[index(h - m)] / 2.0
                        : std::conj(slope[index(m - h)]) / 2.0;
        mirrored = slope[index(h + m)] / 2.0;
      }
      add_derivative(cells, row, column, weight * plain, weight * mirrored);
    }
  }
}

}  // namespace virtual_instrument
