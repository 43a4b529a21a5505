#include <map>
#include <ostream>
#include <set>

#include "tape/format/line_text.h"
#include "tape/format/reader.h"
#include "tape/format/sha256.h"
#include "tape/tool/commands.h"
#include "tape/tool/tape_comparison.h"
#include "tape/vocabulary/differences.h"
#include "tape/vocabulary/layouts.h"

#include "api/codes.h"

// The commands that only read: show, check, diff.

namespace tape {
namespace {

std::string seconds_text(std::int64_t nanoseconds) {
  constexpr std::int64_t kMicrosecond = 1000;
  constexpr std::int64_t kSecond = 1'000'000'000;
  std::string fraction = std::to_string(nanoseconds % kSecond / kMicrosecond);
  fraction.insert(0, 6 - fraction.size(), '0');
  return std::to_string(nanoseconds / kSecond) + "." + fraction;
}

std::string shown(const Field& field) {
  if (field.name == "code") {
    return std::to_string(field.value.number) + " " +
           std::string(CodeToText(static_cast<kvr_code>(field.value.number)));
  }
  return value_text(field.value);
}

std::string_view verb(EventKind kind) {
  switch (kind) {
    case EventKind::kCall:
      return "-> ";
    case EventKind::kReturn:
      return "<- ";
    case EventKind::kCallback:
      return "   <- callback ";
    case EventKind::kEnd:
      return "   -> end of callback ";
    case EventKind::kTyped:
      return "typed ";
    case EventKind::kFull:
      return "recording stopped: ";
    case EventKind::kClose:
      break;
  }
  return "process ended: ";
}

void show_block(std::ostream& out, const std::string& path, const std::string& layout,
                std::string_view bytes) {
  const Layout* record = find_layout(layout);
  if (record == nullptr || record->size != bytes.size()) {
    out << "        " << path << ": " << in_quotes(bytes.substr(0, bytes.find('\0'))) << '\n';
    return;
  }
  for (const PlainMember& member : plain_members(*record)) {
    out << "        " << path << "." << member.path << ": " << member_text(member, bytes);
    if (!member.member.unit.empty()) {
      out << ' ' << member.member.unit;
    }
    out << '\n';
  }
}

void show_fields(std::ostream& out, const Field& field) {
  const Value& value = field.value;
  if (value.kind == Value::Kind::kBlock) {
    show_block(out, field.name, value.layout, value.bytes);
  } else if (value.kind == Value::Kind::kRecord) {
    for (const RecordPart& part : parts_of(value)) {
      show_block(out, part.path.empty() ? field.name : field.name + "." + part.path, part.layout,
                 part.bytes);
    }
    if (value.raw) {
      out << "        " << field.name << ".raw: " << in_quotes(*value.raw) << '\n';
    }
  } else if (value.kind == Value::Kind::kList) {
    constexpr std::size_t kEntry = 580;
    for (std::size_t at = 0; at + kEntry <= value.bytes.size(); at += kEntry) {
      show_block(out, field.name + "[" + std::to_string(at / kEntry) + "]", "kvr_TestLabel",
                 std::string_view(value.bytes).substr(at, kEntry));
    }
  }
}

}  // namespace

int show(const ShowOptions& options, std::ostream& out) {
  const Tape tape = read_tape(options.tape);
  out << "recorded " << tape.header.time << " on " << tape.header.system << ", library "
      << tape.header.library << ", " << tape.header.library_size << " bytes, SHA-256 "
      << tape.header.library_sha256 << '\n';
  for (const Event& event : tape.events) {
    if (event.number < options.first || event.number > options.last) {
      continue;
    }
    out << event.number << "  " << seconds_text(event.time) << " s  thread " << event.thread << "  "
        << verb(event.kind)
        << (event.kind == EventKind::kTyped ? in_quotes(event.name) : event.name);
    for (const Field& field : event.fields) {
      out << "  " << field.name << "=" << shown(field);
    }
    out << '\n';
    if (options.fields) {
      for (const Field& field : event.fields) {
        show_fields(out, field);
      }
    }
  }
  for (const std::string& notice : tape.notices) {
    out << notice << '\n';
  }
  return kFine;
}

int check(const std::string& file, std::ostream& out) {
  const std::string text = read_file(file);
  const Tape tape = parse_tape(text);
  std::map<std::string, int> calls;
  std::set<int> threads;
  int callbacks = 0;
  for (const Event& event : tape.events) {
    threads.insert(event.thread);
    calls[event.name] += event.kind == EventKind::kCall ? 1 : 0;
    callbacks += event.kind == EventKind::kCallback ? 1 : 0;
  }
  threads.erase(0);
  out << "recorded " << tape.header.time << ", library " << tape.header.library << "\n"
      << text.size() << " bytes, " << tape.events.size() + 1 << " lines, " << threads.size()
      << " threads, " << callbacks << " callbacks\n"
      << "SHA-256 " << sha256(text) << '\n';
  for (const auto& [name, count] : calls) {
    if (count > 0) {
      out << "  " << name << ": " << count << '\n';
    }
  }
  const std::vector<std::string> found = shortcomings(tape);
  for (const std::string& each : found) {
    out << each << '\n';
  }
  out << (found.empty() ? "whole\n" : "not whole\n");
  return found.empty() ? kFine : kFound;
}

int diff(const std::string& first, const std::string& second, std::ostream& out) {
  const std::vector<std::string> found = tape_differences(read_tape(first), read_tape(second));
  for (const std::string& each : found) {
    out << each << '\n';
  }
  return found.empty() ? kFine : kFound;
}

}  // namespace tape
