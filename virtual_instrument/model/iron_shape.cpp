#include "virtual_instrument/model/iron_shape.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

#include "virtual_instrument/model/spectrum.h"

namespace virtual_instrument {
namespace {

/// Typical of cold-rolled steel with grains oriented along the limbs: rated flux lies this far
/// below the knee, where the bend draws this multiple of the linear current.
constexpr double kKneeMargin = 1.15;
constexpr double kBend = 1.0;

/// From this fraction of the rated flux on, all elements of the loop slip.
constexpr double kReach = 0.5;

/// The part of the linear current that always remains, so that force rises with flux everywhere.
constexpr double kLeastLinearShare = 0.05;

constexpr std::size_t kHarmonics = 16;
using Harmonics = std::array<Complex, kHarmonics>;
using Period = std::array<double, 128>;

Period cosine(double amplitude) {
  Spectrum spectrum{};
  spectrum[1] = amplitude;
  Period values{};
  add_waveform(values, spectrum);
  return values;
}

/// Ends where half of the difference between the slopes before and beyond the knee is reached, and
/// at the knee at the latest.
void add_bend(MagnetizingBranch& limb) {
  const double room = (1 / limb.saturated_inductance - 1 / limb.inductance) / 2;
  if (room <= 0) {
    return;
  }
  limb.bend_flux = limb.knee_flux / kKneeMargin;
  limb.bend_current = kBend * limb.bend_flux / limb.inductance;
  const double first = 11 * kBend / limb.inductance;  // slope at the bend flux
  double low = 0;
  double high = kKneeMargin;
  for (int round = 0; round < 60; ++round) {
    const double middle = (low + high) / 2;
    const double square = middle * middle;
    const double fourth = square * square;
    (first * fourth * fourth * square > room ? high : low) = middle;
  }
  limb.bend_end = limb.bend_flux * low;
}

/// Harmonics of the bend's current and of the loop's at a sinusoidal flux, as multiples of the
/// linear current.
Harmonics bend_harmonics(const MagnetizingBranch& limb, double flux) {
  MagnetizingBranch bend = limb;
  bend.linear_share = 0;
  bend.low_flux_excess = 0;
  bend.residual_flux = 0;
  Period values = cosine(flux);
  for (double& value : values) {
    value = bend.current(value) * limb.inductance / flux;
  }
  return harmonics_of<kHarmonics>(values);
}

Harmonics loop_harmonics(const Core& core, double flux) {
  Period force{};
  add_loop(stop_elements(core.loop), {}, cosine(flux), force);
  for (double& value : force) {
    value *= core.limb.inductance / flux;
  }
  return harmonics_of<kHarmonics>(force);
}

/// The linear current that makes the r.m.s. value of the current, but for the part that feeds
/// losses, that of the linear core, if `part` of the loop is there.
double linear_share(const Harmonics& bend, const Harmonics& loop, double part) {
  double others = 0;
  for (std::size_t harmonic = 2; harmonic < kHarmonics; ++harmonic) {
    others += std::norm(bend[harmonic] + part * loop[harmonic]);
  }
  return std::sqrt(std::max(0.0, 1 - others)) - bend[1].real() - part * loop[1].real();
}

/// The largest part of the loop that leaves the least linear current.
double loop_part(const Harmonics& bend, const Harmonics& loop) {
  double low = 0;
  double high = 1;
  if (linear_share(bend, loop, high) >= kLeastLinearShare) {
    return high;
  }
  for (int round = 0; round < 40; ++round) {
    const double middle = (low + high) / 2;
    (linear_share(bend, loop, middle) < kLeastLinearShare ? high : low) = middle;
  }
  return low;
}

}  // namespace

void shape_iron(Core& core, double rated_flux) {
  MagnetizingBranch& limb = core.limb;
  if (std::isinf(limb.knee_flux)) {
    return;
  }
  const double flux = std::min(rated_flux, limb.knee_flux / kKneeMargin);
  add_bend(limb);
  core.loop = {1, kReach * flux};
  const double omega = 2 * std::numbers::pi * core.reference_frequency;
  // The energy of a period in the conductance that the loop replaces.
  const double energy = std::numbers::pi * core.hysteresis_share * limb.core_conductance * omega *
                        rated_flux * rated_flux;
  core.loop.strength = energy / loop_area(stop_elements(core.loop), rated_flux);
  const Harmonics bend = bend_harmonics(limb, flux);
  const Harmonics loop = loop_harmonics(core, flux);
  const double part = loop_part(bend, loop);
  core.loop.strength *= part;
  core.loop_share = core.hysteresis_share * part;
  limb.linear_share = std::max(kLeastLinearShare, linear_share(bend, loop, part));
}

double tank_reluctance(double zero_sequence_impedance, double frequency) {
  return 2 * std::numbers::pi * frequency / (3 * zero_sequence_impedance);
}

}  // namespace virtual_instrument
