#include "virtual_instrument/bench/bench_reader.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <functional>
#include <initializer_list>
#include <limits>
#include <map>
#include <optional>
#include <stdexcept>
#include <utility>

#include "virtual_instrument/bench/plain_letters.h"
#include "virtual_instrument/vocabulary/call_names.h"
#include "virtual_instrument/vocabulary/code_names.h"
#include "virtual_instrument/vocabulary/time_text.h"

namespace {

/// toml++ takes some mistakes in a text for impossible. This is thrown where it meets one.
struct ParserStuck {};

[[noreturn]] void stop_parser() { throw ParserStuck(); }

}  // namespace

#pragma push_macro("NDEBUG")
#undef NDEBUG
#define TOML_ASSERT(condition) ((condition) ? static_cast<void>(0) : stop_parser())
#define TOML_EXCEPTIONS 1
#define TOML_ENABLE_FORMATTERS 0
#include <toml++/toml.h>
#pragma pop_macro("NDEBUG")

namespace virtual_instrument {
namespace {

/// One key of the bench: what it is called, what it takes, and where that goes.
struct Key {
  std::string name;                             ///< "table.key"
  std::string expected;                         ///< in words, for a problem
  std::function<bool(const toml::node&)> take;  ///< false for a value other than expected
};

std::string number_text(double value) {
  std::array<char, 32> text{};
  return {text.data(), std::to_chars(text.data(), text.data() + text.size(), value).ptr};
}

Key flag(std::string name, bool& target) {
  return {std::move(name), "true or false", [&target](const toml::node& node) {
            target = node.value_or(false);
            return node.is_boolean();
          }};
}

Key number(std::string name, double& target, double low, double high, const std::string& unit) {
  return {std::move(name),
          "a number from " + number_text(low) + " to " + number_text(high) +
              (unit.empty() ? "" : " " + unit),
          [&target, low, high](const toml::node& node) {
            if (!node.is_number()) {
              return false;
            }
            target = node.value_or(0.0);
            return target >= low && target <= high;
          }};
}

bool take_whole(const toml::node& node, std::int32_t& target, std::int32_t low, std::int32_t high) {
  const std::int64_t value = node.value_or(std::int64_t{0});
  if (!node.is_integer() || value < low || value > high) {
    return false;
  }
  target = static_cast<std::int32_t>(value);
  return true;
}

constexpr std::int32_t kLowest = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kHighest = std::numeric_limits<std::int32_t>::max();

Key whole(std::string name, std::int32_t& target, std::int32_t low, std::int32_t high) {
  return {
      std::move(name), "a whole number from " + std::to_string(low) + " to " + std::to_string(high),
      [&target, low, high](const toml::node& node) { return take_whole(node, target, low, high); }};
}

Key power_of_two(std::string name, std::int32_t& target, std::int32_t low, std::int32_t high) {
  return {std::move(name),
          "a power of two from " + std::to_string(low) + " to " + std::to_string(high),
          [&target, low, high](const toml::node& node) {
            return take_whole(node, target, low, high) && (target & (target - 1)) == 0;
          }};
}

Key text(std::string name, std::string& target, std::size_t longest) {
  return {std::move(name), "a text of at most " + std::to_string(longest) + " characters",
          [&target, longest](const toml::node& node) {
            target = node.value_or(std::string());
            return node.is_string() && target.size() <= longest &&
                   target.find('\0') == std::string::npos;
          }};
}

Key vector_group(std::string name, WindingGroup& target) {
  return {std::move(name),
          "D, Y, YN, Z or ZN, then d, y, yn, z or zn, then a clock number that they can have; or "
          "Ii0, Ii6, CT or PT",
          [&target](const toml::node& node) {
            const std::optional<WindingGroup> group = parse_group(node.value_or(std::string()));
            target = group.value_or(WindingGroup{});
            return group.has_value();
          }};
}

/// A number for the first limb, whose flux returns in equal parts through the others, or one for
/// each limb.
Key limb_fluxes(std::string name, std::array<double, 3>& target, double highest) {
  return {std::move(name),
          "a number from " + number_text(-highest) + " to " + number_text(highest) +
              " per unit, or three of them",
          [&target, highest](const toml::node& node) {
            const auto is_flux = [highest](double flux) { return std::abs(flux) <= highest; };
            if (node.is_number()) {
              const double flux = node.value_or(0.0);
              target = {flux, -flux / 2, -flux / 2};
              return is_flux(flux);
            }
            const toml::array* list = node.as_array();
            if (list == nullptr || list->size() != target.size()) {
              return false;
            }
            bool good = true;
            for (std::size_t limb = 0; limb < target.size(); ++limb) {
              const toml::node& entry = *list->get(limb);
              target[limb] = entry.value_or(0.0);
              good = good && entry.is_number() && is_flux(target[limb]);
            }
            return good;
          }};
}

template <typename Value>
struct Named {
  std::string_view name;
  Value value;
};

constexpr Named<kvr_TapChangerType> kTapChangers[] = {
    {"none", KVR_TAP_CHANGER_NONE},
    {"DETC", KVR_TAP_CHANGER_DETC},
    {"OLTC", KVR_TAP_CHANGER_OLTC},
};

Key tap_changer(std::string name, kvr_TapChangerType& target) {
  return {std::move(name), "\"none\", \"DETC\" or \"OLTC\"", [&target](const toml::node& node) {
            const std::string given = node.value_or(std::string());
            for (const auto& known : kTapChangers) {
              if (given == known.name) {
                target = known.value;
                return true;
              }
            }
            return false;
          }};
}

/// A place on the unit: a terminal, or the winding on a limb.
struct Place {
  int side;
  int number;
};

/// "H" or "X" and one of `numbers`.
std::optional<Place> place_of(std::string_view name, std::string_view numbers) {
  const std::size_t number = name.size() == 2 ? numbers.find(name[1]) : std::string_view::npos;
  if (number == std::string_view::npos || (name[0] != 'H' && name[0] != 'X')) {
    return std::nullopt;
  }
  return Place{name[0] == 'H' ? kHighSide : kLowSide, static_cast<int>(number)};
}

constexpr std::string_view kTerminalNumbers = "0123";
constexpr std::string_view kLimbLetters = "ABC";

/// Hands each text of a list to `take`, which says whether it makes sense. False if one does not,
/// or if the node is something else.
template <typename Take>
bool take_texts(const toml::node& node, Take take) {
  const toml::array* list = node.as_array();
  return list != nullptr && std::all_of(list->begin(), list->end(), [&](const toml::node& entry) {
           return take(entry.value_or(std::string()));
         });
}

/// A list of places, each of which sets a flag.
template <std::size_t count>
Key places(std::string name, std::string expected, std::string_view numbers,
           std::array<std::array<bool, count>, 2>& target) {
  return {
      std::move(name), std::move(expected), [&target, numbers](const toml::node& node) {
        target = {};
        return take_texts(node, [&](const std::string& text) {
          const auto place = place_of(text, numbers);
          if (place) {
            target[static_cast<std::size_t>(place->side)][static_cast<std::size_t>(place->number)] =
                true;
          }
          return place.has_value();
        });
      }};
}

Key phases(std::string name, std::array<bool, 3>& target) {
  return {std::move(name), "a list of phases, of A, B and C", [&target](const toml::node& node) {
            target = {};
            return take_texts(node, [&target](const std::string& text) {
              const std::size_t phase = kLimbLetters.find(text);
              if (text.size() != 1 || phase == std::string_view::npos) {
                return false;
              }
              target[phase] = true;
              return true;
            });
          }};
}

Key winding(std::string name, ShortedTurns& target) {
  return {std::move(name), "a limb winding: HA, HB, HC, XA, XB or XC",
          [&target](const toml::node& node) {
            const auto place = place_of(node.value_or(std::string()), kLimbLetters);
            if (place) {
              target.side = place->side;
              target.limb = place->number;
            }
            return place.has_value();
          }};
}

Key percent(std::string name, double& target, double low, double high) {
  Key key = number(std::move(name), target, low, high, "percent");
  key.take = [take = key.take, &target](const toml::node& node) {
    const bool good = take(node);
    target /= 100;
    return good;
  };
  return key;
}

Key name_format(std::string name, std::string& target) {
  return {std::move(name),
          "letters, digits, - _ . and %Y %m %d %H %M %S, giving at most 24 characters",
          [&target](const toml::node& node) {
            target = node.value_or(std::string());
            return node.is_string() && can_name_records(target);
          }};
}

Key code(std::string name, kvr_code& target) {
  return {std::move(name), "the name or the number of a code", [&target](const toml::node& node) {
            std::int32_t number = 0;
            if (take_whole(node, number, kLowest, kHighest)) {
              target = static_cast<kvr_code>(number);
              return true;
            }
            const std::optional<kvr_code> named = code_of_name(node.value_or(std::string()));
            target = named.value_or(KVR_RES_OK);
            return named.has_value();
          }};
}

Key failure(std::string name, kvr_code& target) {
  Key key = code(std::move(name), target);
  key.expected += " other than KVR_RES_OK";
  key.take = [take = key.take, &target](const toml::node& node) {
    return take(node) && target != KVR_RES_OK;
  };
  return key;
}

Key call_name(std::string name, std::string& target) {
  return {std::move(name), "the name of an exported call", [&target](const toml::node& node) {
            target = node.value_or(std::string());
            return std::find(kCallNames.begin(), kCallNames.end(), target) != kCallNames.end();
          }};
}

std::int64_t seconds_since_1970(const toml::date_time& moment) {
  const std::chrono::sys_days day =
      std::chrono::year{moment.date.year} / moment.date.month / moment.date.day;
  const std::int64_t minutes = std::int64_t{moment.time.hour} * 60 + moment.time.minute -
                               moment.offset.value_or(toml::time_offset{}).minutes;
  return std::int64_t{day.time_since_epoch().count()} * 86400 + minutes * 60 + moment.time.second;
}

Key clock(std::string name, std::optional<std::int64_t>& target) {
  return {std::move(name),
          "\"system\", or a date and time with its offset like 2024-03-05T12:00:00Z",
          [&target](const toml::node& node) {
            target.reset();
            if (const auto* moment = node.as_date_time(); moment && moment->get().offset) {
              target = seconds_since_1970(moment->get());
            }
            return target.has_value() || node.value_or(std::string()) == "system";
          }};
}

constexpr std::size_t kDeviceText = 20;
constexpr std::size_t kLongestPath = 4096;
constexpr double kHighestOhm = 1e12;

std::vector<Key> keys_of(Bench& bench) {
  InstrumentSettings& instrument = bench.instrument;
  ConnectionSettings& connection = bench.connection;
  StatusSettings& status = bench.status;
  TransformerSettings& transformer = bench.transformer;
  MeasurementSettings& measurement = bench.measurement;
  return {
      whole("instrument.type", instrument.type, kLowest, kHighest),
      text("instrument.serial_number", instrument.serial_number, kDeviceText),
      text("instrument.hardware_version", instrument.hardware_version, kDeviceText),
      text("instrument.software_version", instrument.software_version, kDeviceText),
      text("instrument.firmware_version", instrument.firmware_version, kDeviceText),
      whole("instrument.model_tier", instrument.model_tier, kLowest, kHighest),
      flag("instrument.debug_mode", instrument.debug_mode),
      flag("instrument.calibrated", instrument.calibrated),
      whole("instrument.calibration_age", instrument.calibration_age, 0, 36500),
      clock("instrument.clock", instrument.clock),
      number("instrument.minimum_voltage", instrument.minimum_voltage, 1e-6, 1e6, "V"),
      number("instrument.maximum_voltage", instrument.maximum_voltage, 1e-6, 1e6, "V"),
      number("instrument.maximum_current", instrument.maximum_current, 1e-6, 1e6, "A"),
      number("instrument.maximum_induced_voltage", instrument.maximum_induced_voltage, 1e-6, 1e9,
             "V"),
      number("instrument.voltage_range", instrument.voltage_range, 1e-6, 1e9, "V"),
      number("instrument.current_range", instrument.current_range, 1e-6, 1e9, "A"),

      code("connection.refused", connection.refused),
      flag("connection.lost", connection.lost),
      number("connection.lost_after", connection.lost_after, 0, 1e6, "s"),
      whole("connection.lost_at_step", connection.lost_at_step, 0, 1000000),
      failure("connection.lost_code", connection.lost_code),

      code("status.device_status_code", status.device_status_code),
      flag("status.api_locked", status.api_locked),
      flag("status.database_loaded", status.database_loaded),
      flag("status.measurement_board_connected", status.measurement_board_connected),
      flag("status.emergency_button_pressed", status.emergency_button_pressed),
      flag("status.interlock_on", status.interlock_on),
      flag("status.secondary_sd_mounted", status.secondary_sd_mounted),
      flag("status.secondary_sd_read_only", status.secondary_sd_read_only),
      flag("status.primary_sd_error", status.primary_sd_error),
      flag("status.secondary_sd_error", status.secondary_sd_error),

      vector_group("transformer.vector_group", transformer.vector_group),
      number("transformer.high_voltage", transformer.high_voltage, 1e-3, 1e7, "V"),
      number("transformer.low_voltage", transformer.low_voltage, 1e-3, 1e7, "V"),
      number("transformer.kva", transformer.kva, 1e-6, 1e7, "kVA"),
      number("transformer.impedance", transformer.impedance, 0, 100, "percent"),
      number("transformer.turns_deviation", transformer.turns_deviation, -50, 50, "percent"),
      number("transformer.frequency", transformer.frequency, 10, 1000, "Hz"),
      number("transformer.high_resistance", transformer.high_resistance, 1e-6, kHighestOhm, "ohm"),
      number("transformer.high_reactance", transformer.high_reactance, 0, kHighestOhm, "ohm"),
      number("transformer.low_resistance", transformer.low_resistance, 1e-6, kHighestOhm, "ohm"),
      number("transformer.low_reactance", transformer.low_reactance, 0, kHighestOhm, "ohm"),
      number("transformer.stray_share", transformer.stray_share, 0, 10, ""),
      number("transformer.reference_temperature", transformer.reference_temperature, -50, 250,
             "degrees C"),
      number("transformer.temperature", transformer.temperature, -50, 250, "degrees C"),
      number("transformer.core_resistance", transformer.core_resistance, 1e-3, kHighestOhm, "ohm"),
      number("transformer.hysteresis_share", transformer.hysteresis_share, 0, 1, ""),
      number("transformer.magnetizing_reactance", transformer.magnetizing_reactance, 1e-3,
             kHighestOhm, "ohm"),
      number("transformer.yoke_ratio", transformer.yoke_ratio, 0, 100, ""),
      number("transformer.low_flux_excess", transformer.low_flux_excess, 0, 1000, ""),
      number("transformer.low_flux", transformer.low_flux, 1e-9, 1000, "per unit"),
      flag("transformer.saturation", transformer.saturation),
      number("transformer.knee_flux", transformer.knee_flux, 0.01, 1000, "per unit"),
      number("transformer.knee_width", transformer.knee_width, 1e-3, 1000, "per unit"),
      number("transformer.saturated_reactance", transformer.saturated_reactance, 1e-6, kHighestOhm,
             "ohm"),
      limb_fluxes("transformer.residual_flux", transformer.residual_flux, 10),
      number("transformer.remanence_excess", transformer.remanence_excess, 0, 1000, ""),
      number("transformer.capacitance", transformer.capacitance, 0, 1e6, "nF"),

      tap_changer("taps.type", bench.taps.type),
      whole("taps.first", bench.taps.first, 0, 1000),
      whole("taps.last", bench.taps.last, 0, 1000),
      whole("taps.middle", bench.taps.middle, 0, 1000),
      whole("taps.position", bench.taps.position, 0, 1000),
      number("taps.step", bench.taps.step, -20, 20, "percent"),
      number("taps.transition_resistance", bench.taps.transition_resistance, 0, 1e6, "ohm"),

      places("leads.open", "a list of terminals, of H0 to H3 and X0 to X3", kTerminalNumbers,
             bench.defects.open_lead),
      places("leads.reversed", "a list of limb windings, of HA, HB, HC, XA, XB and XC",
             kLimbLetters, bench.defects.reversed_winding),

      number("measurement.duration", measurement.duration, 0, 86400, "s"),
      whole("measurement.steps", measurement.steps, 1, 1000000),
      power_of_two("measurement.samples_per_period", measurement.samples_per_period, 16, 512),
      whole("measurement.periods", measurement.periods, 2, 1000),
      number("measurement.noise", measurement.noise, 0, 10, "percent"),
      whole("measurement.seed", measurement.seed, 0, kHighest),
      number("measurement.smallest_voltage", measurement.smallest_voltage, 0, 1e6, "V"),

      text("store.file", bench.store.file, kLongestPath),
      flag("store.demonstration", bench.store.demonstration),
      name_format("store.empty_id_format", bench.store.empty_id_format),
  };
}

std::vector<Key> keys_of(Fault& fault) {
  return {
      call_name("faults.call", fault.call),
      code("faults.code", fault.code),
      whole("faults.from", fault.from, 1, kHighest),
      whole("faults.times", fault.times, 0, kHighest),
      number("faults.chance", fault.chance, 0, 100, "percent"),
      flag("faults.null", fault.null),
      number("faults.delay", fault.delay, 0, 3600, "s"),
      flag("faults.hang", fault.hang),
      phases("faults.failed_phases", fault.failed_phases),
      failure("faults.phase_code", fault.phase_code),
  };
}

/// A key may hold any characters; told to a person, it stays on its line.
std::string on_one_line(const std::string& text) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string line;
  for (const char character : text) {
    const auto byte = static_cast<unsigned char>(character);
    if (byte >= ' ' && byte != 0x7f) {
      line += character;
    } else {
      line.append("\\x").append(1, kDigits[byte >> 4U]).append(1, kDigits[byte & 15U]);
    }
  }
  return line;
}

std::vector<Key> keys_of(ShortedTurns& turns) {
  return {
      winding("shorted_turns.winding", turns),
      percent("shorted_turns.share", turns.fraction, 0.01, 90),
      number("shorted_turns.resistance", turns.resistance, 1e-6, 1e6, "ohm"),
  };
}

/// What values of a bench must have in common, told at the first of `keys` that is given.
struct Agreement {
  std::vector<std::string_view> keys;
  std::string_view expected;
  bool (*holds)(const Bench&);
};

bool is_between(int low, int value, int high) { return low <= value && value <= high; }

/// Whether every limb that bears a defect is there.
bool has_limbs_of_defects(const Bench& bench) {
  if (is_three_phase(bench.transformer.vector_group.high)) {
    return true;
  }
  for (const auto& windings : bench.defects.reversed_winding) {
    if (windings[1] || windings[2]) {
      return false;
    }
  }
  return std::all_of(bench.defects.shorted_turns.begin(), bench.defects.shorted_turns.end(),
                     [](const ShortedTurns& turns) { return turns.limb == 0; });
}

/// Whether each winding keeps some turns that are not shorted.
bool has_sound_turns(const Bench& bench) {
  std::array<std::array<double, 3>, 2> shorted{};
  for (const ShortedTurns& turns : bench.defects.shorted_turns) {
    double& share =
        shorted[static_cast<std::size_t>(turns.side)][static_cast<std::size_t>(turns.limb)];
    share += turns.fraction;
    if (share > 0.9) {
      return false;
    }
  }
  return true;
}

/// Whether phases fail in nothing but tests.
bool fails_phases_of_tests(const Bench& bench) {
  return std::all_of(bench.faults.begin(), bench.faults.end(), [](const Fault& fault) {
    return fault.failed_phases == std::array<bool, 3>{} || fault.call.starts_with("kvr_Test_");
  });
}

constexpr double kLeastTapFactor = 0.1;

const Agreement kAgreements[] = {
    {{"instrument.maximum_voltage", "instrument.minimum_voltage"},
     "expected a maximum_voltage of at least the minimum_voltage",
     [](const Bench& bench) {
       return bench.instrument.minimum_voltage <= bench.instrument.maximum_voltage;
     }},
    {{"taps.position", "taps.first", "taps.last"},
     "expected a position from first to last",
     [](const Bench& bench) {
       return is_between(bench.taps.first, bench.taps.position, bench.taps.last);
     }},
    {{"taps.middle", "taps.first", "taps.last"},
     "expected a middle from first to last",
     [](const Bench& bench) {
       return is_between(bench.taps.first, bench.taps.middle, bench.taps.last);
     }},
    {{"taps.step", "taps.first", "taps.last"},
     "expected steps that leave a tenth of the turns at each position",
     [](const Bench& bench) {
       const auto turns = [&bench](int position) {
         return 1 + (position - bench.taps.middle) * bench.taps.step / 100;
       };
       return std::min(turns(bench.taps.first), turns(bench.taps.last)) >= kLeastTapFactor;
     }},
    {{"leads.reversed", "shorted_turns", "transformer.vector_group"},
     "expected limb A alone in a single-phase unit",
     has_limbs_of_defects},
    {{"faults.failed_phases"},
     "expected with kvr_Test_Ratio_1ph or kvr_Test_Ratio_3ph alone",
     fails_phases_of_tests},
    {{"shorted_turns"}, "expected at most 90 percent of a winding in all", has_sound_turns},
};

/// Collects what is read of one document.
class Reader {
 public:
  Reader(std::string_view name, const Bench& base) : name_(name) { reading_.bench = base; }

