#include "printed_text.h"

#include <fmt/format.h>

#include <array>
#include <cctype>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <ios>

namespace {

constexpr std::size_t kLongestNumber = PrintedText::kSpareRoom;
constexpr int kGeneralPrecision = 6;

bool is_part_of_word(char character) {
  return std::isalnum(static_cast<unsigned char>(character)) != 0 ||
         std::string_view("._:+-").find(character) != std::string_view::npos;
}

std::string number_text(double value, std::chars_format format, int precision) {
  std::array<char, kLongestNumber> text;
  char* const end =
      std::to_chars(text.data(), text.data() + text.size(), value, format, precision).ptr;
  return {text.data(), end};
}

}  // namespace

PrintedText::Piece PrintedText::read_number(std::string_view token, bool may_be_general) {
  double value = 0;
  const char* const end = token.data() + token.size();
  const std::size_t point = token.find('.');
  if (point == std::string_view::npos || std::from_chars(token.data(), end, value).ptr != end) {
    return {};
  }
  const auto decimals = static_cast<int>(token.size() - point - 1);
  if (may_be_general &&
      number_text(value, std::chars_format::general, kGeneralPrecision) == token) {
    return {0, Notation::kGeneral, kGeneralPrecision, value};
  }
  if (number_text(value, std::chars_format::fixed, decimals) == token) {
    return {0, Notation::kFixed, decimals, value};
  }
  return {};
}

PrintedText::PrintedText(std::string_view text, bool may_be_general) : size_(text.size()) {
  std::size_t literal_begin = 0;
  const auto add = [&](std::string_view literal, Piece piece) {
    literals_ += literal;
    piece.literal_size = static_cast<std::uint32_t>(literal.size());
    pieces_.push_back(piece);
  };
  for (std::size_t begin = 0; begin < text.size();) {
    std::size_t end = begin;
    while (end < text.size() && is_part_of_word(text[end])) {
      ++end;
    }
    const Piece number = read_number(text.substr(begin, end - begin), may_be_general);
    if (number.notation != Notation::kNone) {
      add(text.substr(literal_begin, begin - literal_begin), number);
      ++numbers_;
      literal_begin = end;
    }
    begin = end + 1;
  }
  add(text.substr(literal_begin), {});
}

template <typename WriteNumber>
char* PrintedText::write(char* out, WriteNumber write_number) const {
  const char* literal = literals_.data();
  for (const Piece& piece : pieces_) {
    std::memcpy(out, literal, piece.literal_size);
    literal += piece.literal_size;
    out += piece.literal_size;
    if (piece.notation != Notation::kNone) {
      out = write_number(out, piece);
    }
  }
  return out;
}

char* PrintedText::write_by_to_chars(char* out) const {
  return write(out, [](char* at, const Piece& number) {
    const std::chars_format format =
        number.notation == Notation::kFixed ? std::chars_format::fixed : std::chars_format::general;
    return std::to_chars(at, at + kLongestNumber, number.value, format, number.precision).ptr;
  });
}

char* PrintedText::write_by_snprintf(char* out) const {
  return write(out, [](char* at, const Piece& number) {
    const char* const format = number.notation == Notation::kFixed ? "%.*f" : "%.*g";
    return at + std::snprintf(at, kLongestNumber, format, number.precision, number.value);
  });
}

char* PrintedText::write_by_fmt(char* out) const {
  return write(out, [](char* at, const Piece& number) {
    return number.notation == Notation::kFixed
               ? fmt::format_to(at, FMT_STRING("{:.{}f}"), number.value, number.precision)
               : fmt::format_to(at, FMT_STRING("{:.{}g}"), number.value, number.precision);
  });
}

void PrintedText::write_by_stream(std::ostream& out) const {
  Notation notation = Notation::kNone;
  int precision = -1;
  const char* literal = literals_.data();
  for (const Piece& piece : pieces_) {
    out << std::string_view(literal, piece.literal_size);
    literal += piece.literal_size;
    if (piece.notation == Notation::kNone) {
      continue;
    }
    if (piece.notation != notation) {
      notation = piece.notation;
      out.setf(notation == Notation::kFixed ? std::ios_base::fixed : std::ios_base::fmtflags{},
               std::ios_base::floatfield);
    }
    if (piece.precision != precision) {
      precision = piece.precision;
      out.precision(precision);
    }
    out << piece.value;
  }
}
