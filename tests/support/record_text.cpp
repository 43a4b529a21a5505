#include "support/record_text.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <map>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <system_error>
#include <type_traits>

namespace {

/// The fault of a line, without file and line number.
using BadLine = std::runtime_error;

struct Field;

/// How a member of a record is laid out and written. `element` is what an array holds or a pointer
/// points to.
struct Type {
  enum Kind { kValue, kRecord, kArray, kPointer } kind;
  std::size_t size;
  void (*store)(std::byte* at, std::size_t size, std::string_view value, RecordArena& arena);
  const Type& (*element)();
  std::size_t count;
  std::span<const Field> fields;
};

struct Field {
  std::string_view name;
  std::size_t offset;
  const Type& (*type)();
};

std::string in_quotes(std::string_view text) { return "'" + std::string(text) + "'"; }

template <typename Number>
Number parse_magnitude(std::string_view digits) {
  const bool is_hex = digits.starts_with("0x") || digits.starts_with("0X");
  if (is_hex) {
    digits.remove_prefix(2);
  }
  const char* const end = digits.data() + digits.size();
  Number number{};
  std::from_chars_result result{};
  if constexpr (std::is_floating_point_v<Number>) {
    result = std::from_chars(digits.data(), end, number,
                             is_hex ? std::chars_format::hex : std::chars_format::general);
  } else {
    result = std::from_chars(digits.data(), end, number, is_hex ? 16 : 10);
  }
  if (result.ec != std::errc() || result.ptr != end || digits.starts_with('-')) {
    throw BadLine("not a number of this field: " + in_quotes(digits));
  }
  return number;
}

template <typename Number>
Number parse_number(std::string_view text) {
  const bool is_negative = text.starts_with('-');
  if (is_negative) {
    text.remove_prefix(1);
  }
  if constexpr (std::is_floating_point_v<Number>) {
    return std::copysign(parse_magnitude<Number>(text), is_negative ? Number{-1} : Number{1});
  } else {
    const auto magnitude = parse_magnitude<std::uint64_t>(text);
    constexpr auto kHighest = static_cast<std::uint64_t>(std::numeric_limits<Number>::max());
    const bool is_signed = std::is_signed_v<Number>;
    if (magnitude > kHighest + (is_negative && is_signed ? 1 : 0) ||
        (is_negative && !is_signed && magnitude != 0)) {
      throw BadLine("out of the range of this field: " + in_quotes(text));
    }
    return static_cast<Number>(is_negative ? 0 - magnitude : magnitude);
  }
}

template <typename Number>
void store_number(std::byte* at, std::size_t, std::string_view value, RecordArena&) {
  const auto number = parse_number<Number>(value);
  std::memcpy(at, &number, sizeof number);
}

char parse_hex_byte(std::string_view digits) {
  unsigned value = 0;
  const char* const end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, value, 16);
  if (digits.size() != 2 || error != std::errc() || stop != end) {
    throw BadLine("\\x wants two hexadecimal digits");
  }
  return static_cast<char>(value);
}

std::string unescaped(std::string_view text) {
  std::string plain;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\\') {
      plain += text[i];
      continue;
    }
    const char escape = ++i < text.size() ? text[i] : '\0';
    if (escape == 'n') {
      plain += '\n';
    } else if (escape == 't') {
      plain += '\t';
    } else if (escape == '\\') {
      plain += '\\';
    } else if (escape == 'x') {
      plain += parse_hex_byte(text.substr(i + 1, 2));
      i += 2;
    } else {
      throw BadLine("unknown escape in " + in_quotes(text));
    }
  }
  return plain;
}

void store_field_text(std::byte* at, std::size_t size, std::string_view value, RecordArena&) {
  const std::string text = unescaped(value);
  if (text.size() > size) {
    throw BadLine("a text of " + std::to_string(text.size()) + " bytes in a field of " +
                  std::to_string(size));
  }
  std::memset(at, 0, size);
  std::memcpy(at, text.data(), text.size());
}