  BenchReading read(std::string_view document) {
    if (const auto line = line_beyond_ascii(document)) {
      problem(*line, "", "expected plain letters outside quotes and behind a backslash");
    } else {
      parse(document);
    }
    if (found_.empty()) {
      check_agreements();
    }
    // Tables come in the order of their names, people read from the top.
    std::stable_sort(found_.begin(), found_.end(),
                     [](const Found& a, const Found& b) { return a.line < b.line; });
    for (Found& found : found_) {
      reading_.problems.push_back(std::move(found.text));
    }
    return std::move(reading_);
  }

 private:
  void parse(std::string_view document) {
    const std::string plain = with_plain_letters(document);
    try {
      static_cast<void>(toml::parse(plain));  // a mistake ends it here, see plain_letters.h
      read_tables(toml::parse(document));
    } catch (const toml::parse_error& error) {
      problem(error.source(), "", std::string(error.description()));
    } catch (const ParserStuck&) {
      problem(line_of_trouble(plain), "", "expected a table, or a key and its value");
    }
  }

  /// The line up to which the parser must be given a text to be stuck.
  static toml::source_index line_of_trouble(std::string_view document) {
    toml::source_index line = 1;
    for (std::size_t end = document.find('\n'); end < document.size(); ++line) {
      if (is_trouble(document.substr(0, end + 1))) {
        return line;
      }
      end = document.find('\n', end + 1);
    }
    return line;
  }

