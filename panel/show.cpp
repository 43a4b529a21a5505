#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <ostream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "panel/bench_file.h"
#include "panel/commands.h"
#include "panel/kinds.h"
#include "virtual_instrument/bench/bench_unit.h"
#include "virtual_instrument/measurement/current_errors.h"
#include "virtual_instrument/vocabulary/code_names.h"
#include "virtual_instrument/vocabulary/code_sentences.h"

namespace panel {
namespace {

using virtual_instrument::Bench;
using virtual_instrument::Side;
using virtual_instrument::TransformerUnit;
using virtual_instrument::WindingPair;

/// With five significant digits.
std::string number(double value) {
  std::array<char, 40> text{};
  std::snprintf(text.data(), text.size(), "%.5g", value);
  return text.data();
}

/// A value with its unit, in the prefix that suits it.
std::string quantity(double value, const char* unit) {
  if (value != 0 && std::abs(value) < 1) {
    return number(value * 1000) + " m" + unit;
  }
  return std::abs(value) >= 1e4 ? number(value / 1000) + " k" + unit : number(value) + " " + unit;
}

class Lines {
 public:
  explicit Lines(std::ostream& out) : out_(out) {}

  void title(const std::string& text) { out_ << '\n' << text << '\n'; }

  void line(const std::string& name, const std::string& value) {
    std::string padded = name;
    padded.resize(std::max<std::size_t>(padded.size() + 1, 24), ' ');
    out_ << "  " << padded << value << '\n';
  }

 private:
  std::ostream& out_;
};

/// Of a tertiary that is led out.
void show_third_winding(const Bench& bench, Lines& lines) {
  const TransformerUnit unit = make_unit(bench, WindingPair::h_y);
  lines.line("tertiary", group_name(unit.group) + " with the high side, " +
                             quantity(unit.rated_voltage[Side::low], "V") + ", " +
                             number(unit.kva) + " kVA, " +
                             quantity(rated_current(unit, Side::low), "A"));
}

void show_nameplate(const TransformerUnit& unit, Lines& lines) {
  lines.line("vector group", group_name(unit.group));
  lines.line("rated voltage", quantity(unit.rated_voltage[Side::high], "V") + " / " +
                                  quantity(unit.rated_voltage[Side::low], "V"));
  lines.line("rated power", number(unit.kva) + " kVA at " + number(unit.frequency) + " Hz");
  lines.line("rated current", quantity(rated_current(unit, Side::high), "A") + " / " +
                                  quantity(rated_current(unit, Side::low), "A"));
  lines.line("turns of limb windings",
             number(turns_ratio(unit)) + " : 1, rated " + number(rated_turns_ratio(unit)) + " : 1");
  if (unit.taps.type != KVR_TAP_CHANGER_NONE) {
    lines.line("tap", std::to_string(unit.taps.position) + " of " +
                          std::to_string(unit.taps.first) + " to " +
                          std::to_string(unit.taps.last) + ", " + number(unit.taps.step) +
                          " percent each" + (unit.taps.side == Side::low ? ", low side" : ""));
  }
  if (unit.is_autotransformer) {
    lines.line("autotransformer", "the low winding is a part of the high one");
  }
}

std::string impedance_text(double resistance, double reactance) {
  return quantity(resistance, "ohm") + ", " + quantity(reactance, "ohm") + " reactance";
}

void show_circuit(const Bench& bench, const TransformerUnit& unit, Lines& lines) {
  const virtual_instrument::TransformerSettings& settings = bench.transformer;
  const double turns = rated_turns_ratio(unit) - (unit.is_autotransformer ? 1 : 0);
  const double square = turns * turns;
  lines.line(unit.is_autotransformer ? "series winding" : "high winding",
             impedance_text(settings.high_resistance, settings.high_reactance));
  lines.line(unit.is_autotransformer ? "common winding" : "low winding",
             impedance_text(settings.low_resistance * square, settings.low_reactance * square));
  lines.line("core, in parallel",
             impedance_text(settings.core_resistance, settings.magnetizing_reactance));
  if (bench.tertiary.voltage > 0) {
    lines.line("tertiary, as it is",
               impedance_text(bench.tertiary.resistance, bench.tertiary.reactance));
  }
  if (bench.burden.resistance > 0 || bench.burden.reactance > 0) {
    lines.line("burden, as it is", impedance_text(bench.burden.resistance, bench.burden.reactance));
  }
}

void show_current_errors(const TransformerUnit& unit, Lines& lines) {
  for (const auto& errors : virtual_instrument::current_errors(unit)) {
    lines.line(number(errors.share * 100) + " percent",
               number(errors.ratio) + " percent, " + number(errors.displacement) + " minutes");
  }
}

std::string failed(kvr_code code) { return virtual_instrument::code_sentence(code); }

std::string joined(const std::vector<std::string>& parts) {
  std::string text;
  for (const std::string& part : parts) {
    text += (text.empty() ? "" : ", ") + part;
  }
  return text;
}

/// A winding that was read again and again has its first and last reading.
void add_windings(const std::vector<virtual_instrument::ResistancePoint>& points,
                  std::vector<std::string>& windings) {
  const auto last = [&points](std::size_t first) {
    std::size_t end = first + 1;
    while (end < points.size() &&
           std::string_view(points[end].data.name) == points[first].data.name) {
      ++end;
    }
    return end - 1;
  };
  for (std::size_t first = 0; first < points.size(); first = last(first) + 1) {
    const std::string start =
        std::string(points[first].data.name) + " " + quantity(points[first].data.rm, "ohm");
    windings.push_back(last(first) == first
                           ? start
                           : start + " to " + quantity(points[last(first)].data.rm, "ohm"));
  }
}

/// What matters most in the result of each kind of test.
struct Summary {
  std::string operator()(const kvr_TestData_Ratio_1ph& data) const {
    return quantity(data.phase.current_rms, "A");
  }

