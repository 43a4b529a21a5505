#include "tape/vocabulary/differences.h"

#include <algorithm>
#include <cstring>
#include <span>
#include <utility>

#include "record_form/record_codec.h"
#include "record_form/record_shape.h"
#include "tape/vocabulary/layouts.h"
#include "tape/vocabulary/record_names.h"

namespace tape {
namespace {

/// Visitor of record_shape.h that lists the parts of a nest.
class PartLister {
 public:
  template <class Record>
  void record(const Record& record, const std::string& path) {
    Record copy;
    std::memcpy(&copy, &record, sizeof copy);
    clear_links(copy);
    parts.push_back(
        {path, std::string(name_of(record)), {reinterpret_cast<const char*>(&copy), sizeof copy}});
    std::memcpy(&copy, &record, sizeof copy);
    const std::string outer = std::exchange(prefix_, path.empty() ? "" : path + ".");
    describe(copy, *this);
    prefix_ = outer;
  }

  template <std::size_t size>
  void name(char (&)[size]) {}

  template <class Record>
  void one(Record*& link) {
    if (link != nullptr) {
      record(*link, unique(prefix_ + short_name(*link)));
    }
  }

  template <class Record>
  void block(Record*& records, std::uint32_t count) {
    for (std::uint32_t i = 0; records != nullptr && i < count; ++i) {
      record(records[i], prefix_ + short_name(records[i]) + "[" + std::to_string(i) + "]");
    }
  }

  template <class Record>
  void each(Record**& records, std::uint32_t count) {
    for (std::uint32_t i = 0; records != nullptr && i < count; ++i) {
      if (records[i] != nullptr) {
        record(*records[i], prefix_ + short_name(*records[i]) + "[" + std::to_string(i) + "]");
      }
    }
  }

  void text(const char*&) {}

  std::vector<RecordPart> parts;

 private:
  template <class Record>
  static std::string short_name(const Record& record) {
    constexpr std::string_view kPrefix = "kvr_TestData_";
    return std::string(name_of(record).substr(kPrefix.size()));
  }

  /// Two links of one record to the same type: up and down, primary and secondary.
  std::string unique(std::string path) const {
    const auto taken = [&](const std::string& name) {
      return std::any_of(parts.begin(), parts.end(),
                         [&](const RecordPart& part) { return part.path == name; });
    };
    std::string name = path;
    for (int i = 2; taken(name); ++i) {
      name = path + "-" + std::to_string(i);
    }
    return name;
  }

  std::string prefix_;
};

RecordNest decoded(const Value& value) {
  const auto bytes = std::as_bytes(std::span(value.bytes));
  if (value.content == Value::Content::kForm) {
    return decode_record(bytes);
  }
  if (value.content == Value::Content::kBlocks) {
    return decode_plain_record(bytes);
  }
  return nullptr;
}

std::string in_bytes(const std::string& text, std::string_view bytes) {
  return text + " (" + hexadecimal(bytes) + ")";
}

/// Compares blocks of one layout, member by member; bytes without a name are one more.
class BlockComparison {
 public:
  BlockComparison(std::vector<Difference>& found, std::size_t most) : found_(found), most_(most) {}

  void compare(const std::string& path, const std::string& layout, std::string_view first,
               std::string_view second) {
    if (first == second) {
      return;
    }
    if (first.size() != second.size()) {
      add(path, std::to_string(first.size()) + " bytes", std::to_string(second.size()) + " bytes");
      return;
    }
    std::string named(first.size(), '\0');
    if (const Layout* record = find_layout(layout)) {
      for (const PlainMember& member : plain_members(*record)) {
        compare_member(path, member, first, second, named);
      }
    }
    for (std::size_t at = 0; at < first.size(); ++at) {
      if (named[at] == 0 && first[at] != second[at]) {
        const std::size_t length = std::min<std::size_t>(first.size() - at, 8);
        add(path + " at byte " + std::to_string(at), hexadecimal(first.substr(at, length)),
            hexadecimal(second.substr(at, length)));
        return;
      }
    }
  }

  void add(std::string field, std::string first, std::string second) {
    if (found_.size() < most_) {
      found_.push_back({std::move(field), std::move(first), std::move(second)});
    }
  }

 private:
  void compare_member(const std::string& path, const PlainMember& member, std::string_view first,
                      std::string_view second, std::string& named) {
    const std::size_t offset = member.member.offset;
    const std::size_t size = member.member.size;
    std::fill_n(named.begin() + static_cast<std::ptrdiff_t>(offset), size, '\1');
    const std::string_view one = first.substr(offset, size);
    const std::string_view other = second.substr(offset, size);
    if (one != other) {
      add(path.empty() ? member.path : path + "." + member.path,
          in_bytes(member_text(member, first), one), in_bytes(member_text(member, second), other));
    }
  }

