#pragma once

#include "virtual_instrument/bench/bench.h"
#include "virtual_instrument/model/transformer_unit.h"

namespace virtual_instrument {

/// The transformer on a bench, with the residual flux from which the bench begins.
TransformerUnit make_unit(const Bench& bench);

}  // namespace virtual_instrument
