#include "virtual_instrument/model/flux_equations.h"

#include <algorithm>
#include <cmath>
#include <numbers>
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
    : core_(network.core), free_(network.core, harmonics_in(network.core)) {
  const double omega = 2 * std::numbers::pi * frequency;
  for (const int harmonic : harmonics_in(core_)) {
    if (harmonic > 0) {
      circuits_.emplace_back(network, sources, harmonic, harmonic * omega);
    }
  }
  loss_ = loss_conductance(core_, frequency) * omega;
}

const HarmonicCircuit& FluxEquations::circuit(int harmonic) const {
  return circuits_[index(is_symmetrical(core_) ? harmonic / 2 : harmonic - 1)];
}

FluxBalance FluxEquations::balance_at(const std::vector<double>& fluxes) const {
  const std::array<Spectrum, 3> flux = free_.limb_fluxes(fluxes);
  FluxBalance balance{std::vector<double>(free_.size()), 0, 0};
  for (int limb = 0; limb < core_.limbs; ++limb) {
    Period force = period_of(flux[index(limb)]);
    for (double& value : force) {
      value = magnetizing_force(core_, limb, value);
    }
    const auto magnetizing = harmonics_of<kHighestHarmonic + 1>(force);
    for (const FreeFlux& free : free_) {
      const Complex given = circuit_force(limb, free.harmonic, flux);
      const Complex taken =
          magnetizing[index(free.harmonic)] +
          loss_admittance(limb, free.harmonic) * flux[index(limb)][index(free.harmonic)];
      const Complex surplus = free_.share(limb, free.outer) * (given - taken);
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
  const std::array<Spectrum, 3> flux = free_.limb_fluxes(fluxes);
  SquareMatrix<double> cells(free_.size());
  for (int limb = 0; limb < core_.limbs; ++limb) {
    Period slope = period_of(flux[index(limb)]);
    for (double& value : slope) {
      value = magnetizing_slope(core_, limb, value);
    }
    add_curve(cells, limb, harmonics_of<std::tuple_size_v<Slope>>(slope));
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

Complex FluxEquations::circuit_force(int limb, int harmonic,
                                     const std::array<Spectrum, 3>& flux) const {
  if (harmonic == 0) {
    return 0;
  }
  const HarmonicCircuit& electric = circuit(harmonic);
  Complex sum = electric.source_force(limb);
  for (int by = 0; by < core_.limbs; ++by) {
    sum += electric.reaction(limb, by) * flux[index(by)][index(harmonic)];
  }
  return sum;
}

Complex FluxEquations::loss_admittance(int limb, int harmonic) const {
  return {0, harmonic * loss_ * path_length(core_, limb)};
}

Complex FluxEquations::linear_part(const FreeFlux& row, const FreeFlux& column) const {
  Complex sum = 0;
  for (int limb = 0; limb < core_.limbs; ++limb) {
    sum -= free_.share(limb, row.outer) * loss_admittance(limb, row.harmonic) *
           free_.share(limb, column.outer);
    for (int by = 0; by < core_.limbs; ++by) {
      sum += free_.share(limb, row.outer) * circuit(row.harmonic).reaction(limb, by) *
             free_.share(by, column.outer);
    }
  }
  return sum;
}

/// Subtracts the derivative of a limb's curve. If a waveform is multiplied by a change of flux of
/// harmonic m, harmonic h of the product comes from the waveform's harmonics h - m and h + m.
void FluxEquations::add_curve(SquareMatrix<double>& cells, int limb, const Slope& slope) const {
  for (const FreeFlux& row : free_) {
    for (const FreeFlux& column : free_) {
      const double weight = -free_.share(limb, row.outer) * free_.share(limb, column.outer);
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
