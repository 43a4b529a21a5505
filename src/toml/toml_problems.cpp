#include "toml/toml_problems.h"

#include <algorithm>

#include "toml/toml_keys.h"

namespace toml_file {

void Problems::add(unsigned line, std::string_view key, std::string_view what) {
  std::string text = line == 0 ? "-e" : file_name_ + ":" + std::to_string(line);
  text += ": ";
  if (!key.empty()) {
    text.append(key).append(": ");
  }
  text = on_one_line(text.append(what));
  if (said_.insert(text).second) {
    found_.push_back({line, std::move(text)});
  }
}

std::vector<std::string> Problems::in_order() const {
  std::vector<Found> sorted = found_;
  std::stable_sort(sorted.begin(), sorted.end(),
                   [](const Found& a, const Found& b) { return a.line < b.line; });
  std::vector<std::string> texts;
  texts.reserve(sorted.size());
  for (Found& found : sorted) {
    texts.push_back(std::move(found.text));
  }
  return texts;
}

}  // namespace toml_file
