#include "virtual_instrument/bench/bench_keys.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <optional>
#include <span>
#include <string_view>
#include <utility>

#include "virtual_instrument/model/index.h"
#include "virtual_instrument/vocabulary/call_names.h"
#include "virtual_instrument/vocabulary/code_names.h"
#include "virtual_instrument/vocabulary/time_text.h"

namespace virtual_instrument {

using namespace toml_file;

namespace {

constexpr std::int32_t kLowest = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kHighest = std::numeric_limits<std::int32_t>::max();
constexpr std::size_t kDeviceText = 20;
constexpr std::size_t kLongestPath = 4096;
constexpr double kHighestOhm = 1e12;

Key vector_group(std::string name, WindingGroup& target) {
  return {std::move(name),
          "D, Y, YN, Z or ZN, then d, y, yn, z or zn, then a clock number that they can have; or "
          "Ii0, Ii6, CT or PT",
          [&target](const TomlValue& value) {
            const std::optional<WindingGroup> group = parse_group(text_in(value).value_or(""));
            target = group.value_or(WindingGroup{});
            return group.has_value();
          }};
}

/// The name of a vector group ends with this part: without a clock for a winding inside the unit.
Key third_connection(std::string name, ThirdConnection& target) {
  return {
      std::move(name),
      "d for a delta inside the unit; or d, y or yn, then a clock number, for a winding that is "
      "led out",
      [&target](const TomlValue& value) {
        const std::string given = text_in(value).value_or("");
        target = {KVR_WINDING_D, std::nullopt};
        if (given == "d") {
          return true;
        }
        // "N" before the letter would belong to the high side.
        for (const char* const high : {"Y", "D"}) {
          const std::optional<WindingGroup> group = parse_group(high + given);
          if (group && !is_zigzag(group->low) && !given.starts_with('N')) {
            target = {group->low, group->clock};
            return true;
          }
        }
        return false;
      }};
}

bool take_number(const TomlValue& value, double low, double high, double& target) {
  const std::optional<double> given = number_in(value);
  target = given.value_or(0);
  return given && target >= low && target <= high;
}

/// A list of three.
bool take_limbs(const TomlValue& value, double low, double high, std::array<double, 3>& target) {
  const auto* list = value.as<TomlList>();
  bool good = list != nullptr && list->size() == target.size();
  for (std::size_t limb = 0; good && limb < target.size(); ++limb) {
    good = take_number((*list)[limb], low, high, target[limb]);
  }
  return good;
}

/// A number for each limb.
Key limb_numbers(std::string name, std::array<double, 3>& target, double low, double high,
                 const std::string& unit) {
  return {
      std::move(name),
      "a list of three numbers from " + number_text(low) + " to " + number_text(high) + " " + unit,
      [&target, low, high](const TomlValue& value) {
        return take_limbs(value, low, high, target);
      }};
}

/// A number for the first limb, whose flux returns in equal parts through the others, or one for
/// each limb.
Key limb_fluxes(std::string name, std::array<double, 3>& target, double highest) {
  return {std::move(name),
          "a number from " + number_text(-highest) + " to " + number_text(highest) +
              " per unit, or three of them",
          [&target, highest](const TomlValue& value) {
            if (take_number(value, -highest, highest, target[0])) {
              target[1] = target[2] = -target[0] / 2;
              return true;
            }
            return take_limbs(value, -highest, highest, target);
          }};
}

template <typename Value>
struct Named {
  std::string_view name;
  Value value;
};

template <typename Value>
Key named(std::string name, std::string expected, std::span<const Named<Value>> names,
          Value& target) {
  return {std::move(name), std::move(expected), [names, &target](const TomlValue& value) {
            const std::optional<std::string> given = text_in(value);
            for (const Named<Value>& known : names) {
              if (given == known.name) {
                target = known.value;
                return true;
              }
            }
            return false;
          }};
}

constexpr Named<kvr_TapChangerType> kTapChangers[] = {
    {"none", KVR_TAP_CHANGER_NONE},
    {"DETC", KVR_TAP_CHANGER_DETC},
    {"OLTC", KVR_TAP_CHANGER_OLTC},
};

constexpr Named<Side> kSideNames[] = {
    {"high", Side::high},
    {"low", Side::low},
};

constexpr Named<Conductor> kConductors[] = {
    {"copper", kCopper},
    {"aluminium", kAluminium},
};

constexpr Named<CoreForm> kCoreForms[] = {
    {"three-limb", CoreForm::three_limb},
    {"five-limb", CoreForm::five_limb},
    {"shell", CoreForm::shell},
    {"bank", CoreForm::bank},
};

/// A terminal, or the winding on a limb.
struct Place {
  Side side;
  int number;
  bool on_third;  ///< whatever the side
};

/// "H", "X" or "Y" and one of `numbers`.
std::optional<Place> place_of(std::string_view name, std::string_view numbers) {
  const std::size_t number = name.size() == 2 ? numbers.find(name[1]) : std::string_view::npos;
  if (number == std::string_view::npos || (name[0] != 'H' && name[0] != 'X' && name[0] != 'Y')) {
    return std::nullopt;
  }
  return Place{name[0] == 'H' ? Side::high : Side::low, static_cast<int>(number), name[0] == 'Y'};
}

constexpr std::string_view kTerminalNumbers = "0123";
constexpr std::string_view kLimbLetters = "ABC";

Key terminals(std::string name, BySide<std::array<bool, 4>>& target, std::array<bool, 4>& third) {
  return {std::move(name), "a list of terminals, of H0 to H3, X0 to X3 and Y0 to Y3",
          [&target, &third](const TomlValue& value) {
            target = {};
            third = {};
            return take_texts(value, [&target, &third](const std::string& text) {
              const auto place = place_of(text, kTerminalNumbers);
              if (place) {
                (place->on_third ? third : target[place->side])[index(place->number)] = true;
              }
              return place.has_value();
            });
          }};
}

/// A half of a zigzag winding: as in "XA1".
bool take_half(std::string_view name, BySide<std::array<std::array<bool, 2>, 3>>& target) {
  const auto place = place_of(name.substr(0, 2), kLimbLetters);
  if (!place || place->on_third || name.size() != 3 || (name[2] != '1' && name[2] != '2')) {
    return false;
  }
  target[place->side][index(place->number)][name[2] == '1' ? 0 : 1] = true;
  return true;
}

Key reversed_windings(std::string name, UnitFaults& target, std::array<bool, 3>& third) {
  return {
      std::move(name),
      "a list of limb windings, of HA, HB, HC, XA, XB, XC, YA, YB and YC, and of halves of zigzag "
      "windings, of HA1, HA2, ... XC2",
      [&target, &third](const TomlValue& value) {
        target.reversed_winding = {};
        target.reversed_half = {};
        third = {};
        return take_texts(value, [&target, &third](const std::string& text) {
          if (const auto place = place_of(text, kLimbLetters)) {
            (place->on_third ? third : target.reversed_winding[place->side])[index(place->number)] =
                true;
            return true;
          }
          return take_half(text, target.reversed_half);
        });
      }};
}

Key phases(std::string name, std::array<bool, 3>& target) {
  return {std::move(name), "a list of phases, of A, B and C", [&target](const TomlValue& value) {
            target = {};
            return take_texts(value, [&target](const std::string& text) {
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
  return {std::move(name), "a limb winding: HA, HB, HC, XA, XB, XC, YA, YB or YC",
          [&target](const TomlValue& value) {
            const auto place = place_of(text_in(value).value_or(""), kLimbLetters);
            if (place) {
              target.side = place->side;
              target.limb = place->number;
              target.on_third = place->on_third;
            }
            return place.has_value();
          }};
}

Key name_format(std::string name, std::string& target) {
  return {std::move(name),
          "letters, digits, - _ . and %Y %m %d %H %M %S, giving at most 24 characters",
          [&target](const TomlValue& value) {
            const std::optional<std::string> given = text_in(value);
            target = given.value_or("");
            return given && can_name_records(target);
          }};
}

Key code(std::string name, kvr_code& target) {
  return {std::move(name), "the name or the number of a code", [&target](const TomlValue& value) {
            if (const auto number = whole_in(value, kLowest, kHighest)) {
              target = static_cast<kvr_code>(*number);
              return true;
            }
            const std::optional<kvr_code> named = code_of_name(text_in(value).value_or(""));
            target = named.value_or(KVR_RES_OK);
            return named.has_value();
          }};
}

Key failure(std::string name, kvr_code& target) {
  Key key = code(std::move(name), target);
  key.expected += " other than KVR_RES_OK";
  key.take = [take = key.take, &target](const TomlValue& value) {
    return take(value) && target != KVR_RES_OK;
  };
  return key;
}

Key call_name(std::string name, std::string& target) {
  return {std::move(name), "the name of an exported call", [&target](const TomlValue& value) {
            target = text_in(value).value_or("");
            return std::find(kCallNames.begin(), kCallNames.end(), target) != kCallNames.end();
          }};
}

}  // namespace

std::vector<Key> keys_of(Bench& bench) {
  InstrumentSettings& instrument = bench.instrument;
  ConnectionSettings& connection = bench.connection;
  StatusSettings& status = bench.status;
  TransformerSettings& transformer = bench.transformer;
  TertiarySettings& tertiary = bench.tertiary;
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
      number("instrument.source_resistance", instrument.source_resistance, 0, 1e6, "ohm"),
      number("instrument.source_inductance", instrument.source_inductance, 0, 1e6, "mH"),

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
      limb_numbers("transformer.high_resistance_deviation", transformer.high_resistance_deviation,
                   -50, 100, "percent"),
      limb_numbers("transformer.low_resistance_deviation", transformer.low_resistance_deviation,
                   -50, 100, "percent"),
      named<Conductor>("transformer.conductor", "\"copper\" or \"aluminium\"", kConductors,
                       transformer.conductor),
      number("transformer.stray_share", transformer.stray_share, 0, 10, ""),
      number("transformer.reference_temperature", transformer.reference_temperature, -50, 250,
             "degrees C"),
      number("transformer.temperature", transformer.temperature, -50, 250, "degrees C"),
      number("transformer.core_resistance", transformer.core_resistance, 1e-3, kHighestOhm, "ohm"),
      number("transformer.hysteresis_share", transformer.hysteresis_share, 0, 1, ""),
      number("transformer.magnetizing_reactance", transformer.magnetizing_reactance, 1e-3,
             kHighestOhm, "ohm"),
      named<CoreForm>("transformer.core_form",
                      "\"three-limb\", \"five-limb\", \"shell\" or \"bank\"", kCoreForms,
                      transformer.core_form),
      number("transformer.zero_sequence_impedance", transformer.zero_sequence_impedance, 0, 1e6,
             "percent"),
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
      number("transformer.winding_capacitance", transformer.winding_capacitance, 0, 1e6, "nF"),
      flag("transformer.autotransformer", transformer.autotransformer),

      third_connection("tertiary.group", tertiary.connection),
      number("tertiary.voltage", tertiary.voltage, 0, 1e7, "V"),
      number("tertiary.resistance", tertiary.resistance, 1e-6, kHighestOhm, "ohm"),
      number("tertiary.reactance", tertiary.reactance, 0, kHighestOhm, "ohm"),
      number("tertiary.kva", tertiary.kva, 0, 1e7, "kVA"),
      number("tertiary.turns_deviation", tertiary.turns_deviation, -50, 50, "percent"),
      number("tertiary.high_impedance", tertiary.high_impedance, 0, 100, "percent"),
      number("tertiary.low_impedance", tertiary.low_impedance, 0, 100, "percent"),

      number("burden.resistance", bench.burden.resistance, 0, kHighestOhm, "ohm"),
      number("burden.reactance", bench.burden.reactance, 0, kHighestOhm, "ohm"),

      named<kvr_TapChangerType>("taps.type", "\"none\", \"DETC\" or \"OLTC\"", kTapChangers,
                                bench.taps.type),
      named<Side>("taps.side", "\"high\" or \"low\"", kSideNames, bench.taps.side),
      whole("taps.first", bench.taps.first, 0, 1000),
      whole("taps.last", bench.taps.last, 0, 1000),
      whole("taps.middle", bench.taps.middle, 0, 1000),
      whole("taps.position", bench.taps.position, 0, 1000),
      number("taps.step", bench.taps.step, -20, 20, "percent"),
      number("taps.transition_resistance", bench.taps.transition_resistance, 0, 1e6, "ohm"),

      terminals("leads.open", bench.defects.open_lead, bench.tertiary.open_lead),
      reversed_windings("leads.reversed", bench.defects, bench.tertiary.reversed_winding),

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

std::vector<Key> keys_of(ShortedTurns& turns) {
  return {
      winding("shorted_turns.winding", turns),
      percent("shorted_turns.share", turns.fraction, 0.01, 90),
      number("shorted_turns.resistance", turns.resistance, 1e-6, 1e6, "ohm"),
  };
}

}  // namespace virtual_instrument
