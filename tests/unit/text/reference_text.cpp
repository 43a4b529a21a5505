#include "unit/text/reference_text.h"

#include <cmath>
#include <limits>
#include <sstream>
#include <string>

#include "unit/text/plain_insertion.h"

namespace {

using std::string;

/// A number of a record: every float is widened.
struct N {
  double value;
};
std::ostream& operator<<(std::ostream& o, N number) {
  insert_plainly(o, number.value);
  return o;
}

template <std::size_t n>
string field_text(const char (&field)[n]) {
  string s;
  for (std::size_t i = 0; i < n && field[i] != '\0'; ++i) {
    s += field[i];
  }
  return s;
}

float to_degrees(float radians) {
  double product = radians;
  product *= 57.29577951308232;
  float d = static_cast<float>(product);
  if (d > 180) {
    d -= 360;
  } else if (d < -180) {
    d += 360;
  }
  return d;
}

string deg(float radians) {
  std::ostringstream o;
  o << std::fixed;
  o.precision(6);
  o << N{to_degrees(radians)};
  return o.str();
}

const kvr_WindingSetup& h_of(const kvr_TestSetup& s) {
  switch (s.connection_type) {
    case 0:
    case 1:
      return s.windings[0];
    case 2:
      return s.windings[1];
    default:
      throw BadPair{"winding_h"};
  }
}

const kvr_WindingSetup& x_of(const kvr_TestSetup& s) {
  switch (s.connection_type) {
    case 0:
      return s.windings[1];
    case 1:
    case 2:
      return s.windings[2];
    default:
      throw BadPair{"winding_x"};
  }
}

const kvr_ConnectionSetup& connection_of(const kvr_TestSetup& s) {
  if (s.connection_type == 0 || s.connection_type == 1 || s.connection_type == 2) {
    return s.connections[s.connection_type];
  }
  throw BadPair{"connection"};
}

string upper(std::uint32_t w) {
  switch (w) {
    case 0:
      return "";
    case 1:
      return "D";
    case 2:
      return "Y";
    case 3:
      return "YN";
    case 4:
      return "Z";
    case 5:
      return "ZN";
    case 6:
      return "1P";
    case 8:
      return "MH";
    case 11:
      return "CT";
    case 12:
      return "PT";
    case 13:
      return "a";
    default:
      return "?";
  }
}

string lower(std::uint32_t w) {
  switch (w) {
    case 0:
      return "";
    case 1:
      return "d";
    case 2:
      return "y";
    case 3:
      return "yn";
    case 4:
      return "z";
    case 5:
      return "zn";
    case 6:
      return "h";
    case 8:
      return "mx";
    case 11:
      return "";
    case 12:
      return "";
    case 13:
      return "a";
    default:
      return "?";
  }
}

string vector_group(const kvr_TestSetup& s) {
  const kvr_WindingSetup& h = h_of(s);
  const kvr_WindingSetup& x = x_of(s);
  const kvr_ConnectionSetup& c = connection_of(s);
  std::ostringstream o;
  o << upper(h.winding_type) << lower(x.winding_type);
  if (c.clock == 100) {
    o << "X";
  } else {
    o << c.clock;
  }
  const float d = to_degrees(x.phase_shift);
  if (d > 4) {
    if (!(x.phase_shift < 0)) {
      o << "+";
    }
    const float raised = d + 0.1F;
    if (raised < 2147483648.0F) {
      o << static_cast<int>(raised);
    } else {
      o << std::numeric_limits<int>::min();
    }
  }
  return o.str();
}

string test_type_word(std::uint32_t t) {
  switch (t) {
    case 0:
      return "undefined";
    case 1:
      return "ratio_down";
    case 2:
      return "ratio_up";
    case 4:
      return "ratio_auto";
    case 5:
      return "ratio_ct";
    case 6:
      return "ratio_pt_vt";
    case 8:
      return "resistance";
    case 9:
      return "resistance_cont";
    case 10:
      return "demag";
    case 11:
      return "sci";
    case 12:
      return "frsl";
    case 13:
      return "efficiency";
    case 14:
      return "mbalance";
    case 15:
      return "heatrun";
    case 16:
      return "excitation";
    case 17:
      return "gonogo";
    case 18:
      return "drm";
    default:
      return "unknown";
  }
}

string header(const kvr_TestRecord& r) {
  std::ostringstream o;
  o << "record_id: " << field_text(r.record_id) << " group_id: " << field_text(r.group_id)
    << " asset_id: " << field_text(r.asset_id);
  o << " \t" << test_type_word(r.test_type);
  o << " \t" << vector_group(r.setup);
  o << " \t #" << r.test_count;
  o << " \t" << field_text(r.timestamp);
  return o.str();
}

/// Whether to write the lines of a phase; writes the phase's error line if not.
template <typename Phase>
bool passes(std::ostream& o, const Phase& p) {
  if (p.status == 0) {
    return true;
  }
  if (p.status != 156) {
    o << "ERROR " << CodeToText(p.status) << "\n";
  }
  return false;
}

template <typename Phase, typename Value>
void formula(std::ostream& o, const Phase (&phases)[3], const string& prefix, Value value) {
  for (int i = 0; i < 3; ++i) {
    const Phase& p = phases[i];
    if (passes(o, p)) {
      o << prefix << field_text(p.phase_name) << ": (" << field_text(p.high_side_phase) << ")/("
        << field_text(p.low_side_phase) << ") = " << N{value(p)} << "\n";
    }
  }
}

template <typename Phase, typename Value>
void error(std::ostream& o, const Phase (&phases)[3], const string& prefix, Value value) {
  o.precision(4);
  for (int i = 0; i < 3; ++i) {
    if (passes(o, phases[i])) {
      o << prefix << field_text(phases[i].phase_name) << " % = " << N{value(phases[i])} << "\n";
    }
  }
  o.precision(8);
}

void phase_vr(const kvr_TestData_Ratio_Phase& p, double reference, std::ostream& o) {
  if (p.status != 0) {
    o << "test_status = " << CodeToText(p.status) << "\n";
  }
  o << "TNR = " << N{p.tnr} << "\n";
  if (p.tnr_error != 0) {
    o << "TNR error = " << N{p.tnr_error} << "%"
      << "\n";
  }
  if (p.tvr != 0 && p.tvr != p.tnr) {
    o << "TVR = " << N{p.tvr} << "\n";
  }
  o << "High side Phase = " << field_text(p.high_side_phase) << "\n";
  o << "Low side Phase = " << field_text(p.low_side_phase) << "\n";
  o << "Voltage H = " << N{p.voltage_h} << "\n";
  o << "Voltage X = " << N{p.voltage_x} << "\n";
  o << "curr H = " << N{p.curr_h} << "\n";
  o << "curr X = " << N{p.curr_x} << "\n";
  o << "eFi = " << N{p.efi} << " = " << deg(p.efi) << " deg"
    << "\n";
  o << "Phase High = " << deg(p.phase_high) << "\n";
  o << "Phase Low = " << deg(p.phase_low) << "\n";
  o << "phase_shift_absolute = " << deg(p.phase_shift_absolute) << "\n";
  o << "phase_deviation_from_user_phasing = " << deg(p.phase_deviation_from_user_phasing) << "\n";
  if (reference != 0) {
    o.precision(4);
    o << "Ratio Error,% = " << N{p.tnr_error} << "\n";
    o.precision(8);
  }
  o << "Current_rms = " << N{p.current_rms} << "\n";
  o << "Voltage_rms = " << N{p.voltage_rms} << "\n";
  o.precision(1);
  o << "Frequency = " << N{p.frequency} << "\n";
  o << "Induced voltage = " << N{p.induced_voltage} << "\n";
  o.precision(8);
}

void vr_3ph(const kvr_TestData_Ratio_3ph& r, std::ostream& o) {
  const auto& p = r.phases;
  if (r.tested_phase == 100) {
    formula(o, p, "TNR Ratio ", [](const auto& q) { return q.tnr; });
    if (r.reference_ratio != 0) {
      error(o, p, "TNR Ratio Error ", [](const auto& q) { return q.tnr_error; });
    }
    for (int i = 0; i < 3; ++i) {
      if (passes(o, p[i])) {
        o << "TVR Ratio " << field_text(p[i].tvr_name) << ": (" << field_text(p[i].tvr_high)
          << ")/(" << field_text(p[i].tvr_low) << ") = " << N{p[i].tvr} << "\n";
      }
    }
    if (p[0].true_ratio > 0.1) {
      formula(o, p, "true_KVR Ratio ", [](const auto& q) { return q.true_ratio; });
      if (r.reference_ratio != 0) {
        error(o, p, "true_KVR Ratio Error ", [](const auto& q) { return q.true_ratio_error; });
      }
    }
    for (int i = 0; i < 3; ++i) {
      if (passes(o, p[i])) {
        o << "Voltage " << field_text(p[i].high_side_phase) << " = " << N{p[i].voltage_h} << "\n";
      }
    }
    for (int i = 0; i < 3; ++i) {
      if (passes(o, p[i])) {
        o << "Voltage " << field_text(p[i].low_side_phase) << " = " << N{p[i].voltage_x} << "\n";
      }
    }
    o << "Current_rms_A = " << N{p[0].current_rms} << "\n";
    o << "Current_rms_B = " << N{p[1].current_rms} << "\n";
    o << "Current_rms_C = " << N{p[2].current_rms} << "\n";
    o << "Voltage_rms_A = " << N{p[0].voltage_rms} << "\n";
    o << "Voltage_rms_B = " << N{p[1].voltage_rms} << "\n";
    o << "Voltage_rms_C = " << N{p[2].voltage_rms} << "\n";
    o << "Phase A = " << deg(p[0].phase_high) << "\n";
    o << "Phase B = " << deg(p[1].phase_high) << "\n";
    o << "Phase C = " << deg(p[2].phase_high) << "\n";
    o << "Phase a = " << deg(p[0].phase_low) << "\n";
    o << "Phase b = " << deg(p[1].phase_low) << "\n";
    o << "Phase c = " << deg(p[2].phase_low) << "\n";
    o << "D_Fi a = " << deg(p[0].phase_shift_absolute) << "\n";
    o << "D_Fi b = " << deg(p[1].phase_shift_absolute) << "\n";
    o << "D_Fi c = " << deg(p[2].phase_shift_absolute) << "\n";
    o << "D_a_from_user_phasing = " << deg(p[0].phase_deviation_from_user_phasing) << "\n";
    o << "D_b_from_user_phasing = " << deg(p[1].phase_deviation_from_user_phasing) << "\n";
    o << "D_c_from_user_phasing = " << deg(p[2].phase_deviation_from_user_phasing) << "\n";
    o << "TVR multiplier factor = " << N{r.tvr_multiplier} << "\n";
    o << "Frequency = " << N{p[0].frequency} << "\n";
    o << "Induced voltage = " << N{p[0].induced_voltage} << "\n";
    o << "Ratio 3PH: = " << N{r.ratio_3ph} << "\n";
    if (r.reference_ratio != 0) {
      o.precision(4);
      o << "Ratio 3PH error % = " << N{r.ratio_3ph_error} << "\n";
      o.precision(8);
    }
    o << "Phase 3PH: = " << deg(r.phase_3ph) << "\n";
    o << "Positive Seq Hi = " << N{r.positive_seq_hi} << "\n";
    o << "Positive Phase Hi = " << deg(r.positive_phase_hi) << "\n";
    o << "Negative Seq Hi = " << N{r.negative_seq_hi} << "\n";
    o << "Negative Phase Hi = " << deg(r.negative_phase_hi) << "\n";
    o << "Zero Seq Hi = " << N{r.zero_seq_hi} << "\n";
    o << "Zero Phase Hi = " << deg(r.zero_phase_hi) << "\n";
    o << "Positive Seq Lo = " << N{r.positive_seq_lo} << "\n";
    o << "Positive Phase Lo = " << deg(r.positive_phase_lo) << "\n";
    o << "Negative Seq Lo = " << N{r.negative_seq_lo} << "\n";
    o << "Negative Phase Lo = " << deg(r.negative_phase_lo) << "\n";
    o << "Zero Seq Lo = " << N{r.zero_seq_lo} << "\n";
    o << "Zero Phase Lo = " << deg(r.zero_phase_lo) << "\n";
    o << "Negative Distortion Phase = "
      << N{double{r.negative_distortion_phase} / 3.141592653589793 * 180} << "\n";
    o << "Zero Distortion Phase = " << N{double{r.zero_distortion_phase} / 3.141592653589793 * 180}
      << "\n";
    o << "Negative Distortion Index = " << N{double{r.negative_distortion_index} * 100} << "%"
      << "\n";
    o << "Zero Distortion Index = " << N{double{r.zero_distortion_index} * 100} << "%"
      << "\n";
    o << "Transformer health state: ";
    switch (static_cast<std::uint32_t>(r.health_state)) {
      case 1:
        o << "EXCELLENT";
        break;
      case 2:
        o << "GOOD";
        break;
      case 3:
        o << "MODERATE";
        break;
      case 4:
        o << "BAD";
        break;
      default:
        o << "UNKNOWN";
        break;
    }
    o << "\n";
  } else if (r.tested_phase == 0 || r.tested_phase == 1 || r.tested_phase == 2) {
    phase_vr(p[r.tested_phase], r.reference_ratio, o);
  }
  o.precision(8);
  if (r.step_up != nullptr) {
    o << "\n"
      << "KVR UP:"
      << "\n";
    vr_3ph(*r.step_up, o);
  }
  if (r.step_down != nullptr) {
    o << "\n"
      << "KVR DOWN:"
      << "\n";
    vr_3ph(*r.step_down, o);
  }
}

void ratio(const kvr_TestRecord& record, std::uint32_t i, std::ostream& o) {
  if (record.data_ratio_3ph != nullptr && record.data_ratio_3ph[i] != nullptr) {
    const kvr_TestData_Ratio_3ph& r = *record.data_ratio_3ph[i];
    string heading;
    switch (static_cast<std::uint32_t>(r.test_type)) {
      case 1:
        heading = "Ratio Test DOWN";
        break;
      case 2:
        heading = "Ratio Test UP";
        break;
      case 4:
        heading = string("Voltage Ratio AUTO (") + (r.test_type == 2 ? "UP" : "DOWN") + ")";
        break;
      case 5:
        heading = "CT Test";
        break;
      case 6:
        heading = "PT/VT Test";
        break;
      case 16:
        heading = "Transfomer Excitation DOWN 3ph";
        break;
      default:
        break;
    }
    if (heading.empty()) {
      o << "ResultsToText_Ratio_3ph - Test type not supported: " << r.test_type << "\n";
    } else {
      o << heading << "\n";
      vr_3ph(r, o);
    }
  }
  if (record.data_ratio_1ph != nullptr && record.data_ratio_1ph[i] != nullptr) {
    const kvr_TestData_Ratio_1ph& s = *record.data_ratio_1ph[i];
    switch (static_cast<std::uint32_t>(record.test_type)) {
      case 1:
        o << "Ratio Test DOWN";
        break;
      case 2:
        o << "Ratio Test UP";
        break;
      case 4:
        o << "Voltage Ratio AUTO (" << (s.direction == 2 ? "UP" : "DOWN") << ")";
        break;
      case 5:
        o << "CT Test";
        break;
      case 6:
        o << "PT/VT Test";
        break;
      case 16:
        o << "Transfomer Excitation 1ph";
        break;
      default:
        break;
    }
    o << "\n";
    phase_vr(s.phase, s.reference_ratio, o);
  }
}

void impedance(const kvr_TestData_Impedance& r, std::ostream& o) {
  if (r.test_type != 11 && r.test_type != 12) {
    o << "ResultsToText_Impedance - Testing mode not supported: " << r.test_type << "\n";
    return;
  }
  o << test_type_word(r.test_type) << "\n";
  if (r.tests == nullptr) {
    return;
  }
  if (r.tests->count == 0) {
    o << "No result";
    return;
  }
  if (r.tests->tests == nullptr) {
    return;
  }
  if (r.tests->tests[0].phases[0].corrected != 0) {
    o << "Corrections applied ( from " << N{r.setup.temperature_from} << " C to "
      << N{r.setup.temperature_to} << " C)"
      << "\n";
  }
  for (std::uint32_t k = 0; k < r.tests->count; ++k) {
    const kvr_TestData_Impedance_SingleTest& t = r.tests->tests[k];
    const kvr_WindingSetup& h = h_of(r.setup);
    const kvr_WindingSetup& x = x_of(r.setup);
    if (h.winding_type == 11) {
      o << "CH = " << N{h.current} << "\n"
        << "CX = " << N{x.current} << "\n";
    } else {
      o << "VH = " << N{h.voltage} << "\n"
        << "VX = " << N{x.voltage} << "\n";
    }
    const auto& p = t.phases;
    if (t.phase_mode == 1) {
      o << "Test Frequency = " << N{p[0].test_frequency} << "\n";
      o << "Ratio = " << N{p[0].v_ratio} << "\n";
      o << "Phase = " << field_text(p[0].phase_name) << "\n";
      o << "Z = " << N{p[0].z} << "\n";
      o << "Z% = " << N{p[0].z_percent} << "\n";
      o << "Rs = " << N{p[0].rs} << "\n";
      o << "Xs = " << N{p[0].xs} << "\n";
      o << "inductance, H = " << N{p[0].inductance} << "\n";
      o << "capacitance, uF = " << N{double{p[0].capacitance} * 1000000} << "\n";
      o << "PF = " << N{p[0].power_factor} << "\n";
      o << "curr_rms = " << N{p[0].curr_rms} << "\n";
    } else {
      o << "avg_z = " << N{t.avg_z} << "\n";
      o << "avg_z% = " << N{t.avg_z_percent} << "\n";
      o << "avg_power_factor = " << N{t.avg_power_factor} << "\n";
      formula(o, p, "Z % ", [](const auto& q) { return q.z_percent; });
      error(o, p, "Z % error ", [](const auto& q) { return q.z_percent_error; });
      formula(o, p, "Z ", [](const auto& q) { return q.z; });
      formula(o, p, "test_frequency ", [](const auto& q) { return q.test_frequency; });
      formula(o, p, "Xs_h ", [](const auto& q) { return q.xs; });
      formula(o, p, "Rs ", [](const auto& q) { return q.rs; });
      formula(o, p, "Inductance H ", [](const auto& q) { return q.inductance; });
      formula(o, p, "PF % ", [](const auto& q) { return q.power_factor; });
      formula(o, p, "V ratio ", [](const auto& q) { return q.v_ratio; });
      formula(o, p, "curr_rms A ", [](const auto& q) { return q.curr_rms; });
    }
    o << "\n";
  }
}

void temperature(const kvr_TestData_Efficiency& r, std::ostream& o) {
  if (r.fast_mode != 0) {
    o << "Mode: Fast"
      << "\n";
  } else {
    o << "Mode: Full"
      << "\n";
  }
  if (r.phases[0].corrected != 0) {
    o << "Corrections applied ( from " << N{r.setup.temperature_from} << " C to "
      << N{r.setup.temperature_to} << " C)"
      << "\n";
  } else {
    o << "Object temp = " << N{r.setup.temperature_from} << " C"
      << "\n";
  }
}

void efficiency(const kvr_TestData_Efficiency& r, std::ostream& o) {
  const auto& p = r.phases;
  o << "Efficiency"
    << "\n";
  const kvr_WindingSetup& h = h_of(r.setup);
  if (h.winding_type >= 1 && h.winding_type <= 5) {
    temperature(r, o);
    if (h.winding_type == 11) {
      o << "CH = " << N{h.current} << "\n";
    } else {
      o << "VH = " << N{h.voltage} << "\n";
    }
    o << "Power Frequency = " << r.setup.line_frequency << "\n";
    o << "kVA = " << N{connection_of(r.setup).kva} << "\n";
    formula(o, p, "ratio_tnr: ", [](const auto& q) { return q.ratio_tnr; });
    formula(o, p, "load_rs_line: ", [](const auto& q) { return q.load_rs_line; });
    formula(o, p, "load_rs_zero: ", [](const auto& q) { return q.load_rs_zero; });
    formula(o, p, "noload_eddy_resistance_measured: ", [](const auto& q) {
      return q.noload_eddy_resistance_measured;
    });
    formula(o, p, "noload_eddy_resistance_corrected: ", [](const auto& q) {
      return q.noload_eddy_resistance_corrected;
    });
    formula(o, p, "Load losses I2R ", [](const auto& q) { return q.load_i2r; });
    formula(o, p, "Load losses Eddy&Stray ", [](const auto& q) { return q.load_stray_eddy; });
    formula(o, p, "Load losses ", [](const auto& q) { return q.load_losses; });
    o << "Total Load losses = " << N{r.total_load_losses} << "\n";
    formula(o, p, "Hysteresis losses ", [](const auto& q) { return q.hysteresis; });
    o << "Total Hysteresis = " << N{r.total_hysteresis} << "\n";
    formula(o, p, "Eddy current losses ", [](const auto& q) { return q.eddy_current; });
    o << "Total Eddy current = " << N{r.total_eddy_current} << "\n";
    formula(o, p, "I^2R No Load ", [](const auto& q) { return q.i2r_no_load; });
    formula(o, p, "No Load losses ", [](const auto& q) { return q.no_load_losses; });
    o << "Total No Load losses = " << N{r.total_no_load_losses} << "\n";
    formula(o, p, "Total losses ", [](const auto& q) { return q.total_losses; });
    o << "Total losses = " << N{r.total_losses} << "\n";
    o << "Tx Efficiency % = " << N{r.efficiency_percent} << "\n";
  } else {
    o << "Transformer Losses Test"
      << "\n";
    temperature(r, o);
    o << "VH = " << N{h.voltage} << "\n";
    o << "Line Frequency = " << r.setup.line_frequency << "\n";
    o << "kVA = " << N{connection_of(r.setup).kva} << "\n";
    o << "ratio_tnr = " << N{p[0].ratio_tnr} << "\n";
    o << "load_rs_line = " << N{p[0].load_rs_line} << "\n";
    o << "load_rs_zero = " << N{p[0].load_rs_zero} << "\n";
    o << "noload_eddy_resistance_measured = " << N{p[0].noload_eddy_resistance_measured} << "\n";
    o << "noload_eddy_resistance_corrected = " << N{p[0].noload_eddy_resistance_corrected} << "\n";
    o << "Load losses, W = " << N{p[0].load_losses} << "\n";
    o << "Load stray&eddy, W = " << N{p[0].load_stray_eddy} << "\n";
    o << "Load i^2r, W = " << N{p[0].load_i2r} << "\n";
    o << "Hysteresis loss, W = " << N{p[0].hysteresis} << "\n";
    o << "Eddy current losses, W = " << N{p[0].eddy_current} << "\n";
    o << "I^2R No Load, W = " << N{p[0].i2r_no_load} << "\n";
    o << "No Load losses, W = " << N{p[0].no_load_losses} << "\n";
    o << "Total losses, W = " << N{p[0].total_losses} << "\n";
  }
  o << "Time, sec = " << r.duration_ms / 1000 << "\n";
}

void point(const kvr_TestData_Point& p, std::ostream& o) {
  o << field_text(p.name) << " Ua=" << N{p.ua} << " V, Ia=" << N{p.ia} << ", Ii=" << N{p.ii}
    << " A";
  if (p.state != 6) {
    o << ", Rm=" << N{p.rm} << " Ohm,"
      << "%  stability: " << N{p.stability};
    if (p.state == 4) {
      o << "(" << p.stabilization_ms << " ms)";
    }
  }
  o << " ";
  switch (static_cast<std::uint32_t>(p.state)) {
    case 0:
      o << "IDLE";
      break;
    case 1:
      o << "CHARGING";
      break;
    case 2:
      o << "CHARGING&MEASURING";
      break;
    case 3:
      o << "STABILIZING";
      break;
    case 4:
      o << "STABLE";
      break;
    case 5:
      o << "HEATING";
      break;
    case 6:
      o << "DISCHARGING";
      break;
    case 7:
      o << "MANUAL SAVED";
      break;
    case 8:
      o << "AUTO SAVED";
      break;
    case 9:
      o << "MONITORING";
      break;
    case 10:
      o << "ERROR";
      break;
    case 11:
      o << "MEASURING ONLY";
      break;
    default:
      o << "UNKNOWN";
      break;
  }
  if (p.error != 0) {
    o << " error: " << CodeToText(p.error);
  }
  o << "\n";
  if (p.transition != nullptr) {
    o << "transition " << field_text(p.name) << " from " << p.transition->from << " to "
      << p.transition->to << " status: ";
    if (p.transition->status != 0) {
      o << CodeToText(p.transition->status);
    }
    o << "\n";
  }
}

void side(const char* word, const kvr_TestData_Taps* taps, std::ostream& o) {
  if (taps == nullptr) {
    return;
  }
  o << word;
  if (taps->taps == nullptr) {
    return;
  }
  for (std::uint32_t t = 0; t < taps->count; ++t) {
    const kvr_TestData_Tap* tap = taps->taps[t];
    if (tap == nullptr) {
      continue;
    }
    o << " tap: " << tap->tap << "\n";
    if (tap->points == nullptr) {
      continue;
    }
    for (std::uint32_t k = 0; k < tap->point_count; ++k) {
      if (tap->points[k] != nullptr) {
        point(*tap->points[k], o);
      }
    }
  }
}

void resistance(const kvr_TestData_Resistance& r, std::ostream& o) {
  if (r.sides != nullptr) {
    side("primary", r.sides->primary, o);
    side("secondary", r.sides->secondary, o);
    side("tertiary", r.sides->tertiary, o);
  }
  o << "Test duration(ms) = " << r.duration_ms << "\n";
}

void demag(const kvr_TestData_Demag& r, std::ostream& o) {
  if (r.phases != nullptr) {
    for (std::uint32_t k = 0; k < r.phase_count; ++k) {
      const kvr_TestData_Demag_Phase* p = r.phases[k];
      if (p != nullptr) {
        o << "demag_phase = " << field_text(p->demag_phase) << "\n";
        const float initial = p->remanence_initial * 100.0F;
        o << "remanence_initial = " << N{initial} << "%"
          << "\n";
        const float after = p->remanence_after_demag * 100.0F;
        o << "remanence_after_demag = " << N{after} << "%"
          << "\n";
      }
    }
  }
  o << "Test duration(ms) = " << r.duration_ms << "\n";
}

void balance(const kvr_TestData_MagneticBalance& r, std::ostream& o) {
  string labels[3];
  for (int k = 0; k < 3; ++k) {
    labels[k] = r.side == 0 ? field_text(r.rows[k].low_label) : field_text(r.rows[k].high_label);
  }
  o << "Magnetic Balance: "
    << "\n";
  o << "Max imbalance: " << N{r.max_imbalance} << "\n";
  o << "\t        " << labels[0] << "\t        " << labels[1] << "\t        " << labels[2];
  o << "        \tTotal"
    << "\n";
  for (int k = 0; k < 3; ++k) {
    o << " " << labels[k] << "\t";
    o << "\t" << N{r.rows[k].cell[0].value} << "\t" << N{r.rows[k].cell[1].value} << "\t"
      << N{r.rows[k].cell[2].value};
    o << "     " << N{r.rows[k].total} << "\n";
  }
}

template <typename Data>
const Data* entry(Data** data, std::uint32_t i) {
  return data != nullptr ? data[i] : nullptr;
}

}  // namespace

