#include <gmock/gmock.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <iostream>
#include <string>

#include "common/utils.h"
#include "support/temporary_folder.h"

// Trees of which a part can't be removed. Root can remove anything: each in a process of its own,
// which gives up its rights.

namespace {

namespace fs = std::filesystem;

using testing::Eq;
using testing::ExitedWithCode;

constexpr uid_t kNobody = 65534;

/// Folders and files that belong to whoever removes them, and one locked folder.
class LockedTree : public testing::Test {
 protected:
  LockedTree() {
    for (const char* const name : {"tree", "tree/empty", "tree/locked", "tree/other"}) {
      fs::create_directory(folder.path() / name);
    }
    for (const char* const name : {"tree/file", "tree/locked/file", "tree/other/file"}) {
      folder.write(name, "content");
    }
    for (const auto& entry : fs::recursive_directory_iterator(folder.path())) {
      static_cast<void>(chown(entry.path().c_str(), kNobody, kNobody));
    }
    fs::permissions(folder.path(), fs::perms::all);
    fs::permissions(folder.path() / "tree/locked", fs::perms::owner_read | fs::perms::owner_exec);
  }
  ~LockedTree() override { fs::permissions(folder.path() / "tree/locked", fs::perms::owner_all); }

  /// As nobody in particular: does it, says what is left, and ends the process.
  [[noreturn]] void run_without_rights(
      const std::function<std::string(const std::string&)>& action) {
    static_cast<void>(setuid(kNobody));
    std::cerr << action(folder.prefix() + "tree");
    for (const auto& entry : fs::recursive_directory_iterator(folder.path())) {
      std::cerr << ' ' << entry.path().lexically_relative(folder.path()).string();
    }
    std::_Exit(0);
  }

  TemporaryFolder folder;
};

TEST_F(LockedTree, IsRemovedAsFarAsItCanBe) {
  EXPECT_EXIT(run_without_rights([](const std::string& tree) {
                return RemoveAll(tree) ? "removed, but for" : "nothing removed of";
              }),
              ExitedWithCode(0), Eq("removed, but for tree tree/locked tree/locked/file"));
}

TEST_F(LockedTree, GivesFalseIfNothingOfItCanBeRemoved) {
  EXPECT_EXIT(run_without_rights([](const std::string& tree) {
                RemoveAll(tree);
                return RemoveAll(tree) ? "removed, but for" : "nothing removed of";
              }),
              ExitedWithCode(0), Eq("nothing removed of tree tree/locked tree/locked/file"));
}

TEST_F(LockedTree, IsClearedAsFarAsItCanBe) {
  EXPECT_EXIT(run_without_rights([](const std::string& tree) {
                ClearDirectory(tree);
                return "left:";
              }),
              ExitedWithCode(0), Eq("left: tree tree/locked tree/locked/file"));
}

}  // namespace
