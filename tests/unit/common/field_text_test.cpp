#include "common/field_text.h"

#include <gtest/gtest.h>

namespace {

TEST(FieldText, EndsAtTheFirstZero) {
  const char field[8] = {'T', '1', '\0', 'o', 'l', 'd', '\0', '\0'};
  EXPECT_EQ(field_text(field), "T1");
}

TEST(FieldText, OfAnEmptyFieldIsEmpty) {
  const char field[4] = {};
  EXPECT_EQ(field_text(field), "");
}

TEST(FieldText, StopsAtTheEndOfAFieldWithoutAZero) {
  const struct {
    char field[4];
    char behind[4];
  } record = {{'A', 'B', 'C', 'D'}, {'E', 'F', 'G', '\0'}};
  EXPECT_EQ(field_text(record.field), "ABCD");
}

TEST(FieldText, RefersToTheFieldItself) {
  const char field[4] = {'A', '\0', '\0', '\0'};
  EXPECT_EQ(field_text(field).data(), field);
}

}  // namespace
