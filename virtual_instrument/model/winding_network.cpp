#include "virtual_instrument/model/winding_network.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <optional>
#include <stdexcept>

#include "virtual_instrument/model/index.h"
#include "virtual_instrument/model/linear_equations.h"

namespace virtual_instrument {
namespace {

// The circuit and the core meet in two linear relations per harmonic,
//
//   force on limb k = source_force[k] + sum over l of reaction[k][l] * flux of limb l
//
// and in the curves of the limbs, which are evaluated step by step over the period. With three
// limbs the unknowns are the fluxes of the outer ones. The middle limb carries both back, and the
// forces from one meeting point of the limbs to the other must be equal.

constexpr int kSteps = 128;
constexpr int kSlopeHarmonics = 2 * kHighestHarmonic;
constexpr double kGoodProgress = 0.05;

using Limbs = std::array<Complex, 3>;

/// The unit circle in kFinestSteps steps, beginning at the angle 0.
using Circle = std::array<Complex, kFinestSteps>;

const Circle& circle() {
  static const Circle phasors = [] {
    Circle made;
    for (int step = 0; step < kFinestSteps; ++step) {
      made[index(step)] = phasor_at(static_cast<double>(step) / kFinestSteps);
    }
    return made;
  }();
  return phasors;
}

/// Adds the waveform of one harmonic to `values`, which hold one period.
template <typename Values>
void add_harmonic(Values& values, std::size_t harmonic, Complex amplitude) {
  const Circle& phasors = circle();
  const std::size_t stride = phasors.size() / values.size() * harmonic;
  for (std::size_t step = 0; step < values.size(); ++step) {
    const Complex& phasor = phasors[step * stride % kFinestSteps];
    values[step] += amplitude.real() * phasor.real() - amplitude.imag() * phasor.imag();
  }
}

Complex node_admittance(const Network& network, std::size_t node, double omega) {
  return {network.node_conductance[node], omega * network.node_capacitance[node]};
}

/// The circuit at one harmonic, solved for the sources and for a unit flux in each limb.
class HarmonicCircuit {
 public:
  HarmonicCircuit(const Network& network, const std::vector<VoltageSource>& sources, int harmonic,
                  double omega)
      : network_(network), unknown_(network.node_conductance.size(), 0) {
    for (const VoltageSource& source : sources) {
      unknown_[index(source.node)] = kDriven;
    }
    std::size_t nodes = 0;
    for (int& unknown : unknown_) {
      unknown = unknown == kDriven ? kDriven : static_cast<int>(nodes++);
    }
    branch_start_ = nodes;
    const LinearEquations<Complex> equations(matrix(omega));
    known_.assign(unknown_.size(), 0);
    if (harmonic == 1) {
      for (const VoltageSource& source : sources) {
        known_[index(source.node)] = source.voltage;
      }
      source_ = equations.solve(source_side());
    } else {
      source_.assign(size(), 0);
    }
    for (std::size_t limb = 0; limb < 3; ++limb) {
      reaction_[limb] = equations.solve(flux_side(limb, omega));
    }
  }

  Complex source_force(int limb) const { return force(source_, limb); }
  Complex reaction(int limb, int by) const { return force(reaction_[index(by)], limb); }

  Complex node_voltage(int node, const Limbs& flux) const {
    const int unknown = unknown_[index(node)];
    return unknown == kDriven ? known_[index(node)] : combined(index(unknown), flux);
  }
  Complex branch_current(std::size_t branch, const Limbs& flux) const {
    return combined(branch_start_ + branch, flux);
  }

 private:
  static constexpr int kDriven = -1;

  std::size_t size() const { return branch_start_ + network_.branches.size(); }

