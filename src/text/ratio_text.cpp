#include <numbers>

#include "text/formula_lines.h"
#include "text/result_bodies.h"
#include "text/text_output.h"

namespace {

using Phase = kvr_TestData_Ratio_Phase;
using ThreePhase = kvr_TestData_Ratio_3ph;

constexpr auto degree_text = KVR_Text_Output::RadToDegText;

struct Headings {
  kvr_TestType type;
  std::string_view three_phase;
  std::string_view single_phase;
};

// A three-phase result of the type ratio_auto always says DOWN: a test that settled on a direction
// has that direction as its type. A single-phase result says its own direction.
constexpr Headings kHeadings[] = {
    {KVR_TEST_RATIO_DOWN, "Ratio Test DOWN", "Ratio Test DOWN"},
    {KVR_TEST_RATIO_UP, "Ratio Test UP", "Ratio Test UP"},
    {KVR_TEST_RATIO_AUTO, "Voltage Ratio AUTO (DOWN)", "Voltage Ratio AUTO (DOWN)"},
    {KVR_TEST_RATIO_CT, "CT Test", "CT Test"},
    {KVR_TEST_RATIO_PT_VT, "PT/VT Test", "PT/VT Test"},
    {KVR_TEST_EXCITATION, "Transfomer Excitation DOWN 3ph", "Transfomer Excitation 1ph"},
};

/// Null for a type without a heading.
const Headings* find_headings(kvr_TestType type) {
  for (const Headings& headings : kHeadings) {
    if (headings.type == type) {
      return &headings;
    }
  }
  return nullptr;
}

/// One line for each phase, the failed ones too.
void write_numbers(TextWriter& text, const ThreePhase& r, const std::string_view (&labels)[3],
                   float Phase::*value) {
  for (int i = 0; i < 3; ++i) {
    text << labels[i] << r.phases[i].*value << '\n';
  }
}

void write_degrees(TextWriter& text, const ThreePhase& r, const std::string_view (&labels)[3],
                   float Phase::*value) {
  for (int i = 0; i < 3; ++i) {
    text << labels[i] << degree_text(r.phases[i].*value) << '\n';
  }
}

void write_voltage_lines(TextWriter& text, const ThreePhase& r, char (Phase::*terminals)[kNameSize],
                         float Phase::*value) {
  ForEachPhase(text, r.phases, [&](const Phase& phase) {
    text << "Voltage " << phase.*terminals << " = " << phase.*value << '\n';
  });
}

void write_ratios(TextWriter& text, const ThreePhase& r) {
  const bool has_reference = r.reference_ratio != 0;
  write_formula_lines(text, r.phases, "TNR Ratio ", &Phase::tnr);
  if (has_reference) {
    write_error_lines(text, r.phases, "TNR Ratio Error ", &Phase::tnr_error);
  }
  ForEachPhase(text, r.phases, [&](const Phase& phase) {
    write_formula_line(text, "TVR Ratio ", phase.tvr_name, phase.tvr_high, phase.tvr_low,
                       phase.tvr);
  });
  if (r.phases[0].true_ratio > 0.1) {  // phase A speaks for all three
    write_formula_lines(text, r.phases, "true_KVR Ratio ", &Phase::true_ratio);
    if (has_reference) {
      write_error_lines(text, r.phases, "true_KVR Ratio Error ", &Phase::true_ratio_error);
    }
  }
  write_voltage_lines(text, r, &Phase::high_side_phase, &Phase::voltage_h);
  write_voltage_lines(text, r, &Phase::low_side_phase, &Phase::voltage_x);
  write_numbers(text, r, {"Current_rms_A = ", "Current_rms_B = ", "Current_rms_C = "},
                &Phase::current_rms);
  write_numbers(text, r, {"Voltage_rms_A = ", "Voltage_rms_B = ", "Voltage_rms_C = "},
                &Phase::voltage_rms);
}

void write_phase_angles(TextWriter& text, const ThreePhase& r) {
  write_degrees(text, r, {"Phase A = ", "Phase B = ", "Phase C = "}, &Phase::phase_high);
  write_degrees(text, r, {"Phase a = ", "Phase b = ", "Phase c = "}, &Phase::phase_low);
  write_degrees(text, r, {"D_Fi a = ", "D_Fi b = ", "D_Fi c = "}, &Phase::phase_shift_absolute);
  write_degrees(
      text, r, {"D_a_from_user_phasing = ", "D_b_from_user_phasing = ", "D_c_from_user_phasing = "},
      &Phase::phase_deviation_from_user_phasing);
}

void write_three_phase_ratio(TextWriter& text, const ThreePhase& r) {
  text << "TVR multiplier factor = " << r.tvr_multiplier << '\n';
  text << "Frequency = " << r.phases[0].frequency << '\n';
  text << "Induced voltage = " << r.phases[0].induced_voltage << '\n';
  text << "Ratio 3PH: = " << r.ratio_3ph << '\n';
  if (r.reference_ratio != 0) {
    text.precision(kErrorPrecision);
    text << "Ratio 3PH error % = " << r.ratio_3ph_error << '\n';
    text.precision(kCommonPrecision);
  }
  text << "Phase 3PH: = " << degree_text(r.phase_3ph) << '\n';
}

void write_sequences(TextWriter& text, const ThreePhase& r) {
  text << "Positive Seq Hi = " << r.positive_seq_hi << '\n';
  text << "Positive Phase Hi = " << degree_text(r.positive_phase_hi) << '\n';
  text << "Negative Seq Hi = " << r.negative_seq_hi << '\n';
  text << "Negative Phase Hi = " << degree_text(r.negative_phase_hi) << '\n';
  text << "Zero Seq Hi = " << r.zero_seq_hi << '\n';
  text << "Zero Phase Hi = " << degree_text(r.zero_phase_hi) << '\n';
  text << "Positive Seq Lo = " << r.positive_seq_lo << '\n';
  text << "Positive Phase Lo = " << degree_text(r.positive_phase_lo) << '\n';
  text << "Negative Seq Lo = " << r.negative_seq_lo << '\n';
  text << "Negative Phase Lo = " << degree_text(r.negative_phase_lo) << '\n';
  text << "Zero Seq Lo = " << r.zero_seq_lo << '\n';
  text << "Zero Phase Lo = " << degree_text(r.zero_phase_lo) << '\n';
}

void write_distortions(TextWriter& text, const ThreePhase& r) {
  // These two angles are not folded, and have the digits of plain numbers.
  const auto unfolded = [](double radians) { return radians / std::numbers::pi * 180; };
  text << "Negative Distortion Phase = " << unfolded(r.negative_distortion_phase) << '\n';
  text << "Zero Distortion Phase = " << unfolded(r.zero_distortion_phase) << '\n';
  const auto percent = [](double fraction) { return fraction * 100; };
  text << "Negative Distortion Index = " << percent(r.negative_distortion_index) << "%\n";
  text << "Zero Distortion Index = " << percent(r.zero_distortion_index) << "%\n";
}

void write_result(TextWriter& text, const Phase& phase, double reference_ratio, bool detailed) {
  if (phase.status != KVR_RES_OK) {
    text << "test_status = " << CodeToText(phase.status) << '\n';  // and its numbers all the same
  }
  text << "TNR = " << phase.tnr << '\n';
  if (phase.tnr_error != 0) {
    text << "TNR error = " << phase.tnr_error << "%\n";
  }
  if (phase.tvr != 0 && phase.tvr != phase.tnr) {
    text << "TVR = " << phase.tvr << '\n';
  }
  text << "High side Phase = " << phase.high_side_phase << '\n';
  text << "Low side Phase = " << phase.low_side_phase << '\n';
  text << "Voltage H = " << phase.voltage_h << '\n';
  text << "Voltage X = " << phase.voltage_x << '\n';
  text << "curr H = " << phase.curr_h << '\n';
  text << "curr X = " << phase.curr_x << '\n';
  text << "eFi = " << phase.efi << " = " << degree_text(phase.efi) << " deg\n";
  if (detailed) {
    text << "Phase High = " << degree_text(phase.phase_high) << '\n';
    text << "Phase Low = " << degree_text(phase.phase_low) << '\n';
    text << "phase_shift_absolute = " << degree_text(phase.phase_shift_absolute) << '\n';
    text << "phase_deviation_from_user_phasing = "
         << degree_text(phase.phase_deviation_from_user_phasing) << '\n';
  }
  if (reference_ratio != 0) {
    text.precision(kErrorPrecision);
    text << "Ratio Error,% = " << phase.tnr_error << '\n';
    text.precision(kCommonPrecision);
  }
  text << "Current_rms = " << phase.current_rms << '\n';
  text << "Voltage_rms = " << phase.voltage_rms << '\n';
  text.precision(1);
  text << "Frequency = " << phase.frequency << '\n';
  text << "Induced voltage = " << phase.induced_voltage << '\n';
  text.precision(kCommonPrecision);
}

void write_all_phases(TextWriter& text, const ThreePhase& r, bool detailed) {
  write_ratios(text, r);
  if (!detailed) {
    return;
  }
  write_phase_angles(text, r);
  write_three_phase_ratio(text, r);
  write_sequences(text, r);
  write_distortions(text, r);
  text << "Transformer health state: " << KVR_Text_Output::HealthStateText(r.health_state) << '\n';
}

void write_result(TextWriter& text, const ThreePhase& r, bool detailed) {
  if (r.tested_phase == kAllPhases) {
    write_all_phases(text, r, detailed);
  } else if (r.tested_phase >= 0 && r.tested_phase < 3) {
    write_result(text, r.phases[r.tested_phase], r.reference_ratio, detailed);
  }
  text.precision(kCommonPrecision);
  if (r.step_up != nullptr) {
    text << "\nKVR UP:\n";
    write_result(text, *r.step_up, detailed);
  }
  if (r.step_down != nullptr) {
    text << "\nKVR DOWN:\n";
    write_result(text, *r.step_down, detailed);
  }
}

void write_three_phase(TextWriter& text, const ThreePhase& r) {
  const Headings* const headings = find_headings(r.test_type);
  if (headings == nullptr) {
    text << "ResultsToText_Ratio_3ph - Test type not supported: " << r.test_type << '\n';
    return;
  }
  text << headings->three_phase << '\n';
  write_result(text, r, true);
}

void write_single_phase(TextWriter& text, const kvr_TestData_Ratio_1ph& s, kvr_TestType test_type) {
  const Headings* const headings = find_headings(test_type);
  if (headings == nullptr) {
    text << "Testing mode not supported: " << test_type << '\n';
    return;
  }
  const bool is_auto_up = test_type == KVR_TEST_RATIO_AUTO && s.direction == KVR_TEST_RATIO_UP;
  text << (is_auto_up ? "Voltage Ratio AUTO (UP)" : headings->single_phase) << '\n';
  write_result(text, s.phase, s.reference_ratio, true);
}

}  // namespace

void write_ratio_body(const kvr_TestRecord& record, std::uint32_t i, TextWriter& text) {
  if (const ThreePhase* const r = data_entry(record.data_ratio_3ph, i)) {
    write_three_phase(text, *r);
  }
  if (const kvr_TestData_Ratio_1ph* const s = data_entry(record.data_ratio_1ph, i)) {
    write_single_phase(text, *s, record.test_type);
  }
}

void KVR_Text_Output::ResultsToText_3ph_VR(const kvr_TestData_Ratio_3ph* record,
                                           std::ostringstream& out, bool detailed) {
  TextWriter text(out);
  write_result(text, *record, detailed);
}

void KVR_Text_Output::ResultsToText_Phase_VR(const kvr_TestData_Ratio_Phase* phase,
                                             double reference_ratio, std::ostringstream& out,
                                             bool detailed) {
  TextWriter text(out);
  write_result(text, *phase, reference_ratio, detailed);
}
