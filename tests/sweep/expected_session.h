#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "support/scripted_client_api.h"

// What a whole session has to look like when one call of the client library goes wrong: told apart
// from the program, call by call and text by text, with nothing shared but the record layouts. The
// session that is told also types the answers, since what an operator is asked next depends on what
// went wrong before.

/// What goes wrong with a call.
enum class Wrong {
  kNothing,
  kCode,          ///< the code alone, out pointers null
  kCodeAndReply,  ///< the code, and the reply to some call of long ago
  kDelay,         ///< it takes its time
  kHang,          ///< it hangs until it is cancelled
  kNotFinite,     ///< numbers that are none
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
  bool throws = false;            ///< an exception leaves the program
  std::size_t kept_records = 0;   ///< handed out and rightly not given back
  std::size_t missing_lists = 0;  ///< given back although the library gave none
};

/// A session of `program` with its results in `results_folder`, at noon on 15 March 2021.
/// Console tester: a series of three, then a single test. Workbench: a three-phase series, one in
/// all modes, the record menu with all its items, then a single three-phase test.
ExpectedSession expected_session(Program program, const Fault& fault,
                                 const std::string& results_folder);

/// What matters of a call that came in, as in ExpectedCall::text.
std::string text_of_seen(const SeenCall& seen);