  static bool is_trouble(std::string_view document) {
    try {
      static_cast<void>(toml::parse(document));
    } catch (const toml::parse_error&) {
    } catch (const ParserStuck&) {
      return true;
    }
    return false;
  }

  static constexpr std::string_view kFaults = "faults";
  static constexpr std::string_view kShortedTurns = "shorted_turns";

  struct Found {
    toml::source_index line;
    std::string text;
  };

  static bool is_table(const std::vector<Key>& keys, std::string_view table) {
    return std::any_of(keys.begin(), keys.end(), [table](const Key& key) {
      return key.name.starts_with(std::string(table) + ".");
    });
  }

  static std::string tables(const std::vector<Key>& keys) {
    std::string names;
    for (const Key& key : keys) {
      const std::string table = key.name.substr(0, key.name.find('.'));
      if (!names.ends_with(table + ", ")) {
        names += table + ", ";
      }
    }
    return names + std::string(kShortedTurns) + ", " + std::string(kFaults);
  }

  static std::string keys_in(std::string_view table, const std::vector<Key>& keys) {
    std::string names;
    for (const Key& key : keys) {
      if (key.name.starts_with(std::string(table) + ".")) {
        names += (names.empty() ? "" : ", ") + key.name.substr(table.size() + 1);
      }
    }
    return names;
  }

