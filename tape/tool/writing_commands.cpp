#include <fstream>
#include <map>
#include <ostream>
#include <set>

#include "tape/format/line_text.h"
#include "tape/format/reader.h"
#include "tape/player/simulated_client.h"
#include "tape/tool/commands.h"
#include "tape/tool/redaction.h"
#include "tape/vocabulary/differences.h"
#include "tape/vocabulary/layouts.h"

// The commands that make a file from a tape: cut, redact, to-session.

namespace tape {
namespace {

void write_new(const std::string& file, const Tape& tape) {
  if (std::filesystem::exists(file)) {
    throw CommandError{file + " exists"};
  }
  std::ofstream out(file, std::ios::binary);
  out << line_of(tape.header);
  for (const Event& event : tape.events) {
    out << line_of(event);
  }
  out.close();
  if (!out) {
    throw CommandError{file + ": can't be written"};
  }
}

/// A tape that can't be played is not kept.
void require_playable(const Tape& tape) {
  if (const std::vector<std::string> wrong = simulate(tape, tape); !wrong.empty()) {
    throw CommandError{"the result would not replay: " + wrong.front()};
  }
}

std::string text_member(const std::string& layout, std::string_view name, std::string_view bytes) {
  for (const Member& member : find_layout(layout)->members) {
    if (member.name == name) {
      const std::string_view text = bytes.substr(member.offset, member.size);
      return std::string(text.substr(0, text.find('\0')));
    }
  }
  return {};
}

/// The ID of the record that a line is about; empty when it is about none.
std::string record_id_of(const Event& event) {
  for (const Field& field : event.fields) {
    if (field.name == "record_id") {
      return field.value.bytes;
    }
    if (field.name == "header" && field.value.kind == Value::Kind::kBlock) {
      return text_member("kvr_TestRequestHeader", "record_id", field.value.bytes);
    }
    if (field.value.kind == Value::Kind::kRecord) {
      for (const RecordPart& part : parts_of(field.value)) {
        return text_member(part.layout, "record_id", part.bytes);
      }
    }
  }
  return {};
}

/// Numbers of the calls and callbacks that are about other records than the one that is wanted, and
/// of all that happened on their threads within them.
std::set<std::uint64_t> lines_of_others(const Tape& tape, const std::string& record_id) {
  std::map<std::uint64_t, std::string> about;  // what a call turns out to be about
  std::map<std::int64_t, std::string> held;    // records by name
  for (const Event& event : tape.events) {
    const std::string id = record_id_of(event);
    if (!id.empty()) {
      about[event.number] = id;
    }
    for (const Field& field : event.fields) {
      if (field.value.kind != Value::Kind::kRecord) {
        continue;
      }
      if (event.kind == EventKind::kReturn) {
        held[field.value.number] = about[event.number];
      } else if (event.name == "kvr_FreeTestRecord") {
        about[event.number] = held[field.value.number];
      }
    }
  }
  std::set<std::uint64_t> others;
  std::map<int, std::uint64_t> dropped;  // by thread: the outermost call that is dropped
  std::uint64_t blocking = 0;  // a dropped test, to which callbacks on other threads belong
  for (const Event& event : tape.events) {
    const bool enters = event.kind == EventKind::kCall || event.kind == EventKind::kCallback;
    const auto found = about.find(event.number);
    const bool of_other =
        found != about.end() && !found->second.empty() && found->second != record_id;
    if (enters && (of_other || dropped[event.thread] != 0 || blocking != 0)) {
      others.insert(event.number);
      if (dropped[event.thread] == 0) {
        dropped[event.thread] = event.number;
      }
      if (event.name.starts_with("kvr_Test_") && blocking == 0) {
        blocking = event.number;
      }
    } else if (!enters && dropped[event.thread] == event.number) {
      dropped[event.thread] = 0;
    }
    if (!enters && blocking == event.number) {
      blocking = 0;
    }
  }
  return others;
}

/// Bytes as a section of a session file has them.
std::string session_text(const std::string& bytes) {
  std::string text;
  for (const char letter : bytes) {
    if (letter == '\\') {
      text += "\\\\";
    } else if (letter == '\r') {
      text += '\n';
    } else if (letter == '\n' || (letter >= ' ' && letter <= '~')) {
      text += letter;
    } else {
      text += "\\x" + hexadecimal(std::string_view(&letter, 1));
    }
  }
  if (!text.empty() && text.back() != '\n') {
    text += "\\\n";
  }
  return text;
}

}  // namespace

int cut(const std::string& file, const std::string& record_id, const std::string& result,
        std::ostream& out) {
  Tape tape = read_tape(file);
  const std::size_t before = tape.events.size();
  const std::set<std::uint64_t> others = lines_of_others(tape, record_id);
  std::erase_if(tape.events, [&](const Event& event) { return others.contains(event.number); });
  std::erase_if(tape.events, [](const Event& event) { return event.kind == EventKind::kTyped; });
  bool found = false;
  for (const Event& event : tape.events) {
    found = found || record_id_of(event) == record_id;
  }
  if (!found) {
    throw CommandError{"no record " + in_quotes(record_id) + " on " + file};
  }
  require_playable(tape);
  write_new(result, tape);
  out << before + 1 << " lines, " << tape.events.size() + 1 << " of them kept\n";
  return kFine;
}

int redact(const std::string& file, const std::string& result, std::ostream& out) {
  Redaction redaction;
  const Tape tape = redaction.redacted(read_tape(file));
  require_playable(tape);
  write_new(result, tape);
  for (const auto& [text, word] : redaction.words()) {
    out << word << " stands for " << in_quotes(text) << '\n';
  }
  for (const std::string& doubt : redaction.doubts()) {
    out << "not judged: " << doubt << '\n';
  }
  return kFine;
}

int to_session(const std::string& file, std::ostream& out) {
  const Tape tape = read_tape(file);
  out << "What was recorded on " << tape.header.time << ".\n\n---- tape "
      << std::filesystem::path(file).stem().string() << "\n\n---- answers\n";
  for (const Event& event : tape.events) {
    if (event.kind == EventKind::kTyped) {
      out << session_text(event.name);
    }
  }
  out << "\n---- output\n\n---- ends with\nstatus 0\n\n---- no files\n";
  return kFine;
}

}  // namespace tape
