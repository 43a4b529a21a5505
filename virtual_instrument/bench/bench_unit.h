#pragma once

#include "virtual_instrument/bench/bench.h"
#include "virtual_instrument/model/transformer_unit.h"

namespace virtual_instrument {

/// Whether the transformer has both windings of a pair outside.
bool has_pair(const Bench& bench, WindingPair pair);

/// The transformer on a bench as a test of these windings meets it, with the residual flux from
/// which the bench begins. REQUIRES: has_pair(bench, pair).
TransformerUnit make_unit(const Bench& bench, WindingPair pair = WindingPair::h_x);

}  // namespace virtual_instrument
