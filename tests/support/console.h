#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <ios>
#include <mutex>
#include <optional>
#include <sstream>
#include <streambuf>
#include <string>
#include <string_view>

#include "support/processor_limit.h"

// An operator for one test: types the test's answers and reads the program's output.

/// What every prompt says to an answer that is no value of its kind.
inline const std::string kWrongValue = "Wrong value, Please enter again: ";

/// Keeps what is written to it. Several threads may write, as the program's threads do. A program
/// that writes more than kMostText would never end: the process then ends with a message.
class CapturedOutput : public std::streambuf {
 public:
  static constexpr std::size_t kMostText = 16 << 20;  // bytes

  std::string text() const;
  /// The text written before the last flush.
  std::string flushed_text() const;
  /// Waits until `part` has been written and flushed; its thread then no longer uses this output.
  /// False after ten seconds without it.
  bool wait_for(std::string_view part) const;
  /// Drops all text.
  void forget();
  /// Reserves so many bytes: up to there, writing allocates nothing.
  void reserve(std::size_t size);

 protected:
  int_type overflow(int_type character) override;
  std::streamsize xsputn(const char* characters, std::streamsize count) override;
  int sync() override;

 private:
  mutable std::mutex mutex_;
  mutable std::condition_variable flushes_;
  std::string text_;
  std::size_t flushed_ = 0;
};

/// The answers of an operator. After their end a program may wait for more if it pauses; if it asks
/// again and again without pauses, the process ends with a message.
class TypedAnswers : public std::stringbuf {
 public:
  explicit TypedAnswers(const std::string& answers);

  static constexpr int kSecondsAfterTheEnd = 2;  // of processor time

 protected:
  int_type underflow() override;

 private:
  std::string last_words_;  // made early, since some tests count allocations
  std::optional<ProcessorLimit> limit_;
};

/// Stands in for standard input and output while it lives. Both start as in a fresh program; their
/// buffers, states and formats are restored at the end. When the answers are used up the input is
/// at its end.
class Console {
 public:
  explicit Console(const std::string& answers = "");
  ~Console();
  Console(const Console&) = delete;
  Console& operator=(const Console&) = delete;

  std::string output() const { return output_.text(); }
  /// The output that an operator sees: what has been flushed.
  std::string visible_output() const { return output_.flushed_text(); }
  bool wait_for_output(std::string_view part) const { return output_.wait_for(part); }
  /// Reserves so many bytes of output: up to there, writing allocates nothing.
  void reserve_output(std::size_t size) { output_.reserve(size); }
  /// The answers that have not been read.
  std::string unread() const;

 private:
  mutable TypedAnswers input_;
  CapturedOutput& output_;
  std::ios saved_cin_{nullptr};
  std::ios saved_cout_{nullptr};
  std::streambuf* saved_input_;
  std::streambuf* saved_output_;
};

/// Runs an action the first time that the program is about to write a text with a given beginning.
class OutputWatcher : public std::streambuf {
 public:
  OutputWatcher(std::string_view beginning, std::function<void()> action);
  ~OutputWatcher() override;
  OutputWatcher(const OutputWatcher&) = delete;
  OutputWatcher& operator=(const OutputWatcher&) = delete;

 protected:
  int_type overflow(int_type character) override;
  std::streamsize xsputn(const char* characters, std::streamsize count) override;
  int sync() override;

 private:
  std::string_view beginning_;
  std::function<void()> action_;
  std::streambuf* target_;
};
