#include "tape/vocabulary/layouts.h"

#include <type_traits>

#include "api/client_api.h"

namespace tape {
namespace {

template <class Value>
constexpr MemberType member_type() {
  if constexpr (std::is_same_v<Value, kvr_code>) {
    return MemberType::kCode;
  } else if constexpr (std::is_pointer_v<Value>) {
    return MemberType::kPointer;
  } else if constexpr (std::is_floating_point_v<Value>) {
    return MemberType::kReal;
  } else if constexpr (std::is_class_v<Value>) {
    return MemberType::kRecord;
  } else {
    return MemberType::kNumber;
  }
}

template <class Value>
constexpr bool is_signed_number() {
  if constexpr (std::is_enum_v<Value>) {
    return std::is_signed_v<std::underlying_type_t<Value>>;
  } else {
    return std::is_signed_v<Value>;
  }
}

template <class Record>
std::vector<Member> members();

template <class Record>
const Layout& layout(std::string_view name) {
  static const Layout result{name, sizeof(Record), members<Record>()};
  return result;
}

/// Of a record within a record.
template <class Record>
const Layout* inner_layout();

template <>
const Layout* inner_layout<kvr_WindingSetup>();
template <>
const Layout* inner_layout<kvr_ConnectionSetup>();
template <>
const Layout* inner_layout<kvr_TestSetup>();
template <>
const Layout* inner_layout<kvr_TestData_Ratio_Phase>();
template <>
const Layout* inner_layout<kvr_TestData_Impedance_Phase>();
template <>
const Layout* inner_layout<kvr_TestData_Efficiency_Phase>();
template <>
const Layout* inner_layout<kvr_TestData_MagneticBalance_Cell>();
template <>
const Layout* inner_layout<kvr_TestData_MagneticBalance_Row>();

template <class Field>
Member make_member(std::string_view name, std::size_t offset, std::string_view unit = {}) {
  using Element = std::remove_extent_t<Field>;
  constexpr std::size_t count = std::is_array_v<Field> ? std::extent_v<Field> : 1;
  if constexpr (std::is_array_v<Field> && std::is_same_v<Element, char>) {
    return {name, unit, offset, count, 1, MemberType::kText, false, nullptr};
  } else if constexpr (std::is_class_v<Element>) {
    return {name,   unit,
            offset, sizeof(Element),
            count,  MemberType::kRecord,
            false,  inner_layout<Element>()};
  } else {
    return {name,
            unit,
            offset,
            sizeof(Element),  // NOLINT(bugprone-sizeof-expression): of a link, the pointer itself
            count,
            member_type<Element>(),
            is_signed_number<Element>(),
            nullptr};
  }
}

#define KVR_FIELD(member, ...)                   \
  make_member<decltype(Record::member)>(#member, \
                                        offsetof(Record, member) __VA_OPT__(, ) __VA_ARGS__)

// clang-format off
template <> std::vector<Member> members<kvr_InitParams>() {
  using Record = kvr_InitParams; return {
      KVR_FIELD(init_mode), KVR_FIELD(debug_mode), KVR_FIELD(quiet_mode),
      KVR_FIELD(init_setting_a), KVR_FIELD(init_setting_b), KVR_FIELD(status_callback),
      KVR_FIELD(status_context),
  };
}

template <> std::vector<Member> members<kvr_ClientAPIInfo>() {
  using Record = kvr_ClientAPIInfo; return {
      KVR_FIELD(api_info_head), KVR_FIELD(version),
  };
}

template <> std::vector<Member> members<kvr_DeviceInfo>() {
  using Record = kvr_DeviceInfo; return {
      KVR_FIELD(instrument_type), KVR_FIELD(serial_number), KVR_FIELD(hardware_version),
      KVR_FIELD(software_version), KVR_FIELD(firmware_version), KVR_FIELD(debug_mode),
      KVR_FIELD(device_date_time), KVR_FIELD(calibrated), KVR_FIELD(calibration_old),
      KVR_FIELD(calibration_date), KVR_FIELD(model_tier),
  };
}

template <> std::vector<Member> members<kvr_Status>() {
  using Record = kvr_Status; return {
      KVR_FIELD(device_status_code), KVR_FIELD(api_locked), KVR_FIELD(database_loaded),
      KVR_FIELD(measurement_board_connected), KVR_FIELD(emergency_button_pressed),
      KVR_FIELD(secondary_sd_mounted), KVR_FIELD(secondary_sd_read_only),
      KVR_FIELD(primary_sd_error), KVR_FIELD(secondary_sd_error),
  };
}

template <> std::vector<Member> members<kvr_Progress>() {
  using Record = kvr_Progress; return {
      KVR_FIELD(current), KVR_FIELD(total),
  };
}

template <> std::vector<Member> members<kvr_ProgressHandler>() {
  using Record = kvr_ProgressHandler; return {
      KVR_FIELD(progress_callback), KVR_FIELD(progress_context),
  };
}

template <> std::vector<Member> members<kvr_WindingSetup>() {
  using Record = kvr_WindingSetup; return {
      KVR_FIELD(winding_type), KVR_FIELD(voltage, "V"), KVR_FIELD(current, "A"),
      KVR_FIELD(phase_shift, "rad"), KVR_FIELD(tap_changer), KVR_FIELD(winding_setting),
  };
}

template <> std::vector<Member> members<kvr_ConnectionSetup>() {
  using Record = kvr_ConnectionSetup; return {
      KVR_FIELD(clock), KVR_FIELD(kva),
  };
}

template <> std::vector<Member> members<kvr_TestSetup>() {
  using Record = kvr_TestSetup; return {
      KVR_FIELD(windings), KVR_FIELD(connection_type), KVR_FIELD(connections),
      KVR_FIELD(line_frequency, "Hz"), KVR_FIELD(setup_value_a), KVR_FIELD(setup_value_b),
      KVR_FIELD(temperature_from, "degrees C"), KVR_FIELD(temperature_to, "degrees C"),
      KVR_FIELD(setup_value_c), KVR_FIELD(setup_value_d), KVR_FIELD(setup_flag_a),
      KVR_FIELD(raw_data_requested), KVR_FIELD(setup_flag_b),
  };
}

template <> std::vector<Member> members<kvr_TestRequestHeader>() {
  using Record = kvr_TestRequestHeader; return {
      KVR_FIELD(asset_id), KVR_FIELD(group_id), KVR_FIELD(record_id), KVR_FIELD(save_mode),
      KVR_FIELD(save_reserved),
  };
}

template <> std::vector<Member> members<kvr_Ratio1phRequest>() {
  using Record = kvr_Ratio1phRequest; return {
      KVR_FIELD(test_type), KVR_FIELD(high_side_phase), KVR_FIELD(low_side_phase),
      KVR_FIELD(high_side_extra), KVR_FIELD(low_side_extra), KVR_FIELD(setup),
      KVR_FIELD(test_voltage, "V"), KVR_FIELD(request_flag_a), KVR_FIELD(request_flag_b),
      KVR_FIELD(limit_a), KVR_FIELD(limit_b),
  };
}

template <> std::vector<Member> members<kvr_Ratio3phRequest>() {
  using Record = kvr_Ratio3phRequest; return {
      KVR_FIELD(setup), KVR_FIELD(testing_mode), KVR_FIELD(test_type), KVR_FIELD(tested_phase),
      KVR_FIELD(test_voltage, "V"), KVR_FIELD(request_flag_a), KVR_FIELD(request_flag_b),
      KVR_FIELD(limit_a), KVR_FIELD(limit_b),
  };
}

template <> std::vector<Member> members<kvr_TestData_Ratio_Phase>() {
  using Record = kvr_TestData_Ratio_Phase; return {
      KVR_FIELD(status), KVR_FIELD(phase_name), KVR_FIELD(high_side_phase),
      KVR_FIELD(low_side_phase), KVR_FIELD(tvr_name), KVR_FIELD(tvr_high), KVR_FIELD(tvr_low),
      KVR_FIELD(voltage_h, "V"), KVR_FIELD(voltage_x, "V"), KVR_FIELD(tnr),
      KVR_FIELD(tnr_error, "percent"), KVR_FIELD(tvr), KVR_FIELD(true_ratio),
      KVR_FIELD(true_ratio_error, "percent"), KVR_FIELD(frequency, "Hz"),
      KVR_FIELD(phase_high, "rad"), KVR_FIELD(phase_low, "rad"),
      KVR_FIELD(phase_shift_absolute, "rad"), KVR_FIELD(phase_deviation_from_user_phasing, "rad"),
      KVR_FIELD(efi, "rad"), KVR_FIELD(voltage_rms, "V"), KVR_FIELD(current_rms, "A"),
      KVR_FIELD(vol_rms_high, "V"), KVR_FIELD(vol_rms_low, "V"), KVR_FIELD(curr_h, "A"),
      KVR_FIELD(curr_x, "A"), KVR_FIELD(induced_voltage, "V"),
  };
}

template <> std::vector<Member> members<kvr_TestData_Ratio_3ph>() {
  using Record = kvr_TestData_Ratio_3ph; return {
      KVR_FIELD(setup), KVR_FIELD(testing_mode), KVR_FIELD(test_type), KVR_FIELD(tested_phase),
      KVR_FIELD(test_voltage, "V"), KVR_FIELD(request_flag_a), KVR_FIELD(request_flag_b),
      KVR_FIELD(limit_a), KVR_FIELD(limit_b), KVR_FIELD(reference_ratio),
      KVR_FIELD(tvr_multiplier), KVR_FIELD(phases), KVR_FIELD(zero_seq_hi),
      KVR_FIELD(zero_seq_lo), KVR_FIELD(zero_phase_hi, "rad"), KVR_FIELD(zero_phase_lo, "rad"),
      KVR_FIELD(zero_distortion_index, "fraction"), KVR_FIELD(zero_distortion_phase, "rad"),
      KVR_FIELD(negative_seq_hi), KVR_FIELD(negative_seq_lo), KVR_FIELD(negative_phase_hi, "rad"),
      KVR_FIELD(negative_phase_lo, "rad"), KVR_FIELD(negative_distortion_index, "fraction"),
      KVR_FIELD(negative_distortion_phase, "rad"), KVR_FIELD(positive_seq_hi),
      KVR_FIELD(positive_seq_lo), KVR_FIELD(positive_phase_hi, "rad"),
      KVR_FIELD(positive_phase_lo, "rad"), KVR_FIELD(ratio_3ph),
      KVR_FIELD(ratio_3ph_error, "percent"), KVR_FIELD(phase_3ph, "rad"), KVR_FIELD(health_state),
      KVR_FIELD(step_up), KVR_FIELD(step_down),
  };
}

template <> std::vector<Member> members<kvr_TestData_Ratio_1ph>() {
  using Record = kvr_TestData_Ratio_1ph; return {
      KVR_FIELD(direction), KVR_FIELD(high_side_phase), KVR_FIELD(low_side_phase),
      KVR_FIELD(high_side_extra), KVR_FIELD(low_side_extra), KVR_FIELD(setup),
      KVR_FIELD(test_voltage, "V"), KVR_FIELD(request_flag_a), KVR_FIELD(request_flag_b),
      KVR_FIELD(limit_a), KVR_FIELD(limit_b), KVR_FIELD(reference_ratio), KVR_FIELD(phase),
  };
}

template <> std::vector<Member> members<kvr_TestData_Impedance_Phase>() {
  using Record = kvr_TestData_Impedance_Phase; return {
      KVR_FIELD(corrected), KVR_FIELD(status), KVR_FIELD(phase_name), KVR_FIELD(high_side_phase),
      KVR_FIELD(low_side_phase), KVR_FIELD(v_ratio), KVR_FIELD(test_frequency, "Hz"),
      KVR_FIELD(rs, "ohm"), KVR_FIELD(xs, "ohm"), KVR_FIELD(power_factor),
      KVR_FIELD(inductance, "H"), KVR_FIELD(capacitance, "F"), KVR_FIELD(z, "ohm"),
      KVR_FIELD(z_percent), KVR_FIELD(z_percent_error), KVR_FIELD(curr_rms, "A"),
  };
}

template <> std::vector<Member> members<kvr_TestData_Impedance_SingleTest>() {
  using Record = kvr_TestData_Impedance_SingleTest; return {
      KVR_FIELD(phases), KVR_FIELD(phase_mode), KVR_FIELD(avg_power_factor),
      KVR_FIELD(avg_z, "ohm"), KVR_FIELD(avg_z_percent),
  };
}

template <> std::vector<Member> members<kvr_TestData_Impedance_List>() {
  using Record = kvr_TestData_Impedance_List; return {
      KVR_FIELD(tests), KVR_FIELD(count),
  };
}

template <> std::vector<Member> members<kvr_TestData_Impedance>() {
  using Record = kvr_TestData_Impedance; return {
      KVR_FIELD(test_type), KVR_FIELD(setup), KVR_FIELD(tests),
  };
}

template <> std::vector<Member> members<kvr_TestData_Efficiency_Phase>() {
  using Record = kvr_TestData_Efficiency_Phase; return {
      KVR_FIELD(corrected), KVR_FIELD(status), KVR_FIELD(phase_name), KVR_FIELD(high_side_phase),
      KVR_FIELD(low_side_phase), KVR_FIELD(ratio_tnr), KVR_FIELD(load_rs_line, "ohm"),
      KVR_FIELD(load_rs_zero, "ohm"), KVR_FIELD(load_i2r, "W"), KVR_FIELD(load_stray_eddy, "W"),
      KVR_FIELD(load_losses, "W"), KVR_FIELD(no_load_losses, "W"), KVR_FIELD(total_losses, "W"),
      KVR_FIELD(hysteresis, "W"), KVR_FIELD(eddy_current, "W"), KVR_FIELD(i2r_no_load, "W"),
      KVR_FIELD(noload_eddy_resistance_measured, "ohm"),
      KVR_FIELD(noload_eddy_resistance_corrected, "ohm"),
  };
}

template <> std::vector<Member> members<kvr_TestData_Efficiency>() {
  using Record = kvr_TestData_Efficiency; return {
      KVR_FIELD(duration_ms), KVR_FIELD(setup), KVR_FIELD(fast_mode), KVR_FIELD(phases),
      KVR_FIELD(total_load_losses, "W"), KVR_FIELD(total_no_load_losses, "W"),
      KVR_FIELD(total_eddy_current, "W"), KVR_FIELD(total_hysteresis, "W"),
      KVR_FIELD(total_losses, "W"), KVR_FIELD(efficiency_percent),
  };
}

template <> std::vector<Member> members<kvr_TestData_Transition>() {
  using Record = kvr_TestData_Transition; return {
      KVR_FIELD(status), KVR_FIELD(from), KVR_FIELD(to),
  };
}

template <> std::vector<Member> members<kvr_TestData_Point>() {
  using Record = kvr_TestData_Point; return {
      KVR_FIELD(name), KVR_FIELD(state), KVR_FIELD(error), KVR_FIELD(stabilization_ms),
      KVR_FIELD(ii, "A"), KVR_FIELD(ua, "V"), KVR_FIELD(ia, "A"), KVR_FIELD(stability, "percent"),
      KVR_FIELD(rm, "ohm"), KVR_FIELD(transition),
  };
}

template <> std::vector<Member> members<kvr_TestData_Tap>() {
  using Record = kvr_TestData_Tap; return {
      KVR_FIELD(tap), KVR_FIELD(points), KVR_FIELD(point_count),
  };
}

template <> std::vector<Member> members<kvr_TestData_Taps>() {
  using Record = kvr_TestData_Taps; return {
      KVR_FIELD(taps), KVR_FIELD(count),
  };
}

template <> std::vector<Member> members<kvr_TestData_Sides>() {
  using Record = kvr_TestData_Sides; return {
      KVR_FIELD(primary), KVR_FIELD(secondary), KVR_FIELD(tertiary),
  };
}

template <> std::vector<Member> members<kvr_TestData_Resistance>() {
  using Record = kvr_TestData_Resistance; return {
      KVR_FIELD(duration_ms), KVR_FIELD(sides),
  };
}

template <> std::vector<Member> members<kvr_TestData_Demag_Phase>() {
  using Record = kvr_TestData_Demag_Phase; return {
      KVR_FIELD(demag_phase), KVR_FIELD(remanence_initial, "fraction"),
      KVR_FIELD(remanence_after_demag, "fraction"),
  };
}

template <> std::vector<Member> members<kvr_TestData_Demag>() {
  using Record = kvr_TestData_Demag; return {
      KVR_FIELD(duration_ms), KVR_FIELD(phases), KVR_FIELD(phase_count),
  };
}

template <> std::vector<Member> members<kvr_TestData_MagneticBalance_Cell>() {
  using Record = kvr_TestData_MagneticBalance_Cell; return {
      KVR_FIELD(value),
  };
}

template <> std::vector<Member> members<kvr_TestData_MagneticBalance_Row>() {
  using Record = kvr_TestData_MagneticBalance_Row; return {
      KVR_FIELD(high_label), KVR_FIELD(low_label), KVR_FIELD(cell), KVR_FIELD(total),
  };
}

template <> std::vector<Member> members<kvr_TestData_MagneticBalance>() {
  using Record = kvr_TestData_MagneticBalance; return {
      KVR_FIELD(side), KVR_FIELD(rows), KVR_FIELD(max_imbalance),
  };
}

template <> std::vector<Member> members<kvr_TestData_Drm_Transition>() {
  using Record = kvr_TestData_Drm_Transition; return {
      KVR_FIELD(start_time), KVR_FIELD(end_time),
  };
}

template <> std::vector<Member> members<kvr_TestData_Drm>() {
  using Record = kvr_TestData_Drm; return {
      KVR_FIELD(first_transition), KVR_FIELD(transition_count),
  };
}

template <> std::vector<Member> members<kvr_TestData_GoNoGo>() {
  using Record = kvr_TestData_GoNoGo; return {
      KVR_FIELD(status_open_circuit), KVR_FIELD(status_short_circuit),
      KVR_FIELD(status_minimum_inductance),
  };
}

template <> std::vector<Member> members<kvr_TestRecord>() {
  using Record = kvr_TestRecord; return {
      KVR_FIELD(asset_id), KVR_FIELD(group_id), KVR_FIELD(record_id), KVR_FIELD(save_mode),
      KVR_FIELD(test_count), KVR_FIELD(test_type), KVR_FIELD(setup), KVR_FIELD(timestamp),
      KVR_FIELD(data_ratio_3ph), KVR_FIELD(data_ratio_1ph), KVR_FIELD(data_mbalance),
      KVR_FIELD(data_resistance), KVR_FIELD(data_demag), KVR_FIELD(data_efficiency),
      KVR_FIELD(data_impedance), KVR_FIELD(data_drm), KVR_FIELD(data_heatrun),
      KVR_FIELD(data_gonogo), KVR_FIELD(data_count), KVR_FIELD(raw_data),
  };
}

template <> std::vector<Member> members<kvr_TestLabel>() {
  using Record = kvr_TestLabel; return {
      KVR_FIELD(asset_id), KVR_FIELD(group_id), KVR_FIELD(record_id), KVR_FIELD(save_mode),
      KVR_FIELD(test_count), KVR_FIELD(test_type), KVR_FIELD(setup), KVR_FIELD(timestamp),
  };
}

template <> std::vector<Member> members<kvr_TestLabelsList>() {
  using Record = kvr_TestLabelsList; return {
      KVR_FIELD(entries), KVR_FIELD(count),
  };
}
// clang-format on

template <>
const Layout* inner_layout<kvr_WindingSetup>() {
  return &layout<kvr_WindingSetup>("kvr_WindingSetup");
}

template <>
const Layout* inner_layout<kvr_ConnectionSetup>() {
  return &layout<kvr_ConnectionSetup>("kvr_ConnectionSetup");
}

template <>
const Layout* inner_layout<kvr_TestSetup>() {
  return &layout<kvr_TestSetup>("kvr_TestSetup");
}

template <>
const Layout* inner_layout<kvr_TestData_Ratio_Phase>() {
  return &layout<kvr_TestData_Ratio_Phase>("kvr_TestData_Ratio_Phase");
}

template <>
const Layout* inner_layout<kvr_TestData_Impedance_Phase>() {
  return &layout<kvr_TestData_Impedance_Phase>("kvr_TestData_Impedance_Phase");
}

template <>
const Layout* inner_layout<kvr_TestData_Efficiency_Phase>() {
  return &layout<kvr_TestData_Efficiency_Phase>("kvr_TestData_Efficiency_Phase");
}

template <>
const Layout* inner_layout<kvr_TestData_MagneticBalance_Cell>() {
  return &layout<kvr_TestData_MagneticBalance_Cell>("kvr_TestData_MagneticBalance_Cell");
}

template <>
const Layout* inner_layout<kvr_TestData_MagneticBalance_Row>() {
  return &layout<kvr_TestData_MagneticBalance_Row>("kvr_TestData_MagneticBalance_Row");
}

}  // namespace

const std::vector<const Layout*>& all_layouts() {
  static const std::vector<const Layout*> layouts = {
      &layout<kvr_InitParams>("kvr_InitParams"),
      &layout<kvr_ClientAPIInfo>("kvr_ClientAPIInfo"),
      &layout<kvr_DeviceInfo>("kvr_DeviceInfo"),
      &layout<kvr_Status>("kvr_Status"),
      &layout<kvr_Progress>("kvr_Progress"),
      &layout<kvr_ProgressHandler>("kvr_ProgressHandler"),
      &layout<kvr_WindingSetup>("kvr_WindingSetup"),
      &layout<kvr_ConnectionSetup>("kvr_ConnectionSetup"),
      &layout<kvr_TestSetup>("kvr_TestSetup"),
      &layout<kvr_TestRequestHeader>("kvr_TestRequestHeader"),
      &layout<kvr_Ratio1phRequest>("kvr_Ratio1phRequest"),
      &layout<kvr_Ratio3phRequest>("kvr_Ratio3phRequest"),
      &layout<kvr_TestData_Ratio_Phase>("kvr_TestData_Ratio_Phase"),
      &layout<kvr_TestData_Ratio_3ph>("kvr_TestData_Ratio_3ph"),
      &layout<kvr_TestData_Ratio_1ph>("kvr_TestData_Ratio_1ph"),
      &layout<kvr_TestData_Impedance_Phase>("kvr_TestData_Impedance_Phase"),
      &layout<kvr_TestData_Impedance_SingleTest>("kvr_TestData_Impedance_SingleTest"),
      &layout<kvr_TestData_Impedance_List>("kvr_TestData_Impedance_List"),
      &layout<kvr_TestData_Impedance>("kvr_TestData_Impedance"),
      &layout<kvr_TestData_Efficiency_Phase>("kvr_TestData_Efficiency_Phase"),
      &layout<kvr_TestData_Efficiency>("kvr_TestData_Efficiency"),
      &layout<kvr_TestData_Transition>("kvr_TestData_Transition"),
      &layout<kvr_TestData_Point>("kvr_TestData_Point"),
      &layout<kvr_TestData_Tap>("kvr_TestData_Tap"),
      &layout<kvr_TestData_Taps>("kvr_TestData_Taps"),
      &layout<kvr_TestData_Sides>("kvr_TestData_Sides"),
      &layout<kvr_TestData_Resistance>("kvr_TestData_Resistance"),
      &layout<kvr_TestData_Demag_Phase>("kvr_TestData_Demag_Phase"),
      &layout<kvr_TestData_Demag>("kvr_TestData_Demag"),
      &layout<kvr_TestData_MagneticBalance_Cell>("kvr_TestData_MagneticBalance_Cell"),
      &layout<kvr_TestData_MagneticBalance_Row>("kvr_TestData_MagneticBalance_Row"),
      &layout<kvr_TestData_MagneticBalance>("kvr_TestData_MagneticBalance"),
      &layout<kvr_TestData_Drm_Transition>("kvr_TestData_Drm_Transition"),
      &layout<kvr_TestData_Drm>("kvr_TestData_Drm"),
      &layout<kvr_TestData_GoNoGo>("kvr_TestData_GoNoGo"),
      &layout<kvr_TestRecord>("kvr_TestRecord"),
      &layout<kvr_TestLabel>("kvr_TestLabel"),
      &layout<kvr_TestLabelsList>("kvr_TestLabelsList"),
  };
  return layouts;
}

}  // namespace tape
