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

/// Between two nodes.
struct Capacitor {
  int from;
  int to;
  double capacitance;  ///< F
};

/// Resistance in ohm and inductance in H, in series.
struct SeriesElement {
  double resistance = 0;
  double inductance = 0;
};

struct Network {
  std::vector<double> node_conductance;  ///< S, from each node to the common point; above 0
  std::vector<double> node_capacitance;  ///< F, the same way
  std::vector<Branch> branches;
  Core core;
  std::vector<Capacitor> capacitors{};
  SeriesElement source{};  ///< of each source but returns
};

/// A source of alternating voltage between the common point and a node, behind the network's source
/// impedance. One of 0 V is a return lead and has none.
struct VoltageSource {
  int node;
  Complex voltage;  ///< peak phasor
};

bool is_return(const VoltageSource& source);

/// At an angular frequency in rad/s.
Complex admittance(const Capacitor& capacitor, double omega);

/// Between a node and the common point, at an angular frequency in rad/s.
Complex node_admittance(const Network& network, std::size_t node, double omega);

/// Direct-current resistance between two nodes.
double dc_resistance(const Network& network, int from, int to);

}  // namespace virtual_instrument
