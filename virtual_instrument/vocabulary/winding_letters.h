#pragma once

#include "api/request_records.h"

// The letters of windings in the name of a vector group, for each side.

namespace virtual_instrument {

struct WindingLetters {
  kvr_WindingType type;
  const char* high;
  const char* low;
};

inline constexpr WindingLetters kWindingLetters[] = {
    {KVR_WINDING_UNDEFINED, "", ""}, {KVR_WINDING_D, "D", "d"},    {KVR_WINDING_Y, "Y", "y"},
    {KVR_WINDING_YN, "YN", "yn"},    {KVR_WINDING_Z, "Z", "z"},    {KVR_WINDING_ZN, "ZN", "zn"},
    {KVR_WINDING_1P, "1P", "h"},     {KVR_WINDING_MH, "MH", "mx"}, {KVR_WINDING_CT, "CT", ""},
    {KVR_WINDING_PT, "PT", ""},      {KVR_WINDING_A, "a", "a"},
};

/// The letters of a winding on one side; "?" for an unknown type.
constexpr const char* letters_of(kvr_WindingType type, const char* WindingLetters::*side) {
  for (const WindingLetters& letters : kWindingLetters) {
    if (letters.type == type) {
      return letters.*side;
    }
  }
  return "?";
}

}  // namespace virtual_instrument
