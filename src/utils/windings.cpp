#include <cstddef>
#include <string>

#include "common/errors.h"
#include "utils/utils.h"

namespace {

/// The connection_type of `setup`. `where` names the calling resolver.
std::size_t checked_connection_type(const kvr_TestSetup& setup, const char* where) {
  if (setup.connection_type > kConnectionXToY) {
    throw kvr_exception(KVR_RES_INCORRECT_PARAMETERS,
                        std::string("Utils::") + where + " - incorrect connection_type", kLogged,
                        where);
  }
  return setup.connection_type;
}

std::size_t winding_index(const kvr_TestSetup& setup, SideOfPair side, const char* where) {
  return kWindingOfSide[checked_connection_type(setup, where)][static_cast<std::size_t>(side)];
}

}  // namespace

const kvr_WindingSetup& Utils::winding_h(const kvr_TestSetup& setup) {
  return setup.windings[winding_index(setup, kSideH, "winding_h")];
}

const kvr_WindingSetup& Utils::winding_x(const kvr_TestSetup& setup) {
  return setup.windings[winding_index(setup, kSideX, "winding_x")];
}

kvr_WindingSetup& Utils::winding_x_mutable(kvr_TestSetup& setup) {
  return setup.windings[winding_index(setup, kSideX, "winding_x_mutable")];
}

const kvr_ConnectionSetup& Utils::connection(const kvr_TestSetup& setup) {
  return setup.connections[checked_connection_type(setup, "connection")];
}
