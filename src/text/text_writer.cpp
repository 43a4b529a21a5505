#include "text/text_writer.h"

#include "common/c_text.h"

TextWriter::~TextWriter() {
  try {
    hand_over();
  } catch (...) {
    // The stream remembers that it failed, and an exception may be on its way already.
  }
}

TextWriter& TextWriter::operator<<(double value) {
  const std::ios_base::fmtflags notation = out_.flags() & std::ios_base::floatfield;
  const std::chars_format format = notation == std::ios_base::fixed ? std::chars_format::fixed
                                   : notation == std::ios_base::scientific
                                       ? std::chars_format::scientific
                                       : std::chars_format::general;
  char* const begin = buffer_.data() + used_;
  const auto [end, error] = std::to_chars(begin, buffer_.data() + buffer_.size(), value, format,
                                          static_cast<int>(out_.precision()));
  if (error == std::errc()) {
    used_ += static_cast<std::size_t>(end - begin);
  } else if (used_ != 0) {
    hand_over();
    *this << value;
  } else {
    out_ << value;  // thousands of digits
  }
  return *this;
}

TextWriter& TextWriter::write_beyond_buffer(std::string_view text) {
  hand_over();
  if (text.size() <= buffer_.size()) {
    return *this << text;
  }
  out_.write(text.data(), static_cast<std::streamsize>(text.size()));
  return *this;
}

TextWriter& TextWriter::write_c_text(const char* text) {
  if (text != nullptr) {
    return *this << std::string_view(text);
  }
  hand_over();
  ::write_c_text(out_, text);
  return *this;
}

void TextWriter::hand_over() {
  if (used_ != 0) {
    const auto length = static_cast<std::streamsize>(used_);
    used_ = 0;
    out_.write(buffer_.data(), length);
  }
}
