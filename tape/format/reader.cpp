#include "tape/format/reader.h"

#include <fstream>
#include <iterator>
#include <map>
#include <nlohmann/json.hpp>
#include <set>

#include "tape/format/base64.h"
#include "tape/format/line_text.h"
#include "tape/vocabulary/call_shapes.h"

namespace tape {
namespace {

using Json = nlohmann::json;

constexpr std::size_t kLongestLine = std::size_t{256} << 20U;
constexpr std::uintmax_t kLargestFile = std::uintmax_t{4} << 30U;
constexpr int kDeepestLine = 8;
constexpr std::int64_t kMostThreads = 1'000'000;
constexpr std::size_t kLabelSize = 580;
constexpr std::size_t kRecordSize = 696;

/// The fault of a line; parse_tape() adds the line in front.
struct BadLine : std::runtime_error {
  using std::runtime_error::runtime_error;
};

[[noreturn]] void fail(std::string_view key, const std::string& what) {
  throw BadLine("\"" + std::string(key) + "\": " + what);
}

const Json& required(const Json& line, std::string_view key) {
  const auto found = line.find(key);
  if (found == line.end()) {
    fail(key, "missing");
  }
  return *found;
}

std::int64_t number_of(const Json& value, std::string_view key, std::int64_t least,
                       std::int64_t most) {
  if (!value.is_number_integer() ||
      (value.is_number_unsigned() && value.get<std::uint64_t>() > INT64_MAX)) {
    fail(key, "not a whole number");
  }
  const auto number = value.get<std::int64_t>();
  if (number < least || number > most) {
    fail(key, std::to_string(number) + " is not from " + std::to_string(least) + " to " +
                  std::to_string(most));
  }
  return number;
}

std::int64_t number_at(const Json& line, std::string_view key, std::int64_t least,
                       std::int64_t most) {
  return number_of(required(line, key), key, least, most);
}

/// The bytes of a text, each of which is the character of its number.
std::string text_of(const Json& value, std::string_view key) {
  if (!value.is_string()) {
    fail(key, "not a text");
  }
  std::string bytes;
  const auto& text = value.get_ref<const std::string&>();
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    if (byte < 0x80) {
      bytes += text[i];
    } else if ((byte == 0xC2 || byte == 0xC3) && i + 1 < text.size()) {
      bytes += static_cast<char>((byte & 3U) << 6U | (static_cast<unsigned char>(text[++i]) & 63U));
    } else {
      fail(key, "a character above U+00FF");
    }
  }
  return bytes;
}

/// A text as the boundary has them: it ends at its first zero byte, so it holds none.
std::string c_text_of(const Json& value, std::string_view key) {
  std::string text = text_of(value, key);
  if (text.find('\0') != std::string::npos) {
    fail(key, "a zero character within a text");
  }
  return text;
}

std::string bytes_of(const Json& value, std::string_view key) {
  std::optional<std::string> bytes = from_base64(text_of(value, key));
  if (!bytes) {
    fail(key, "not base64");
  }
  return *std::move(bytes);
}

const Json& object_of(const Json& value, std::string_view key) {
  if (!value.is_object()) {
    fail(key, "not an object");
  }
  return value;
}

Value block_of(const Json& json, const FieldShape& shape) {
  Value value;
  value.kind = Value::Kind::kBlock;
  value.layout = shape.layout;
  value.bytes = bytes_of(required(object_of(json, shape.name), shape.layout), shape.layout);
  if (value.bytes.size() != block_size(shape.layout)) {
    fail(shape.layout, std::to_string(value.bytes.size()) + " bytes instead of " +
                           std::to_string(block_size(shape.layout)));
  }
  return value;
}

Value record_of(const Json& json, std::string_view key) {
  Value value;
  value.kind = Value::Kind::kRecord;
  value.number = number_at(object_of(json, key), "record", 0, INT64_MAX);
  constexpr std::pair<std::string_view, Value::Content> kContents[] = {
      {"form", Value::Content::kForm},
      {"blocks", Value::Content::kBlocks},
      {"head", Value::Content::kHead}};
  for (const auto& [name, content] : kContents) {
    if (!json.contains(name)) {
      continue;
    }
    if (value.content != Value::Content::kNone) {
      fail(name, "a second content of one record");
    }
    value.content = content;
    value.bytes = bytes_of(json.at(std::string(name)), name);
  }
  if (value.content == Value::Content::kHead && value.bytes.size() != kRecordSize) {
    fail("head", "not the size of a record");
  }
  if (json.contains("others")) {
    value.others = static_cast<std::uint32_t>(number_at(json, "others", 0, 1023));
  }
  if (json.contains("data_count")) {
    value.data_count = static_cast<std::uint32_t>(number_at(json, "data_count", 0, UINT32_MAX));
  }
  if (json.contains("raw")) {
    value.raw = c_text_of(json.at("raw"), "raw");
  }
  return value;
}

Value list_of(const Json& json, std::string_view key) {
  Value value;
  value.kind = Value::Kind::kList;
  value.number = number_at(object_of(json, key), "list", 0, INT64_MAX);
  if (json.contains("entries")) {
    value.has_entries = true;
    value.bytes = bytes_of(json.at("entries"), "entries");
    if (value.bytes.size() % kLabelSize != 0) {
      fail("entries", "not a whole number of entries");
    }
  }
  return value;
}

Value value_of(const Json& json, const FieldShape& shape) {
  if (json.is_null()) {
    if (!shape.may_be_null) {
      fail(shape.name, "null");
    }
    return {};
  }
  switch (shape.kind) {
    case FieldShape::Kind::kNumber:
      return Value::of(number_of(json, shape.name, INT32_MIN, INT32_MAX));
    case FieldShape::Kind::kText: {
      Value value;
      value.kind = Value::Kind::kText;
      value.bytes = c_text_of(json, shape.name);
      return value;
    }
    case FieldShape::Kind::kBlock:
      return block_of(json, shape);
    case FieldShape::Kind::kRecord:
      return record_of(json, shape.name);
    case FieldShape::Kind::kList:
      break;
  }
  return list_of(json, shape.name);
}

Fields fields_of(const Json& line, std::span<const FieldShape> shapes) {
  Fields fields;
  for (const FieldShape& shape : shapes) {
    fields.push_back({std::string(shape.name), value_of(required(line, shape.name), shape)});
  }
  return fields;
}

TapeHeader header_of(const Json& line) {
  TapeHeader header;
  header.version = static_cast<int>(number_at(line, "kvr_tape", 0, INT32_MAX));
  if (header.version != kFormatVersion) {
    fail("kvr_tape", "version " + std::to_string(header.version) + " is not known here");
  }
  header.layouts = text_of(required(line, "layouts"), "layouts");
  header.system = text_of(required(line, "system"), "system");
  header.program = text_of(required(line, "program"), "program");
  header.time = text_of(required(line, "time"), "time");
  const Json& library = object_of(required(line, "library"), "library");
  header.library = text_of(required(library, "name"), "name");
  header.library_size = static_cast<std::uint64_t>(number_at(library, "size", 0, INT64_MAX));
  header.library_sha256 = text_of(required(library, "sha256"), "sha256");
  return header;
}

/// Lines that have to fit each other: what is left is what was entered on the same thread.
class Nesting {
 public:
  void follow(const Event& event) {
    auto& open = open_[event.thread];
    switch (event.kind) {
      case EventKind::kCall:
      case EventKind::kCallback:
        if (!numbers_.insert(event.number).second) {
          fail("n", std::to_string(event.number) + " was there before");
        }
        open.push_back({event.kind, event.name, event.number});
        break;
      case EventKind::kReturn:
      case EventKind::kEnd: {
        const EventKind entered =
            event.kind == EventKind::kReturn ? EventKind::kCall : EventKind::kCallback;
        if (open.empty() || open.back() != Entered{entered, event.name, event.number}) {
          fail("n", std::to_string(event.number) +
                        " is not what this thread entered last and has not left");
        }
        open.pop_back();
        break;
      }
      default:
        break;
    }
  }