  void read_tables(const toml::table& document) {
    reading_.bench.faults.clear();
    reading_.bench.defects.shorted_turns.clear();
    const std::vector<Key> keys = keys_of(reading_.bench);
    for (const auto& [key, node] : document) {
      if (key.str() == kFaults) {
        read_list(kFaults, node, reading_.bench.faults, {"call"});
      } else if (key.str() == kShortedTurns) {
        read_list(kShortedTurns, node, reading_.bench.defects.shorted_turns,
                  {"winding", "share", "resistance"});
      } else if (const toml::table* table = node.as_table(); table && is_table(keys, key.str())) {
        read_table(key.str(), *table, keys);
      } else {
        problem(node.source(), key.str(), "expected one of the tables " + tables(keys));
      }
    }
  }

  void read_table(std::string_view name, const toml::table& table, const std::vector<Key>& keys) {
    for (const auto& [key, node] : table) {
      const std::string full = std::string(name) + "." + std::string(key.str());
      const auto known = std::find_if(keys.begin(), keys.end(),
                                      [&full](const Key& entry) { return entry.name == full; });
      if (known == keys.end()) {
        problem(node.source(), full, "no such key; expected one of " + keys_in(name, keys));
      } else if (!known->take(node)) {
        problem(node.source(), full, "expected " + known->expected);
      } else {
        reading_.given.push_back(full);
        places_.emplace(full, node.source());
      }
    }
  }

