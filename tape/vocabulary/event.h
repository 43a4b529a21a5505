#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// One line of a tape as data. The recorder makes events and writes them, the reader makes them from
// lines, the player compares what happens with them.
namespace tape {

/// What an argument or an output is. Bytes are kept in strings.
struct Value {
  enum class Kind : std::uint8_t { kNothing, kNumber, kText, kBlock, kRecord, kList };

  /// How much of a record is kept: nothing (it is known, or was never looked at), its stored form,
  /// its plain blocks, or its outermost block alone.
  enum class Content : std::uint8_t { kNone, kForm, kBlocks, kHead };

  Kind kind = Kind::kNothing;
  Content content = Content::kNone;
  std::uint32_t others = 0;  ///< of a record: families that are not null and were not followed
  std::int64_t number = 0;   ///< a number; of a record or list its name, 0 for an unknown one
  std::string layout;        ///< of a block
  std::string bytes;         ///< of a text, block, record (without raw data) or list
  std::optional<std::string> raw;  ///< of a record: its raw data
  /// Of a record whose arrays are longer than it says: what it says. Its content says how long they
  /// are.
  std::optional<std::uint32_t> data_count;
  bool has_entries = false;  ///< of a list: the entries are kept

  bool operator==(const Value&) const = default;

  static Value of(std::int64_t number);
  static Value text(const char* text);  ///< nothing for null
  static Value block(std::string_view layout, const void* record, std::size_t size);
};

struct Field {
  std::string name;
  Value value;

  bool operator==(const Field&) const = default;
};

using Fields = std::vector<Field>;

const Value* find_field(const Fields& fields, std::string_view name);

enum class EventKind : std::uint8_t {
  kCall,      ///< the client enters a call
  kReturn,    ///< the library returns from it
  kCallback,  ///< the library enters a callback
  kEnd,       ///< the client returns from it
  kTyped,     ///< something was typed into the client's terminal
  kFull,      ///< nothing is written from here on
  kClose,     ///< the process ended in order
};

/// Whether the client makes this line happen, and not the library.
inline bool is_of_client(EventKind kind) {
  return kind == EventKind::kCall || kind == EventKind::kEnd;
}

inline bool is_of_library(EventKind kind) {
  return kind == EventKind::kReturn || kind == EventKind::kCallback;
}

struct Event {
  EventKind kind = EventKind::kCall;
  std::string name;          ///< of the call or callback; why a tape is full
  std::uint64_t number = 0;  ///< the same for entering and leaving
  std::int64_t time = 0;     ///< ns since the recording began
  int thread = 0;            ///< in order of appearance
  Fields fields;
  std::size_t line = 0;  ///< in the file, from 1
};

/// The first line of a tape.
struct TapeHeader {
  int version = 1;
  std::string layouts;  ///< fingerprint of the record layouts, in hexadecimal
  std::string system;
  std::string program;  ///< version of the recorder
  std::string time;     ///< with its offset
  std::string library;  ///< file name of the library behind
  std::uint64_t library_size = 0;
  std::string library_sha256;
};

inline constexpr int kFormatVersion = 1;

}  // namespace tape
