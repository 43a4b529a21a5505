#include "console/prompts.h"

#include <gmock/gmock.h>

#include <climits>
#include <iostream>
#include <string>
#include <vector>

#include "console/session.h"
#include "support/session_test.h"

namespace {

using testing::Each;
using testing::IsEmpty;

/// Reads the next line, to see what a prompt has left.
std::string next_line() {
  std::string line;
  std::getline(std::cin, line);
  return line;
}

class ReadInt : public SessionTest {};

TEST_F(ReadInt, TakesANumberAndItsLineFeed) {
  const Console console("42\nrest\n");
  EXPECT_EQ(read_int(), 42);
  EXPECT_EQ(console.unread(), "rest\n");
  EXPECT_EQ(console.output(), "");
}

TEST_F(ReadInt, TakesSigns) {
  const Console console("-7\n+8\n");
  EXPECT_EQ(read_int(), -7);
  EXPECT_EQ(read_int(), 8);
}

TEST_F(ReadInt, TakesTheWholeRangeOfAnInt) {
  const Console console("2147483647\n-2147483648\n");
  EXPECT_EQ(read_int(), INT_MAX);
  EXPECT_EQ(read_int(), INT_MIN);
  EXPECT_EQ(console.output(), "");
}

TEST_F(ReadInt, AsksAgainForANumberTooLarge) {
  const Console console("2147483648\n-99999999999999999999\n5\n");
  EXPECT_EQ(read_int(), 5);
  EXPECT_EQ(console.output(), kWrongValue + kWrongValue);
}

TEST_F(ReadInt, AsksAgainOnceForALineOfLetters) {
  const Console console("not a number 5\n3\n");
  EXPECT_EQ(read_int(), 3);
  EXPECT_EQ(console.output(), kWrongValue);
  EXPECT_EQ(console.unread(), "");
}

TEST_F(ReadInt, AsksVisibly) {
  const Console console("x\n3\n");
  read_int();
  EXPECT_EQ(console.visible_output(), kWrongValue);
}

TEST_F(ReadInt, WaitsForAnotherLineAfterAnEmptyOne) {
  const Console console("\n \t\n\n9\nrest\n");
  EXPECT_EQ(read_int(), 9);
  EXPECT_EQ(console.output(), "");
  EXPECT_EQ(console.unread(), "rest\n");
}

TEST_F(ReadInt, DiscardsExactlyOneCharacterAfterTheNumber) {
  const Console console("2x\nline\n");
  EXPECT_EQ(read_int(), 2);
  EXPECT_EQ(console.unread(), "\nline\n");
  EXPECT_EQ(next_line(), "");
  EXPECT_EQ(next_line(), "line");
}

TEST_F(ReadInt, SkipsTheLineFeedThatAnEarlierAnswerLeft) {
  const Console console("2x\n3\n");
  EXPECT_EQ(read_int(), 2);
  EXPECT_EQ(read_int(), 3);
  EXPECT_EQ(console.output(), "");
}

TEST_F(ReadInt, LeavesTheRestOfALineToTheNextRead) {
  const Console console("12 13\n1.5\n");
  EXPECT_EQ(read_int(), 12);
  EXPECT_EQ(read_int(), 13);
  EXPECT_EQ(read_int(), 1);
  EXPECT_EQ(console.unread(), "5\n");
}

TEST_F(ReadInt, ReadsDecimalDigitsOnly) {
  const Console console("0x10\n010\n");
  EXPECT_EQ(read_int(), 0);
  EXPECT_EQ(console.unread(), "10\n010\n");
  EXPECT_EQ(read_int(), 10);
  EXPECT_EQ(read_int(), 10);
}

TEST_F(ReadInt, TakesANumberThatEndsTheInput) {
  const Console console("6");
  EXPECT_EQ(read_int(), 6);
}

TEST_F(ReadInt, NeverReturnsAtTheEndOfInput) {
  end_waiting(clock, 50);
  const Console console("");
  EXPECT_THROW(read_int(), WaitedForEver);
  EXPECT_EQ(console.output(), "");
  EXPECT_THAT(clock.sleeps_ms(), Each(100));
}

TEST_F(ReadInt, NeverReturnsWhenALineOfLettersEndsTheInput) {
  end_waiting(clock, 50);
  const Console console("letters");
  EXPECT_THROW(read_int(), WaitedForEver);
  EXPECT_EQ(console.output(), "");
}

TEST_F(ReadInt, NeverReturnsAfterANumberThatEndedTheInput) {
  end_waiting(clock, 50);
  const Console console("6");
  EXPECT_EQ(read_int(), 6);
  EXPECT_THROW(read_int(), WaitedForEver);
  EXPECT_EQ(console.output(), "");
}

TEST_F(ReadInt, DoesNotPauseBetweenCharacters) {
  const Console console("a long line that is thrown away\n1\n");
  read_int();
  EXPECT_THAT(clock.sleeps, IsEmpty());
}

class ReadLine : public SessionTest {};

TEST_F(ReadLine, TakesAWholeLineWithoutItsLineFeed) {
  const Console console(" two words \nnext\n");
  std::string line = "before";
  read_line(line);
  EXPECT_EQ(line, " two words ");
  EXPECT_EQ(console.unread(), "next\n");
}

TEST_F(ReadLine, KeepsCarriageReturns) {
  const Console console("word\r\n");
  std::string line;
  read_line(line);
  EXPECT_EQ(line, "word\r");
}

TEST_F(ReadLine, LeavesTheLineAloneOnceTheInputHasEnded) {
  const Console console("last");
  std::string line;
  read_line(line);
  EXPECT_EQ(line, "last");
  read_line(line);
  EXPECT_EQ(line, "last");
}

class PauseAtEndOfInput : public SessionTest {};

TEST_F(PauseAtEndOfInput, PausesOnlyAtTheEndOfInput) {
  const Console console("a");
  pause_at_end_of_input();
  EXPECT_THAT(clock.sleeps, IsEmpty());
  next_line();
  next_line();
  pause_at_end_of_input();
  EXPECT_EQ(clock.sleeps_ms(), std::vector<std::int64_t>{100});
}

// Where the program ends with its input, in place of an answer and without a pause.

class AtTheEndOfInput : public SessionTest {
 protected:
  AtTheEndOfInput() { ends_with_its_input = true; }
  ~AtTheEndOfInput() override { EXPECT_THAT(clock.sleeps, IsEmpty()); }
};

TEST_F(AtTheEndOfInput, ANumberIsNoLongerWaitedFor) {
  const Console console("");
  EXPECT_THROW(read_int(), EndOfInput);
  EXPECT_EQ(console.output(), "");
}

TEST_F(AtTheEndOfInput, ANumberWithoutALineFeedIsAnAnswer) {
  const Console console("6");
  EXPECT_EQ(read_int(), 6);
  EXPECT_THROW(read_int(), EndOfInput);
}

TEST_F(AtTheEndOfInput, ANumberIsNotAskedForAgain) {
  for (const char* const answers : {"letters", "-", "2147483648"}) {
    const Console console(answers);
    EXPECT_THROW(read_int(), EndOfInput) << answers;
    EXPECT_EQ(console.output(), "") << answers;
  }
}

TEST_F(AtTheEndOfInput, ANumberIsAskedForAgainOnceAfterALineOfLetters) {
  const Console console("letters\n");
  EXPECT_THROW(read_int(), EndOfInput);
  EXPECT_EQ(console.output(), kWrongValue);
}

TEST_F(AtTheEndOfInput, ALineIsNoLongerWaitedFor) {
  const Console console("\nlast");
  std::string line;
  read_line(line);
  EXPECT_EQ(line, "");
  read_line(line);
  EXPECT_EQ(line, "last");
  EXPECT_THROW(read_line(line), EndOfInput);
}

TEST_F(AtTheEndOfInput, AWordIsNoLongerWaitedFor) {
  const Console console("\n\nY");
  std::string word;
  read_word(word);
  EXPECT_EQ(word, "Y");
  EXPECT_THROW(read_word(word), EndOfInput);
}

TEST_F(AtTheEndOfInput, APauseIsNotMade) {
  const Console console("a");
  pause_at_end_of_input();
  next_line();
  next_line();
  EXPECT_THROW(pause_at_end_of_input(), EndOfInput);
}

TEST_F(AtTheEndOfInput, NoPromptHasAnAnswer) {
  api.answer_always(ApiCall::CheckRecordExists, {.exists = true});
  for (const char* const answers : {"", "x"}) {
    const auto expect_end = [answers](auto prompt) {
      const Console console(answers);
      EXPECT_THROW(
          {
            prompt();  // some take the last line
            prompt();
          },
          EndOfInput)
          << answers;
    };
    expect_end(prompt_test_id);
    expect_end(prompt_record_id);
    expect_end(prompt_csv_name);
    expect_end(choose_raw_data);
    expect_end(choose_winding_connection);
    expect_end(prompt_nameplate_ratio);
  }
}

TEST_F(AtTheEndOfInput, AFailureThatIsNoEndIsNone) {
  const Console console("5\n");
  std::cin.setstate(std::ios::failbit);
  std::string line = "before";
  read_line(line);
  EXPECT_EQ(line, "before");
}

}  // namespace
