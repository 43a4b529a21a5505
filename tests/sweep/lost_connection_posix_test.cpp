#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>

#include "sweep/boundary_sweep.h"

// A lost connection ends the process, so that each run has one of its own, a fork of this one. On
// Windows, where there is no fork, the tests of the callbacks end a few processes in the same way.

namespace {

/// What the child of a run leaves behind.
const Console* console_of_child = nullptr;
std::string report_of_child;

void write_report() {
  std::ofstream(report_of_child) << lines_of(scripted_api().log()) << "---\n"
                                 << console_of_child->output();
}

class LostConnection : public BoundarySweep {
 protected:
  bool check(Program program, const Fault& fault) {
    const ExpectedSession expected = expected_session(program, fault, results);
    prepare(expected);
    std::fflush(nullptr);  // or each child writes it again
    const pid_t child = fork();
    if (child == 0) {
      run_child(program, expected);
    }
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status)) << status;
    EXPECT_EQ(WEXITSTATUS(status), expected.exit_status);
    EXPECT_EQ(report(), lines_of(expected.calls) + "---\n" + expected.output);
    expect_whole_beginnings(expected);
    return !HasFailure();
  }

  void check_all(Program program) {
    const std::size_t calls = expected_session(program, {.call = SIZE_MAX}, results).calls.size();
    for (std::size_t call = 0; call < calls; ++call) {
      const Fault fault = {call, Wrong::kLost, 0, false};
      ASSERT_TRUE(check(program, fault)) << fault.text();
    }
  }

  /// Files that were finished are whole; of one that was being filled, what has not reached the
  /// disk is lost, and nothing else stands in its place.
  void expect_whole_beginnings(const ExpectedSession& expected) const {
    const auto found = files();
    for (const auto& [name, content] : expected.files) {
      const auto file = found.find(name);
      ASSERT_NE(file, found.end()) << name;
      EXPECT_TRUE(content.starts_with(file->second)) << name << "\n" << file->second;
      if (expected.open_files.count(name) == 0) {
        EXPECT_EQ(file->second, content) << name;
      }
    }
    EXPECT_EQ(found.size(), expected.files.size());
  }

 private:
  std::string report() const {
    std::ifstream file(report_file_);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  }

  [[noreturn]] void run_child(Program program, const ExpectedSession& expected) const {
    use_as_standard_input("");  // no person is asked for a key
    const Console console(expected.answers);
    console_of_child = &console;
    report_of_child = report_file_;
    std::atexit(write_report);
    int exit_status = 0;
    run_program(program, exit_status);
    std::_Exit(99);  // it came back
  }

  const TemporaryFolder reports_;
  const std::string report_file_ = reports_.prefix() + "report";
};

TEST_F(LostConnection, AtAnyCallOfTheConsoleTester) { check_all(Program::kConsoleTester); }

TEST_F(LostConnection, AtAnyCallOfTheWorkbench) { check_all(Program::kWorkbench); }

}  // namespace
