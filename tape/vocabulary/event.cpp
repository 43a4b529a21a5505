#include "tape/vocabulary/event.h"

#include <algorithm>

namespace tape {

Value Value::of(std::int64_t number) {
  Value value;
  value.kind = Kind::kNumber;
  value.number = number;
  return value;
}

Value Value::text(const char* text) {
  Value value;
  if (text != nullptr) {
    value.kind = Kind::kText;
    value.bytes = text;
  }
  return value;
}

Value Value::block(std::string_view layout, const void* record, std::size_t size) {
  Value value;
  if (record != nullptr) {
    value.kind = Kind::kBlock;
    value.layout = layout;
    value.bytes.assign(static_cast<const char*>(record), size);
  }
  return value;
}

const Value* find_field(const Fields& fields, std::string_view name) {
  const auto found = std::find_if(fields.begin(), fields.end(),
                                  [&](const Field& field) { return field.name == name; });
  return found == fields.end() ? nullptr : &found->value;
}

}  // namespace tape