void store_pointer(std::byte* at, const void* target) { std::memcpy(at, &target, sizeof target); }

void store_c_text(std::byte* at, std::size_t, std::string_view value, RecordArena& arena) {
  if (value == "null") {
    store_pointer(at, nullptr);
    return;
  }
  const std::string text = unescaped(value);
  std::byte* const copy = arena.allocate(text.size() + 1);
  std::memcpy(copy, text.data(), text.size());
  store_pointer(at, copy);
}

/// Only the word null can be stored in a pointer itself.
void store_null(std::byte* at, std::size_t, std::string_view value, RecordArena&) {
  if (value != "null") {
    throw BadLine("a pointer can be null or be gone through, not " + in_quotes(value));
  }
  store_pointer(at, nullptr);
}

/// The fields of each record; see the specialisations below.
template <typename Record>
std::span<const Field> fields_of();

template <typename Member>
const Type& type_of() {
  if constexpr (std::is_enum_v<Member>) {
    return type_of<std::underlying_type_t<Member>>();
  } else if constexpr (std::is_arithmetic_v<Member>) {
    static const Type type{Type::kValue, sizeof(Member), store_number<Member>, nullptr, 0, {}};
    return type;
  } else if constexpr (std::is_same_v<Member, const char*>) {
    static const Type type{Type::kValue, sizeof(Member), store_c_text, nullptr, 0, {}};
    return type;
  } else if constexpr (std::is_pointer_v<Member>) {
    static const Type type{
        Type::kPointer, sizeof(Member), store_null, type_of<std::remove_pointer_t<Member>>, 0, {}};
    return type;
  } else if constexpr (std::is_array_v<Member>) {
    using Element = std::remove_extent_t<Member>;
    if constexpr (std::is_same_v<Element, char>) {
      static const Type type{Type::kValue, sizeof(Member), store_field_text, nullptr, 0, {}};
      return type;
    } else {
      static const Type type{Type::kArray,     sizeof(Member),        nullptr,
                             type_of<Element>, std::extent_v<Member>, {}};
      return type;
    }
  } else {
    static const Type type{Type::kRecord, sizeof(Member), nullptr, nullptr, 0, fields_of<Member>()};
    return type;
  }
}