 private:
  struct Entered {
    EventKind kind;
    std::string name;
    std::uint64_t number;
    bool operator==(const Entered&) const = default;
  };

  std::set<std::uint64_t> numbers_;
  std::map<int, std::vector<Entered>> open_;
};

/// Nothing for an unknown kind that calls itself optional.
std::optional<EventKind> kind_of(const Json& line) {
  for (const EventKind kind :
       {EventKind::kCall, EventKind::kReturn, EventKind::kCallback, EventKind::kEnd,
        EventKind::kTyped, EventKind::kFull, EventKind::kClose}) {
    if (line.contains(key_of(kind))) {
      return kind;
    }
  }
  const auto optional = line.find("optional");
  if (optional != line.end() && optional->is_boolean() && optional->get<bool>()) {
    return std::nullopt;
  }
  throw BadLine("a line of an unknown kind");
}

std::optional<Event> event_of(const Json& line) {
  const std::optional<EventKind> kind = kind_of(line);
  if (!kind) {
    return std::nullopt;
  }
  Event event;
  event.kind = *kind;
  event.name = text_of(required(line, key_of(*kind)), key_of(*kind));
  event.time = number_at(line, "t", 0, INT64_MAX);
  if (*kind == EventKind::kTyped) {
    event.number = static_cast<std::uint64_t>(number_at(line, "n", 0, INT64_MAX));
  }
  if (!is_of_client(*kind) && !is_of_library(*kind)) {
    return event;
  }
  event.number = static_cast<std::uint64_t>(number_at(line, "n", 1, INT64_MAX));
  event.thread = static_cast<int>(number_at(line, "thread", 1, kMostThreads));
  const bool of_call = *kind == EventKind::kCall || *kind == EventKind::kReturn;
  const CallShape* shape = of_call ? find_call(event.name) : find_callback(event.name);
  if (shape == nullptr) {
    fail(key_of(*kind), "no such name: " + event.name);
  }
  const bool entering = *kind == EventKind::kCall || *kind == EventKind::kCallback;
  event.fields = fields_of(line, entering ? shape->in : shape->out);
  return event;
}

/// One line as JSON, of bounded depth and with each key once.
Json json_of(std::string_view line) {
  std::vector<std::set<std::string>> keys;
  const auto follow = [&](int depth, Json::parse_event_t event, Json& parsed) {
    if (depth > kDeepestLine) {
      throw BadLine("nested too deep");
    }
    if (event == Json::parse_event_t::object_start) {
      keys.emplace_back();
    } else if (event == Json::parse_event_t::object_end) {
      keys.pop_back();
    } else if (event == Json::parse_event_t::key &&
               !keys.back().insert(parsed.get<std::string>()).second) {
      fail(parsed.get<std::string>(), "there twice");
    }
    return true;
  };
  try {
    Json json = Json::parse(line, follow);
    if (!json.is_object()) {
      throw BadLine("not an object");
    }
    return json;
  } catch (const Json::exception&) {
    throw BadLine("not JSON");
  }
}

}  // namespace

