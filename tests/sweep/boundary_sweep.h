#pragma once

#include <map>
#include <string>

#include "support/process.h"
#include "support/session_test.h"
#include "support/temporary_folder.h"
#include "sweep/expected_session.h"

/// Runs sessions of the whole program and compares them with the expected ones. All runs of a test
/// share a home and a working folder, emptied between runs.
class BoundarySweep : public SessionTest {
 protected:
  BoundarySweep();

  /// Prepares a fresh program whose library gives the expected session's answers.
  void prepare(const ExpectedSession& expected);
  /// Runs the program in this process. True when it ended by an exception.
  static bool run_program(Program program, int& exit_status);

  /// Every file that is there now, with its content.
  std::map<std::string, std::string> files() const;

  const TemporaryFolder home;
  const TemporaryFolder working_folder;
  const std::string results;  ///< the results folder, with a separator at its end

 private:
  const WorkingFolder in_working_folder_;
};

/// The calls of a session, a line each.
std::string lines_of(const std::vector<ExpectedCall>& calls);
/// The calls that were made, without those that cancel, a line each.
std::string lines_of(const std::vector<SeenCall>& calls);
