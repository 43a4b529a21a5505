#pragma once

#include "api/result_records.h"

// The fields of a ratio result by name, described once: the output writes them all, and limits may
// name any number among them. for_each_field(record, use) calls `use(name, field)` for each field
// that is not reserved, in the order of the record; a field may be a record itself or an array.

template <class Use>
void for_each_field(const kvr_WindingSetup& winding, Use& use) {
  use("winding_type", winding.winding_type);
  use("voltage", winding.voltage);
  use("current", winding.current);
  use("phase_shift", winding.phase_shift);
  use("tap_changer", winding.tap_changer);
  use("winding_setting", winding.winding_setting);
}

template <class Use>
void for_each_field(const kvr_ConnectionSetup& connection, Use& use) {
  use("clock", connection.clock);
  use("kva", connection.kva);
}

template <class Use>
void for_each_field(const kvr_TestSetup& setup, Use& use) {
  use("windings", setup.windings);
  use("connection_type", setup.connection_type);
  use("connections", setup.connections);
  use("line_frequency", setup.line_frequency);
  use("setup_value_a", setup.setup_value_a);
  use("setup_value_b", setup.setup_value_b);
  use("temperature_from", setup.temperature_from);
  use("temperature_to", setup.temperature_to);
  use("setup_value_c", setup.setup_value_c);
  use("setup_value_d", setup.setup_value_d);
  use("setup_flag_a", setup.setup_flag_a);
  use("raw_data_requested", setup.raw_data_requested);
  use("setup_flag_b", setup.setup_flag_b);
}

template <class Use>
void for_each_field(const kvr_TestData_Ratio_Phase& phase, Use& use) {
  use("status", phase.status);
  use("phase_name", phase.phase_name);
  use("high_side_phase", phase.high_side_phase);
  use("low_side_phase", phase.low_side_phase);
  use("tvr_name", phase.tvr_name);
  use("tvr_high", phase.tvr_high);
  use("tvr_low", phase.tvr_low);
  use("voltage_h", phase.voltage_h);
  use("voltage_x", phase.voltage_x);
  use("tnr", phase.tnr);
  use("tnr_error", phase.tnr_error);
  use("tvr", phase.tvr);
  use("true_ratio", phase.true_ratio);
  use("true_ratio_error", phase.true_ratio_error);
  use("frequency", phase.frequency);
  use("phase_high", phase.phase_high);
  use("phase_low", phase.phase_low);
  use("phase_shift_absolute", phase.phase_shift_absolute);
  use("phase_deviation_from_user_phasing", phase.phase_deviation_from_user_phasing);
  use("efi", phase.efi);
  use("voltage_rms", phase.voltage_rms);
  use("current_rms", phase.current_rms);
  use("vol_rms_high", phase.vol_rms_high);
  use("vol_rms_low", phase.vol_rms_low);
  use("curr_h", phase.curr_h);
  use("curr_x", phase.curr_x);
  use("induced_voltage", phase.induced_voltage);
}

template <class Use>
void for_each_field(const kvr_TestData_Ratio_1ph& test, Use& use) {
  use("direction", test.direction);
  use("high_side_phase", test.high_side_phase);
  use("low_side_phase", test.low_side_phase);
  use("high_side_extra", test.high_side_extra);
  use("low_side_extra", test.low_side_extra);
  use("setup", test.setup);
  use("test_voltage", test.test_voltage);
  use("request_flag_a", test.request_flag_a);
  use("request_flag_b", test.request_flag_b);
  use("limit_a", test.limit_a);
  use("limit_b", test.limit_b);
  use("reference_ratio", test.reference_ratio);
  use("phase", test.phase);
}

template <class Use>
void for_each_field(const kvr_TestData_Ratio_3ph& test, Use& use) {
  use("setup", test.setup);
  use("testing_mode", test.testing_mode);
  use("test_type", test.test_type);
  use("tested_phase", test.tested_phase);
  use("test_voltage", test.test_voltage);
  use("request_flag_a", test.request_flag_a);
  use("request_flag_b", test.request_flag_b);
  use("limit_a", test.limit_a);
  use("limit_b", test.limit_b);
  use("reference_ratio", test.reference_ratio);
  use("tvr_multiplier", test.tvr_multiplier);
  use("phases", test.phases);
  use("zero_seq_hi", test.zero_seq_hi);
  use("zero_seq_lo", test.zero_seq_lo);
  use("zero_phase_hi", test.zero_phase_hi);
  use("zero_phase_lo", test.zero_phase_lo);
  use("zero_distortion_index", test.zero_distortion_index);
  use("zero_distortion_phase", test.zero_distortion_phase);
  use("negative_seq_hi", test.negative_seq_hi);
  use("negative_seq_lo", test.negative_seq_lo);
  use("negative_phase_hi", test.negative_phase_hi);
  use("negative_phase_lo", test.negative_phase_lo);
  use("negative_distortion_index", test.negative_distortion_index);
  use("negative_distortion_phase", test.negative_distortion_phase);
  use("positive_seq_hi", test.positive_seq_hi);
  use("positive_seq_lo", test.positive_seq_lo);
  use("positive_phase_hi", test.positive_phase_hi);
  use("positive_phase_lo", test.positive_phase_lo);
  use("ratio_3ph", test.ratio_3ph);
  use("ratio_3ph_error", test.ratio_3ph_error);
  use("phase_3ph", test.phase_3ph);
  use("health_state", test.health_state);
  use("step_up", test.step_up);
  use("step_down", test.step_down);
}

/// The head of a record, without its results.
template <class Use>
void for_each_field(const kvr_TestRecord& record, Use& use) {
  use("asset_id", record.asset_id);
  use("group_id", record.group_id);
  use("record_id", record.record_id);
  use("save_mode", record.save_mode);
  use("test_count", record.test_count);
  use("test_type", record.test_type);
  use("setup", record.setup);
  use("timestamp", record.timestamp);
}
