#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "api/codes.h"
#include "virtual_instrument/model/vector_group.h"

// The bench: the instrument, what is connected to it, and what goes wrong with it. One value holds
// everything that can be set about the virtual instrument; it never changes once it is read, and a
// changed bench is another value. The defaults stand in default.toml, which has the same shape.

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

/// A single-phase transformer, and how three of them are joined to a bank. Reactances are those at
/// `frequency`; the core's values are seen from the high side; fluxes are per unit of the peak flux
/// at rated voltage and frequency.
struct TransformerSettings {
  double high_voltage;     ///< V
  double low_voltage;      ///< V
  double turns_deviation;  ///< percent
  VectorGroup vector_group;
  double frequency;  ///< Hz
  double high_resistance;
  double high_reactance;
  double low_resistance;
  double low_reactance;
  double core_resistance;
  double magnetizing_reactance;
  double low_flux_excess;
  double low_flux;
  bool saturation;
  double knee_flux;
  double knee_width;
  double saturated_reactance;
  double residual_flux;
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
  std::string empty_id_format;  ///< see format_time()
};

/// A forced answer of one of the 22 calls, from the `from`-th call on, `times` times or, for 0, for
/// ever. An accepted code replaces the success of a call that is carried out; a refusal replaces
/// the call; `null` answers with the code and gives nothing.
struct Fault {
  std::string call;
  kvr_code code = KVR_RES_OK;
  std::int32_t from = 1;
  std::int32_t times = 0;
  bool null = false;
};

struct Bench {
  InstrumentSettings instrument;
  ConnectionSettings connection;
  StatusSettings status;
  TransformerSettings transformer;
  MeasurementSettings measurement;
  StoreSettings store;
  std::vector<Fault> faults;
};

}  // namespace virtual_instrument
