#include "tape/format/tolerance.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "tape/format/reader.h"

namespace tape {

Tolerance::Tolerance(const std::string& file) {
  const auto json = nlohmann::json::parse(read_file(file), nullptr, false);
  if (!json.is_object() || !json.contains("fields") || !json["fields"].is_array()) {
    throw TapeError(file + ": not an object with a list of \"fields\"");
  }
  for (const auto& field : json["fields"]) {
    if (!field.is_string()) {
      throw TapeError(file + ": \"fields\" holds what is no text");
    }
    fields_.insert(field.get<std::string>());
  }
}

bool Tolerance::allows(std::string_view call, const std::string& field) const {
  return std::any_of(fields_.begin(), fields_.end(), [&](const std::string& allowed) {
    for (const std::string& name : {std::string(call) + "." + field, "*." + field}) {
      const bool open_end = !allowed.empty() && allowed.back() == '*';
      if (name == allowed ||
          (open_end && name.starts_with(allowed.substr(0, allowed.size() - 1)))) {
        return true;
      }
    }
    return false;
  });
}

}  // namespace tape