void write_reference_text(const kvr_TestRecord& record, std::ostream& o) {
  o << std::fixed;
  o.precision(8);
  o << header(record) << "\n";
  for (std::uint32_t i = 0; i < record.data_count; ++i) {
    o << "TEST #" << i + 1 << " \t";
    switch (static_cast<std::uint32_t>(record.test_type)) {
      case 0:
        o << "KVR_TEST_Undefined";
        break;
      case 1:
      case 2:
      case 4:
      case 5:
      case 6:
      case 16:
        ratio(record, i, o);
        break;
      case 8:
      case 9:
        if (const auto* r = entry(record.data_resistance, i)) {
          resistance(*r, o);
        }
        break;
      case 10:
        if (const auto* r = entry(record.data_demag, i)) {
          demag(*r, o);
        }
        break;
      case 11:
      case 12:
        if (const auto* r = entry(record.data_impedance, i)) {
          impedance(*r, o);
        }
        break;
      case 13:
        if (const auto* r = entry(record.data_efficiency, i)) {
          efficiency(*r, o);
        }
        break;
      case 14:
        if (record.data_mbalance == nullptr) {
          o << "data_mbalance=NULL"
            << "\n";
          return;
        }
        if (record.data_mbalance[i] == nullptr) {
          o << "NULL data"
            << "\n";
          return;
        }
        balance(*record.data_mbalance[i], o);
        break;
      case 15:
        o << "TEST #" << i + 1 << " \t";
        if (const auto* r = entry(record.data_heatrun, i)) {
          resistance(*r, o);
        }
        break;
      case 17:
        if (const auto* r = entry(record.data_gonogo, i)) {
          o << "status_minimum_inductance = " << CodeToText(r->status_minimum_inductance) << "\n";
          o << "status_open_circuit = " << CodeToText(r->status_open_circuit) << "\n";
          o << "status_short_circuit = " << CodeToText(r->status_short_circuit) << "\n";
        }
        break;
      case 18:
        o << "DRM"
          << "\n";
        if (const auto* r = entry(record.data_drm, i);
            r != nullptr && r->first_transition != nullptr) {
          o << "transisiont count: " << r->transition_count << " total time: "
            << std::uint32_t{r->first_transition->end_time - r->first_transition->start_time}
            << "\n";
        }
        break;
      default:
        break;
    }
    o << "\n";
  }
}
