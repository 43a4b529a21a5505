#pragma once

#include <cstddef>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

// Records as bytes: expected bytes, built field by field, and rows of text to compare.

using Bytes = std::vector<unsigned char>;

/// One field of a record, as it lies in memory.
struct ByteField {
  std::size_t offset;
  Bytes bytes;
};

/// Fields of the width that the function's name gives.
ByteField u8(std::size_t offset, unsigned value);
ByteField i32(std::size_t offset, long value);
ByteField f32(std::size_t offset, float value);
ByteField f64(std::size_t offset, double value);
/// The bytes of a text, without a terminator.
ByteField text_at(std::size_t offset, std::string_view text);

/// `size` bytes that are zero but for `fields`. Throws std::logic_error when a field lies outside
/// or overlaps another one, so that a slip in a table is noticed.
Bytes bytes_of(std::size_t size, std::initializer_list<ByteField> fields);

/// A copy of the bytes of a record.
template <class Record>
Bytes bytes_of(const Record& record) {
  static_assert(std::is_trivially_copyable_v<Record>);
  const auto* first = reinterpret_cast<const unsigned char*>(&record);
  return {first, first + sizeof(Record)};
}

/// A line for the size and one for each group of four bytes that is not all zero, offsets in
/// decimal: "100 bytes\n060: 54 31 00 00\n". Equal rows mean equal bytes; with unequal ones
/// EXPECT_EQ fails readably.
std::string byte_rows(std::span<const unsigned char> bytes);
