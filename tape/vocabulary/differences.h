#pragma once

#include <string>
#include <vector>

#include "tape/vocabulary/event.h"

// What differs between two descriptions of a call or of its outputs: the field by name, both values
// as numbers or texts, and both in bytes.
namespace tape {

struct Difference {
  std::string field;  ///< "request.setup.windings[0].voltage"
  std::string first;
  std::string second;
};

/// All of them in order, up to `most`. Empty for equal fields.
std::vector<Difference> differences(const Fields& first, const Fields& second,
                                    std::size_t most = 1000);

/// One part of a record: the record itself, or one that hangs from it.
struct RecordPart {
  std::string path;
  std::string layout;
  std::string bytes;  ///< without pointers
};

/// The parts of a record value in a fixed order; empty when it has no content, or none that can be
/// decoded.
std::vector<RecordPart> parts_of(const Value& record);

/// A value in one line of text.
std::string value_text(const Value& value);

}  // namespace tape
