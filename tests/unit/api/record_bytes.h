#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <string>

#include "support/byte_rows.h"

// Records in memory as the library writes them: bytes at offsets written out by hand, read back
// through the fields of the struct.

/// A distinct pointer value that points to nothing.
inline ByteField pointer_at(std::size_t offset, std::uintptr_t value) {
  return {offset, bytes_of(value)};
}

inline ByteField i64(std::size_t offset, std::int64_t value) { return {offset, bytes_of(value)}; }

/// A record whose bytes outside `fields` are zero.
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

/// A whole text field, with its terminator and the bytes after it.
template <std::size_t size>
std::string whole(const char (&field)[size]) {
  return {field, size};
}

/// A text that fills a field of `size` bytes; its terminator is the last byte.
inline std::string filling(std::size_t size, char letter) { return std::string(size - 1, letter); }

/// The result of `whole` for a field that holds `filling`.
inline std::string filled(std::size_t size, char letter) {
  return std::string(size - 1, letter) + '\0';
}
