#include "console/prompts.h"

#include <iostream>

#include "api/client_api.h"
#include "common/clock.h"
#include "console/session.h"
#include "console/stop_handling.h"
#include "platform/platform.h"

namespace {

constexpr std::int32_t kEndOfInputPauseMs = 100;
constexpr std::size_t kLongestTestId = 16;  // bytes

/// Called after a read: an empty line starts tests, so it must not stand for the end of a terminal,
/// nor for the end of an input that ends the program.
void leave_ended_input() {
  while (!std::cin && platform::input_terminal_is_closed()) {
    sleep_ms(kEndOfInputPauseMs);  // event 2 ends the process
  }
  if (ends_with_its_input && std::cin.eof() && std::cin.fail()) {
    throw EndOfInput();
  }
}

void discard_line() {
  while (std::cin.get() != '\n') {
    pause_at_end_of_input();
  }
}

}  // namespace

void pause_at_end_of_input() {
  if (!std::cin) {
    const AwaitingAnswer awaiting;
    leave_ended_input();
    sleep_ms(kEndOfInputPauseMs);
  }
}

std::int32_t read_int() {
  const AwaitingAnswer awaiting;
  std::int32_t value = 0;
  std::cin >> value;
  while (std::cin.fail()) {
    leave_ended_input();
    std::cin.clear();
    discard_line();
    std::cout << "Wrong value, Please enter again: ";
    std::cin >> value;
  }
  std::cin.ignore();
  return value;
}

std::string& make_kept_line() { return *new std::string; }

void read_line(std::string& line) {
  const AwaitingAnswer awaiting;
  std::getline(std::cin, line);
  leave_ended_input();
}

void read_word(std::string& word) {
  const AwaitingAnswer awaiting;
  std::cin >> word;
  leave_ended_input();
}

std::string prompt_test_id() {
  static std::string& line = make_kept_line();
  bool exists = false;  // not cleared between answers: a library that fails leaves it as it was
  while (true) {
    std::cout << "Test ID (leave empty for date/time): ";
    read_line(line);
    if (line.empty()) {
      return line;
    }
    kvr_CheckRecordExists(line.c_str(), &exists);
    if (exists) {
      std::cout << "Already exists. Please choose a different Test ID\n";
    }
    const bool too_long = line.size() > kLongestTestId;
    if (too_long) {
      std::cout << "Test ID is too long. You can't use ID longer than 16 symbols\n";
    }
    if (!exists && !too_long) {
      return line;
    }
    pause_at_end_of_input();
  }
}

const char* prompt_record_id() {
  static std::string& line = make_kept_line();
  std::cout << "Test ID: ";
  read_line(line);
  return line.c_str();
}

const char* prompt_csv_name() {
  static std::string& line = make_kept_line();
  std::cout << "CSV filename (leave empty for none): ";
  read_line(line);
  line += ".csv";
  return line.c_str();
}

void choose_raw_data() {
  std::cout << "1. Create RAW Data File\n"
               "2. No Show RAW Data\n"
               "0. Cancel\n";
  const std::int32_t choice = read_int();
  if (choice == 1) {
    raw_data_enabled = true;
  } else if (choice == 2) {
    raw_data_enabled = false;
  }
}

namespace {

void choose_phase(const char* menu, std::int32_t& phase, std::int32_t& extra) {
  phase = 1;
  extra = 0;
  std::cout << menu;
  const std::int32_t choice = read_int();
  if (choice >= 1 && choice <= 6) {
    phase = choice;
  }
}

}  // namespace

void choose_high_side_phase(std::int32_t& phase, std::int32_t& extra) {
  choose_phase(
      "1. Ratio Phase H1-H2\n"
      "2. Ratio Phase H2-H3\n"
      "3. Ratio Phase H3-H1\n"
      "4. Ratio Phase H1-H0\n"
      "5. Ratio Phase H2-H0\n"
      "6. Ratio Phase H3-H0\n",
      phase, extra);
}

void choose_low_side_phase(std::int32_t& phase, std::int32_t& extra) {
  choose_phase(
      "1. Ratio Phase X1-X2\n"
      "2. Ratio Phase X2-X3\n"
      "3. Ratio Phase X3-X1\n"
      "4. Ratio Phase X1-X0\n"
      "5. Ratio Phase X2-X0\n"
      "6. Ratio Phase X3-X0\n",
      phase, extra);
}

std::int32_t choose_winding_connection() {
  std::cout << "1. D\n"
               "2. Y\n"
               "3. Yn\n"
               "4. Z\n"
               "5. Zn\n";
  const std::int32_t choice = read_int();
  return choice >= 2 && choice <= 5 ? choice : 1;
}

double prompt_nameplate_ratio() {
  static std::string& line = make_kept_line();
  return ask_until_it_converts(
      [] { std::cout << "Nameplate ratio N:1 (leave empty for none): "; }, line,
      [](const std::string& answer) { return answer.empty() ? 0.0 : std::stod(answer); });
}

std::string date_time_text() { return local_time_text(program_clock.now(), "%Y%m%d_%H_%M_%S"); }
