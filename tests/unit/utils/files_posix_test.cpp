#include <gmock/gmock.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "support/temporary_folder.h"
#include "utils/utils.h"

// Trees with a part that can't be removed.

namespace {

namespace fs = std::filesystem;

using testing::ElementsAre;

constexpr uid_t kNobody = 65534;

/// Root could remove anything, so its rights are dropped while this object lives.
class WithoutRights {
 public:
  WithoutRights() : before_(geteuid()) { static_cast<void>(seteuid(kNobody)); }
  ~WithoutRights() { static_cast<void>(seteuid(before_)); }
  WithoutRights(const WithoutRights&) = delete;
  WithoutRights& operator=(const WithoutRights&) = delete;

 private:
  uid_t before_;
};

/// Folders and files of the user who removes them, and one locked folder.
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

  std::string tree() const { return folder.prefix() + "tree"; }
  std::vector<std::string> what_is_left() const {
    std::vector<std::string> left;
    for (const auto& entry : fs::recursive_directory_iterator(folder.path())) {
      left.push_back(entry.path().lexically_relative(folder.path()).string());
    }
    std::sort(left.begin(), left.end());
    return left;
  }

  TemporaryFolder folder;
};

TEST_F(LockedTree, IsRemovedAsFarAsItCanBe) {
  const WithoutRights without_rights;
  EXPECT_TRUE(RemoveAll(tree()));
  EXPECT_THAT(what_is_left(), ElementsAre("tree", "tree/locked", "tree/locked/file"));
  EXPECT_FALSE(RemoveAll(tree()));  // there is nothing more to remove
  EXPECT_THAT(what_is_left(), ElementsAre("tree", "tree/locked", "tree/locked/file"));
}

TEST_F(LockedTree, IsClearedAsFarAsItCanBe) {
  const WithoutRights without_rights;
  ClearDirectory(tree());
  EXPECT_THAT(what_is_left(), ElementsAre("tree", "tree/locked", "tree/locked/file"));
}

}  // namespace
