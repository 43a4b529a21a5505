#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "virtual_instrument/bench/bench_reader.h"

// What each key of a bench takes and what it refuses, up to the last value of its range.

namespace virtual_instrument {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> problems_of(const std::string& text) {
  return read_bench(text, "b.toml", built_in_bench()).problems;
}

Bench bench_of(const std::string& text) {
  BenchReading reading = read_bench(text, "b.toml", built_in_bench());
  EXPECT_THAT(reading.problems, IsEmpty()) << text;
  return std::move(reading.bench);
}

/// A bench with this value, and with what its table has to hold beside it.
std::string with(const std::string& key, const std::string& value) {
  const std::size_t dot = key.find('.');
  const std::string table = key.substr(0, dot);
  const std::string name = key.substr(dot + 1);
  std::string text = "[" + table + "]\n";
  if (table == "faults") {
    text = "[[faults]]\n";
    text += name == "call" ? "" : "call = \"kvr_Test_Ratio_1ph\"\n";
  } else if (table == "shorted_turns") {
    text = "[[shorted_turns]]\n";
    text += name == "winding" ? "" : "winding = \"HA\"\n";
    text += name == "share" ? "" : "share = 1\n";
    text += name == "resistance" ? "" : "resistance = 1\n";
  }
  return text + name + " = " + value + "\n";
}

/// What the key expects, as the message says when it holds `value`; empty if it takes it.
std::string expectation_of(const std::string& key, const std::string& value) {
  const std::string mark = ": " + key + ": expected ";
  for (const std::string& problem : problems_of(with(key, value))) {
    if (const std::size_t at = problem.find(mark); at != std::string::npos) {
      return problem.substr(at + mark.size());
    }
  }
  return "";
}

std::vector<std::string> all_keys() {
  std::vector<std::string> keys = bench_keys();
  for (const char* const key :
       {"shorted_turns.winding", "shorted_turns.share", "shorted_turns.resistance", "faults.call",
        "faults.code", "faults.from", "faults.times", "faults.chance", "faults.null",
        "faults.delay", "faults.hang", "faults.failed_phases", "faults.phase_code"}) {
    keys.emplace_back(key);
  }
  return keys;
}

TEST(BenchKeys, SayWhatTheyExpect) {
  std::string messages;
  for (const std::string& key : all_keys()) {
    messages += key + ": " + expectation_of(key, "1979-05-27") + "\n";  // no key takes a day
  }
  EXPECT_EQ(messages, R"(instrument.type: a whole number from -2147483648 to 2147483647
instrument.serial_number: a text of at most 20 characters
instrument.hardware_version: a text of at most 20 characters
instrument.software_version: a text of at most 20 characters
instrument.firmware_version: a text of at most 20 characters
instrument.model_tier: a whole number from -2147483648 to 2147483647
instrument.debug_mode: true or false
instrument.calibrated: true or false
instrument.calibration_age: a whole number from 0 to 36500
instrument.clock: "system", or a date and time with its offset like 2024-03-05T12:00:00Z
instrument.minimum_voltage: a number from 1e-06 to 1e+06 V
instrument.maximum_voltage: a number from 1e-06 to 1e+06 V
instrument.maximum_current: a number from 1e-06 to 1e+06 A
instrument.maximum_induced_voltage: a number from 1e-06 to 1e+09 V
instrument.voltage_range: a number from 1e-06 to 1e+09 V
instrument.current_range: a number from 1e-06 to 1e+09 A
instrument.source_resistance: a number from 0 to 1e+06 ohm
instrument.source_inductance: a number from 0 to 1e+06 mH
connection.refused: the name or the number of a code
connection.lost: true or false
connection.lost_after: a number from 0 to 1e+06 s
connection.lost_at_step: a whole number from 0 to 1000000
connection.lost_code: the name or the number of a code other than KVR_RES_OK
status.device_status_code: the name or the number of a code
status.api_locked: true or false
status.database_loaded: true or false
status.measurement_board_connected: true or false
status.emergency_button_pressed: true or false
status.interlock_on: true or false
status.secondary_sd_mounted: true or false
status.secondary_sd_read_only: true or false
status.primary_sd_error: true or false
status.secondary_sd_error: true or false
transformer.vector_group: D, Y, YN, Z or ZN, then d, y, yn, z or zn, then a clock number that they can have; or Ii0, Ii6, CT or PT
transformer.high_voltage: a number from 0.001 to 1e+07 V
transformer.low_voltage: a number from 0.001 to 1e+07 V
transformer.kva: a number from 1e-06 to 1e+07 kVA
transformer.impedance: a number from 0 to 100 percent
transformer.turns_deviation: a number from -50 to 50 percent
transformer.frequency: a number from 10 to 1000 Hz
transformer.high_resistance: a number from 1e-06 to 1e+12 ohm
transformer.high_reactance: a number from 0 to 1e+12 ohm
transformer.low_resistance: a number from 1e-06 to 1e+12 ohm
transformer.low_reactance: a number from 0 to 1e+12 ohm
transformer.high_resistance_deviation: a list of three numbers from -50 to 100 percent
transformer.low_resistance_deviation: a list of three numbers from -50 to 100 percent
transformer.conductor: "copper" or "aluminium"
transformer.stray_share: a number from 0 to 10
transformer.reference_temperature: a number from -50 to 250 degrees C
transformer.temperature: a number from -50 to 250 degrees C
transformer.core_resistance: a number from 0.001 to 1e+12 ohm
transformer.hysteresis_share: a number from 0 to 1
transformer.magnetizing_reactance: a number from 0.001 to 1e+12 ohm
transformer.core_form: "three-limb", "five-limb", "shell" or "bank"
transformer.zero_sequence_impedance: a number from 0 to 1e+06 percent
transformer.yoke_ratio: a number from 0 to 100
transformer.low_flux_excess: a number from 0 to 1000
transformer.low_flux: a number from 1e-09 to 1000 per unit
transformer.saturation: true or false
transformer.knee_flux: a number from 0.01 to 1000 per unit
transformer.knee_width: a number from 0.001 to 1000 per unit
transformer.saturated_reactance: a number from 1e-06 to 1e+12 ohm
transformer.residual_flux: a number from -10 to 10 per unit, or three of them
transformer.remanence_excess: a number from 0 to 1000
transformer.capacitance: a number from 0 to 1e+06 nF
transformer.winding_capacitance: a number from 0 to 1e+06 nF
transformer.autotransformer: true or false
tertiary.group: d for a delta inside the unit; or d, y or yn, then a clock number, for a winding that is led out
tertiary.voltage: a number from 0 to 1e+07 V
tertiary.resistance: a number from 1e-06 to 1e+12 ohm
tertiary.reactance: a number from 0 to 1e+12 ohm
tertiary.kva: a number from 0 to 1e+07 kVA
tertiary.turns_deviation: a number from -50 to 50 percent
tertiary.high_impedance: a number from 0 to 100 percent
tertiary.low_impedance: a number from 0 to 100 percent
burden.resistance: a number from 0 to 1e+12 ohm
burden.reactance: a number from 0 to 1e+12 ohm
taps.type: "none", "DETC" or "OLTC"
taps.side: "high" or "low"
taps.first: a whole number from 0 to 1000
taps.last: a whole number from 0 to 1000
taps.middle: a whole number from 0 to 1000
taps.position: a whole number from 0 to 1000
taps.step: a number from -20 to 20 percent
taps.transition_resistance: a number from 0 to 1e+06 ohm
leads.open: a list of terminals, of H0 to H3, X0 to X3 and Y0 to Y3
leads.reversed: a list of limb windings, of HA, HB, HC, XA, XB, XC, YA, YB and YC, and of halves of zigzag windings, of HA1, HA2, ... XC2
measurement.duration: a number from 0 to 86400 s
measurement.steps: a whole number from 1 to 1000000
measurement.samples_per_period: a power of two from 16 to 512
measurement.periods: a whole number from 2 to 1000
measurement.noise: a number from 0 to 10 percent
measurement.seed: a whole number from 0 to 2147483647
measurement.smallest_voltage: a number from 0 to 1e+06 V
store.file: a text of at most 4096 characters
store.demonstration: true or false
store.empty_id_format: letters, digits, - _ . and %Y %m %d %H %M %S, giving at most 24 characters
shorted_turns.winding: a limb winding: HA, HB, HC, XA, XB, XC, YA, YB or YC
shorted_turns.share: a number from 0.01 to 90 percent
shorted_turns.resistance: a number from 1e-06 to 1e+06 ohm
faults.call: the name of an exported call
faults.code: the name or the number of a code
faults.from: a whole number from 1 to 2147483647
faults.times: a whole number from 0 to 2147483647
faults.chance: a number from 0 to 100 percent
faults.null: true or false
faults.delay: a number from 0 to 3600 s
faults.hang: true or false
faults.failed_phases: a list of phases, of A, B and C
faults.phase_code: the name or the number of a code other than KVR_RES_OK
)");
}

std::string exact(double value) {
  char text[40];
  std::snprintf(text, sizeof text, "%.17e", value);
  return text;
}

constexpr double kInfinity = std::numeric_limits<double>::infinity();

// The limits are those of the text above, whatever else a value has to agree with.
TEST(BenchKeys, TakeNumbersUpToTheirLimitsAndNoFurther) {
  int numbers = 0;
  for (const std::string& key : all_keys()) {
    const std::string expected = expectation_of(key, "1979-05-27");
    double low = 0;
    double high = 0;
    if (std::sscanf(expected.c_str(), "a number from %lg to %lg", &low, &high) == 2) {
      EXPECT_EQ(expectation_of(key, exact(std::nextafter(low, -kInfinity))), expected);
      EXPECT_NE(expectation_of(key, exact(low)), expected) << key;
      EXPECT_NE(expectation_of(key, exact(high)), expected) << key;
      EXPECT_EQ(expectation_of(key, exact(std::nextafter(high, kInfinity))), expected);
      EXPECT_EQ(expectation_of(key, "nan"), expected);
      ++numbers;
    }
  }
  EXPECT_EQ(numbers, 54);
}

TEST(BenchKeys, TakeANumberForEachLimb) {
  const std::string key = "transformer.high_resistance_deviation";
  const std::string expected = "a list of three numbers from -50 to 100 percent";
  EXPECT_EQ(expectation_of(key, "[-50, 0.5, 100]"), "");
  for (const char* const wrong : {"1", "[1, 2]", "[1, 2, 3, 4]", "[1, 2, 100.1]", "[-50.1, 0, 0]",
                                  "[0, nan, 0]", "[0, 0, \"1\"]"}) {
    EXPECT_EQ(expectation_of(key, wrong), expected) << wrong;
  }
  EXPECT_THAT(bench_of(with(key, "[1, 2, 3]")).transformer.high_resistance_deviation,
              testing::ElementsAre(1, 2, 3));
}

TEST(BenchKeys, TakeWholeNumbersUpToTheirLimitsAndNoFurther) {
  int numbers = 0;
  for (const std::string& key : all_keys()) {
    const std::string expected = expectation_of(key, "1979-05-27");
    long long low = 0;
    long long high = 0;
    if (std::sscanf(expected.c_str(), "a whole number from %lld to %lld", &low, &high) == 2 ||
        std::sscanf(expected.c_str(), "a power of two from %lld to %lld", &low, &high) == 2) {
      EXPECT_EQ(expectation_of(key, std::to_string(low - 1)), expected);
      EXPECT_NE(expectation_of(key, std::to_string(low)), expected) << key;
      EXPECT_NE(expectation_of(key, std::to_string(high)), expected) << key;
      EXPECT_EQ(expectation_of(key, std::to_string(high + 1)), expected);
      EXPECT_EQ(expectation_of(key, std::to_string(low) + ".0"), expected);
      ++numbers;
    }
  }
  EXPECT_EQ(numbers, 14);
}

TEST(BenchKeys, TakePowersOfTwoOfTheirRangeAlone) {
  const std::string key = "measurement.samples_per_period";
  std::string taken;
  for (int value = 1; value <= 1024; ++value) {
    if (expectation_of(key, std::to_string(value)).empty()) {
      taken += std::to_string(value) + " ";
    }
  }
  EXPECT_EQ(taken, "16 32 64 128 256 512 ");
}

TEST(BenchKeys, TakeTextsUpToTheirLongest) {
  const auto quoted = [](std::size_t length) { return "\"" + std::string(length, 'x') + "\""; };
  for (const char* const name :
       {"serial_number", "hardware_version", "software_version", "firmware_version"}) {
    const std::string key = std::string("instrument.") + name;
    EXPECT_EQ(expectation_of(key, quoted(20)), "") << key;
    EXPECT_EQ(expectation_of(key, quoted(21)), "a text of at most 20 characters") << key;
  }
  EXPECT_EQ(expectation_of("store.file", quoted(4096)), "");
  EXPECT_EQ(expectation_of("store.file", quoted(4097)), "a text of at most 4096 characters");
  EXPECT_EQ(bench_of(with("store.file", quoted(4096))).store.file, std::string(4096, 'x'));
}

TEST(BenchKeys, TakeResidualFluxUpToTenTimesTheRatedOne) {
  const std::string key = "transformer.residual_flux";
  for (const char* const flux : {"10", "-10", "[10, -10, 0]", "[0, 10, -10]", "[-10, 0, 10]"}) {
    EXPECT_EQ(expectation_of(key, flux), "") << flux;
  }
  for (const char* const flux :
       {"10.001", "-10.001", "[10.001, 0, 0]", "[0, -10.001, 0]", "[0, 0, 10.001]", "[\"0\", 0, 0]",
        "[0, true, 0]", "[0, 0]", "[0, 0, 0, 0]", "[]"}) {
    EXPECT_NE(expectation_of(key, flux), "") << flux;
  }
  EXPECT_THAT(bench_of(with(key, "-0.5")).transformer.residual_flux, ElementsAre(-0.5, 0.25, 0.25));
}

TEST(BenchKeys, TakeCodesByNameAndByNumber) {
  const std::string key = "connection.refused";
  EXPECT_EQ(bench_of(with(key, "\"KVR_RES_DISK_FULL\"")).connection.refused, KVR_RES_DISK_FULL);
  for (const std::int64_t number :
       {std::int64_t{-2147483648}, std::int64_t{-1}, std::int64_t{1}, std::int64_t{2147483647}}) {
    EXPECT_EQ(bench_of(with(key, std::to_string(number))).connection.refused, number);
  }
  for (const char* const other : {"2147483648", "-2147483649", "1.0", "\"\"", "true"}) {
    EXPECT_NE(expectation_of(key, other), "") << other;
  }
  EXPECT_EQ(bench_of(with("connection.lost_code", "1")).connection.lost_code, 1);
  EXPECT_EQ(bench_of(with("faults.phase_code", "-1")).faults[0].phase_code, -1);
}

TEST(BenchKeys, TakeTapChangersByName) {
  const auto type = [](const char* name) { return bench_of(with("taps.type", name)).taps.type; };
  EXPECT_EQ(type("\"none\""), KVR_TAP_CHANGER_NONE);
  EXPECT_EQ(type("\"DETC\""), KVR_TAP_CHANGER_DETC);
  EXPECT_EQ(type("\"OLTC\""), KVR_TAP_CHANGER_OLTC);
}

TEST(BenchKeys, TakeCoreFormsByName) {
  const auto form = [](const char* name) {
    return bench_of(with("transformer.core_form", name)).transformer.core_form;
  };
  EXPECT_EQ(form("\"three-limb\""), CoreForm::three_limb);
  EXPECT_EQ(form("\"five-limb\""), CoreForm::five_limb);
  EXPECT_EQ(form("\"shell\""), CoreForm::shell);
  EXPECT_EQ(form("\"bank\""), CoreForm::bank);
  EXPECT_NE(expectation_of("transformer.core_form", "\"three limbs\""), "");
}

TEST(BenchKeys, TakeClocksWithTheirOffsets) {
  const auto clock = [](const char* text) {
    return bench_of(with("instrument.clock", text)).instrument.clock;
  };
  EXPECT_EQ(clock("2024-03-05T12:34:56Z"), 1709642096);
  EXPECT_EQ(clock("2024-03-05T12:34:56+05:30"), 1709622296);
  EXPECT_EQ(clock("2024-03-05T12:34:56-05:30"), 1709661896);
  EXPECT_EQ(clock("1969-12-31T23:59:59Z"), -1);
  EXPECT_EQ(clock("\"system\""), std::nullopt);
  EXPECT_NE(expectation_of("instrument.clock", "\"System\""), "");
}

TEST(BenchKeys, TakeHalvesOfAZigzagByName) {
  const auto halves = [](const std::string& name) {
    return bench_of("[transformer]\nvector_group = \"Zzn0\"\n" +
                    with("leads.reversed", "[\"" + name + "\"]"))
        .defects.reversed_half;
  };
  for (std::size_t phase = 0; phase < 3; ++phase) {
    for (std::size_t half = 0; half < 2; ++half) {
      const std::string name{"ABC"[phase], "12"[half]};
      for (const Side side : kSides) {
        BySide<std::array<std::array<bool, 2>, 3>> expected{};
        expected[side][phase][half] = true;
        EXPECT_EQ(halves((side == Side::high ? "H" : "X") + name), expected) << name;
      }
    }
  }
}

/// The names of the flags that are set: a side's letter and one of `numbers` for each.
template <std::size_t count>
std::string places_of(const BySide<std::array<bool, count>>& flags, const char* numbers) {
  std::string names;
  for (const Side side : kSides) {
    for (std::size_t place = 0; place < count; ++place) {
      if (flags[side][place]) {
        names += std::string(side == Side::high ? "H" : "X") + numbers[place] + " ";
      }
    }
  }
  return names;
}

TEST(BenchKeys, TakeTheConnectionOfATertiaryByName) {
  const auto connection = [](const std::string& name) {
    const ThirdConnection taken =
        bench_of("[transformer]\nvector_group = \"" +
                 std::string(name == "d0" || name == "yn1" ? "Dyn11" : "YNyn0") +
                 "\"\n[tertiary]\nvoltage = 1\ngroup = \"" + name + "\"\n")
            .tertiary.connection;
    return std::pair(taken.type, taken.clock.value_or(-1));
  };
  EXPECT_EQ(connection("d"), std::pair(KVR_WINDING_D, -1));
  EXPECT_EQ(connection("d11"), std::pair(KVR_WINDING_D, 11));
  EXPECT_EQ(connection("d0"), std::pair(KVR_WINDING_D, 0));
  EXPECT_EQ(connection("y6"), std::pair(KVR_WINDING_Y, 6));
  EXPECT_EQ(connection("yn1"), std::pair(KVR_WINDING_YN, 1));
}

TEST(BenchKeys, TakeTerminalsAndWindingsByName) {
  const std::string led_out = "[tertiary]\nvoltage = 1\ngroup = \"d1\"\n";
  for (const std::string name : {"H0", "H1", "H2", "H3", "X0", "X1", "X2", "X3"}) {
    EXPECT_EQ(
        places_of(bench_of(with("leads.open", "[\"" + name + "\"]")).defects.open_lead, "0123"),
        name + " ");
  }
  for (const std::string name : {"HA", "HB", "HC", "XA", "XB", "XC"}) {
    EXPECT_EQ(
        places_of(bench_of(with("leads.reversed", "[\"" + name + "\"]")).defects.reversed_winding,
                  "ABC"),
        name + " ");
    const ShortedTurns turns =
        bench_of(with("shorted_turns.winding", "\"" + name + "\"")).defects.shorted_turns[0];
    EXPECT_EQ((turns.side == Side::high ? "H" : "X") + std::string(1, "ABC"[turns.limb]), name);
    EXPECT_FALSE(turns.on_third);
  }
  for (std::size_t terminal = 0; terminal < 4; ++terminal) {
    const Bench bench =
        bench_of(led_out + with("leads.open", "[\"Y" + std::to_string(terminal) + "\"]"));
    std::array<bool, 4> expected{};
    expected[terminal] = true;
    EXPECT_EQ(bench.tertiary.open_lead, expected);
    EXPECT_EQ(places_of(bench.defects.open_lead, "0123"), "");
    EXPECT_EQ(read_bench("[leads]\nopen = []\n", "b.toml", bench).bench.tertiary.open_lead,
              (std::array<bool, 4>{}));
  }
  for (std::size_t limb = 0; limb < 3; ++limb) {
    const std::string name{'Y', "ABC"[limb]};
    const Bench bench = bench_of(led_out + with("leads.reversed", "[\"" + name + "\"]"));
    std::array<bool, 3> expected{};
    expected[limb] = true;
    EXPECT_EQ(bench.tertiary.reversed_winding, expected);
    EXPECT_EQ(places_of(bench.defects.reversed_winding, "ABC"), "");
    const ShortedTurns turns = bench_of(led_out + with("shorted_turns.winding", "\"" + name + "\""))
                                   .defects.shorted_turns[0];
    EXPECT_TRUE(turns.on_third);
    EXPECT_EQ(turns.limb, static_cast<int>(limb));
    EXPECT_EQ(
        read_bench("[leads]\nreversed = []\n", "b.toml", bench).bench.tertiary.reversed_winding,
        (std::array<bool, 3>{}));
  }
  for (const char* const other : {"[\"XA3\"]", "[\"XA0\"]", "[\"XA11\"]", "[\"YA1\"]", "[\"X1\"]",
                                  "[\"XD1\"]", "[\"\"]", "[\"X\"]"}) {
    EXPECT_EQ(expectation_of("leads.reversed", other),
              "a list of limb windings, of HA, HB, HC, XA, XB, XC, YA, YB and YC, and of halves of "
              "zigzag windings, of HA1, HA2, ... XC2")
        << other;
  }
  for (const char* const other : {"[\"G1\"]", "[\"Y4\"]", "[\"H\"]", "[\"\"]", "[\"H11\"]",
                                  "[\"H/\"]", "[\"H4\"]", "[\"1H\"]", "[\"H1\", 1]"}) {
    EXPECT_NE(expectation_of("leads.open", other), "") << other;
  }
  for (const char* const other : {"\"H1\"", "\"HD\"", "\"A\"", "\"\"", "\"HAA\"", "1"}) {
    EXPECT_NE(expectation_of("shorted_turns.winding", other), "") << other;
  }
}

TEST(BenchKeys, TakePhasesByName) {
  const auto phases = [](const char* list) {
    return bench_of(with("faults.failed_phases", list)).faults[0].failed_phases;
  };
  EXPECT_THAT(phases("[]"), ElementsAre(false, false, false));
  EXPECT_THAT(phases("[\"A\"]"), ElementsAre(true, false, false));
  EXPECT_THAT(phases("[\"B\"]"), ElementsAre(false, true, false));
  EXPECT_THAT(phases("[\"C\", \"A\"]"), ElementsAre(true, false, true));
  for (const char* const other : {"[\"\"]", "[\"D\"]", "[\"a\"]", "[\"BC\"]", "\"A\"", "[1]"}) {
    EXPECT_NE(expectation_of("faults.failed_phases", other), "") << other;
  }
}

// What must agree with something else, up to where it just does.

TEST(BenchAgreements, HoldAtTheirLimits) {
  for (const char* const text :
       {"[instrument]\nminimum_voltage = 250.0\n",
        "[taps]\nfirst = 3\nmiddle = 3\nposition = 3\nlast = 9\n",
        "[taps]\nfirst = 3\nmiddle = 9\nposition = 9\nlast = 9\n",
        "[taps]\nlast = 9\nstep = -11.24\n",
        "[taps]\nfirst = 1\nmiddle = 9\nlast = 9\nstep = 11.24\n",
        "[transformer]\nvector_group = \"Ii0\"\n[leads]\nreversed = [\"HA\", \"XA\"]\n",
        "[transformer]\nvector_group = \"Yzn11\"\n[leads]\nreversed = [\"HB\", \"XA\", \"XC2\"]\n",
        "[transformer]\nvector_group = \"Ii0\"\n[[shorted_turns]]\nwinding = \"XA\"\nshare = 1\n"
        "resistance = 1\n",
        "[[shorted_turns]]\nwinding = \"HA\"\nshare = 90\nresistance = 1\n"
        "[[shorted_turns]]\nwinding = \"HB\"\nshare = 90\nresistance = 1\n"
        "[[shorted_turns]]\nwinding = \"XA\"\nshare = 90\nresistance = 1\n",
        "[[faults]]\ncall = \"kvr_Test_Ratio_3ph\"\nfailed_phases = [\"A\", \"B\", \"C\"]\n"
        "[[faults]]\ncall = \"kvr_LockAPI\"\nfailed_phases = []\n"}) {
    EXPECT_THAT(problems_of(text), IsEmpty()) << text;
  }
}

TEST(BenchAgreements, AreToldBeyondTheirLimits) {
  const std::string position = ": expected a position from first to last";
  const std::string middle = ": expected a middle from first to last";
  const std::string step = ": expected steps that leave a tenth of the turns at each position";
  const std::string limb = ": expected limb A alone in a single-phase unit";
  const std::string halves = ": expected halves, such as XA1, of a zigzag winding alone";
  const std::string turns = ": expected at most 90 percent of a winding in all";
  const std::string shorted_b = "[[shorted_turns]]\nwinding = \"HB\"\nshare = 1\nresistance = 1\n";
  const std::vector<std::pair<std::string, std::string>> cases{
      {"[instrument]\nmaximum_voltage = 1.0\nminimum_voltage = 1.1\n",
       "b.toml:2: instrument.maximum_voltage: expected a maximum_voltage of at least the "
       "minimum_voltage"},
      {"[taps]\nfirst = 3\nmiddle = 3\nposition = 2\nlast = 9\n",
       "b.toml:4: taps.position" + position},
      {"[taps]\nfirst = 3\nmiddle = 3\nposition = 10\nlast = 9\n",
       "b.toml:4: taps.position" + position},
      {"[taps]\nfirst = 0\nlast = 0\nmiddle = 0\n", "b.toml:2: taps.first" + position},
      {"[taps]\nlast = 1\nfirst = 0\nposition = 1\nmiddle = 2\n", "b.toml:5: taps.middle" + middle},
      {"[taps]\nfirst = 2\nlast = 5\nposition = 3\nmiddle = 1\n", "b.toml:5: taps.middle" + middle},
      {"[taps]\nlast = 9\nstep = -11.26\n", "b.toml:3: taps.step" + step},
      {"[taps]\nmiddle = 9\nlast = 9\nstep = 11.26\n", "b.toml:4: taps.step" + step},
      {"[transformer]\nvector_group = \"Ii0\"\n[leads]\nreversed = [\"HB\"]\n",
       "b.toml:4: leads.reversed" + limb},
      {"[transformer]\nvector_group = \"Ii0\"\n[leads]\nreversed = [\"XC\"]\n",
       "b.toml:4: leads.reversed" + limb},
      {"[transformer]\nvector_group = \"Yzn11\"\n[leads]\nreversed = [\"HA1\"]\n",
       "b.toml:4: leads.reversed" + halves},
      {"[leads]\nreversed = [\"XB2\"]\n", "b.toml:2: leads.reversed" + halves},
      {"[transformer]\nvector_group = \"Ii0\"\n" + shorted_b, "b.toml:3: shorted_turns" + limb},
      {"[[shorted_turns]]\nwinding = \"XC\"\nshare = 45\nresistance = 1\n"
       "[[shorted_turns]]\nwinding = \"XC\"\nshare = 45.001\nresistance = 1\n",
       "b.toml:1: shorted_turns" + turns},
      {"[[faults]]\ncall = \"kvr_Test_Ratio_3ph\"\nfailed_phases = [\"A\"]\n"
       "[[faults]]\ncall = \"kvr_LockAPI\"\nfailed_phases = [\"C\"]\n",
       "b.toml:3: faults.failed_phases: expected with kvr_Test_Ratio_1ph or kvr_Test_Ratio_3ph "
       "alone"}};
  for (const auto& [text, problem] : cases) {
    EXPECT_THAT(problems_of(text), ElementsAre(problem)) << text;
  }
}

/// The problems of `text` over a bench that has been changed since it was read.
std::vector<std::string> problems_over(const std::function<void(Bench&)>& change,
                                       const std::string& text) {
  Bench base = built_in_bench();
  change(base);
  return read_bench(text, "b.toml", base).problems;
}

// Of the keys that have to agree, the first one that the file holds is at fault.
TEST(BenchAgreements, AreToldAtTheKeyThatTheFileHolds) {
  struct Case {
    std::function<void(Bench&)> change;
    std::string table;
    std::string key;
    std::string value;
  };
  const auto reversed = [](Bench& bench) { bench.defects.reversed_winding[Side::high][1] = true; };
  const auto zigzag = [](Bench& bench) {
    bench.transformer.vector_group = {KVR_WINDING_Y, KVR_WINDING_ZN, 11};
    bench.defects.reversed_half[Side::low][0][1] = true;
  };
  const auto autotransformer = [](Bench& bench) {
    bench.transformer.vector_group = {KVR_WINDING_1P, KVR_WINDING_1P, 0};
    bench.transformer.high_voltage = 1000;
    bench.transformer.low_voltage = 400;
    bench.transformer.autotransformer = true;
  };
  const Case cases[] = {
      {[](Bench& bench) { bench.instrument.minimum_voltage = 9; }, "instrument", "maximum_voltage",
       "8"},
      {[](Bench& bench) { bench.instrument.maximum_voltage = 9; }, "instrument", "minimum_voltage",
       "10"},
      {[](Bench& bench) { bench.taps = {bench.taps.type, 1, 9, 5, 3, 1, 0}; }, "taps", "first",
       "4"},
      {[](Bench& bench) { bench.taps = {bench.taps.type, 1, 9, 5, 7, 1, 0}; }, "taps", "last", "6"},
      {[](Bench& bench) { bench.taps = {bench.taps.type, 1, 9, 5, 7, 1, 0}; }, "taps", "first",
       "6"},
      {[](Bench& bench) { bench.taps = {bench.taps.type, 1, 9, 7, 5, 1, 0}; }, "taps", "last", "6"},
      {[](Bench& bench) { bench.taps = {bench.taps.type, 1, 3, 1, 1, -20, 0}; }, "taps", "last",
       "9"},
      {[](Bench& bench) { bench.taps = {bench.taps.type, 8, 9, 9, 9, 20, 0}; }, "taps", "first",
       "1"},
      {autotransformer, "transformer", "vector_group", "\"Ii6\""},
      {autotransformer, "transformer", "high_voltage", "401"},
      {autotransformer, "transformer", "low_voltage", "999"},
      {[&](Bench& bench) {
         autotransformer(bench);
         bench.taps = {bench.taps.type, 1, 9, 1, 1, 0, 0};
       },
       "taps", "step", "-7"},
      {[](Bench& bench) { bench.tertiary.voltage = 100; }, "transformer", "vector_group",
       "\"Ii0\""},
      {[](Bench& bench) {
         bench.transformer.vector_group = {KVR_WINDING_1P, KVR_WINDING_1P, 0};
       },
       "tertiary", "voltage", "100"},
      {reversed, "transformer", "vector_group", "\"Ii0\""},
      {zigzag, "transformer", "vector_group", "\"Yyn0\""},
  };
  std::string problems;
  for (const Case& each : cases) {
    for (const std::string& problem : problems_over(
             each.change, "[" + each.table + "]\n" + each.key + " = " + each.value + "\n")) {
      EXPECT_TRUE(problem.starts_with("b.toml:2: ")) << problem;
      problems += problem.substr(std::string("b.toml:2: ").size()) + "\n";
    }
  }
  EXPECT_EQ(
      problems,
      R"(instrument.maximum_voltage: expected a maximum_voltage of at least the minimum_voltage
instrument.minimum_voltage: expected a maximum_voltage of at least the minimum_voltage
taps.first: expected a position from first to last
taps.last: expected a position from first to last
taps.first: expected a middle from first to last
taps.last: expected a middle from first to last
taps.last: expected steps that leave a tenth of the turns at each position
taps.first: expected steps that leave a tenth of the turns at each position
transformer.vector_group: expected Ii0 or a star-star group with clock 0, and a series winding of a tenth of the turns or more at each tap, for an autotransformer
transformer.high_voltage: expected Ii0 or a star-star group with clock 0, and a series winding of a tenth of the turns or more at each tap, for an autotransformer
transformer.low_voltage: expected Ii0 or a star-star group with clock 0, and a series winding of a tenth of the turns or more at each tap, for an autotransformer
taps.step: expected Ii0 or a star-star group with clock 0, and a series winding of a tenth of the turns or more at each tap, for an autotransformer
transformer.vector_group: expected a tertiary in a three-phase unit alone
tertiary.voltage: expected a tertiary in a three-phase unit alone
transformer.vector_group: expected limb A alone in a single-phase unit
transformer.vector_group: expected halves, such as XA1, of a zigzag winding alone
)");
}

TEST(BenchKeys, ReplaceTheWholeListsOfTheBase) {
  Bench base = built_in_bench();
  base.defects.open_lead[Side::high] = {true, true, true, true};
  base.defects.reversed_winding[Side::low] = {true, true, true};
  const Bench bench =
      read_bench("[leads]\nopen = [\"X2\"]\nreversed = [\"HB\"]\n", "b.toml", base).bench;
  EXPECT_THAT(bench.defects.open_lead[Side::high], ElementsAre(false, false, false, false));
  EXPECT_THAT(bench.defects.open_lead[Side::low], ElementsAre(false, false, true, false));
  EXPECT_THAT(bench.defects.reversed_winding[Side::high], ElementsAre(false, true, false));
  EXPECT_THAT(bench.defects.reversed_winding[Side::low], ElementsAre(false, false, false));
}

// 1000/400 V: with a tenth more turns the low side has 400 / 1100 of the high side's.
TEST(BenchAgreements, ASeriesWindingIsThatOfTheTurnsThatThereAre) {
  const auto bench = [](const char* low, const char* deviation) {
    return std::string(
               "[transformer]\nvector_group = \"Ii0\"\nautotransformer = true\n"
               "high_voltage = 1000\nlow_voltage = ") +
           low + "\nturns_deviation = " + deviation + "\n";
  };
  EXPECT_THAT(problems_of(bench("989", "10")), IsEmpty());
  EXPECT_EQ(problems_of(bench("991", "10")).size(), 1U);
  EXPECT_THAT(problems_of(bench("809", "-10")), IsEmpty());
  EXPECT_EQ(problems_of(bench("811", "-10")).size(), 1U);
}

TEST(BenchAgreements, AreToldOnceEachThingByItselfIsGood) {
  EXPECT_THAT(problems_of("[taps]\nposition = 7\nlast = -1\n"),
              ElementsAre("b.toml:3: taps.last: expected a whole number from 0 to 1000"));
}

TEST(BenchProblems, NameEveryCharacterThatWouldLeaveItsLine) {
  std::string key;
  std::string shown;
  for (int character = 1; character < 0x80; ++character) {
    if (character < ' ' || character == 0x7f) {
      char text[8];
      std::snprintf(text, sizeof text, "\\u00%02x", static_cast<unsigned>(character));
      key += text;
      std::snprintf(text, sizeof text, "\\x%02x", static_cast<unsigned>(character));
      shown += text;
    }
  }
  EXPECT_THAT(problems_of("[store]\n\"" + key + " ~\" = 1\n"),
              ElementsAre("b.toml:2: store." + shown +
                          " ~: no such key; expected one of file, demonstration, "
                          "empty_id_format"));
}

}  // namespace
}  // namespace virtual_instrument
