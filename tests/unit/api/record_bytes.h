#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <string>

#include "support/byte_rows.h"

// Records as the library lays them down: bytes written out by hand at hand-copied offsets, read
// back through the fields of the struct.

/// A pointer that leads nowhere but can be told from others.
inline ByteField pointer_at(std::size_t offset, std::uintptr_t value) {
  return {offset, bytes_of(value)};
}

inline ByteField i64(std::size_t offset, std::int64_t value) { return {offset, bytes_of(value)}; }

/// A record of which every byte outside `fields` is zero.
template <class Record>
Record record_of(std::initializer_list<ByteField> fields) {
  const Bytes bytes = bytes_of(sizeof(Record), fields);
  Record record;
  std::memcpy(&record, bytes.data(), bytes.size());
  return record;
}

template <class Pointer>
std::uintptr_t address(Pointer* pointer) {
  return reinterpret_cast<std::uintptr_t>(pointer);
}

/// The whole of a text field, terminator and what lies behind it included.
template <std::size_t size>
std::string whole(const char (&field)[size]) {
  return {field, size};
}

/// A text that fills a field of `size` bytes to the last one, where its terminator is.
inline std::string filling(std::size_t size, char letter) { return std::string(size - 1, letter); }

/// What `whole` gives of a field that holds `filling`.
inline std::string filled(std::size_t size, char letter) {
  return std::string(size - 1, letter) + '\0';
}
