#include "report/facts/facts.h"

#include <fstream>
#include <iterator>

#include "tape/format/sha256.h"

namespace report {

std::string read_bytes(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file || std::filesystem::is_directory(path)) {
    throw ReadFailure(name_of(path) + ": can't be opened");
  }
  std::string bytes{std::istreambuf_iterator<char>(file), {}};
  if (file.bad()) {
    throw ReadFailure(name_of(path) + ": can't be read");
  }
  return bytes;
}

std::string name_of(const std::filesystem::path& path) {
  const std::u8string name = path.filename().u8string();
  return {name.begin(), name.end()};
}

SourceFile source_file(const std::filesystem::path& path, std::string_view bytes) {
  return {name_of(path), bytes.size(), tape::sha256(bytes)};
}

std::string file_uri(const std::filesystem::path& path) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  const std::u8string name = std::filesystem::absolute(path).generic_u8string();
  std::string uri = name.starts_with(u8'/') ? "file://" : "file:///";
  for (const char8_t character : name) {
    const auto byte = static_cast<unsigned char>(character);
    const bool is_plain = (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') ||
                          (byte >= '0' && byte <= '9') || byte == '/' || byte == ':';
    if (is_plain) {
      uri += static_cast<char>(byte);
    } else {
      uri += {'%', kDigits[byte >> 4], kDigits[byte & 15]};
    }
  }
  return uri;
}

}  // namespace report
