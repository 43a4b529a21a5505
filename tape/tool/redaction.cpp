#include "tape/tool/redaction.h"

#include <algorithm>
#include <cstring>
#include <span>

#include "record_form/record_codec.h"
#include "record_form/record_shape.h"
#include "tape/vocabulary/call_shapes.h"
#include "tape/vocabulary/differences.h"
#include "tape/vocabulary/layouts.h"
#include "tape/vocabulary/record_names.h"

namespace tape {
namespace {

constexpr std::size_t kEntry = sizeof(kvr_TestLabel);
/// Shorter numbers would be taken for measured values.
constexpr std::size_t kShortestNumber = 4;

/// What kind of private text a member holds; empty for one that is none.
std::string kind_of(std::string_view member) {
  const std::string_view name = member.substr(member.rfind('.') + 1);
  if (name == "record_id" || name == "asset_id" || name == "group_id") {
    return "ID";
  }
  return name == "serial_number" ? "SERIAL" : "";
}

bool is_of_word(char letter) {
  return (letter >= '0' && letter <= '9') || (letter >= 'a' && letter <= 'z') ||
         (letter >= 'A' && letter <= 'Z');
}

bool may_be_a_value(const std::string& text) {
  return text.size() < kShortestNumber &&
         std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

}  // namespace

/// Visitor of record_shape.h that cleans each block of a nest.
class NestCleaner {
 public:
  explicit NestCleaner(Redaction& redaction) : redaction_(redaction) {}

  template <class Record>
  void record(Record& record) {
    redaction_.clean_block(std::string(name_of(record)), reinterpret_cast<char*>(&record),
                           sizeof record);
    describe(record, *this);
  }

  template <std::size_t size>
  void name(char (&)[size]) {}

  template <class Record>
  void one(Record*& link) {
    if (link != nullptr) {
      record(*link);
    }
  }

  template <class Record>
  void block(Record*& records, std::uint32_t count) {
    for (std::uint32_t i = 0; records != nullptr && i < count; ++i) {
      record(records[i]);
    }
  }

  template <class Record>
  void each(Record**& records, std::uint32_t count) {
    for (std::uint32_t i = 0; records != nullptr && i < count; ++i) {
      one(records[i]);
    }
  }

  void text(const char*&) {}

