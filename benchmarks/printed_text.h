#pragma once

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

/// A text as a chain of literals and numbers, which can be written again in several ways: the floor
/// and the peers of what the program writes. All of them produce the same bytes and know beforehand
/// which piece comes next, so what they cost is the numbers and the copying of the literals.
class PrintedText {
 public:
  /// Takes `text` apart. A number has a decimal point, stands alone, and comes out the same when it
  /// is read and written again: in general notation with six significant digits, where
  /// `may_be_general`, or else in fixed notation with the decimals that it has. Anything else is
  /// literal.
  PrintedText(std::string_view text, bool may_be_general);

  /// What a buffer needs beyond size() for those that write into one.
  static constexpr std::size_t kSpareRoom = 64;

  std::size_t size() const { return size_; }
  std::size_t numbers() const { return numbers_; }

  // Each writes the whole text to `out`, which has room for it and kSpareRoom, and gives its end.

  char* write_by_to_chars(char* out) const;
  char* write_by_snprintf(char* out) const;
  char* write_by_fmt(char* out) const;

  /// By `<<`, piece by piece; sets notation and precision only where they change.
  void write_by_stream(std::ostream& out) const;

 private:
  enum class Notation { kNone, kGeneral, kFixed };
  struct Piece {
    std::uint32_t literal_size = 0;  ///< of what stands before the number
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
