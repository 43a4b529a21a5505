#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <new>
#include <string>
#include <vector>

#include "platform/platform.h"
#include "support/counted_new.h"
#include "support/log_capture.h"
#include "support/temporary_folder.h"

// A folder of the test's own, and a check of what is logged when memory runs out.

namespace fs = std::filesystem;

inline const bool kIsWindows = platform::kPathSeparator == '\\';

using LogLines = std::vector<LogLine>;

class FileHelpers : public testing::Test {
 protected:
  std::string in_folder(const std::string& name) const { return folder.prefix() + name; }

  std::string make_file(const std::string& name, const std::string& content = "") const {
    folder.write(name, content);
    return in_folder(name);
  }

  std::string make_folder(const std::string& name) const {
    fs::create_directory(folder.path() / name);
    return in_folder(name);
  }

  /// A path that no user can open.
  std::string make_link_loop(const std::string& name) const {
    if (kIsWindows) {
      return in_folder(name + "?");  // no links there, but an invalid name
    }
    fs::create_symlink(in_folder(name + "-back"), in_folder(name));
    fs::create_symlink(in_folder(name), in_folder(name + "-back"));
    return in_folder(name);
  }

  TemporaryFolder folder;
};

/// Runs `operation` with a logger attached; each of its allocations fails in turn. Expects that
/// after one of these failures the last line of the log is `expected`.
template <class Operation>
void expect_logged_memory_failure(const LogLine& expected, Operation operation) {
  bool logged = false;
  for (std::size_t nth = 1;; ++nth) {
    LogCapture log;
    log.lines.reserve(8);
    const std::size_t live = counted_new::live_blocks();
    counted_new::Failing failing(nth);
    try {
      operation();
    } catch (const std::bad_alloc&) {
      // The log statements themselves allocate memory.
    }
    if (!failing.has_failed()) {
      break;
    }
    logged = logged || (!log.lines.empty() && log.lines.back() == expected);
    log.lines.clear();
    EXPECT_EQ(counted_new::live_blocks(), live) << "allocation " << nth;
  }
  EXPECT_TRUE(logged);
}
