#pragma once

#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <ostream>
#include <string_view>
#include <type_traits>

#include "common/field_text.h"

/// Writes result texts and table rows to a stream. The bytes are those that `<<` writes in the
/// classic locale, but no locale is consulted and they are written in large pieces, which is
/// several times as fast.
///
/// Numbers follow the stream's own notation and precision at the moment they are written; width,
/// fill, base and sign flags, which no caller sets, are ignored. The text is in the stream
/// when the writer ends, also by an exception; until then nothing else may write to the stream. A
/// failed stream takes nothing, as always; one that throws when it fails just stays failed.
class TextWriter {
 public:
  explicit TextWriter(std::ostream& out) : out_(out) {}
  ~TextWriter();
  TextWriter(const TextWriter&) = delete;
  TextWriter& operator=(const TextWriter&) = delete;

  TextWriter& operator<<(std::string_view text) {
    if (text.size() > buffer_.size() - used_) {
      return write_beyond_buffer(text);
    }
    used_ += text.copy(buffer_.data() + used_, text.size());
    return *this;
  }

  /// A literal, or a text field of a record: up to its terminating zero and never beyond the array.
  template <std::size_t size>
  TextWriter& operator<<(const char (&text)[size]) {
    const std::string_view field = field_text(text);
    if (size > buffer_.size() - used_) {
      return *this << field;
    }
    std::memcpy(buffer_.data() + used_, text, size);  // the whole array: its size is known here
    used_ += field.size();
    return *this;
  }

  /// A C text. A null one writes nothing and leaves the stream bad. It is a template because an
  /// array would go to a plain `const char*` first.
  template <typename Pointer>
  requires std::is_pointer_v<Pointer> && std::is_convertible_v<Pointer, const char*> TextWriter&
  operator<<(const Pointer& text) {
    return write_c_text(text);
  }

  TextWriter& operator<<(char character) { return *this << std::string_view(&character, 1); }
  TextWriter& operator<<(std::int32_t value) { return write_integer(value); }
  TextWriter& operator<<(std::uint32_t value) { return write_integer(value); }
  TextWriter& operator<<(double value);

  /// The stream's precision from here on.
  void precision(int digits) { out_.precision(digits); }
  /// Fixed notation on the stream from here on.
  void fixed() { out_.setf(std::ios_base::fixed, std::ios_base::floatfield); }

 private:
  TextWriter& write_beyond_buffer(std::string_view text);
  TextWriter& write_c_text(const char* text);
  TextWriter& write_integer(auto value) {
    std::array<char, 12> digits;
    const auto [end, error] = std::to_chars(digits.data(), digits.data() + digits.size(), value);
    return *this << std::string_view(digits.data(), static_cast<std::size_t>(end - digits.data()));
  }
  void hand_over();

  std::ostream& out_;
  std::size_t used_ = 0;
  std::array<char, 4096> buffer_;
};
