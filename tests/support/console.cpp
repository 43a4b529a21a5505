#include "support/console.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <deque>
#include <iostream>
#include <utility>

namespace {

/// The first words of the message about a program that no test can end.
std::string program_of_this_test() {
  const testing::TestInfo* const test = testing::UnitTest::GetInstance()->current_test_info();
  return test == nullptr
             ? "The program"
             : std::string("In ") + test->test_suite_name() + "." + test->name() + " the program";
}

}  // namespace

std::string CapturedOutput::text() const {
  const std::lock_guard lock(mutex_);
  return text_;
}

std::string CapturedOutput::flushed_text() const {
  const std::lock_guard lock(mutex_);
  return text_.substr(0, flushed_);
}

bool CapturedOutput::wait_for(std::string_view part) const {
  std::unique_lock lock(mutex_);
  return flushes_.wait_for(lock, std::chrono::seconds(10), [&] {
    const std::string_view text = text_;
    return text.substr(0, flushed_).find(part) != text.npos;
  });
}

CapturedOutput::int_type CapturedOutput::overflow(int_type character) {
  if (!traits_type::eq_int_type(character, traits_type::eof())) {
    const char written = traits_type::to_char_type(character);
    xsputn(&written, 1);
  }
  return traits_type::not_eof(character);
}

std::streamsize CapturedOutput::xsputn(const char* characters, std::streamsize count) {
  const std::lock_guard lock(mutex_);
  text_.append(characters, static_cast<std::size_t>(count));
  if (text_.size() > kMostText) {
    // No exception: the stream would swallow it, and the program would go on. No std::cerr either:
    // it flushes std::cout, which is this buffer.
    const std::string message = program_of_this_test() + " goes on and on, after " +
                                std::to_string(kMostText) +
                                " bytes of output. Is there no pause_at_end_of_input() where it "
                                "asks again? It ended with:\n" +
                                text_.substr(text_.size() - 200) + "\n";
    std::fputs(message.c_str(), stderr);
    std::abort();
  }
  return count;
}

void CapturedOutput::forget() {
  const std::lock_guard lock(mutex_);
  text_ = {};
  flushed_ = 0;
}

void CapturedOutput::reserve(std::size_t size) {
  const std::lock_guard lock(mutex_);
  text_.reserve(size);
}

int CapturedOutput::sync() {
  const std::lock_guard lock(mutex_);
  flushed_ = text_.size();
  flushes_.notify_all();
  return 0;
}

namespace {

/// Never destroyed: a detached thread may flush it after its console is gone, and the standard
/// library flushes it at the end of the process.
CapturedOutput& new_output() {
  static auto& outputs = *new std::deque<CapturedOutput>;
  return outputs.emplace_back();
}

}  // namespace

TypedAnswers::TypedAnswers(const std::string& answers)
    : std::stringbuf(answers, std::ios::in),
      last_words_(program_of_this_test() +
                  " goes round and round without a pause after the last answer. Is there no "
                  "pause_at_end_of_input() where it asks again?\n") {}

TypedAnswers::int_type TypedAnswers::underflow() {
  const int_type next = std::stringbuf::underflow();
  if (traits_type::eq_int_type(next, traits_type::eof()) && !limit_) {
    limit_.emplace(kSecondsAfterTheEnd, last_words_);
  }
  return next;
}

Console::Console(const std::string& answers) : input_(answers), output_(new_output()) {
  saved_cin_.copyfmt(std::cin);
  saved_cout_.copyfmt(std::cout);
  std::cout.copyfmt(std::ios(nullptr));
  saved_input_ = std::cin.rdbuf(&input_);  // clears the state too
  saved_output_ = std::cout.rdbuf(&output_);
}

Console::~Console() {
  std::cin.rdbuf(saved_input_);
  std::cout.rdbuf(saved_output_);
  std::cin.copyfmt(saved_cin_);
  std::cout.copyfmt(saved_cout_);
  output_.forget();
}

std::string Console::unread() const {
  const std::streamsize unread = input_.in_avail();
  return unread <= 0 ? "" : input_.str().substr(input_.str().size() - std::size_t(unread));
}

OutputWatcher::OutputWatcher(std::string_view beginning, std::function<void()> action)
    : beginning_(beginning), action_(std::move(action)), target_(std::cout.rdbuf(this)) {}

OutputWatcher::~OutputWatcher() {
  if (action_) {
    std::cout.rdbuf(target_);
  }
}

OutputWatcher::int_type OutputWatcher::overflow(int_type character) {
  return target_->sputc(traits_type::to_char_type(character));
}

std::streamsize OutputWatcher::xsputn(const char* characters, std::streamsize count) {
  if (std::string_view(characters, static_cast<std::size_t>(count)).starts_with(beginning_)) {
    std::cout.rdbuf(target_);  // so that threads started later never use this
    std::exchange(action_, nullptr)();
  }
  return target_->sputn(characters, count);
}

int OutputWatcher::sync() { return target_->pubsync(); }
