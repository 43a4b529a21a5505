#include "report/facts/checksums.h"

#include <array>
#include <bit>

namespace report {
namespace {

constexpr std::array<std::uint32_t, 64> kRoundConstants{
    0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4, 0xab1c5ed5,
    0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe, 0x9bdc06a7, 0xc19bf174,
    0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f, 0x4a7484aa, 0x5cb0a9dc, 0x76f988da,
    0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7, 0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967,
    0x27b70a85, 0x2e1b2138, 0x4d2c6dfc, 0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85,
    0xa2bfe8a1, 0xa81a664b, 0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070,
    0x19a4c116, 0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
    0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7, 0xc67178f2};

class Sha256 {
 public:
  void block(const unsigned char* bytes) {
    std::array<std::uint32_t, 64> words{};
    for (std::size_t i = 0; i < 16; ++i) {
      for (std::size_t k = 0; k < 4; ++k) {
        words[i] = words[i] << 8 | bytes[4 * i + k];
      }
    }
    for (std::size_t i = 16; i < 64; ++i) {
      const std::uint32_t a = words[i - 15];
      const std::uint32_t b = words[i - 2];
      words[i] = words[i - 16] + (std::rotr(a, 7) ^ std::rotr(a, 18) ^ a >> 3) + words[i - 7] +
                 (std::rotr(b, 17) ^ std::rotr(b, 19) ^ b >> 10);
    }
    auto [a, b, c, d, e, f, g, h] = state_;
    for (std::size_t i = 0; i < 64; ++i) {
      const std::uint32_t one = h + (std::rotr(e, 6) ^ std::rotr(e, 11) ^ std::rotr(e, 25)) +
                                ((e & f) ^ (~e & g)) + kRoundConstants[i] + words[i];
      const std::uint32_t two =
          (std::rotr(a, 2) ^ std::rotr(a, 13) ^ std::rotr(a, 22)) + ((a & b) ^ (a & c) ^ (b & c));
      h = g;
      g = f;
      f = e;
      e = d + one;
      d = c;
      c = b;
      b = a;
      a = one + two;
    }
    const std::array<std::uint32_t, 8> added{a, b, c, d, e, f, g, h};
    for (std::size_t i = 0; i < 8; ++i) {
      state_[i] += added[i];
    }
  }

  std::string digits() const {
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::string text;
    for (const std::uint32_t word : state_) {
      for (int shift = 28; shift >= 0; shift -= 4) {
        text += kDigits[word >> shift & 15];
      }
    }
    return text;
  }

 private:
  std::array<std::uint32_t, 8> state_{0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                                      0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};
};

constexpr auto make_crc_table() {
  std::array<std::uint32_t, 256> table{};
  for (std::uint32_t byte = 0; byte < 256; ++byte) {
    std::uint32_t rest = byte;
    for (int bit = 0; bit < 8; ++bit) {
      rest = rest >> 1 ^ (0xedb88320 & (0 - (rest & 1)));
    }
    table[byte] = rest;
  }
  return table;
}

constexpr auto kCrcTable = make_crc_table();

}  // namespace

std::string sha256(std::string_view bytes) {
  // The padding: a bit, zeros, and the length in bits at the end of the last block.
  std::string rest(bytes.substr(bytes.size() / 64 * 64));
  rest += '\x80';
  rest.resize((rest.size() + 8 + 63) / 64 * 64);
  for (std::size_t i = 0; i < 8; ++i) {
    rest[rest.size() - 1 - i] = static_cast<char>(std::uint64_t{bytes.size()} * 8 >> 8 * i & 255);
  }
  Sha256 hash;
  const auto* const whole = reinterpret_cast<const unsigned char*>(bytes.data());
  for (std::size_t at = 0; at + 64 <= bytes.size(); at += 64) {
    hash.block(whole + at);
  }
  const auto* const last = reinterpret_cast<const unsigned char*>(rest.data());
  for (std::size_t at = 0; at < rest.size(); at += 64) {
    hash.block(last + at);
  }
  return hash.digits();
}

std::uint32_t crc32(std::span<const std::byte> bytes, std::uint32_t before) {
  std::uint32_t rest = ~before;
  for (const std::byte byte : bytes) {
    rest = rest >> 8 ^ kCrcTable[(rest ^ std::to_integer<std::uint32_t>(byte)) & 255];
  }
  return ~rest;
}

}  // namespace report
