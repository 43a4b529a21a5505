#include "virtual_instrument/model/sequence.h"

namespace virtual_instrument {

SequenceComponents sequence_components(const std::array<Complex, 3>& phases) {
  const Complex forward = phasor_at(1.0 / 3);
  const Complex backward = std::conj(forward);
  return {(phases[0] + phases[1] + phases[2]) / 3.0,
          (phases[0] + forward * phases[1] + backward * phases[2]) / 3.0,
          (phases[0] + backward * phases[1] + forward * phases[2]) / 3.0};
}

}  // namespace virtual_instrument
