#include "virtual_instrument/model/harmonic_circuit.h"

#include "virtual_instrument/model/index.h"

namespace virtual_instrument {
namespace {

/// In place of an index: a source sets the voltage of the node.
constexpr int kDriven = -1;

void join(SquareMatrix<Complex>& cells, std::size_t row, int unknown, double sign) {
  if (unknown != kDriven) {
    cells(row, index(unknown)) += sign;
    cells(index(unknown), row) += sign;
  }
}

}  // namespace

HarmonicCircuit::HarmonicCircuit(const Network& network, const std::vector<VoltageSource>& sources,
                                 int harmonic, double omega)
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

Complex HarmonicCircuit::source_force(int limb) const { return force(source_, limb); }

Complex HarmonicCircuit::reaction(int limb, int by) const {
  return force(reaction_[index(by)], limb);
}

Complex HarmonicCircuit::node_voltage(int node, const LimbFluxes& flux) const {
  const int unknown = unknown_[index(node)];
  return unknown == kDriven ? known_[index(node)] : combined(index(unknown), flux);
}

Complex HarmonicCircuit::branch_current(std::size_t branch, const LimbFluxes& flux) const {
  return combined(branch_start_ + branch, flux);
}

std::size_t HarmonicCircuit::size() const { return branch_start_ + network_.branches.size(); }

SquareMatrix<Complex> HarmonicCircuit::matrix(double omega) const {
  SquareMatrix<Complex> cells(size());
  for (std::size_t node = 0; node < unknown_.size(); ++node) {
    if (unknown_[node] != kDriven) {
      cells(index(unknown_[node]), index(unknown_[node])) = node_admittance(network_, node, omega);
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

std::vector<Complex> HarmonicCircuit::source_side() const {
  std::vector<Complex> side(size());
  for (std::size_t number = 0; number < network_.branches.size(); ++number) {
    const Branch& branch = network_.branches[number];
    side[branch_start_ + number] = known_[index(branch.to)] - known_[index(branch.from)];
  }
  return side;
}

std::vector<Complex> HarmonicCircuit::flux_side(std::size_t limb, double omega) const {
  std::vector<Complex> side(size());
  for (std::size_t number = 0; number < network_.branches.size(); ++number) {
    side[branch_start_ + number] = Complex(0, omega * network_.branches[number].turns[limb]);
  }
  return side;
}

Complex HarmonicCircuit::force(const std::vector<Complex>& solution, int limb) const {
  Complex sum = 0;
  for (std::size_t number = 0; number < network_.branches.size(); ++number) {
    sum += network_.branches[number].turns[index(limb)] * solution[branch_start_ + number];
  }
  return sum;
}

Complex HarmonicCircuit::combined(std::size_t unknown, const LimbFluxes& flux) const {
  return source_[unknown] + reaction_[0][unknown] * flux[0] + reaction_[1][unknown] * flux[1] +
         reaction_[2][unknown] * flux[2];
}

}  // namespace virtual_instrument
