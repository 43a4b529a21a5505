#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "virtual_instrument/model/core_network.h"
#include "virtual_instrument/model/phasor.h"

// Windings on a core, joined at nodes, and the sources at the nodes.

namespace virtual_instrument {

/// Joins two nodes: resistance and inductance, in series with turns on the limbs. With the same
/// node at both ends it is a closed loop.
struct Branch {
  int from;
  int to;
  double resistance;            ///< ohm
  double eddy_resistance;       ///< ohm per (rad/s)^2, added by stray eddy currents
  double inductance;            ///< H
  std::array<double, 3> turns;  ///< in units of the winding to which the core's values refer
};

struct Network {
  std::vector<double> node_conductance;  ///< S, from each node to the common point; above 0
  std::vector<double> node_capacitance;  ///< F, the same way
  std::vector<Branch> branches;
  Core core;
};

/// An ideal source of alternating voltage between the common point and a node.
struct VoltageSource {
  int node;
  Complex voltage;  ///< peak phasor
};

/// Between a node and the common point, at an angular frequency in rad/s.
Complex node_admittance(const Network& network, std::size_t node, double omega);

/// Direct-current resistance between two nodes.
double dc_resistance(const Network& network, int from, int to);

}  // namespace virtual_instrument
