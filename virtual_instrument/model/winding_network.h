#pragma once

#include <array>
#include <vector>

#include "virtual_instrument/model/core_network.h"
#include "virtual_instrument/model/phasor.h"

// Windings on a core, joined at nodes, in periodic steady state.

namespace virtual_instrument {

/// Number of harmonics in the solution. Leakage makes higher ones negligible.
inline constexpr int kHighestHarmonic = 15;

/// A periodic quantity: its mean, and the peak phasor of each harmonic.
using Spectrum = std::array<Complex, kHighestHarmonic + 1>;

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

/// Spectra by node, by branch, by source and by limb.
struct PeriodicState {
  double frequency;                      ///< Hz
  std::vector<Spectrum> node_voltage;    ///< V, against the common point
  std::vector<Spectrum> branch_current;  ///< A
  std::vector<Spectrum> source_current;  ///< A, out of the source
  std::array<Spectrum, 3> flux;          ///< Vs
  std::array<double, 3> peak_flux;       ///< Vs, without the mean
};

/// Finds the steady state: the voltage in each winding follows from the flux of the limbs, its
/// current from the circuit, and the currents must give the limbs the force that their flux needs.
/// Currents have no mean, since no source and no winding drives one. Throws std::runtime_error if
/// no state is found.
PeriodicState solve_network(const Network& network, const std::vector<VoltageSource>& sources,
                            double frequency);

/// Steps of the finest waveform, per period.
inline constexpr int kFinestSteps = 1024;

/// The waveform over one period, in `count` equal steps from the phase 0 of a cosine. REQUIRES: a
/// power of two up to kFinestSteps.
std::vector<double> waveform(const Spectrum& spectrum, int count);

Spectrum difference(const Spectrum& a, const Spectrum& b);

/// Direct-current resistance between two nodes.
double dc_resistance(const Network& network, int from, int to);

}  // namespace virtual_instrument
