#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <limits>
#include <map>
#include <numbers>
#include <span>
#include <string_view>

#include "report/facts/facts.h"
#include "report/facts/report_text.h"
#include "report/facts/text_lines.h"

namespace report {
namespace {

constexpr std::string_view kRawEnd = ".RAW.csv";
constexpr std::size_t kSingleNumbers = 12;  // of a row, after the record ID
constexpr std::size_t kThreePhaseNumbers = 53;

float radians_of(double degrees) { return static_cast<float>(degrees / 180 * std::numbers::pi); }

/// The values of a row from left to right.
class RowReader {
 public:
  explicit RowReader(std::span<const std::string_view> values) : values_(values) {}

  std::string_view text() { return values_[next_++]; }
  double number() { return number_in(text()); }
  void numbers(auto&... targets) {
    ((targets = static_cast<std::remove_reference_t<decltype(targets)>>(number())), ...);
  }
  void angles(auto&... targets) { ((targets = radians_of(number())), ...); }

 private:
  std::span<const std::string_view> values_;
  std::size_t next_ = 0;
};

kvr_TestType direction_of(std::string_view mode) {
  return mode == "UP" ? KVR_TEST_RATIO_UP : KVR_TEST_RATIO_DOWN;
}

kvr_TestingMode mode_of(std::string_view word) {
  constexpr std::array<std::string_view, 6> kWords{"Unknown", "1Ph",     "3Ph 3-3",
                                                   "3Ph 1-1", "3Ph 3-1", "3Ph AUTO"};
  const auto* const found = std::find(kWords.begin(), kWords.end(), word);
  return static_cast<kvr_TestingMode>(found == kWords.end() ? 0 : found - kWords.begin());
}

/// "A = (H1-H2) / (X1-X2)"
void set_names(kvr_TestData_Ratio_Phase& phase, std::string_view label) {
  const std::size_t equals = label.find(" = (");
  const std::size_t over = label.find(") / (");
  if (equals == std::string_view::npos || over == std::string_view::npos || over < equals + 4) {
    set_field(phase.phase_name, label);
    return;
  }
  const std::string_view low = label.substr(over + 5);
  set_field(phase.phase_name, label.substr(0, equals));
  set_field(phase.high_side_phase, label.substr(equals + 4, over - equals - 4));
  set_field(phase.low_side_phase, low.substr(0, low.rfind(')')));
}

void fill(kvr_TestData_Ratio_1ph& test, RowReader row) {
  test.direction = direction_of(row.text());
  kvr_TestData_Ratio_Phase& phase = test.phase;
  row.numbers(test.test_voltage, phase.voltage_h, phase.voltage_x, phase.tnr, phase.tnr_error,
              phase.current_rms, phase.voltage_rms);
  row.angles(phase.phase_high, phase.phase_low, phase.phase_shift_absolute,
             phase.phase_deviation_from_user_phasing);
}

void fill(kvr_TestData_Ratio_3ph& test, RowReader row) {
  auto& [a, b, c] = test.phases;
  test.testing_mode = mode_of(row.text());
  test.test_type = direction_of(row.text());
  test.tested_phase = kAllPhases;
  row.numbers(test.test_voltage, a.voltage_h, b.voltage_h, c.voltage_h, a.voltage_x, b.voltage_x,
              c.voltage_x);
  for (kvr_TestData_Ratio_Phase& phase : test.phases) {
    set_names(phase, row.text());
    row.numbers(phase.tnr, phase.tnr_error);
  }
  row.numbers(a.current_rms, b.current_rms, c.current_rms);
  row.numbers(a.voltage_rms, b.voltage_rms, c.voltage_rms);
  row.angles(a.phase_high, b.phase_high, c.phase_high);
  row.angles(a.phase_low, b.phase_low, c.phase_low);
  row.angles(a.phase_shift_absolute, b.phase_shift_absolute, c.phase_shift_absolute);
  row.angles(a.phase_deviation_from_user_phasing, b.phase_deviation_from_user_phasing,
             c.phase_deviation_from_user_phasing);
  row.numbers(test.positive_seq_hi, test.negative_seq_hi, test.zero_seq_hi);
  row.numbers(test.positive_seq_lo, test.negative_seq_lo, test.zero_seq_lo);
  row.angles(test.positive_phase_hi, test.negative_phase_hi, test.zero_phase_hi);
  row.angles(test.positive_phase_lo, test.negative_phase_lo, test.zero_phase_lo);
  row.numbers(test.negative_distortion_index, test.zero_distortion_index);
  row.numbers(test.ratio_3ph, test.ratio_3ph_error);
  row.angles(test.phase_3ph);
}

struct Series {
  std::string client_version;
  std::string software_version;
  std::string date;
  bool is_three_phase = false;
  std::vector<std::vector<std::string_view>> rows;  ///< values; the record ID first, as one
};

/// The last `count` values of a row, with all before them as one: an ID may hold separators.
std::vector<std::string_view> row_of(std::string_view line, std::size_t count) {
  std::vector<std::string_view> values = split(line, ';');
  if (!values.empty() && values.back().empty()) {
    values.pop_back();  // a row ends in a separator
  }
  if (values.size() <= count) {
    return {};
  }
  const std::size_t first = values.size() - count;
  std::vector<std::string_view> row{
      line.substr(0, static_cast<std::size_t>(values[first].data() - line.data()) - 1)};
  row.insert(row.end(), values.begin() + static_cast<std::ptrdiff_t>(first), values.end());
  return row;
}

Series parse_series(std::string_view bytes, const std::string& name, Facts& facts) {
  Series series;
  bool has_heading = false;
  for (const std::string_view line : lines_of(bytes)) {
    if (!has_heading) {
      const auto [key, value] = halves(line, ';');
      if (key == "KVRU3 client version") {
        series.client_version = value;
      } else if (key == "KVRU3 software version") {
        series.software_version = value;
      } else if (key == "Date & Time") {
        series.date = value;
      } else if (key == "Test ID") {
        has_heading = true;
        series.is_three_phase = value.starts_with("Type");
      }
      continue;
    }
    auto row = row_of(line, series.is_three_phase ? kThreePhaseNumbers : kSingleNumbers);
    if (!row.empty()) {
      series.rows.push_back(std::move(row));
    } else if (!line.empty()) {
      facts.remarks.push_back(name + " has a row with too few values, which is left out.");
    }
  }
  return series;
}

template <typename Data>
void fill_all(Data**& results, std::span<const std::vector<std::string_view>> rows) {
  results = new Data* [rows.size()] {};
  for (std::size_t i = 0; i < rows.size(); ++i) {
    results[i] = new Data{};
    fill(*results[i], RowReader(std::span(rows[i]).subspan(1)));
  }
}

Record record_of(const Series& series, const std::string& name) {
  Record record{RecordNest(new kvr_TestRecord{}), Origin::kSeries, name, {}, true};
  kvr_TestRecord& nest = *record.nest;
  const auto count = static_cast<std::uint32_t>(series.rows.size());
  nest.test_count = count;
  nest.data_count = count;
  set_field(nest.timestamp, series.date);
  if (count > 0) {
    set_field(nest.record_id, series.rows.front().front());
    nest.test_type = direction_of(series.rows.front()[series.is_three_phase ? 2 : 1]);
  }
  if (series.is_three_phase) {
    fill_all(nest.data_ratio_3ph, series.rows);
  } else {
    fill_all(nest.data_ratio_1ph, series.rows);
  }
  return record;
}

void state(std::optional<std::string>& fact, const std::string& text) {
  if (!fact && !text.empty()) {
    fact = text;
  }
}

void add_series(Facts& facts, std::string_view bytes, const std::string& name) {
  const Series series = parse_series(bytes, name, facts);
  state(facts.instrument.client_version, series.client_version);
  state(facts.instrument.software_version, series.software_version);
  facts.records.push_back(record_of(series, name));
}

void add_reports(Facts& facts, std::string_view bytes, const std::string& name) {
  for (ReportText& block : parse_report_text(bytes)) {
    state(facts.instrument.serial_number, block.serial_number);
    state(facts.instrument.software_version, block.software_version);
    block.record.file = name;
    facts.records.push_back(std::move(block.record));
  }
}

/// Gives a run's samples to the first record of the file that they belong to.
void add_raw(Facts& facts, std::string_view bytes, const std::string& name) {
  const std::string run = name.substr(0, name.size() - kRawEnd.size());
  for (Record& record : facts.records) {
    if (record.file == run && record.nest->raw_data == nullptr) {
      record.nest->raw_data = new_text(bytes);
      return;
    }
  }
  facts.remarks.push_back(name + " belongs to no series or report in the folder.");
}

bool is_report(std::string_view bytes) {
  return bytes.find("\nSerial #:;") != std::string_view::npos;
}
bool is_series(std::string_view bytes) {
  return bytes.find("\nKVRU3 client version;") != std::string_view::npos;
}

}  // namespace

Facts read_runs(const std::filesystem::path& folder, const std::vector<std::string>& only) {
  if (!std::filesystem::is_directory(folder)) {
    throw ReadFailure(name_of(folder) + ": is no folder");
  }
  std::map<std::string, std::filesystem::path> paths;  // in the order of names, on every system
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    if (entry.is_regular_file() && name_of(entry.path()).ends_with(".csv")) {
      paths.emplace(name_of(entry.path()), entry.path());
    }
  }
  Facts facts;
  std::map<std::string, std::string> raw;
  for (const auto& [name, path] : paths) {
    std::string bytes = read_bytes(path);
    const SourceFile file = source_file(path, bytes);
    if (name.ends_with(kRawEnd)) {
      raw.emplace(name, std::move(bytes));
    } else if (is_series(bytes)) {
      add_series(facts, bytes, name);
    } else if (is_report(bytes)) {
      add_reports(facts, bytes, name);
    } else {
      continue;
    }
    facts.files.push_back(file);
  }
  for (const auto& [name, bytes] : raw) {
    add_raw(facts, bytes, name);
  }
  std::erase_if(facts.records, [&only](const Record& record) {
    return !only.empty() &&
           std::find(only.begin(), only.end(), record.nest->record_id) == only.end();
  });
  if (facts.records.empty()) {
    throw ReadFailure(name_of(folder) + ": has no series and no report of a run");
  }
  return facts;
}

}  // namespace report
