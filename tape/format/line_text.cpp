#include "tape/format/line_text.h"

#include <charconv>

#include "tape/format/base64.h"

namespace tape {
namespace {

/// Appends keys and values of one JSON object.
class Object {
 public:
  explicit Object(std::string& text) : text_(text) { text_ += '{'; }

  void number(std::string_view key, std::int64_t value) {
    begin(key);
    char digits[24];
    text_.append(digits, std::to_chars(std::begin(digits), std::end(digits), value).ptr);
  }

  void text(std::string_view key, std::string_view value) {
    begin(key);
    quote(value);
  }

  void base64(std::string_view key, std::string_view bytes) {
    begin(key);
    text_ += '"';
    text_ += to_base64(bytes);
    text_ += '"';
  }

  void literal(std::string_view key, std::string_view value) {
    begin(key);
    text_ += value;
  }

  /// For an object as value: the caller writes it next.
  std::string& begin(std::string_view key) {
    text_ += first_ ? "\"" : ",\"";
    first_ = false;
    text_ += key;
    text_ += "\":";
    return text_;
  }

  void end() { text_ += '}'; }

 private:
  void quote(std::string_view value) {
    constexpr char kDigits[] = "0123456789abcdef";
    text_ += '"';
    for (const char letter : value) {
      const auto byte = static_cast<unsigned char>(letter);
      if (byte == '"' || byte == '\\') {
        text_ += '\\';
        text_ += letter;
      } else if (byte >= 0x20 && byte < 0x7f) {
        text_ += letter;
      } else if (byte == '\n') {
        text_ += "\\n";
      } else {
        text_ += "\\u00";
        text_ += kDigits[byte >> 4U];
        text_ += kDigits[byte & 15U];
      }
    }
    text_ += '"';
  }

  std::string& text_;
  bool first_ = true;
};

std::string_view content_key(Value::Content content) {
  switch (content) {
    case Value::Content::kForm:
      return "form";
    case Value::Content::kBlocks:
      return "blocks";
    default:
      return "head";
  }
}

void write_record(std::string& text, const Value& value) {
  Object record(text);
  record.number("record", value.number);
  if (value.content != Value::Content::kNone) {
    record.base64(content_key(value.content), value.bytes);
    if (value.others != 0) {
      record.number("others", value.others);
    }
    if (value.data_count) {
      record.number("data_count", *value.data_count);
    }
    if (value.raw) {
      record.text("raw", *value.raw);
    }
  }
  record.end();
}

void write_list(std::string& text, const Value& value) {
  Object list(text);
  list.number("list", value.number);
  if (value.has_entries) {
    list.base64("entries", value.bytes);
  }
  list.end();
}

void write(Object& line, const Field& field) {
  const Value& value = field.value;
  switch (value.kind) {
    case Value::Kind::kNothing:
      line.literal(field.name, "null");
      break;
    case Value::Kind::kNumber:
      line.number(field.name, value.number);
      break;
    case Value::Kind::kText:
      line.text(field.name, value.bytes);
      break;
    case Value::Kind::kBlock: {
      Object block(line.begin(field.name));
      block.base64(value.layout, value.bytes);
      block.end();
      break;
    }
    case Value::Kind::kRecord:
      write_record(line.begin(field.name), value);
      break;
    case Value::Kind::kList:
      write_list(line.begin(field.name), value);
      break;
  }
}

}  // namespace

std::string_view key_of(EventKind kind) {
  switch (kind) {
    case EventKind::kCall:
      return "call";
    case EventKind::kReturn:
      return "return";
    case EventKind::kCallback:
      return "callback";
    case EventKind::kEnd:
      return "end";
    case EventKind::kTyped:
      return "typed";
    case EventKind::kFull:
      return "full";
    case EventKind::kClose:
      break;
  }
  return "close";
}

std::string line_of(const TapeHeader& header) {
  std::string text;
  Object line(text);
  line.number("kvr_tape", header.version);
  line.text("layouts", header.layouts);
  line.text("system", header.system);
  line.text("program", header.program);
  line.text("time", header.time);
  {
    Object library(line.begin("library"));
    library.text("name", header.library);
    library.number("size", static_cast<std::int64_t>(header.library_size));
    library.text("sha256", header.library_sha256);
    library.end();
  }
  line.end();
  return text + '\n';
}

std::string line_of(const Event& event) {
  std::string text;
  Object line(text);
  line.text(key_of(event.kind), event.name);
  if (is_of_client(event.kind) || is_of_library(event.kind)) {
    line.number("n", static_cast<std::int64_t>(event.number));
  }
  line.number("t", event.time);
  if (is_of_client(event.kind) || is_of_library(event.kind)) {
    line.number("thread", event.thread);
  }
  if (event.kind == EventKind::kTyped) {
    line.number("n", static_cast<std::int64_t>(event.number));
    line.literal("optional", "true");
  }
  for (const Field& field : event.fields) {
    write(line, field);
  }
  line.end();
  text += '\n';
  return text;
}

}  // namespace tape
