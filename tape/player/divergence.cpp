#include "tape/player/divergence.h"

namespace tape {

std::string Divergence::text() const {
  std::string text = "kvr-tape: " + form + "\n";
  text += "  recorded: " + recorded + "\n";
  text += "  now:      " + present + "\n";
  for (const Difference& field : fields) {
    text += "  " + field.field + ": recorded " + field.first + ", now " + field.second + "\n";
  }
  for (const std::string& each : before) {
    text += "  before: " + each + "\n";
  }
  return text;
}

std::string call_text(std::string_view name, const Fields& fields) {
  std::string text(name);
  for (const Field& field : fields) {
    text += " " + field.name + "=" + value_text(field.value);
  }
  return text;
}

std::string in_words(const Event& event) {
  const std::string place =
      "line " + std::to_string(event.line) + ", thread " + std::to_string(event.thread) + ": ";
  switch (event.kind) {
    case EventKind::kCall:
      return place + call_text(event.name, event.fields) + " is called";
    case EventKind::kReturn:
      return place + event.name + " returns" + call_text("", event.fields);
    case EventKind::kCallback:
      return place + "the " + call_text(event.name, event.fields) + " callback comes";
    case EventKind::kEnd:
      return place + "the " + event.name + " callback returns";
    default:
      return "line " + std::to_string(event.line) + ": " + event.name;
  }
}

}  // namespace tape