  SquareMatrix<Complex> matrix(double omega) const {
    SquareMatrix<Complex> cells(size());
    for (std::size_t node = 0; node < unknown_.size(); ++node) {
      if (unknown_[node] != kDriven) {
        cells(index(unknown_[node]), index(unknown_[node])) =
            node_admittance(network_, node, omega);
      }
    }
    for (std::size_t number = 0; number < network_.branches.size(); ++number) {
      const Branch& branch = network_.branches[number];
      const std::size_t row = branch_start_ + number;
      cells(row, row) = -Complex(branch.resistance + branch.eddy_resistance * omega * omega,
                                 omega * branch.inductance);
      join(cells, row, unknown_[index(branch.from)], 1);
      join(cells, row, unknown_[index(branch.to)], -1);
    }
    return cells;
  }

  static void join(SquareMatrix<Complex>& cells, std::size_t row, int unknown, double sign) {
    if (unknown != kDriven) {
      cells(row, index(unknown)) += sign;
      cells(index(unknown), row) += sign;
    }
  }

  std::vector<Complex> source_side() const {
    std::vector<Complex> side(size());
    for (std::size_t number = 0; number < network_.branches.size(); ++number) {
      const Branch& branch = network_.branches[number];
      side[branch_start_ + number] = known_[index(branch.to)] - known_[index(branch.from)];
    }
    return side;
  }

  std::vector<Complex> flux_side(std::size_t limb, double omega) const {
    std::vector<Complex> side(size());
    for (std::size_t number = 0; number < network_.branches.size(); ++number) {
      side[branch_start_ + number] = Complex(0, omega * network_.branches[number].turns[limb]);
    }
    return side;
  }

  Complex force(const std::vector<Complex>& solution, int limb) const {
    Complex sum = 0;
    for (std::size_t number = 0; number < network_.branches.size(); ++number) {
      sum += network_.branches[number].turns[index(limb)] * solution[branch_start_ + number];
    }
    return sum;
  }

  Complex combined(std::size_t unknown, const Limbs& flux) const {
    return source_[unknown] + reaction_[0][unknown] * flux[0] + reaction_[1][unknown] * flux[1] +
           reaction_[2][unknown] * flux[2];
  }

  const Network& network_;
  std::vector<int> unknown_;  ///< index of a node's voltage among the unknowns
  std::size_t branch_start_ = 0;
  std::vector<Complex> known_;
  std::vector<Complex> source_;
  std::array<std::vector<Complex>, 3> reaction_;
};

/// Harmonics up to `count` of one period, the mean first.
template <std::size_t count>
std::array<Complex, count> harmonics_of(const std::array<double, kSteps>& values) {
  const Circle& phasors = circle();
  std::array<Complex, count> result{};
  for (std::size_t harmonic = 0; harmonic < count; ++harmonic) {
    const std::size_t stride = phasors.size() / values.size() * harmonic;
    double real = 0;
    double imaginary = 0;
    for (std::size_t step = 0; step < values.size(); ++step) {
      const Complex& phasor = phasors[step * stride % kFinestSteps];
      real += values[step] * phasor.real();
      imaginary -= values[step] * phasor.imag();
    }
    result[harmonic] = Complex(real, imaginary) / (harmonic == 0 ? 1.0 * kSteps : 0.5 * kSteps);
  }
  return result;
}

std::array<double, kSteps> period_of(const Spectrum& spectrum) {
  std::array<double, kSteps> values{};
  for (std::size_t harmonic = 0; harmonic < spectrum.size(); ++harmonic) {
    if (spectrum[harmonic] != Complex{}) {
      add_harmonic(values, harmonic, spectrum[harmonic]);
    }
  }
  return values;
}

/// The real part of an unknown is at `position`, the imaginary part after it; a mean has none.
struct Unknown {
  int harmonic;
  int outer;  ///< index among the free fluxes
  std::size_t position;
};

class PeriodicSolver {
 public:
  PeriodicSolver(const Network& network, const std::vector<VoltageSource>& sources,
                 double frequency)
      : network_(network), core_(network.core), sources_(sources), frequency_(frequency) {
    const double omega = 2 * std::numbers::pi * frequency;
    const bool linear = is_linear(core_);
    const bool symmetrical = is_symmetrical(core_);
    const int last = linear ? 1 : kHighestHarmonic;
    for (int harmonic = linear || symmetrical ? 1 : 0; harmonic <= last;
         harmonic += symmetrical ? 2 : 1) {
      if (harmonic > 0) {
        circuits_.emplace_back(network, sources, harmonic, harmonic * omega);
      }
      for (int outer = 0; outer < free_fluxes(); ++outer) {
        unknowns_.push_back({harmonic, outer, size_});
        size_ += harmonic == 0 ? 1 : 2;
      }
    }
    loss_ = loss_conductance(core_, frequency) * omega;
  }

