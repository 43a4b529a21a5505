#include <gtest/gtest.h>

#include <algorithm>
#include <new>
#include <optional>
#include <sstream>

#include "faults/faults_test.h"
#include "faults/uncounted_client_api.h"
#include "flows/run_files.h"
#include "support/counted_new.h"

// The n-th allocation fails, for every n; either that one alone or all from there on. An exception
// may be thrown or a stream may fail; text written before stays, and no wrong text follows. Record
// copies have the same test in unit/utils/record_copies_test.cpp.

namespace {

namespace fs = std::filesystem;
using counted_new::Failing;

constexpr std::size_t kRoomForOutput = std::size_t{1} << 18U;

class AllocationFaults : public FaultsTest {
 protected:
  ~AllocationFaults() override { after_lock = nullptr; }

  /// For each n: calls `prepare`, runs `action` with the failure, then calls `check` with whether
  /// `action` ended without an exception. No block may leak.
  template <class Prepare, class Action, class Check>
  static void fail_each(Prepare prepare, Action action, Check check) {
    prepare();
    action();  // tables that are made on first use
    for (const auto duration : {Failing::kOnce, Failing::kForEver}) {
      bool has_failed = true;
      for (std::size_t nth = 1; has_failed; ++nth) {
        SCOPED_TRACE(testing::Message() << "allocation " << nth << ", duration " << duration);
        prepare();
        const std::size_t live = counted_new::live_blocks();
        bool threw = false;
        {
          const Failing failing(nth, duration);
          try {
            action();
          } catch (const std::bad_alloc&) {
            threw = true;
          }
          has_failed = failing.has_failed();
        }
        EXPECT_EQ(counted_new::live_blocks(), live);
        EXPECT_TRUE(has_failed || !threw);
        check(!threw, has_failed);
        if (HasFatalFailure() || HasNonfatalFailure()) {
          return;
        }
      }
    }
  }

  /// The output is the usual one, but the text of a result may be cut short where its stream
  /// failed. What follows that text is whole again.
  static void expect_no_other_words(const std::string& output, const std::string& whole) {
    const auto cut = std::mismatch(output.begin(), output.end(), whole.begin(), whole.end());
    EXPECT_TRUE(std::string(cut.second, whole.end()).find(std::string(cut.first, output.end())) !=
                std::string::npos)
        << output;
  }

  static std::vector<fs::path> golden_records() {
    std::vector<fs::path> paths;
    for (const auto& entry :
         fs::directory_iterator(fs::path(KVR_TEST_DATA_DIR) / "golden" / "records")) {
      if (entry.path().extension() == ".record") {
        paths.push_back(entry.path());
      }
    }
    return paths;
  }

