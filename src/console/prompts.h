#pragma once

#include <cstdint>
#include <exception>
#include <string>

// The reading routines of the dialogue, on standard input and output. They block the main thread
// and write no line feed after their question. Line prompts keep their text between calls: a read
// from an input that is no longer good leaves it as it was.

/// Thrown by the routines here in place of an answer when the input has ended, in a program with
/// ends_with_its_input. An unterminated last line is an answer. Not a std::exception, since those
/// mean that an answer does not convert.
struct EndOfInput {};

/// One integer, asked again with a message until one is given. What follows it on the line stays in
/// the input, except for one character. At the end of input it never returns.
std::int32_t read_int();

/// A text for a prompt to keep its line in. It is never destroyed: the process can end on another
/// thread while the prompt reads.
std::string& make_kept_line();

/// Reads a line into `line`; leaves it alone when the input is no longer good.
void read_line(std::string& line);

/// Reads what stands up to the next white space into `word`.
void read_word(std::string& word);

/// Called before a prompt asks again: sleeps a moment if the input has ended, since the prompt
/// would otherwise repeat for ever at full speed.
void pause_at_end_of_input();

/// Calls `ask` and reads a line, again and again until `convert` takes the line. It refuses one by
/// throwing a std::exception. Returns what it returned.
template <typename Ask, typename Convert>
auto ask_until_it_converts(Ask ask, std::string& line, Convert convert) {
  while (true) {
    ask();
    read_line(line);
    try {
      return convert(line);
    } catch (const std::exception&) {
      pause_at_end_of_input();
    }
  }
}

/// A test ID that no stored record has, of at most 16 bytes; empty to leave the name to the
/// library.
std::string prompt_test_id();

/// Any record ID, unchecked. Good until the next call.
const char* prompt_record_id();

/// A CSV file name. Good until the next call. An empty answer gives ".csv", not nothing.
const char* prompt_csv_name();

/// Lets the operator switch raw_data_enabled.
void choose_raw_data();

/// A terminal pair of the high or of the low side, 1 to 6; any other answer leaves 1. `extra`
/// becomes 0.
void choose_high_side_phase(std::int32_t& phase, std::int32_t& extra);
void choose_low_side_phase(std::int32_t& phase, std::int32_t& extra);

/// A winding connection as kvr_WindingType: D, Y, YN, Z, ZN; any other answer gives D.
std::int32_t choose_winding_connection();

/// A nameplate ratio; 0 when none is given. Asked again until it converts.
double prompt_nameplate_ratio();

/// The local time as it stands in the name of an export folder.
std::string date_time_text();
