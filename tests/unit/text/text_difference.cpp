#include "unit/text/text_difference.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace {

/// Lines keep their line ends, so that a missing last one is a difference.
std::vector<std::string> lines_of(const std::string& text) {
  std::vector<std::string> lines;
  std::size_t begin = 0;
  while (begin < text.size()) {
    const std::size_t end = std::min(text.find('\n', begin), text.size() - 1) + 1;
    lines.push_back(text.substr(begin, end - begin));
    begin = end;
  }
  return lines;
}

void append(std::string& difference, char mark, const std::string& line) {
  difference += mark + line;
  difference += line.ends_with('\n') ? "" : "(no line end)\n";
}

}  // namespace

std::string text_difference(const std::string& expected, const std::string& actual) {
  constexpr std::ptrdiff_t kContext = 2;
  constexpr std::ptrdiff_t kShown = 6;
  if (expected == actual) {
    return {};
  }
  const std::vector<std::string> old_lines = lines_of(expected);
  const std::vector<std::string> new_lines = lines_of(actual);
  const auto [old_at, new_at] =
      std::mismatch(old_lines.begin(), old_lines.end(), new_lines.begin(), new_lines.end());
  std::string difference = "from line " + std::to_string(old_at - old_lines.begin() + 1) + " on:\n";
  for (auto line = old_at - std::min(kContext, old_at - old_lines.begin()); line != old_at;
       ++line) {
    append(difference, ' ', *line);
  }
  for (auto line = old_at; line != old_at + std::min(kShown, old_lines.end() - old_at); ++line) {
    append(difference, '-', *line);
  }
  for (auto line = new_at; line != new_at + std::min(kShown, new_lines.end() - new_at); ++line) {
    append(difference, '+', *line);
  }
  return difference;
}
