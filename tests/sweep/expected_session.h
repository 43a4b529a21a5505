#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "support/scripted_client_api.h"

// The expected course of a whole session in which one call of the client library fails: written
// independently of the program, call by call and text by text; the two share only the record
// layouts. The expected session also holds the operator's answers, since the next question depends
// on what failed before.

/// What goes wrong with a call.
enum class Wrong {
  kNothing,
  kCode,          ///< the code alone, out pointers null
  kCodeAndReply,  ///< the code, and the reply to some call of long ago
  kDelay,         ///< the call takes long
  kHang,          ///< it hangs until it is cancelled
  kNotFinite,     ///< numbers that are NaN or infinite
  kFullTexts,     ///< texts that fill their fields to the last byte
  kNullRecord,    ///< a record whose texts and arrays are missing
  kLost,          ///< the connection is lost while it runs
};

struct Fault {
  std::size_t call = 0;  ///< the n-th of the session, from 0
  Wrong wrong = Wrong::kNothing;
  std::int32_t code = 0;
  bool for_ever = false;  ///< from then on, each call of that name

  std::string text() const;
};

enum class Program { kConsoleTester, kWorkbench };

struct ExpectedCall {
  ApiCall call;
  std::string text;  ///< name and what matters of the arguments
  ScriptedAnswer answer;
};

struct ExpectedSession {
  std::string answers;
  std::vector<ExpectedCall> calls;
  std::string output;
  std::map<std::string, std::string> files;  ///< by their full names
  std::set<std::string> open_files;          ///< when a lost connection ended the program
  int exit_status = 0;
  bool throws = false;            ///< the program ends by an exception
  std::size_t kept_records = 0;   ///< returned by calls and deliberately not freed
  std::size_t missing_lists = 0;  ///< freed although the library returned none
};

/// A session of `program` with its results in `results_folder`, at noon on 15 March 2021.
/// Console tester: a series of three, then a single test. Workbench: a three-phase series, one in
/// all modes, the record menu with all its items, then a single three-phase test.
ExpectedSession expected_session(Program program, const Fault& fault,
                                 const std::string& results_folder);

/// A call that was made, in the form of ExpectedCall::text.
std::string text_of_seen(const SeenCall& seen);
