#pragma once

#include <map>
#include <string>
#include <vector>

#include "tape/format/reader.h"

// Takes private texts out of a tape: record, asset and group IDs, the serial number, the port. Each
// gets one word that stands for it everywhere, in arguments, records, raw data, status texts and
// typed answers, so that the tape still replays. Reserved bytes become zero.
namespace tape {

class Redaction {
 public:
  Tape redacted(Tape tape);

  /// What was replaced, and by which word.
  const std::map<std::string, std::string>& words() const { return words_; }

  /// What only a person can judge: free texts that stay but for the words in them.
  const std::vector<std::string>& doubts() const { return doubts_; }

 private:
  void collect(const Fields& fields);
  void collect_block(const std::string& layout, std::string_view bytes);
  void add_word(const std::string& kind, const std::string& text);
  void clean(Event& event);
  void clean_record(Value& value);
  void clean_block(const std::string& layout, char* bytes, std::size_t size);
  std::string without_words(const std::string& text) const;

  std::map<std::string, std::string> words_;
  std::map<std::string, int> numbers_;
  std::vector<std::string> doubts_;

  friend class NestCleaner;
};

}  // namespace tape
