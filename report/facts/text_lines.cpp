#include "report/facts/text_lines.h"

#include <charconv>
#include <limits>

namespace report {

std::vector<std::string_view> lines_of(std::string_view text) {
  std::vector<std::string_view> lines = split(text, '\n');
  for (std::string_view& line : lines) {
    if (line.ends_with('\r')) {
      line.remove_suffix(1);
    }
  }
  return lines;
}

std::vector<std::string_view> split(std::string_view line, char separator) {
  std::vector<std::string_view> parts;
  for (std::size_t begin = 0; begin <= line.size();) {
    const std::size_t end = std::min(line.find(separator, begin), line.size());
    parts.push_back(line.substr(begin, end - begin));
    begin = end + 1;
  }
  return parts;
}

std::pair<std::string_view, std::string_view> halves(std::string_view line, char separator) {
  const std::size_t end = std::min(line.find(separator), line.size());
  return {line.substr(0, end), line.substr(std::min(end + 1, line.size()))};
}

std::string_view trimmed(std::string_view text) {
  constexpr std::string_view kSpace = " \t\r\n";
  const std::size_t begin = std::min(text.find_first_not_of(kSpace), text.size());
  const std::size_t end = text.find_last_not_of(kSpace);
  return text.substr(begin, end == std::string_view::npos ? 0 : end + 1 - begin);
}

double number_in(std::string_view text) {
  double number = 0;
  const std::string_view digits = trimmed(text);
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  return error == std::errc() && end == digits.data() + digits.size()
             ? number
             : std::numeric_limits<double>::quiet_NaN();
}

}  // namespace report