  /// Reads the tables of a list, each of which has to hold the keys `required`.
  template <typename Entry>
  void read_list(std::string_view name, const toml::node& node, std::vector<Entry>& entries,
                 std::initializer_list<std::string_view> required) {
    const toml::array* list = node.as_array();
    if (list == nullptr || !list->is_homogeneous(toml::node_type::table)) {
      problem(node.source(), name, "expected tables [[" + std::string(name) + "]]");
      return;
    }
    places_.emplace(name, list->get(0)->source());
    for (const toml::node& entry : *list) {
      const std::vector<Key> keys = keys_of(entries.emplace_back());
      read_table(name, *entry.as_table(), keys);
      for (const std::string_view key : required) {
        if (!entry.as_table()->contains(key)) {
          const std::string full = std::string(name) + "." + std::string(key);
          const auto known = std::find_if(keys.begin(), keys.end(),
                                          [&full](const Key& each) { return each.name == full; });
          problem(entry.source(), full, "missing; expected " + known->expected);
        }
      }
    }
  }

  /// A bench that agrees with itself before can only be spoilt by what is given.
  void check_agreements() {
    for (const Agreement& agreement : kAgreements) {
      if (agreement.holds(reading_.bench)) {
        continue;
      }
      for (const std::string_view key : agreement.keys) {
        if (const auto given = places_.find(key); given != places_.end()) {
          problem(given->second, key, std::string(agreement.expected));
          break;
        }
      }
    }
  }

