#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "api/codes.h"
#include "virtual_instrument/model/transformer_unit.h"

// The bench: the instrument, what is connected to it, and what goes wrong with it. One value holds
// all settings of the virtual instrument; it never changes after it has been read, and a changed
// bench is another value. The defaults are in default.toml, which has the same structure.

namespace virtual_instrument {

struct InstrumentSettings {
  std::int32_t type;
  std::string serial_number;
  std::string hardware_version;
  std::string software_version;
  std::string firmware_version;
  std::int32_t model_tier;
  bool debug_mode;
  bool calibrated;
  std::int32_t calibration_age;       ///< days
  std::optional<std::int64_t> clock;  ///< seconds since 1970; none for the computer's clock
  double minimum_voltage;             ///< V
  double maximum_voltage;             ///< V
  double maximum_current;             ///< A
  double maximum_induced_voltage;     ///< V
  double voltage_range;               ///< V, peak, of the converters
  double current_range;               ///< A, peak, of the converters
  double source_resistance;           ///< ohm
  double source_inductance;           ///< mH
};

struct ConnectionSettings {
  kvr_code refused;
  bool lost;
  double lost_after;  ///< s after connecting; 0 for never
  std::int32_t lost_at_step;
  kvr_code lost_code;
};

struct StatusSettings {
  kvr_code device_status_code;
  bool api_locked;
  bool database_loaded;
  bool measurement_board_connected;
  bool emergency_button_pressed;
  bool interlock_on;
  bool secondary_sd_mounted;
  bool secondary_sd_read_only;
  bool primary_sd_error;
  bool secondary_sd_error;
};

/// What a three-phase core is like outside its limbs.
enum class CoreForm {
  three_limb,  ///< flux returns through oil and tank
  five_limb,   ///< through two outer limbs
  shell,       ///< the same, of twice the section
  bank,        ///< three single-phase units
};

/// The nameplate of a transformer and the equivalent circuit of one limb: windings and core, with
/// values seen from the high side at the middle tap. Reactances are those at `frequency`; fluxes
/// are per unit of the peak flux at rated voltage and frequency.
struct TransformerSettings {
  WindingGroup vector_group;
  double high_voltage;  ///< V, from line to line
  double low_voltage;   ///< V, from line to line
  double kva;
  double impedance;        ///< percent, on the nameplate; 0 if it has none
  double turns_deviation;  ///< percent
  double frequency;        ///< Hz
  double high_resistance;
  double high_reactance;
  double low_resistance;
  double low_reactance;
  std::array<double, 3> high_resistance_deviation;  ///< percent, limb by limb
  std::array<double, 3> low_resistance_deviation;   ///< percent, limb by limb
  Conductor conductor;
  double stray_share;            ///< see LimbWinding
  double reference_temperature;  ///< degrees C, at which the resistances are given
  double temperature;            ///< degrees C, of the windings now
  double core_resistance;
  double hysteresis_share;  ///< of the core losses at `frequency`
  double magnetizing_reactance;
  CoreForm core_form;
  double zero_sequence_impedance;  ///< percent of the rated one, of a three-limb core; 0: closed
  double yoke_ratio;               ///< see Core
  double low_flux_excess;
  double low_flux;
  bool saturation;
  double knee_flux;
  double knee_width;
  double saturated_reactance;
  std::array<double, 3> residual_flux;  ///< limb by limb, before the first test
  double remanence_excess;              ///< see Core
  double capacitance;                   ///< nF, from each connected terminal to earth
  double winding_capacitance;           ///< nF, see TransformerUnit
  bool autotransformer;
};

/// How a third winding is joined. One that is not led out has no clock.
struct ThirdConnection {
  kvr_WindingType type;
  std::optional<int> clock;  ///< against the high side
};

/// A third winding: a delta inside the unit, see BuriedDelta, or led out as Y. Resistance and
/// reactance are those of one limb winding.
struct TertiarySettings {
  ThirdConnection connection;
  double voltage;  ///< V; 0 without such a winding
  double kva;      ///< of a test with it; 0 for that of the unit
  double resistance;
  double reactance;
  double turns_deviation;  ///< percent
  double high_impedance;   ///< percent, on the nameplate, with H and at `kva`; 0 if it has none
  double low_impedance;    ///< the same with X
  std::array<bool, 4> open_lead;
  std::array<bool, 3> reversed_winding;
};

inline bool is_led_out(const TertiarySettings& tertiary) {
  return tertiary.connection.clock.has_value();
}

/// What is connected to the low side, see TransformerUnit.
struct BurdenSettings {
  double resistance;
  double reactance;
};

struct MeasurementSettings {
  double duration;  ///< s
  std::int32_t steps;
  std::int32_t samples_per_period;
  std::int32_t periods;
  double noise;  ///< percent
  std::int32_t seed;
  double smallest_voltage;  ///< V
};

struct StoreSettings {
  std::string file;             ///< UTF-8; empty for a store in memory
  bool demonstration;           ///< fill an empty store when it is opened
  std::string empty_id_format;  ///< see format_time()
};

/// A forced answer of one of the 22 calls, from the `from`-th call on, `times` times or, for 0, for
/// ever; each time with a probability of `chance`, decided by the measurement's seed. First the
/// call waits `delay` seconds or, if it hangs, as long as the bench has the fault; a cancel or a
/// shutdown ends the wait. Then an accepted code replaces the success of a call that is carried
/// out; a refusal replaces the call; `null` returns the code and no result. The failed phases are
/// removed from the result of a test.
struct Fault {
  std::string call;
  kvr_code code = KVR_RES_OK;
  std::int32_t from = 1;
  std::int32_t times = 0;
  double chance = 100;  ///< percent
  bool null = false;
  double delay = 0;  ///< s
  bool hang = false;
  std::array<bool, 3> failed_phases{};
  kvr_code phase_code = KVR_RES_OPEN_LEAD;
};

struct Bench {
  InstrumentSettings instrument;
  ConnectionSettings connection;
  StatusSettings status;
  TransformerSettings transformer;
  TapChanger taps;
  TertiarySettings tertiary;
  BurdenSettings burden;
  UnitFaults defects;
  MeasurementSettings measurement;
  StoreSettings store;
  std::vector<Fault> faults;
};

}  // namespace virtual_instrument
