#pragma once

#include <span>
#include <string_view>

// The 22 calls and the two callbacks as data: what goes in and what comes out, in a fixed order.
// The descriptions that the recorder and the player make of a call follow it, the reader demands
// it.
namespace tape {

struct FieldShape {
  enum class Kind { kNumber, kText, kBlock, kRecord, kList };

  std::string_view name;
  Kind kind;
  std::string_view layout = {};  ///< of a block
  bool may_be_null = true;
};

struct CallShape {
  std::string_view name;
  std::span<const FieldShape> in;
  std::span<const FieldShape> out;
};

/// Null for a name that is none of a call.
const CallShape* find_call(std::string_view name);

/// The two callbacks, "status" and "progress": `in` is what the library says, `out` is empty.
const CallShape* find_callback(std::string_view name);

/// Layout of the text that kvr_ConnectAPI fills.
inline constexpr std::string_view kFirmwareText = "firmware_text";

/// Size of a block of that layout; 0 for an unknown one.
std::size_t block_size(std::string_view layout);

/// Whether a client goes on with what such a code comes with.
bool is_accepted(long long code);

}  // namespace tape
