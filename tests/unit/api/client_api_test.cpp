#include "api/client_api.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <vector>

namespace {

using Names = std::multiset<std::string>;

const Names kCalls = {
    "kvr_Lib_Initialize",    "kvr_Lib_InitializeTestStation",
    "kvr_Lib_Shutdown",      "kvr_SetClientKey",
    "kvr_ConnectAPI",        "kvr_CheckConnection",
    "kvr_CodeToString",      "kvr_GetClientAPIInfo",
    "kvr_GetDeviceInfo",     "kvr_GetStatus",
    "kvr_LockAPI",           "kvr_UnlockAPI",
    "kvr_CancelOperation",   "kvr_Test_Ratio_1ph",
    "kvr_Test_Ratio_3ph",    "kvr_FreeTestRecord",
    "kvr_CheckRecordExists", "kvr_ReadRecord",
    "kvr_DeleteRecord",      "kvr_ClearTestDatabase",
    "kvr_ListRecords",       "kvr_FreeTestLabelsList",
};

std::string source_text(const std::string& name) {
  std::ifstream file(std::string(KVR_TEST_DATA_DIR) + "/../src/api/" + name);
  EXPECT_TRUE(file.good()) << name;
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

bool is_name_character(char character) {
  return character == '_' || (character >= '0' && character <= '9') ||
         (character >= 'A' && character <= 'Z') || (character >= 'a' && character <= 'z');
}

/// The names in `text` that begin like those of calls and are followed by `next`.
Names names_before(const std::string& text, char next) {
  Names names;
  for (std::size_t at = text.find("kvr_"); at != std::string::npos; at = text.find("kvr_", at)) {
    std::size_t end = at;
    while (end < text.size() && is_name_character(text[end])) {
      ++end;
    }
    if (end < text.size() && text[end] == next) {
      names.insert(text.substr(at, end - at));
    }
    at = end;
  }
  return names;
}

TEST(ClientApi, HasTwentyTwoCalls) { EXPECT_EQ(kCalls.size(), 22U); }

TEST(ClientApi, TheImportDefinitionListsExactlyTheCalls) {
  const std::string head = "LIBRARY kvr-client-api.dll\nEXPORTS\n";
  const std::string text = source_text("kvr-client-api.def");
  ASSERT_TRUE(text.starts_with(head)) << text;
  const std::string list = text.substr(head.size());
  EXPECT_EQ(names_before(list, '\n'), kCalls);
  EXPECT_EQ(std::count(list.begin(), list.end(), '\n'), 22);
}

TEST(ClientApi, TheHeaderDeclaresExactlyTheCalls) {
  EXPECT_EQ(names_before(source_text("client_api.h"), '('), kCalls);
}

// A wrong signature would link, and fail only at run time.
TEST(ClientApi, SignaturesAreThoseOfTheLibrary) {
  using Code = kvr_code;
  static_assert(std::is_same_v<decltype(kvr_Lib_Initialize), Code(kvr_InitParams*)>);
  static_assert(
      std::is_same_v<decltype(kvr_Lib_InitializeTestStation), Code(const char*, kvr_InitParams*)>);
  static_assert(std::is_same_v<decltype(kvr_Lib_Shutdown), Code()>);
  static_assert(std::is_same_v<decltype(kvr_SetClientKey), Code(const char*)>);
  static_assert(std::is_same_v<decltype(kvr_ConnectAPI),
                               Code(kvr_ConnectionType*, std::int32_t, const char*, char*)>);
  static_assert(std::is_same_v<decltype(kvr_CheckConnection), std::int32_t()>);
  static_assert(std::is_same_v<decltype(kvr_CodeToString), const char*(Code)>);
  static_assert(std::is_same_v<decltype(kvr_GetClientAPIInfo), Code(kvr_ClientAPIInfo*)>);
  static_assert(std::is_same_v<decltype(kvr_GetDeviceInfo), Code(kvr_DeviceInfo*)>);
  static_assert(std::is_same_v<decltype(kvr_GetStatus), Code(kvr_Status*)>);
  static_assert(std::is_same_v<decltype(kvr_LockAPI), Code()>);
  static_assert(std::is_same_v<decltype(kvr_UnlockAPI), Code()>);
  static_assert(std::is_same_v<decltype(kvr_CancelOperation), Code()>);
  static_assert(std::is_same_v<decltype(kvr_Test_Ratio_1ph),
                               Code(kvr_TestRequestHeader*, kvr_Ratio1phRequest*,
                                    kvr_ProgressHandler*, kvr_TestRecord**)>);
  static_assert(std::is_same_v<decltype(kvr_Test_Ratio_3ph),
                               Code(kvr_TestRequestHeader*, kvr_Ratio3phRequest*,
                                    kvr_ProgressHandler*, kvr_TestRecord**)>);
  static_assert(std::is_same_v<decltype(kvr_FreeTestRecord), Code(kvr_TestRecord*)>);
  static_assert(std::is_same_v<decltype(kvr_CheckRecordExists), Code(const char*, bool*)>);
  static_assert(sizeof(bool) == 1);
  static_assert(
      std::is_same_v<decltype(kvr_ReadRecord), Code(const char*, std::int32_t, kvr_TestRecord**)>);
  static_assert(std::is_same_v<decltype(kvr_DeleteRecord), Code(const char*)>);
  static_assert(std::is_same_v<decltype(kvr_ClearTestDatabase), Code()>);
  static_assert(std::is_same_v<decltype(kvr_ListRecords),
                               Code(kvr_TestLabelsList**, void*, std::int32_t, std::int32_t)>);
  static_assert(std::is_same_v<decltype(kvr_FreeTestLabelsList), Code(kvr_TestLabelsList*)>);
}

TEST(ClientApi, NumbersOfConnectionsAndSortKeys) {
  EXPECT_EQ(KVR_CONNECTION_USB_WIFI, 0);
  EXPECT_EQ(KVR_CONNECTION_SERVICE, 3);
  EXPECT_EQ(sizeof(kvr_ConnectionType), 4U);
  EXPECT_EQ(kSortByDateTime, 0);
  EXPECT_EQ(kSortByTestId, 1);
  EXPECT_EQ(kSortByVectorGroup, 2);
  EXPECT_EQ(kFirmwareTextSize, 22U);
}

}  // namespace
