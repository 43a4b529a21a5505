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

// A lost connection ends the process, so each run is a fork of this process. On Windows, where
// there is no fork, the tests of the callbacks end a few processes in the same way.

namespace {

/// For the exit handler of the forked child.
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
    std::fflush(nullptr);  // otherwise each child writes it again
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

  /// Finished files are whole. An open file holds a beginning of its content: what had not reached
  /// the disk is lost.
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
    use_as_standard_input("");  // the child must not wait for a person's key
    const Console console(expected.answers);
    console_of_child = &console;
    report_of_child = report_file_;
    std::atexit(write_report);
    int exit_status = 0;
    run_program(program, exit_status);
    std::_Exit(99);  // the program returned
  }

  const TemporaryFolder reports_;
  const std::string report_file_ = reports_.prefix() + "report";
};

TEST_F(LostConnection, AtAnyCallOfTheConsoleTester) { check_all(Program::kConsoleTester); }

TEST_F(LostConnection, AtAnyCallOfTheWorkbench) { check_all(Program::kWorkbench); }

}  // namespace
