#include "utils/text_utils.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "support/thrown_exception.h"

namespace {

constexpr char kFiller = '#';

/// A field of sixteen bytes, followed by bytes that the copy must not change.
struct Field {
  char text[16];
  char behind[4];

  Field() { std::memset(this, kFiller, sizeof(*this)); }
};

TEST(CopySafe, CopiesTheTextAndATerminator) {
  Field field;
  TextUtils::copy_safe("generic2", field.text, sizeof(field.text), "T-1");
  EXPECT_EQ(std::string(field.text, sizeof(field.text)), std::string("T-1\0############", 16));
}

TEST(CopySafe, TakesATextOfOneByteLessThanTheField) {
  Field field;
  TextUtils::copy_safe("generic2", field.text, sizeof(field.text), "123456789012345");
  EXPECT_EQ(std::string(field.text, sizeof(field.text)), std::string("123456789012345\0", 16));
  EXPECT_EQ(std::string(field.behind, sizeof(field.behind)), "####");
}

TEST(CopySafe, RefusesATextAsLongAsTheFieldAndCopiesNothing) {
  Field field;
  expect_kvr_exception(
      KVR_RES_TEXT_TOO_LONG, "copy_safe_internal",
      "TextUtils::copy_safe generic2 - (src_len >= buf_size) src:1234567890123456 buf_size:16",
      [&] {
        TextUtils::copy_safe("generic2", field.text, sizeof(field.text), "1234567890123456");
      });
  EXPECT_EQ(std::string(field.text, sizeof(field.text)), "################");
}

TEST(CopySafe, HasNoContextWordForANullOne) {
  char field[2];
  expect_kvr_exception(KVR_RES_TEXT_TOO_LONG, "copy_safe_internal",
                       "TextUtils::copy_safe  - (src_len >= buf_size) src:long buf_size:2",
                       [&] { TextUtils::copy_safe(nullptr, field, sizeof(field), "long"); });
}

TEST(CopySafe, WritesATerminatorAloneForAnEmptyText) {
  char field = kFiller;
  TextUtils::copy_safe("generic2", &field, 1, "");
  EXPECT_EQ(field, '\0');
  TextUtils::copy_safe("generic2", &field, 1, {});
  EXPECT_EQ(field, '\0');
}

TEST(CopySafe, RefusesEveryTextForAFieldOfNoSize) {
  char field = kFiller;
  expect_kvr_exception(KVR_RES_TEXT_TOO_LONG, "copy_safe_internal",
                       "TextUtils::copy_safe generic2 - (src_len >= buf_size) src: buf_size:0",
                       [&] { TextUtils::copy_safe("generic2", &field, 0, ""); });
  EXPECT_EQ(field, kFiller);
}

TEST(CopySafe, CopiesATextOntoItself) {
  char field[] = "abcdefgh";
  TextUtils::copy_safe("generic2", field + 2, sizeof(field) - 2, std::string_view(field, 5));
  EXPECT_STREQ(field, "ababcde");
  char other[] = "abcdefgh";
  TextUtils::copy_safe("generic2", other, sizeof(other), std::string_view(other + 2, 5));
  EXPECT_STREQ(other, "cdefg");
}

TEST(CopySafe, CopiesBytesOfAnyValue) {
  char field[8];
  const std::string text("\xC3\xBC\0z", 4);
  TextUtils::copy_safe("generic2", field, sizeof(field), text);
  EXPECT_EQ(std::string(field, 5), text + '\0');
}

}  // namespace