  std::vector<Difference>& found_;
  std::size_t most_;
};

void compare_texts(BlockComparison& comparison, const std::string& field, const std::string& first,
                   const std::string& second) {
  const auto [one, other] = std::mismatch(first.begin(), first.end(), second.begin(), second.end());
  const auto at = static_cast<std::size_t>(one - first.begin());
  const std::size_t from = at < 10 ? 0 : at - 10;
  comparison.add(field + " at character " + std::to_string(at), in_quotes(first.substr(from), 40),
                 in_quotes(second.substr(from), 40));
}

void compare_records(BlockComparison& comparison, const std::string& field, const Value& first,
                     const Value& second) {
  const std::vector<RecordPart> one = parts_of(first);
  const std::vector<RecordPart> other = parts_of(second);
  if (first.number != second.number || one.empty() != other.empty() ||
      first.others != second.others || first.data_count != second.data_count) {
    comparison.add(field, value_text(first), value_text(second));
  }
  const std::size_t both = std::min(one.size(), other.size());
  for (std::size_t i = 0; i < both; ++i) {
    if (one[i].path != other[i].path) {
      comparison.add(field, one[i].path, other[i].path);
      return;
    }
    comparison.compare(one[i].path.empty() ? field : field + "." + one[i].path, one[i].layout,
                       one[i].bytes, other[i].bytes);
  }
  if (one.size() != other.size()) {
    const auto& longer = one.size() > both ? one : other;
    comparison.add(field + "." + longer[both].path, one.size() > both ? "there" : "missing",
                   one.size() > both ? "missing" : "there");
  }
  if (first.raw != second.raw) {
    if (first.raw && second.raw) {
      compare_texts(comparison, field + ".raw", *first.raw, *second.raw);
    } else {
      comparison.add(field + ".raw", first.raw ? "there" : "null", second.raw ? "there" : "null");
    }
  }
}

void compare_lists(BlockComparison& comparison, const std::string& field, const Value& first,
                   const Value& second) {
  constexpr std::size_t kEntry = sizeof(kvr_TestLabel);
  if (first.number != second.number || first.has_entries != second.has_entries ||
      first.bytes.size() != second.bytes.size()) {
    comparison.add(field, value_text(first), value_text(second));
  }
  const std::size_t entries = std::min(first.bytes.size(), second.bytes.size()) / kEntry;
  for (std::size_t i = 0; i < entries; ++i) {
    comparison.compare(field + "[" + std::to_string(i) + "]", "kvr_TestLabel",
                       std::string_view(first.bytes).substr(i * kEntry, kEntry),
                       std::string_view(second.bytes).substr(i * kEntry, kEntry));
  }
}

void compare(BlockComparison& comparison, const std::string& field, const Value& first,
             const Value& second, const std::vector<Difference>& found) {
  if (first == second) {
    return;
  }
  const std::size_t before = found.size();
  if (first.kind == second.kind) {
    switch (first.kind) {
      case Value::Kind::kBlock:
        comparison.compare(field, first.layout, first.bytes, second.bytes);
        break;
      case Value::Kind::kRecord:
        compare_records(comparison, field, first, second);
        break;
      case Value::Kind::kList:
        compare_lists(comparison, field, first, second);
        break;
      default:
        break;
    }
  }
  if (found.size() == before) {
    comparison.add(field, value_text(first), value_text(second));
  }
}

}  // namespace

std::vector<RecordPart> parts_of(const Value& record) {
  if (record.content == Value::Content::kHead) {
    return {{"", "kvr_TestRecord", record.bytes}};
  }
  const RecordNest nest = decoded(record);
  if (nest == nullptr) {
    return {};
  }
  PartLister lister;
  lister.record(*nest, "");
  return std::move(lister.parts);
}

std::vector<Difference> differences(const Fields& first, const Fields& second, std::size_t most) {
  std::vector<Difference> found;
  BlockComparison comparison(found, most);
  for (const Field& field : first) {
    const Value* other = find_field(second, field.name);
    compare(comparison, field.name, field.value, other == nullptr ? Value() : *other, found);
  }
  for (const Field& field : second) {
    if (find_field(first, field.name) == nullptr) {
      comparison.add(field.name, "missing", value_text(field.value));
    }
  }
  return found;
}

std::string value_text(const Value& value) {
  switch (value.kind) {
    case Value::Kind::kNothing:
      return "null";
    case Value::Kind::kNumber:
      return std::to_string(value.number);
    case Value::Kind::kText:
      return in_quotes(value.bytes);
    case Value::Kind::kBlock:
      return value.layout + " (" + std::to_string(value.bytes.size()) + " bytes)";
    case Value::Kind::kRecord: {
      const std::string name =
          value.number == 0 ? "an unknown record" : "record " + std::to_string(value.number);
      return name +
             (value.bytes.empty() ? "" : ", " + std::to_string(value.bytes.size()) + " bytes") +
             (value.raw ? ", raw data of " + std::to_string(value.raw->size()) : "") +
             (value.others == 0 ? "" : ", other arrays " + std::to_string(value.others));
    }
    case Value::Kind::kList:
      break;
  }
  return (value.number == 0 ? "an unknown list" : "list " + std::to_string(value.number)) +
         (value.has_entries
              ? ", " + std::to_string(value.bytes.size() / sizeof(kvr_TestLabel)) + " entries"
              : "");
}

}  // namespace tape
