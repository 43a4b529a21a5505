#include <cstring>
#include <memory>
#include <string_view>

#include "common/field_text.h"
#include "utils/text_utils.h"
#include "utils/utils.h"

namespace {

using Text = char* kvr_EntryRecord::*;
using List = kvr_NamedEntryList kvr_EntryRecord::*;

/// The texts in the order in which they are copied.
constexpr Text kTexts[] = {&kvr_EntryRecord::text_0,   &kvr_EntryRecord::text_8,
                           &kvr_EntryRecord::text_24,  &kvr_EntryRecord::text_32,
                           &kvr_EntryRecord::text_80,  &kvr_EntryRecord::text_72,
                           &kvr_EntryRecord::text_120, &kvr_EntryRecord::text_128};

constexpr List kLists[] = {&kvr_EntryRecord::list_136, &kvr_EntryRecord::list_152,
                           &kvr_EntryRecord::list_168};

/// The end of the texts and the plain values among them, and the start of the plain values after
/// the lists.
constexpr std::size_t kHeadEnd = offsetof(kvr_EntryRecord, list_136);
constexpr std::size_t kTailBegin = offsetof(kvr_EntryRecord, value_184);

void copy_bytes(const kvr_EntryRecord& source, kvr_EntryRecord& target, std::size_t begin,
                std::size_t end) {
  std::memcpy(reinterpret_cast<char*>(&target) + begin,
              reinterpret_cast<const char*>(&source) + begin, end - begin);
}

struct DisposeEntries {
  void operator()(kvr_EntryRecord* record) const { Utils::free_record(record); }
};

char* clone_text(const char* source) {
  if (source == nullptr) {
    return nullptr;
  }
  const std::string_view text = source;
  char* const clone = new char[text.size() + 1]();
  text.copy(clone, text.size());
  return clone;
}

/// Builds a list from any source of entries. Until it is complete, `target` stays as it was.
template <class EntryAt>
void fill_list(std::int32_t count, EntryAt entry_at, kvr_NamedEntryList& target) {
  // A negative count is far too large here and fails as such.
  const auto size = static_cast<std::size_t>(count);
  std::unique_ptr<kvr_NamedEntry[]> entries(new kvr_NamedEntry[size]());
  for (std::size_t i = 0; i < size; ++i) {
    Utils::copy_entry(entry_at(i), entries[i]);
  }
  target.entries = entries.release();
  target.count = count;
}

}  // namespace

kvr_EntryRecord* Utils::clone_entry_record(const kvr_EntryRecord* source) {
  if (source == nullptr) {
    return nullptr;
  }
  std::unique_ptr<kvr_EntryRecord, DisposeEntries> clone(new kvr_EntryRecord());
  for (const List list : kLists) {
    copy_entry_list(source->*list, (*clone).*list);
  }
  copy_bytes(*source, *clone, 0, kHeadEnd);
  for (const Text text : kTexts) {
    (*clone).*text = nullptr;  // still the source's: not to be freed with the clone
  }
  for (const Text text : kTexts) {
    (*clone).*text = clone_text(source->*text);
  }
  copy_bytes(*source, *clone, kTailBegin, sizeof(kvr_EntryRecord));
  return clone.release();
}

void Utils::free_record(kvr_EntryRecord* record) {
  if (record == nullptr) {
    return;
  }
  for (const List list : kLists) {
    delete[](record->*list).entries;
  }
  for (const Text text : kTexts) {
    delete[](record->*text);
  }
  delete record;
}

void Utils::copy_entry_list(const kvr_NamedEntryList& source, kvr_NamedEntryList& target) {
  fill_list(
      source.count, [&](std::size_t i) -> const kvr_NamedEntry& { return source.entries[i]; },
      target);
}

void Utils::copy_entries(const std::vector<kvr_NamedEntry>& source, kvr_NamedEntryList& target) {
  fill_list(
      static_cast<std::int32_t>(source.size()),
      [&](std::size_t i) -> const kvr_NamedEntry& { return source.at(i); }, target);
}

void Utils::copy_entry(const kvr_NamedEntry& source, kvr_NamedEntry& target) {
  TextUtils::copy_safe("generic2", target.name, sizeof(target.name), field_text(source.name));
  target.code = source.code;
  target.value_a = source.value_a;
  target.value_b = source.value_b;
  target.value_c = source.value_c;
}