#define FIELD(name) \
  Field { #name, offsetof(Record, name), type_of < decltype(Record::name)> }
#define FIELDS_OF(record, ...)                   \
  template <>                                    \
  std::span<const Field> fields_of<record>() {   \
    using Record = record;                       \
    static const Field fields[] = {__VA_ARGS__}; \
    return fields;                               \
  }

FIELDS_OF(kvr_WindingSetup, FIELD(winding_type), FIELD(voltage), FIELD(current), FIELD(phase_shift),
          FIELD(tap_changer), FIELD(winding_setting))

FIELDS_OF(kvr_ConnectionSetup, FIELD(clock), FIELD(kva))

FIELDS_OF(kvr_TestSetup, FIELD(windings), FIELD(connection_type), FIELD(connections),
          FIELD(line_frequency), FIELD(setup_value_a), FIELD(setup_value_b),
          FIELD(temperature_from), FIELD(temperature_to), FIELD(setup_value_c),
          FIELD(setup_value_d), FIELD(setup_flag_a), FIELD(raw_data_requested), FIELD(setup_flag_b))

FIELDS_OF(kvr_TestData_Ratio_Phase, FIELD(status), FIELD(phase_name), FIELD(high_side_phase),
          FIELD(low_side_phase), FIELD(tvr_name), FIELD(tvr_high), FIELD(tvr_low), FIELD(voltage_h),
          FIELD(voltage_x), FIELD(tnr), FIELD(tnr_error), FIELD(tvr), FIELD(true_ratio),
          FIELD(true_ratio_error), FIELD(frequency), FIELD(phase_high), FIELD(phase_low),
          FIELD(phase_shift_absolute), FIELD(phase_deviation_from_user_phasing), FIELD(efi),
          FIELD(voltage_rms), FIELD(current_rms), FIELD(vol_rms_high), FIELD(vol_rms_low),
          FIELD(curr_h), FIELD(curr_x), FIELD(induced_voltage))

FIELDS_OF(kvr_TestData_Ratio_3ph, FIELD(setup), FIELD(testing_mode), FIELD(test_type),
          FIELD(tested_phase), FIELD(test_voltage), FIELD(request_flag_a), FIELD(request_flag_b),
          FIELD(limit_a), FIELD(limit_b), FIELD(reference_ratio), FIELD(tvr_multiplier),
          FIELD(phases), FIELD(zero_seq_hi), FIELD(zero_seq_lo), FIELD(zero_phase_hi),
          FIELD(zero_phase_lo), FIELD(zero_distortion_index), FIELD(zero_distortion_phase),
          FIELD(negative_seq_hi), FIELD(negative_seq_lo), FIELD(negative_phase_hi),
          FIELD(negative_phase_lo), FIELD(negative_distortion_index),
          FIELD(negative_distortion_phase), FIELD(positive_seq_hi), FIELD(positive_seq_lo),
          FIELD(positive_phase_hi), FIELD(positive_phase_lo), FIELD(ratio_3ph),
          FIELD(ratio_3ph_error), FIELD(phase_3ph), FIELD(health_state), FIELD(step_up),
          FIELD(step_down))

FIELDS_OF(kvr_TestData_Ratio_1ph, FIELD(direction), FIELD(high_side_phase), FIELD(low_side_phase),
          FIELD(high_side_extra), FIELD(low_side_extra), FIELD(setup), FIELD(test_voltage),
          FIELD(request_flag_a), FIELD(request_flag_b), FIELD(limit_a), FIELD(limit_b),
          FIELD(reference_ratio), FIELD(phase))

FIELDS_OF(kvr_TestData_Impedance_Phase, FIELD(corrected), FIELD(status), FIELD(phase_name),
          FIELD(high_side_phase), FIELD(low_side_phase), FIELD(v_ratio), FIELD(test_frequency),
          FIELD(rs), FIELD(xs), FIELD(power_factor), FIELD(inductance), FIELD(capacitance),
          FIELD(z), FIELD(z_percent), FIELD(z_percent_error), FIELD(curr_rms))

FIELDS_OF(kvr_TestData_Impedance_SingleTest, FIELD(phases), FIELD(phase_mode),
          FIELD(avg_power_factor), FIELD(avg_z), FIELD(avg_z_percent))

FIELDS_OF(kvr_TestData_Impedance_List, FIELD(tests), FIELD(count))

FIELDS_OF(kvr_TestData_Impedance, FIELD(test_type), FIELD(setup), FIELD(tests))

FIELDS_OF(kvr_TestData_Efficiency_Phase, FIELD(corrected), FIELD(status), FIELD(phase_name),
          FIELD(high_side_phase), FIELD(low_side_phase), FIELD(ratio_tnr), FIELD(load_rs_line),
          FIELD(load_rs_zero), FIELD(load_i2r), FIELD(load_stray_eddy), FIELD(load_losses),
          FIELD(no_load_losses), FIELD(total_losses), FIELD(hysteresis), FIELD(eddy_current),
          FIELD(i2r_no_load), FIELD(noload_eddy_resistance_measured),
          FIELD(noload_eddy_resistance_corrected))

FIELDS_OF(kvr_TestData_Efficiency, FIELD(duration_ms), FIELD(setup), FIELD(fast_mode),
          FIELD(phases), FIELD(total_load_losses), FIELD(total_no_load_losses),
          FIELD(total_eddy_current), FIELD(total_hysteresis), FIELD(total_losses),
          FIELD(efficiency_percent))

FIELDS_OF(kvr_TestData_Transition, FIELD(status), FIELD(from), FIELD(to))

FIELDS_OF(kvr_TestData_Point, FIELD(name), FIELD(state), FIELD(error), FIELD(stabilization_ms),
          FIELD(ii), FIELD(ua), FIELD(ia), FIELD(stability), FIELD(rm), FIELD(transition))

FIELDS_OF(kvr_TestData_Tap, FIELD(tap), FIELD(points), FIELD(point_count))

FIELDS_OF(kvr_TestData_Taps, FIELD(taps), FIELD(count))

FIELDS_OF(kvr_TestData_Sides, FIELD(primary), FIELD(secondary), FIELD(tertiary))

FIELDS_OF(kvr_TestData_Resistance, FIELD(duration_ms), FIELD(sides))

FIELDS_OF(kvr_TestData_Demag_Phase, FIELD(demag_phase), FIELD(remanence_initial),
          FIELD(remanence_after_demag))

FIELDS_OF(kvr_TestData_Demag, FIELD(duration_ms), FIELD(phases), FIELD(phase_count))

FIELDS_OF(kvr_TestData_MagneticBalance_Cell, FIELD(value))

FIELDS_OF(kvr_TestData_MagneticBalance_Row, FIELD(high_label), FIELD(low_label), FIELD(cell),
          FIELD(total))

FIELDS_OF(kvr_TestData_MagneticBalance, FIELD(side), FIELD(rows), FIELD(max_imbalance))

FIELDS_OF(kvr_TestData_Drm_Transition, FIELD(start_time), FIELD(end_time))

FIELDS_OF(kvr_TestData_Drm, FIELD(first_transition), FIELD(transition_count))

FIELDS_OF(kvr_TestData_GoNoGo, FIELD(status_open_circuit), FIELD(status_short_circuit),
          FIELD(status_minimum_inductance))

FIELDS_OF(kvr_TestRecord, FIELD(asset_id), FIELD(group_id), FIELD(record_id), FIELD(save_mode),
          FIELD(test_count), FIELD(test_type), FIELD(setup), FIELD(timestamp),
          FIELD(data_ratio_3ph), FIELD(data_ratio_1ph), FIELD(data_mbalance),
          FIELD(data_resistance), FIELD(data_demag), FIELD(data_efficiency), FIELD(data_impedance),
          FIELD(data_drm), FIELD(data_heatrun), FIELD(data_gonogo), FIELD(data_count),
          FIELD(raw_data))

#undef FIELDS_OF
#undef FIELD

/// Lengths of the arrays behind pointers, by the path to the pointer.
using ArrayLengths = std::map<std::string, std::size_t, std::less<>>;

constexpr std::size_t kLongestArray = 1000000;

/// A path in pieces: a name, or the index of an array.
struct Step {
  std::string_view name;
  std::optional<std::size_t> index;
  std::size_t end;  ///< of the piece in the path
};

std::vector<Step> split_path(std::string_view path) {
  std::vector<Step> steps;
  std::size_t at = 0;
  while (at < path.size()) {
    if (path[at] == '[') {
      const std::size_t close = path.find(']', at);
      if (close == std::string_view::npos) {
        throw BadLine("a bracket without its end in " + in_quotes(path));
      }
      const auto index = parse_number<std::uint32_t>(path.substr(at + 1, close - at - 1));
      if (index >= kLongestArray) {
        throw BadLine("index out of bounds in " + in_quotes(path));
      }
      steps.push_back({{}, index, close + 1});
      at = close + 1;
    } else {
      if (!steps.empty() && path[at] == '.') {
        ++at;
      }
      const std::size_t end = std::min(path.find_first_of(".[", at), path.size());
      steps.push_back({path.substr(at, end - at), {}, end});
      at = end;
    }
  }
  return steps;
}

struct Line {
  std::size_t number;
  std::string_view path;
  std::string_view value;
};

std::string_view without_blanks(std::string_view text) {
  const std::size_t begin = text.find_first_not_of(" \t");
  if (begin == std::string_view::npos) {
    return {};
  }
  return text.substr(begin, text.find_last_not_of(" \t") + 1 - begin);
}

/// Path and value of a line; nothing for an empty line or a comment.
std::optional<Line> split_line(std::string_view text, std::size_t number) {
  const std::string_view start = without_blanks(text);
  if (start.empty() || start.front() == '#') {
    return {};
  }
  const std::size_t equals = text.find('=');
  if (equals == std::string_view::npos) {
    throw BadLine("no '=' in " + in_quotes(text));
  }
  std::string_view value = text.substr(equals + 1);
  if (value.starts_with(' ')) {
    value.remove_prefix(1);
  }
  return Line{number, without_blanks(text.substr(0, equals)), value};
}

class Builder {
 public:
  /// Called for all lines before any is stored: an array is as long as its highest index in the
  /// whole text.
  void measure(const Line& line) {
    for (const Step& step : split_path(line.path)) {
      if (step.index) {
        std::size_t& length = lengths_[array_path(line.path, step)];
        length = std::max(length, *step.index + 1);
      }
    }
  }

  void store(const Line& line) {
    at_ = static_cast<std::byte*>(static_cast<void*>(record_.get()));
    type_ = &type_of<kvr_TestRecord>();
    for (const Step& step : split_path(line.path)) {
      if (step.index) {
        go_to_entry(line.path, step);
      } else {
        go_to_field(line.path, step);
      }
    }
    if (type_->store == nullptr) {
      throw BadLine(in_quotes(line.path) + " has fields or entries of its own to be written");
    }
    type_->store(at_, type_->size, line.value, record_.arena());
  }

  OwnedRecord take() { return std::move(record_); }

 private:
  static std::string array_path(std::string_view path, const Step& step) {
    return std::string(path.substr(0, path.rfind('[', step.end - 1)));
  }

  void go_to_entry(std::string_view path, const Step& step) {
    const Type& element = type_->element == nullptr ? *type_ : type_->element();
    if (type_->kind == Type::kArray) {
      if (*step.index >= type_->count) {
        throw BadLine("index out of bounds in " + in_quotes(path));
      }
    } else if (type_->kind == Type::kPointer) {
      follow_pointer(lengths_[array_path(path, step)]);
    } else {
      throw BadLine("no array: " + in_quotes(array_path(path, step)));
    }
    at_ += *step.index * element.size;
    type_ = &element;
  }

  void go_to_field(std::string_view path, const Step& step) {
    if (type_->kind == Type::kPointer && type_->element().kind == Type::kRecord) {
      const Type& record = type_->element();
      follow_pointer(1);
      type_ = &record;
    }
    for (const Field& field : type_->fields) {
      if (field.name == step.name) {
        at_ += field.offset;
        type_ = &field.type();
        return;
      }
    }
    throw BadLine("unknown name " + in_quotes(step.name) + " in " + in_quotes(path));
  }

  /// Goes to what the pointer points to, and allocates it first if the pointer is null.
  void follow_pointer(std::size_t count) {
    std::byte* target = nullptr;
    std::memcpy(&target, at_, sizeof target);
    if (target == nullptr) {
      target = record_.arena().allocate(type_->element().size * count);
      store_pointer(at_, target);
    }
    at_ = target;
  }

  OwnedRecord record_;
  ArrayLengths lengths_;
  std::byte* at_ = nullptr;
  const Type* type_ = nullptr;
};

}  // namespace

OwnedRecord parse_record(std::string_view text, std::string_view name) {
  std::size_t number = 0;
  try {
    std::vector<Line> lines;
    Builder builder;
    while (!text.empty()) {
      ++number;
      const std::size_t end = std::min(text.find('\n'), text.size());
      if (const auto line = split_line(text.substr(0, end), number)) {
        builder.measure(*line);
        lines.push_back(*line);
      }
      text.remove_prefix(std::min(end + 1, text.size()));
    }
    for (const Line& line : lines) {
      number = line.number;
      builder.store(line);
    }
    return builder.take();
  } catch (const BadLine& error) {
    throw std::runtime_error(std::string(name) + ":" + std::to_string(number) + ": " +
                             error.what());
  }
}
