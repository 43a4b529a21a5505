#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

// SHA-256, to say which library a tape was recorded from and which tape a receipt belongs to.
namespace tape {

class Sha256 {
 public:
  void add(std::string_view bytes);

  /// 64 digits; nothing may be added after this.
  std::string text();

 private:
  void compress(const char* block);

  std::array<std::uint32_t, 8> state_{0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                                      0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};
  std::string pending_;
  std::uint64_t size_ = 0;
};

std::string sha256(std::string_view bytes);

/// Empty for a file that can't be read.
std::string sha256_of_file(const std::filesystem::path& file);

}  // namespace tape
