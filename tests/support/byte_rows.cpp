#include "support/byte_rows.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <stdexcept>

namespace {

constexpr std::size_t kRowWidth = 4;

template <class Value>
ByteField field(std::size_t offset, Value value) {
  return {offset, bytes_of(value)};
}

std::string padded_number(std::size_t number, std::size_t width) {
  const std::string digits = std::to_string(number);
  return std::string(width > digits.size() ? width - digits.size() : 0, '0') + digits;
}

std::string hexadecimal(unsigned char byte) {
  constexpr char kDigits[] = "0123456789abcdef";
  return {kDigits[byte >> 4U], kDigits[byte & 15U]};
}

}  // namespace

ByteField u8(std::size_t offset, unsigned value) {
  return field(offset, static_cast<std::uint8_t>(value));
}

ByteField i32(std::size_t offset, long value) {
  return field(offset, static_cast<std::int32_t>(value));
}

ByteField f32(std::size_t offset, float value) { return field(offset, value); }

ByteField f64(std::size_t offset, double value) { return field(offset, value); }

ByteField text_at(std::size_t offset, std::string_view text) {
  return {offset, {text.begin(), text.end()}};
}

Bytes bytes_of(std::size_t size, std::initializer_list<ByteField> fields) {
  Bytes bytes(size);
  std::vector<bool> taken(size);
  for (const ByteField& field : fields) {
    for (std::size_t i = 0; i < field.bytes.size(); ++i) {
      const std::size_t at = field.offset + i;
      if (at >= size || taken[at]) {
        throw std::logic_error("field at " + std::to_string(field.offset) +
                               (at >= size ? " ends outside the record" : " overlaps another one"));
      }
      bytes[at] = field.bytes[i];
      taken[at] = true;
    }
  }
  return bytes;
}

std::string byte_rows(std::span<const unsigned char> bytes) {
  std::string rows = std::to_string(bytes.size()) + " bytes\n";
  for (std::size_t at = 0; at < bytes.size(); at += kRowWidth) {
    const auto row = bytes.subspan(at, std::min(kRowWidth, bytes.size() - at));
    if (std::all_of(row.begin(), row.end(), [](unsigned char byte) { return byte == 0; })) {
      continue;
    }
    rows += padded_number(at, 3) + ":";
    for (const unsigned char byte : row) {
      rows += " " + hexadecimal(byte);
    }
    rows += "\n";
  }
  return rows;
}