  void problem(const toml::source_region& where, std::string_view key, const std::string& what) {
    problem(where.begin.line, key, what);
  }

  void problem(toml::source_index line_number, std::string_view key, const std::string& what) {
    std::string line = name_ + ":" + std::to_string(line_number) + ": ";
    if (!key.empty()) {
      line += std::string(key) + ": ";
    }
    found_.push_back({line_number, on_one_line(line + what)});
  }

  const std::string name_;
  BenchReading reading_;
  std::vector<Found> found_;
  std::map<std::string, toml::source_region, std::less<>> places_;  ///< of what is given
};

}  // namespace

BenchReading read_bench(std::string_view text, std::string_view name, const Bench& base) {
  return Reader(name, base).read(text);
}

std::vector<std::string> bench_keys() {
  Bench bench{};
  std::vector<std::string> names;
  for (Key& key : keys_of(bench)) {
    names.push_back(std::move(key.name));
  }
  return names;
}

const Bench& built_in_bench() {
  static const Bench* const bench = [] {
    BenchReading reading = read_bench(kBuiltInBenchText, "default.toml", Bench{});
    if (!reading.problems.empty()) {
      throw std::logic_error(reading.problems.front());
    }
    return new Bench(std::move(reading.bench));
  }();
  return *bench;
}

}  // namespace virtual_instrument
