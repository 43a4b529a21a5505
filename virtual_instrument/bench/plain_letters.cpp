#include "virtual_instrument/bench/plain_letters.h"

#include <algorithm>
#include <cstddef>
#include <string>

namespace virtual_instrument {
namespace {

constexpr std::string_view kByteOrderMark = "\xef\xbb\xbf";

bool is_beyond_ascii(char character) { return static_cast<unsigned char>(character) >= 0x80; }

std::size_t size_of_mark(std::string_view text) {
  return text.starts_with(kByteOrderMark) ? kByteOrderMark.size() : 0;
}

/// Walks through a text, past its comments and quoted parts.
class Walk {
 public:
  explicit Walk(std::string_view text) : text_(text) {}

  std::optional<unsigned> line_beyond_ascii() {
    skip(size_of_mark(text_));
    while (at_ < text_.size()) {
      if (is_beyond_ascii(text_[at_])) {
        return line_;
      }
      step();
    }
    return std::nullopt;
  }

 private:
  void step() {
    const char character = text_[at_];
    if (character == '#') {
      skip(text_.find('\n', at_) - at_);
    } else if (character == '"' || character == '\'') {
      skip_quoted(character);
    } else {
      skip(1);
    }
  }

  /// A quoted part ends at its own quotes, one or three, and one of single quotes also where the
  /// line does, which toml++ takes for a mistake and stops.
  void skip_quoted(char quote) {
    const std::string triple(3, quote);
    const bool is_long = text_.substr(at_).starts_with(triple);
    const std::string_view end = is_long ? std::string_view(triple) : text_.substr(at_, 1);
    skip(end.size());
    while (at_ < text_.size() && !text_.substr(at_).starts_with(end)) {
      if (!is_long && text_[at_] == '\n') {
        return;
      }
      if (is_long && quote == '"' && skip_to_letter_behind_backslash()) {
        return;
      }
      skip(quote == '"' && text_[at_] == '\\' ? 2 : 1);
    }
    skip(end.size());
    for (int i = 0; i < 2 && is_long && text_.substr(at_).starts_with(quote); ++i) {
      skip(1);  // the end is the last three of up to five
    }
  }

  /// In a long part a backslash may have blanks and ends of lines left out, and toml++ asks what
  /// follows whether it is one. True at a letter beyond ASCII.
  bool skip_to_letter_behind_backslash() {
    if (text_[at_] != '\\') {
      return false;
    }
    const std::size_t next = text_.find_first_not_of(" \t\r\n\v\f", at_ + 1);
    if (next == text_.npos || !is_beyond_ascii(text_[next])) {
      return false;
    }
    skip(next - at_);
    return true;
  }

  void skip(std::size_t count) {
    const std::size_t end = at_ + std::min(count, text_.size() - at_);
    line_ += static_cast<unsigned>(
        std::count(text_.begin() + std::ptrdiff_t(at_), text_.begin() + std::ptrdiff_t(end), '\n'));
    at_ = end;
  }

  const std::string_view text_;
  std::size_t at_ = 0;
  unsigned line_ = 1;
};

}  // namespace

std::optional<unsigned> line_beyond_ascii(std::string_view text) {
  return Walk(text).line_beyond_ascii();
}

std::string with_plain_letters(std::string_view text) {
  std::string plain(text.substr(0, size_of_mark(text)));
  for (const char character : text.substr(plain.size())) {
    if (is_beyond_ascii(character)) {
      plain += '~' + std::to_string(static_cast<unsigned char>(character));
    } else {
      plain += character;
    }
  }
  return plain;
}

}  // namespace virtual_instrument