 private:
  Redaction& redaction_;
};

Tape Redaction::redacted(Tape tape) {
  for (const Event& event : tape.events) {
    collect(event.fields);
  }
  for (Event& event : tape.events) {
    clean(event);
  }
  return tape;
}

void Redaction::add_word(const std::string& kind, const std::string& text) {
  if (!text.empty() && !words_.contains(text)) {
    words_[text] = kind + "-" + std::to_string(++numbers_[kind]);
  }
}

void Redaction::collect(const Fields& fields) {
  for (const Field& field : fields) {
    const Value& value = field.value;
    if (value.kind == Value::Kind::kText && (field.name == "record_id" || field.name == "port")) {
      add_word(field.name == "port" ? "PORT" : "ID", value.bytes);
    } else if (value.kind == Value::Kind::kBlock) {
      collect_block(value.layout, value.bytes);
    } else if (value.kind == Value::Kind::kRecord) {
      for (const RecordPart& part : parts_of(value)) {
        collect_block(part.layout, part.bytes);
      }
    } else if (value.kind == Value::Kind::kList) {
      for (std::size_t at = 0; at + kEntry <= value.bytes.size(); at += kEntry) {
        collect_block("kvr_TestLabel", std::string_view(value.bytes).substr(at, kEntry));
      }
    }
  }
}

void Redaction::collect_block(const std::string& layout, std::string_view bytes) {
  const Layout* record = find_layout(layout);
  if (record == nullptr) {
    return;
  }
  for (const PlainMember& member : plain_members(*record)) {
    const std::string kind = kind_of(member.path);
    if (!kind.empty() && member.member.type == MemberType::kText) {
      const std::string_view text = bytes.substr(member.member.offset, member.member.size);
      add_word(kind, std::string(text.substr(0, text.find('\0'))));
    }
  }
}

void Redaction::clean(Event& event) {
  const std::string place = "line " + std::to_string(event.line) + ", " + event.name;
  if (event.kind == EventKind::kTyped) {
    event.name = without_words(event.name);
    doubts_.push_back("line " + std::to_string(event.line) + ", what was typed");
  }
  for (Field& field : event.fields) {
    Value& value = field.value;
    switch (value.kind) {
      case Value::Kind::kText: {
        const auto word = words_.find(value.bytes);
        value.bytes = word != words_.end() ? word->second : without_words(value.bytes);
        if (event.name == "status") {
          doubts_.push_back(place + ", text: " + in_quotes(value.bytes));
        }
        break;
      }
      case Value::Kind::kBlock:
        clean_block(value.layout, value.bytes.data(), value.bytes.size());
        break;
      case Value::Kind::kRecord:
        clean_record(value);
        if (value.raw) {
          value.raw = without_words(*value.raw);
          doubts_.push_back(place + ", raw data of " + std::to_string(value.raw->size()) +
                            " characters");
        }
        break;
      case Value::Kind::kList:
        for (std::size_t at = 0; at + kEntry <= value.bytes.size(); at += kEntry) {
          clean_block("kvr_TestLabel", value.bytes.data() + at, kEntry);
        }
        break;
      default:
        break;
    }
  }
}

void Redaction::clean_record(Value& value) {
  const auto bytes = std::as_bytes(std::span(value.bytes));
  if (value.content == Value::Content::kHead) {
    clean_block("kvr_TestRecord", value.bytes.data(), value.bytes.size());
    return;
  }
  if (value.content == Value::Content::kNone) {
    return;
  }
  const bool plain = value.content == Value::Content::kBlocks;
  const RecordNest nest = plain ? decode_plain_record(bytes) : decode_record(bytes);
  if (nest == nullptr) {
    throw TapeError("a record that can't be decoded can't be redacted either");
  }
  NestCleaner(*this).record(*nest);
  const auto encoded = plain ? encode_plain_record(*nest) : encode_record(*nest);
  value.bytes.assign(reinterpret_cast<const char*>(encoded->data()), encoded->size());
}

/// Private texts become their word, and every byte without a name becomes zero, also what stands
/// after the end of a text.
void Redaction::clean_block(const std::string& layout, char* bytes, std::size_t size) {
  std::string clean(size, '\0');
  const Layout* record = find_layout(layout);
  if (record == nullptr) {
    std::strncpy(clean.data(), bytes, size);
    std::memcpy(bytes, clean.data(), size);
    return;
  }
  for (const PlainMember& member : plain_members(*record)) {
    char* target = clean.data() + member.member.offset;
    const char* source = bytes + member.member.offset;
    if (member.member.type != MemberType::kText) {
      std::memcpy(target, source, member.member.size);
      continue;
    }
    const std::size_t length = ::strnlen(source, member.member.size);
    const std::string text(source, length);
    const auto word = words_.find(text);
    const std::string kept = word != words_.end() ? word->second : without_words(text);
    // A text that stays may fill its field without an end.
    kept.copy(target, kept == text ? length : member.member.size - 1);
  }
  std::memcpy(bytes, clean.data(), size);
}

/// Each word wherever it stands by itself, the longest first.
std::string Redaction::without_words(const std::string& text) const {
  std::vector<std::pair<std::string, std::string>> longest(words_.begin(), words_.end());
  std::stable_sort(longest.begin(), longest.end(), [](const auto& one, const auto& other) {
    return one.first.size() > other.first.size();
  });
  std::string result;
  std::size_t at = 0;
  while (at < text.size()) {
    const auto found = std::find_if(longest.begin(), longest.end(), [&](const auto& word) {
      const std::size_t end = at + word.first.size();
      return !may_be_a_value(word.first) && text.compare(at, word.first.size(), word.first) == 0 &&
             (at == 0 || !is_of_word(text[at - 1]) || !is_of_word(text[at])) &&
             (end == text.size() || !is_of_word(text[end]) || !is_of_word(text[end - 1]));
    });
    if (found == longest.end()) {
      result += text[at++];
    } else {
      result += found->second;
      at += found->first.size();
    }
  }
  return result;
}

}  // namespace tape
