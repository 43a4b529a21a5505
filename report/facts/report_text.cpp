#include "report/facts/report_text.h"

#include <cstddef>
#include <numbers>

#include "report/facts/text_lines.h"

namespace report {
namespace {

using Phase = kvr_TestData_Ratio_Phase;

struct NumberLine {
  std::string_view name;
  float Phase::*target;
  bool is_angle;
};

constexpr NumberLine kNumberLines[] = {
    {"Voltage H", &Phase::voltage_h, false},
    {"Voltage X", &Phase::voltage_x, false},
    {"curr H", &Phase::curr_h, false},
    {"curr X", &Phase::curr_x, false},
    {"Phase High", &Phase::phase_high, true},
    {"Phase Low", &Phase::phase_low, true},
    {"phase_shift_absolute", &Phase::phase_shift_absolute, true},
    {"phase_deviation_from_user_phasing", &Phase::phase_deviation_from_user_phasing, true},
    {"Current_rms", &Phase::current_rms, false},
    {"Voltage_rms", &Phase::voltage_rms, false},
    {"Frequency", &Phase::frequency, false},
    {"Induced voltage", &Phase::induced_voltage, false},
};

void take_line(kvr_TestData_Ratio_1ph& test, const NamedText& line) {
  Phase& phase = test.phase;
  for (const NumberLine& known : kNumberLines) {
    if (line.first == known.name) {
      const double number = number_in(line.second);
      phase.*known.target =
          static_cast<float>(known.is_angle ? number / 180 * std::numbers::pi : number);
    }
  }
  if (line.first == "TNR") {
    phase.tnr = number_in(line.second);
  } else if (line.first == "TVR") {
    phase.tvr = number_in(line.second);
  } else if (line.first == "TNR error") {
    phase.tnr_error = number_in(std::string_view(line.second).substr(0, line.second.find('%')));
    test.reference_ratio = phase.tnr / (1 + phase.tnr_error / 100);
  } else if (line.first == "eFi") {
    phase.efi = static_cast<float>(number_in(halves(line.second, ';').first));
  } else if (line.first == "High side Phase") {
    set_field(phase.high_side_phase, line.second);
  } else if (line.first == "Low side Phase") {
    set_field(phase.low_side_phase, line.second);
  }
}

/// What stands between two marks of the header line.
std::string_view between(std::string_view line, std::string_view from, std::string_view to) {
  const std::size_t begin = line.find(from);
  if (begin == std::string_view::npos) {
    return {};
  }
  const std::string_view rest = line.substr(begin + from.size());
  return rest.substr(0, rest.find(to));
}

void take_header(kvr_TestRecord& nest, std::string_view line) {
  set_field(nest.record_id, between(line, "record_id: ", " group_id: "));
  set_field(nest.group_id, between(line, " group_id: ", " asset_id: "));
  set_field(nest.asset_id, between(line, " asset_id: ", " \t"));
  const std::size_t last_tab = line.rfind('\t');
  if (last_tab != std::string_view::npos) {
    set_field(nest.timestamp, line.substr(last_tab + 1));
  }
  nest.test_count = 1;
}

bool is_single_phase(const std::vector<NamedText>& lines) {
  for (const NamedText& line : lines) {
    if (line.first == "High side Phase") {
      return true;
    }
  }
  return false;
}

kvr_TestType type_of_heading(std::string_view heading) {
  if (heading.find("Ratio Test UP") != std::string_view::npos) {
    return KVR_TEST_RATIO_UP;
  }
  return heading.find("Excitation") != std::string_view::npos ? KVR_TEST_EXCITATION
                                                              : KVR_TEST_RATIO_DOWN;
}

void finish(ReportText& block) {
  kvr_TestRecord& nest = *block.record.nest;
  block.record.has_results = is_single_phase(block.record.lines);
  if (block.record.has_results) {
    nest.data_count = 1;
    nest.data_ratio_1ph = new kvr_TestData_Ratio_1ph* [1] {};
    nest.data_ratio_1ph[0] = new kvr_TestData_Ratio_1ph{};
    for (const NamedText& line : block.record.lines) {
      take_line(*nest.data_ratio_1ph[0], line);
    }
    nest.data_ratio_1ph[0]->direction = nest.test_type;
    nest.data_ratio_1ph[0]->test_voltage = nest.data_ratio_1ph[0]->phase.voltage_rms;
  }
}

}  // namespace

std::vector<ReportText> parse_report_text(std::string_view bytes) {
  std::vector<ReportText> blocks;
  for (const std::string_view line : lines_of(bytes)) {
    const auto [raw_name, raw_value] = halves(line, ';');
    const std::string name(trimmed(raw_name));
    const std::string value(trimmed(raw_value));
    if (name == "Serial #:") {
      blocks.push_back(
          {value, {}, {RecordNest(new kvr_TestRecord{}), Origin::kText, {}, {}, true}});
      continue;
    }
    if (blocks.empty() || trimmed(line).empty()) {
      continue;
    }
    ReportText& block = blocks.back();
    if (name == "S/W version") {
      block.software_version = value;
    } else if (line.starts_with("record_id: ")) {
      take_header(*block.record.nest, line);
    } else {
      if (line.starts_with("TEST #")) {
        block.record.nest->test_type = type_of_heading(line);
      }
      block.record.lines.emplace_back(name, value);
    }
  }
  for (ReportText& block : blocks) {
    finish(block);
  }
  return blocks;
}

}  // namespace report
