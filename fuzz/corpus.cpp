#include "fuzz/corpus.h"

#include <charconv>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <optional>
#include <span>
#include <stdexcept>
#include <string_view>

#include "record_form/checksum.h"

namespace {

/// Removes an input from the front and returns it; nullopt if the front is malformed.
std::optional<std::string> take_input(std::string_view& body) {
  std::size_t size = 0;
  const auto [colon, error] = std::from_chars(body.data(), body.data() + body.size(), size);
  const auto digits = static_cast<std::size_t>(colon - body.data());
  if (error != std::errc() || !body.substr(digits).starts_with(':')) {
    return std::nullopt;
  }
  body.remove_prefix(digits + 1);
  if (body.size() <= size || body[size] != '\n') {
    return std::nullopt;
  }
  std::string input(body.substr(0, size));
  body.remove_prefix(size + 1);
  return input;
}

std::string first_line(std::size_t count, std::string_view body) {
  char line[64];
  std::snprintf(line, sizeof line, "corpus of %zu inputs, CRC-32 %08x\n", count,
                crc32(std::as_bytes(std::span(body))));
  return line;
}

}  // namespace

std::vector<std::string> read_corpus(const std::filesystem::path& path) {
  const std::string file = read_bytes(path);
  const std::string_view body = std::string_view(file).substr(file.find('\n') + 1);
  std::string_view left = body;
  std::vector<std::string> inputs;
  while (const std::optional<std::string> input = take_input(left)) {
    inputs.push_back(*input);
  }
  if (!left.empty() || !file.starts_with(first_line(inputs.size(), body))) {
    throw std::runtime_error(path.string() + ": damaged, or no corpus");
  }
  if (inputs.empty()) {
    throw std::runtime_error(path.string() + ": a corpus without inputs");
  }
  return inputs;
}

std::string read_bytes(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    throw std::runtime_error(path.string() + ": can't be read");
  }
  return {std::istreambuf_iterator<char>(file), {}};
}
