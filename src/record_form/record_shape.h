#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <type_traits>

#include "api/result_records.h"

// What hangs from each record of a test result, described once. Freeing, encoding and decoding a
// nest are visitors of these functions, so none of them can forget a pointer that another one
// knows.
//
// describe(record, visitor) names the record's parts in a fixed order, which is the order of the
// stored form as well:
//   visitor.name(field)            a text in a fixed field, terminated within it
//   visitor.one(pointer)           one record, or null
//   visitor.block(pointer, count)  `count` records in one array, or null
//   visitor.each(pointer, count)   an array of `count` pointers to a record each, any of them null
//   visitor.text(pointer)          a text of any length, or null

template <class Visitor>
void describe(kvr_TestData_Ratio_Phase& phase, Visitor& visitor) {
  visitor.name(phase.phase_name);
  visitor.name(phase.high_side_phase);
  visitor.name(phase.low_side_phase);
  visitor.name(phase.tvr_name);
  visitor.name(phase.tvr_high);
  visitor.name(phase.tvr_low);
}

template <class Visitor>
void describe(kvr_TestData_Ratio_3ph& test, Visitor& visitor) {
  for (kvr_TestData_Ratio_Phase& phase : test.phases) {
    describe(phase, visitor);
  }
  visitor.one(test.step_up);
  visitor.one(test.step_down);
}

template <class Visitor>
void describe(kvr_TestData_Ratio_1ph& test, Visitor& visitor) {
  describe(test.phase, visitor);
}

template <class Visitor>
void describe(kvr_TestData_Impedance_SingleTest& test, Visitor& visitor) {
  for (kvr_TestData_Impedance_Phase& phase : test.phases) {
    visitor.name(phase.phase_name);
    visitor.name(phase.high_side_phase);
    visitor.name(phase.low_side_phase);
  }
}

template <class Visitor>
void describe(kvr_TestData_Impedance_List& list, Visitor& visitor) {
  visitor.block(list.tests, list.count);
}

template <class Visitor>
void describe(kvr_TestData_Impedance& test, Visitor& visitor) {
  visitor.one(test.tests);
}

template <class Visitor>
void describe(kvr_TestData_Efficiency& test, Visitor& visitor) {
  for (kvr_TestData_Efficiency_Phase& phase : test.phases) {
    visitor.name(phase.phase_name);
    visitor.name(phase.high_side_phase);
    visitor.name(phase.low_side_phase);
  }
}

template <class Visitor>
void describe(kvr_TestData_Transition&, Visitor&) {}

template <class Visitor>
void describe(kvr_TestData_Point& point, Visitor& visitor) {
  visitor.name(point.name);
  visitor.one(point.transition);
}

template <class Visitor>
void describe(kvr_TestData_Tap& tap, Visitor& visitor) {
  visitor.each(tap.points, tap.point_count);
}

template <class Visitor>
void describe(kvr_TestData_Taps& taps, Visitor& visitor) {
  visitor.each(taps.taps, taps.count);
}

template <class Visitor>
void describe(kvr_TestData_Sides& sides, Visitor& visitor) {
  visitor.one(sides.primary);
  visitor.one(sides.secondary);
  visitor.one(sides.tertiary);
}

template <class Visitor>
void describe(kvr_TestData_Resistance& test, Visitor& visitor) {
  visitor.one(test.sides);
}

template <class Visitor>
void describe(kvr_TestData_Demag_Phase& phase, Visitor& visitor) {
  visitor.name(phase.demag_phase);
}

template <class Visitor>
void describe(kvr_TestData_Demag& test, Visitor& visitor) {
  visitor.each(test.phases, test.phase_count);
}

template <class Visitor>
void describe(kvr_TestData_MagneticBalance& test, Visitor& visitor) {
  for (kvr_TestData_MagneticBalance_Row& row : test.rows) {
    visitor.name(row.high_label);
    visitor.name(row.low_label);
  }
}

template <class Visitor>
void describe(kvr_TestData_Drm_Transition&, Visitor&) {}

/// Readers use the first transition without checking the number of transitions.
template <class Visitor>
void describe(kvr_TestData_Drm& test, Visitor& visitor) {
  visitor.block(test.first_transition, std::max(test.transition_count, std::uint32_t{1}));
}

template <class Visitor>
void describe(kvr_TestData_GoNoGo&, Visitor&) {}

/// Calls `use(name, member)` for each family of tests in a fixed order, with the name that the
/// stored form knows it by and the array that holds its results.
template <class Use>
void for_each_family(Use use) {
  use("ratio_3ph", &kvr_TestRecord::data_ratio_3ph);
  use("ratio_1ph", &kvr_TestRecord::data_ratio_1ph);
  use("mbalance", &kvr_TestRecord::data_mbalance);
  use("resistance", &kvr_TestRecord::data_resistance);
  use("demag", &kvr_TestRecord::data_demag);
  use("efficiency", &kvr_TestRecord::data_efficiency);
  use("impedance", &kvr_TestRecord::data_impedance);
  use("drm", &kvr_TestRecord::data_drm);
  use("heatrun", &kvr_TestRecord::data_heatrun);
  use("gonogo", &kvr_TestRecord::data_gonogo);
}

/// The name of a family, by the array that holds its results.
template <class Test>
std::string_view family_name(Test** kvr_TestRecord::*family) {
  std::string_view found;
  for_each_family([&](std::string_view name, auto other) {
    if constexpr (std::is_same_v<decltype(other), Test* * kvr_TestRecord::*>) {
      found = other == family ? name : found;
    }
  });
  return found;
}

template <class Visitor>
void describe(kvr_TestRecord& record, Visitor& visitor) {
  visitor.name(record.asset_id);
  visitor.name(record.group_id);
  visitor.name(record.record_id);
  visitor.name(record.timestamp);
  for_each_family(
      [&](std::string_view, auto family) { visitor.each(record.*family, record.data_count); });
  visitor.text(record.raw_data);
}

/// Visitor that sets a record's pointers to null; counts stay as they are.
struct ClearLinks {
  template <std::size_t size>
  void name(char (&)[size]) {}
  template <class Record>
  void one(Record*& record) {
    record = nullptr;
  }
  template <class Record>
  void block(Record*& records, std::uint32_t) {
    records = nullptr;
  }
  template <class Record>
  void each(Record**& records, std::uint32_t) {
    records = nullptr;
  }
  void text(const char*& text) { text = nullptr; }
};

template <class Record>
void clear_links(Record& record) {
  ClearLinks visitor;
  describe(record, visitor);
}

/// Visitor that frees what hangs from a record, the innermost first.
struct FreeLinks {
  template <std::size_t size>
  void name(char (&)[size]) {}
  template <class Record>
  void one(Record*& record) {
    if (record != nullptr) {
      describe(*record, *this);
      delete record;
    }
  }
  template <class Record>
  void block(Record*& records, std::uint32_t count) {
    for (std::uint32_t i = 0; records != nullptr && i < count; ++i) {
      describe(records[i], *this);
    }
    delete[] records;
  }
  template <class Record>
  void each(Record**& records, std::uint32_t count) {
    for (std::uint32_t i = 0; records != nullptr && i < count; ++i) {
      one(records[i]);
    }
    delete[] records;
  }
  void text(const char*& text) { delete[] text; }
};

/// Frees a record of any kind with all that hangs from it; null is allowed.
template <class Record>
void free_nest(Record* record) {
  FreeLinks().one(record);
}