  std::string operator()(const virtual_instrument::ThreePhaseRatio& test) const {
    std::vector<std::string> currents;
    for (const kvr_TestData_Ratio_Phase& phase : test.data.phases) {
      currents.push_back(phase.status == KVR_RES_OK ? quantity(phase.current_rms, "A")
                                                    : failed(phase.status));
    }
    return joined(currents) + ", ratio " + number(test.data.ratio_3ph);
  }

  std::string operator()(const virtual_instrument::ResistanceTest& test) const {
    std::vector<std::string> windings;
    for (const auto& side : test.sides) {
      if (!side.empty()) {
        add_windings(side.front().points, windings);
      }
    }
    return joined(windings);
  }

  std::string operator()(const virtual_instrument::DemagTest& test) const {
    std::vector<std::string> limbs;
    for (const kvr_TestData_Demag_Phase& phase : test.phases) {
      limbs.push_back(number(phase.remanence_initial * 100) + " to " +
                      number(phase.remanence_after_demag * 100) + " percent");
    }
    return joined(limbs);
  }

  std::string operator()(const virtual_instrument::ImpedanceTest& test) const {
    std::vector<std::string> tests;
    for (const kvr_TestData_Impedance_SingleTest& each : test.tests) {
      tests.push_back(number(each.avg_z_percent) + " percent at " +
                      number(each.phases[0].test_frequency) + " Hz");
    }
    return joined(tests);
  }

  std::string operator()(const kvr_TestData_Efficiency& data) const {
    return "no load " + quantity(data.total_no_load_losses, "W") + ", load " +
           quantity(data.total_load_losses, "W") + ", efficiency " +
           number(data.efficiency_percent) + " percent";
  }

  std::string operator()(const kvr_TestData_MagneticBalance& data) const {
    std::vector<std::string> rows;
    for (const kvr_TestData_MagneticBalance_Row& row : data.rows) {
      rows.push_back(number(row.cell[0].value) + " " + number(row.cell[1].value) + " " +
                     number(row.cell[2].value) + " V");
    }
    return joined(rows);
  }

  std::string operator()(const kvr_TestData_GoNoGo& data) const {
    for (const kvr_code status :
         {data.status_open_circuit, data.status_short_circuit, data.status_minimum_inductance}) {
      if (status != KVR_RES_OK) {
        return failed(status);
      }
    }
    return "go";
  }

  std::string operator()(const virtual_instrument::DynamicResistanceTest& test) const {
    return std::to_string(test.transitions.size()) + " transitions";
  }
};

void show_expected(const Bench& bench, const TransformerUnit& unit, Lines& lines) {
  const Settings settings = settings_for({}, unit, bench);
  for (const Kind& kind : kinds()) {
    TransformerUnit fresh = unit;  // what a test leaves in the core is for that test alone
    const Measured measured = carry_out(kind, fresh, settings);
    lines.line(std::string(kind.name), virtual_instrument::is_accepted_code(measured.code)
                                           ? std::visit(Summary{}, measured.result)
                                           : failed(measured.code));
  }
}

void show_pair(const Bench& bench, const TransformerUnit& unit, const std::string& title,
               Lines& lines) {
  lines.title(title + ", at " + quantity(settings_for({}, unit, bench).family.test_voltage, "V"));
  show_expected(bench, unit, lines);
}

}  // namespace

int show_bench(const std::string& bench_file, std::ostream& out, std::ostream& words) {
  auto bench = open_bench(bench_file, words);
  if (!bench) {
    return kWrong;
  }
  bench->measurement.noise = 0;
  const TransformerUnit unit = make_unit(*bench);
  Lines lines(out);
  out << "Unit\n";
  show_nameplate(unit, lines);
  if (has_pair(*bench, WindingPair::h_y)) {
    show_third_winding(*bench, lines);
  }
  lines.title("Equivalent circuit of a limb at " + number(unit.reference_temperature) +
              " degrees C, seen from the high side");
  show_circuit(*bench, unit, lines);
  if (unit.group.high == KVR_WINDING_CT) {
    lines.title("Errors of the current with the burden, at shares of the rated current");
    try {
      show_current_errors(unit, lines);
    } catch (const std::runtime_error&) {
      lines.line("no more", "the core cannot give the voltage that the burden needs");
    }
  }
  show_pair(*bench, unit, "What the tests find without noise", lines);
  for (const auto& [pair, name] : {std::pair(WindingPair::h_y, "H-Y"), {WindingPair::x_y, "X-Y"}}) {
    if (has_pair(*bench, pair)) {
      show_pair(*bench, make_unit(*bench, pair), "The same of " + std::string(name), lines);
    }
  }
  return kDone;
}

}  // namespace panel
