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

// An operator for one test: types the answers that the test gives and reads what the program says.

/// Keeps what is written to it. Several threads may write, as the program's threads do. A program
/// that writes more than any does in a test goes on for ever: it ends the process, which says so.
class CapturedOutput : public std::streambuf {
 public:
  static constexpr std::size_t kMostText = 16 << 20;  // bytes

  std::string text() const;
  /// What had been written when the stream was last flushed.
  std::string flushed_text() const;
  /// Waits until `part` has been written and flushed: the thread that wrote it is then through with
  /// this output. False when it hasn't come in ten seconds.
  bool wait_for(std::string_view part) const;
  /// Starts again with nothing.
  void forget();
  /// Has room for so many bytes: until then, writing needs no memory.
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

/// The answers of an operator. A program that has met their end may wait for more, with pauses; one
/// that asks again and again without any ends the process, which says so.
class TypedAnswers : public std::stringbuf {
 public:
  explicit TypedAnswers(const std::string& answers);

  static constexpr int kSecondsAfterTheEnd = 2;  // of processor time

 protected:
  int_type underflow() override;

 private:
  std::string last_words_;  // made early: tests that count allocations are no place for it
  std::optional<ProcessorLimit> limit_;
};

/// Stands in for standard input and output while it lives. Both start as in a fresh program, and
/// get back their buffers, states and formats at the end. When the answers are used up the input is
/// at its end.
class Console {
 public:
  explicit Console(const std::string& answers = "");
  ~Console();
  Console(const Console&) = delete;
  Console& operator=(const Console&) = delete;

  std::string output() const { return output_.text(); }
  /// What an operator sees: the output that has been flushed.
  std::string visible_output() const { return output_.flushed_text(); }
  bool wait_for_output(std::string_view part) const { return output_.wait_for(part); }
  /// Has room for so much output: until then, writing needs no memory.
  void reserve_output(std::size_t size) { output_.reserve(size); }
  /// The answers that nobody has read.
  std::string unread() const;

 private:
  mutable TypedAnswers input_;
  CapturedOutput& output_;
  std::ios saved_cin_{nullptr};
  std::ios saved_cout_{nullptr};
  std::streambuf* saved_input_;
  std::streambuf* saved_output_;
};

/// Does something when the program is about to write a text that begins so, the first time.
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
