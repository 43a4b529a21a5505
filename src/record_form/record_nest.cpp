#include "record_form/record_nest.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>

#include "record_form/record_shape.h"

namespace {

/// Moves the results of one family from all parts into one array; null when no part has any.
template <class Record>
Record** joined_family(const std::vector<RecordNest>& parts, std::uint32_t count,
                       Record** kvr_TestRecord::*family) {
  Record** joined = nullptr;
  std::uint32_t position = 0;
  for (const RecordNest& part : parts) {
    if (Record** results = (*part).*family; results != nullptr) {
      if (joined == nullptr) {
        joined = new Record* [count] {};
      }
      std::swap_ranges(results, results + part->data_count, joined + position);
    }
    position += part->data_count;
  }
  return joined;
}

const char* joined_raw_data(const std::vector<RecordNest>& parts) {
  std::string text;
  bool any = false;
  for (const RecordNest& part : parts) {
    if (part->raw_data != nullptr) {
      text += part->raw_data;
      any = true;
    }
  }
  return any ? new_text(text) : nullptr;
}

}  // namespace

void free_record(kvr_TestRecord* record) { free_nest(record); }

const char* new_text(std::string_view text) {
  char* copy = new char[text.size() + 1];
  *std::copy(text.begin(), text.end(), copy) = '\0';
  return copy;
}

kvr_TestLabel label_of(const kvr_TestRecord& record) {
  kvr_TestLabel label;
  std::memcpy(&label, &record, sizeof label);
  label.timestamp[sizeof label.timestamp - 1] = '\0';
  return label;
}

std::string_view family_of(const kvr_TestRecord& record) {
  std::string_view found = "none";
  for_each_family([&](std::string_view name, auto family) {
    if (found == "none" && record.*family != nullptr) {
      found = name;
    }
  });
  return found;
}

bool type_names_family(kvr_TestType type, std::string_view family) {
  switch (type) {
    case KVR_TEST_RATIO_DOWN:
    case KVR_TEST_RATIO_UP:
    case KVR_TEST_RATIO_AUTO:
    case KVR_TEST_RATIO_CT:
    case KVR_TEST_RATIO_PT_VT:
    case KVR_TEST_EXCITATION:
      return family == "ratio_3ph" || family == "ratio_1ph";
    case KVR_TEST_RESISTANCE:
    case KVR_TEST_RESISTANCE_CONT:
      return family == "resistance";
    case KVR_TEST_SCI:
    case KVR_TEST_FRSL:
      return family == "impedance";
    case KVR_TEST_DEMAG:
      return family == "demag";
    case KVR_TEST_EFFICIENCY:
      return family == "efficiency";
    case KVR_TEST_MBALANCE:
      return family == "mbalance";
    case KVR_TEST_HEATRUN:
      return family == "heatrun";
    case KVR_TEST_GONOGO:
      return family == "gonogo";
    case KVR_TEST_DRM:
      return family == "drm";
    case KVR_TEST_UNDEFINED:
      break;
  }
  return false;
}

RecordNest join_records(std::vector<RecordNest> parts) {
  if (parts.size() == 1) {
    return std::move(parts.front());
  }
  RecordNest joined(new kvr_TestRecord(*parts.front()));
  clear_links(*joined);
  joined->test_count = 0;
  joined->data_count = 0;
  for (const RecordNest& part : parts) {
    joined->test_count += part->test_count;
    joined->data_count += part->data_count;
  }
  for_each_family([&](std::string_view, auto family) {
    (*joined).*family = joined_family(parts, joined->data_count, family);
  });
  joined->raw_data = joined_raw_data(parts);
  return joined;
}