Tape parse_tape(std::string_view text) {
  Tape tape;
  Nesting nesting;
  std::size_t number = 0;
  bool closed = false;
  while (!text.empty()) {
    ++number;
    const std::size_t length = text.find('\n');
    if (length == std::string_view::npos) {
      tape.notices.push_back("line " + std::to_string(number) + ": cut off, not read");
      break;
    }
    try {
      if (length > kLongestLine) {
        throw BadLine("longer than any line can be");
      }
      const Json line = json_of(text.substr(0, length));
      if (number == 1) {
        tape.header = header_of(line);
      } else if (std::optional<Event> event = event_of(line)) {
        if (closed && event->kind != EventKind::kTyped) {
          throw BadLine("a line after the end");
        }
        closed = closed || event->kind == EventKind::kFull || event->kind == EventKind::kClose;
        event->line = number;
        nesting.follow(*event);
        tape.events.push_back(*std::move(event));
      } else {
        tape.notices.push_back("line " + std::to_string(number) + ": of an unknown kind, optional");
      }
    } catch (const BadLine& bad) {
      throw TapeError("line " + std::to_string(number) + ": " + bad.what());
    }
    text.remove_prefix(length + 1);
  }
  if (tape.header.system.empty()) {
    throw TapeError("line 1: no first line of a tape");
  }
  return tape;
}

std::string read_file(const std::filesystem::path& file) {
  std::error_code error;
  const std::uintmax_t size = std::filesystem::file_size(file, error);
  if (!error && size > kLargestFile) {
    throw TapeError(file.string() + ": larger than 4 GiB");
  }
  std::ifstream in(file, std::ios::binary);
  if (!in || error) {
    throw TapeError(file.string() + ": can't be read");
  }
  std::string text(static_cast<std::size_t>(size), '\0');
  in.read(text.data(), static_cast<std::streamsize>(text.size()));
  text.resize(static_cast<std::size_t>(in.gcount()));
  return text;
}

Tape read_tape(const std::filesystem::path& file) { return parse_tape(read_file(file)); }

}  // namespace tape
