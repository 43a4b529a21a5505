#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "support/counted_new.h"
#include "support/thrown_exception.h"
#include "utils/utils.h"

namespace {

kvr_NamedEntry entry(std::int32_t code, const std::string& name) {
  kvr_NamedEntry made;
  std::memset(&made, '#', sizeof(made));
  made.code = code;
  std::memcpy(made.name, name.c_str(), name.size() + 1);
  made.value_a = 0x80000000U + static_cast<std::uint32_t>(code);
  made.value_b = 2;
  made.value_c = 0xFFFFFFFF;
  return made;
}

kvr_NamedEntry entry_with_unterminated_name() {
  kvr_NamedEntry made = entry(1, "");
  std::memset(made.name, 'n', sizeof(made.name));
  return made;
}

std::string entry_text(const kvr_NamedEntry& made) {
  return std::to_string(made.code) + " " + made.name + " " + std::to_string(made.value_a) + " " +
         std::to_string(made.value_b) + " " + std::to_string(made.value_c);
}

std::string list_text(const kvr_NamedEntryList& list) {
  std::string text;
  for (std::int32_t i = 0; i < list.count; ++i) {
    text += entry_text(list.entries[i]) + '\n';
  }
  return text;
}

constexpr const char* kTooLongName =
    "TextUtils::copy_safe generic2 - (src_len >= buf_size) src:nnnnnnnnnnnnnnnnnnnnnnnnnnnnnn "
    "buf_size:30";

/// A record with all parts, with texts of different lengths and lists of different counts. This
/// object owns its texts and lists.
class FullRecord {
 public:
  FullRecord() {
    std::memset(static_cast<void*>(&record), 5, sizeof(record));
    record.text_0 = texts_[0].data();
    record.text_8 = texts_[1].data();
    record.text_24 = texts_[2].data();
    record.text_32 = texts_[3].data();
    record.text_72 = texts_[4].data();
    record.text_80 = texts_[5].data();
    record.text_120 = texts_[6].data();
    record.text_128 = texts_[7].data();
    record.list_136 = {lists_[0].data(), 1};
    record.list_152 = {lists_[1].data(), 2};
    record.list_168 = {lists_[2].data(), 3};
  }

  kvr_EntryRecord record;
  std::vector<kvr_NamedEntry>& list(std::size_t index) { return lists_[index]; }

