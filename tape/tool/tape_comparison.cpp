#include "tape/tool/tape_comparison.h"

#include <algorithm>
#include <charconv>
#include <map>

#include "tape/format/line_text.h"
#include "tape/vocabulary/differences.h"
#include "tape/vocabulary/layouts.h"

namespace tape {
namespace {

std::string place_of(const Event& event) {
  return "line " + std::to_string(event.line) + ", " + std::string(key_of(event.kind)) + " " +
         event.name;
}

/// Null for the end of a tape.
const Event* event_at(const Tape& tape, std::size_t at) {
  return at < tape.events.size() ? &tape.events[at] : nullptr;
}

std::string described(const Event* event) {
  return event == nullptr
             ? "the end of the tape"
             : std::string(key_of(event->kind)) + " " + event->name + " on thread " +
                   std::to_string(event->thread) + ", number " + std::to_string(event->number);
}

bool same_line(const Event* first, const Event* second) {
  return first != nullptr && second != nullptr && first->kind == second->kind &&
         first->name == second->name && first->thread == second->thread &&
         first->number == second->number;
}

void compare_headers(const TapeHeader& first, const TapeHeader& second,
                     std::vector<std::string>& found) {
  const auto compare = [&](const char* key, const std::string& one, const std::string& other) {
    if (one != other) {
      found.push_back(std::string("line 1, ") + key + ": " + in_quotes(one) + ", " +
                      in_quotes(other));
    }
  };
  compare("layouts", first.layouts, second.layouts);
  compare("system", first.system, second.system);
  compare("program", first.program, second.program);
  compare("time", first.time, second.time);
  compare("library.name", first.library, second.library);
  compare("library.sha256", first.library_sha256, second.library_sha256);
  compare("library.size", std::to_string(first.library_size), std::to_string(second.library_size));
}

}  // namespace

std::vector<std::string> tape_differences(const Tape& first, const Tape& second) {
  std::vector<std::string> found;
  compare_headers(first.header, second.header, found);
  for (std::size_t at = 0; at < std::max(first.events.size(), second.events.size()); ++at) {
    const Event* one = event_at(first, at);
    const Event* other = event_at(second, at);
    if (!same_line(one, other)) {
      found.push_back("line " + std::to_string((one != nullptr ? one : other)->line) + ": " +
                      described(one) + "; " + described(other));
      return found;
    }
    for (const Difference& each : differences(one->fields, other->fields)) {
      found.push_back(place_of(*one) + ", " + each.field + ": " + each.first + ", " + each.second);
    }
  }
  return found;
}

std::vector<std::string> shortcomings(const Tape& tape) {
  std::vector<std::string> found = tape.notices;
  std::map<std::uint64_t, const Event*> open;
  for (const Event& event : tape.events) {
    if (event.kind == EventKind::kCall || event.kind == EventKind::kCallback) {
      open[event.number] = &event;
    } else if (event.kind == EventKind::kReturn || event.kind == EventKind::kEnd) {
      open.erase(event.number);
    } else if (event.kind == EventKind::kFull) {
      found.push_back(place_of(event) + ": nothing was recorded after this");
    }
    for (const Field& field : event.fields) {
      if (field.value.content == Value::Content::kHead) {
        found.push_back(place_of(event) + ": only the head of the record could be kept");
      } else if (field.value.content != Value::Content::kNone && parts_of(field.value).empty()) {
        found.push_back(place_of(event) + ": the record can't be decoded");
      }
    }
  }
  for (const auto& [number, event] : open) {
    found.push_back(place_of(*event) + ": not answered");
  }
  if (tape.events.empty() ||
      std::none_of(tape.events.begin(), tape.events.end(), [](const Event& e) {
        return e.kind == EventKind::kClose || e.kind == EventKind::kFull;
      })) {
    found.push_back("no line says that the process ended in order");
  }
  return found;
}

}  // namespace tape
