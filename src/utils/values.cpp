#include <plog/Log.h>

#include <algorithm>
#include <array>
#include <cctype>

#include "utils/utils.h"

namespace {

struct MetricPrefix {
  double lowest;
  const char* prefix;
  double multiplier;
};

constexpr std::array<MetricPrefix, 4> kMetricPrefixes{{
    {1000000.0, "M", 1e-06},
    {1000.0, "k", 0.001},
    {1.0, "", 1.0},
    {0.001, "m", 1000.0},
}};

constexpr MetricPrefix kSmallestPrefix{0.0, "u", 1000000.0};

bool is_space(char character) { return std::isspace(static_cast<unsigned char>(character)) != 0; }

bool is_digit(char character) { return std::isdigit(static_cast<unsigned char>(character)) != 0; }

// The checksum has 16 bits; an unsigned holds it, since smaller types are promoted to int.
constexpr unsigned kCrcPolynomial = 0x8005;
constexpr unsigned kCrcMask = 0xFFFF;
constexpr unsigned kCrcBits = 16;

unsigned crc_with_bit(unsigned crc, unsigned bit) {
  const bool shifts_out_one = (crc >> (kCrcBits - 1)) != 0;
  const unsigned shifted = (crc << 1U | bit) & kCrcMask;
  return shifts_out_one ? shifted ^ kCrcPolynomial : shifted;
}

unsigned reversed_bits(unsigned crc) {
  unsigned reversed = 0;
  for (unsigned bit = 0; bit < kCrcBits; ++bit) {
    reversed = reversed << 1U | (crc >> bit & 1U);
  }
  return reversed;
}

}  // namespace

// Deliberate: zero and negative values take the smallest prefix.
void Utils::toPhisValue(double value, std::string& prefix, double& multiplier) {
  const auto* const row =
      std::find_if(kMetricPrefixes.begin(), kMetricPrefixes.end(),
                   [value](const MetricPrefix& candidate) { return value >= candidate.lowest; });
  const bool is_smallest = row == kMetricPrefixes.end();
  if (is_smallest) {
    PLOGI << value << " will be formatted as minimal";
  }
  const MetricPrefix& chosen = is_smallest ? kSmallestPrefix : *row;
  prefix = chosen.prefix;
  multiplier = chosen.multiplier;
}

std::string Utils::trim(std::string text) {
  text.erase(std::find_if_not(text.rbegin(), text.rend(), is_space).base(), text.end());
  text.erase(text.begin(), std::find_if_not(text.begin(), text.end(), is_space));
  return text;
}

std::string Utils::replace_all(std::string text, const std::string& from, const std::string& to) {
  for (auto at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
    text.replace(at, from.size(), to);
  }
  return text;
}

std::string Utils::strip_numeric_suffix(const std::string& text) {
  const auto mark = text.rfind('_');
  const bool has_suffix =
      mark != std::string::npos && mark + 1 < text.size() && is_digit(text[mark + 1]);
  return has_suffix ? text.substr(0, mark) : text;
}

std::uint16_t Utils::crc16(const ByteRun& bytes) {
  if (bytes.data == nullptr) {
    return 0;
  }
  unsigned crc = 0;
  for (std::size_t index = 0; index < bytes.length; ++index) {
    for (unsigned bit = 0; bit < 8; ++bit) {
      crc = crc_with_bit(crc, static_cast<unsigned>(bytes.data[index]) >> bit & 1U);
    }
  }
  for (unsigned bit = 0; bit < kCrcBits; ++bit) {
    crc = crc_with_bit(crc, 0);
  }
  return static_cast<std::uint16_t>(reversed_bits(crc));
}
