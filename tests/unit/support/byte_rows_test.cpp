#include "support/byte_rows.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "api/request_records.h"

namespace {

using testing::ElementsAre;

TEST(BytesOf, ZeroesWithoutFields) { EXPECT_THAT(bytes_of(3, {}), ElementsAre(0, 0, 0)); }

TEST(BytesOf, PutsFieldsWhereTheyBelong) {
  EXPECT_THAT(bytes_of(12, {i32(4, -2), u8(1, 255), text_at(9, "ab")}),
              ElementsAre(0, 255, 0, 0, 0xFE, 0xFF, 0xFF, 0xFF, 0, 'a', 'b', 0));
  EXPECT_THAT(bytes_of(4, {f32(0, 1.0F)}), ElementsAre(0, 0, 0x80, 0x3F));
  EXPECT_THAT(bytes_of(8, {f64(0, -2.0)}), ElementsAre(0, 0, 0, 0, 0, 0, 0, 0xC0));
}

TEST(BytesOf, RefusesFieldsThatDoNotFit) {
  EXPECT_THROW(bytes_of(4, {i32(1, 0)}), std::logic_error);
  EXPECT_THROW(bytes_of(4, {u8(4, 0)}), std::logic_error);
  EXPECT_THROW(bytes_of(8, {i32(0, 0), i32(3, 0)}), std::logic_error);
}

TEST(BytesOf, CopiesRecords) {
  kvr_TestRequestHeader header{};
  header.record_id[0] = 'T';
  header.save_mode = KVR_SAVE_NOTHING;
  EXPECT_EQ(bytes_of(header), bytes_of(100, {text_at(60, "T"), i32(92, 3)}));
}

TEST(ByteRows, ShowsGroupsThatAreNotZero) {
  EXPECT_EQ(byte_rows(Bytes(9)), "9 bytes\n");
  EXPECT_EQ(byte_rows(bytes_of(102, {u8(5, 0xA0), i32(96, 1), u8(101, 2)})),
            "102 bytes\n"
            "004: 00 a0 00 00\n"
            "096: 01 00 00 00\n"
            "100: 00 02\n");
}

}  // namespace
