#include "virtual_instrument/model/winding_network.h"

#include <cstddef>
#include <numbers>
#include <optional>
#include <stdexcept>

#include "virtual_instrument/model/flux_equations.h"
#include "virtual_instrument/model/index.h"

namespace virtual_instrument {
namespace {

/// Fraction of the residual to which a step with good derivatives reduces it.
constexpr double kGoodProgress = 0.05;

/// Steps of a period among which the peak flux is found.
constexpr int kPeakSteps = 128;

std::vector<double> moved(const std::vector<double>& from, const std::vector<double>& step,
                          double part) {
  std::vector<double> to(from);
  for (std::size_t i = 0; i < to.size(); ++i) {
    to[i] -= part * step[i];
  }
  return to;
}

/// Solves the equations by Newton steps, shortened while they do not help.
class PeriodicSolver {
 public:
  PeriodicSolver(const Network& network, const std::vector<VoltageSource>& sources,
                 double frequency)
      : network_(network),
        sources_(sources),
        frequency_(frequency),
        equations_(network, sources, frequency) {}

  PeriodicState solve() {
    std::vector<double> fluxes(equations_.free_fluxes().size());
    FluxBalance balance = equations_.balance_at(fluxes);
    std::optional<LinearEquations<double>> derivatives;
    for (int iteration = 0; iteration < 100; ++iteration) {
      const bool fresh = !derivatives;
      if (fresh) {
        derivatives.emplace(equations_.jacobian(fluxes));
      }
      const std::vector<double> step = derivatives->solve(balance.residual);
      double part = 1;
      std::vector<double> next = moved(fluxes, step, part);
      FluxBalance next_balance = equations_.balance_at(next);
      while (fresh && !(next_balance.size < balance.size) && part > 1e-3) {
        part /= 2;
        next = moved(fluxes, step, part);
        next_balance = equations_.balance_at(next);
      }
      // Old derivatives are kept while they still reduce the residual: new ones cost more.
      const double progress = next_balance.size / balance.size;
      if (!(progress < kGoodProgress)) {
        derivatives.reset();
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
  PeriodicState state_at(const std::vector<double>& fluxes) const {
    PeriodicState state{};
    state.frequency = frequency_;
    const PathFluxes paths = equations_.free_fluxes().path_fluxes(fluxes);
    state.flux = {paths[0], paths[1], paths[2]};
    state.node_voltage.resize(network_.node_conductance.size());
    state.branch_current.resize(network_.branches.size());
    for (const FreeFlux& free : equations_.free_fluxes()) {
      if (free.harmonic > 0 && free.outer == 0) {
        fill_harmonic(state, free.harmonic);
      }
    }
    for (const VoltageSource& source : sources_) {
      state.source_current.push_back(current_into(state, source.node));
    }
    for (std::size_t limb = 0; limb < 3; ++limb) {
      Spectrum alternating = state.flux[limb];
      alternating[0] = 0;
      state.peak_flux[limb] = largest(waveform(alternating, kPeakSteps));
    }
    return state;
  }

  void fill_harmonic(PeriodicState& state, int harmonic) const {
    const std::size_t h = index(harmonic);
    const LimbFluxes flux{state.flux[0][h], state.flux[1][h], state.flux[2][h]};
    const HarmonicCircuit& circuit = equations_.circuit(harmonic);
    for (std::size_t node = 0; node < state.node_voltage.size(); ++node) {
      state.node_voltage[node][h] = circuit.node_voltage(static_cast<int>(node), flux);
    }
    for (std::size_t branch = 0; branch < state.branch_current.size(); ++branch) {
      state.branch_current[branch][h] = circuit.branch_current(branch, flux);
    }
  }

  Spectrum current_into(const PeriodicState& state, int node) const {
    Spectrum sum{};
    for (std::size_t h = 0; h < sum.size(); ++h) {
      const double omega = 2 * std::numbers::pi * frequency_ * static_cast<double>(h);
      sum[h] = node_admittance(network_, index(node), omega) * state.node_voltage[index(node)][h];
      for (const Capacitor& capacitor : network_.capacitors) {
        const double sign = (capacitor.from == node ? 1 : 0) - (capacitor.to == node ? 1 : 0);
        sum[h] += sign * admittance(capacitor, omega) *
                  (state.node_voltage[index(capacitor.from)][h] -
                   state.node_voltage[index(capacitor.to)][h]);
      }
      for (std::size_t number = 0; number < network_.branches.size(); ++number) {
        const Branch& branch = network_.branches[number];
        const double sign = (branch.from == node ? 1 : 0) - (branch.to == node ? 1 : 0);
        sum[h] += sign * state.branch_current[number][h];
      }
    }
    return sum;
  }

  const Network& network_;
  const std::vector<VoltageSource>& sources_;
  const double frequency_;
  const FluxEquations equations_;
};

}  // namespace

PeriodicState solve_network(const Network& network, const std::vector<VoltageSource>& sources,
                            double frequency) {
  return PeriodicSolver(network, sources, frequency).solve();
}

}  // namespace virtual_instrument
