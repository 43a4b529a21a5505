#include "tape/player/holdings.h"

#include <algorithm>
#include <cstring>

#include "record_form/record_nest.h"
#include "record_form/record_shape.h"
#include "tape/vocabulary/record_values.h"

namespace tape {
namespace {

/// The export walks `test_count` entries and the text `data_count`; both find what is there, and
/// null after it.
std::size_t entries_of(const kvr_TestRecord& record) {
  return std::max({record.data_count, std::min(record.test_count, std::uint32_t{1} << 20U), 1U});
}

RecordNest record_of(const Value& value) {
  RecordNest record = kept_record(value);
  if (record == nullptr) {
    record.reset(new kvr_TestRecord{});
    if (value.raw) {
      record->raw_data = new_text(*value.raw);
    }
  }
  const std::size_t entries = entries_of(*record);
  std::uint32_t bit = 1;
  for_each_family([&](std::string_view, auto family) {
    auto*& array = (*record).*family;
    using Link = std::remove_reference_t<decltype(*array)>;
    if (array != nullptr || (value.others & bit) != 0) {
      auto* longer = new Link[entries]{};
      if (array != nullptr) {
        std::copy_n(array, record->data_count, longer);
      }
      delete[] array;
      array = longer;
    }
    bit <<= 1U;
  });
  return record;
}

/// The record behind a pointer that the client has gets another content.
void replace(kvr_TestRecord& old, std::uint32_t entries, kvr_TestRecord* content) {
  old.data_count = entries;
  FreeLinks visitor;
  describe(old, visitor);
  std::memcpy(&old, content, sizeof old);
  delete content;
}

}  // namespace

kvr_TestRecord* Holdings::hand_out_record(const Value& value) {
  if (value.kind != Value::Kind::kRecord) {
    return nullptr;
  }
  const std::lock_guard lock(mutex_);
  Held& held = records_[value.number];
  if (held.record != nullptr && value.content == Value::Content::kNone) {
    return held.record;
  }
  kvr_TestRecord* made = record_of(value).release();
  const std::uint32_t entries = made->data_count;
  made->data_count = value.data_count.value_or(entries);
  if (held.record == nullptr) {
    held.record = made;
    record_names_.set(made, value.number);
  } else {
    replace(*held.record, held.entries, made);
  }
  held.entries = entries;
  return held.record;
}

kvr_TestLabelsList* Holdings::hand_out_list(const Value& value) {
  if (value.kind != Value::Kind::kList) {
    return nullptr;
  }
  const std::lock_guard lock(mutex_);
  kvr_TestLabelsList*& list = lists_[value.number];
  if (list == nullptr) {
    const std::size_t count = value.bytes.size() / sizeof(kvr_TestLabel);
    // One new[] and one new: the record export frees them by delete[] and delete.
    list = new kvr_TestLabelsList{nullptr, static_cast<std::uint32_t>(count)};
    if (value.has_entries) {
      list->entries = new kvr_TestLabel[count];
      std::copy_n(value.bytes.data(), value.bytes.size(), reinterpret_cast<char*>(list->entries));
    }
    list_names_.set(list, value.number);
  }
  return list;
}

void Holdings::free_record(std::int64_t name) {
  const std::lock_guard lock(mutex_);
  if (const auto found = records_.find(name); found != records_.end()) {
    found->second.record->data_count = found->second.entries;
    ::free_record(found->second.record);
    records_.erase(found);
  }
}

void Holdings::free_list(std::int64_t name) {
  const std::lock_guard lock(mutex_);
  if (const auto found = lists_.find(name); found != lists_.end()) {
    if (found->second != nullptr) {
      delete[] found->second->entries;
      delete found->second;
    }
    lists_.erase(found);
  }
}

const char* Holdings::keep(const std::string& text) {
  const std::lock_guard lock(mutex_);
  return texts_.insert(text).first->c_str();
}

}  // namespace tape
