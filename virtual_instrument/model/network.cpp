#include "virtual_instrument/model/network.h"

#include "virtual_instrument/model/index.h"
#include "virtual_instrument/model/linear_equations.h"

namespace virtual_instrument {

bool is_return(const VoltageSource& source) { return source.voltage == Complex(0); }

Complex admittance(const Capacitor& capacitor, double omega) {
  return {0, omega * capacitor.capacitance};
}

Complex node_admittance(const Network& network, std::size_t node, double omega) {
  return {network.node_conductance[node], omega * network.node_capacitance[node]};
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
