#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <csignal>
#include <filesystem>

#include "faults/failing_files_posix.h"
#include "faults/faults_test.h"

// The n-th open, write or close fails, for every n; that one alone or all from there on. The disk
// is full from any byte on; the folder can't be written. Only what was not yet written is lost: the
// run goes on to its end with its usual output, and the next run writes all its files.

namespace {

namespace fs = std::filesystem;
using failing_files::Call;

class FileFaults : public FaultsTest {
 protected:
  /// The message about a report that can't be written is the only difference.
  void expect_same_words(std::string output, const Outcome& whole) const {
    const std::string warning =
        "WARNING: Could not open file for write: " + results.prefix() + "T1.csv\n";
    if (const std::size_t at = output.find(warning); at != std::string::npos) {
      output.erase(at, warning.size());
    }
    EXPECT_EQ(output, whole.output);
  }

  Outcome run(const Scene& scene) {
    const Console console(scene.answers);
    scene.action();
    return {console.output(), {}};
  }

  /// After a short write on a disk that is full only for a moment, the standard library keeps the
  /// whole buffer and writes it again at closing. So a part can stand twice; all else must be a
  /// beginning of the expected content.
  static void expect_beginnings_and_buffers(const Files& actual, const Files& whole) {
    for (const auto& [name, content] : actual) {
      const auto file = whole.find(name);
      ASSERT_NE(file, whole.end()) << name;
      const std::size_t beginning = whole_beginning(content, file->second);
      EXPECT_NE(file->second.find(content.substr(beginning)), std::string::npos)
          << name << " holds something else from byte " << beginning;
    }
  }

  void expect_next_run_whole(const Scene& scene, const Outcome& whole) {
    const Outcome next = sound(scene);
    EXPECT_EQ(next.output, whole.output);
    EXPECT_EQ(next.files, whole.files);
  }
};

TEST_F(FileFaults, LoseOnlyWhatIsNotYetWritten) {
  for (const Scene& scene : scenes()) {
    sound(scene);
    prepare(scene);
    failing_files::start_counting();
    run(scene);
    std::map<Call, std::size_t> counts;
    for (const Call call : {Call::kOpen, Call::kWrite, Call::kShortWrite, Call::kClose}) {
      counts[call] = failing_files::count(call);
      EXPECT_GE(counts[call], 1U) << scene.name;
    }
    const Outcome whole = sound(scene);
    for (const auto& [call, count] : counts) {
      for (const bool for_ever : {false, true}) {
        for (std::size_t nth = 1; nth <= count + 1; ++nth) {
          SCOPED_TRACE(testing::Message() << scene.name << ", call " << static_cast<int>(call)
                                          << " number " << nth << (for_ever ? " for ever" : ""));
          prepare(scene);
          std::string output;
          {
            const failing_files::Failing failing(call, nth, for_ever);
            output = run(scene).output;
            EXPECT_EQ(failing.has_failed(), nth <= count);
          }
          expect_same_words(output, whole);
          expect_released();
          if (call == Call::kShortWrite && !for_ever) {
            expect_beginnings_and_buffers(files(), whole.files);
          } else {
            expect_beginnings(files(), whole.files);
          }
          if (nth > count || call == Call::kClose) {
            EXPECT_EQ(files(), whole.files);  // an error at closing comes too late to lose anything
          }
          ASSERT_FALSE(HasFailure());
        }
      }
    }
    expect_next_run_whole(scene, whole);
  }
}

/// Limits the size of every file of the process while it lives.
class LargestFile {
 public:
  explicit LargestFile(rlim_t size) : handler_(std::signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit limit = {size, before_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~LargestFile() {
    setrlimit(RLIMIT_FSIZE, &before_);
    std::signal(SIGXFSZ, handler_);
  }
  LargestFile(const LargestFile&) = delete;
  LargestFile& operator=(const LargestFile&) = delete;

 private:
  rlimit before_{};
  void (*handler_)(int);
};

TEST_F(FileFaults, OfADiskThatIsFullLeaveWhatFits) {
  for (const Scene& scene : scenes()) {
    const Outcome whole = sound(scene);
    for (const std::size_t size :
         {0U, 1U, 100U, 1000U, 4095U, 4096U, 8191U, 8192U, 8193U, 12000U}) {
      SCOPED_TRACE(testing::Message() << scene.name << ", full from byte " << size);
      prepare(scene);
      std::string output;
      {
        const LargestFile limit(size);
        output = run(scene).output;
      }
      expect_same_words(output, whole);
      expect_released();
      const Files left = files();
      expect_beginnings(left, whole.files);
      EXPECT_EQ(left.size(), whole.files.size());
      for (const auto& [name, content] : left) {
        EXPECT_EQ(content.size(), std::min(size, whole.files.at(name).size())) << name;
      }
    }
    expect_next_run_whole(scene, whole);
  }
}

TEST_F(FileFaults, OfADeviceThatIsAlwaysFullAreSilent) {
  for (const Scene& scene : scenes()) {
    SCOPED_TRACE(scene.name);
    const Outcome whole = sound(scene);
    prepare(scene);
    for (const auto& [name, content] : whole.files) {
      fs::create_directories(fs::path(name).parent_path());
      fs::create_symlink("/dev/full", name);
    }
    expect_same_words(run(scene).output, whole);
    expect_released();
    prepare(scene);
    expect_next_run_whole(scene, whole);
  }
}

/// /proc takes no new file, not even from root.
TEST_F(FileFaults, OfAFolderThatCannotBeWrittenAreSilentExceptForTheReport) {
  for (const Scene& scene : scenes()) {
    SCOPED_TRACE(scene.name);
    const std::string folder = results_folder;
    results_folder = "/proc/";
    prepare(scene);
    const std::string output = run(scene).output;
    expect_released();
    EXPECT_TRUE(files().empty());
    EXPECT_EQ(output.find("WARNING: Could not open file for write: /proc/T1.csv\n") == output.npos,
              std::string(scene.name) != "single test");
    results_folder = folder;
    expect_next_run_whole(scene, sound(scene));
  }
}

}  // namespace
