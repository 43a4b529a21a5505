#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// The records of the boundary by name: their size, and each named member with its offset, type and
// unit. What shows a record, or names the first byte in which two differ, reads this table.
namespace tape {

struct Layout;

enum class MemberType : std::uint8_t { kNumber, kReal, kCode, kText, kPointer, kRecord };

/// One member, or an array of `count` of them.
struct Member {
  std::string_view name;
  std::string_view unit;
  std::size_t offset = 0;
  std::size_t size = 0;   ///< of one element; of a text: of its field
  std::size_t count = 1;  ///< of elements
  MemberType type = MemberType::kNumber;
  bool is_signed = false;
  const Layout* record = nullptr;  ///< of kRecord
};

struct Layout {
  std::string_view name;
  std::size_t size = 0;
  std::vector<Member> members;
};

/// Null for a name that is none of a record.
const Layout* find_layout(std::string_view name);

/// Every record that can stand on a tape by itself or within another one.
const std::vector<const Layout*>& all_layouts();

/// A number that changes with any name, offset, size or type of a member.
std::uint64_t layouts_fingerprint();

/// One plain member of a record, reached through the records within it:
/// "setup.windings[0].voltage".
struct PlainMember {
  std::string path;
  Member member;  ///< with its offset in the outermost record, and `count` 1
};

/// The plain members of a record in the order of their offsets.
std::vector<PlainMember> plain_members(const Layout& layout);

/// The value of a plain member as text: a number, a text in quotes, a code with its name.
std::string member_text(const PlainMember& member, std::string_view record);

/// Bytes as pairs of digits, at most `most` of them.
std::string hexadecimal(std::string_view bytes, std::size_t most = 16);

/// A text in quotes; bytes that don't print as \xHH.
std::string in_quotes(std::string_view text, std::size_t most = 200);

}  // namespace tape
