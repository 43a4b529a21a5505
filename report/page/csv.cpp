#include "report/page/csv.h"

#include "report/page/front_matter.h"

namespace report {
namespace {

std::string quoted(const std::string& text) {
  if (text.find_first_of(",;\"\n\r") == std::string::npos) {
    return text;
  }
  std::string result = "\"";
  for (const char character : text) {
    result += character == '"' ? "\"\"" : std::string(1, character);
  }
  return result + "\"";
}

}  // namespace

std::string csv_text(const Table& table, const Settings& settings) {
  const char separator = settings.has_decimal_comma() ? ';' : ',';
  std::string text = "\n";
  for (const Column& column : table.columns) {
    text += quoted(column.heading + (column.unit.empty() ? "" : " in " + column.unit)) + separator;
  }
  text.back() = '\n';
  for (const auto& row : table.rows) {
    for (std::size_t i = 0; i < row.size(); ++i) {
      const std::string& value = row[i].exact.empty() ? row[i].shown : row[i].exact;
      text += table.columns[i].is_number ? localized(value, settings) : quoted(value);
      text += separator;
    }
    text.back() = '\n';
  }
  return text;
}

}  // namespace report
