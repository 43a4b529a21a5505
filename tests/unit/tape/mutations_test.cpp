#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <random>
#include <utility>

#include "tape/format/line_text.h"
#include "tape/format/reader.h"
#include "tape/player/simulated_client.h"
#include "tape/tool/tape_comparison.h"
#include "unit/tape/sample_tape.h"

// Random changes of a tape. Each must be refused by the reader, named by the comparison, or leave
// no difference in what the tape says; and what is played to the client of the unchanged tape must
// come to an end, with a word about every change that reaches the client. KVR_TAPE_CHANGES is the
// number of changes.

namespace {

using namespace tape;

constexpr int kUsualChanges = 300;
constexpr std::chrono::milliseconds kPatience{50};

std::vector<std::string> lines_of(const std::string& text) {
  std::vector<std::string> lines;
  std::size_t begin = 0;
  while (begin < text.size()) {
    const std::size_t end = text.find('\n', begin) + 1;
    lines.push_back(text.substr(begin, end - begin));
    begin = end;
  }
  return lines;
}

std::string joined(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) {
    text += line;
  }
  return text;
}

class Changer {
 public:
  explicit Changer(unsigned seed) : random_(seed) {}

  std::string changed(const std::string& text) {
    std::vector<std::string> lines = lines_of(text);
    const std::size_t at = below(lines.size());
    switch (below(6)) {
      case 0:
        lines.erase(lines.begin() + static_cast<std::ptrdiff_t>(at));
        return joined(lines);
      case 1:
        lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(at), lines[at]);
        return joined(lines);
      case 2:
        std::swap(lines[at], lines[below(lines.size())]);
        return joined(lines);
      case 3:
        return text.substr(0, below(text.size()));
      case 4: {  // one digit
        std::string& line = lines[at];
        std::vector<std::size_t> digits;
        for (std::size_t i = 0; i < line.size(); ++i) {
          if (line[i] >= '0' && line[i] <= '9') {
            digits.push_back(i);
          }
        }
        if (!digits.empty()) {
          line[digits[below(digits.size())]] = static_cast<char>('0' + below(10));
        }
        return joined(lines);
      }
      default: {  // any byte
        std::string& line = lines[at];
        line[below(line.size())] = static_cast<char>(below(256));
        return joined(lines);
      }
    }
  }

 private:
  std::size_t below(std::size_t count) {
    return std::uniform_int_distribution<std::size_t>(0, count - 1)(random_);
  }

  std::mt19937 random_;
};

/// What a tape says: everything but times and line numbers.
std::string meaning(const Tape& tape) {
  TapeHeader header = tape.header;
  std::string text = line_of(header);
  for (Event event : tape.events) {
    event.time = 0;
    text += line_of(event);
  }
  return text;
}

/// What each thread of the client meets, in its order. The end of a thread's last callback is left
/// out: a process may end within it, and that is a matter of time.
std::map<int, std::string> client_view(const Tape& tape) {
  std::map<int, std::string> threads;
  std::map<int, std::string> ends;
  for (Event event : tape.events) {
    if (is_of_client(event.kind) || is_of_library(event.kind)) {
      event.time = 0;
      event.number = 1;
      if (event.kind == EventKind::kEnd) {
        ends[event.thread] += line_of(event);
      } else {
        threads[event.thread] += std::exchange(ends[event.thread], {}) + line_of(event);
      }
    }
  }
  return threads;
}

int changes() {
  const char* number = std::getenv("KVR_TAPE_CHANGES");
  return number == nullptr ? kUsualChanges : std::atoi(number);
}

TEST(TapeMutations, EachChangeIsNamedOrWithoutMeaning) {
  const std::string text = sample_tape();
  const Tape tape = parse_tape(text);
  int refused = 0;
  int named = 0;
  int seen_by_client = 0;
  int without_meaning = 0;
  for (int i = 0; i < changes(); ++i) {
    Changer changer(static_cast<unsigned>(i));
    const std::string other_text = changer.changed(text);
    SCOPED_TRACE("change " + std::to_string(i));
    Tape other;
    try {
      other = parse_tape(other_text);
    } catch (const TapeError& error) {
      EXPECT_EQ(std::string(error.what()).substr(0, 5), "line ");
      ++refused;
      continue;
    }
    const std::vector<std::string> found = tape_differences(tape, other);
    if (found.empty() && tape.notices == other.notices) {
      EXPECT_EQ(meaning(tape), meaning(other));
      EXPECT_EQ(simulate(other, tape), std::vector<std::string>{});
      ++without_meaning;
      continue;
    }
    ++named;
    EXPECT_EQ((found.empty() ? other.notices : found).front().substr(0, 5), "line ");
    const std::vector<std::string> played = simulate(other, tape, kPatience);  // comes to an end
    if (client_view(tape) != client_view(other)) {
      EXPECT_FALSE(played.empty());
      ++seen_by_client;
    }
  }
  std::cout << changes() << " changes: " << refused << " refused, " << named << " named, "
            << seen_by_client << " of them to the client, " << without_meaning
            << " without meaning\n";
  EXPECT_GT(refused, 0);
  EXPECT_GT(seen_by_client, 0);
}

TEST(TapeMutations, ATapeCutAtAnyLengthIsReadUpToThereOrRefused) {
  const std::string text = sample_tape();
  const Tape tape = parse_tape(text);
  const std::size_t first = text.find('\n') + 1;
  for (std::size_t length = 0; length < text.size(); ++length) {
    SCOPED_TRACE(length);
    if (length < first) {
      EXPECT_THROW(parse_tape(text.substr(0, length)), TapeError);
      continue;
    }
    const Tape cut = parse_tape(text.substr(0, length));
    EXPECT_LT(cut.events.size(), tape.events.size());
    EXPECT_EQ(cut.notices.empty(), text[length - 1] == '\n');
    EXPECT_FALSE(shortcomings(cut).empty());
  }
}

TEST(TapeMutations, EveryFieldThatTheClientSeesIsComparedWhenPlayed) {
  const std::string text = sample_tape();
  const Tape tape = parse_tape(text);
  EXPECT_EQ(simulate(tape, tape), std::vector<std::string>{});
  for (std::size_t i = 0; i < tape.events.size(); ++i) {
    for (std::size_t field = 0; field < tape.events[i].fields.size(); ++field) {
      SCOPED_TRACE(tape.events[i].name + " " + tape.events[i].fields[field].name);
      Tape other = tape;
      Value& value = other.events[i].fields[field].value;
      if (value.kind == Value::Kind::kNumber) {
        value.number += 1;
      } else if (value.bytes.empty()) {
        value = Value::of(1);
      } else {
        value.bytes.back() = static_cast<char>(value.bytes.back() + 1);
      }
      EXPECT_FALSE(tape_differences(tape, other).empty());
      EXPECT_FALSE(simulate(other, tape, kPatience).empty());
    }
  }
}

}  // namespace
