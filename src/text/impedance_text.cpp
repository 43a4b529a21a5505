#include "text/formula_lines.h"
#include "text/result_bodies.h"
#include "text/text_output.h"
#include "utils/utils.h"

namespace {

using ImpedancePhase = kvr_TestData_Impedance_Phase;
using SingleTest = kvr_TestData_Impedance_SingleTest;

void write_ratings(TextWriter& text, const kvr_TestSetup& setup) {
  const kvr_WindingSetup& high = Utils::winding_h(setup);
  const kvr_WindingSetup& low = Utils::winding_x(setup);
  if (high.winding_type == KVR_WINDING_CT) {
    text << "CH = " << high.current << '\n';
    text << "CX = " << low.current << '\n';
  } else {
    text << "VH = " << high.voltage << '\n';
    text << "VX = " << low.voltage << '\n';
  }
}

void write_single_phase(TextWriter& text, const ImpedancePhase& phase) {
  text << "Test Frequency = " << phase.test_frequency << '\n';
  text << "Ratio = " << phase.v_ratio << '\n';
  text << "Phase = " << phase.phase_name << '\n';
  text << "Z = " << phase.z << '\n';
  text << "Z% = " << phase.z_percent << '\n';
  text << "Rs = " << phase.rs << '\n';
  text << "Xs = " << phase.xs << '\n';
  text << "inductance, H = " << phase.inductance << '\n';
  text << "capacitance, uF = " << static_cast<double>(phase.capacitance) * 1000000 << '\n';
  text << "PF = " << phase.power_factor << '\n';
  text << "curr_rms = " << phase.curr_rms << '\n';
}

void write_three_phase(TextWriter& text, const SingleTest& test) {
  const auto family = [&](std::string_view prefix, auto value) {
    write_formula_lines(text, test.phases, prefix, value);
  };
  family("Z % ", &ImpedancePhase::z_percent);
  write_error_lines(text, test.phases, "Z % error ", &ImpedancePhase::z_percent_error);
  family("Z ", &ImpedancePhase::z);
  family("test_frequency ", &ImpedancePhase::test_frequency);
  family("Xs_h ", &ImpedancePhase::xs);
  family("Rs ", &ImpedancePhase::rs);
  family("Inductance H ", &ImpedancePhase::inductance);
  family("PF % ", &ImpedancePhase::power_factor);
  family("V ratio ", &ImpedancePhase::v_ratio);
  family("curr_rms A ", &ImpedancePhase::curr_rms);
}

void write_single_test(TextWriter& text, const kvr_TestSetup& setup, const SingleTest& test) {
  write_ratings(text, setup);
  if (test.phase_mode == 1) {
    write_single_phase(text, test.phases[0]);
  } else {
    text << "avg_z = " << test.avg_z << '\n';
    text << "avg_z% = " << test.avg_z_percent << '\n';
    text << "avg_power_factor = " << test.avg_power_factor << '\n';
    write_three_phase(text, test);
  }
  text << '\n';
}

void write_list(TextWriter& text, const kvr_TestSetup& setup,
                const kvr_TestData_Impedance_List& list) {
  if (list.count == 0) {
    text << "No result";  // the end of the test ends this line
    return;
  }
  if (list.tests == nullptr) {
    return;
  }
  if (list.tests[0].phases[0].corrected != 0) {  // speaks for all tests
    write_corrections(setup, text);
  }
  for (std::uint32_t k = 0; k < list.count; ++k) {
    write_single_test(text, setup, list.tests[k]);
  }
}

}  // namespace

void write_impedance_body(const kvr_TestRecord& record, std::uint32_t i, TextWriter& text) {
  const kvr_TestData_Impedance* const r = data_entry(record.data_impedance, i);
  if (r == nullptr) {
    return;
  }
  if (r->test_type != KVR_TEST_SCI && r->test_type != KVR_TEST_FRSL) {
    text << "ResultsToText_Impedance - Testing mode not supported: " << r->test_type << '\n';
    return;
  }
  text << KVR_Text_Output::TestTypeText(r->test_type) << '\n';
  if (r->tests != nullptr) {
    write_list(text, r->setup, *r->tests);
  }
}

void write_corrections(const kvr_TestSetup& setup, TextWriter& text) {
  text << "Corrections applied ( from " << setup.temperature_from << " C to "
       << setup.temperature_to << " C)\n";
}

void KVR_Text_Output::ResultsToText_Impedance_Single_3ph(
    const kvr_TestData_Impedance_SingleTest* test, std::ostringstream& out) {
  TextWriter text(out);
  write_three_phase(text, *test);
}