  static std::string read(const fs::path& path) {
    std::ifstream input(path);
    return {std::istreambuf_iterator<char>(input), std::istreambuf_iterator<char>()};
  }
};

TEST_F(AllocationFaults, InRenderingLeaveTheBeginningOfTheText) {
  for (const fs::path& path : golden_records()) {
    SCOPED_TRACE(path);
    const OwnedRecord record = parse_record(read(path), path.string());
    const std::string whole = text_of(*record.get());
    std::optional<std::ostringstream> out;
    std::string text;
    bool good = false;
    fail_each(
        [&] {
          text.clear();
          text.reserve(2 * whole.size());
        },
        [&] {
          out.emplace();
          try {
            KVR_Text_Output::ResultsToText(record.get(), *out);
          } catch (...) {
            text.append(out->view());
            out.reset();
            throw;
          }
          good = out->good();
          text.append(out->view());
          out.reset();
        },
        [&](bool went_through, bool has_failed) {
          EXPECT_TRUE(whole.starts_with(text)) << text;
          EXPECT_TRUE(!went_through || !good || text == whole);
          EXPECT_TRUE(has_failed || text == whole);
        });
  }
}

TEST_F(AllocationFaults, InAReportLeaveTheBeginningOfTheReport) {
  const std::string name = results.prefix() + "report.csv";
  const std::string serial(40, 's');
  for (const fs::path& path : golden_records()) {
    SCOPED_TRACE(path);
    const OwnedRecord record = parse_record(read(path), path.string());
    Console console;
    const auto report = [&] {
      std::ostringstream out;
      KVR_Text_Output::ResultsToReportFile(record.get(), out, serial, "1.2", name.c_str());
    };
    fs::remove(name);
    report();
    const std::string first = read(name);
    report();
    const std::string whole = read(name);
    console.reserve_output(kRoomForOutput);
    fail_each([&] { results.write("report.csv", first); }, report,
              [&](bool /*went_through*/, bool has_failed) {
                const std::string file = read(name);
                // A file whose size can't be read counts as not there yet.
                const std::string again = first + "sep=;" + whole.substr(first.size());
                EXPECT_TRUE(whole.starts_with(file) || again.starts_with(file)) << file;
                EXPECT_TRUE(file.starts_with(first)) << file;
                EXPECT_TRUE(has_failed || file == whole);
              });
  }
}

TEST_F(AllocationFaults, InASeriesFileLeaveItsBeginning) {
  const std::string name = results.prefix() + "a series file with a name of some length.csv";
  const std::string columns = kThreePhaseColumns;
  const auto single = ratio_1ph_record("T1");
  const auto three = ratio_3ph_record("T1");
  Console console;
  const auto write = [&] {
    std::ofstream file = open_series_file(name, columns);
    for (int i = 0; i < 20; ++i) {
      write_single_phase_rows(file, *single);
      write_three_phase_rows(file, *three);
    }
  };
  write();
  const std::string whole = read(name);
  console.reserve_output(kRoomForOutput);
  fail_each([&] { fs::remove(name); }, write,
            [&](bool went_through, bool has_failed) {
              const std::string file = read(name);
              EXPECT_TRUE(whole.starts_with(file)) << file;
              EXPECT_TRUE(has_failed || (went_through && file == whole));
            });
}

TEST_F(AllocationFaults, InARawFileLeaveItsBeginning) {
  const std::string name = results.prefix() + "a run with a name of some length.csv";
  const std::string raw(20000, 'r');
  Console console;
  console.reserve_output(kRoomForOutput);
  fail_each([&] { fs::remove(name + ".RAW.csv"); }, [&] { write_raw_file(name, raw); },
            [&](bool went_through, bool has_failed) {
              const std::string file = read(name + ".RAW.csv");
              EXPECT_TRUE(raw.starts_with(file)) << file;
              EXPECT_TRUE(has_failed || (went_through && file == raw));
            });
}

/// A whole run from the locking of the API on, and a whole export.
TEST_F(AllocationFaults, OfARunReleaseTheApiAndLeaveItsFiles) {
  for (const Scene& scene : scenes()) {
    SCOPED_TRACE(scene.name);
    const Outcome whole = sound(scene);
    for (const auto duration : {Failing::kOnce, Failing::kForEver}) {
      bool has_failed = true;
      for (std::size_t nth = 1; has_failed; ++nth) {
        SCOPED_TRACE(testing::Message() << "allocation " << nth << ", duration " << duration);
        prepare(scene);
        std::optional<Failing> failing;
        after_lock = [&] { failing.emplace(nth, duration); };
        Console console(scene.answers);
        console.reserve_output(kRoomForOutput);
        bool threw = false;
        if (scene.stored_records > 0) {
          after_lock();
        }
        try {
          scene.action();
        } catch (const std::bad_alloc&) {
          threw = true;
        }
        has_failed = failing && failing->has_failed();
        failing.reset();
        after_lock = nullptr;
        expect_released();
        expect_beginnings(files(), whole.files);
        EXPECT_TRUE(threw || has_failed || files() == whole.files);
        EXPECT_TRUE(has_failed || (!threw && console.output() == whole.output));
        expect_no_other_words(console.output(), whole.output);
        ASSERT_FALSE(HasFailure());
      }
    }
    const Outcome next = sound(scene);
    EXPECT_EQ(next.output, whole.output);
    EXPECT_EQ(next.files, whole.files);
  }
}

}  // namespace
