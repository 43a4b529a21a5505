#pragma once

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

/// A text as a list of literals and numbers, which can be written again in several ways: by the
/// floor and by the peers of the program. All produce the same bytes and know beforehand which
/// piece comes next, so they cost only the numbers and the copying of the literals.
class PrintedText {
 public:
  /// Splits `text` into pieces. A number has a decimal point, stands alone, and gives the same text
  /// when it is read and written again: in general notation with six significant digits, if
  /// `may_be_general`, or else in fixed notation with its own number of decimals. Anything else is
  /// literal.
  PrintedText(std::string_view text, bool may_be_general);

  /// Bytes that a buffer needs beyond size().
  static constexpr std::size_t kSpareRoom = 64;

  std::size_t size() const { return size_; }
  std::size_t numbers() const { return numbers_; }

  // Each writes the whole text to `out`, which has size() + kSpareRoom bytes, and returns its end.

  char* write_by_to_chars(char* out) const;
  char* write_by_snprintf(char* out) const;
  char* write_by_fmt(char* out) const;

  /// By `<<`, piece by piece; sets notation and precision only where they change.
  void write_by_stream(std::ostream& out) const;

 private:
  enum class Notation { kNone, kGeneral, kFixed };
  struct Piece {
    std::uint32_t literal_size = 0;  ///< of the literal before the number
    Notation notation = Notation::kNone;
    int precision = 0;
    double value = 0;
  };

  static Piece read_number(std::string_view token, bool may_be_general);
  template <typename WriteNumber>
  char* write(char* out, WriteNumber write_number) const;

  std::string literals_;
  std::vector<Piece> pieces_;
  std::size_t size_;
  std::size_t numbers_ = 0;
};