 private:
  std::string texts_[8] = {"",          "a",          "ab",           "abc",
                           "abcd (72)", "abcde (80)", "abcdef (120)", "abcdefgh (128)"};
  std::vector<kvr_NamedEntry> lists_[3] = {
      {entry(1, "one")},
      {entry(2, "two"), entry(3, "")},
      {entry(-4, "four"), entry(5, "five"), entry(6, std::string(29, 's'))}};
};

constexpr std::size_t kBlocksOfFullRecord = 1 + 3 + 8;

TEST(EntryRecord, StartsWithItsDefaults) {
  const kvr_EntryRecord record{};
  kvr_EntryRecord expected;
  std::memset(static_cast<void*>(&expected), 0, sizeof(expected));
  expected.value_100 = 20;
  expected.value_108 = 20;
  expected.value_184 = 1;
  expected.value_188 = 3;
  expected.value_196 = 1.0F;
  expected.value_200 = 1.0F;
  expected.value_204 = 2;
  const auto* const bytes = reinterpret_cast<const char*>(&record);
  const auto* const expected_bytes = reinterpret_cast<const char*>(&expected);
  // All bytes except the padding after the counts of the lists.
  for (std::size_t i = 0; i < sizeof(record); ++i) {
    const bool is_padding = i >= 136 && i < 184 && (i - 136) % 16 >= 12;
    EXPECT_TRUE(is_padding || bytes[i] == expected_bytes[i]) << "byte " << i;
  }
}

TEST(CloneEntryRecord, IsNullForNull) { EXPECT_EQ(Utils::clone_entry_record(nullptr), nullptr); }

TEST(CloneEntryRecord, CopiesAllTexts) {
  const FullRecord source;
  kvr_EntryRecord* const clone = Utils::clone_entry_record(&source.record);
  for (char* kvr_EntryRecord::*text :
       {&kvr_EntryRecord::text_0, &kvr_EntryRecord::text_8, &kvr_EntryRecord::text_24,
        &kvr_EntryRecord::text_32, &kvr_EntryRecord::text_72, &kvr_EntryRecord::text_80,
        &kvr_EntryRecord::text_120, &kvr_EntryRecord::text_128}) {
    EXPECT_STREQ(clone->*text, source.record.*text);
    EXPECT_NE(clone->*text, source.record.*text);
    EXPECT_TRUE(counted_new::is_live(clone->*text));
  }
  Utils::free_record(clone);
}

TEST(CloneEntryRecord, CopiesAllLists) {
  const FullRecord source;
  kvr_EntryRecord* const clone = Utils::clone_entry_record(&source.record);
  for (kvr_NamedEntryList kvr_EntryRecord::*list :
       {&kvr_EntryRecord::list_136, &kvr_EntryRecord::list_152, &kvr_EntryRecord::list_168}) {
    EXPECT_EQ((clone->*list).count, (source.record.*list).count);
    EXPECT_EQ(list_text(clone->*list), list_text(source.record.*list));
    EXPECT_NE((clone->*list).entries, (source.record.*list).entries);
    EXPECT_TRUE(counted_new::is_live((clone->*list).entries));
  }
  EXPECT_EQ(list_text(clone->list_152),
            "2 two 2147483650 2 4294967295\n3  2147483651 2 4294967295\n");
  Utils::free_record(clone);
}

TEST(CloneEntryRecord, CopiesAllPlainBytes) {
  const FullRecord source;
  kvr_EntryRecord* const clone = Utils::clone_entry_record(&source.record);
  const auto* const bytes = reinterpret_cast<const char*>(clone);
  const std::pair<std::size_t, std::size_t> plain[] = {{16, 8}, {40, 32}, {88, 32}, {184, 24}};
  for (const auto& [offset, size] : plain) {
    EXPECT_EQ(std::string(bytes + offset, size), std::string(size, '\5')) << "offset " << offset;
  }
  Utils::free_record(clone);
}

TEST(CloneEntryRecord, KeepsNullTextsAndEmptyLists) {
  const kvr_EntryRecord source{};
  const std::size_t before = counted_new::live_blocks();
  kvr_EntryRecord* const clone = Utils::clone_entry_record(&source);
  EXPECT_EQ(clone->text_0, nullptr);
  EXPECT_EQ(clone->text_8, nullptr);
  EXPECT_EQ(clone->text_24, nullptr);
  EXPECT_EQ(clone->text_32, nullptr);
  EXPECT_EQ(clone->text_72, nullptr);
  EXPECT_EQ(clone->text_80, nullptr);
  EXPECT_EQ(clone->text_120, nullptr);
  EXPECT_EQ(clone->text_128, nullptr);
  EXPECT_EQ(clone->list_136.count, 0);
  EXPECT_EQ(clone->list_152.count, 0);
  EXPECT_EQ(clone->list_168.count, 0);
  EXPECT_EQ(clone->value_100, 20);
  EXPECT_EQ(clone->value_204, 2);
  Utils::free_record(clone);
  EXPECT_EQ(counted_new::live_blocks(), before);
}

TEST(CloneEntryRecord, CopiesListsFirstAndTextsInTheirOrder) {
  const FullRecord source;
  counted_new::Recording recording;
  kvr_EntryRecord* const clone = Utils::clone_entry_record(&source.record);
  recording.stop();
  // Texts by length plus one: 0, 8, 24, 32, 80 before 72, 120, 128.
  EXPECT_EQ(recording.allocated_sizes(),
            (std::vector<std::size_t>{208, 48, 96, 144, 1, 2, 3, 4, 11, 10, 13, 15}));
  Utils::free_record(clone);
}

TEST(CloneEntryRecord, LeaksNothingWhenMemoryRunsOut) {
  const FullRecord source;
  for (const auto duration : {counted_new::Failing::kOnce, counted_new::Failing::kForEver}) {
    for (std::size_t nth = 1; nth <= kBlocksOfFullRecord + 1; ++nth) {
      const std::size_t before = counted_new::live_blocks();
      kvr_EntryRecord* clone = nullptr;
      bool failed = false;
      {
        counted_new::Failing failing(nth, duration);
        try {
          clone = Utils::clone_entry_record(&source.record);
        } catch (const std::bad_alloc&) {
          failed = true;
        }
      }
      EXPECT_EQ(failed, nth <= kBlocksOfFullRecord) << "allocation " << nth;
      Utils::free_record(clone);
      EXPECT_EQ(counted_new::live_blocks(), before) << "allocation " << nth;
    }
  }
}

TEST(CloneEntryRecord, LeaksNothingForANameThatIsTooLong) {
  FullRecord source;
  source.list(2)[1] = entry_with_unterminated_name();
  last_exception_message() = std::string(200, ' ');  // so that its memory does not count below
  const std::size_t before = counted_new::live_blocks();
  expect_kvr_exception(KVR_RES_TEXT_TOO_LONG, "copy_safe_internal", kTooLongName,
                       [&] { Utils::clone_entry_record(&source.record); });
  EXPECT_EQ(counted_new::live_blocks(), before);
}

TEST(FreeEntryRecord, FreesInnermostFirstAndPassesOverNull) {
  Utils::free_record(static_cast<kvr_EntryRecord*>(nullptr));
  const FullRecord source;
  const std::size_t before = counted_new::live_blocks();
  kvr_EntryRecord* const clone = Utils::clone_entry_record(&source.record);
  {
    counted_new::Recording recording;
    Utils::free_record(clone);
    recording.stop();
    const std::vector<const void*> freed = recording.freed_blocks();
    EXPECT_EQ(freed.size(), kBlocksOfFullRecord);
    EXPECT_EQ(freed.back(), clone);
  }
  EXPECT_EQ(counted_new::live_blocks(), before);
}

// --- Lists and entries ---------------------------------------------------------------------------

TEST(CopyEntryList, CopiesEveryEntry) {
  kvr_NamedEntry entries[] = {entry(1, "one"), entry(2, "two")};
  kvr_NamedEntryList target{};
  Utils::copy_entry_list({entries, 2}, target);
  EXPECT_EQ(target.count, 2);
  EXPECT_EQ(list_text(target), "1 one 2147483649 2 4294967295\n2 two 2147483650 2 4294967295\n");
  EXPECT_NE(target.entries, entries);
  delete[] target.entries;
}

TEST(CopyEntryList, StartsFromZeroedEntries) {
  kvr_NamedEntry source = entry(1, "one");
  kvr_NamedEntryList target{};
  Utils::copy_entry_list({&source, 1}, target);
  EXPECT_EQ(std::string(target.entries[0].name, 30), "one" + std::string(27, '\0'));
  EXPECT_EQ(std::string(target.entries[0].reserved_34, 2), std::string(2, '\0'));
  delete[] target.entries;
}

TEST(CopyEntryList, FailsForACountThatIsTooLarge) {
  kvr_NamedEntry source = entry(1, "one");
  kvr_NamedEntryList target{&source, 1};
  for (const std::int32_t count : {-1, -2147483647 - 1, 2147483647}) {
    EXPECT_THROW(Utils::copy_entry_list({&source, count}, target), std::bad_alloc) << count;
    EXPECT_EQ(target.entries, &source);
    EXPECT_EQ(target.count, 1);
  }
}

TEST(CopyEntryList, LeavesTheTargetAloneWhenItFails) {
  kvr_NamedEntry entries[] = {entry(1, "one"), entry_with_unterminated_name()};
  kvr_NamedEntryList target{entries, 7};
  last_exception_message() = std::string(200, ' ');
  const std::size_t before = counted_new::live_blocks();
  expect_kvr_exception(KVR_RES_TEXT_TOO_LONG, "copy_safe_internal", kTooLongName, [&] {
    Utils::copy_entry_list({entries, 2}, target);
  });
  EXPECT_EQ(counted_new::live_blocks(), before);
  EXPECT_EQ(target.entries, entries);
  EXPECT_EQ(target.count, 7);
}

TEST(CopyEntries, BuildsAListFromAVector) {
  kvr_NamedEntryList target{};
  Utils::copy_entries({entry(1, "one"), entry(2, "two"), entry(3, "three")}, target);
  EXPECT_EQ(target.count, 3);
  EXPECT_EQ(list_text(target),
            "1 one 2147483649 2 4294967295\n2 two 2147483650 2 4294967295\n"
            "3 three 2147483651 2 4294967295\n");
  delete[] target.entries;
  Utils::copy_entries({}, target);
  EXPECT_EQ(target.count, 0);
  delete[] target.entries;
}

TEST(CopyEntries, FailsForANameThatIsTooLong) {
  kvr_NamedEntryList target{};
  expect_kvr_exception(KVR_RES_TEXT_TOO_LONG, "copy_safe_internal", kTooLongName, [&] {
    Utils::copy_entries({entry(1, "one"), entry_with_unterminated_name()}, target);
  });
  EXPECT_EQ(target.entries, nullptr);
}

TEST(CopyEntry, AssignsEveryField) {
  kvr_NamedEntry target{};
  Utils::copy_entry(entry(-7, std::string(29, 'x')), target);
  EXPECT_EQ(entry_text(target), "-7 " + std::string(29, 'x') + " 2147483641 2 4294967295");
}

TEST(CopyEntry, RefusesANameThatFillsItsField) {
  kvr_NamedEntry target = entry(2, "before");
  expect_kvr_exception(KVR_RES_TEXT_TOO_LONG, "copy_safe_internal", kTooLongName,
                       [&] { Utils::copy_entry(entry_with_unterminated_name(), target); });
  EXPECT_EQ(entry_text(target), entry_text(entry(2, "before")));
}

}  // namespace
