#include "virtual_instrument/vocabulary/text_field.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace virtual_instrument {
namespace {

TEST(TextField, TakesWhatFitsBeforeItsEnd) {
  struct {
    char field[4];
    char after[4];
  } record{};
  fill_field(record.field, "ab");
  EXPECT_EQ(text_of_field(record.field), "ab");
  fill_field(record.field, "abcdefg");
  EXPECT_EQ(text_of_field(record.field), "abc");
  EXPECT_EQ(std::string(record.after, sizeof record.after), std::string(4, '\0'));
}

TEST(TextField, HasNoTextWithoutItsEnd) {
  const char field[] = {'a', 'b'};
  EXPECT_EQ(text_of_field(field), std::nullopt);
}

}  // namespace
}  // namespace virtual_instrument
