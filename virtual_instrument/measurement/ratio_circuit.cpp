#include "virtual_instrument/measurement/ratio_circuit.h"

#include <algorithm>
#include <cstddef>

#include "virtual_instrument/measurement/leads.h"
#include "virtual_instrument/measurement/unit_waveforms.h"

namespace virtual_instrument {

TestCircuit::TestCircuit(const TransformerUnit& tested, const kvr_Ratio3phRequest& request,
                         const Bench& settings, Noise& of_samples)
    : unit(tested),
      bench(settings),
      noise(of_samples),
      excited(request.test_type == KVR_TEST_RATIO_UP ? Side::low : Side::high),
      test_voltage(request.test_voltage),
      frequency(request.setup.line_frequency),
      network(unit_network(tested, kInputResistance)) {}

PeriodicState TestCircuit::solve(const Network& circuit,
                                 const std::vector<VoltageSource>& sources) {
  PeriodicState state = solve_network(circuit, sources, frequency);
  for (std::size_t limb = 0; limb < 3; ++limb) {
    peak_flux[limb] = std::max(peak_flux[limb], state.peak_flux[limb]);
  }
  blind_open_leads(unit, state);
  return state;
}

SampledTest TestCircuit::sampled(const Waveforms& waveforms) {
  return sample(waveforms, excited, frequency, bench.measurement, noise);
}

Complex TestCircuit::phasor(const Samples& samples) const {
  return fundamental(samples, bench.measurement.samples_per_period);
}

}  // namespace virtual_instrument
