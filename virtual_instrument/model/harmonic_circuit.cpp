#include "virtual_instrument/model/harmonic_circuit.h"

#include <utility>

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

void add_admittance(SquareMatrix<Complex>& cells, int from, int to, Complex admittance) {
  for (const int node : {from, to}) {
    if (node != kDriven) {
      cells(index(node), index(node)) += admittance;
    }
  }
  if (from != kDriven && to != kDriven) {
    cells(index(from), index(to)) -= admittance;
    cells(index(to), index(from)) -= admittance;
  }
}

}  // namespace

HarmonicCircuit::HarmonicCircuit(const Network& network, const std::vector<VoltageSource>& sources,
                                 int harmonic, double omega)
    : network_(network),
      unknown_(network.node_conductance.size(), 0),
      known_(network.node_conductance.size(), 0) {
  const Complex impedance(network.source.resistance, omega * network.source.inductance);
  const Complex source_admittance = impedance == Complex(0) ? 0 : reciprocal(impedance);
  const auto fixes_voltage = [&source_admittance](const VoltageSource& source) {
    return source_admittance == Complex(0) || is_return(source);
  };
  for (const VoltageSource& source : sources) {
    unknown_[index(source.node)] = fixes_voltage(source) ? kDriven : 0;
  }
  std::size_t nodes = 0;
  for (int& unknown : unknown_) {
    unknown = unknown == kDriven ? kDriven : static_cast<int>(nodes++);
  }
  branch_start_ = nodes;
  SquareMatrix<Complex> cells = matrix(omega);
  std::vector<Complex> side(size());
  for (const VoltageSource& source : sources) {
    const Complex voltage = harmonic == 1 ? source.voltage : 0;
    if (fixes_voltage(source)) {
      known_[index(source.node)] = voltage;
    } else {
      const std::size_t row = index(unknown_[index(source.node)]);
      cells(row, row) += source_admittance;
      side[row] += source_admittance * voltage;
    }
  }
  const LinearEquations<Complex> equations(std::move(cells));
  if (harmonic == 1) {
    add_known_voltages(side, omega);
    source_ = equations.solve(side);
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
  for (const Capacitor& capacitor : network_.capacitors) {
    add_admittance(cells, unknown_[index(capacitor.from)], unknown_[index(capacitor.to)],
                   admittance(capacitor, omega));
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

/// Adds what the sources do as far as they fix voltages of nodes.
void HarmonicCircuit::add_known_voltages(std::vector<Complex>& side, double omega) const {
  for (const Capacitor& capacitor : network_.capacitors) {
    for (const auto& [node, other] :
         {std::pair(capacitor.from, capacitor.to), std::pair(capacitor.to, capacitor.from)}) {
      if (unknown_[index(node)] != kDriven) {
        side[index(unknown_[index(node)])] += admittance(capacitor, omega) * known_[index(other)];
      }
    }
  }
  for (std::size_t number = 0; number < network_.branches.size(); ++number) {
    const Branch& branch = network_.branches[number];
    side[branch_start_ + number] = known_[index(branch.to)] - known_[index(branch.from)];
  }
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
