#include "virtual_instrument/vocabulary/code_names.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace virtual_instrument {
namespace {

struct NamedCode {
  std::string_view name;
  kvr_code code;
};

constexpr NamedCode kNamedCodes[] = {
#define NAMED_CODE(number, name) {#name, name},
    KVR_CODE_LIST(NAMED_CODE)
#undef NAMED_CODE
};

}  // namespace

std::optional<kvr_code> code_of_name(std::string_view name) {
  const auto* const found =
      std::find_if(std::begin(kNamedCodes), std::end(kNamedCodes),
                   [name](const NamedCode& entry) { return entry.name == name; });
  if (found == std::end(kNamedCodes)) {
    return std::nullopt;
  }
  return found->code;
}

}  // namespace virtual_instrument
