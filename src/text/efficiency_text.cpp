#include "text/efficiency_text.h"

#include "text/formula_lines.h"
#include "text/result_bodies.h"
#include "utils/utils.h"

namespace {

using EfficiencyPhase = kvr_TestData_Efficiency_Phase;

void write_conditions(const kvr_TestData_Efficiency& r, TextWriter& text) {
  text << (r.fast_mode != 0 ? "Mode: Fast\n" : "Mode: Full\n");
  if (r.phases[0].corrected != 0) {  // speaks for all phases
    write_corrections(r.setup, text);
  } else {
    text << "Object temp = " << r.setup.temperature_from << " C\n";
  }
}

bool is_three_phase(kvr_WindingType winding) {
  return winding >= KVR_WINDING_D && winding <= KVR_WINDING_ZN;
}

}  // namespace

void write_three_phase_efficiency(const kvr_TestData_Efficiency& r, TextWriter& text) {
  const auto family = [&](std::string_view prefix, auto value) {
    write_formula_lines(text, r.phases, prefix, value);
  };
  write_conditions(r, text);
  const kvr_WindingSetup& high = Utils::winding_h(r.setup);
  if (high.winding_type == KVR_WINDING_CT) {
    text << "CH = " << high.current << '\n';
  } else {
    text << "VH = " << high.voltage << '\n';
  }
  text << "Power Frequency = " << r.setup.line_frequency << '\n';  // not "Line", as for one phase
  text << "kVA = " << Utils::connection(r.setup).kva << '\n';
  family("ratio_tnr: ", &EfficiencyPhase::ratio_tnr);
  family("load_rs_line: ", &EfficiencyPhase::load_rs_line);
  family("load_rs_zero: ", &EfficiencyPhase::load_rs_zero);
  family("noload_eddy_resistance_measured: ", &EfficiencyPhase::noload_eddy_resistance_measured);
  family("noload_eddy_resistance_corrected: ", &EfficiencyPhase::noload_eddy_resistance_corrected);
  family("Load losses I2R ", &EfficiencyPhase::load_i2r);
  family("Load losses Eddy&Stray ", &EfficiencyPhase::load_stray_eddy);
  family("Load losses ", &EfficiencyPhase::load_losses);
  text << "Total Load losses = " << r.total_load_losses << '\n';
  family("Hysteresis losses ", &EfficiencyPhase::hysteresis);
  text << "Total Hysteresis = " << r.total_hysteresis << '\n';
  family("Eddy current losses ", &EfficiencyPhase::eddy_current);
  text << "Total Eddy current = " << r.total_eddy_current << '\n';
  family("I^2R No Load ", &EfficiencyPhase::i2r_no_load);
  family("No Load losses ", &EfficiencyPhase::no_load_losses);
  text << "Total No Load losses = " << r.total_no_load_losses << '\n';
  family("Total losses ", &EfficiencyPhase::total_losses);
  text << "Total losses = " << r.total_losses << '\n';
  text << "Tx Efficiency % = " << r.efficiency_percent << '\n';
}

void write_single_phase_efficiency(const kvr_TestData_Efficiency& r, TextWriter& text) {
  const EfficiencyPhase& phase = r.phases[0];
  text << "Transformer Losses Test\n";
  write_conditions(r, text);
  text << "VH = " << Utils::winding_h(r.setup).voltage << '\n';
  text << "Line Frequency = " << r.setup.line_frequency << '\n';
  text << "kVA = " << Utils::connection(r.setup).kva << '\n';
  text << "ratio_tnr = " << phase.ratio_tnr << '\n';
  text << "load_rs_line = " << phase.load_rs_line << '\n';
  text << "load_rs_zero = " << phase.load_rs_zero << '\n';
  text << "noload_eddy_resistance_measured = " << phase.noload_eddy_resistance_measured << '\n';
  text << "noload_eddy_resistance_corrected = " << phase.noload_eddy_resistance_corrected << '\n';
  text << "Load losses, W = " << phase.load_losses << '\n';
  text << "Load stray&eddy, W = " << phase.load_stray_eddy << '\n';
  text << "Load i^2r, W = " << phase.load_i2r << '\n';
  text << "Hysteresis loss, W = " << phase.hysteresis << '\n';
  text << "Eddy current losses, W = " << phase.eddy_current << '\n';
  text << "I^2R No Load, W = " << phase.i2r_no_load << '\n';
  text << "No Load losses, W = " << phase.no_load_losses << '\n';
  text << "Total losses, W = " << phase.total_losses << '\n';
}

void write_efficiency(const kvr_TestData_Efficiency& r, TextWriter& text) {
  if (is_three_phase(Utils::winding_h(r.setup).winding_type)) {
    write_three_phase_efficiency(r, text);
  } else {
    write_single_phase_efficiency(r, text);
  }
  text << "Time, sec = " << r.duration_ms / 1000 << '\n';
}

void write_efficiency_body(const kvr_TestRecord& record, std::uint32_t i, TextWriter& text) {
  if (const kvr_TestData_Efficiency* const r = data_entry(record.data_efficiency, i)) {
    text << "Efficiency\n";
    write_efficiency(*r, text);
  }
}
