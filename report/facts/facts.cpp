#include "report/facts/facts.h"

#include <fstream>
#include <iterator>

#include "report/facts/checksums.h"

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
  return {name_of(path), bytes.size(), sha256(bytes)};
}

}  // namespace report
