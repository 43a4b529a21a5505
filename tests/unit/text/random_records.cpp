#include "unit/text/random_records.h"

#include <bit>
#include <cstring>
#include <limits>
#include <span>

namespace {

constexpr float kWords[] = {0.0F,
                            -0.0F,
                            1.0F,
                            -1.0F,
                            0.1F,
                            3.14159265F,
                            -3.14159265F,
                            3.5F,
                            std::numeric_limits<float>::max(),
                            std::numeric_limits<float>::lowest(),
                            std::numeric_limits<float>::min(),
                            std::numeric_limits<float>::denorm_min(),
                            std::numeric_limits<float>::infinity(),
                            -std::numeric_limits<float>::infinity(),
                            std::numeric_limits<float>::quiet_NaN()};

constexpr kvr_code kCodes[] = {KVR_RES_OPEN_LEAD, KVR_RES_GAIN_CALIBRATION_ERROR,
                               KVR_MSG_TOUCHSCREEN_TEST_FINISHED, static_cast<kvr_code>(180),
                               static_cast<kvr_code>(-1)};

}  // namespace

/// Four bytes that are a float of some kind, or half of a double.
std::uint32_t RandomRecords::word() {
  switch (below(4)) {
    case 0:
      return static_cast<std::uint32_t>(random_());
    case 1:
      return std::bit_cast<std::uint32_t>(kWords[below(std::size(kWords))]);
    default:
      return std::bit_cast<std::uint32_t>(static_cast<float>(below(2000000)) / 1000 - 1000);
  }
}

kvr_code RandomRecords::code() {
  if (one_in(4)) {
    return KVR_RES_NOT_TESTED;
  }
  return one_in(3) ? kCodes[below(std::size(kCodes))] : KVR_RES_OK;
}

template <typename Enumeration>
Enumeration RandomRecords::up_to(std::uint32_t last) {
  return static_cast<Enumeration>(one_in(20) ? word() : below(last + 2));
}

template <std::size_t size>
void RandomRecords::fill_text(char (&field)[size]) {
  const std::uint32_t length = one_in(4) ? size : below(size);
  for (std::uint32_t i = 0; i < length; ++i) {
    field[i] = static_cast<char>(one_in(5) ? 1 + below(255) : '0' + below(75));
  }
  if (length < size) {
    field[length] = '\0';  // the bytes after it keep old content
  }
}

template <typename Record>
void RandomRecords::fill_words(Record& record) {
  static_assert(sizeof(Record) % sizeof(std::uint32_t) == 0);
  const bool is_plain = one_in(8);
  std::byte* const bytes = static_cast<std::byte*>(static_cast<void*>(&record));
  for (std::size_t at = 0; at < sizeof(Record); at += sizeof(std::uint32_t)) {
    const std::uint32_t value = is_plain ? 0 : word();
    std::memcpy(bytes + at, &value, sizeof value);
  }
}

template <typename Record>
Record* RandomRecords::make() {
  Record* const record = arena_->make<Record>();
  fill_words(*record);
  fill(*record);
  return record;
}

template <typename Record>
Record** RandomRecords::make_entries(std::uint32_t count, std::uint32_t null_one_in) {
  if (one_in(20)) {
    return nullptr;
  }
  Record** const entries = arena_->make_array<Record*>(count);
  for (std::uint32_t i = 0; i < count; ++i) {
    entries[i] = one_in(null_one_in) ? nullptr : make<Record>();
  }
  return entries;
}

void RandomRecords::fill(kvr_TestSetup& setup) {
  for (kvr_WindingSetup& winding : setup.windings) {
    winding.winding_type = up_to<kvr_WindingType>(13);
  }
  for (kvr_ConnectionSetup& connection : setup.connections) {
    connection.clock = one_in(3) ? kClockUnknown : static_cast<std::int32_t>(word());
  }
  setup.connection_type = one_in(30) ? word() : below(3);
}

void RandomRecords::fill(kvr_TestData_Ratio_Phase& phase) {
  phase.status = code();
  fill_text(phase.phase_name);
  fill_text(phase.high_side_phase);
  fill_text(phase.low_side_phase);
  fill_text(phase.tvr_name);
  fill_text(phase.tvr_high);
  fill_text(phase.tvr_low);
  if (one_in(4)) {
    phase.tvr = phase.tnr;
  }
  if (one_in(4)) {
    phase.tnr_error = 0;
  }
}

void RandomRecords::fill(kvr_TestData_Ratio_3ph& result) {
  fill(result.setup);
  result.test_type = up_to<kvr_TestType>(18);
  result.tested_phase = one_in(4) ? static_cast<std::int32_t>(below(4)) - 1 : kAllPhases;
  result.health_state = up_to<kvr_HealthState>(4);
  for (kvr_TestData_Ratio_Phase& phase : result.phases) {
    fill(phase);
  }
  if (one_in(2)) {
    result.reference_ratio = 0;
  }
  ++nesting_;
  const bool may_nest = nesting_ < 4;
  result.step_up = may_nest && one_in(6) ? make<kvr_TestData_Ratio_3ph>() : nullptr;
  result.step_down = may_nest && one_in(6) ? make<kvr_TestData_Ratio_3ph>() : nullptr;
  --nesting_;
}

void RandomRecords::fill(kvr_TestData_Ratio_1ph& result) {
  result.direction = up_to<kvr_TestType>(5);
  fill(result.phase);
  if (one_in(2)) {
    result.reference_ratio = 0;
  }
}

void RandomRecords::fill(kvr_TestData_Impedance_Phase& phase) {
  phase.corrected = static_cast<std::uint8_t>(below(2) * below(256));
  phase.status = code();
  fill_text(phase.phase_name);
  fill_text(phase.high_side_phase);
  fill_text(phase.low_side_phase);
}