  PeriodicState solve() {
    std::vector<double> fluxes(size_);
    Balance balance = balance_at(fluxes);
    std::optional<LinearEquations<double>> equations;
    for (int iteration = 0; iteration < 100; ++iteration) {
      const bool fresh = !equations;
      if (fresh) {
        equations.emplace(jacobian(fluxes));
      }
      const std::vector<double> step = equations->solve(balance.residual);
      double part = 1;
      std::vector<double> next = moved(fluxes, step, part);
      Balance next_balance = balance_at(next);
      while (fresh && !(next_balance.size < balance.size) && part > 1e-3) {
        part /= 2;
        next = moved(fluxes, step, part);
        next_balance = balance_at(next);
      }
      // Old derivatives are kept while they still reduce the residual: new ones cost more.
      const double progress = next_balance.size / balance.size;
      if (!(progress < kGoodProgress)) {
        equations.reset();
      }
      const bool settled = largest(step) <= 1e-12 * largest(next);
      const bool exhausted = part <= 1e-3 && balance.size <= 1e-9 * balance.scale;
      if (fresh || progress < 1 || settled) {
        fluxes = next;
        balance = next_balance;
      }
      if (settled || exhausted) {
        return state_at(fluxes);
      }
    }
    throw std::runtime_error("the windings find no steady state");
  }

 private:
  struct Balance {
    std::vector<double> residual;
    double size;   ///< largest residual
    double scale;  ///< largest force
  };

  int free_fluxes() const { return core_.limbs == 3 ? 2 : 1; }

  /// Share of the free flux `outer` in a limb's flux: A and C are free, B carries both back.
  double share(int limb, int outer) const {
    if (core_.limbs == 1) {
      return limb == 0 ? 1 : 0;
    }
    if (limb == 1) {
      return -1;
    }
    return limb == 2 * outer ? 1 : 0;
  }

  const HarmonicCircuit& circuit(int harmonic) const {
    return circuits_[index(is_symmetrical(core_) ? harmonic / 2 : harmonic - 1)];
  }

  static std::vector<double> moved(const std::vector<double>& from, const std::vector<double>& step,
                                   double part) {
    std::vector<double> to(from);
    for (std::size_t i = 0; i < to.size(); ++i) {
      to[i] -= part * step[i];
    }
    return to;
  }

  static double largest(const std::vector<double>& values) {
    double most = 0;
    for (const double value : values) {
      most = std::max(most, std::abs(value));
    }
    return most;
  }

  std::array<Spectrum, 3> limb_fluxes(const std::vector<double>& fluxes) const {
    std::array<Spectrum, 3> limbs{};
    for (const Unknown& unknown : unknowns_) {
      const Complex flux(fluxes[unknown.position],
                         unknown.harmonic == 0 ? 0 : fluxes[unknown.position + 1]);
      for (int limb = 0; limb < core_.limbs; ++limb) {
        limbs[index(limb)][index(unknown.harmonic)] += share(limb, unknown.outer) * flux;
      }
    }
    return limbs;
  }

