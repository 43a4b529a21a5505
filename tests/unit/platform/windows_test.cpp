#include <gtest/gtest.h>
#include <windows.h>

#include <filesystem>

#include "platform/platform.h"
#include "support/temporary_folder.h"

namespace fs = std::filesystem;

namespace {

/// A documents folder of this name, which run-under-wine gives to Wine.
class DocumentsFolder : public testing::Test {
 protected:
  ~DocumentsFolder() override { SetEnvironmentVariableW(kVariable, nullptr); }

  void make(const std::wstring& name) const {
    const fs::path documents = folder_.path() / name;
    fs::create_directory(documents);
    SetEnvironmentVariableW(kVariable, documents.c_str());
  }

  std::string in_folder(const std::string& name) const { return folder_.prefix() + name; }

  static constexpr const wchar_t* kVariable = L"KVR_DOCUMENTS";

 private:
  TemporaryFolder folder_;
};

TEST_F(DocumentsFolder, IsTheOneThatTheSystemNames) {
  make(L"My Documents");
  EXPECT_EQ(platform::documents_folder(), in_folder("My Documents"));
}

TEST_F(DocumentsFolder, IsMadeOfLowBytes) {
  make(L"\u00c4\u0444\u20ac");
  EXPECT_EQ(platform::documents_folder(), in_folder("\xc4\x44\xac"));
}

TEST_F(DocumentsFolder, IsNoneWhenTheSystemNamesNone) {
  SetEnvironmentVariableW(kVariable, nullptr);
  EXPECT_EQ(platform::documents_folder(), std::nullopt);
}

}  // namespace