void RandomRecords::fill(kvr_TestData_Impedance_SingleTest& test) {
  test.phase_mode = static_cast<std::int32_t>(below(4));
  for (kvr_TestData_Impedance_Phase& phase : test.phases) {
    fill(phase);
  }
}

void RandomRecords::fill(kvr_TestData_Impedance_List& list) {
  list.count = below(4);
  list.tests = nullptr;
  if (!one_in(10)) {
    list.tests = arena_->make_array<kvr_TestData_Impedance_SingleTest>(list.count);
    for (kvr_TestData_Impedance_SingleTest& test : std::span(list.tests, list.count)) {
      fill_words(test);
      fill(test);
    }
  }
}

void RandomRecords::fill(kvr_TestData_Impedance& result) {
  result.test_type = one_in(10) ? up_to<kvr_TestType>(18) : KVR_TEST_SCI;
  fill(result.setup);
  result.tests = one_in(10) ? nullptr : make<kvr_TestData_Impedance_List>();
}

void RandomRecords::fill(kvr_TestData_Efficiency& result) {
  fill(result.setup);
  result.fast_mode = static_cast<std::uint8_t>(below(2));
  for (kvr_TestData_Efficiency_Phase& phase : result.phases) {
    phase.corrected = static_cast<std::uint8_t>(below(2));
    phase.status = code();
    fill_text(phase.phase_name);
    fill_text(phase.high_side_phase);
    fill_text(phase.low_side_phase);
  }
}

void RandomRecords::fill(kvr_TestData_Transition& transition) { transition.status = code(); }

void RandomRecords::fill(kvr_TestData_Point& point) {
  fill_text(point.name);
  point.state = up_to<kvr_PointState>(11);
  point.error = code();
  point.transition = one_in(3) ? make<kvr_TestData_Transition>() : nullptr;
}

void RandomRecords::fill(kvr_TestData_Tap& tap) {
  tap.point_count = below(4);
  tap.points = make_entries<kvr_TestData_Point>(tap.point_count);
}

void RandomRecords::fill(kvr_TestData_Taps& list) {
  list.count = below(4);
  list.taps = make_entries<kvr_TestData_Tap>(list.count);
}

void RandomRecords::fill(kvr_TestData_Sides& sides) {
  for (kvr_TestData_Taps** side : {&sides.primary, &sides.secondary, &sides.tertiary}) {
    *side = one_in(3) ? nullptr : make<kvr_TestData_Taps>();
  }
}

void RandomRecords::fill(kvr_TestData_Resistance& result) {
  result.sides = one_in(10) ? nullptr : make<kvr_TestData_Sides>();
}

void RandomRecords::fill(kvr_TestData_Demag_Phase& phase) { fill_text(phase.demag_phase); }

void RandomRecords::fill(kvr_TestData_Demag& result) {
  result.phase_count = below(5);
  result.phases = make_entries<kvr_TestData_Demag_Phase>(result.phase_count);
}

void RandomRecords::fill(kvr_TestData_MagneticBalance& result) {
  result.side = below(3);
  for (kvr_TestData_MagneticBalance_Row& row : result.rows) {
    fill_text(row.high_label);
    fill_text(row.low_label);
  }
}

void RandomRecords::fill(kvr_TestData_Drm& result) {
  result.first_transition = one_in(4) ? nullptr : make<kvr_TestData_Drm_Transition>();
}

void RandomRecords::fill(kvr_TestData_GoNoGo& result) {
  result.status_open_circuit = code();
  result.status_short_circuit = code();
  result.status_minimum_inductance = code();
}

void RandomRecords::fill(kvr_TestRecord& record) {
  fill_text(record.asset_id);
  fill_text(record.group_id);
  fill_text(record.record_id);
  fill_text(record.timestamp);
  fill(record.setup);
  record.test_type = static_cast<kvr_TestType>(one_in(50) ? word() : below(20));
  record.data_count = below(4);
  // The arrays of other types are invalid addresses that must not be read.
  const auto type = static_cast<std::uint32_t>(record.test_type);
  const std::uint32_t count = record.data_count;
  if (type == 1 || type == 2 || (type >= 4 && type <= 6) || type == 16) {
    record.data_ratio_3ph = one_in(2) ? nullptr : make_entries<kvr_TestData_Ratio_3ph>(count);
    record.data_ratio_1ph = one_in(2) ? nullptr : make_entries<kvr_TestData_Ratio_1ph>(count);
  } else if (type == 8 || type == 9) {
    record.data_resistance = make_entries<kvr_TestData_Resistance>(count);
  } else if (type == 10) {
    record.data_demag = make_entries<kvr_TestData_Demag>(count);
  } else if (type == 11 || type == 12) {
    record.data_impedance = make_entries<kvr_TestData_Impedance>(count);
  } else if (type == 13) {
    record.data_efficiency = make_entries<kvr_TestData_Efficiency>(count);
  } else if (type == 14) {
    record.data_mbalance = make_entries<kvr_TestData_MagneticBalance>(count);
  } else if (type == 15) {
    record.data_heatrun = make_entries<kvr_TestData_Resistance>(count);
  } else if (type == 17) {
    record.data_gonogo = make_entries<kvr_TestData_GoNoGo>(count);
  } else if (type == 18) {
    record.data_drm = make_entries<kvr_TestData_Drm>(count);
  }
}

OwnedRecord RandomRecords::next() {
  OwnedRecord owned;
  arena_ = &owned.arena();
  fill_words(*owned.get());
  fill(*owned.get());
  return owned;
}
