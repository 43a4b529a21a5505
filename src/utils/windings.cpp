#include <cstddef>
#include <string>

#include "common/errors.h"
#include "utils/utils.h"

namespace {

// By connection_type: H to X, H to Y, X to Y.
constexpr std::size_t kHighSide[] = {0, 0, 1};
constexpr std::size_t kLowSide[] = {1, 2, 2};

/// The connection_type of `setup`. `where` is the resolver that asks for it.
std::size_t checked_connection_type(const kvr_TestSetup& setup, const char* where) {
  if (setup.connection_type > kConnectionXToY) {
    throw kvr_exception(KVR_RES_INCORRECT_PARAMETERS,
                        std::string("Utils::") + where + " - incorrect connection_type", kLogged,
                        where);
  }
  return setup.connection_type;
}

}  // namespace

const kvr_WindingSetup& Utils::winding_h(const kvr_TestSetup& setup) {
  return setup.windings[kHighSide[checked_connection_type(setup, "winding_h")]];
}

const kvr_WindingSetup& Utils::winding_x(const kvr_TestSetup& setup) {
  return setup.windings[kLowSide[checked_connection_type(setup, "winding_x")]];
}

kvr_WindingSetup& Utils::winding_x_mutable(kvr_TestSetup& setup) {
  return setup.windings[kLowSide[checked_connection_type(setup, "winding_x_mutable")]];
}

const kvr_ConnectionSetup& Utils::connection(const kvr_TestSetup& setup) {
  return setup.connections[checked_connection_type(setup, "connection")];
}