  Complex circuit_force(int limb, int harmonic, const std::array<Spectrum, 3>& flux) const {
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

  Complex loss_admittance(int limb, int harmonic) const {
    return {0, harmonic * loss_ * path_length(core_, limb)};
  }

  Balance balance_at(const std::vector<double>& fluxes) const {
    const std::array<Spectrum, 3> flux = limb_fluxes(fluxes);
    Balance balance{std::vector<double>(size_), 0, 0};
    for (int limb = 0; limb < core_.limbs; ++limb) {
      std::array<double, kSteps> force = period_of(flux[index(limb)]);
      for (double& value : force) {
        value = magnetizing_force(core_, limb, value);
      }
      const auto magnetizing = harmonics_of<kHighestHarmonic + 1>(force);
      for (const Unknown& unknown : unknowns_) {
        const Complex given = circuit_force(limb, unknown.harmonic, flux);
        const Complex taken =
            magnetizing[index(unknown.harmonic)] +
            loss_admittance(limb, unknown.harmonic) * flux[index(limb)][index(unknown.harmonic)];
        const Complex surplus = share(limb, unknown.outer) * (given - taken);
        balance.residual[unknown.position] += surplus.real();
        if (unknown.harmonic > 0) {
          balance.residual[unknown.position + 1] += surplus.imag();
        }
        balance.scale = std::max(balance.scale, magnitude(taken));
      }
    }
    balance.size = largest(balance.residual);
    return balance;
  }

  /// Adds the derivative of `row`'s residual by `column`, which is `plain` times the unknown plus
  /// `mirrored` times its conjugate.
  static void add_derivative(SquareMatrix<double>& cells, const Unknown& row, const Unknown& column,
                             Complex plain, Complex mirrored) {
    const Complex by_real = plain + mirrored;
    const Complex by_imaginary = Complex(0, 1) * (plain - mirrored);
    const std::size_t rows = row.harmonic == 0 ? 1 : 2;
    const std::size_t columns = column.harmonic == 0 ? 1 : 2;
    const double parts[2][2] = {{by_real.real(), by_imaginary.real()},
                                {by_real.imag(), by_imaginary.imag()}};
    for (std::size_t r = 0; r < rows; ++r) {
      for (std::size_t c = 0; c < columns; ++c) {
        cells(row.position + r, column.position + c) += parts[r][c];
      }
    }
  }

  SquareMatrix<double> jacobian(const std::vector<double>& fluxes) const {
    const std::array<Spectrum, 3> flux = limb_fluxes(fluxes);
    SquareMatrix<double> cells(size_);
    for (int limb = 0; limb < core_.limbs; ++limb) {
      std::array<double, kSteps> slope = period_of(flux[index(limb)]);
      for (double& value : slope) {
        value = magnetizing_slope(core_, limb, value);
      }
      add_curve(cells, limb, harmonics_of<kSlopeHarmonics + 1>(slope));
    }
    for (const Unknown& row : unknowns_) {
      for (const Unknown& column : unknowns_) {
        if (row.harmonic == column.harmonic && row.harmonic > 0) {
          add_derivative(cells, row, column, linear_part(row, column), 0);
        }
      }
    }
    return cells;
  }

  Complex linear_part(const Unknown& row, const Unknown& column) const {
    Complex sum = 0;
    for (int limb = 0; limb < core_.limbs; ++limb) {
      sum -=
          share(limb, row.outer) * loss_admittance(limb, row.harmonic) * share(limb, column.outer);
      for (int by = 0; by < core_.limbs; ++by) {
        sum += share(limb, row.outer) * circuit(row.harmonic).reaction(limb, by) *
               share(by, column.outer);
      }
    }
    return sum;
  }

  /// Subtracts the derivative of a limb's curve. If a waveform is multiplied by a change of flux of
  /// harmonic m, harmonic h of the product comes from the waveform's harmonics h - m and h + m.
  void add_curve(SquareMatrix<double>& cells, int limb,
                 const std::array<Complex, kSlopeHarmonics + 1>& slope) const {
    for (const Unknown& row : unknowns_) {
      for (const Unknown& column : unknowns_) {
        const double weight = -share(limb, row.outer) * share(limb, column.outer);
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

  PeriodicState state_at(const std::vector<double>& fluxes) const {
    PeriodicState state{};
    state.frequency = frequency_;
    state.flux = limb_fluxes(fluxes);
    state.node_voltage.resize(network_.node_conductance.size());
    state.branch_current.resize(network_.branches.size());
    for (const Unknown& unknown : unknowns_) {
      if (unknown.harmonic > 0 && unknown.outer == 0) {
        fill_harmonic(state, unknown.harmonic);
      }
    }
    for (const VoltageSource& source : sources_) {
      state.source_current.push_back(current_into(state, source.node));
    }
    for (std::size_t limb = 0; limb < 3; ++limb) {
      Spectrum alternating = state.flux[limb];
      alternating[0] = 0;
      for (const double value : period_of(alternating)) {
        state.peak_flux[limb] = std::max(state.peak_flux[limb], std::abs(value));
      }
    }
    return state;
  }

  void fill_harmonic(PeriodicState& state, int harmonic) const {
    const std::size_t h = index(harmonic);
    const Limbs flux{state.flux[0][h], state.flux[1][h], state.flux[2][h]};
    for (std::size_t node = 0; node < state.node_voltage.size(); ++node) {
      state.node_voltage[node][h] = circuit(harmonic).node_voltage(static_cast<int>(node), flux);
    }
    for (std::size_t branch = 0; branch < state.branch_current.size(); ++branch) {
      state.branch_current[branch][h] = circuit(harmonic).branch_current(branch, flux);
    }
  }

  Spectrum current_into(const PeriodicState& state, int node) const {
    Spectrum sum{};
    for (std::size_t h = 0; h < sum.size(); ++h) {
      const double omega = 2 * std::numbers::pi * frequency_ * static_cast<double>(h);
      sum[h] = node_admittance(network_, index(node), omega) * state.node_voltage[index(node)][h];
      for (std::size_t number = 0; number < network_.branches.size(); ++number) {
        const Branch& branch = network_.branches[number];
        const double sign = (branch.from == node ? 1 : 0) - (branch.to == node ? 1 : 0);
        sum[h] += sign * state.branch_current[number][h];
      }
    }
    return sum;
  }

  const Network& network_;
  const Core& core_;
  const std::vector<VoltageSource>& sources_;
  double frequency_;
  double loss_ = 0;
  std::vector<HarmonicCircuit> circuits_;
  std::vector<Unknown> unknowns_;
  std::size_t size_ = 0;
};

}  // namespace

PeriodicState solve_network(const Network& network, const std::vector<VoltageSource>& sources,
                            double frequency) {
  return PeriodicSolver(network, sources, frequency).solve();
}

std::vector<double> waveform(const Spectrum& spectrum, int count) {
  std::vector<double> values(index(count));
  for (std::size_t harmonic = 0; harmonic < spectrum.size(); ++harmonic) {
    if (spectrum[harmonic] != Complex{}) {
      add_harmonic(values, harmonic, spectrum[harmonic]);
    }
  }
  return values;
}

Spectrum difference(const Spectrum& a, const Spectrum& b) {
  Spectrum result{};
  for (std::size_t harmonic = 0; harmonic < result.size(); ++harmonic) {
    result[harmonic] = a[harmonic] - b[harmonic];
  }
  return result;
}

double dc_resistance(const Network& network, int from, int to) {
  const std::size_t nodes = network.node_conductance.size();
  SquareMatrix<double> cells(nodes);
  for (std::size_t node = 0; node < nodes; ++node) {
    cells(node, node) = network.node_conductance[node];
  }
  for (const Branch& branch : network.branches) {
    const std::size_t a = index(branch.from);
    const std::size_t b = index(branch.to);
    const double conductance = a == b ? 0 : 1 / branch.resistance;
    cells(a, a) += conductance;
    cells(b, b) += conductance;
    cells(a, b) -= conductance;
    cells(b, a) -= conductance;
  }
  std::vector<double> current(nodes);
  current[index(from)] = 1;
  current[index(to)] = -1;
  const std::vector<double> voltage = LinearEquations<double>(cells).solve(current);
  return voltage[index(from)] - voltage[index(to)];
}

}  // namespace virtual_instrument
