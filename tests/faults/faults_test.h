#pragma once

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <vector>

#include "flows/single_phase.h"
#include "flows/three_phase.h"
#include "records/record_export.h"
#include "support/flow_test.h"

/// A use of files by the program. It is repeated, each time with another failure.
struct Scene {
  const char* name;
  void (*action)();
  std::string answers;
  std::size_t stored_records = 0;  ///< for an export
};

/// The scenes: each kind of file that the program writes, each larger than a stream's buffer.
inline std::vector<Scene> scenes() {
  return {{"single test", Single_Phase, "1\n1\n1\n8\n\nT1\n"},
          {"single-phase series", Single_Phase, "1\n1\n1\n8x90\n\nT1\n"},
          {"three-phase series", three_phase_menu, "1\n1\n2\n11\n8x20\n\nT1\n"},
          {"export", export_records, "", 60}};
}

class FaultsTest : public FlowTest {
 protected:
  using Files = std::map<std::string, std::string>;

  /// Empties the folders and prepares library and session for a scene.
  void prepare(const Scene& scene) {
    for (const TemporaryFolder* folder : {&results, &working_folder}) {
      for (const auto& entry : std::filesystem::directory_iterator(folder->path())) {
        std::filesystem::remove_all(entry);
      }
    }
    api.reset();
    clock.sleeps.clear();
    clock.sleeps.reserve(TestClock::kMostPauses);
    std::vector<kvr_TestLabel> labels;
    for (std::size_t i = 0; i < scene.stored_records; ++i) {
      kvr_TestLabel label{};
      ("R" + std::to_string(i)).copy(label.record_id, sizeof label.record_id - 1);
      labels.push_back(label);
      api.answer(ApiCall::ReadRecord, {.record = [i] {
                   const std::string id = "R" + std::to_string(i);
                   return i % 2 == 0 ? ratio_3ph_record(id) : ratio_1ph_record(id);
                 }});
    }
    api.answer_always(ApiCall::ListRecords, {.labels = labels});
  }

  /// What the files of both folders hold.
  Files files() const {
    Files found;
    for (const TemporaryFolder* folder : {&results, &working_folder}) {
      for (const auto& entry : std::filesystem::recursive_directory_iterator(folder->path())) {
        if (entry.is_regular_file()) {
          std::ifstream input(entry.path());
          found[entry.path().string()] = {std::istreambuf_iterator<char>(input),
                                          std::istreambuf_iterator<char>()};
        }
      }
    }
    return found;
  }

  struct Outcome {
    std::string output;
    Files files;
  };

  /// A scene in which nothing fails.
  Outcome sound(const Scene& scene) {
    prepare(scene);
    const Console console(scene.answers);
    scene.action();
    return {console.output(), files()};
  }

  /// Length of the beginning that two texts share.
  static std::size_t whole_beginning(const std::string& content, const std::string& whole) {
    const auto end = std::mismatch(content.begin(), content.end(), whole.begin(), whole.end());
    return static_cast<std::size_t>(end.first - content.begin());
  }

  /// Each file holds a beginning of its expected content.
  static void expect_beginnings(const Files& actual, const Files& whole) {
    for (const auto& [name, content] : actual) {
      const auto file = whole.find(name);
      ASSERT_NE(file, whole.end()) << name;
      EXPECT_EQ(content.size() - whole_beginning(content, file->second), 0U)
          << name << " holds something else from byte " << whole_beginning(content, file->second);
    }
  }

  void expect_released() const {
    EXPECT_EQ(api.count(ApiCall::LockAPI), api.count(ApiCall::UnlockAPI));
  }
};
